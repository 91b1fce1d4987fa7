/* Compiles the public headers (as C11, and as C++ in CI) and, on a 32-bit
 * target, checks the record layout the framework expects. */
#include <stddef.h>

#include "zell_map_common.h"
#include "zell_map_data_conv.h"
#include "zell_host.h"

#ifdef __cplusplus
#define LAYOUT_CHECK(cond, what) static_assert(cond, what)
#else
#define LAYOUT_CHECK(cond, what) _Static_assert(cond, what)
#endif

#if defined(__SIZEOF_POINTER__) && __SIZEOF_POINTER__ == 4
LAYOUT_CHECK(sizeof(zell_datatree) == 112, "zell_datatree is 112 bytes");
LAYOUT_CHECK(offsetof(zell_datatree, tag) == 0, "tag");
LAYOUT_CHECK(offsetof(zell_datatree, data) == 4, "data");
LAYOUT_CHECK(offsetof(zell_datatree, ns) == 8, "ns");
LAYOUT_CHECK(offsetof(zell_datatree, reserved) == 12, "reserved");
LAYOUT_CHECK(offsetof(zell_datatree, operation) == 16, "operation");
LAYOUT_CHECK(offsetof(zell_datatree, attributes) == 20, "attributes");
LAYOUT_CHECK(offsetof(zell_datatree, n_attributes) == 24, "n_attributes");
LAYOUT_CHECK(offsetof(zell_datatree, subtrees) == 28, "subtrees");
LAYOUT_CHECK(offsetof(zell_datatree, n_subtrees) == 32, "n_subtrees");
LAYOUT_CHECK(offsetof(zell_datatree, subtree_index) == 36, "subtree_index");
LAYOUT_CHECK(offsetof(zell_datatree, type_info) == 40, "type_info");
LAYOUT_CHECK(offsetof(zell_datatree, is_key) == 60, "is_key");
LAYOUT_CHECK(offsetof(zell_datatree, insert) == 64, "insert");
LAYOUT_CHECK(offsetof(zell_datatree, mark) == 100, "mark");
LAYOUT_CHECK(offsetof(zell_datatree, data_ns) == 104, "data_ns");
LAYOUT_CHECK(offsetof(zell_datatree, presence) == 108, "presence");
LAYOUT_CHECK(sizeof(zell_datatree_type_info) == 20, "type_info is 20 bytes");
LAYOUT_CHECK(sizeof(zell_datatree_insert) == 36, "insert is 36 bytes");
LAYOUT_CHECK(sizeof(zell_datatree_insert_key) == 16, "insert key is 16 bytes");
LAYOUT_CHECK(sizeof(zell_datatree_insert_value) == 12, "insert value is 12 bytes");
LAYOUT_CHECK(sizeof(zell_datatree_pair) == 12, "pair is 12 bytes");
LAYOUT_CHECK(offsetof(zell_me, debug) == 40, "zell_me log fields start at word 10");
LAYOUT_CHECK(offsetof(zell_me, trace_on) == 60, "zell_me trace_on is word 15");
LAYOUT_CHECK(offsetof(zell_request_msg, error_option) == 160, "error_option is word 40");
LAYOUT_CHECK(offsetof(zell_request_msg, presence) == 936, "presence is word 234");
LAYOUT_CHECK(offsetof(zell_me_session, backend_sessions) == 20, "backend_sessions is word 5");
LAYOUT_CHECK(offsetof(zell_session, me_session) == 8, "me_session is word 2");
LAYOUT_CHECK(offsetof(quor_backend, conns) == 188, "conns is word 47");
#endif

int zell_c11_headers_compile(void);
int zell_c11_headers_compile(void) { return (int)sizeof(zell_map_ctx) > 0; }
