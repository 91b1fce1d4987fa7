#include "xml_support.h"

#include <cstring>

namespace zell::test {

zell_map_status read_xml(zell_datatree &parent, std::string_view xml, zell_map_ctx *ctx, zell_map_xml_error *error) {
    return zell_map_xml_read_memory(ctx, nullptr, xml.data(), xml.size(), &parent, error);
}

std::string write_xml(const zell_datatree &node, bool indent) {
    char *text = nullptr;
    size_t size = 0;
    const zell_map_status st = zell_map_xml_write_memory(nullptr, &node, indent ? ZELL_MAP_XML_INDENT : 0, &text, &size);
    if (st != ZELL_MAP_OK) {
        const std::string_view name = zell_map_status_str(st);
        return "<" + std::string(name.substr(0, name.find(':'))) + ">";
    }
    std::string out(text, size);
    rask_named_free(text);
    return out;
}

namespace {

std::string field(const zell_datatree &node, uint32_t bit, const char *value) {
    return (node.presence & bit) != 0 && value != nullptr ? std::string("'") + value + "'" : "(none)";
}

std::string name_of(const zell_datatree &node) {
    return std::string(node.tag ? node.tag : "?") + "@" + (node.ns ? node.ns : "");
}

} // namespace

std::string tree_difference(const zell_datatree &a, const zell_datatree &b) {
    const std::string here = name_of(a);
    for (const auto &[bit, x, y, what] : {std::tuple{ZELL_DATATREE_HAS_TAG, a.tag, b.tag, "tag"},
                                         std::tuple{ZELL_DATATREE_HAS_NS, a.ns, b.ns, "ns"},
                                         std::tuple{ZELL_DATATREE_HAS_DATA, a.data, b.data, "data"}}) {
        if (field(a, bit, x) != field(b, bit, y))
            return here + ": " + what + " " + field(a, bit, x) + " vs " + field(b, bit, y);
    }
    const int32_t na = (a.presence & ZELL_DATATREE_HAS_ATTRIBUTES) ? a.n_attributes : 0;
    const int32_t nb = (b.presence & ZELL_DATATREE_HAS_ATTRIBUTES) ? b.n_attributes : 0;
    if (na != nb)
        return here + ": " + std::to_string(na) + " vs " + std::to_string(nb) + " attributes";
    for (int32_t i = 0; i < na; ++i) {
        if (std::strcmp(a.attributes[i].name, b.attributes[i].name) != 0 ||
            std::strcmp(a.attributes[i].value, b.attributes[i].value) != 0)
            return here + ": attribute " + a.attributes[i].name + "=" + a.attributes[i].value + " vs " +
                   b.attributes[i].name + "=" + b.attributes[i].value;
    }
    const int32_t ka = (a.presence & ZELL_DATATREE_HAS_SUBTREES) ? a.n_subtrees : 0;
    const int32_t kb = (b.presence & ZELL_DATATREE_HAS_SUBTREES) ? b.n_subtrees : 0;
    if (ka != kb)
        return here + ": " + std::to_string(ka) + " vs " + std::to_string(kb) + " children";
    for (int32_t i = 0; i < ka; ++i) {
        if (std::string d = tree_difference(a.subtrees[i], b.subtrees[i]); !d.empty())
            return here + "/" + d;
    }
    return {};
}

std::string data_file(std::string_view dir, std::string_view name) {
    return std::string(ZELL_TEST_SOURCE_DIR) + "/" + std::string(dir) + "/data/" + std::string(name);
}

} // namespace zell::test
