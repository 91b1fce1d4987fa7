// The workload through the peer library, used as its documentation tells
// a user to: the path API, the direct node API, and a filter as find plus
// duplicate of what the filter names, then release of the original tree.
#pragma once

#include <string>
#include <vector>

#include "bgp_workload.h"

struct ly_ctx;
struct lys_module;
struct lyd_node;

namespace zell::bench::peer {

// A libyang context holding the workload's module (compare/zell-bench-bgp.yang).
class Library {
  public:
    Library();
    ~Library();
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;

    bool loaded() const { return module_ != nullptr; }

    // The response's "bgp" node, or nullptr when a call failed.
    lyd_node *build_with_paths(const Workload &w) const;
    lyd_node *build_direct(const Workload &w) const;
    // Copies out what the filter names, frees @p tree and returns the
    // copy's "bgp" node (nullptr when a call failed; tree is freed anyway).
    lyd_node *filter(lyd_node *tree, const struct Filter &filter) const;

  private:
    ly_ctx *ctx_ = nullptr;
    const lys_module *module_ = nullptr;
};

// A filter as paths to find, made before it is timed as our filter tree is.
struct Filter {
    FilterKind kind;
    std::vector<std::string> paths; // below bgp; none for PeerAs, which visits every entry
};
Filter make_filter(FilterKind kind, const Workload &w);

// Nodes below @p node, keys included (as count_nodes counts ours).
long count_nodes(const lyd_node *node);
void free_tree(lyd_node *node);

} // namespace zell::bench::peer
