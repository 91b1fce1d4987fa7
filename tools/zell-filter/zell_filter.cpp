// zell-filter: applies a NETCONF subtree filter to a datastore saved as XML
// and prints the reply's <data> element (or the library's outline).
//
//   zell-filter [--filter FILTER.xml] [--indent] [--outline] DATA.xml
//
// Exit status: 0 done; 1 the output could not be written; 2 bad usage, or
// an input that cannot be read or is not accepted (one line on standard
// error naming the file and line; nothing on standard output).
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include <unistd.h>

#include "zell_host.h"
#include "zell_map_common.h"
#include "zell_map_xml.h"

namespace {

constexpr const char *kBaseNs = "urn:ietf:params:xml:ns:netconf:base:1.0";
constexpr const char *kUsage = "usage: zell-filter [--filter FILTER.xml] [--indent] [--outline] DATA.xml\n";

struct Options {
    const char *data = nullptr;
    const char *filter = nullptr;
    bool indent = false;
    bool outline = false;
};

// A document read into a root record, released at scope end.
struct Document {
    zell_datatree root{};
    Document() = default;
    Document(const Document &) = delete;
    Document &operator=(const Document &) = delete;
    ~Document() { mova_zell_datatree_free_ext(&root, zell_gpb_free, 0, 0); }
    zell_datatree &element() { return root.subtrees[0]; }
};

bool fail(const char *file, int line, const char *message) {
    if (line > 0)
        std::fprintf(stderr, "zell-filter: %s:%d: %s\n", file, line, message);
    else
        std::fprintf(stderr, "zell-filter: %s: %s\n", file, message);
    return false;
}

bool read(const char *path, Document &doc) {
    zell_map_xml_error error{};
    if (zell_map_xml_read_file(nullptr, path, &doc.root, &error) == ZELL_MAP_OK)
        return true;
    return fail(path, error.line, error.message[0] != '\0' ? error.message : "cannot be read");
}

bool named(const zell_datatree &node, std::string_view tag) {
    return (node.presence & ZELL_DATATREE_HAS_TAG) != 0 && node.tag != nullptr && node.tag == tag;
}

const char *type_attribute(const zell_datatree &filter) {
    const std::string qualified = std::string("{") + kBaseNs + "}type";
    for (int32_t i = 0; (filter.presence & ZELL_DATATREE_HAS_ATTRIBUTES) != 0 && i < filter.n_attributes; ++i) {
        const char *name = filter.attributes[i].name;
        if (name != nullptr && (std::strcmp(name, "type") == 0 || name == qualified))
            return filter.attributes[i].value;
    }
    return nullptr;
}

// The <filter> element: in the base namespace or none, of type subtree.
bool check_filter(const char *path, zell_datatree &filter) {
    const bool in_ns = (filter.presence & ZELL_DATATREE_HAS_NS) != 0 && filter.ns != nullptr;
    if (!named(filter, "filter") || (in_ns && std::strcmp(filter.ns, kBaseNs) != 0))
        return fail(path, 1, "the document element is not a <filter>");
    const char *type = type_attribute(filter);
    if (type != nullptr && std::strcmp(type, "subtree") != 0)
        return fail(path, 1, "only type=\"subtree\" filters are supported");
    return true;
}

bool parse(int argc, char **argv, Options &options) {
    for (int i = 1; i < argc; ++i) {
        const std::string_view arg = argv[i];
        if (arg == "--filter" && i + 1 < argc)
            options.filter = argv[++i];
        else if (arg == "--indent")
            options.indent = true;
        else if (arg == "--outline")
            options.outline = true;
        else if (!arg.starts_with("--") && options.data == nullptr)
            options.data = argv[i];
        else
            return false;
    }
    return options.data != nullptr;
}

int write_all(const char *text, size_t size) {
    return std::fwrite(text, 1, size, stdout) == size && std::fflush(stdout) == 0 ? 0 : 1;
}

int print(zell_datatree &reply, const Options &options) {
    if (options.outline) {
        zell_map_print_subtrees(&reply, 0, 0);
        return std::fflush(stdout) == 0 ? 0 : 1;
    }
    char *text = nullptr;
    size_t size = 0;
    if (zell_map_xml_write_memory(nullptr, &reply, options.indent ? ZELL_MAP_XML_INDENT : 0, &text, &size) !=
        ZELL_MAP_OK) {
        std::fprintf(stderr, "zell-filter: the reply cannot be written as XML\n");
        return 1;
    }
    const int status = write_all(text, size) != 0 || (!options.indent && write_all("\n", 1) != 0) ? 1 : 0;
    rask_named_free(text);
    return status;
}

} // namespace

int main(int argc, char **argv) {
    Options options;
    if (!parse(argc, argv, options)) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    Document data, filter;
    if (!read(options.data, data) || (options.filter != nullptr && !read(options.filter, filter)))
        return 2;
    if (options.filter != nullptr && !check_filter(options.filter, filter.element()))
        return 2;

    // <data> (in any namespace) holds the top-level nodes; any other
    // document element is the one top-level node.
    zell_datatree &top = named(data.element(), "data") ? data.element() : data.root;
    if (options.filter != nullptr &&
        zell_map_filter_subtree(nullptr, &filter.element(), &top) != ZELL_MAP_OK) {
        std::fprintf(stderr, "zell-filter: out of memory\n");
        return 2;
    }
    // The reply borrows the filtered top-level nodes.
    zell_datatree reply{};
    reply.tag = const_cast<char *>("data");
    reply.ns = const_cast<char *>(kBaseNs);
    reply.presence = ZELL_DATATREE_HAS_TAG | ZELL_DATATREE_HAS_NS | (top.presence & ZELL_DATATREE_HAS_SUBTREES);
    reply.subtrees = top.subtrees;
    reply.n_subtrees = top.n_subtrees;
    return print(reply, options);
}
