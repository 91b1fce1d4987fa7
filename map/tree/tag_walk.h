// The path walk shared by the subtree count and the data
// namespace: the first component names the node passed in, each
// further component the first child of that tag of the node named before
// it. Each caller reports the outcome with its own messages and statuses.
#pragma once

#include <cstdint>

#include "core/log.h"
#include "core/memory.h"
#include "zell_map_tree.h"

namespace zell::map {

struct TagWalk {
    enum class End {
        NoComponent,  // the path names no component
        Reached,      // node is the node that the last component names
        NodeUntagged, // the node named by component has no tag
        Missing,      // nothing carries component where the path expects it
        PastLeaves,   // node (named by component) has no children, components remain
        ChildUntagged // a child without a tag was met before the match
    };
    End end;
    const zell_datatree *node; // the current node when the walk ended
    const char *component;     // the component the walk ended on
    int32_t descents;          // how many children the walk descended into
};

// A walk over a private copy of the caller's path; the walk's component
// points into the copy, which lives as long as this result.
struct PathWalk {
    OwnedString copy; // empty when the path could not be copied: no walk was made
    TagWalk walk;
};

// Copies path under the memory tag "ZELL MAP get subtree num" (ERR "Failed
// to copy path string!" when it cannot), traces "Searching subtrees of path
// '%s'", and walks the copy, tracing "Checking node '%s'" and "Checking
// subtrees of node '%s'" for every component it descends from.
// ctx, when given, lends its child index to wide nodes.
PathWalk walk_path(const Log &log, zell_map_ctx *ctx, const zell_datatree &tree, const char *path) noexcept;

} // namespace zell::map
