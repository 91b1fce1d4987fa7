// Value conversion and the IPv4 helpers on arbitrary text, against
// references built on the C library: any difference aborts.
#include <arpa/inet.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include "support/fuzz_tree.h"

using namespace zell::fuzz;

namespace {

// Optional white space and '+', then decimal digits saturating at 2^32-1.
uint32_t leading_u32(const std::string &in) {
    size_t at = 0;
    while (at < in.size() && std::isspace(static_cast<unsigned char>(in[at])))
        ++at;
    if (at < in.size() && in[at] == '+')
        ++at;
    uint64_t value = 0;
    for (; at < in.size() && std::isdigit(static_cast<unsigned char>(in[at])); ++at)
        value = std::min<uint64_t>(value * 10 + static_cast<uint64_t>(in[at] - '0'), UINT32_MAX);
    return static_cast<uint32_t>(value);
}

std::string date_of(uint32_t secs) {
    const std::time_t t = secs;
    std::tm tm{};
    gmtime_r(&t, &tm);
    char buf[32];
    std::strftime(buf, sizeof buf, "%Y-%m-%dT%H:%M:%SZ", &tm);
    return buf;
}

// Dotted quad, no leading zeros, then optionally "%" and a zone of letters or digits.
bool valid_ipv4(const std::string &text) {
    const size_t pct = text.find('%');
    const std::string address = text.substr(0, pct);
    if (pct != std::string::npos) {
        for (char c : text.substr(pct + 1))
            if (!std::isalnum(static_cast<unsigned char>(c)))
                return false;
    }
    int octets = 0;
    size_t at = 0;
    while (true) {
        const size_t end = std::min(address.find('.', at), address.size());
        const std::string octet = address.substr(at, end - at);
        if (octet.empty() || octet.size() > 3 || (octet.size() > 1 && octet[0] == '0'))
            return false;
        for (char c : octet)
            if (!std::isdigit(static_cast<unsigned char>(c)))
                return false;
        if (std::stoi(octet) > 255)
            return false;
        ++octets;
        if (end == address.size())
            break;
        at = end + 1;
    }
    return octets == 4;
}

void check_conversion(uint32_t id, const std::string &in, const std::string &want) {
    char *out = nullptr;
    const zell_map_status s = zell_map_data_conv(id, in.c_str(), &out);
    require(s == ZELL_MAP_OK && out != nullptr, "a conversion failed", in);
    const std::string got = out;
    rask_named_free(out);
    require(got == want, "a conversion differs from the reference", in + " -> " + got + ", want " + want);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Session session;
    const std::string in = size == 0 ? std::string()
                                     : std::string(reinterpret_cast<const char *>(data),
                                                   strnlen(reinterpret_cast<const char *>(data), size));
    const uint32_t value = leading_u32(in);
    check_conversion(ZELL_MAP_DATA_CONV_KBS_TO_BPS, in, std::to_string(uint64_t{value} * 1000));
    check_conversion(ZELL_MAP_DATA_CONV_SECS_TO_DATE_AND_TIME, in, date_of(value));

    // An empty zone after "%" is left to the implementation.
    if (!in.ends_with('%') && in.find('\n') == std::string::npos)
        require(zell_map_is_valid_ipv4_addr(in.c_str()) == (valid_ipv4(in) ? 1 : 0),
                "IPv4 validity differs from the reference", in);

    std::string prefix = in;
    const char *len = zell_map_get_ip_address_len_info(prefix.c_str());
    const char *slash = std::strchr(prefix.c_str(), '/');
    require(len == (slash ? slash + 1 : nullptr), "the prefix length is not after the first slash", in);
    (void)zell_map_get_ip_address_info(prefix.data());
    return 0;
}
