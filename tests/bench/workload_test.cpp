// The benchmarks' workload: its three builders make the same response, and
// each of its filters keeps exactly what it names. The benchmarks compare
// figures across builders and against a peer library only on that basis.
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "bgp_workload.h"
#include "harness.h"
#include "tree_outline.h"

namespace zell::test {
namespace {

using bench::Shape;
using bench::Workload;

class BenchWorkload : public MapTest {
  protected:
    void SetUp() override {
        MapTest::SetUp();
        SinksOff();
    }
};

constexpr const char *kOneNeighbor = R"(
bgp
    neighbors
        neighbor
            neighbor-address : 10.0.0.1
            config
                neighbor-address : 10.0.0.1
                peer-as : 64512
                local-as : 65000
                peer-group : pg-0
                description : peer 0
                enabled : true
            state
                neighbor-address : 10.0.0.1
                peer-as : 64512
                local-as : 65000
                session-state : ESTABLISHED
                last-established : 1700000000
                established-transitions : 1
            afi-safis
                afi-safi
                    afi-safi-name : IPV4_UNICAST
                    config
                        afi-safi-name : IPV4_UNICAST
                        enabled : true
                    state
                        afi-safi-name : IPV4_UNICAST
                        enabled : true
                        prefixes-received : 0
                afi-safi
                    afi-safi-name : IPV6_UNICAST
                    config
                        afi-safi-name : IPV6_UNICAST
                        enabled : true
                    state
                        afi-safi-name : IPV6_UNICAST
                        enabled : true
                        prefixes-received : 13
)";

TEST_F(BenchWorkload, EveryBuilderMakesTheSameResponse) {
    const struct {
        const char *name;
        zell_map_status (*build)(zell_map_ctx &, zell_datatree &, const Workload &);
    } builders[] = {{"list context", bench::build_with_list_context},
                    {"paths", bench::build_with_paths},
                    {"direct", bench::build_direct}};
    for (const Shape shape : {Shape::Full, Shape::Flat}) {
        for (const long n : {1L, 2L, 300L}) {
            const Workload w(n, shape);
            std::string first;
            for (const auto &builder : builders) {
                SCOPED_TRACE(std::string(builder.name) + ", " + std::to_string(n) +
                             (shape == Shape::Full ? " full" : " flat"));
                bench::Tree tree;
                ASSERT_EQ(builder.build(ctx, tree.top, w), ZELL_MAP_OK);
                EXPECT_EQ(bench::count_nodes(tree.top), w.nodes());
                EXPECT_TRUE(request.trim_path == nullptr && request.output_count == 0) << "request state left";
                const std::string printed = outline_of(tree.top);
                if (n == 1 && shape == Shape::Full) {
                    EXPECT_EQ(printed, outline(kOneNeighbor));
                }
                if (first.empty())
                    first = printed;
                EXPECT_EQ(printed, first) << "differs from the list-context build";
            }
        }
    }
}

// Neighbors are found and filtered by address: no two may share one.
TEST(BenchWorkloadValues, AddressesAreUniqueAcrossOctetBoundaries) {
    const Workload w(70'000, Shape::Flat);
    const std::pair<long, const char *> cases[] = {
        {0, "10.0.0.1"}, {254, "10.0.0.255"}, {255, "10.0.1.0"}, {65'535, "10.1.0.0"}, {69'999, "10.1.17.112"}};
    for (const auto &[i, address] : cases)
        EXPECT_STREQ(w.address(i), address) << i;
    std::set<std::string> seen;
    for (long i = 0; i < w.neighbors(); ++i)
        seen.insert(w.address(i));
    EXPECT_EQ(static_cast<long>(seen.size()), w.neighbors());
}

// The neighbor addresses and the outline of the first kept entry, marks left out.
struct Kept {
    std::vector<std::string> addresses;
    std::string first_entry;
};

Kept kept_after(zell_map_ctx &ctx, bench::FilterKind kind, const Workload &w, long &nodes) {
    bench::Tree response, filter;
    EXPECT_EQ(bench::build_direct(ctx, response.top, w), ZELL_MAP_OK);
    EXPECT_EQ(bench::build_filter(ctx, filter.top, kind, w), ZELL_MAP_OK);
    EXPECT_EQ(zell_map_dfs_filter_mark(&ctx, filter.bgp(), response.bgp()), 0u);
    EXPECT_EQ(zell_map_dfs_filter_sweep(&ctx, response.bgp()), 0u);
    nodes = bench::count_nodes(*response.bgp());
    Kept kept;
    const zell_datatree &neighbors = response.bgp()->subtrees[0];
    for (int i = 0; i < neighbors.n_subtrees; ++i)
        kept.addresses.push_back(neighbors.subtrees[i].subtrees[0].data);
    if (!kept.addresses.empty())
        kept.first_entry = std::regex_replace(line_of(neighbors.subtrees[0]), std::regex(" \\((ka|kn)\\)"), "");
    return kept;
}

TEST_F(BenchWorkload, EachFilterKeepsExactlyWhatItNames) {
    using enum bench::FilterKind;
    for (const Shape shape : {Shape::Full, Shape::Flat}) {
        const Workload w(41, shape);
        const std::string whole = [&] {
            bench::Tree tree;
            bench::build_direct(ctx, tree.top, w);
            return line_of(tree.bgp()->subtrees[0].subtrees[0]);
        }();
        const struct {
            bench::FilterKind kind;
            std::string first_entry;
        } cases[] = {
            {NeighborState, "neighbor-address : 10.0.0.21|state|.neighbor-address : 10.0.0.21|.peer-as : 64532|"
                            ".local-as : 65000|.session-state : ESTABLISHED|.last-established : 1700000020|"
                            ".established-transitions : 1"},
            {PeerAs, "neighbor-address : 10.0.0.1|config|.peer-as : 64512"},
            {EveryOtherKey, whole},
            {TenthOfKeys, whole},
        };
        for (const auto &c : cases) {
            SCOPED_TRACE(std::string(bench::name_of(c.kind)) + (shape == Shape::Full ? " full" : " flat"));
            long nodes = 0;
            const Kept kept = kept_after(ctx, c.kind, w, nodes);
            std::vector<std::string> named;
            for (const long i : bench::named_neighbors(c.kind, w))
                named.push_back(w.address(i));
            EXPECT_EQ(kept.addresses, named);
            EXPECT_EQ(kept.first_entry, c.first_entry);
            EXPECT_EQ(nodes, bench::expected_nodes_after(c.kind, w));
        }
    }
}

} // namespace
} // namespace zell::test
