// Reading XML into a zell_datatree with libxml2's streaming reader: one
// frame per open element holds the node being built and its finished
// children; a closing element moves its node into its parent's frame.
#include <libxml/parser.h>
#include <libxml/xmlreader.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "core/log.h"
#include "core/memory.h"
#include "core/node.h"
#include "core/walk.h"
#include "core/xml_space.h"
#include "xml/xml_internal.h"
#include "zell_map_xml.h"

namespace zell::map::xml {
namespace {

constexpr const char *kTreeTag = "ZELL XML tree";
constexpr const char *kTextTag = "ZELL XML text";

// Never substitute entities, load a DTD or touch the network.
constexpr int kParseOptions = XML_PARSE_NONET | XML_PARSE_NOXINCNODE | XML_PARSE_COMPACT;

// Child arrays up to this many records are copied out of their level's
// buffer, which the next element at that depth reuses; a longer one takes
// the buffer itself, so no buffer outgrows the widest small level.
constexpr int32_t kReusedKids = 256;

// An element being read: its node and its finished children (in a buffer of
// its depth's slot). Only the innermost element can still become a leaf, so
// the text read so far lives in one buffer of the reader's.
struct Open {
    zell_datatree node;
    zell_datatree *kids;
    int32_t n_kids;
    int32_t kid_capacity;
    bool empty; // written <a/>
};

// An open element is some two hundred bytes: the reader keeps the first
// levels of a document in itself, not the walks' sixty-four.
constexpr size_t kInlineOpen = 16;

void release(Open &open) noexcept {
    for (int32_t i = 0; i < open.n_kids; ++i)
        mova_zell_datatree_free_ext(&open.kids[i], zell_gpb_free, 0, 0);
    rask_named_free(open.kids);
    reset_node(open.node);
    open = Open{};
}

class Reader {
  public:
    // Input from a descriptor: libxml2 sees a failed read as the end of the
    // input (it would print its own message for an error), the reader keeps errno.
    static int read_fd(void *self, char *buffer, int size) noexcept {
        auto *reader = static_cast<Reader *>(self);
        for (;;) {
            const ssize_t n = ::read(reader->fd_, buffer, static_cast<size_t>(size));
            if (n >= 0) {
                reader->bytes_read_ += static_cast<size_t>(n);
                return static_cast<int>(n);
            }
            if (errno != EINTR) {
                reader->io_error_ = errno;
                return 0;
            }
        }
    }

    Reader(zell_map_ctx *ctx, const char *name, zell_map_xml_error *error) noexcept
        : log_(ctx, "zell_map_xml_read"), name_(name), error_(error), open_("ZELL XML frames") {}
    Reader(const Reader &) = delete;
    Reader &operator=(const Reader &) = delete;
    ~Reader() {
        open_.for_each_slot([](Open &open) { release(open); });
        reset_node(document_);
        rask_named_free(text_);
        if (reader_ != nullptr)
            xmlFreeTextReader(reader_);
    }

    void attach(xmlTextReaderPtr reader) noexcept {
        reader_ = reader;
        if (reader_ != nullptr)
            xmlTextReaderSetStructuredErrorHandler(reader_, on_error, this);
    }

    zell_map_status run(zell_datatree &parent) noexcept;

    zell_map_status refuse(zell_map_status status, int line, const char *message) noexcept {
        if (status_ == ZELL_MAP_OK) {
            status_ = status;
            zell_map_xml_error one_line{};
            report(&one_line, line, message);
            report(error_, line, one_line.message);
            ZELL_LOG(log_, ERR, "%s:%d: %s", name_, line, one_line.message);
        }
        return status_;
    }

  private:
    // A failed read of the input shows up as a parse error next; the read's
    // own error is the one reported.
    static void on_error(void *self, xmlErrorPtr error) noexcept {
        auto *reader = static_cast<Reader *>(self);
        if (reader->io_error_ != 0)
            reader->refuse(ZELL_MAP_ERR_NOT_FOUND, 0, std::strerror(reader->io_error_));
        else if (reader->fd_ >= 0 && reader->bytes_read_ == 0) // as libxml2 words it for an empty buffer
            reader->refuse(ZELL_MAP_ERR_XML, 1, "Document is empty");
        else if (error != nullptr && error->level >= XML_ERR_ERROR)
            reader->refuse(ZELL_MAP_ERR_XML, error->line, error->message != nullptr ? error->message : "malformed XML");
    }
    int line() const noexcept { return xmlTextReaderGetParserLineNumber(reader_); }
    zell_map_status no_memory() noexcept { return refuse(ZELL_MAP_ERR_NO_MEMORY, line(), "out of memory"); }

    zell_map_status check_encoding() noexcept;
    zell_map_status start_element() noexcept;
    zell_map_status read_attributes(zell_datatree &node) noexcept;
    zell_map_status add_text() noexcept;
    zell_map_status end_element() noexcept;

