// XML whitespace (space, tab, line feed, carriage return): what the reader
// drops between elements and what a filter's content text is trimmed of.
#pragma once

#include <string_view>

namespace zell::map {

constexpr bool is_xml_space(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

constexpr std::string_view trim_xml_space(std::string_view text) noexcept {
    while (!text.empty() && is_xml_space(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && is_xml_space(text.back()))
        text.remove_suffix(1);
    return text;
}

constexpr bool all_xml_space(std::string_view text) noexcept {
    return trim_xml_space(text).empty();
}

} // namespace zell::map
