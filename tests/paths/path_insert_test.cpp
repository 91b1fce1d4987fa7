#include <algorithm>
#include <optional>
#include <string>
#include <thread>

#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;
constexpr uint32_t F = ZELL_MAP_REQUEST_FILTER, S = ZELL_MAP_REQUEST_FILTER_SUSPEND;
constexpr zell_map_status OK = ZELL_MAP_OK, NF = ZELL_MAP_ERR_NOT_FOUND;

class PathInsert : public MapTest {
  protected:
    auto add(zell_datatree *r, const char *p, uint32_t f = 0, int32_t i = 0, zell_datatree **o = nullptr) {
        return zell_map_datatree_add_path_flagged(&ctx, r, p, kNs, "v", nullptr, o, i, f);
    }
};

TEST_F(PathInsert, InsertsAndRecordsByMode) {
    // paths -> the tree, out_child's tag ('-': untouched), the recorded paths
    const std::tuple<int, std::vector<std::string>, std::string> cases[] = {
        {0, {"a/b/c", "a/b/d"}, "a(b(c=v,d=v)) d "},
        {0, {"/a//b/", "///", ""}, "a(b=v) - "},
        {2, {"a/b", "a", "a/c", "a/bc"}, "a(b=v,c=v) - a/b,a/c,"},    // "a", "a/bc": covered
        {1, {"x/y/z", "m/n/", "/q"}, "x(y=v),m=v - x/y/z,m/n/,/q,"}}; // less the last component
    for (const auto &[mode, paths, expected] : cases) {
        zell_map_clear_xpath_ctx(&ctx), request.xpath_mode = mode;
        Tree t;
        zell_datatree *out = nullptr;
        for (const std::string &p : paths)
            out = nullptr, add(t.get(), p.c_str(), 0, 0, &out);
        std::string got = describe(t.node) + " " + (out ? out->tag : "-") + " ";
        for (int32_t i = 0; i < request.n_xpaths; ++i)
            got.append(request.xpaths[i]).append(",");
        EXPECT_EQ(got, expected);
    }
    Tree scratch, t; // a full table (mode 1): not recorded, still inserted
    zell_map_clear_xpath_ctx(&ctx), request.xpath_mode = 1;
    for (int i = 0; i < ZELL_MAP_XPATH_MAX; ++i)
        add(scratch.get(), ("p" + std::to_string(i) + "/x").c_str());
    add(t.get(), "q/r");
    EXPECT_EQ(describe(t.node), "q=v");
    for (const char *line :
         {"TRC:Start", "TRC:Setting a path 'a/b/c' with 'v'", "TRC:Setting a node 'a'",
          "TRC:Setting a last node 'c' with 'v'", "TRC:End", "ERR:Path table full, 'q/r' not recorded"})
        EXPECT_TRUE(Logged(std::string_view(line, 3), "zell_map_datatree_add_path_common_flagged", line + 4));
}

TEST_F(PathInsert, ReRootsAndFilters) {
    char trim[] = "x/y", entry_path[] = "x";
    Tree filter;
    fill(filter.node, N("R", {N("a", {N("b", {N("c")})})}));
    request.datatree = filter.get();
    // trim path "x/y"?, output-list entry "x"?, request flags, flags, path, indexed -> root|list node|entry
    const std::tuple<bool, bool, uint32_t, uint32_t, const char *, int, uint32_t, const char *> cases[] = {
        {true, false, 0, 0, "x/y/z", 0, OK, "|z=v|"},
        {false, true, 0, 0, "x/z", 0, OK, "||z=v"},
        {false, true, 0, 0, "q", 0, NF, "||"},
        {false, true, 0, ZELL_MAP_FLAG_NO_REROOT, "q", 0, OK, "q=v||"},
        {false, false, 0, ZELL_MAP_FLAG_TRIM_LIST, "x/y/w", 0, NF, "||"},
        {true, true, F | S, ZELL_MAP_FLAG_TRIM_LIST, "x/y/w", 0, OK, "w=v||"}, // the filter suspended
        {false, false, F, 0, "a/b", 0, OK, "||"},                              // ends above the selection...
        {false, false, F, 0, "a/b", 1, OK, "a(b=v#1)||"}, // ...where a new list entry may
        {false, false, F, 0, nullptr, 0, OK, "||"},       // asked before the arguments are checked
        {false, false, F, ZELL_MAP_FLAG_NO_FILTER, "x/y", 0, OK, "x(y=v)||"},
        {false, false, 0, 0, nullptr, 0, ZELL_MAP_ERR_INVALID_ARG, "||"}};
    for (const auto &[trimmed, output, request_flags, flags, path, indexed, status, trees] : cases) {
        Tree root, list, entry;
        request.trim_path = trimmed ? trim : nullptr;
        request.list_node = list.get(), request.output_count = output, request.flags = request_flags;
        request.output_list[0] = {entry.get(), entry_path};
        EXPECT_EQ(add(root.get(), path, flags, indexed), status) << path;
        EXPECT_EQ(describe(root.node) + "|" + describe(list.node) + "|" + describe(entry.node), trees);
    }
    for (const char *line : {"TRC:Start", "TRC:End", "TRC:'a/b' skipped", "TRC:'(null)' skipped",
                             "ERR:NULL argument(s) passed!"})
        EXPECT_TRUE(Logged(std::string_view(line, 3), "zell_map_datatree_add_path_flagged", line + 4));
    for (const char *text : {"original path : 'x/y/z", "trimmed path /z"})
        EXPECT_TRUE(Logged("TRC", "zell_map_datatree_trim_path", text));
}

