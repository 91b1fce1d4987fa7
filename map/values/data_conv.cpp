// Conversion of raw backend values (decimal text) into YANG value text.
#include <charconv>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "zell_map_data_conv.h"

namespace {

constexpr size_t kBpsBufferSize = 20;         // 13 digits at most, and the terminator
constexpr size_t kDateAndTimeBufferSize = 21; // "YYYY-MM-DDThh:mm:ssZ" and the terminator

constexpr bool is_space(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// Leading white space and an optional '+' are skipped and the digits that
// follow are read; text without them reads as 0 and values beyond 32 bits
// saturate. A '-' is no part of an unsigned number and also reads as 0.
constexpr uint32_t parse_u32(std::string_view in) noexcept {
    size_t i = 0;
    while (i < in.size() && is_space(in[i]))
        ++i;
    if (i < in.size() && in[i] == '+')
        ++i;
    uint64_t value = 0;
    for (; i < in.size() && in[i] >= '0' && in[i] <= '9'; ++i) {
        value = value * 10 + static_cast<uint64_t>(in[i] - '0');
        if (value > UINT32_MAX)
            return UINT32_MAX;
    }
    return static_cast<uint32_t>(value);
}

static_assert(parse_u32(" \t+42x") == 42);
static_assert(parse_u32("99999999999999999999999") == UINT32_MAX);
static_assert(parse_u32("-5") == 0);

struct CivilDate {
    int64_t year;
    unsigned month; // 1..12
    unsigned day;   // 1..31
};

// Day number since 1970-01-01 to the proleptic Gregorian calendar date,
// counting in 400-year eras that start on March 1st.
constexpr CivilDate civil_from_days(int64_t days) noexcept {
    days += 719468;
    const int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const auto day_of_era = static_cast<uint64_t>(days - era * 146097);
    const uint64_t year_of_era =
        (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
    const uint64_t day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
    const uint64_t shifted_month = (5 * day_of_year + 2) / 153; // 0 = March
    const auto day = static_cast<unsigned>(day_of_year - (153 * shifted_month + 2) / 5 + 1);
    const auto month = static_cast<unsigned>(shifted_month < 10 ? shifted_month + 3 : shifted_month - 9);
    const int64_t year = static_cast<int64_t>(year_of_era) + era * 400 + (month <= 2 ? 1 : 0);
    return {year, month, day};
}

static_assert(civil_from_days(0).year == 1970 && civil_from_days(0).month == 1 &&
              civil_from_days(0).day == 1);
static_assert(civil_from_days(11016).month == 2 && civil_from_days(11016).day == 29);
static_assert(civil_from_days(49709).year == 2106 && civil_from_days(49709).month == 2);

constexpr void put_digits(char *at, uint64_t value, size_t width) noexcept {
    for (size_t i = width; i > 0; --i) {
        at[i - 1] = static_cast<char>('0' + value % 10);
        value /= 10;
    }
}

// Writes "YYYY-MM-DDThh:mm:ssZ" (20 characters) for seconds since the epoch.
constexpr void format_date_and_time(char *out, uint32_t seconds) noexcept {
    constexpr uint32_t kSecondsPerDay = 86400;
    const CivilDate date = civil_from_days(seconds / kSecondsPerDay);
    const uint32_t in_day = seconds % kSecondsPerDay;
    put_digits(out, static_cast<uint64_t>(date.year), 4);
    out[4] = '-';
    put_digits(out + 5, date.month, 2);
    out[7] = '-';
    put_digits(out + 8, date.day, 2);
    out[10] = 'T';
    put_digits(out + 11, in_day / 3600, 2);
    out[13] = ':';
    put_digits(out + 14, in_day / 60 % 60, 2);
    out[16] = ':';
    put_digits(out + 17, in_day % 60, 2);
    out[19] = 'Z';
}

// Parses the input and writes its conversion into a new buffer of size
// bytes. The buffer is stored in *out at once, so that *out is NULL after a
// failure.
template <typename Write>
zell_map_status convert(const char *in, char **out, size_t size, Write write) noexcept {
    if (out == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    *out = nullptr;
    if (in == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    *out = static_cast<char *>(rask_named_calloc_(1, size, "ZELL_CONV", 0));
    if (*out == nullptr)
        return ZELL_MAP_ERR_NO_MEMORY;
    write(*out, parse_u32(in));
    return ZELL_MAP_OK;
}

} // namespace

extern "C" {

zell_map_status zell_map_data_kbs_uint32_yang_bps_uint64(const char *in, uint32_t, char **out) noexcept {
    return convert(in, out, kBpsBufferSize, [](char *buffer, uint32_t kbs) {
        (void)std::to_chars(buffer, buffer + kBpsBufferSize - 1, uint64_t{kbs} * 1000);
    });
}

zell_map_status zell_map_data_intf_secs_uint32_to_yang_date_and_time(const char *in, uint32_t,
                                                                     char **out) noexcept {
    return convert(in, out, kDateAndTimeBufferSize, format_date_and_time);
}

const zell_map_data_conv_entry zell_map_data_conv_cb_tab[ZELL_MAP_DATA_CONV_COUNT] = {
    {ZELL_MAP_DATA_CONV_KBS_TO_BPS, zell_map_data_kbs_uint32_yang_bps_uint64},
    {ZELL_MAP_DATA_CONV_SECS_TO_DATE_AND_TIME, zell_map_data_intf_secs_uint32_to_yang_date_and_time},
};

zell_map_status zell_map_data_conv(uint32_t id, const char *in, char **out) noexcept {
    if (out == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    if (id >= ZELL_MAP_DATA_CONV_COUNT || in == nullptr) {
        *out = nullptr;
        return ZELL_MAP_ERR_INVALID_ARG;
    }
    return zell_map_data_conv_cb_tab[id].cb(in, static_cast<uint32_t>(std::strlen(in)), out);
}

} // extern "C"