    Log log_;
    const char *name_;
    zell_map_xml_error *error_;
    xmlTextReaderPtr reader_ = nullptr;
    WalkStack<Open, kInlineOpen> open_;
    zell_datatree document_{};
    char *text_ = nullptr; // the innermost open element's text
    size_t text_size_ = 0;
    size_t text_capacity_ = 0;
    bool encoding_checked_ = false;
    zell_map_status status_ = ZELL_MAP_OK;

  public:
    int fd_ = -1;
    int io_error_ = 0;
    size_t bytes_read_ = 0;
};

zell_map_status Reader::check_encoding() noexcept {
    encoding_checked_ = true;
    const char *encoding = reinterpret_cast<const char *>(xmlTextReaderConstEncoding(reader_));
    if (encoding == nullptr || strcasecmp(encoding, "UTF-8") == 0)
        return ZELL_MAP_OK;
    char message[128];
    std::snprintf(message, sizeof message, "encoding %.64s is not UTF-8", encoding);
    return refuse(ZELL_MAP_ERR_XML, line(), message);
}

zell_map_status Reader::read_attributes(zell_datatree &node) noexcept {
    int n = 0;
    for (int more = xmlTextReaderMoveToFirstAttribute(reader_); more == 1; more = xmlTextReaderMoveToNextAttribute(reader_))
        n += xmlTextReaderIsNamespaceDecl(reader_) == 1 ? 0 : 1;
    if (n == 0)
        return ZELL_MAP_OK;
    node.attributes = static_cast<zell_datatree_pair *>(rask_named_calloc_(n, sizeof(zell_datatree_pair), kTreeTag, 0));
    if (node.attributes == nullptr)
        return no_memory();
    node.presence |= ZELL_DATATREE_HAS_ATTRIBUTES;
    for (int more = xmlTextReaderMoveToFirstAttribute(reader_); more == 1; more = xmlTextReaderMoveToNextAttribute(reader_)) {
        if (xmlTextReaderIsNamespaceDecl(reader_) == 1)
            continue;
        zell_datatree_pair &pair = node.attributes[node.n_attributes++];
        const auto *local = reinterpret_cast<const char *>(xmlTextReaderConstLocalName(reader_));
        const auto *uri = reinterpret_cast<const char *>(xmlTextReaderConstNamespaceUri(reader_));
        pair.name = qualified_name(uri, local);
        pair.value = zell_strdup(reinterpret_cast<const char *>(xmlTextReaderConstValue(reader_)), kTreeTag);
        if (pair.name == nullptr || pair.value == nullptr)
            return no_memory();
    }
    xmlTextReaderMoveToElement(reader_);
    return ZELL_MAP_OK;
}

zell_map_status Reader::start_element() noexcept {
    if (!all_xml_space({text_, text_size_}))
        return refuse(ZELL_MAP_ERR_XML, line(), "mixed content: text beside child elements");
    text_size_ = 0;
    if (open_.depth() >= ZELL_MAP_XML_DEPTH_MAX) {
        char message[64];
        std::snprintf(message, sizeof message, "elements nested deeper than %d", ZELL_MAP_XML_DEPTH_MAX);
        return refuse(ZELL_MAP_ERR_XML, line(), message);
    }
    Open *open = open_.push();
    if (open == nullptr)
        return no_memory();
    zell_datatree *kids = open->kids; // the depth's buffer stays
    const int32_t kid_capacity = open->kid_capacity;
    *open = Open{};
    open->kids = kids;
    open->kid_capacity = kid_capacity;
    open->empty = xmlTextReaderIsEmptyElement(reader_) == 1;
    zell_datatree &node = open->node;
    node.tag = zell_strdup(reinterpret_cast<const char *>(xmlTextReaderConstLocalName(reader_)), kTreeTag);
    if (node.tag == nullptr)
        return no_memory();
    node.presence |= ZELL_DATATREE_HAS_TAG;
    if (const xmlChar *uri = xmlTextReaderConstNamespaceUri(reader_); uri != nullptr) {
        node.ns = zell_strdup(reinterpret_cast<const char *>(uri), kTreeTag);
        if (node.ns == nullptr)
            return no_memory();
        node.presence |= ZELL_DATATREE_HAS_NS;
    }
    if (const zell_map_status st = read_attributes(node); st != ZELL_MAP_OK)
        return st;
    return open->empty ? end_element() : ZELL_MAP_OK;
}

zell_map_status Reader::add_text() noexcept {
    Open &open = open_.top();
    const auto *value = reinterpret_cast<const char *>(xmlTextReaderConstValue(reader_));
    const size_t size = value != nullptr ? std::strlen(value) : 0;
    if (open.n_kids > 0) {
        if (all_xml_space({value, size}))
            return ZELL_MAP_OK;
        return refuse(ZELL_MAP_ERR_XML, line(), "mixed content: text beside child elements");
    }
    if (text_size_ + size > text_capacity_) {
        const size_t capacity = std::max(text_size_ + size, 2 * text_capacity_);
        void *block = text_ == nullptr ? rask_named_calloc_(capacity, 1, kTextTag, 0) : rask_named_realloc(text_, capacity);
        if (block == nullptr)
            return no_memory();
        text_ = static_cast<char *>(block);
        text_capacity_ = capacity;
    }
    std::memcpy(text_ + text_size_, value, size);
    text_size_ += size;
    return ZELL_MAP_OK;
}

// Appends a finished node to an array that grows by doubling.
bool append(Open &parent, zell_datatree &node) noexcept {
    if (parent.n_kids == parent.kid_capacity) {
        const int32_t capacity = parent.kid_capacity == 0 ? 4 : parent.kid_capacity * 2;
        void *block = parent.kids == nullptr ? rask_named_calloc_(capacity, sizeof(zell_datatree), kTreeTag, 0)
                                             : rask_named_realloc(parent.kids, capacity * sizeof(zell_datatree));
        if (block == nullptr)
            return false;
        parent.kids = static_cast<zell_datatree *>(block);
        parent.kid_capacity = capacity;
    }
    parent.kids[parent.n_kids++] = node;
    node = zell_datatree{};
    return true;
}

zell_map_status Reader::end_element() noexcept {
    Open &open = open_.top();
    zell_datatree &node = open.node;
    if (open.n_kids > 0) {
        const auto n = static_cast<size_t>(open.n_kids);
        if (open.n_kids <= kReusedKids) {
            node.subtrees = static_cast<zell_datatree *>(rask_named_calloc_(n, sizeof(zell_datatree), kTreeTag, 0));
            if (node.subtrees == nullptr)
                return no_memory();
            std::memcpy(static_cast<void *>(node.subtrees), open.kids, n * sizeof(zell_datatree));
        } else {
            // The array keeps only what it holds; a failed shrink keeps the larger block.
            void *block = rask_named_realloc(open.kids, n * sizeof(zell_datatree));
            node.subtrees = static_cast<zell_datatree *>(block != nullptr ? block : open.kids);
            open.kids = nullptr;
            open.kid_capacity = 0;
        }
        node.n_subtrees = std::exchange(open.n_kids, 0);
        node.presence |= ZELL_DATATREE_HAS_SUBTREES;
    } else if (!open.empty) {
        node.data = static_cast<char *>(rask_named_calloc_(text_size_ + 1, 1, kTreeTag, 0));
        if (node.data == nullptr)
            return no_memory();
        if (text_size_ > 0)
            std::memcpy(node.data, text_, text_size_);
        node.presence |= ZELL_DATATREE_HAS_DATA;
    }
    text_size_ = 0;
    if (open_.depth() == 1) {
        document_ = node;
        node = zell_datatree{};
        open_.pop();
        return ZELL_MAP_OK;
    }
    zell_datatree finished = node;
    node = zell_datatree{};
    open_.pop();
    if (!append(open_.top(), finished)) {
        reset_node(finished);
        return no_memory();
    }
    return ZELL_MAP_OK;
}

zell_map_status Reader::run(zell_datatree &parent) noexcept {
    if (reader_ == nullptr)
        return refuse(ZELL_MAP_ERR_NO_MEMORY, 0, "out of memory");
    for (;;) {
        const int more = xmlTextReaderRead(reader_);
        if (status_ != ZELL_MAP_OK)
            return status_;
        if (more == 0)
            break;
        if (more < 0)
            return refuse(ZELL_MAP_ERR_XML, line(), "malformed XML");
        if (!encoding_checked_ && check_encoding() != ZELL_MAP_OK)
            return status_;
        zell_map_status st = ZELL_MAP_OK;
        switch (xmlTextReaderNodeType(reader_)) {
        case XML_READER_TYPE_ELEMENT:
            st = start_element();
            break;
        case XML_READER_TYPE_END_ELEMENT:
            st = end_element();
            break;
        case XML_READER_TYPE_TEXT:
        case XML_READER_TYPE_CDATA:
        case XML_READER_TYPE_WHITESPACE:
        case XML_READER_TYPE_SIGNIFICANT_WHITESPACE:
            if (!open_.empty())
                st = add_text();
            break;
        case XML_READER_TYPE_DOCUMENT_TYPE:
        case XML_READER_TYPE_ENTITY_REFERENCE:
        case XML_READER_TYPE_ENTITY:
            st = refuse(ZELL_MAP_ERR_XML, line(), "document type declarations and entities are not accepted");
            break;
        default: // comments, processing instructions
            break;
        }
        if (st != ZELL_MAP_OK)
            return st;
    }
    if (io_error_ != 0)
        return refuse(ZELL_MAP_ERR_NOT_FOUND, 0, std::strerror(io_error_));
    if (!has(document_, ZELL_DATATREE_HAS_TAG))
        return refuse(ZELL_MAP_ERR_XML, line(), "no document element");
    if (append_child(parent, document_) != ZELL_MAP_OK)
        return no_memory();
    report(error_, 0, "");
    return ZELL_MAP_OK;
}

// Reads from size bytes at buffer, or from fd when buffer is NULL.
zell_map_status read_with(zell_map_ctx *ctx, const char *name, zell_datatree *parent, zell_map_xml_error *error,
                          const char *buffer, size_t size, int fd) noexcept {
    init_libxml2();
    Reader reader(ctx, name, error);
    reader.fd_ = fd;
    reader.attach(buffer != nullptr
                      ? xmlReaderForMemory(buffer, static_cast<int>(size), name, "UTF-8", kParseOptions)
                      : xmlReaderForIO(Reader::read_fd, nullptr, &reader, name, "UTF-8", kParseOptions));
    return reader.run(*parent);
}

} // namespace

char *qualified_name(const char *uri, const char *local) noexcept {
    if (uri == nullptr || uri[0] == '\0')
        return zell_strdup(local, kTreeTag);
    const size_t n_uri = std::strlen(uri);
    const size_t n_local = std::strlen(local);
    auto *name = static_cast<char *>(rask_named_calloc_(n_uri + n_local + 3, 1, kTreeTag, 0));
    if (name == nullptr)
        return nullptr;
    name[0] = '{';
    std::memcpy(name + 1, uri, n_uri);
    name[n_uri + 1] = '}';
    std::memcpy(name + n_uri + 2, local, n_local);
    return name;
}

zell_map_status append_child(zell_datatree &parent, zell_datatree &child) noexcept {
    const int32_t n = has(parent, ZELL_DATATREE_HAS_SUBTREES) && parent.subtrees != nullptr ? parent.n_subtrees : 0;
    void *block = n == 0 ? rask_named_calloc_(1, sizeof(zell_datatree), kTreeTag, 0)
                         : rask_named_realloc(parent.subtrees, (static_cast<size_t>(n) + 1) * sizeof(zell_datatree));
    if (block == nullptr)
        return ZELL_MAP_ERR_NO_MEMORY;
    parent.subtrees = static_cast<zell_datatree *>(block);
    parent.subtrees[n] = child;
    parent.n_subtrees = n + 1;
    parent.presence |= ZELL_DATATREE_HAS_SUBTREES;
    child = zell_datatree{};
    return ZELL_MAP_OK;
}

void init_libxml2() noexcept {
    static const bool initialised = (xmlInitParser(), true);
    (void)initialised;
}

void report(zell_map_xml_error *error, int line, const char *message) noexcept {
    if (error == nullptr)
        return;
    error->line = line;
    std::snprintf(error->message, sizeof error->message, "%s", message);
    // libxml2's messages end in a newline; the record holds one line.
    for (char *c = error->message; *c != '\0'; ++c) {
        if (*c == '\n' || *c == '\r') {
            *c = '\0';
            break;
        }
    }
}

} // namespace zell::map::xml

