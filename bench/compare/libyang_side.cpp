#include "libyang_side.h"

#include <libyang/libyang.h>

#include <string>

namespace zell::bench::peer {
namespace {

constexpr const char *kModule = "zell-bench-bgp";

// "[name='value']"
std::string predicate(const char *name, const char *value) {
    return std::string("[") + name + "='" + value + "']";
}

std::string neighbor_path(const Workload &w, long i) {
    return std::string(kNeighborList) + predicate(kNeighborKey, w.address(i));
}

// Adds the entry's leaves but its key, which came with the entry.
LY_ERR add_leaves(lyd_node *entry, std::span<const Leaf> leaves, const Workload &w, long i, int afi) {
    lyd_node *container = nullptr;
    return for_each_leaf(
        leaves, [&](const char *name) { return lyd_new_inner(entry, nullptr, name, 0, &container); },
        [&](const Leaf &leaf) {
            return leaf.container == nullptr
                       ? LY_SUCCESS
                       : lyd_new_term(container, nullptr, leaf.name, w.value(i, leaf.field, afi), 0, nullptr);
        });
}

// As add_leaves, each leaf by its absolute path below the entry's.
LY_ERR add_leaves_by_path(lyd_node *root, const std::string &entry, std::span<const Leaf> leaves,
                          const Workload &w, long i, int afi) {
    std::string path;
    for (const Leaf &leaf : leaves) {
        if (leaf.container == nullptr)
            continue;
        path.assign(entry).append("/").append(leaf.container).append("/").append(leaf.name);
        if (const LY_ERR status = lyd_new_path(root, nullptr, path.c_str(), w.value(i, leaf.field, afi), 0, nullptr))
            return status;
    }
    return LY_SUCCESS;
}

} // namespace

Library::Library() {
    if (ly_ctx_new(ZELL_BENCH_YANG_DIR, LY_CTX_NO_YANGLIBRARY, &ctx_) == LY_SUCCESS)
        module_ = ly_ctx_load_module(ctx_, kModule, nullptr, nullptr);
}

Library::~Library() {
    ly_ctx_destroy(ctx_);
}

lyd_node *Library::build_with_paths(const Workload &w) const {
    const std::string bgp = std::string("/") + kModule + ":bgp";
    lyd_node *root = nullptr;
    LY_ERR status = lyd_new_path(nullptr, ctx_, bgp.c_str(), nullptr, 0, &root);
    for (long i = 0; status == LY_SUCCESS && i < w.neighbors(); ++i) {
        const std::string entry = bgp + "/" + neighbor_path(w, i);
        status = lyd_new_path(root, nullptr, entry.c_str(), nullptr, 0, nullptr);
        if (status == LY_SUCCESS)
            status = add_leaves_by_path(root, entry, kNeighborLeaves, w, i, 0);
        for (int afi = 0; status == LY_SUCCESS && afi < w.afis(); ++afi) {
            const std::string afi_entry =
                entry + "/" + kAfiList + predicate(kAfiKey, w.value(i, Field::AfiName, afi));
            status = lyd_new_path(root, nullptr, afi_entry.c_str(), nullptr, 0, nullptr);
            if (status == LY_SUCCESS)
                status = add_leaves_by_path(root, afi_entry, kAfiLeaves, w, i, afi);
        }
    }
    if (status != LY_SUCCESS) {
        lyd_free_all(root);
        return nullptr;
    }
    return root;
}

lyd_node *Library::build_direct(const Workload &w) const {
    lyd_node *bgp = nullptr;
    lyd_node *neighbors = nullptr;
    LY_ERR status = lyd_new_inner(nullptr, module_, "bgp", 0, &bgp);
    if (status == LY_SUCCESS)
        status = lyd_new_inner(bgp, nullptr, "neighbors", 0, &neighbors);
    for (long i = 0; status == LY_SUCCESS && i < w.neighbors(); ++i) {
        lyd_node *entry = nullptr;
        lyd_node *afi_safis = nullptr;
        status = lyd_new_list(neighbors, nullptr, "neighbor", 0, &entry, w.address(i));
        if (status == LY_SUCCESS)
            status = add_leaves(entry, kNeighborLeaves, w, i, 0);
        if (status == LY_SUCCESS && w.afis() > 0)
            status = lyd_new_inner(entry, nullptr, "afi-safis", 0, &afi_safis);
        for (int afi = 0; status == LY_SUCCESS && afi < w.afis(); ++afi) {
            lyd_node *afi_entry = nullptr;
            status = lyd_new_list(afi_safis, nullptr, "afi-safi", 0, &afi_entry, w.value(i, Field::AfiName, afi));
            if (status == LY_SUCCESS)
                status = add_leaves(afi_entry, kAfiLeaves, w, i, afi);
        }
    }
    if (status != LY_SUCCESS) {
        lyd_free_all(bgp);
        return nullptr;
    }
    return bgp;
}

Filter make_filter(FilterKind kind, const Workload &w) {
    Filter filter{kind, {}};
    if (kind == FilterKind::NeighborState)
        filter.paths.push_back(neighbor_path(w, chosen_neighbor(w)) + "/state");
    else if (kind != FilterKind::PeerAs)
        for (const long i : named_neighbors(kind, w))
            filter.paths.push_back(neighbor_path(w, i));
    return filter;
}

lyd_node *Library::filter(lyd_node *tree, const Filter &filter) const {
    lyd_node *bgp = nullptr;
    lyd_node *neighbors = nullptr;
    LY_ERR status = lyd_new_inner(nullptr, module_, "bgp", 0, &bgp);
    if (status == LY_SUCCESS)
        status = lyd_new_inner(bgp, nullptr, "neighbors", 0, &neighbors);
    auto *into = reinterpret_cast<lyd_node_inner *>(neighbors);
    // Finds path below from and copies it into the result's neighbors,
    // with the parents it needs.
    const auto copy = [&](const lyd_node *from, const char *path, uint32_t options) {
        lyd_node *found = nullptr;
        const LY_ERR result = lyd_find_path(from, path, 0, &found);
        return result == LY_SUCCESS ? lyd_dup_single(found, into, options, nullptr) : result;
    };
    if (filter.kind == FilterKind::PeerAs) {
        lyd_node *all = nullptr;
        if (status == LY_SUCCESS)
            status = lyd_find_path(tree, "neighbors", 0, &all);
        for (const lyd_node *entry = lyd_child(all); status == LY_SUCCESS && entry != nullptr; entry = entry->next)
            status = copy(entry, "config/peer-as", LYD_DUP_WITH_PARENTS);
    }
    // One neighbor's state goes with its entry and key; named entries go whole.
    const uint32_t options =
        LYD_DUP_RECURSIVE | (filter.kind == FilterKind::NeighborState ? LYD_DUP_WITH_PARENTS : 0);
    for (const std::string &path : filter.paths) {
        if (status == LY_SUCCESS)
            status = copy(tree, path.c_str(), options);
    }
    lyd_free_all(tree);
    if (status != LY_SUCCESS) {
        lyd_free_all(bgp);
        return nullptr;
    }
    return bgp;
}

long count_nodes(const lyd_node *node) {
    long count = 0;
    for (const lyd_node *child = lyd_child(node); child != nullptr; child = child->next)
        count += 1 + count_nodes(child);
    return count;
}

void free_tree(lyd_node *node) {
    lyd_free_all(node);
}

} // namespace zell::bench::peer
