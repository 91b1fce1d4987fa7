// Writing a zell_datatree as XML through a libxml2 output buffer, which
// does the escaping; one frame per open element carries the default
// namespace its children inherit and how many attribute prefixes were in
// scope before it.
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlIO.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "core/log.h"
#include "core/node.h"
#include "core/walk.h"
#include "xml/xml_internal.h"
#include "zell_map_xml.h"

namespace zell::map::xml {
namespace {

constexpr std::string_view kXmlNamespace = "http://www.w3.org/XML/1998/namespace";

struct OpenElement {
    const zell_datatree *node;
    int32_t next_child;
    const char *default_ns; // what the children inherit; "" for none
    size_t prefixes_before;
};

// An attribute prefix in scope: "a<number>" bound to uri.
struct Prefix {
    const char *uri;
    size_t uri_size;
    size_t number;
};

struct SinkState {
    zell_map_xml_sink sink;
    void *user;
    bool stopped;
};

// Once the sink has stopped, the rest is dropped here rather than failed
// back into libxml2, which would report the failure on standard error.
int to_sink(void *context, const char *bytes, int size) {
    auto *state = static_cast<SinkState *>(context);
    if (!state->stopped && state->sink(state->user, bytes, static_cast<size_t>(size)) != 0)
        state->stopped = true;
    return size;
}

const char *ns_of(const zell_datatree &node) noexcept {
    return has(node, ZELL_DATATREE_HAS_NS) && node.ns != nullptr ? node.ns : "";
}

class Writer {
  public:
    Writer(xmlOutputBufferPtr out, bool indent) noexcept
        : out_(out), indent_(indent), open_("ZELL XML frames"), prefixes_("ZELL XML prefixes") {}
    Writer(const Writer &) = delete;
    Writer &operator=(const Writer &) = delete;
    ~Writer() {
        if (escaped_ != nullptr)
            xmlBufferFree(escaped_);
    }

    zell_map_status write(const zell_datatree &root) noexcept;

  private:
    void raw(std::string_view text) noexcept { xmlOutputBufferWrite(out_, static_cast<int>(text.size()), text.data()); }
    bool attribute_value(const char *value) noexcept;
    zell_map_status attribute(const zell_datatree_pair &pair) noexcept;
    zell_map_status start(const zell_datatree &node, const char *parent_ns) noexcept;
    void prefix_name(size_t number) noexcept {
        char name[24];
        raw({name, static_cast<size_t>(std::snprintf(name, sizeof name, "a%zu", number))});
    }
    void line_start() noexcept {
        static constexpr std::string_view kSpaces = "                                ";
        for (size_t n = 2 * open_.depth(); n > 0; n -= std::min(n, kSpaces.size()))
            raw(kSpaces.substr(0, std::min(n, kSpaces.size())));
    }

