// Bounded copies: results, destination contents and bytes past the bound.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "harness.h"

namespace {

enum class Op { Copy, Concat, SafeStrncpy };

struct Case {
    const char *name;
    Op op;
    const char *initial; // destination before the call
    std::size_t size;    // dmax, or dst_size of zell_safe_strncpy
    const char *src;     // nullptr: NULL source
    bool ok;
    const char *expect; // destination after the call; nullptr: untouched
    std::size_t count = 0;
};

const Case kCases[] = {
    {"copy exact fit", Op::Copy, "old", 4, "abc", true, "abc"},
    {"copy one too long", Op::Copy, "old", 3, "abc", false, ""},
    {"copy NULL source", Op::Copy, "old", 8, nullptr, false, ""},
    {"copy dmax 0", Op::Copy, "old", 0, "abc", false, nullptr},
    {"copy dmax above RSIZE_MAX", Op::Copy, "old", SIZE_MAX, "abc", false, nullptr},
    {"cat exact fit", Op::Concat, "ab", 5, "cd", true, "abcd"},
    {"cat one too long", Op::Concat, "ab", 4, "cd", false, ""},
    {"cat destination unterminated within dmax", Op::Concat, "abcdef", 4, "x", false, ""},
    {"strncpy count cuts", Op::SafeStrncpy, "old", 4, "hello", true, "hel", 3},
    {"strncpy no room for terminator", Op::SafeStrncpy, "old", 5, "hello", false, "", 9},
    {"strncpy NULL source", Op::SafeStrncpy, "old", 5, nullptr, false, "", 3},
    {"strncpy size 0", Op::SafeStrncpy, "old", 0, "hello", false, nullptr, 3},
};

TEST(BoundedStrings, FollowTheirConstraintsAndNeverWritePastTheBound) {
    for (const Case &c : kCases) {
        SCOPED_TRACE(c.name);
        char buf[32];
        std::memset(buf, '#', sizeof buf);
        std::strcpy(buf, c.initial);
        char before[sizeof buf];
        std::memcpy(before, buf, sizeof buf);
        const int rc = c.op == Op::Copy     ? strcpy_s(buf, c.size, c.src)
                       : c.op == Op::Concat ? strcat_s(buf, c.size, c.src)
                                            : zell_safe_strncpy(buf, c.size, c.src, c.count);
        EXPECT_EQ(rc == 0, c.ok) << rc;
        if (c.expect == nullptr) {
            EXPECT_EQ(std::memcmp(buf, before, sizeof buf), 0);
            continue;
        }
        EXPECT_STREQ(buf, c.expect);
        const std::size_t first_spare = std::max(c.size, std::strlen(c.initial) + 1);
        EXPECT_TRUE(std::all_of(buf + std::min(first_spare, sizeof buf), buf + sizeof buf,
                                [](char ch) { return ch == '#'; }));
    }
}

TEST(BoundedStrings, RejectNullDestinationAndOverlap) {
    EXPECT_NE(strcpy_s(nullptr, 8, "abc"), 0);
    EXPECT_NE(strcat_s(nullptr, 8, "abc"), 0);
    EXPECT_NE(zell_safe_strncpy(nullptr, 8, "abc", 3), 0);
    char buf[16] = "abcdef";
    EXPECT_NE(strcpy_s(buf, sizeof buf, buf + 2), 0);
    EXPECT_EQ(buf[0], '\0');
    std::strcpy(buf, "abc");
    EXPECT_NE(strcat_s(buf, sizeof buf, buf), 0);
    EXPECT_EQ(buf[0], '\0');
}

} // namespace
