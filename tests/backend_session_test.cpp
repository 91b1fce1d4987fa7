// Finding a request's backend session and picking its connection handles.
#include <sys/time.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "harness.h"

namespace zell::test {
namespace {

constexpr const char *kLookup = "zell_map_get_backend_session";
constexpr int32_t kSessionId = 7;

// Handles chosen so that every position of both tables is told apart.
constexpr uint32_t kBackend5 = 0xb5, kBackend6 = 0xb6, kSession4 = 0x54, kSession6 = 0x56;

class BackendSessionTest : public MapTest {
  protected:
    void SetUp() override {
        MapTest::SetUp();
        me.debug[0] = ctx.debug[0];
        me.err_log = ctx.err_log;
        me.trc_log = ctx.trc_log;
        me.trace_buf = ctx.trace_buf;
        me.trace_on = 1;
        req_ctx.me = &me;
        req_ctx.msg = &msg;
        ctx.req_ctx = &req_ctx;
        msg.session_id = kSessionId;
        msg.presence = ZELL_REQUEST_MSG_HAS_SESSION_ID;
        backend_conns.handles[5] = kBackend5;
        backend_conns.handles[6] = kBackend6;
        session_conns.handles[4] = kSession4;
        session_conns.handles[6] = kSession6;
        backend.conns = &backend_conns;
        backend_session.backend = &backend;
        backend_session.session_conns = &session_conns;
        backend_sessions[0] = &backend_session;
        me_session.backend_sessions = backend_sessions;
        session.me_session = &me_session;
        ASSERT_EQ(zell_host_add_session(kSessionId, &session), 0);
    }

    // Both forms of a line logged for the engine: lookup lines carry me,
    // not the mapping context, as their ctx.
    testing::AssertionResult LoggedForMe(std::string_view level, std::string_view text) const {
        char me_text[32];
        std::snprintf(me_text, sizeof me_text, "%p", static_cast<const void *>(&me));
        const std::string filter_line =
            std::string(level) + ": ZELL: ctx=" + me_text + "," + std::string(text);
        const std::string trace_head = std::string(level) + ": " + kLookup + ":";
        const std::string trace_tail = std::string(" ctx=") + me_text + "," + std::string(text);
        const void *filter = level == "ERR" ? me.err_log : me.trc_log;
        bool filter_seen = false, trace_seen = false;
        for (const LogLine &l : log.lines()) {
            filter_seen |= l.handle == filter && l.text == filter_line;
            if (l.handle == me.trace_buf && l.text.starts_with(trace_head) && l.text.ends_with(trace_tail)) {
                const std::string line_no =
                    l.text.substr(trace_head.size(), l.text.size() - trace_head.size() - trace_tail.size());
                trace_seen |=
                    !line_no.empty() && line_no.find_first_not_of("0123456789") == std::string::npos;
            }
        }
        if (filter_seen && trace_seen)
            return testing::AssertionSuccess();
        auto failure = testing::AssertionFailure() << "missing " << level << " '" << text << "'; lines were:";
        for (const LogLine &l : log.lines())
            failure << "\n  " << l.text;
        return failure;
    }