TEST_F(PathInsert, ReRootingCutsAtTheFirstOccurrenceEvenInsideATag) {
    char entry_path[] = "interface";
    // path below the output-list entry "interface" -> what lands in the entry
    const std::pair<const char *, const char *> cases[] = {
        {"interface/subinterfaces/subinterface", "subinterfaces(subinterface=v)"},
        {"subinterfaces/subinterface", "s(subinterface=v)"}}; // "subinterfaces" holds "interface"
    for (const auto &[path, landed] : cases) {
        Tree root, entry;
        request.output_count = 1, request.output_list[0] = {entry.get(), entry_path};
        EXPECT_EQ(add(root.get(), path), OK);
        EXPECT_EQ(describe(root.node) + "|" + describe(entry.node), std::string("|") + landed);
    }
    request.output_count = 0, request.output_list[0] = {};
}

TEST(PathWithoutContext, OnlyPathsThatNeedNoReRootingAreInserted) {
    const std::tuple<uint32_t, zell_map_status, const char *> cases[] = {
        {0, NF, ""}, {ZELL_MAP_FLAG_TRIM_LIST, NF, ""}, {ZELL_MAP_FLAG_NO_REROOT, OK, "a(b=v)"}};
    for (const auto &[flags, status, tree] : cases) {
        Tree t;
        EXPECT_EQ(zell_map_datatree_add_path_flagged(nullptr, t.get(), "a/b", kNs, "v", nullptr, nullptr, 0, flags),
                  status);
        EXPECT_EQ(describe(t.node), tree) << flags;
    }
}

TEST_F(PathInsert, AllocationFailuresKeepEarlierComponents) {
    Tree filter;
    fill(filter.node, N("R", {N("a")}));
    request.datatree = filter.get();
    std::optional<Tree> t;
    for (int mode : {0, 2}) // mode 2 also through the request filter
        for_each_alloc_failure(
            [&](const Arm &arm) {
                zell_map_clear_xpath_ctx(&ctx), request.xpath_mode = mode, request.flags = mode ? F : 0;
                return arm(), add(t.emplace().get(), "a/b/c");
            },
            [&](zell_map_status status, bool injected) { // a failing filter walk skips the path
                const std::string got = describe(t->node), prefix = "a(b)";
                EXPECT_TRUE(!injected      ? got == "a(b(c=v))"
                            : status == OK ? mode && got.empty()
                                           : status == ZELL_MAP_ERR_NO_MEMORY && prefix.starts_with(got))
                    << got;
                t.reset();
            });
    // A path too long to be copied in place is copied on the heap.
    request.xpath_mode = 0, request.flags = 0;
    const std::string long_path = std::string(300, '/') + "a";
    zell_datatree *root = t.emplace().get();
    zell_host_fail_nth_alloc(1);
    EXPECT_EQ(add(root, long_path.c_str()), ZELL_MAP_ERR_NO_MEMORY);
    EXPECT_EQ(describe(t->node), "");
    EXPECT_EQ(zell_map_datatree_add_path_common(&ctx, nullptr, "a", kNs, "v", nullptr, nullptr, 0),
              ZELL_MAP_ERR_INVALID_ARG);
    for (const char *text : {"Failed to copy path string!", "NULL argument(s) passed!"})
        EXPECT_TRUE(Logged("ERR", "zell_map_datatree_add_path_common_flagged", text));
}

TEST(PathThreads, SeparateContextsAndTreesRunConcurrently) {
    const auto run = [](const char *selected, std::string *tree) {
        int trace = 0; // trace on: the lines are formatted on both threads
        Tree filter, response;
        fill(filter.node, N("R", {N(selected)}));
        zell_map_request request{};
        zell_map_ctx ctx{};
        request.datatree = filter.get(), request.flags = F, request.xpath_mode = 2;
        ctx.request = &request, ctx.trace_buf = &trace, ctx.trace_on = 1;
        for (int i = 0; i < 600; ++i) { // 25 leaves under each of a and b; the path table (20) fills up
            const std::string p = std::string(i % 2 ? "a" : "b") + "/l" + std::to_string(i / 2 % 25) + "/v";
            zell_map_datatree_add_path(&ctx, response.get(), p.c_str(), kNs, nullptr, nullptr, nullptr, 0);
        }
        *tree = describe(response.node);
    };
    std::string a_tree, b_tree;
    std::thread a(run, "a", &a_tree), b(run, "b", &b_tree);
    a.join(), b.join();
    EXPECT_TRUE(a_tree.starts_with("a(l0(v),") && std::ranges::count(a_tree, 'v') == 25 &&
                "b" + a_tree.substr(1) == b_tree);
}
