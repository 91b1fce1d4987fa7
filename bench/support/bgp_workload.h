// The one workload every benchmark builds, filters and frees: N BGP
// neighbors under bgp/neighbors, each with its key leaf, six config and six
// state leaves and (in the full shape) two address families with their own
// key, config and state leaves. The same values and the same node order
// feed every builder, ours and the peer's, so that their trees hold the
// same nodes.
#pragma once

#include <cstddef>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "zell_map_common.h"

namespace zell::bench {

inline constexpr const char *kNs = ZELL_MAP_OC_BGP_NS;

// The neighbor list as paths name it from inside "bgp".
inline constexpr const char *kNeighborList = "neighbors/neighbor";
inline constexpr const char *kAfiList = "afi-safis/afi-safi";
inline constexpr const char *kNeighborKey = "neighbor-address";
inline constexpr const char *kAfiKey = "afi-safi-name";

// Full: with the two address families. Flat: key and twelve leaves only,
// small enough to reach 10^6 neighbors in memory.
enum class Shape { Full, Flat };

// Where a leaf's text comes from.
enum class Field {
    Address,
    PeerAs,
    LocalAs,
    PeerGroup,
    Description,
    Enabled,
    SessionState,
    Established,
    Transitions,
    AfiName,
    Prefixes,
};

// A leaf of a list entry: its container ("config", "state", or nullptr for
// a leaf directly in the entry), its name and its value's field.
struct Leaf {
    const char *container;
    const char *name;
    Field field;
};

// In insertion order; the key comes first.
inline constexpr Leaf kNeighborLeaves[] = {
    {nullptr, "neighbor-address", Field::Address},
    {"config", "neighbor-address", Field::Address},
    {"config", "peer-as", Field::PeerAs},
    {"config", "local-as", Field::LocalAs},
    {"config", "peer-group", Field::PeerGroup},
    {"config", "description", Field::Description},
    {"config", "enabled", Field::Enabled},
    {"state", "neighbor-address", Field::Address},
    {"state", "peer-as", Field::PeerAs},
    {"state", "local-as", Field::LocalAs},
    {"state", "session-state", Field::SessionState},
    {"state", "last-established", Field::Established},
    {"state", "established-transitions", Field::Transitions},
};
inline constexpr Leaf kAfiLeaves[] = {
    {nullptr, "afi-safi-name", Field::AfiName},    {"config", "afi-safi-name", Field::AfiName},
    {"config", "enabled", Field::Enabled},         {"state", "afi-safi-name", Field::AfiName},
    {"state", "enabled", Field::Enabled},          {"state", "prefixes-received", Field::Prefixes},
};
inline constexpr int kAfis = 2;

// Walks an entry's leaves in order: open(container) before the first leaf
// of each container, add(leaf) for every leaf. Stops at the first nonzero
// status (0 is success for this library and the peer) and returns it.
template <typename Open, typename Add>
auto for_each_leaf(std::span<const Leaf> leaves, Open open, Add add) -> decltype(add(leaves[0])) {
    const char *current = nullptr;
    for (const Leaf &leaf : leaves) {
        if (leaf.container != nullptr && (current == nullptr || std::strcmp(current, leaf.container) != 0)) {
            current = leaf.container;
            if (const auto status = open(leaf.container))
                return status;
        }
        if (const auto status = add(leaf))
            return status;
    }
    return {};
}
// Leaves plus their containers: a neighbor is its entry, config, state and
// leaves; an address family adds afi-safis once and per family its entry,
// config, state and leaves.
inline constexpr long kFlatLeaves = std::size(kNeighborLeaves);
inline constexpr long kFlatNodes = 3 + kFlatLeaves;
inline constexpr long kAfiLeafCount = std::size(kAfiLeaves);
inline constexpr long kFullLeaves = kFlatLeaves + kAfis * kAfiLeafCount;
inline constexpr long kFullNodes = kFlatNodes + 1 + kAfis * (3 + kAfiLeafCount);

// The device's values as text, made once per size so that no builder pays
// for formatting them.
class Workload {
  public:
    Workload(long neighbors, Shape shape);

