// The framework's session table, as far as lookups by id go.
#include <algorithm>
#include <array>
#include <mutex>

#include "zell_host.h"
#include "host_internal.h"

namespace {

constexpr std::size_t kMaxSessions = 64;

struct Entry {
    int32_t id = 0;
    zell_session *session = nullptr; // NULL: slot free
};

std::mutex g_mutex;
std::array<Entry, kMaxSessions> g_table;

Entry *find(int32_t id) noexcept {
    const auto it =
        std::ranges::find_if(g_table, [id](const Entry &e) { return e.session != nullptr && e.id == id; });
    return it == g_table.end() ? nullptr : &*it;
}

} // namespace

void zell::host::clear_sessions() noexcept {
    const std::lock_guard lock(g_mutex);
    g_table.fill(Entry{});
}

extern "C" {

int zell_host_add_session(int32_t session_id, zell_session *session) noexcept {
    if (session == nullptr)
        return -1;
    const std::lock_guard lock(g_mutex);
    Entry *entry = find(session_id);
    if (entry == nullptr) {
        const auto free_slot = std::ranges::find(g_table, nullptr, &Entry::session);
        if (free_slot == g_table.end())
            return -1;
        entry = &*free_slot;
    }
    *entry = Entry{session_id, session};
    return 0;
}

// One table serves every engine on the host, so the engine is not consulted.
zell_session *zell_session_find(zell_me * /*me*/, int32_t session_id) noexcept {
    const std::lock_guard lock(g_mutex);
    const Entry *entry = find(session_id);
    return entry == nullptr ? nullptr : entry->session;
}

} // extern "C"
