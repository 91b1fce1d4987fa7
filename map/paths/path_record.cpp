// The path-recording table: 20 entries of 250 characters. A path
// is covered when it and a recorded entry agree over the shorter of the two.
#include <algorithm>
#include <cstring>
#include <string_view>

#include "paths/path_record.h"
#include "core/path_split.h"
#include "zell_map_path.h"

using namespace zell::map;

namespace {

int32_t entries_in_use(const zell_map_request &request) noexcept {
    return std::clamp<int32_t>(request.n_xpaths, 0, ZELL_MAP_XPATH_MAX);
}

bool is_covered(const zell_map_request &request, std::string_view path) noexcept {
    const int32_t used = entries_in_use(request);
    for (int32_t i = 0; i < used; ++i) {
        const char *entry = request.xpaths[i];
        const size_t m = std::min(strnlen(entry, ZELL_MAP_XPATH_LEN), path.size());
        if (std::memcmp(entry, path.data(), m) == 0)
            return true;
    }
    return false;
}

// Cuts the copy just before its last component (separators as the splitter
// reads them); false when no component is left before it.
bool cut_last_component(char *copy) noexcept {
    PathSplitter split(copy);
    std::string_view last;
    for (std::string_view component = split.next(); !component.empty(); component = split.next())
        last = component;
    if (last.empty())
        return false;
    copy[last.data() - copy] = '\0';
    return PathSplitter(copy).has_next();
}

} // namespace

namespace zell::map {

Recording record_path(const Log &log, zell_map_request &request, char *copy) noexcept {
    const std::string_view path(copy);
    if (is_covered(request, path))
        return Recording::Covered;
    const int32_t used = entries_in_use(request);
    if (used < ZELL_MAP_XPATH_MAX) {
        char *entry = request.xpaths[used];
        if (zell_safe_strncpy(entry, ZELL_MAP_XPATH_LEN, copy, path.size()) != 0)
            return Recording::Covered;
        entry[path.size()] = '\0';
        request.n_xpaths = used + 1;
    } else {
        ZELL_LOG(log, ERR, "Path table full, '%s' not recorded", copy);
    }
    if (request.xpath_mode != 2 && !cut_last_component(copy))
        return Recording::NothingLeft;
    return Recording::Insert;
}

} // namespace zell::map

extern "C" void zell_map_clear_xpath_ctx(zell_map_ctx *ctx) noexcept {
    if (ctx == nullptr || ctx->request == nullptr)
        return;
    std::memset(ctx->request->xpaths, 0, sizeof ctx->request->xpaths);
    ctx->request->n_xpaths = 0;
}
