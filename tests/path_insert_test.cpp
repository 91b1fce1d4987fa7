// Path insertion, recording, re-rooting and the request filter.
#include <cstring>
#include <memory>

#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

constexpr const char *kCommon = "zell_map_datatree_add_path_common_flagged";
constexpr const char *kFlagged = "zell_map_datatree_add_path_flagged";

class PathInsert : public MapTest {
  protected:
    zell_map_status common(const char *path, const char *data = nullptr, zell_datatree **out = nullptr,
                           int32_t indexed = 0) {
        return zell_map_datatree_add_path_common(&ctx, root.get(), path, kNs, data, nullptr, out, indexed);
    }
    zell_map_status add(const char *path, uint32_t flags = 0, zell_datatree **out = nullptr,
                        int32_t indexed = 0) {
        return zell_map_datatree_add_path_flagged(&ctx, root.get(), path, kNs, "v", nullptr, out, indexed,
                                                  flags);
    }
    void TearDown() override {
        mova_zell_datatree_free_ext(root.get(), zell_gpb_free, 0, 0);
        MapTest::TearDown();
    }
    Tree root;
};

TEST_F(PathInsert, InsertsAndReusesComponents) {
    zell_datatree *out = nullptr;
    ASSERT_EQ(common("a/b/c", "1", &out), ZELL_MAP_OK);
    EXPECT_STREQ(out->tag, "c");
    ASSERT_EQ(common("a/b/d", "2"), ZELL_MAP_OK);
    EXPECT_EQ(describe(root.node), "a(b(c=1,d=2))");
    EXPECT_TRUE(Logged("TRC", kCommon, "Start"));
    EXPECT_TRUE(Logged("TRC", kCommon, "Setting a path 'a/b/d' with '2'"));
    EXPECT_TRUE(Logged("TRC", kCommon, "Setting a node 'b'"));
    EXPECT_TRUE(Logged("TRC", kCommon, "Setting a last node 'd' with '2'"));
    EXPECT_TRUE(Logged("TRC", kCommon, "End"));
    // An intermediate numbered entry resolves to the last entry of its name.
    ASSERT_EQ(common("l", nullptr, nullptr, 1), ZELL_MAP_OK);
    ASSERT_EQ(common("l", nullptr, nullptr, 1), ZELL_MAP_OK);
    ASSERT_EQ(common("l/k", "x"), ZELL_MAP_OK);
    EXPECT_EQ(describe(root.node), "a(b(c=1,d=2)),l#2,l#3(k=x)");
}

