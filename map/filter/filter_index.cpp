#include "filter/filter_index.h"

#include <algorithm>
#include <bit>
#include <functional>

#include "core/node.h"
#include "filter/response_filter.h"
#include "zell_map_filter.h"

namespace zell::map {

struct FilterIndex::Entry {
    uint64_t hash;
    int32_t next;   // the next entry of its bucket, -1 for none
    uint32_t seen;  // the stamp of the response child it was last offered to
    bool keyed;     // matched by its first valued key, not by its tag alone
    bool indexed;   // false: a key that nothing can hold, never offered
    bool taken;
};

namespace {

constexpr uint64_t kFnvBasis = 0xcbf29ce484222325ULL;
constexpr uint64_t kFnvPrime = 0x100000001b3ULL;

// FNV-1a over the string and a terminator, so that ("ab", "c") and
// ("a", "bc") differ.
uint64_t mix(uint64_t hash, const char *s) noexcept {
    for (; *s != '\0'; ++s)
        hash = (hash ^ static_cast<unsigned char>(*s)) * kFnvPrime;
    return (hash ^ 0x100) * kFnvPrime;
}

uint64_t tag_hash(const char *tag) noexcept {
    return mix(kFnvBasis, tag);
}

uint64_t key_hash(const char *tag, const char *key_tag, const char *key_value) noexcept {
    return mix(mix(mix(kFnvBasis ^ 1, tag), key_tag), key_value);
}

std::size_t buckets_for(std::size_t n) noexcept {
    return std::bit_ceil(std::max<std::size_t>(2 * n, 2));
}

constexpr std::size_t aligned(std::size_t bytes) noexcept {
    return (bytes + 7) & ~std::size_t{7};
}

// The first key leaf of a filter list entry that carries a value, when
// the entry is matched by its keys.
const zell_datatree *first_valued_key(const zell_datatree &child) noexcept {
    if (!is_list_entry(child))
        return nullptr;
    zell_map_dfs_key_info keys{};
    if (zell_map_datatree_get_keys(&child, &keys) == 0)
        return nullptr;
    for (int32_t k = 0; k < keys.key_count; ++k)
        if (keys.key_has_value[k] == 1)
            return &children(child)[static_cast<std::size_t>(keys.key_pos[k])];
    return nullptr;
}

} // namespace

std::size_t FilterIndex::bytes_for(std::size_t n) noexcept {
    return aligned(buckets_for(n) * sizeof(int32_t)) + aligned(n * sizeof(Entry)) +
           aligned(n * sizeof(const char *)) + aligned(n * sizeof(int32_t));
}

void FilterIndex::build(const zell_datatree &filter, std::size_t n, unsigned char *area) noexcept {
    filter_ = &filter;
    const std::size_t buckets = buckets_for(n);
    mask_ = buckets - 1;
    heads_ = reinterpret_cast<int32_t *>(area);
    entries_ = reinterpret_cast<Entry *>(area + aligned(buckets * sizeof(int32_t)));
    key_tags_ = reinterpret_cast<const char **>(reinterpret_cast<unsigned char *>(entries_) + aligned(n * sizeof(Entry)));
    candidates_ = reinterpret_cast<int32_t *>(reinterpret_cast<unsigned char *>(key_tags_) +
                                              aligned(n * sizeof(const char *)));
    n_key_tags_ = 0;
    std::fill_n(heads_, buckets, -1);
    const auto kids = children(filter);
    for (std::size_t c = 0; c < n; ++c) {
        Entry &entry = entries_[c];
        entry = Entry{tag_hash(kids[c].tag), -1, 0, false, true, false};
        if (const zell_datatree *key = first_valued_key(kids[c])) {
            entry.keyed = true;
            // A key without tag or value is held by no instance.
            entry.indexed = key->tag != nullptr && key->data != nullptr;
            if (!entry.indexed)
                continue;
            entry.hash = key_hash(kids[c].tag, key->tag, key->data);
            const auto known = std::span(key_tags_, n_key_tags_);
            if (std::none_of(known.begin(), known.end(), [key](const char *t) { return same(t, key->tag); }))
                key_tags_[n_key_tags_++] = key->tag;
        }
        int32_t &head = heads_[entry.hash & mask_];
        entry.next = head;
        head = static_cast<int32_t>(c);
    }
}

void FilterIndex::add_candidates(uint64_t hash, const zell_datatree &data_child, bool keyed,
                                 uint32_t stamp) noexcept {
    const auto kids = children(*filter_);
    for (int32_t c = heads_[hash & mask_]; c >= 0; c = entries_[c].next) {
        Entry &entry = entries_[c];
        if (entry.hash != hash || entry.keyed != keyed || entry.seen == stamp ||
            !same(kids[static_cast<std::size_t>(c)].tag, data_child.tag))
            continue;
        entry.seen = stamp;
        candidates_[n_candidates_++] = c;
    }
}

std::span<const int32_t> FilterIndex::candidates(const zell_datatree &data_child, std::size_t position) noexcept {
    n_candidates_ = 0;
    if (data_child.tag == nullptr)
        return {};
    const auto stamp = static_cast<uint32_t>(position + 1);
    add_candidates(tag_hash(data_child.tag), data_child, false, stamp);
    for (const char *key_tag : std::span(key_tags_, n_key_tags_))
        for (const zell_datatree &leaf : children(data_child))
            if (leaf.data != nullptr && same(leaf.tag, key_tag))
                add_candidates(key_hash(data_child.tag, key_tag, leaf.data), data_child, true, stamp);
    std::sort(candidates_, candidates_ + n_candidates_, std::greater<>());
    return {candidates_, n_candidates_};
}

bool FilterIndex::taken(std::size_t c) const noexcept {
    return entries_[c].taken;
}

void FilterIndex::take(std::size_t c) noexcept {
    entries_[c].taken = true;
}

} // namespace zell::map
