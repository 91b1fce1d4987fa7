// Statuses by name, for the messages callers print.
#include <array>
#include <utility>

#include "zell_map_types.h"

namespace {

constexpr std::array<std::pair<zell_map_status, const char *>, 5> kStatusText = {{
    {ZELL_MAP_OK, "ZELL_MAP_OK: success (also when there was nothing to do)"},
    {ZELL_MAP_ERR_NOT_FOUND,
     "ZELL_MAP_ERR_NOT_FOUND: something looked for is absent (a path component, child, key, list context or "
     "substring to trim by), or the operation needs a context it was not given"},
    {ZELL_MAP_ERR_INVALID_ARG,
     "ZELL_MAP_ERR_INVALID_ARG: a required argument is NULL or invalid, or a list or instance lookup found "
     "nothing"},
    {ZELL_MAP_ERR_NO_MEMORY, "ZELL_MAP_ERR_NO_MEMORY: an allocation or string copy failed, or a table is full"},
    {ZELL_MAP_ERR_NS_MISMATCH,
     "ZELL_MAP_ERR_NS_MISMATCH: a node's data namespace is missing or differs from the expected one"},
}};

} // namespace

extern "C" const char *zell_map_status_str(zell_map_status status) noexcept {
    for (const auto &[value, text] : kStatusText)
        if (value == status)
            return text;
    return "unknown status";
}
