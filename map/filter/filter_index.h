// An index of one filter level's children by tag and, for list entries
// that name key values, by their first valued key, so that pairing a level
// costs the number of its filter and response children rather than their
// product. It lives in memory that the caller lends (the context's
// scratch) and allocates nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "zell_map_types.h"

namespace zell::map {

class FilterIndex {
  public:
    // Bytes an index over n filter children needs, a multiple of 8.
    static std::size_t bytes_for(std::size_t n) noexcept;

    // Indexes the first n children of filter (all of them tagged) in area,
    // bytes_for(n) bytes aligned to 8, which must outlive the index.
    void build(const zell_datatree &filter, std::size_t n, unsigned char *area) noexcept;

    // The filter children that may pair with response child number
    // position, highest first, each once: those of its tag without valued
    // keys, and the list entries whose first valued key it holds. Valid
    // until the next call.
    std::span<const int32_t> candidates(const zell_datatree &data_child, std::size_t position) noexcept;

    // Whether filter child c paired already, for children that pair once.
    bool taken(std::size_t c) const noexcept;
    void take(std::size_t c) noexcept;

  private:
    struct Entry;

    void add_candidates(uint64_t hash, const zell_datatree &data_child, bool keyed, uint32_t stamp) noexcept;

    const zell_datatree *filter_ = nullptr;
    int32_t *heads_ = nullptr; // first entry of each bucket, -1 for none
    Entry *entries_ = nullptr;
    const char **key_tags_ = nullptr; // the distinct tags of first valued keys
    int32_t *candidates_ = nullptr;
    std::size_t mask_ = 0;
    std::size_t n_key_tags_ = 0;
    std::size_t n_candidates_ = 0;
};

} // namespace zell::map
