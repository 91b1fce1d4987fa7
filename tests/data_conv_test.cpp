// Converting raw backend values through the conversion table.
#include <string>

#include "harness.h"
#include "zell_map_data_conv.h"

namespace zell::test {
namespace {

// Frees the converted text at scope end.
struct Converted {
    char *text = nullptr;
    ~Converted() { rask_named_free(text); }
};

struct ConvCase {
    const char *in;
    const char *out;
};

class DataConvTest : public ::testing::Test {
  protected:
    void SetUp() override {
        zell_host_reset();
        live_at_start = zell_host_live_allocations();
    }
    void TearDown() override {
        zell_host_fail_nth_alloc(0);
        EXPECT_EQ(zell_host_live_allocations(), live_at_start);
    }
    // Converts through the dispatcher and through the table's callback
    // directly; both must agree.
    static void expect_conversions(uint32_t id, std::initializer_list<ConvCase> cases) {
        for (const ConvCase &c : cases) {
            SCOPED_TRACE(std::string("input '") + c.in + "'");
            Converted dispatched;
            ASSERT_EQ(zell_map_data_conv(id, c.in, &dispatched.text), ZELL_MAP_OK);
            ASSERT_NE(dispatched.text, nullptr);
            EXPECT_STREQ(dispatched.text, c.out);
            Converted direct;
            ASSERT_EQ(zell_map_data_conv_cb_tab[id].cb(c.in, 0, &direct.text), ZELL_MAP_OK);
            EXPECT_STREQ(direct.text, c.out);
        }
    }
    long live_at_start = 0;
    char sentinel = 0; // an out value that a call must overwrite
};

TEST_F(DataConvTest, TheTableHoldsEachConversionUnderItsOwnId) {
    ASSERT_EQ(ZELL_MAP_DATA_CONV_COUNT, 2u);
    EXPECT_EQ(zell_map_data_conv_cb_tab[0].id, ZELL_MAP_DATA_CONV_KBS_TO_BPS);
    EXPECT_EQ(zell_map_data_conv_cb_tab[0].cb, &zell_map_data_kbs_uint32_yang_bps_uint64);
    EXPECT_EQ(zell_map_data_conv_cb_tab[1].id, ZELL_MAP_DATA_CONV_SECS_TO_DATE_AND_TIME);
    EXPECT_EQ(zell_map_data_conv_cb_tab[1].cb, &zell_map_data_intf_secs_uint32_to_yang_date_and_time);
}

TEST_F(DataConvTest, KilobitsPerSecondBecomeBitsPerSecondBeyond32Bits) {
    expect_conversions(ZELL_MAP_DATA_CONV_KBS_TO_BPS, {
                                                          {"100", "100000"},
                                                          {"0", "0"},
                                                          {"4294967", "4294967000"},
                                                          {"10000000", "10000000000"},
                                                          {"4294967295", "4294967295000"},
                                                          {"4294967296", "4294967295000"},
                                                          {"99999999999999999999", "4294967295000"},
                                                          {"  \t\n+25", "25000"},
                                                          {"12abc", "12000"},
                                                          {"abc", "0"},
                                                          {"", "0"},
                                                          {"-5", "0"},
                                                          {"+ 5", "0"},
                                                      });
}

TEST_F(DataConvTest, SecondsBecomeAUtcDateAndTime) {
    expect_conversions(ZELL_MAP_DATA_CONV_SECS_TO_DATE_AND_TIME, {
                                                                     {"0", "1970-01-01T00:00:00Z"},
                                                                     {"59", "1970-01-01T00:00:59Z"},
                                                                     {"86399", "1970-01-01T23:59:59Z"},
                                                                     {"951782400", "2000-02-29T00:00:00Z"},
                                                                     {"951868800", "2000-03-01T00:00:00Z"},
                                                                     {"1234567890", "2009-02-13T23:31:30Z"},
                                                                     {"1709251199", "2024-02-29T23:59:59Z"},
                                                                     {"2147483648", "2038-01-19T03:14:08Z"},
                                                                     {"4102444800", "2100-01-01T00:00:00Z"},
                                                                     {"4107456000", "2100-02-28T00:00:00Z"},
                                                                     {"4107542400", "2100-03-01T00:00:00Z"},
                                                                     {"4294967295", "2106-02-07T06:28:15Z"},
                                                                     {"5000000000", "2106-02-07T06:28:15Z"},
                                                                     {" 86400", "1970-01-02T00:00:00Z"},
                                                                     {"none", "1970-01-01T00:00:00Z"},
                                                                 });
}

TEST_F(DataConvTest, UnknownIdsAndNullArgumentsAreRefused) {
    for (const uint32_t id : {2u, 3u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(id);
        char *out = &sentinel;
        EXPECT_EQ(zell_map_data_conv(id, "100", &out), ZELL_MAP_ERR_INVALID_ARG);
        EXPECT_EQ(out, nullptr);
    }
    for (const zell_map_data_conv_entry &entry : zell_map_data_conv_cb_tab) {
        SCOPED_TRACE(entry.id);
        char *out = &sentinel;
        EXPECT_EQ(zell_map_data_conv(entry.id, nullptr, &out), ZELL_MAP_ERR_INVALID_ARG);
        EXPECT_EQ(out, nullptr);
        EXPECT_EQ(zell_map_data_conv(entry.id, "1", nullptr), ZELL_MAP_ERR_INVALID_ARG);
        out = &sentinel;
        EXPECT_EQ(entry.cb(nullptr, 0, &out), ZELL_MAP_ERR_INVALID_ARG);
        EXPECT_EQ(out, nullptr);
        EXPECT_EQ(entry.cb("1", 1, nullptr), ZELL_MAP_ERR_INVALID_ARG);
    }
}

TEST_F(DataConvTest, AFailedAllocationLeavesNoOutput) {
    for (const zell_map_data_conv_entry &entry : zell_map_data_conv_cb_tab) {
        SCOPED_TRACE(entry.id);
        char *out = nullptr;
        for_each_alloc_failure(
            [&](const Arm &arm) {
                out = &sentinel;
                arm();
                return zell_map_data_conv(entry.id, "100", &out);
            },
            [&](zell_map_status status, bool injected) {
                EXPECT_EQ(status, injected ? ZELL_MAP_ERR_NO_MEMORY : ZELL_MAP_OK);
                EXPECT_EQ(out == nullptr, injected);
                rask_named_free(out);
            });
    }
}

} // namespace
} // namespace zell::test
