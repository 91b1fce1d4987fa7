// The backend session of a request and the selection of its database
// connection handles. Every record read here belongs to the framework.
#include <array>

#include "core/log.h"
#include "zell_map_request.h"

using namespace zell::map;

namespace {

enum class ConnTable : uint8_t { none, backend, session };
enum class Flag : uint8_t { none, a, b };

struct ConnPick {
    ConnTable table;
    uint8_t position;
};

// How a connection kind picks its handle: the flag it consults (if any)
// and the handle for that flag being zero or nonzero.
struct ConnRule {
    Flag flag;
    ConnPick when_clear;
    ConnPick when_set;
};

constexpr std::array<ConnRule, 4> kConnRules = {{
    {Flag::b, {ConnTable::backend, 6}, {ConnTable::backend, 5}},    // kind 0
    {Flag::b, {ConnTable::backend, 6}, {ConnTable::backend, 5}},    // kind 1
    {Flag::a, {ConnTable::session, 4}, {ConnTable::session, 6}},    // kind 2
    {Flag::none, {ConnTable::backend, 5}, {ConnTable::backend, 5}}, // kind 3
}};

constexpr ConnPick pick(uint32_t kind, int32_t flag_a, int32_t flag_b) noexcept {
    if (kind >= kConnRules.size())
        return {ConnTable::none, 0};
    const ConnRule &rule = kConnRules[kind];
    const bool set = (rule.flag == Flag::a && flag_a != 0) || (rule.flag == Flag::b && flag_b != 0);
    return set ? rule.when_set : rule.when_clear;
}

static_assert(pick(1, 0, 1).position == pick(0, 0, 1).position);
static_assert(pick(4, 0, 0).table == ConnTable::none);

zell_map_status find_backend_session(const Log &log, zell_me &me, const zell_request_msg &msg,
                                     quor_backend_session *&out_session) noexcept {
    if ((msg.presence & ZELL_REQUEST_MSG_HAS_SESSION_ID) == 0) {
        ZELL_LOG(log, ERR, "Missing session id in request!");
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    const zell_session *session = zell_session_find(&me, msg.session_id);
    if (session == nullptr) {
        ZELL_LOG(log, ERR, "Session with id=%d not found!", msg.session_id);
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    ZELL_LOG(log, TRC, "This request belongs to session '%d'", msg.session_id);
    if (session->me_session == nullptr || session->me_session->backend_sessions == nullptr) {
        ZELL_LOG(log, ERR, "NULL me_session or backend_sessions!");
        return ZELL_MAP_ERR_NOT_FOUND;
    }
    out_session = session->me_session->backend_sessions[0];
    return ZELL_MAP_OK;
}

} // namespace

extern "C" {

zell_map_status zell_map_get_backend_session(zell_req_ctx *req_ctx,
                                             quor_backend_session **out_session) noexcept {
    zell_me *me = req_ctx != nullptr ? req_ctx->me : nullptr;
    const Log log(me, __func__);
    ZELL_LOG(log, TRC, "Entering %s", __func__);
    zell_map_status status = ZELL_MAP_ERR_INVALID_ARG;
    if (me == nullptr || req_ctx->msg == nullptr || out_session == nullptr)
        ZELL_LOG(log, ERR, "NULL argument(s) passed!");
    else
        status = find_backend_session(log, *me, *req_ctx->msg, *out_session);
    ZELL_LOG(log, TRC, "Exiting %s", __func__);
    return status;
}

uint32_t quor_backend_get_quor_conn(const quor_backend_session *backend_session, uint32_t conn_kind,
                                    int32_t flag_a, int32_t flag_b) noexcept {
    if (backend_session == nullptr || backend_session->backend == nullptr)
        return 0;
    const ConnPick chosen = pick(conn_kind, flag_a, flag_b);
    const quor_conn_table *table = nullptr;
    if (chosen.table == ConnTable::backend)
        table = backend_session->backend->conns;
    else if (chosen.table == ConnTable::session)
        table = backend_session->session_conns;
    return table != nullptr ? table->handles[chosen.position] : 0;
}

uint32_t zell_map_get_quor_conn_hdl(zell_map_ctx *ctx, uint32_t conn_kind, int32_t flag_a,
                                    int32_t flag_b) noexcept {
    if (ctx == nullptr)
        return 0;
    quor_backend_session *backend_session = nullptr;
    if (zell_map_get_backend_session(ctx->req_ctx, &backend_session) != ZELL_MAP_OK)
        return 0; // the lookup has logged why
    return quor_backend_get_quor_conn(backend_session, conn_kind, flag_a, flag_b);
}

} // extern "C"
