// IPv4 address texts: a check of the whole text against one pattern, and
// the split of an address/length prefix.
#include <regex.h>

#include <atomic>
#include <cstring>
#include <mutex>

#include "core/path_split.h"
#include "zell_map_values.h"

using namespace zell::map;

namespace {

// Four octets of 0 to 255 without leading zeros, optionally "%zone".
constexpr const char kIpv4Pattern[] = "^(([0-9]|[1-9][0-9]|1([0-9][0-9])|2([0-4][0-9])|25[0-5])\\."
                                      "([0-9]|[1-9][0-9]|1([0-9][0-9])|2([0-4][0-9])|25[0-5])\\."
                                      "([0-9]|[1-9][0-9]|1([0-9][0-9])|2([0-4][0-9])|25[0-5])\\."
                                      "([0-9]|[1-9][0-9]|1([0-9][0-9])|2([0-4][0-9])|25[0-5]))"
                                      "(%[[:digit:][:alpha:]]+)?$";

// Compiled on first use and shared by every thread. A failed compilation
// (memory exhaustion) is tried again by the next call. Without REG_NEWLINE
// "$" matches only at the end, so a text with a newline is refused.
class Ipv4Regex {
  public:
    const regex_t *get() noexcept {
        if (ready_.load(std::memory_order_acquire))
            return &regex_;
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!ready_.load(std::memory_order_relaxed)) {
            if (regcomp(&regex_, kIpv4Pattern, REG_EXTENDED | REG_NOSUB) != 0)
                return nullptr;
            ready_.store(true, std::memory_order_release);
        }
        return &regex_;
    }

  private:
    std::atomic<bool> ready_{false};
    std::mutex mutex_;
    regex_t regex_{};
};

} // namespace

extern "C" {

int zell_map_is_valid_ipv4_addr(const char *address) noexcept {
    static Ipv4Regex pattern;
    if (address == nullptr)
        return 0;
    const regex_t *regex = pattern.get();
    return regex != nullptr && regexec(regex, address, 0, nullptr, 0) == 0 ? 1 : 0;
}

char *zell_map_get_ip_address_info(char *prefix) noexcept {
    return PathCutter(prefix).next();
}

const char *zell_map_get_ip_address_len_info(const char *prefix) noexcept {
    const char *slash = prefix != nullptr ? std::strchr(prefix, '/') : nullptr;
    return slash != nullptr ? slash + 1 : nullptr;
}

} // extern "C"
