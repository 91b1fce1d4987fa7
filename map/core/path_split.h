// The library's one path splitter. Components are separated by "/"; runs of
// separators count as one and leading or trailing separators are ignored, so
// "/a//b/" names a and b. The position lives in the splitter object, never
// in process-wide state.
#pragma once

#include <string_view>

namespace zell::map {

class PathSplitter {
  public:
    explicit constexpr PathSplitter(std::string_view path) noexcept : rest_(path) {}

    // True when another component follows.
    constexpr bool has_next() const noexcept { return rest_.find_first_not_of('/') != std::string_view::npos; }

    // The next component, or an empty view when none is left. The separator
    // that ends the component is consumed with it.
    constexpr std::string_view next() noexcept {
        const size_t start = rest_.find_first_not_of('/');
        if (start == std::string_view::npos) {
            rest_ = {};
            return {};
        }
        rest_.remove_prefix(start);
        const size_t end = rest_.find('/');
        const std::string_view component = rest_.substr(0, end);
        rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
        return component;
    }

  private:
    std::string_view rest_;
};

// The same splitting over a writable string that is cut in place: each
// component comes back NUL-terminated, the separator after it overwritten.
class PathCutter {
  public:
    explicit PathCutter(char *path) noexcept : split_(path != nullptr ? std::string_view(path) : std::string_view()) {}

    bool has_next() const noexcept { return split_.has_next(); }

    // The next component, or nullptr when none is left.
    char *next() noexcept {
        const std::string_view component = split_.next();
        if (component.empty())
            return nullptr;
        char *start = const_cast<char *>(component.data());
        start[component.size()] = '\0';
        return start;
    }

  private:
    PathSplitter split_;
};

} // namespace zell::map