    zell_me me{};
    zell_req_ctx req_ctx{};
    quor_conn_table backend_conns{};
    quor_conn_table session_conns{};
    quor_backend backend{};
    quor_backend_session backend_session{};
    quor_backend_session *backend_sessions[1] = {};
    zell_me_session me_session{};
    zell_session session{};
};

TEST_F(BackendSessionTest, FindsEntryZeroOfTheSessionsBackendSessions) {
    quor_backend_session *found = nullptr;
    ASSERT_EQ(zell_map_get_backend_session(&req_ctx, &found), ZELL_MAP_OK);
    EXPECT_EQ(found, &backend_session);
    EXPECT_TRUE(LoggedForMe("TRC", "Entering zell_map_get_backend_session"));
    EXPECT_TRUE(LoggedForMe("TRC", "This request belongs to session '7'"));
    EXPECT_TRUE(LoggedForMe("TRC", "Exiting zell_map_get_backend_session"));
}

TEST_F(BackendSessionTest, EveryFailureHasItsStatusAndErrorLine) {
    struct Case {
        const char *name;
        std::function<void()> breakage;
        bool pass_out;
        zell_map_status status;
        std::string error;
        bool session_found;
    };
    const std::vector<Case> cases = {
        {"no message", [&] { req_ctx.msg = nullptr; }, true, ZELL_MAP_ERR_INVALID_ARG,
         "NULL argument(s) passed!", false},
        {"no out pointer", [] {}, false, ZELL_MAP_ERR_INVALID_ARG, "NULL argument(s) passed!", false},
        {"session id without its presence bit", [&] { msg.presence = ~ZELL_REQUEST_MSG_HAS_SESSION_ID; },
         true, ZELL_MAP_ERR_INVALID_ARG, "Missing session id in request!", false},
        {"unknown session", [&] { msg.session_id = 99; }, true, ZELL_MAP_ERR_INVALID_ARG,
         "Session with id=99 not found!", false},
        {"session without me_session", [&] { session.me_session = nullptr; }, true, ZELL_MAP_ERR_NOT_FOUND,
         "NULL me_session or backend_sessions!", true},
        {"no backend sessions", [&] { me_session.backend_sessions = nullptr; }, true, ZELL_MAP_ERR_NOT_FOUND,
         "NULL me_session or backend_sessions!", true},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        log.clear();
        c.breakage();
        quor_backend_session *found = &backend_session + 1; // must stay as it is
        quor_backend_session *const before = found;
        EXPECT_EQ(zell_map_get_backend_session(&req_ctx, c.pass_out ? &found : nullptr), c.status);
        EXPECT_EQ(found, before);
        EXPECT_TRUE(LoggedForMe("TRC", "Entering zell_map_get_backend_session"));
        EXPECT_TRUE(LoggedForMe("ERR", c.error));
        EXPECT_EQ(LoggedForMe("TRC", "This request belongs to session '7'"), c.session_found);
        EXPECT_TRUE(LoggedForMe("TRC", "Exiting zell_map_get_backend_session"));
        if (c.pass_out) { // the handle lookup passes an out pointer of its own
            log.clear();
            EXPECT_EQ(zell_map_get_quor_conn_hdl(&ctx, 3, 0, 0), 0u) << "a failed lookup yields no handle";
            EXPECT_TRUE(LoggedForMe("ERR", c.error));
        }
    }
}

TEST_F(BackendSessionTest, AMissingContextOrEngineIsRefusedSilently) {
    quor_backend_session *found = nullptr;
    EXPECT_EQ(zell_map_get_backend_session(nullptr, &found), ZELL_MAP_ERR_INVALID_ARG);
    req_ctx.me = nullptr;
    EXPECT_EQ(zell_map_get_backend_session(&req_ctx, &found), ZELL_MAP_ERR_INVALID_ARG);
    EXPECT_EQ(found, nullptr);
    EXPECT_TRUE(log.lines().empty());
    ctx.req_ctx = nullptr;
    EXPECT_EQ(zell_map_get_quor_conn_hdl(&ctx, 0, 0, 0), 0u);
    EXPECT_EQ(zell_map_get_quor_conn_hdl(nullptr, 0, 0, 0), 0u);
}

TEST_F(BackendSessionTest, HandleSelectionByKindAndFlags) {
    struct Case {
        uint32_t kind;
        int32_t flag_a, flag_b;
        uint32_t handle;
    };
    const Case cases[] = {
        {0, 0, 0, kBackend6},   {0, 1, 0, kBackend6},   {0, 0, 1, kBackend5}, {0, 1, -1, kBackend5},
        {1, 0, 0, kBackend6},   {1, 1, 0, kBackend6},   {1, 0, 1, kBackend5}, {1, 1, 1, kBackend5},
        {2, 0, 0, kSession4},   {2, 0, 1, kSession4},   {2, 1, 0, kSession6}, {2, -5, 1, kSession6},
        {3, 0, 0, kBackend5},   {3, 1, 1, kBackend5},   {4, 0, 0, 0},         {4, 1, 1, 0},
        {0xFFFFFFFFu, 0, 0, 0}, {0xFFFFFFFFu, 1, 1, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message()
                     << "kind " << c.kind << " flag_a " << c.flag_a << " flag_b " << c.flag_b);
        EXPECT_EQ(quor_backend_get_quor_conn(&backend_session, c.kind, c.flag_a, c.flag_b), c.handle);
        EXPECT_EQ(zell_map_get_quor_conn_hdl(&ctx, c.kind, c.flag_a, c.flag_b), c.handle);
    }
}

TEST_F(BackendSessionTest, AMissingRecordOrTableYieldsNoHandle) {
    EXPECT_EQ(quor_backend_get_quor_conn(nullptr, 0, 0, 0), 0u);
    backend.conns = nullptr;
    EXPECT_EQ(quor_backend_get_quor_conn(&backend_session, 0, 0, 0), 0u);
    EXPECT_EQ(quor_backend_get_quor_conn(&backend_session, 2, 0, 0), kSession4)
        << "the session table is separate";
    backend_session.session_conns = nullptr;
    EXPECT_EQ(quor_backend_get_quor_conn(&backend_session, 2, 0, 0), 0u);
    backend_session.backend = nullptr;
    backend_session.session_conns = &session_conns;
    EXPECT_EQ(quor_backend_get_quor_conn(&backend_session, 2, 0, 0), 0u) << "no backend, no handle";
}

TEST_F(BackendSessionTest, ErrorOptionIsHandedOutUnchanged) {
    for (const int32_t option : {0, 1, 2, -1}) {
        msg.error_option = option;
        EXPECT_EQ(zell_map_get_error_option(&ctx), option);
    }
    request.msg = nullptr;
    EXPECT_EQ(zell_map_get_error_option(&ctx), 0);
    EXPECT_EQ(zell_map_get_error_option(nullptr), 0);
}

TEST(Timestamp, IsWallClockMicrosecondsModulo2To32) {
    timeval now{};
    gettimeofday(&now, nullptr);
    const uint32_t expected =
        static_cast<uint32_t>(now.tv_sec) * 1000000u + static_cast<uint32_t>(now.tv_usec);
    const uint32_t first = zell_map_get_timestamp();
    EXPECT_LT(first - expected, 1000000u) << "within a second of the wall clock";
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const uint32_t elapsed = zell_map_get_timestamp() - first;
    EXPECT_GE(elapsed, 20000u);
    EXPECT_LT(elapsed, 2000000u);
}

} // namespace
} // namespace zell::test
