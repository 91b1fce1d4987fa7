// Trees written as the library prints them (zell_map_print_subtrees): one
// node per line, four spaces per level, "tag" or "tag : data", the mark.
// The one-line form separates lines by '|' and indents by one '.' per
// level: "c (kn)|.x : 1 (ka)".
#pragma once

#include <string>
#include <string_view>

#include "zell_map_common.h"

namespace zell::test {

// Adds a one-line outline below parent with the library's insertion. A line
// may end in " [key]" (key leaf), then " [entry]" (list entry), then a mark
// (not set with Marks::Ignore). The tag "(null)" makes a node without a tag.
enum class Marks { Apply, Ignore };
void add_outline(zell_map_ctx &ctx, zell_datatree &parent, std::string_view text, Marks marks = Marks::Apply);

// What zell_map_print_subtrees(&node, 0, 0) prints (node's children), and
// the same in the one-line form.
std::string outline_of(const zell_datatree &node);
std::string line_of(const zell_datatree &node);

// An expected outline written as a raw string that starts on its own line.
inline std::string_view outline(std::string_view text) {
    return text.starts_with('\n') ? text.substr(1) : text;
}

} // namespace zell::test
