/*
 * zell_map_common, XML: reading XML documents into zell_datatree trees and
 * writing trees back as XML. Library zell_map_xml (CMake target
 * zell::map_xml, pkg-config zell_map_xml), built on libxml2.
 *
 * The tree an XML element becomes:
 *  - tag:        the element's local name;
 *  - ns:         its namespace URI (bit clear for an element in no namespace);
 *  - data:       its text when it has no child elements (character
 *                references, predefined entities and CDATA resolved); an
 *                element written <a></a> holds "", one written <a/> holds
 *                no data at all;
 *  - attributes: in document order, namespace declarations left out; the
 *                name of an attribute in a namespace is written
 *                "{namespace-uri}local-name", one in no namespace is its
 *                bare name;
 *  - subtrees:   the child elements, in document order. Whitespace-only
 *                text between elements is dropped; comments and
 *                processing instructions are skipped.
 *
 * What a reader refuses, with ZELL_MAP_ERR_XML, an ERR line
 * "<name>:<line>: <message>" (libxml2's own message for malformed XML) and
 * the same in the caller's zell_map_xml_error:
 *  - malformed XML, or a document whose bytes are not UTF-8 or that
 *    declares another encoding;
 *  - a document type declaration (so no DTD, external entity or entity
 *    expansion is ever loaded or expanded, and nothing is fetched);
 *  - mixed content: non-whitespace text beside child elements;
 *  - elements nested deeper than ZELL_MAP_XML_DEPTH_MAX.
 *
 * Every string and array of a tree read comes from the platform allocator
 * and belongs to the tree. After a refusal or a failed allocation the
 * caller's tree is as it was and nothing is held. The reader holds one
 * input buffer and the open elements, never the document twice.
 */
#ifndef ZELL_MAP_XML_H
#define ZELL_MAP_XML_H

#include <stddef.h>
#include <stdint.h>

#include "zell_map_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Deepest element nesting a reader accepts; the document element is depth 1. */
#define ZELL_MAP_XML_DEPTH_MAX 128

/** Why a read was refused. */
typedef struct zell_map_xml_error {
    int32_t line;       /**< line of the input the problem was found on; 0 when none applies */
    char message[256];  /**< one line, without a newline; "" after a success */
} zell_map_xml_error;

/**
 * Reads the XML file at @p path and appends its document element, as a
 * tree, to the children of @p parent.
 *
 * @param[in] ctx       Request context for the ERR line; NULL: nothing is logged.
 * @param[in] path      File to read; it also names the input in messages.
 * @param[in,out] parent Initialised record; gains one child on success,
 *                      unchanged otherwise. Pointers to its children go stale.
 * @param[out] error    Filled on every return; NULL: not wanted.
 * @return ZELL_MAP_OK;
 *         ZELL_MAP_ERR_INVALID_ARG for a NULL path or parent;
 *         ZELL_MAP_ERR_NOT_FOUND when the file cannot be opened;
 *         ZELL_MAP_ERR_XML when the input is refused;
 *         ZELL_MAP_ERR_NO_MEMORY when an allocation failed.
 */
ZELL_MAP_API zell_map_status zell_map_xml_read_file(zell_map_ctx *ctx, const char *path, zell_datatree *parent,
                                                    zell_map_xml_error *error) ZELL_MAP_NOEXCEPT;

/**
 * As zell_map_xml_read_file, from @p size bytes at @p buffer (not copied,
 * not kept). @p name (NULL: "memory") names the input in messages.
 * @return as zell_map_xml_read_file, without ZELL_MAP_ERR_NOT_FOUND;
 *         ZELL_MAP_ERR_INVALID_ARG also for a NULL buffer or a size over INT_MAX.
 */
ZELL_MAP_API zell_map_status zell_map_xml_read_memory(zell_map_ctx *ctx, const char *name, const char *buffer,
                                                      size_t size, zell_datatree *parent,
                                                      zell_map_xml_error *error) ZELL_MAP_NOEXCEPT;

