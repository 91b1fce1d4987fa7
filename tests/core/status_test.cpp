// Statuses by name.
#include <set>
#include <string>
#include <string_view>

#include "harness.h"

namespace {

#define STATUS(name) {name, #name}

TEST(StatusStr, NamesEveryStatusFollowedByItsMeaning) {
    const struct {
        zell_map_status status;
        std::string_view name;
    } statuses[] = {STATUS(ZELL_MAP_OK), STATUS(ZELL_MAP_ERR_NOT_FOUND), STATUS(ZELL_MAP_ERR_INVALID_ARG),
                    STATUS(ZELL_MAP_ERR_NO_MEMORY), STATUS(ZELL_MAP_ERR_NS_MISMATCH)};
    std::set<std::string> texts;
    for (const auto &[status, name] : statuses) {
        SCOPED_TRACE(name);
        const std::string text = zell_map_status_str(status);
        EXPECT_TRUE(text.starts_with(std::string(name) + ": ")) << text;
        EXPECT_GT(text.size(), name.size() + 10) << "no meaning after the name";
        texts.insert(text);
    }
    EXPECT_EQ(texts.size(), std::size(statuses));
}

TEST(StatusStr, AnyOtherValueIsUnknown) {
    for (zell_map_status value : {1u, 0xaaf29e01u, 0xaaf2a001u, 0xffffffffu})
        EXPECT_STREQ(zell_map_status_str(value), "unknown status") << std::hex << value;
}

} // namespace
