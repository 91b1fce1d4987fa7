#include "tree_builder.h"

#include <cstdlib>

namespace zell::test {

char *owned(const char *s) {
    return s == nullptr ? nullptr : zell_strdup(s, "ZELL TEST node");
}

zell_datatree &append_child(zell_datatree &parent, const char *tag, const char *ns, const char *data) {
    const int32_t n = parent.n_subtrees;
    auto *grown = static_cast<zell_datatree *>(
        rask_named_realloc(parent.subtrees, (static_cast<size_t>(n) + 1) * sizeof(zell_datatree)));
    if (grown == nullptr)
        std::abort(); // test set-up never runs with a fault armed
    parent.subtrees = grown;
    parent.n_subtrees = n + 1;
    parent.presence |= ZELL_DATATREE_HAS_SUBTREES;
    zell_datatree &child = grown[n];
    child = zell_datatree{};
    child.tag = owned(tag);
    child.ns = owned(ns);
    child.data = owned(data);
    child.presence = (tag != nullptr ? ZELL_DATATREE_HAS_TAG : 0u) |
                     (ns != nullptr ? ZELL_DATATREE_HAS_NS : 0u) |
                     (data != nullptr ? ZELL_DATATREE_HAS_DATA : 0u);
    return child;
}

void fill(zell_datatree &node, const Shape &shape) {
    node = zell_datatree{};
    if (shape.tag != nullptr) {
        node.tag = owned(shape.tag);
        node.ns = owned(kNs);
        node.presence |= ZELL_DATATREE_HAS_TAG | ZELL_DATATREE_HAS_NS;
    }
    if (shape.data != nullptr) {
        node.data = owned(shape.data);
        node.presence |= ZELL_DATATREE_HAS_DATA;
    }
    if (shape.key) {
        node.is_key = 1;
        node.presence |= ZELL_DATATREE_HAS_IS_KEY;
    }
    if (shape.children_bit)
        node.presence |= ZELL_DATATREE_HAS_SUBTREES;
    for (const Shape &kid : shape.kids)
        fill(append_child(node, nullptr, nullptr), kid);
}

std::string repeat_path(const char *component, int n) {
    std::string path;
    for (int i = 0; i < n; ++i)
        path.append(i ? "/" : "").append(component);
    return path;
}

std::string describe(const zell_datatree &node, bool with_ns) {
    std::string out;
    if ((node.presence & ZELL_DATATREE_HAS_SUBTREES) == 0 || node.subtrees == nullptr)
        return out;
    for (int32_t i = 0; i < node.n_subtrees; ++i) {
        const zell_datatree &child = node.subtrees[i];
        if (i > 0)
            out += ",";
        out += child.tag != nullptr ? child.tag : "?";
        if ((child.presence & ZELL_DATATREE_HAS_DATA) != 0)
            out += std::string("=") + (child.data != nullptr ? child.data : "?");
        if (with_ns)
            out += std::string("@") + (child.ns != nullptr ? child.ns : "?");
        if ((child.presence & ZELL_DATATREE_HAS_SUBTREE_INDEX) != 0)
            out += "#" + std::to_string(child.subtree_index);
        if ((child.presence & ZELL_DATATREE_HAS_OPERATION) != 0)
            out += "!" + std::to_string(child.operation);
        const std::string below = describe(child, with_ns);
        if (!below.empty())
            out += "(" + below + ")";
    }
    return out;
}

} // namespace zell::test