using namespace zell::map::xml;

extern "C" {

zell_map_status zell_map_xml_read_memory(zell_map_ctx *ctx, const char *name, const char *buffer, size_t size,
                                         zell_datatree *parent, zell_map_xml_error *error) noexcept {
    report(error, 0, "");
    if (buffer == nullptr || parent == nullptr || size > INT_MAX)
        return ZELL_MAP_ERR_INVALID_ARG;
    return read_with(ctx, name != nullptr ? name : "memory", parent, error, buffer, size, -1);
}

zell_map_status zell_map_xml_read_fd(zell_map_ctx *ctx, const char *name, int fd, zell_datatree *parent,
                                     zell_map_xml_error *error) noexcept {
    report(error, 0, "");
    if (fd < 0 || parent == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    return read_with(ctx, name != nullptr ? name : "stream", parent, error, nullptr, 0, fd);
}

zell_map_status zell_map_xml_read_file(zell_map_ctx *ctx, const char *path, zell_datatree *parent,
                                       zell_map_xml_error *error) noexcept {
    report(error, 0, "");
    if (path == nullptr || parent == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        const zell::map::Log log(ctx, "zell_map_xml_read_file");
        const char *reason = std::strerror(errno);
        report(error, 0, reason);
        ZELL_LOG(log, ERR, "%s:%d: %s", path, 0, reason);
        return ZELL_MAP_ERR_NOT_FOUND;
    }
    const zell_map_status status = zell_map_xml_read_fd(ctx, path, fd, parent, error);
    close(fd);
    return status;
}

} // extern "C"
