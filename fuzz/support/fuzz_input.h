// The bytes of one fuzz input, read front to back. Every read succeeds: an
// exhausted input reads as zeros, so a decoder never needs a length check.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace zell::fuzz {

class Bytes {
  public:
    Bytes(const uint8_t *data, size_t size) noexcept : rest_(data, size) {}

    bool empty() const noexcept { return rest_.empty(); }

    uint8_t byte() noexcept {
        if (rest_.empty())
            return 0;
        const uint8_t b = rest_.front();
        rest_ = rest_.subspan(1);
        return b;
    }

    // One entry of a table, chosen by the next byte.
    template <typename T, size_t N> const T &pick(const T (&table)[N]) noexcept { return table[byte() % N]; }

    // Up to max_len bytes taken as they are (NULs dropped, so the text
    // survives as a C string).
    std::string text(size_t max_len) {
        const size_t wanted = byte() % (max_len + 1); // read before rest_ is measured
        const size_t len = std::min(wanted, rest_.size());
        std::string out;
        for (uint8_t b : rest_.first(len))
            if (b != 0)
                out.push_back(static_cast<char>(b));
        rest_ = rest_.subspan(len);
        return out;
    }

  private:
    std::span<const uint8_t> rest_;
};

// Stops the run with a message: the fuzzer records the input as a crash.
[[noreturn]] void fail(std::string_view what, std::string_view detail = {});

// Stops the run unless ok.
inline void require(bool ok, std::string_view what, std::string_view detail = {}) {
    if (!ok)
        fail(what, detail);
}

} // namespace zell::fuzz