    xmlOutputBufferPtr out_;
    bool indent_;
    xmlBufferPtr escaped_ = nullptr;
    WalkStack<OpenElement> open_;
    WalkStack<Prefix> prefixes_;
};

bool Writer::attribute_value(const char *value) noexcept {
    if (escaped_ == nullptr && (escaped_ = xmlBufferCreate()) == nullptr)
        return false;
    xmlBufferEmpty(escaped_);
    xmlAttrSerializeTxtContent(escaped_, nullptr, nullptr, reinterpret_cast<const xmlChar *>(value));
    raw("=\"");
    xmlOutputBufferWrite(out_, xmlBufferLength(escaped_), reinterpret_cast<const char *>(xmlBufferContent(escaped_)));
    raw("\"");
    return true;
}

// "{uri}local" under a prefix bound to uri (declared here when none is in
// scope), "{}local" and "local" in no namespace.
zell_map_status Writer::attribute(const zell_datatree_pair &pair) noexcept {
    if (pair.name == nullptr)
        return ZELL_MAP_OK;
    std::string_view name = pair.name;
    std::string_view uri;
    if (const size_t close = name.find('}'); name.starts_with('{') && close != std::string_view::npos) {
        uri = name.substr(1, close - 1);
        name.remove_prefix(close + 1);
    }
    if (xmlValidateNCName(reinterpret_cast<const xmlChar *>(name.data()), 0) != 0)
        return ZELL_MAP_ERR_INVALID_ARG;
    if (uri.empty()) {
        raw(" ");
    } else if (uri == kXmlNamespace) {
        raw(" xml:");
    } else {
        const Prefix *bound = nullptr;
        for (size_t i = prefixes_.depth(); i > 0 && bound == nullptr; --i) {
            if (std::string_view(prefixes_[i - 1].uri, prefixes_[i - 1].uri_size) == uri)
                bound = &prefixes_[i - 1];
        }
        if (bound == nullptr) {
            Prefix *prefix = prefixes_.push();
            if (prefix == nullptr)
                return ZELL_MAP_ERR_NO_MEMORY;
            *prefix = {uri.data(), uri.size(), prefixes_.depth()};
            raw(" xmlns:");
            prefix_name(prefix->number);
            // The value is the uri alone: copy it out of "{uri}local".
            char *value = static_cast<char *>(rask_named_calloc_(uri.size() + 1, 1, "ZELL XML prefix", 0));
            if (value == nullptr)
                return ZELL_MAP_ERR_NO_MEMORY;
            std::memcpy(value, uri.data(), uri.size());
            const bool ok = attribute_value(value);
            rask_named_free(value);
            if (!ok)
                return ZELL_MAP_ERR_NO_MEMORY;
            bound = prefix;
        }
        raw(" ");
        prefix_name(bound->number);
        raw(":");
    }
    raw(name);
    return attribute_value(pair.value != nullptr ? pair.value : "") ? ZELL_MAP_OK : ZELL_MAP_ERR_NO_MEMORY;
}

zell_map_status Writer::start(const zell_datatree &node, const char *parent_ns) noexcept {
    if (!has(node, ZELL_DATATREE_HAS_TAG) || node.tag == nullptr ||
        xmlValidateNCName(reinterpret_cast<const xmlChar *>(node.tag), 0) != 0)
        return ZELL_MAP_ERR_INVALID_ARG;
    if (indent_)
        line_start();
    raw("<");
    raw(node.tag);
    const char *ns = ns_of(node);
    if (std::strcmp(ns, parent_ns) != 0) {
        raw(" xmlns");
        if (!attribute_value(ns))
            return ZELL_MAP_ERR_NO_MEMORY;
    }
    const size_t prefixes_before = prefixes_.depth();
    if (has(node, ZELL_DATATREE_HAS_ATTRIBUTES) && node.attributes != nullptr) {
        for (int32_t i = 0; i < node.n_attributes; ++i) {
            if (const zell_map_status st = attribute(node.attributes[i]); st != ZELL_MAP_OK)
                return st;
        }
    }
    if (!children(node).empty()) {
        raw(indent_ ? ">\n" : ">");
        OpenElement *open = open_.push();
        if (open == nullptr)
            return ZELL_MAP_ERR_NO_MEMORY;
        *open = {&node, 0, ns, prefixes_before};
        return ZELL_MAP_OK;
    }
    while (prefixes_.depth() > prefixes_before)
        prefixes_.pop();
    if (has(node, ZELL_DATATREE_HAS_DATA) && node.data != nullptr) {
        raw(">");
        xmlOutputBufferWriteEscape(out_, reinterpret_cast<const xmlChar *>(node.data), nullptr);
        raw("</");
        raw(node.tag);
        raw(">");
    } else {
        raw("/>");
    }
    if (indent_)
        raw("\n");
    return ZELL_MAP_OK;
}

zell_map_status Writer::write(const zell_datatree &root) noexcept {
    if (const zell_map_status st = start(root, ""); st != ZELL_MAP_OK)
        return st;
    while (!open_.empty()) {
        OpenElement &open = open_.top();
        const std::span<zell_datatree> kids = children(*open.node);
        if (static_cast<size_t>(open.next_child) < kids.size()) {
            const zell_datatree &child = kids[open.next_child++];
            if (const zell_map_status st = start(child, open.default_ns); st != ZELL_MAP_OK)
                return st;
            continue;
        }
        const zell_datatree &node = *open.node;
        while (prefixes_.depth() > open.prefixes_before)
            prefixes_.pop();
        open_.pop();
        if (indent_)
            line_start();
        raw("</");
        raw(node.tag);
        raw(indent_ ? ">\n" : ">");
    }
    return ZELL_MAP_OK;
}

// Output gathered in one growing platform block.
struct MemorySink {
    char *text = nullptr;
    size_t size = 0;
    size_t capacity = 0;
};

int append_to_memory(void *user, const char *bytes, size_t size) {
    auto *memory = static_cast<MemorySink *>(user);
    if (memory->size + size + 1 > memory->capacity) {
        size_t capacity = memory->capacity == 0 ? 4096 : memory->capacity;
        while (capacity < memory->size + size + 1)
            capacity *= 2;
        void *block = memory->text == nullptr ? rask_named_calloc_(capacity, 1, "ZELL XML text", 0)
                                              : rask_named_realloc(memory->text, capacity);
        if (block == nullptr)
            return 1;
        memory->text = static_cast<char *>(block);
        memory->capacity = capacity;
    }
    std::memcpy(memory->text + memory->size, bytes, size);
    memory->size += size;
    memory->text[memory->size] = '\0';
    return 0;
}

int write_to_fd(void *user, const char *bytes, size_t size) {
    const int fd = *static_cast<const int *>(user);
    while (size > 0) {
        const ssize_t n = ::write(fd, bytes, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return 1;
        bytes += n;
        size -= static_cast<size_t>(n);
    }
    return 0;
}

} // namespace
} // namespace zell::map::xml

using namespace zell::map::xml;

extern "C" {

zell_map_status zell_map_xml_write(zell_map_ctx *ctx, const zell_datatree *node, uint32_t flags,
                                   zell_map_xml_sink sink, void *user) noexcept {
    const zell::map::Log log(ctx, "zell_map_xml_write");
    if (node == nullptr || sink == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    init_libxml2();
    SinkState state{sink, user, false};
    xmlOutputBufferPtr out = xmlOutputBufferCreateIO(to_sink, nullptr, &state, nullptr);
    if (out == nullptr) {
        ZELL_LOG(log, ERR, "Failed to allocate an XML output buffer!");
        return ZELL_MAP_ERR_NO_MEMORY;
    }
    zell_map_status status = ZELL_MAP_OK;
    {
        Writer writer(out, (flags & ZELL_MAP_XML_INDENT) != 0);
        status = writer.write(*node);
    }
    const int closed = xmlOutputBufferClose(out);
    if (status == ZELL_MAP_OK && (state.stopped || closed < 0))
        status = state.stopped ? ZELL_MAP_ERR_NOT_FOUND : ZELL_MAP_ERR_NO_MEMORY;
    switch (status) {
    case ZELL_MAP_OK:
        break;
    case ZELL_MAP_ERR_INVALID_ARG:
        ZELL_LOG(log, ERR, "A node without a tag, or a tag or attribute name that is not an XML name, cannot be written!");
        break;
    case ZELL_MAP_ERR_NOT_FOUND:
        ZELL_LOG(log, ERR, "The XML output was not taken!");
        break;
    default:
        ZELL_LOG(log, ERR, "Failed to allocate while writing XML!");
        break;
    }
    return status;
}

zell_map_status zell_map_xml_write_memory(zell_map_ctx *ctx, const zell_datatree *node, uint32_t flags, char **out,
                                          size_t *size) noexcept {
    if (out == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    *out = nullptr;
    MemorySink memory;
    zell_map_status status = zell_map_xml_write(ctx, node, flags, append_to_memory, &memory);
    if (status == ZELL_MAP_ERR_NOT_FOUND) // only the memory sink stops the writer here
        status = ZELL_MAP_ERR_NO_MEMORY;
    if (status == ZELL_MAP_OK && memory.text == nullptr && append_to_memory(&memory, "", 0) != 0)
        status = ZELL_MAP_ERR_NO_MEMORY;
    if (status != ZELL_MAP_OK) {
        rask_named_free(memory.text);
        return status;
    }
    *out = memory.text;
    if (size != nullptr)
        *size = memory.size;
    return ZELL_MAP_OK;
}

zell_map_status zell_map_xml_write_fd(zell_map_ctx *ctx, const zell_datatree *node, uint32_t flags, int fd) noexcept {
    if (fd < 0)
        return ZELL_MAP_ERR_INVALID_ARG;
    return zell_map_xml_write(ctx, node, flags, write_to_fd, &fd);
}

} // extern "C"
