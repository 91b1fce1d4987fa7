// Building small trees from a nested description, and printing a tree's
// shape for comparisons: "a{b=1,c}" is a with children b (value 1) and c.
#pragma once

#include <string>
#include <vector>

#include "zell_map_common.h"

namespace zell::test {

inline constexpr const char *kNs = "urn:test";

struct Spec {
    const char *tag = nullptr;
    const char *data = nullptr;
    std::vector<Spec> kids;
    bool key = false;
    bool children_bit = false; // subtrees bit set even without children
};
inline Spec N(const char *tag, std::vector<Spec> kids = {}) { return {tag, nullptr, std::move(kids)}; }
inline Spec V(const char *tag, const char *data) { return {tag, data, {}}; }
inline Spec Key(const char *tag, const char *data) { return {tag, data, {}, true}; }
inline Spec Empty(const char *tag) { return {tag, nullptr, {}, false, true}; }

inline void fill(zell_datatree &node, const Spec &spec) {
    node = zell_datatree{};
    if (spec.tag != nullptr) {
        node.tag = zell_strdup(spec.tag, "TEST tag");
        node.ns = zell_strdup(kNs, "TEST ns");
        node.presence |= ZELL_DATATREE_HAS_TAG | ZELL_DATATREE_HAS_NS;
    }
    if (spec.data != nullptr) {
        node.data = zell_strdup(spec.data, "TEST data");
        node.presence |= ZELL_DATATREE_HAS_DATA;
    }
    if (spec.key) {
        node.is_key = 1;
        node.presence |= ZELL_DATATREE_HAS_IS_KEY;
    }
    if (!spec.kids.empty() || spec.children_bit) {
        node.presence |= ZELL_DATATREE_HAS_SUBTREES;
        node.n_subtrees = static_cast<int32_t>(spec.kids.size());
        if (!spec.kids.empty())
            node.subtrees = static_cast<zell_datatree *>(
                rask_named_calloc_(spec.kids.size(), sizeof(zell_datatree), "TEST kids", 0));
        for (size_t i = 0; i < spec.kids.size(); ++i)
            fill(node.subtrees[i], spec.kids[i]);
    }
}

// The children of node, recursively: tag[=data][{children}], comma-separated.
inline std::string shape(const zell_datatree &node) {
    std::string out;
    if ((node.presence & ZELL_DATATREE_HAS_SUBTREES) == 0)
        return out;
    for (int32_t i = 0; i < node.n_subtrees; ++i) {
        const zell_datatree &c = node.subtrees[i];
        out.append(i ? "," : "").append(c.tag ? c.tag : "?");
        if (c.presence & ZELL_DATATREE_HAS_DATA)
            out.append("=").append(c.data);
        const std::string below = shape(c);
        if (!below.empty())
            out += "{" + below + "}";
    }
    return out;
}

// "p/p/.../p", n components.
inline std::string repeat_path(const char *component, int n) {
    std::string path;
    for (int i = 0; i < n; ++i)
        path.append(i ? "/" : "").append(component);
    return path;
}

} // namespace zell::test
