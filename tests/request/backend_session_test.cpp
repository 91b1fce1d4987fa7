// Finding a request's backend session and picking its connection handles.
#include <chrono>
#include <optional>
#include <regex>

#include "harness.h"

using namespace zell::test;
#pragma GCC diagnostic ignored "-Wmissing-field-initializers" // records name only the fields they set

namespace {

using BackendSessionTest = MapTest;
constexpr uint32_t kBackend5 = 0xb5, kBackend6 = 0xb6, kSession4 = 0x54, kSession6 = 0x56;

// The framework's records of a request of session 7; the engine logs where ctx does.
struct Request {
    quor_conn_table backend_conns{{0, 0, 0, 0, 0, kBackend5, kBackend6}},
        session_conns{{0, 0, 0, 0, kSession4, 0, kSession6}};
    quor_backend backend{.conns = &backend_conns};
    quor_backend_session backend_session{&backend, &session_conns}, *backend_sessions[1] = {&backend_session};
    zell_me_session me_session{.backend_sessions = backend_sessions};
    zell_session session{.me_session = &me_session};
    zell_request_msg msg{.session_id = 7, .presence = ZELL_REQUEST_MSG_HAS_SESSION_ID};
    zell_me me;
    zell_req_ctx req_ctx{&me, &msg};
    explicit Request(zell_map_ctx &ctx) : me{{}, {ctx.debug[0]}, ctx.err_log, ctx.trc_log, ctx.trace_buf, 1} {
        ctx.req_ctx = &req_ctx;
        EXPECT_EQ(zell_host_add_session(7, &session), 0);
    }
};

// The lookup's trace-form lines "LVL:text|...", which the log filters repeat; all carry me as their ctx.
std::string lookup_lines(const std::vector<LogLine> &lines, const zell_me &me) {
    const std::string at = " ctx=" + testing::PrintToString(static_cast<const void *>(&me)) + ",";
    const std::regex form("(ERR|TRC): (ZELL:|zell_map_get_backend_session:[0-9]+)" + at);
    std::string forms[2];
    for (const LogLine &l : lines)
        forms[l.handle == me.trace_buf] += std::regex_replace(l.text, form, "$1:") + "|";
    EXPECT_EQ(forms[0], forms[1]);
    return forms[1];
}

// The lines between "Entering" and "Exiting", or none without an engine to log for.
TEST_F(BackendSessionTest, EachOutcomeHasItsStatusAndLines) {
    const std::string enter = "TRC:Entering zell_map_get_backend_session|",
                      null = "ERR:NULL argument(s) passed!|";
    const std::string exit = "TRC:Exiting zell_map_get_backend_session|";
    const std::string found = "TRC:This request belongs to session '7'|";
    const std::string lost = "ERR:NULL me_session or backend_sessions!|";
    constexpr zell_map_status kBad = ZELL_MAP_ERR_INVALID_ARG, kNotFound = ZELL_MAP_ERR_NOT_FOUND;
    // clang-format off
    const struct { void (*breakage)(Request &); bool pass_out; zell_map_status status;
                   std::optional<std::string> lines; } cases[] = {
        {[](Request &) {}, true, ZELL_MAP_OK, found},
        {[](Request &) {}, false, kBad, null},
        {[](Request &r) { r.req_ctx.msg = nullptr; }, true, kBad, null},
        {[](Request &r) { r.req_ctx.me = nullptr; }, true, kBad, std::nullopt},
        {[](Request &r) { r.msg.presence = ~ZELL_REQUEST_MSG_HAS_SESSION_ID; }, true, kBad,
         "ERR:Missing session id in request!|"},
        {[](Request &r) { r.msg.session_id = 99; }, true, kBad, "ERR:Session with id=99 not found!|"},
        {[](Request &r) { r.session.me_session = nullptr; }, true, kNotFound, found + lost},
        {[](Request &r) { r.me_session.backend_sessions = nullptr; }, true, kNotFound, found + lost}};
    // clang-format on
    for (const auto &c : cases) {
        const std::string lines = c.lines ? enter + *c.lines + exit : "";
        SCOPED_TRACE(lines);
        Request r(ctx);
        c.breakage(r);
        log.clear();
        quor_backend_session other{}, *session = &other;
        EXPECT_EQ(zell_map_get_backend_session(&r.req_ctx, c.pass_out ? &session : nullptr), c.status);
        EXPECT_EQ(session, c.status == ZELL_MAP_OK ? &r.backend_session : &other); // only on success
        EXPECT_EQ(lookup_lines(log.lines(), r.me), lines);
        EXPECT_EQ(zell_map_get_quor_conn_hdl(&ctx, 3, 0, 0),
                  c.pass_out && c.status != ZELL_MAP_OK ? 0 : kBackend5);
    }
}

TEST_F(BackendSessionTest, HandleSelectionByKindAndFlags) {
    Request r(ctx);
    // clang-format off
    const int64_t cases[][4] = { // {kind, flag_a, flag_b, handle}
        {0, 0, 0, kBackend6}, {0, 1, 0, kBackend6}, {0, 0, 1, kBackend5}, {0, 1, -1, kBackend5},
        {1, 0, 0, kBackend6}, {1, 1, 0, kBackend6}, {1, 0, 1, kBackend5}, {1, 1, 1, kBackend5},
        {2, 0, 0, kSession4}, {2, 0, 1, kSession4}, {2, 1, 0, kSession6}, {2, -5, 1, kSession6},
        {3, 0, 0, kBackend5}, {3, 1, 1, kBackend5}, {4, 0, 0, 0}, {0xFFFFFFFF, 1, 1, 0}};
    // clang-format on
    for (const auto &[kind, a, b, handle] : cases) {
        EXPECT_EQ(quor_backend_get_quor_conn(&r.backend_session, kind, a, b), handle) << kind << a << b;
        EXPECT_EQ(zell_map_get_quor_conn_hdl(&ctx, kind, a, b), handle) << kind << a << b;
    }
    r.backend.conns = nullptr; // the session's own table stays usable
    EXPECT_EQ(quor_backend_get_quor_conn(&r.backend_session, 0, 0, 0), 0u);
    EXPECT_EQ(quor_backend_get_quor_conn(&r.backend_session, 2, 0, 0), kSession4);
    EXPECT_EQ(quor_backend_get_quor_conn(nullptr, 0, 0, 0), 0u);
}

TEST(Timestamp, IsWallClockMicrosecondsModulo2To32) {
    using namespace std::chrono;
    const auto now = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
    EXPECT_LT(zell_map_get_timestamp() - static_cast<uint32_t>(now), 1000000u);
}

} // namespace
