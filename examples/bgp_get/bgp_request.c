/* One get request of the example, from its filter to the printed reply. */
#include "bgp_request.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "bgp_backend.h"
#include "zell_host.h"
#include "zell_map_xml.h"

enum { SESSION_ID = 7 };

static const char netconf_ns[] = "urn:ietf:params:xml:ns:netconf:base:1.0";

int bgp_request_fail(const char *format, ...) {
    va_list args;
    va_start(args, format);
    fputs("bgp_get: ", stderr);
    vfprintf(stderr, format, args);
    fputc('\n', stderr);
    va_end(args);
    return BGP_REQUEST_FAILED;
}

static int is_space(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

/* Content-match text compares without its surrounding XML white space. */
static int trim_text(char *text) {
    size_t start = 0, end = strlen(text);
    while (start < end && is_space(text[start]))
        ++start;
    while (end > start && is_space(text[end - 1]))
        --end;
    memmove(text, text + start, end - start);
    text[end - start] = '\0';
    return end > start;
}

/*
 * Readies a filter subtree for the schema checks made while building: its
 * content-match texts are trimmed, and a sibling set of content-match nodes
 * only (which selects its whole parent) is flagged as the parent's keys, so
 * that everything below that parent counts as wanted.
 */
static void prepare_filter(zell_datatree *node) {
    if ((node->presence & ZELL_DATATREE_HAS_SUBTREES) == 0 || node->n_subtrees <= 0)
        return;
    int all_content = 1;
    for (int32_t i = 0; i < node->n_subtrees; ++i) {
        zell_datatree *child = &node->subtrees[i];
        const int leaf = (child->presence & ZELL_DATATREE_HAS_SUBTREES) == 0 || child->n_subtrees <= 0;
        const int content = leaf && (child->presence & ZELL_DATATREE_HAS_DATA) && trim_text(child->data);
        all_content = all_content && content;
        prepare_filter(child);
    }
    for (int32_t i = 0; all_content && i < node->n_subtrees; ++i) {
        node->subtrees[i].is_key = 1;
        node->subtrees[i].presence |= ZELL_DATATREE_HAS_IS_KEY;
    }
}

static int has_tag(const zell_datatree *node, const char *tag) {
    return (node->presence & ZELL_DATATREE_HAS_TAG) && strcmp(node->tag, tag) == 0;
}

/* The type attribute of a filter, when it has one. */
static const char *filter_type(const zell_datatree *filter) {
    for (int32_t i = 0; (filter->presence & ZELL_DATATREE_HAS_ATTRIBUTES) && i < filter->n_attributes; ++i)
        if (strcmp(filter->attributes[i].name, "type") == 0)
            return filter->attributes[i].value;
    return NULL;
}

/* Reads the <filter> element from path ("-": standard input) under holder. */
static int read_filter(zell_map_ctx *ctx, const char *path, zell_datatree *holder, zell_datatree **filter) {
    zell_map_xml_error error;
    const int from_stdin = strcmp(path, "-") == 0;
    const char *name = from_stdin ? "standard input" : path;
    const zell_map_status status = from_stdin ? zell_map_xml_read_fd(ctx, name, 0, holder, &error)
                                              : zell_map_xml_read_file(ctx, path, holder, &error);
    if (status == ZELL_MAP_ERR_NOT_FOUND)
        return bgp_request_fail("cannot read filter %s", path);
    if (status != ZELL_MAP_OK)
        return bgp_request_fail("malformed filter: %s:%d: %s", name, (int)error.line, error.message);
    *filter = &holder->subtrees[0];
    const char *type = filter_type(*filter);
    if (!has_tag(*filter, "filter") || (type != NULL && strcmp(type, "subtree") != 0))
        return bgp_request_fail("malformed filter: %s holds no <filter type=\"subtree\"> element", name);
    return 0;
}

/* <rpc-reply message-id="1"><data/></rpc-reply> in the NETCONF namespace. */
static zell_map_status make_reply(zell_map_ctx *ctx, zell_datatree *reply, zell_datatree **data) {
    zell_map_status status = zell_map_datatree_add_subtree(ctx, reply, "rpc-reply", netconf_ns, NULL, NULL, NULL, 0);
    if (status != ZELL_MAP_OK)
        return status;
    zell_datatree *rpc_reply = &reply->subtrees[0];
    zell_datatree_pair *id = rask_named_calloc_(1, sizeof *id, "BGP GET reply", 0);
    if (id == NULL)
        return ZELL_MAP_ERR_NO_MEMORY;
    rpc_reply->attributes = id;
    rpc_reply->n_attributes = 1;
    rpc_reply->presence |= ZELL_DATATREE_HAS_ATTRIBUTES;
    id->name = zell_strdup("message-id", "BGP GET reply");
    id->value = zell_strdup("1", "BGP GET reply");
    if (id->name == NULL || id->value == NULL)
        return ZELL_MAP_ERR_NO_MEMORY;
    return zell_map_datatree_add_subtree(ctx, rpc_reply, "data", netconf_ns, NULL, NULL, data, 0);
}

/* Everything one request holds, released in one place. */
typedef struct request_state {
    zell_me engine;
    zell_request_msg msg;
    zell_req_ctx req_ctx;
    zell_map_request request;
    zell_map_ctx ctx;
    zell_datatree filter_holder;
    zell_datatree reply;
    bgp_db *db;
    bgp_session session;
} request_state;

static int answer(request_state *s, const char *filter_path, unsigned flags, int out_fd) {
    zell_map_ctx *ctx = &s->ctx;
    zell_datatree *filter = NULL;
    if (filter_path != NULL) {
        const int failed = read_filter(ctx, filter_path, &s->filter_holder, &filter);
        if (failed)
            return failed;
    }
    zell_datatree *data = NULL;
    zell_map_status status = make_reply(ctx, &s->reply, &data);

    /* The backend reads only what the filter's "bgp" subtree asks for; a
     * filter without one (an empty filter included) asks for nothing here. */
    zell_datatree *bgp_filter = NULL;
    const int any_bgp =
        filter == NULL || zell_map_datatree_get_subtree(filter, &bgp_filter, "bgp", NULL, NULL) == ZELL_MAP_OK;
    if (bgp_filter != NULL) {
        prepare_filter(bgp_filter);
        s->request.datatree = bgp_filter;
        s->request.flags |= ZELL_MAP_REQUEST_FILTER;
    }
    zell_datatree *bgp = NULL;
    if (status == ZELL_MAP_OK && any_bgp)
        status = bgp_get(ctx, data, &bgp);
    if (status == ZELL_MAP_OK && filter != NULL)
        status = zell_map_filter_subtree(ctx, filter, data);
    if (status != ZELL_MAP_OK) {
        const char *db_error = bgp_db_error(s->db);
        return db_error[0] != '\0' ? bgp_request_fail("%s", db_error) : bgp_request_fail("cannot answer: %s", zell_map_status_str(status));
    }
    if (flags & BGP_REQUEST_OUTLINE) {
        status = zell_map_print_subtrees(data, 0, 0);
    } else {
        const int indent = (flags & BGP_REQUEST_INDENT) != 0;
        status = zell_map_xml_write_fd(ctx, &s->reply.subtrees[0], indent ? ZELL_MAP_XML_INDENT : 0, out_fd);
        if (status == ZELL_MAP_OK && !indent && write(out_fd, "\n", 1) != 1)
            status = ZELL_MAP_ERR_NOT_FOUND;
    }
    return status == ZELL_MAP_OK ? 0 : bgp_request_fail("cannot print the reply");
}

int bgp_request_run(bgp_db *db, const char *filter_path, unsigned flags, int out_fd) {
    request_state s;
    memset(&s, 0, sizeof s);
    s.db = db;
    if (bgp_session_register(&s.session, SESSION_ID, db) != 0)
        return bgp_request_fail("no room for the session");

    /* What the framework hands the backend: a request of a session. */
    s.msg.session_id = SESSION_ID;
    s.msg.presence |= ZELL_REQUEST_MSG_HAS_SESSION_ID;
    s.req_ctx.me = &s.engine;
    s.req_ctx.msg = &s.msg;
    s.ctx.req_ctx = &s.req_ctx;
    s.ctx.request = &s.request;
    s.request.msg = &s.msg;
    if (flags & BGP_REQUEST_TRACE) {
        s.ctx.trace_on = 1;
        s.engine.trace_on = 1;
    }
    const int result = answer(&s, filter_path, flags, out_fd);
    zell_map_request_release(&s.ctx);
    mova_zell_datatree_free_ext(&s.reply, zell_gpb_free, 0, 0);
    mova_zell_datatree_free_ext(&s.filter_holder, zell_gpb_free, 0, 0);
    bgp_session_unregister(&s.session);
    return result;
}
