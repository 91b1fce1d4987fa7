/*
 * zell_map_common: data-tree building, lookup and filtering for backend
 * mapping code.
 *
 * This header includes every public header of the library, one per
 * subsystem:
 *  - zell_map_types.h    status codes, flag bits, the zell_datatree record,
 *                        the request context and record;
 *  - zell_map_tree.h     node predicates, adding, finding and counting
 *                        children, data namespaces, printing;
 *  - zell_map_path.h     inserting whole paths, re-rooting, path recording;
 *  - zell_map_filter.h   schema filter, mark and sweep, filter predicates;
 *  - zell_map_list.h     list instances, list context, output list, node
 *                        hierarchy, instance-tree stack, node info;
 *  - zell_map_request.h  the request's tree and release, backend session;
 *  - zell_map_values.h   IPv4 helpers and value conversion
 *                        (zell_map_data_conv.h).
 *
 * Conventions that hold for every operation unless its comment says
 * otherwise:
 *  - ctx is the caller's per-request context, with ctx->request pointing
 *    at the request record: pass both. Given a NULL ctx an operation logs
 *    nothing, and those that need the request record refuse: path
 *    insertion (zell_map_datatree_add_path[_flagged], unless
 *    ZELL_MAP_FLAG_NO_REROOT) and zell_map_search_or_add_list return
 *    ZELL_MAP_ERR_NOT_FOUND and insert nothing, the schema filter answers
 *    0, mark and sweep do nothing. Each operation's comment says what it
 *    does without one.
 *  - Operations return a zell_map_status; 0 (ZELL_MAP_OK) is success and
 *    zell_map_status_str() names the others. Predicates (names with _is_,
 *    _does_, _match) return 1 or 0.
 *  - Every string and child array stored in a zell_datatree belongs to that
 *    node and is released with it (mova_zell_datatree_free_ext). Strings
 *    passed in are copied; nothing the caller passes is kept.
 *  - Paths are tag names separated by "/"; runs of separators count as one
 *    and leading or trailing separators are ignored ("/a//b/" is a, b).
 *    There is no key syntax: a walk along a path takes, at each level, the
 *    first child of that name (for list entries, the first instance).
 *  - Log lines go to ctx's log filters when debug[0] enables their level
 *    (ZELL_MAP_DEBUG_ERR, ZELL_MAP_DEBUG_TRC) as "ERR: ZELL: ctx=%p,<text>"
 *    / "TRC: ZELL: ctx=%p,<text>", and to its trace buffer when trace_on is
 *    set as "<LVL>: <function>:<line> ctx=%p,<text>" (LVL is ERR or TRC,
 *    cut to 1023 characters). Building operations trace "Start" and "End".
 *  - No operation keeps per-call state anywhere but in its arguments (the
 *    only shared state is the IPv4 pattern, compiled once and read-only):
 *    separate contexts and trees may be used on separate threads at once.
 */
#ifndef ZELL_MAP_COMMON_H
#define ZELL_MAP_COMMON_H

#include "zell_map_types.h"

#include "zell_map_tree.h"
#include "zell_map_path.h"
#include "zell_map_filter.h"
#include "zell_map_list.h"
#include "zell_map_request.h"
#include "zell_map_values.h"

#endif /* ZELL_MAP_COMMON_H */
