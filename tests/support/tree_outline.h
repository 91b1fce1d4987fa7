// Trees written as the library prints them (zell_map_print_subtrees): one
// node per line, four spaces per level, "tag", "tag : data", the mark; plus
// markers for what the printer does not show. A tree is built from that
// text and compared with its printed outline.
#pragma once

#include <string>
#include <string_view>

#include "zell_map_common.h"

namespace zell::test {

// Adds the nodes of outline below parent with the library's insertion.
// Markers after the tag and data:
//   [key]    a key leaf          [entry]  a list entry
//   (dn) (kn) (ka) (da)          the node's mark
// A line whose tag is "(null)" makes a node without a tag (its data stays).
// With Marks::Ignore the marks are read but not set, so the expected
// marked outline of a test can also describe the unmarked tree.
// Fails the current test when the outline is malformed or insertion fails.
enum class Marks { Apply, Ignore };
void add_outline(zell_map_ctx &ctx, zell_datatree &parent, std::string_view outline,
                 Marks marks = Marks::Apply);

// What zell_map_print_subtrees(&node, 0, 0) prints: the children of node,
// not node itself.
std::string outline_of(const zell_datatree &node);

// An expected outline written as a raw string that starts on its own line.
inline std::string_view outline(std::string_view text) {
    if (text.starts_with('\n'))
        text.remove_prefix(1);
    return text;
}

} // namespace zell::test
