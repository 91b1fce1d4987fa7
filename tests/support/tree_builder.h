// Building small trees by hand (with the platform allocator, so that a
// Tree releases them) and describing trees as one line of text.
#pragma once

#include <string>
#include <vector>

#include "zell_map_common.h"

namespace zell::test {

// The namespace of nodes built from a Shape.
inline constexpr const char *kNs = "urn:test";

// A nested description of a tree: N("a", {V("b", "1"), Key("k", "v")}).
struct Shape {
    const char *tag = nullptr;
    const char *data = nullptr;
    std::vector<Shape> kids;
    bool key = false;          // a key leaf (is_key set)
    bool children_bit = false; // subtrees bit set even without children
};
inline Shape N(const char *tag, std::vector<Shape> kids = {}) {
    return {tag, nullptr, std::move(kids)};
}
inline Shape V(const char *tag, const char *data) {
    return {tag, data, {}};
}
inline Shape Key(const char *tag, const char *data) {
    return {tag, data, {}, true};
}
inline Shape Empty(const char *tag) {
    return {tag, nullptr, {}, false, true};
}

// Makes node (an initialised or released record) the tree that shape
// describes, every string in namespace kNs.
void fill(zell_datatree &node, const Shape &shape);

// "p/p/.../p", n components.
std::string repeat_path(const char *component, int n);

// An owned copy of s for a node field (NULL stays NULL).
char *owned(const char *s);

// Appends a child with the given strings (each set with its presence bit
// when not NULL) and returns it; pointers to earlier children go stale.
zell_datatree &append_child(zell_datatree &parent, const char *tag, const char *ns = "urn:x",
                            const char *data = nullptr);

// The children of node, in order: "tag" then "=data" when the data bit is
// set, "@ns" when with_ns, "#n" for a numbered entry, "!op" when the
// operation bit is set, and "(...)" around its own children.
std::string describe(const zell_datatree &node, bool with_ns = false);

} // namespace zell::test
