// Converting raw backend values through the conversion table.
#include "harness.h"
#include "zell_map_data_conv.h"

using namespace zell::test;

namespace {

using DataConvTest = MapTest;

// Each conversion gives its text, or no output with its status: for an unknown id, no input, or whichever
// allocation fails.
TEST_F(DataConvTest, ConvertsByIdOrLeavesNoOutput) {
    constexpr uint32_t kBps = ZELL_MAP_DATA_CONV_KBS_TO_BPS, kDate = ZELL_MAP_DATA_CONV_SECS_TO_DATE_AND_TIME;
    // clang-format off
    const struct { uint32_t id; const char *in, *out; } cases[] = {
        {kBps, "100", "100000"}, {kBps, "4294967", "4294967000"}, {kBps, "4294967295", "4294967295000"},
        {kBps, "4294967296", "4294967295000"}, {kBps, "99999999999999999999", "4294967295000"},
        {kBps, " \t\n+25", "25000"}, {kBps, "12abc", "12000"}, {kBps, "abc", "0"}, {kBps, "-5", "0"},
        {kBps, "+ 5", "0"}, {kDate, "0", "1970-01-01T00:00:00Z"}, {kDate, "none", "1970-01-01T00:00:00Z"},
        {kDate, "951782400", "2000-02-29T00:00:00Z"}, {kDate, "951868800", "2000-03-01T00:00:00Z"},
        {kDate, "4107542400", "2100-03-01T00:00:00Z"}, {kDate, "4294967295", "2106-02-07T06:28:15Z"},
        {kDate, "5000000000", "2106-02-07T06:28:15Z"}, {ZELL_MAP_DATA_CONV_COUNT, "1", nullptr},
        {kBps, nullptr, nullptr}, {kDate, nullptr, nullptr}};
    // clang-format on
    for (const auto &c : cases) {
        char sentinel = 0, *out = nullptr;
        for_each_alloc_failure(
            [&](const Arm &arm) {
                out = &sentinel;
                arm();
                return zell_map_data_conv(c.id, c.in, &out);
            },
            [&](zell_map_status status, bool injected) {
                EXPECT_EQ(status, !c.out     ? ZELL_MAP_ERR_INVALID_ARG
                                  : injected ? ZELL_MAP_ERR_NO_MEMORY
                                             : ZELL_MAP_OK);
                EXPECT_STREQ(out, injected ? nullptr : c.out)
                    << "id " << c.id << ", '" << (c.in ? c.in : "NULL") << "'";
                rask_named_free(out);
            });
    }
    EXPECT_EQ(zell_map_data_conv(kBps, "1", nullptr), ZELL_MAP_ERR_INVALID_ARG);
}

} // namespace
