// Every exported operation that allocates, with each of its allocations
// failing in turn: once, and for good (the heap stays exhausted from there
// on). Whatever fails, the operation answers OK or the status its header
// gives for a failed allocation, logs no ERR line but the documented ones,
// and leaves trees that print and release without losing a block.
#include <cstdio>
#include <algorithm>
#include <functional>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "harness.h"
#include "tree_builder.h"
#include "tree_outline.h"

using namespace zell::test;

namespace {

constexpr zell_map_status OK = ZELL_MAP_OK;
constexpr zell_map_status NO_MEMORY = ZELL_MAP_ERR_NO_MEMORY;
constexpr zell_map_status NOT_FOUND = ZELL_MAP_ERR_NOT_FOUND;
constexpr const char *kBgp = ZELL_MAP_OC_BGP_NS;
constexpr const char *kNeighbor = "bgp/neighbors/neighbor";
// Existing paths too long to be copied in place: finding them still allocates.
const std::string kNeighborsLong = std::string(300, '/') + "bgp/neighbors";
const std::string kNeighborLong = std::string(300, '/') + kNeighbor;

// The documented ERR texts of a failed allocation.
constexpr std::string_view kCopyPath = "Failed to copy path string!";
constexpr std::string_view kSubtrees = "Failed to allocate subtrees!";
constexpr std::string_view kDuplicate = "Failed to duplicate data!";

// What one run works on; built before the fault is armed, released after.
struct World {
    Tree tree, filter, other;
    rask_queue stack{};
    char *out = nullptr;
    char path[64] = "R/a/b";
    char *tokens[3] = {path, path + 2, path + 4};
    zell_map_dfs_elem elem{};
    zell_map_dfs_mark_elem mark_elem{};
    zell_datatree *found = nullptr;
    zell_datatree *instances = nullptr; // an instance array while the caller owns it
    int32_t count = 0;

