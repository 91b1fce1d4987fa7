// XML in tests: reading a document into a Tree, writing a tree to a
// string, and comparing trees the way XML compares them (names with their
// namespaces, attributes, text, child order).
#pragma once

#include <string>
#include <string_view>

#include "harness.h"
#include "zell_map_xml.h"

namespace zell::test {

// Reads xml (named "memory") under parent; the status of the read.
zell_map_status read_xml(zell_datatree &parent, std::string_view xml, zell_map_ctx *ctx = nullptr,
                         zell_map_xml_error *error = nullptr);

// The tree as XML (ZELL_MAP_XML_INDENT when indent), or the status's name
// in angle brackets ("<ZELL_MAP_ERR_INVALID_ARG>") on failure.
std::string write_xml(const zell_datatree &node, bool indent = false);

// Empty when a and b are the same XML tree, else where they first differ.
std::string tree_difference(const zell_datatree &a, const zell_datatree &b);

// A file holding the test data named (tests/<dir>/data/<name>).
std::string data_file(std::string_view dir, std::string_view name);

} // namespace zell::test
