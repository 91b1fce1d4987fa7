// Bounded copies: results, destination contents and bytes past the bound.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "harness.h"

namespace {

constexpr std::size_t kBuf = 32;
constexpr char kFill = '#';

struct AnnexKCase {
    const char *name;
    bool concat;
    const char *initial; // destination before the call
    rsize_t dmax;
    const char *src; // nullptr: NULL source
    bool ok;
    const char *expect; // destination after the call; nullptr: untouched
};

const AnnexKCase kAnnexKCases[] = {
    {"copy fits", false, "old", 8, "abc", true, "abc"},
    {"copy exact fit", false, "old", 4, "abc", true, "abc"},
    {"copy one too long", false, "old", 3, "abc", false, ""},
    {"copy empty", false, "old", 1, "", true, ""},
    {"copy NULL source", false, "old", 8, nullptr, false, ""},
    {"copy dmax 0", false, "old", 0, "abc", false, nullptr},
    {"copy dmax above RSIZE_MAX", false, "old", SIZE_MAX, "abc", false, nullptr},
    {"cat fits", true, "ab", 8, "cd", true, "abcd"},
    {"cat exact fit", true, "ab", 5, "cd", true, "abcd"},
    {"cat one too long", true, "ab", 4, "cd", false, ""},
    {"cat destination unterminated within dmax", true, "abcdef", 4, "x", false, ""},
    {"cat NULL source", true, "ab", 8, nullptr, false, ""},
    {"cat dmax 0", true, "ab", 0, "cd", false, nullptr},
};

TEST(AnnexKStrings, FollowRuntimeConstraintsAndNeverWritePastDmax) {
    for (const AnnexKCase &c : kAnnexKCases) {
        SCOPED_TRACE(c.name);
        char buf[kBuf];
        std::memset(buf, kFill, sizeof buf);
        std::strcpy(buf, c.initial);
        const std::string before(buf, sizeof buf);
        const errno_t rc = c.concat ? strcat_s(buf, c.dmax, c.src) : strcpy_s(buf, c.dmax, c.src);
        EXPECT_EQ(rc == 0, c.ok) << rc;
        if (c.expect == nullptr) {
            EXPECT_EQ(std::string(buf, sizeof buf), before);
            continue;
        }
        EXPECT_STREQ(buf, c.expect);
        for (std::size_t i = std::max<std::size_t>(c.dmax, std::strlen(c.initial) + 1); i < kBuf; ++i)
            ASSERT_EQ(buf[i], kFill) << "byte " << i << " written";
    }
}

TEST(AnnexKStrings, RejectNullDestinationAndOverlap) {
    EXPECT_NE(strcpy_s(nullptr, 8, "abc"), 0);
    EXPECT_NE(strcat_s(nullptr, 8, "abc"), 0);

    char buf[16] = "abcdef";
    EXPECT_NE(strcpy_s(buf, sizeof buf, buf + 2), 0);
    EXPECT_EQ(buf[0], '\0');
    std::strcpy(buf, "abc");
    EXPECT_NE(strcat_s(buf, sizeof buf, buf), 0);
    EXPECT_EQ(buf[0], '\0');
    // Adjacent but disjoint objects are fine.
    char pair[16] = "xyz";
    std::strcpy(pair + 8, "uvw");
    EXPECT_EQ(strcpy_s(pair, 8, pair + 8), 0);
    EXPECT_STREQ(pair, "uvw");
}

struct StrncpyCase {
    const char *name;
    std::size_t dst_size;
    const char *src;
    std::size_t count;
    bool ok;
    const char *expect; // nullptr: untouched
};

const StrncpyCase kStrncpyCases[] = {
    {"whole string", 8, "hello", 10, true, "hello"},
    {"count cuts", 8, "hello", 3, true, "hel"},
    {"count cut fills exactly", 5, "hello", 4, true, "hell"},
    {"no room for terminator", 5, "hello", 5, false, ""},
    {"count 0", 5, "hello", 0, true, ""},
    {"NULL source", 5, nullptr, 3, false, ""},
    {"size 0", 0, "hello", 3, false, nullptr},
};

TEST(SafeStrncpy, CopiesAtMostCountAndFailsWhenItCannotTerminate) {
    for (const StrncpyCase &c : kStrncpyCases) {
        SCOPED_TRACE(c.name);
        char buf[kBuf];
        std::memset(buf, kFill, sizeof buf);
        EXPECT_EQ(zell_safe_strncpy(buf, c.dst_size, c.src, c.count) == 0, c.ok);
        if (c.expect != nullptr) {
            EXPECT_STREQ(buf, c.expect);
        }
        for (std::size_t i = c.dst_size; i < kBuf; ++i)
            ASSERT_EQ(buf[i], kFill) << "byte " << i << " written";
    }
    EXPECT_NE(zell_safe_strncpy(nullptr, 8, "a", 1), 0);
}

} // namespace
