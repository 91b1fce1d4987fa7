#include "bgp_workload.h"

#include <charconv>
#include <cstring>
#include <iterator>

namespace zell::bench {
namespace {

constexpr const char *kAfiNames[kAfis] = {"IPV4_UNICAST", "IPV6_UNICAST"};

// Writes text and the number n behind it, NUL-terminated, into out.
template <std::size_t Size> void format(char (&out)[Size], const char *text, long n) {
    const std::size_t length = std::strlen(text);
    std::memcpy(out, text, length);
    *std::to_chars(out + length, out + Size - 1, n).ptr = '\0';
}

// "list/container/name", or "list/name" for a leaf directly in the entry.
std::string leaf_path(const std::string &list, const Leaf &leaf) {
    std::string path = list + "/";
    if (leaf.container != nullptr)
        path.append(leaf.container).append("/");
    return path.append(leaf.name);
}

template <typename Leaves> std::vector<std::string> leaf_paths_under(const std::string &list, const Leaves &leaves) {
    std::vector<std::string> paths;
    for (const Leaf &leaf : leaves)
        paths.push_back(leaf_path(list, leaf));
    return paths;
}

const std::string kAfiListPath = std::string(kNeighborList) + "/" + kAfiList;

zell_map_status add(zell_map_ctx &ctx, zell_datatree &parent, const char *tag, const char *data,
                    zell_datatree **out = nullptr, bool indexed = false) {
    return zell_map_datatree_add_subtree(&ctx, &parent, tag, kNs, data, nullptr, out, indexed ? 1 : 0);
}

// Inserts an entry's leaves below it, each container once before its leaves.
zell_map_status add_leaves_direct(zell_map_ctx &ctx, zell_datatree &entry, std::span<const Leaf> leaves,
                                  const Workload &w, long i, int afi) {
    zell_datatree *container = nullptr; // stale once the entry's array grows: used only until the next open
    return for_each_leaf(
        leaves, [&](const char *name) { return add(ctx, entry, name, nullptr, &container); },
        [&](const Leaf &leaf) {
            return add(ctx, leaf.container != nullptr ? *container : entry, leaf.name, w.value(i, leaf.field, afi));
        });
}

// Filter nodes as the framework parses them.
void flag_list_entry(zell_datatree &entry) {
    entry.type_info.node_type = ZELL_DATATREE_NODE_LIST_ENTRY;
    entry.type_info.presence |= ZELL_DATATREE_TYPE_INFO_HAS_NODE_TYPE;
    entry.presence |= ZELL_DATATREE_HAS_TYPE_INFO;
}

zell_map_status add_filter_entry(zell_map_ctx &ctx, zell_datatree &neighbors, const char *address,
                                 zell_datatree **entry) {
    zell_datatree *key = nullptr;
    zell_map_status status = add(ctx, neighbors, "neighbor", nullptr, entry, true);
    if (status == ZELL_MAP_OK)
        status = add(ctx, **entry, kNeighborKey, address, &key);
    if (status != ZELL_MAP_OK)
        return status;
    key->is_key = 1;
    key->presence |= ZELL_DATATREE_HAS_IS_KEY;
    flag_list_entry(**entry);
    return ZELL_MAP_OK;
}

} // namespace

Workload::Workload(long neighbors, Shape shape)
    : neighbors_(neighbors), shape_(shape), texts_(static_cast<std::size_t>(neighbors)) {
    for (long i = 0; i < neighbors; ++i) {
        Texts &t = texts_[static_cast<std::size_t>(i)];
        const long n = i + 1; // 10.0.0.1, 10.0.0.2, ...: unique up to 2^24 neighbors
        char *p = t.address;
        for (const long octet : {10L, (n >> 16) & 255, (n >> 8) & 255, n & 255}) {
            p = std::to_chars(p, std::end(t.address), octet).ptr;
            *p++ = '.';
        }
        p[-1] = '\0';
        format(t.peer_as, "", 64512 + i % 1000);
        format(t.peer_group, "pg-", i % 16);
        format(t.description, "peer ", i);
        format(t.established, "", 1700000000 + i);
        for (int afi = 0; afi < kAfis; ++afi)
            format(t.prefixes[afi], "", (i * 7 + afi * 13) % 100000);
    }
}

const char *Workload::value(long i, Field field, int afi) const {
    const Texts &t = texts_[static_cast<std::size_t>(i)];
    switch (field) {
    case Field::Address:
        return t.address;
    case Field::PeerAs:
        return t.peer_as;
    case Field::LocalAs:
        return "65000";
    case Field::PeerGroup:
        return t.peer_group;
    case Field::Description:
        return t.description;
    case Field::Enabled:
        return "true";
    case Field::SessionState:
        return "ESTABLISHED";
    case Field::Established:
        return t.established;
    case Field::Transitions:
        return "1";
    case Field::AfiName:
        return kAfiNames[afi];
    case Field::Prefixes:
        return t.prefixes[afi];
    }
    return nullptr;
}

void Tree::release() {
    mova_zell_datatree_free_ext(&top, zell_gpb_free, 0, 0);
}

zell_datatree *Tree::bgp() const {
    return top.n_subtrees > 0 ? top.subtrees : nullptr;
}

zell_map_status build_with_list_context(zell_map_ctx &ctx, zell_datatree &top, const Workload &w) {
    static const auto neighbor_paths = leaf_paths_under(kNeighborList, kNeighborLeaves);
    static const auto afi_paths = leaf_paths_under(kAfiListPath, kAfiLeaves);
    zell_map_request &request = *ctx.request;
    zell_datatree *bgp = nullptr;
    zell_map_status status = add(ctx, top, "bgp", nullptr, &bgp);
    for (long i = 0; status == ZELL_MAP_OK && i < w.neighbors(); ++i) {
        zell_datatree *instance = nullptr;
        status = zell_map_search_or_add_list(&ctx, bgp, &instance, kNeighborList, w.address(i), kNeighborKey, kNs);
        request.list_node = instance;
        // The key leaf came with the instance; the others land under it.
        for (std::size_t l = 1; status == ZELL_MAP_OK && l < std::size(kNeighborLeaves); ++l)
            status = zell_map_datatree_add_path_flagged(&ctx, instance, neighbor_paths[l].c_str(), kNs,
                                                        w.value(i, kNeighborLeaves[l].field), nullptr, nullptr, 0,
                                                        ZELL_MAP_FLAG_TRIM_LIST);
        // The nested list goes under the instance through the output list.
        if (status == ZELL_MAP_OK && w.afis() > 0) {
            status = zell_add_to_output_list_ctx(&ctx);
            for (int afi = 0; status == ZELL_MAP_OK && afi < w.afis(); ++afi) {
                status = zell_map_datatree_add_path_flagged(&ctx, bgp, kAfiListPath.c_str(), kNs, nullptr,
                                                            nullptr, nullptr, 1, 0);
                for (std::size_t l = 0; status == ZELL_MAP_OK && l < std::size(kAfiLeaves); ++l)
                    status = zell_map_datatree_add_path_flagged(&ctx, bgp, afi_paths[l].c_str(), kNs,
                                                                w.value(i, kAfiLeaves[l].field, afi), nullptr,
                                                                nullptr, 0, 0);
            }
            zell_remove_from_output_list_ctx(&ctx);
        }
        if (request.trim_path != nullptr)
            zell_map_free_trim_path_list_ctx(&ctx);
        request.list_node = nullptr;
    }
    return status;
}

zell_map_status build_with_paths(zell_map_ctx &ctx, zell_datatree &top, const Workload &w) {
    static const std::string neighbor_list = std::string("bgp/") + kNeighborList;
    static const std::string afi_list = "bgp/" + kAfiListPath;
    static const auto neighbor_paths = leaf_paths_under(neighbor_list, kNeighborLeaves);
    static const auto afi_paths = leaf_paths_under(afi_list, kAfiLeaves);
    const auto add_path = [&](const std::string &path, const char *value, bool indexed) {
        return zell_map_datatree_add_path(&ctx, &top, path.c_str(), kNs, value, nullptr, nullptr, indexed ? 1 : 0);
    };
    zell_map_status status = ZELL_MAP_OK;
    for (long i = 0; status == ZELL_MAP_OK && i < w.neighbors(); ++i) {
        status = add_path(neighbor_list, nullptr, true);
        for (std::size_t l = 0; status == ZELL_MAP_OK && l < std::size(kNeighborLeaves); ++l)
            status = add_path(neighbor_paths[l], w.value(i, kNeighborLeaves[l].field), false);
        for (int afi = 0; status == ZELL_MAP_OK && afi < w.afis(); ++afi) {
            status = add_path(afi_list, nullptr, true);
            for (std::size_t l = 0; status == ZELL_MAP_OK && l < std::size(kAfiLeaves); ++l)
                status = add_path(afi_paths[l], w.value(i, kAfiLeaves[l].field, afi), false);
        }
    }
    return status;
}

zell_map_status build_direct(zell_map_ctx &ctx, zell_datatree &top, const Workload &w) {
    zell_datatree *bgp = nullptr;
    zell_datatree *neighbors = nullptr;
    zell_map_status status = add(ctx, top, "bgp", nullptr, &bgp);
    if (status == ZELL_MAP_OK)
        status = add(ctx, *bgp, "neighbors", nullptr, &neighbors);
    for (long i = 0; status == ZELL_MAP_OK && i < w.neighbors(); ++i) {
        zell_datatree *entry = nullptr;
        status = add(ctx, *neighbors, "neighbor", nullptr, &entry, true);
        if (status == ZELL_MAP_OK)
            status = add_leaves_direct(ctx, *entry, kNeighborLeaves, w, i, 0);
        zell_datatree *afi_safis = nullptr;
        if (status == ZELL_MAP_OK && w.afis() > 0)
            status = add(ctx, *entry, "afi-safis", nullptr, &afi_safis);
        for (int afi = 0; status == ZELL_MAP_OK && afi < w.afis(); ++afi) {
            zell_datatree *afi_entry = nullptr;
            status = add(ctx, *afi_safis, "afi-safi", nullptr, &afi_entry, true);
            if (status == ZELL_MAP_OK)
                status = add_leaves_direct(ctx, *afi_entry, kAfiLeaves, w, i, afi);
        }
    }
    return status;
}

const char *name_of(FilterKind kind) {
    switch (kind) {
    case FilterKind::NeighborState:
        return "NeighborState";
    case FilterKind::PeerAs:
        return "PeerAs";
    case FilterKind::EveryOtherKey:
        return "EveryOtherKey";
    case FilterKind::TenthOfKeys:
        return "TenthOfKeys";
    }
    return "?";
}

long chosen_neighbor(const Workload &w) {
    return w.neighbors() / 2;
}

std::vector<long> named_neighbors(FilterKind kind, const Workload &w) {
    std::vector<long> named;
    const long step = kind == FilterKind::EveryOtherKey ? 2 : kind == FilterKind::TenthOfKeys ? 10 : 1;
    if (kind == FilterKind::NeighborState)
        return {chosen_neighbor(w)};
    for (long i = 0; i < w.neighbors(); i += step)
        named.push_back(i);
    return named;
}

zell_map_status build_filter(zell_map_ctx &ctx, zell_datatree &top, FilterKind kind, const Workload &w) {
    zell_datatree *bgp = nullptr;
    zell_datatree *neighbors = nullptr;
    zell_datatree *entry = nullptr;
    zell_map_status status = add(ctx, top, "bgp", nullptr, &bgp);
    if (status == ZELL_MAP_OK)
        status = add(ctx, *bgp, "neighbors", nullptr, &neighbors);
    if (status != ZELL_MAP_OK)
        return status;
    switch (kind) {
    case FilterKind::NeighborState:
        status = add_filter_entry(ctx, *neighbors, w.address(chosen_neighbor(w)), &entry);
        if (status == ZELL_MAP_OK)
            status = add(ctx, *entry, "state", nullptr);
        break;
    case FilterKind::PeerAs: {
        zell_datatree *config = nullptr;
        status = add_filter_entry(ctx, *neighbors, nullptr, &entry);
        if (status == ZELL_MAP_OK)
            status = add(ctx, *entry, "config", nullptr, &config);
        if (status == ZELL_MAP_OK)
            status = add(ctx, *config, "peer-as", nullptr);
        break;
    }
    case FilterKind::EveryOtherKey:
    case FilterKind::TenthOfKeys:
        for (const long i : named_neighbors(kind, w)) {
            if ((status = add_filter_entry(ctx, *neighbors, w.address(i), &entry)) != ZELL_MAP_OK)
                break;
        }
        break;
    }
    return status;
}

long count_nodes(const zell_datatree &node) {
    long count = 0;
    if (node.subtrees != nullptr) {
        for (const zell_datatree &child : std::span(node.subtrees, node.n_subtrees > 0 ? node.n_subtrees : 0))
            count += 1 + count_nodes(child);
    }
    return count;
}

long expected_nodes_after(FilterKind kind, const Workload &w) {
    constexpr long kStateLeaves = 6;
    switch (kind) {
    case FilterKind::NeighborState:
        return 1 + 3 + kStateLeaves; // neighbors, the entry with its key and state
    case FilterKind::PeerAs:
        return 1 + 4 * w.neighbors(); // each entry with its key and config/peer-as
    case FilterKind::EveryOtherKey:
    case FilterKind::TenthOfKeys:
        return 1 + static_cast<long>(named_neighbors(kind, w).size()) * w.nodes_per_neighbor();
    }
    return -1;
}

std::vector<std::string> leaf_paths(Shape shape) {
    std::vector<std::string> paths = leaf_paths_under(kNeighborList, kNeighborLeaves);
    if (shape == Shape::Full) {
        for (std::string &path : leaf_paths_under(kAfiListPath, kAfiLeaves))
            paths.push_back(std::move(path));
    }
    return paths;
}

} // namespace zell::bench