    long neighbors() const { return neighbors_; }
    Shape shape() const { return shape_; }
    int afis() const { return shape_ == Shape::Full ? kAfis : 0; }
    long leaves_per_neighbor() const { return shape_ == Shape::Full ? kFullLeaves : kFlatLeaves; }
    long nodes_per_neighbor() const { return shape_ == Shape::Full ? kFullNodes : kFlatNodes; }
    long leaves() const { return neighbors_ * leaves_per_neighbor(); }
    // Every node below the top record: bgp, neighbors and the entries.
    long nodes() const { return 2 + neighbors_ * nodes_per_neighbor(); }

    // The value of @p field for neighbor @p i (address family @p afi).
    const char *value(long i, Field field, int afi = 0) const;
    const char *address(long i) const { return texts_[static_cast<std::size_t>(i)].address; }

  private:
    struct Texts {
        char address[16];
        char peer_as[8];
        char peer_group[8];
        char description[24];
        char established[12];
        char prefixes[kAfis][8];
    };
    long neighbors_;
    Shape shape_;
    std::vector<Texts> texts_;
};

// A context and request record as the framework hands them over: log
// sinks off, no filter, released at scope end.
struct Request {
    zell_map_request request{};
    zell_map_ctx ctx{};
    Request() { ctx.request = &request; }
    ~Request() { zell_map_request_release(&ctx); }
    Request(const Request &) = delete;
    Request &operator=(const Request &) = delete;
};

// A top record whose contents are released at scope end (or by release()).
struct Tree {
    zell_datatree top{};
    Tree() = default;
    ~Tree() { release(); }
    Tree(const Tree &) = delete;
    Tree &operator=(const Tree &) = delete;
    void release();
    // "bgp", the only child of the top record (nullptr before building).
    zell_datatree *bgp() const;
};

// The three ways to build the response below top: as a backend does with a
// list context per neighbor (list search or add, then paths re-rooted under
// the instance and, for the address families, under the output list); by
// absolute paths from the top, each list entry appended as a numbered
// entry that the following paths land in; and by inserting every node
// directly under its parent. All return the first failing status.
zell_map_status build_with_list_context(zell_map_ctx &ctx, zell_datatree &top, const Workload &w);
zell_map_status build_with_paths(zell_map_ctx &ctx, zell_datatree &top, const Workload &w);
zell_map_status build_direct(zell_map_ctx &ctx, zell_datatree &top, const Workload &w);

// The filters of a get request, rooted at their "bgp" node below top, as
// the framework parses them (list entries and key leaves flagged).
enum class FilterKind {
    NeighborState, // one neighbor's state: entry named by key, state
    PeerAs,        // every neighbor's peer-as: entry with an empty key, config/peer-as
    EveryOtherKey, // every other neighbor (0, 2, 4, ...) named by key, kept whole
    TenthOfKeys,   // every tenth neighbor (0, 10, 20, ...) named by key, kept whole
};
const char *name_of(FilterKind kind);
// The neighbor NeighborState names: the one in the middle.
long chosen_neighbor(const Workload &w);
// Neighbors the filter names by key (every neighbor for PeerAs).
std::vector<long> named_neighbors(FilterKind kind, const Workload &w);
zell_map_status build_filter(zell_map_ctx &ctx, zell_datatree &top, FilterKind kind, const Workload &w);

// Nodes of a subtree below @p node (not counting it).
long count_nodes(const zell_datatree &node);
// Nodes below "bgp" that the filter leaves in a response of @p w.
long expected_nodes_after(FilterKind kind, const Workload &w);

// One leaf's path from inside "bgp" ("neighbors/neighbor/config/peer-as",
// "neighbors/neighbor/afi-safis/afi-safi/state/enabled"), for the schema filter.
std::vector<std::string> leaf_paths(Shape shape);

} // namespace zell::bench