/**
 * As zell_map_xml_read_file, reading the open descriptor @p fd (a file,
 * pipe or socket) to its end; the descriptor stays open and the caller's.
 * @p name (NULL: "stream") names the input in messages.
 * @return as zell_map_xml_read_file; ZELL_MAP_ERR_NOT_FOUND when reading
 *         the descriptor fails (a directory, a closed descriptor; the
 *         message is the system's, the line 0); ZELL_MAP_ERR_INVALID_ARG
 *         also for fd < 0.
 */
ZELL_MAP_API zell_map_status zell_map_xml_read_fd(zell_map_ctx *ctx, const char *name, int fd, zell_datatree *parent,
                                                  zell_map_xml_error *error) ZELL_MAP_NOEXCEPT;

/* ======================================================================== */
/* Writing                                                                  */
/* ======================================================================== */

/** Flag of the writers: one element per line, two spaces per level. */
#define ZELL_MAP_XML_INDENT 0x1u

/**
 * Receives the output in pieces, in order. Returns 0 to go on, nonzero to
 * stop the writer (which then returns ZELL_MAP_ERR_NOT_FOUND).
 */
typedef int (*zell_map_xml_sink)(void *user, const char *bytes, size_t size);

/**
 * Writes @p node and everything below it as one XML element, without an XML
 * declaration: tag as the element's name, its namespace declared as the
 * default namespace wherever it differs from the parent's (xmlns="" for a
 * node without ns below one with), attributes named "{uri}local" under a
 * prefix declared on the element that first needs it ("{}local" is in no
 * namespace, like "local"), data as escaped
 * text. With ZELL_MAP_XML_INDENT the output ends in a newline. Reading the
 * output back gives the same tree (tag, ns, data, attributes, children)
 * when its text is UTF-8 without control characters other than tab, line
 * feed and carriage return (others are written as they are). Only fields
 * with their presence bit set are written; the data of a node with
 * children is not.
 *
 * @param[in] ctx   Request context for the ERR line; NULL: nothing is logged.
 * @param[in] node  The tree; not changed.
 * @param[in] flags ZELL_MAP_XML_INDENT or 0.
 * @param[in] sink  Receives the bytes; @p user is handed to it.
 * @return ZELL_MAP_OK;
 *         ZELL_MAP_ERR_INVALID_ARG for a NULL node or sink, or a node
 *         (the root or any below it) without a tag or with a tag or an
 *         attribute's local name that is not an XML name;
 *         ZELL_MAP_ERR_NOT_FOUND when the sink stopped the writer;
 *         ZELL_MAP_ERR_NO_MEMORY when an allocation failed.
 *         On an error the sink may have received part of the output.
 */
ZELL_MAP_API zell_map_status zell_map_xml_write(zell_map_ctx *ctx, const zell_datatree *node, uint32_t flags,
                                                zell_map_xml_sink sink, void *user) ZELL_MAP_NOEXCEPT;

/**
 * As zell_map_xml_write, into one terminated string from the platform
 * allocator.
 * @param[out] out  The text, the caller's (release with rask_named_free);
 *                  NULL on an error.
 * @param[out] size Its length without the terminator; NULL: not wanted.
 * @return as zell_map_xml_write; ZELL_MAP_ERR_INVALID_ARG also for a NULL out.
 */
ZELL_MAP_API zell_map_status zell_map_xml_write_memory(zell_map_ctx *ctx, const zell_datatree *node, uint32_t flags,
                                                       char **out, size_t *size) ZELL_MAP_NOEXCEPT;

/**
 * As zell_map_xml_write, to the open descriptor @p fd (left open).
 * @return as zell_map_xml_write; ZELL_MAP_ERR_NOT_FOUND when a write fails;
 *         ZELL_MAP_ERR_INVALID_ARG also for fd < 0.
 */
ZELL_MAP_API zell_map_status zell_map_xml_write_fd(zell_map_ctx *ctx, const zell_datatree *node, uint32_t flags,
                                                   int fd) ZELL_MAP_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* ZELL_MAP_XML_H */