    World() {
        zell_map_dfs_stack_init(&stack);
        path[1] = path[3] = '\0';
    }
    World(const World &) = delete;
    World &operator=(const World &) = delete;
    ~World() {
        zell_map_dfs_stack_free(&stack);
        rask_named_free(out);
        for (int i = 0; instances != nullptr && i < 2; ++i)
            mova_zell_datatree_free_ext(&instances[i], zell_gpb_free, 0, 0);
        rask_named_free(instances);
    }
};

using Step = std::function<zell_map_status(zell_map_ctx &, World &)>;

// What a failed allocation may do to the response tree, against the tree
// before the call and after a run where nothing failed.
enum class Outcome {
    Partial,   // part of the work: before <= faulty <= clean, line by line
    Untouched, // a failure status leaves the tree as it was
    Unmarked,  // the clean tree with some marks missing
    Unswept,   // the clean tree with some removed nodes still there
    Same,      // the failure shows nowhere in the tree
    Any,       // the operation documents a change of its own (a value dropped)
};

// What a failed allocation may bring about.
struct Expect {
    std::vector<zell_map_status> failures;  // statuses besides OK
    std::vector<std::string_view> errors{}; // ERR texts it may log
    bool always_logs = false;               // a failure status always comes with one of them
    Outcome outcome = Outcome::Partial;
};

struct Case {
    const char *operation;
    Expect expect;
    std::function<void(zell_map_ctx &, World &)> setup;
    Step call;
};

std::vector<std::string> lines(const zell_datatree &node) {
    const std::string printed = outline_of(node);
    std::vector<std::string> out;
    for (size_t at = 0, end; at < printed.size(); at = end + 1) {
        end = printed.find('\n', at);
        out.push_back(printed.substr(at, end - at));
    }
    return out;
}

// Every line of small appears in big, in order.
bool within(const std::vector<std::string> &small, const std::vector<std::string> &big) {
    auto at = big.begin();
    for (const std::string &line : small) {
        at = std::find(at, big.end(), line);
        if (at == big.end())
            return false;
        ++at;
    }
    return true;
}

std::string unmarked(std::string line) {
    for (std::string_view mark : {" (kn)", " (ka)"})
        if (line.ends_with(mark))
            line.resize(line.size() - mark.size());
    return line;
}

::testing::AssertionResult fits(Outcome outcome, bool failed, const std::vector<std::string> &before,
                                const std::vector<std::string> &faulty,
                                const std::vector<std::string> &clean) {
    bool ok = true;
    switch (outcome) {
    case Outcome::Partial:
        ok = within(before, faulty) && within(faulty, clean);
        break;
    case Outcome::Untouched:
        ok = !failed || faulty == before;
        break;
    case Outcome::Unmarked:
        ok = faulty.size() == clean.size();
        for (size_t i = 0; ok && i < faulty.size(); ++i)
            ok = faulty[i] == clean[i] || faulty[i] == unmarked(clean[i]);
        break;
    case Outcome::Unswept:
        ok = within(clean, faulty) && within(faulty, before);
        break;
    case Outcome::Same:
        ok = faulty == clean;
        break;
    case Outcome::Any:
        break;
    }
    if (ok)
        return ::testing::AssertionSuccess();
    const auto join = [](const std::vector<std::string> &v) {
        std::string out;
        for (const std::string &line : v)
            out += "\n  " + line;
        return out;
    };
    return ::testing::AssertionFailure() << "before:" << join(before) << "\nafter the fault:" << join(faulty)
                                         << "\nwithout a fault:" << join(clean);
}

zell_map_status yes_no(uint32_t answer) {
    return answer != 0 ? OK : NOT_FOUND;
}

// Filter "R(a(b))"; response "a(b=1, c)"; one BGP neighbor 10.0.0.1 under "bgp/neighbors".
void filter_and_response(zell_map_ctx &, World &w) {
    fill(w.filter.node, N("R", {N("a", {N("b")})}));
    fill(w.tree.node, N(nullptr, {N("a", {V("b", "1"), N("c")})}));
}
void bgp_neighbor(zell_map_ctx &ctx, World &w) {
    ASSERT_EQ(zell_map_datatree_add_path_flagged(&ctx, w.tree.get(),
                                                 "bgp/neighbors/neighbor/neighbor-address", kBgp, "10.0.0.1",
                                                 nullptr, nullptr, 1, ZELL_MAP_FLAG_NO_FILTER),
              OK);
}
void outlines(zell_map_ctx &ctx, World &w) {
    add_outline(ctx, w.filter.node, "c|.e [entry]|..k : 1 [key]|..x|d");
    add_outline(ctx, w.tree.node, "c|.e|..k : 1|..x : 10|..y : 11|.e|..k : 2|..x : 20|d|.z : 3|f");
}

// Filter and response with a top level of three filter nodes (so marking
// indexes it in the context's scratch) and a chain deeper than the walks'
// 64 frames without allocation, each response level with a node to drop.
void deep_outlines(zell_map_ctx &ctx, World &w) {
    constexpr int kDepth = 70;
    std::string filter = "b|c", response = "b : 1|c : 2|q : 3";
    for (int level = 0; level < kDepth; ++level) {
        const std::string dots(static_cast<size_t>(level), '.');
        filter += "|" + dots + "a";
        response += "|" + dots + "a|" + dots + ".z : " + std::to_string(level);
    }
    filter += "|" + std::string(kDepth, '.') + "x";
    response += "|" + std::string(kDepth, '.') + "x : 1";
    add_outline(ctx, w.filter.node, filter);
    add_outline(ctx, w.tree.node, response);
}

// clang-format off
std::vector<Case> cases() {
    const auto none = [](zell_map_ctx &, World &) {};
    const Expect no_memory{{NO_MEMORY}}, not_found{{NOT_FOUND}};
    const Expect inserted{{NO_MEMORY}, {kCopyPath, kSubtrees}};        // a path inserted part-way
    const Expect added{{NO_MEMORY}, {kSubtrees}, false, Outcome::Untouched};
    const Expect path_copied{{NO_MEMORY}, {kCopyPath}, true, Outcome::Partial};
    return {
        // ---- building ------------------------------------------------------------------------------------
        {"zell_map_datatree_add_subtree_flagged", added, filter_and_response, [](zell_map_ctx &c, World &w) {
            return zell_map_datatree_add_subtree_flagged(&c, &w.tree->subtrees[0], "d", kNs, "2", nullptr,
                                                         &w.found, 0, ZELL_MAP_FLAG_IGNORE_NS); }},
        {"zell_map_datatree_add_subtree", added, none, [](zell_map_ctx &c, World &w) {
            return zell_map_datatree_add_subtree(&c, w.tree.get(), "a", kNs, "1", w.tree.get(), &w.found, 1); }},
        // reuses b: a failed copy leaves it without a value
        {"zell_map_datatree_add_subtree", {{NO_MEMORY}, {kDuplicate}, true, Outcome::Any}, filter_and_response,
         [](zell_map_ctx &c, World &w) {
            return zell_map_datatree_add_subtree(&c, &w.tree->subtrees[0], "b", kNs, "2", nullptr, nullptr, 0); }},
        {"zell_map_datatree_add_subtree_with_data", added,
         [](zell_map_ctx &c, World &w) {
            filter_and_response(c, w);
            fill(w.other.node, N(nullptr, {N("s", {V("t", "1"), V("u", "2")})}));
         },
         [](zell_map_ctx &c, World &w) {
            zell_datatree &source = w.other->subtrees[0];
            const zell_map_status status = zell_map_datatree_add_subtree_with_data(&c, w.tree.get(), &source, 0);
            if (status == OK) // the children moved: the source lets go of them
                source.subtrees = nullptr, source.n_subtrees = 0;
            return status;
         }},
        {"zell_map_add_subtrees_from_source_to_target", {{NO_MEMORY}, {kSubtrees}},
         [](zell_map_ctx &c, World &w) {
            filter_and_response(c, w);
            fill(w.other.node, N(nullptr, {N("s", {V("t", "1")}), N("u", {V("v", "2")})}));
         },
         [](zell_map_ctx &c, World &w) {
            return zell_map_add_subtrees_from_source_to_target(&c, w.tree.get(), w.other.get()); }},
        // a failed shrink keeps the larger array
        {"zell_map_datatree_remove_last_subtree", {{}, {}, false, Outcome::Same}, filter_and_response,
         [](zell_map_ctx &c, World &w) { return zell_map_datatree_remove_last_subtree(&c, &w.tree->subtrees[0]); }},
        {"zell_map_datatree_add_path_common_flagged", inserted, filter_and_response, [](zell_map_ctx &c, World &w) {
            return zell_map_datatree_add_path_common_flagged(&c, w.tree.get(), "a/c/d/e", kNs, "v", nullptr,
                                                             &w.found, 0, ZELL_MAP_FLAG_IGNORE_NS); }},
        {"zell_map_datatree_add_path_common", inserted, none, [](zell_map_ctx &c, World &w) {
            return zell_map_datatree_add_path_common(&c, w.tree.get(), "x/y", kNs, nullptr, nullptr, nullptr, 1); }},
        // under the open list context, the path recorded
        {"zell_map_datatree_add_path_flagged", inserted,
         [](zell_map_ctx &c, World &w) {
            filter_and_response(c, w);
            c.request->trim_path = owned("a");
            c.request->list_node = &w.tree->subtrees[0];
            c.request->xpath_mode = 2;
         },
         [](zell_map_ctx &c, World &w) {
            return zell_map_datatree_add_path_flagged(&c, w.tree.get(), "a/c/d", kNs, "v", nullptr, nullptr, 0,
                                                      ZELL_MAP_FLAG_TRIM_LIST); }},
        // asks the request's filter first
        {"zell_map_datatree_add_path", inserted,
         [](zell_map_ctx &c, World &w) {
            filter_and_response(c, w);
            c.request->datatree = w.filter.get();
            c.request->flags = ZELL_MAP_REQUEST_FILTER;
         },
         [](zell_map_ctx &c, World &w) {
            return zell_map_datatree_add_path(&c, w.tree.get(), "a/b/z", kNs, "v", nullptr, nullptr, 0); }},
        {"zell_map_datatree_get_last_subtree", inserted, bgp_neighbor, [](zell_map_ctx &c, World &w) {
            return zell_map_datatree_get_last_subtree(&c, w.tree.get(), kNeighborsLong.c_str(), &w.found); }},
        // ---- lookup, namespaces, printing ----------------------------------------------------------------
        {"zell_map_datatree_get_subtree_num", path_copied, filter_and_response, [](zell_map_ctx &c, World &w) {
            return zell_map_datatree_get_subtree_num(&c, &w.tree->subtrees[0], "a/c", &w.count); }},
        {"zell_map_datatree_add_data_ns", {{NO_MEMORY}, {kCopyPath, "Failed to copy data ns"}, true},
         filter_and_response, [](zell_map_ctx &c, World &w) {
            return zell_map_datatree_add_data_ns(&c, &w.tree->subtrees[0], "a/b", "urn:data"); }},
        {"zell_map_print_subtrees", no_memory,
         [](zell_map_ctx &c, World &w) { // b and c carry an insert attribute
            filter_and_response(c, w);
            for (zell_datatree &node : std::span(w.tree->subtrees[0].subtrees, 2))
                node.insert.position = 2, node.presence |= ZELL_DATATREE_HAS_INSERT;
         },
         [](zell_map_ctx &, World &w) {
            testing::internal::CaptureStdout();
            const zell_map_status status = zell_map_print_subtrees(w.tree.get(), 0, 0);
            testing::internal::GetCapturedStdout();
            return status;
         }},
        // ---- filtering -----------------------------------------------------------------------------------
        {"zell_map_dfs_stack_push", not_found, filter_and_response, [](zell_map_ctx &c, World &w) {
            return yes_no(zell_map_dfs_stack_push(&c, &w.stack, w.filter.get(), w.tokens, 0, 1)); }},
        {"zell_map_dfs_mark_stack_push", not_found, filter_and_response, [](zell_map_ctx &c, World &w) {
            return yes_no(zell_map_dfs_mark_stack_push(&c, &w.stack, w.filter.get(), w.tree.get(), 1, 1)); }},
        {"zell_map_dfs_sweep_stack_push", not_found, filter_and_response, [](zell_map_ctx &c, World &w) {
            return yes_no(zell_map_dfs_sweep_stack_push(&c, &w.stack, w.tree.get(), 1)); }},
        {"zell_map_dfs_filter_schema", not_found, filter_and_response, [](zell_map_ctx &c, World &w) {
            return yes_no(zell_map_dfs_filter_schema(&c, w.filter.get(), "a/b", 0)); }},
        {"zell_map_dfs_process_node", not_found,
         [](zell_map_ctx &c, World &w) {
            filter_and_response(c, w);
            w.elem.node = w.filter.get(), w.elem.depth = 1;
         },
         [](zell_map_ctx &c, World &w) { // pushes the filter's a
            return yes_no(!zell_map_dfs_process_node(&c, &w.stack, &w.elem, w.tokens, 3, 0) &&
                          !rask_queue_empty(&w.stack)); }},
        {"zell_map_dfs_filter_mark", {{NO_MEMORY}, {}, false, Outcome::Unmarked}, deep_outlines,
         [](zell_map_ctx &c, World &w) { return zell_map_dfs_filter_mark(&c, w.filter.get(), w.tree.get()); }},
        {"zell_map_dfs_process_mark", {{}, {}, false, Outcome::Unmarked},
         [](zell_map_ctx &c, World &w) {
            outlines(c, w);
            w.mark_elem.level = 1, w.mark_elem.node = w.filter.get(), w.mark_elem.data_node = w.tree.get();
         },
         [](zell_map_ctx &c, World &w) { return zell_map_dfs_process_mark(&c, &w.stack, &w.mark_elem); }},
        {"zell_map_dfs_filter_sweep", {{}, {}, false, Outcome::Unswept},
         [](zell_map_ctx &c, World &w) {
            deep_outlines(c, w);
            zell_map_dfs_filter_mark(&c, w.filter.get(), w.tree.get());
         },
         [](zell_map_ctx &c, World &w) { return zell_map_dfs_filter_sweep(&c, w.tree.get()); }},
        {"zell_map_dfs_process_sweep", {{}, {}, false, Outcome::Unswept},
         [](zell_map_ctx &c, World &w) {
            outlines(c, w);
            zell_map_dfs_filter_mark(&c, w.filter.get(), w.tree.get());
            w.mark_elem.level = 1, w.mark_elem.node = w.tree.get();
         },
         [](zell_map_ctx &c, World &w) { return yes_no(zell_map_dfs_process_sweep(&c, &w.stack, &w.mark_elem)); }},
        {"zell_map_filter_add_list_entry", added, filter_and_response, [](zell_map_ctx &c, World &w) {
            return zell_map_filter_add_list_entry(&c, &w.tree->subtrees[0], "e", kNs, &w.found); }},
        {"zell_map_filter_add_key", added, filter_and_response, [](zell_map_ctx &c, World &w) {
            return zell_map_filter_add_key(&c, &w.tree->subtrees[0], "k", kNs, "1", &w.found); }},
        {"zell_map_datatree_filter_get_response", path_copied, filter_and_response, [](zell_map_ctx &c, World &w) {
            return zell_map_datatree_filter_get_response(&c, w.filter.get(), "a/b", 0, 0); }},
        {"zell_map_get_subtree_from_key", path_copied, filter_and_response, [](zell_map_ctx &c, World &w) {
            return zell_map_get_subtree_from_key(&c, &w.tree->subtrees[0], "a/b", "1", nullptr); }},
        // ---- lists and request state ---------------------------------------------------------------------
        {"zell_map_iterate_list", not_found, bgp_neighbor, [](zell_map_ctx &c, World &w) {
            w.found = &w.tree->subtrees[0].subtrees[0];
            return zell_map_iterate_list(&c, &w.found, "neighbor-address", "10.0.0.1", kNeighborLong.c_str(), nullptr); }},
        {"zell_map_search_list", not_found, bgp_neighbor, [](zell_map_ctx &c, World &w) {
            return zell_map_search_list(&c, w.tree.get(), &w.found, kNeighborLong.c_str(), "10.0.0.1", "neighbor-address",
                                        kBgp); }},
        {"zell_map_search_or_add_list",
         {{NO_MEMORY, NOT_FOUND}, {"Failed to allocate for key path!", kCopyPath, kSubtrees}}, bgp_neighbor,
         [](zell_map_ctx &c, World &w) {
            return zell_map_search_or_add_list(&c, w.tree.get(), &w.found, kNeighbor, "10.0.0.2",
                                               "neighbor-address", kBgp); }},
        {"zell_map_copy_trim_path_list_ctx", not_found, none,
         [](zell_map_ctx &c, World &) { return zell_map_copy_trim_path_list_ctx(&c, kNeighbor); }},
        {"zell_map_datatree_add_list_node", added, bgp_neighbor, [](zell_map_ctx &c, World &w) {
            return zell_map_datatree_add_list_node(&c, &w.tree->subtrees[0].subtrees[0], "neighbor", kBgp,
                                                   "neighbor-address", "10.0.0.2", &w.found); }},
        {"zell_map_is_list_node_already_present", {{NOT_FOUND}, {kCopyPath, kSubtrees}}, bgp_neighbor,
         [](zell_map_ctx &c, World &w) {
            return yes_no(zell_map_is_list_node_already_present(&c, w.tree.get(), kNeighborsLong.c_str(), nullptr,
                                                                "neighbor-address", "10.0.0.1", &w.found)); }},
        // the level is pushed all the same
        {"zell_map_add_to_node_hierarchy", {{}}, filter_and_response, [](zell_map_ctx &c, World &w) {
            const zell_map_status status = zell_map_add_to_node_hierarchy(&c, &w.tree->subtrees[0], 1);
            return status == OK ? zell_map_add_to_node_hierarchy(&c, &w.tree->subtrees[0].subtrees[0], 2)
                                : status; }},
        {"zell_map_update_current_list_node", {{NO_MEMORY}, {"Failed to copy path name!"}, true}, none,
         [](zell_map_ctx &c, World &) { return zell_map_update_current_list_node(&c, "/bgp/neighbors"); }},
        {"zell_map_util_itree_stack_push", no_memory, none, [](zell_map_ctx &c, World &w) {
            const zell_map_status status = zell_map_util_itree_stack_push(&c, nullptr, 0, 1);
            return status == OK ? zell_map_util_itree_stack_push(&c, w.tree.get(), 1, 2) : status; }},
        {"zell_map_util_itree_stack_push", no_memory,
         [](zell_map_ctx &, World &w) { // an array of two instances for the stack to own
            w.instances = static_cast<zell_datatree *>(rask_named_calloc_(2, sizeof(zell_datatree), "T", 0));
            w.instances[0].tag = owned(ZELL_MAP_LIST_INSTANCE_NODE);
            fill(w.instances[1], N("i", {V("k", "1")}));
         },
         [](zell_map_ctx &c, World &w) {
            const zell_map_status status = zell_map_util_itree_stack_push(&c, w.instances, 2, 1);
            if (status == OK)
                w.instances = nullptr;
            return status;
         }},
        // ---- values --------------------------------------------------------------------------------------
        {"zell_map_data_conv", no_memory, none, [](zell_map_ctx &, World &w) {
            return zell_map_data_conv(ZELL_MAP_DATA_CONV_KBS_TO_BPS, "5", &w.out); }},
        {"zell_map_data_kbs_uint32_yang_bps_uint64", no_memory, none, [](zell_map_ctx &, World &w) {
            return zell_map_data_kbs_uint32_yang_bps_uint64("5", 1, &w.out); }},
        {"zell_map_data_intf_secs_uint32_to_yang_date_and_time", no_memory, none, [](zell_map_ctx &, World &w) {
            return zell_map_data_intf_secs_uint32_to_yang_date_and_time("5", 1, &w.out); }},
    };
}
// clang-format on

using AllocSweep = MapTest;

TEST_F(AllocSweep, EveryAllocatingOperationFailsCleanlyAtEveryAllocationOnceAndForGood) {
    const std::vector<Case> table = cases();
    std::set<std::string_view> operations;
    long points[2] = {0, 0};
    for (const Case &c : table) {
        operations.insert(c.operation);
        SCOPED_TRACE(c.operation);
        request = zell_map_request{};
        request.msg = &msg;
        std::optional<World> world;
        c.setup(ctx, world.emplace());
        ASSERT_EQ(c.call(ctx, *world), OK) << "without a fault";
        const std::vector<std::string> clean = lines(world->tree.node);
        world.reset();
        zell_map_request_release(&ctx);
        for (const AllocFailure mode : {AllocFailure::Once, AllocFailure::ForGood}) {
            SCOPED_TRACE(mode == AllocFailure::Once ? "once" : "for good");
            std::vector<std::string> before;
            const long injected_runs = for_each_alloc_failure(
                [&](const Arm &arm) {
                    request = zell_map_request{};
                    request.msg = &msg;
                    c.setup(ctx, world.emplace());
                    before = lines(world->tree.node);
                    log.clear();
                    arm();
                    return c.call(ctx, *world);
                },
                [&](zell_map_status status, bool injected) {
                    const Expect &e = c.expect;
                    const bool documented = std::ranges::find(e.failures, status) != e.failures.end();
                    EXPECT_TRUE(status == OK || (injected && documented)) << std::hex << status;
                    bool logged = false;
                    for (const LogLine &line : log.lines()) {
                        if (line.handle != ctx.err_log)
                            continue;
                        const std::string_view text =
                            std::string_view(line.text).substr(line.text.find(',') + 1);
                        EXPECT_TRUE(injected && std::ranges::find(e.errors, text) != e.errors.end())
                            << line.text;
                        logged = true;
                    }
                    EXPECT_TRUE(logged || !e.always_logs || status == OK) << "failed without its ERR line";
                    EXPECT_TRUE(fits(e.outcome, status != OK, before, lines(world->tree.node), clean));
                    for (const Tree *tree : {&world->filter, &world->other})
                        outline_of(tree->node); // printable
                    world.reset();
                    zell_map_request_release(&ctx);
                },
                mode);
            EXPECT_GT(injected_runs, 0) << "allocates nothing";
            points[mode == AllocFailure::Once ? 0 : 1] += injected_runs;
        }
    }
    std::printf(
        "allocation sweep: %zu operations in %zu cases, %ld injection points failing once, %ld failing for "
        "good\n",
        operations.size(), table.size(), points[0], points[1]);
}

} // namespace