TEST_F(PathInsert, SilentWithSinksOff) {
    SinksOff();
    ASSERT_EQ(common("a/b", "1"), ZELL_MAP_OK);
    EXPECT_EQ(add(nullptr), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(describe(root.node), "a(b=1)");
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(PathInsert, AwkwardPathsLoseEmptyComponents) {
    const struct {
        const char *path;
        const char *shape;
    } cases[] = {{"/a//b/", "a(b=v)"}, {"///", ""}, {"", ""}, {"a/b/", "a(b=v)"}, {"//a", "a=v"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.path);
        Tree t;
        zell_datatree sentinel{}, *out = &sentinel;
        EXPECT_EQ(zell_map_datatree_add_path_common(&ctx, t.get(), c.path, kNs, "v", nullptr, &out, 0),
                  ZELL_MAP_OK);
        EXPECT_EQ(describe(t.node), c.shape);
        EXPECT_EQ(out == &sentinel, std::strlen(c.shape) == 0)
            << "out_child untouched when nothing is inserted";
    }
    for (int n : {199, 200, 250}) { // no component limit in insertion
        Tree t;
        ASSERT_EQ(zell_map_datatree_add_path_common(&ctx, t.get(), repeat_path("p", n).c_str(), kNs, nullptr,
                                                    nullptr, nullptr, 0),
                  ZELL_MAP_OK);
        int depth = 0;
        for (const zell_datatree *node = t.get(); node->n_subtrees == 1; node = node->subtrees)
            ++depth;
        EXPECT_EQ(depth, n);
    }
}

TEST_F(PathInsert, NullArgumentsAndNullContext) {
    EXPECT_EQ(zell_map_datatree_add_path_common(&ctx, nullptr, "a", kNs, nullptr, nullptr, nullptr, 0),
              ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(Logged("ERR", kCommon, "NULL argument(s) passed!"));
    EXPECT_EQ(
        zell_map_datatree_add_path_flagged(&ctx, root.get(), "a", nullptr, nullptr, nullptr, nullptr, 0, 0),
        ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_TRUE(Logged("ERR", kFlagged, "NULL argument(s) passed!"));
    EXPECT_EQ(
        zell_map_datatree_add_path_common(nullptr, root.get(), "a/b", kNs, nullptr, nullptr, nullptr, 0),
        ZELL_MAP_OK);
    // Without a context there is no output list to re-root by.
    EXPECT_EQ(
        zell_map_datatree_add_path_flagged(nullptr, root.get(), "c", kNs, nullptr, nullptr, nullptr, 0, 0),
        ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_EQ(zell_map_datatree_add_path_flagged(nullptr, root.get(), "c", kNs, nullptr, nullptr, nullptr, 0,
                                                 ZELL_MAP_FLAG_NO_REROOT),
              ZELL_MAP_OK);
    EXPECT_EQ(describe(root.node), "a(b),c");
}

TEST_F(PathInsert, RecordingModes) {
    request.xpath_mode = 2;
    ASSERT_EQ(common("a/b"), ZELL_MAP_OK);
    log.clear();
    ASSERT_EQ(common("a"), ZELL_MAP_OK); // covered: no "End"
    EXPECT_FALSE(Logged("TRC", kCommon, "End"));
    ASSERT_EQ(common("a/c"), ZELL_MAP_OK);
    ASSERT_EQ(common("a/bc"), ZELL_MAP_OK); // covered: "a/b" is a character prefix
    EXPECT_EQ(describe(root.node), "a(b,c)");
    EXPECT_EQ(request.n_xpaths, 2);
    EXPECT_STREQ(request.xpaths[1], "a/c");

    zell_map_clear_xpath_ctx(&ctx);
    EXPECT_EQ(request.n_xpaths, 0);
    EXPECT_STREQ(request.xpaths[0], "");
    EXPECT_EQ(request.xpath_mode, 2);
    zell_map_clear_xpath_ctx(nullptr);

    request.xpath_mode = 1; // recorded whole, inserted without the last component
    Tree t1;
    ASSERT_EQ(zell_map_datatree_add_path_common(&ctx, t1.get(), "x/y/z", kNs, "1", nullptr, nullptr, 0),
              ZELL_MAP_OK);
    EXPECT_EQ(describe(t1.node), "x(y=1)");
    EXPECT_STREQ(request.xpaths[0], "x/y/z");
    zell_datatree sentinel{}, *out = &sentinel;
    ASSERT_EQ(zell_map_datatree_add_path_common(&ctx, t1.get(), "/q", kNs, "1", nullptr, &out, 0),
              ZELL_MAP_OK);
    EXPECT_EQ(out, &sentinel) << "one component: nothing remains to insert";
    ASSERT_EQ(zell_map_datatree_add_path_common(&ctx, t1.get(), "m/n/", kNs, "2", nullptr, nullptr, 0),
              ZELL_MAP_OK);
    EXPECT_EQ(describe(t1.node), "x(y=1),m=2") << "a trailing separator is no component";
    EXPECT_EQ(request.n_xpaths, 3);

    zell_map_clear_xpath_ctx(&ctx);
    const std::string too_long(ZELL_MAP_XPATH_LEN, 'p'); // cannot be recorded: counts as covered
    Tree t2;
    ASSERT_EQ(zell_map_datatree_add_path_common(&ctx, t2.get(), too_long.c_str(), kNs, nullptr, nullptr,
                                                nullptr, 0),
              ZELL_MAP_OK);
    EXPECT_EQ(describe(t2.node), "");
    EXPECT_EQ(request.n_xpaths, 0);
}

TEST_F(PathInsert, FullTableInsertsWithoutRecording) {
    for (int mode : {2, 1}) {
        SCOPED_TRACE(mode);
        zell_map_clear_xpath_ctx(&ctx);
        request.xpath_mode = mode;
        for (int i = 0; i < ZELL_MAP_XPATH_MAX; ++i)
            ASSERT_EQ(common(std::string("p").append(std::to_string(i)).append("/x").c_str()), ZELL_MAP_OK);
        Tree t;
        ASSERT_EQ(zell_map_datatree_add_path_common(&ctx, t.get(), "q/r", kNs, "1", nullptr, nullptr, 0),
                  ZELL_MAP_OK);
        EXPECT_TRUE(Logged("ERR", kCommon, "Path table full, 'q/r' not recorded"));
        EXPECT_EQ(describe(t.node), mode == 2 ? "q(r=1)" : "q=1");
        EXPECT_EQ(request.n_xpaths, ZELL_MAP_XPATH_MAX);
        ASSERT_EQ(zell_map_datatree_add_path_common(&ctx, t.get(), "p3/x/deeper", kNs, nullptr, nullptr,
                                                    nullptr, 0),
                  ZELL_MAP_OK);
        EXPECT_EQ(describe(t.node), mode == 2 ? "q(r=1)" : "q=1") << "recorded paths are still covered";
    }
}

TEST_F(PathInsert, TrimPath) {
    const char *path = "a/bb/c";
    ASSERT_EQ(zell_map_datatree_trim_path(&ctx, &path, "b"), ZELL_MAP_OK);
    EXPECT_STREQ(path, "b/c");
    EXPECT_TRUE(Logged("TRC", "zell_map_datatree_trim_path", "original path : 'a/bb/c"));
    EXPECT_TRUE(Logged("TRC", "zell_map_datatree_trim_path", "trimmed path b/c"));
    EXPECT_EQ(zell_map_datatree_trim_path(&ctx, &path, "z"), ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_STREQ(path, "b/c");
    EXPECT_EQ(zell_map_datatree_trim_path(nullptr, &path, nullptr), ZELL_MAP_ERR_NOT_FOUND);
}

TEST_F(PathInsert, ReRootsByTrimPathAndOutputList) {
    Tree list_node, entry_node;
    char trim[] = "x/y", entry_path[] = "x";
    request.trim_path = trim;
    request.list_node = list_node.get();
    ASSERT_EQ(add("x/y/z"), ZELL_MAP_OK);
    ASSERT_EQ(add("q/r"), ZELL_MAP_OK);
    EXPECT_EQ(describe(list_node.node), "z=v");
    EXPECT_EQ(describe(root.node), "q(r=v)");

    request.trim_path = nullptr;
    request.output_count = 1;
    request.output_list[0] = {entry_node.get(), entry_path};
    ASSERT_EQ(add("x/z"), ZELL_MAP_OK);
    EXPECT_EQ(describe(entry_node.node), "z=v");
    EXPECT_EQ(add("q"), ZELL_MAP_ERR_NOT_FOUND);
    ASSERT_EQ(add("q", ZELL_MAP_FLAG_NO_REROOT), ZELL_MAP_OK);
    EXPECT_EQ(describe(root.node), "q=v(r=v)");

    // Flag 0x20: only what follows the trim path, under the root passed in.
    EXPECT_EQ(add("x/y/w", ZELL_MAP_FLAG_TRIM_LIST), ZELL_MAP_ERR_NOT_FOUND) << "no trim path";
    request.trim_path = trim;
    request.flags = ZELL_MAP_REQUEST_FILTER | ZELL_MAP_REQUEST_FILTER_SUSPEND; // trim-path rule off
    ASSERT_EQ(add("x/y/w", ZELL_MAP_FLAG_TRIM_LIST), ZELL_MAP_OK);
    EXPECT_EQ(add("s/t", ZELL_MAP_FLAG_TRIM_LIST), ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_EQ(describe(root.node), "q=v(r=v),w=v");

    zell_datatree *node = nullptr;
    const char *path = "x/z";
    EXPECT_EQ(zell_map_datatree_process_list_ctx(nullptr, &node, &path), ZELL_MAP_ERR_NOT_FOUND);
    request.output_count = 0;
    EXPECT_EQ(zell_map_datatree_process_list_ctx(&ctx, &node, &path), ZELL_MAP_OK);
    EXPECT_EQ(node, nullptr);
    request.trim_path = nullptr;
}

TEST_F(PathInsert, RequestFilter) {
    Tree filter;
    fill(filter.node, N("R", {N("a", {N("b", {N("c")})})}));
    request.datatree = filter.get();
    request.flags = ZELL_MAP_REQUEST_FILTER;
    ASSERT_EQ(add("x/y"), ZELL_MAP_OK);
    EXPECT_TRUE(Logged("TRC", kFlagged, "'x/y' skipped"));
    EXPECT_EQ(add(nullptr), ZELL_MAP_OK) << "the filter is asked before the arguments are checked";
    EXPECT_TRUE(Logged("TRC", kFlagged, "'(null)' skipped"));
    ASSERT_EQ(add("a/b"), ZELL_MAP_OK); // ends above the selection: skipped...
    EXPECT_EQ(describe(root.node), "");
    ASSERT_EQ(add("a/b", 0, nullptr, 1), ZELL_MAP_OK); // ...unless it is a new list entry
    ASSERT_EQ(add("x/y", ZELL_MAP_FLAG_NO_FILTER), ZELL_MAP_OK);
    request.flags |= ZELL_MAP_REQUEST_FILTER_SUSPEND;
    ASSERT_EQ(add("s"), ZELL_MAP_OK);
    EXPECT_EQ(describe(root.node), "a(b=v#1),x(y=v),s=v");
    EXPECT_TRUE(Logged("TRC", kFlagged, "Start"));
    EXPECT_TRUE(Logged("TRC", kFlagged, "End"));
}

TEST_F(PathInsert, CopyFailureIsReported) {
    zell_host_fail_nth_alloc(1);
    EXPECT_EQ(common("a/b"), ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_TRUE(Logged("ERR", kCommon, "Failed to copy path string!"));
}

TEST_F(PathInsert, AllocationFailuresKeepEarlierComponents) {
    const char *prefixes[] = {"", "a", "a(b)", "a(b(c=1))"};
    for (int mode : {0, 2}) {
        std::unique_ptr<Tree> t;
        for_each_alloc_failure(
            [&](const Arm &arm) {
                zell_map_clear_xpath_ctx(&ctx);
                request.xpath_mode = mode;
                t = std::make_unique<Tree>();
                arm();
                return zell_map_datatree_add_path_common(&ctx, t->get(), "a/b/c", kNs, "1", nullptr, nullptr,
                                                         0);
            },
            [&](zell_map_status status, bool injected) {
                const std::string got = describe(t->node);
                EXPECT_EQ(status, injected ? ZELL_MAP_ERR_NO_MEMORY : ZELL_MAP_OK);
                EXPECT_NE(std::find(std::begin(prefixes), std::end(prefixes), got), std::end(prefixes))
                    << got;
                if (!injected) {
                    EXPECT_EQ(got, "a(b(c=1))");
                }
                t.reset();
            });
    }
}

TEST_F(PathInsert, FilteredInsertionUnderAllocationFailures) {
    Tree filter;
    fill(filter.node, N("R", {N("a")}));
    request.datatree = filter.get();
    request.flags = ZELL_MAP_REQUEST_FILTER;
    std::unique_ptr<Tree> t;
    for_each_alloc_failure(
        [&](const Arm &arm) {
            t = std::make_unique<Tree>();
            arm();
            return zell_map_datatree_add_path(&ctx, t->get(), "a/b", kNs, "1", nullptr, nullptr, 0);
        },
        [&](zell_map_status status, bool injected) {
            // A failing filter walk skips the path (status 0, nothing inserted).
            EXPECT_TRUE(status == ZELL_MAP_OK || (injected && status == ZELL_MAP_ERR_NO_MEMORY));
            if (!injected) {
                EXPECT_EQ(describe(t->node), "a(b=1)");
            }
            t.reset();
        });
}

} // namespace
