// The child index of wide parents: per parent, an open-addressing table of
// tag groups and one of key leaves, both in platform memory, found by the
// parent's array pointer. Any allocation failure drops the parent's index
// and the caller scans.
#include "tree/child_index.h"

#include <cstring>

#include "core/node.h"

namespace zell::map {
namespace {

constexpr const char *kMemoryTag = "ZELL MAP child index";
constexpr uint32_t kParentSlots = 8;
constexpr uint64_t kChangeRing = 64; // changes remembered; more between two keyed lookups rebuild the keys

uint64_t fnv(const char *s, uint64_t h = 1469598103934665603ULL) noexcept {
    for (; *s != '\0'; ++s)
        h = (h ^ static_cast<unsigned char>(*s)) * 1099511628211ULL;
    return h;
}
uint64_t tag_hash(const char *tag) noexcept { return fnv(tag) | 1; }
uint64_t key_hash(const char *name, const char *value) noexcept {
    return fnv(value, fnv(name) * 1099511628211ULL) | 1; // 0 marks an empty slot
}

constexpr int kSamples = 3;
constexpr int32_t sample_at(int i, int32_t count) noexcept { return i == 0 ? 0 : i == 1 ? count / 2 : count - 1; }

struct GroupSlot {
    uint64_t hash;
    TagGroup group;
};
struct KeySlot {
    uint64_t hash;
    int32_t position;
};

// A power-of-two table kept at most half full.
template <typename Slot> struct Table {
    Slot *slots = nullptr;
    uint32_t mask = 0;
    uint32_t used = 0;

    void release() noexcept {
        rask_named_free(slots);
        *this = Table{};
    }
    bool reserve(uint32_t wanted) noexcept {
        uint32_t capacity = 16;
        while (capacity < 2 * wanted)
            capacity *= 2;
        if (capacity <= mask + 1 && slots != nullptr)
            return true;
        auto *fresh = static_cast<Slot *>(rask_named_calloc_(capacity, sizeof(Slot), kMemoryTag, 0));
        if (fresh == nullptr)
            return false;
        for (uint32_t i = 0; slots != nullptr && i <= mask; ++i) {
            if (slots[i].hash == 0)
                continue;
            uint32_t at = static_cast<uint32_t>(slots[i].hash) & (capacity - 1);
            while (fresh[at].hash != 0)
                at = (at + 1) & (capacity - 1);
            fresh[at] = slots[i];
        }
        rask_named_free(slots);
        slots = fresh;
        mask = capacity - 1;
        return true;
    }
    // The slot holding hash for which is_it holds, or the empty slot where it goes.
    template <typename Is> Slot &probe(uint64_t hash, Is &&is_it) noexcept {
        for (uint32_t at = static_cast<uint32_t>(hash) & mask;; at = (at + 1) & mask) {
            Slot &slot = slots[at];
            if (slot.hash == 0 || (slot.hash == hash && is_it(slot)))
                return slot;
        }
    }
};

struct ParentIndex {
    const zell_datatree *array = nullptr;
    int32_t count = 0;
    // What the first, middle and last child pointed at: a different tree
    // in the same array differs here.
    struct Sample {
        const char *tag;
        const zell_datatree *subtrees;
    } sample[kSamples] = {};
    Table<GroupSlot> groups;
    bool keyed = false; // keys and leafless are kept
    Table<KeySlot> keys;
    int32_t *leafless = nullptr; // positions of children without leaves
    int32_t n_leafless = 0;
    int32_t leafless_capacity = 0;
    uint64_t seen = 0; // changes applied to the keys

    void release() noexcept {
        groups.release();
        keys.release();
        rask_named_free(leafless);
        *this = ParentIndex{};
    }
    bool matches(const zell_datatree &parent) const noexcept {
        if (array == nullptr || array != parent.subtrees || count != parent.n_subtrees)
            return false;
        for (int i = 0; i < kSamples; ++i) {
            const zell_datatree &child = array[sample_at(i, count)];
            if (sample[i].tag != child.tag || sample[i].subtrees != child.subtrees)
                return false;
        }
        return true;
    }
    void remember_shape(const zell_datatree &parent) noexcept {
        array = parent.subtrees;
        count = parent.n_subtrees;
        for (int i = 0; i < kSamples; ++i) {
            const zell_datatree &child = array[sample_at(i, count)];
            sample[i] = {child.tag, child.subtrees};
        }
    }
};

} // namespace
} // namespace zell::map

struct zell_map_child_index {
    zell::map::ParentIndex parents[zell::map::kParentSlots];
    uint32_t next_victim;
    const zell_datatree *changed[zell::map::kChangeRing];
    uint64_t changes;
};

namespace zell::map {
namespace {

// Children without a tag and namespace follow the scans' own stopping and
// matching rules, so such a parent is never indexed.
bool indexable(const zell_datatree &parent) noexcept {
    constexpr uint32_t kNamed = ZELL_DATATREE_HAS_TAG | ZELL_DATATREE_HAS_NS;
    if (children(parent).size() < static_cast<size_t>(kIndexFromChildren))
        return false;
    for (const zell_datatree &child : children(parent)) {
        if ((child.presence & kNamed) != kNamed || child.tag == nullptr || child.ns == nullptr)
            return false;
    }
    return true;
}

bool add_to_group(ParentIndex &index, int32_t position) noexcept {
    if (!index.groups.reserve(index.groups.used + 1))
        return false;
    const zell_datatree &child = index.array[position];
    GroupSlot &slot = index.groups.probe(tag_hash(child.tag), [&](const GroupSlot &s) {
        return std::strcmp(index.array[s.group.first].tag, child.tag) == 0;
    });
    if (slot.hash == 0) {
        slot.hash = tag_hash(child.tag);
        slot.group = TagGroup{};
        slot.group.first = position;
        ++index.groups.used;
    } else if (!same(index.array[slot.group.first].ns, child.ns)) {
        slot.group.one_ns = false;
    }
    if (child.subtree_index == 0) {
        if (slot.group.first_unnumbered < 0)
            slot.group.first_unnumbered = position;
    } else {
        slot.group.last_numbered = position;
    }
    return true;
}

// Adds the key leaves of the child at position; a child without any is
// remembered as leafless and read again at the next keyed lookup.
bool read_keys(ParentIndex &index, int32_t position) noexcept {
    bool any = false;
    for (const zell_datatree &leaf : children(index.array[position])) {
        if (leaf.tag == nullptr || leaf.data == nullptr)
            continue;
        any = true;
        if (!index.keys.reserve(index.keys.used + 1))
            return false;
        const uint64_t hash = key_hash(leaf.tag, leaf.data);
        KeySlot &slot = index.keys.probe(hash, [&](const KeySlot &s) { return s.position == position; });
        if (slot.hash == 0) {
            slot = {hash, position};
            ++index.keys.used;
        }
    }
    if (any)
        return true;
    if (index.n_leafless == index.leafless_capacity) {
        const int32_t capacity = index.leafless_capacity < 16 ? 16 : 2 * index.leafless_capacity;
        auto *grown = static_cast<int32_t *>(
            rask_named_realloc(index.leafless, static_cast<size_t>(capacity) * sizeof(int32_t)));
        if (grown == nullptr)
            return false;
        index.leafless = grown;
        index.leafless_capacity = capacity;
    }
    index.leafless[index.n_leafless++] = position;
    return true;
}

bool build_keys(ParentIndex &index, uint64_t changes) noexcept {
    index.keys.release();
    index.n_leafless = 0;
    index.keyed = true;
    index.seen = changes;
    if (!index.keys.reserve(static_cast<uint32_t>(index.count)))
        return false;
    for (int32_t i = 0; i < index.count; ++i) {
        if (!read_keys(index, i))
            return false;
    }
    return true;
}

bool build(ParentIndex &index, const zell_datatree &parent) noexcept {
    index.release();
    index.remember_shape(parent);
    if (!index.groups.reserve(static_cast<uint32_t>(index.count)))
        return false;
    for (int32_t i = 0; i < index.count; ++i) {
        if (!add_to_group(index, i))
            return false;
    }
    return true;
}

zell_map_child_index *store_of(zell_map_ctx *ctx) noexcept {
    if (ctx->child_index == nullptr)
        ctx->child_index =
            static_cast<zell_map_child_index *>(rask_named_calloc_(1, sizeof(zell_map_child_index), kMemoryTag, 0));
    return ctx->child_index;
}

ParentIndex *slot_of(zell_map_child_index &store, const zell_datatree *array) noexcept {
    for (ParentIndex &index : store.parents) {
        if (index.array == array)
            return &index;
    }
    return nullptr;
}

// The up-to-date index of parent, built when missing or stale; nullptr when
// the parent is not indexed.
ParentIndex *index_of(zell_map_ctx *ctx, const zell_datatree &parent) noexcept {
    if (ctx == nullptr || children(parent).size() < static_cast<size_t>(kIndexFromChildren))
        return nullptr;
    zell_map_child_index *store = ctx->child_index;
    ParentIndex *index = store != nullptr ? slot_of(*store, parent.subtrees) : nullptr;
    if (index != nullptr && index->matches(parent))
        return index;
    if (!indexable(parent) || (store == nullptr && (store = store_of(ctx)) == nullptr))
        return nullptr;
    if (index == nullptr) {
        index = slot_of(*store, nullptr);
        if (index == nullptr)
            index = &store->parents[store->next_victim++ % kParentSlots];
    }
    if (!build(*index, parent)) {
        index->release();
        return nullptr;
    }
    return index;
}

// Re-reads the children the library changed since the keys last looked;
// the changes name them by their address in noted_in, an array of count
// records that may since have moved to index.array (compared, never read).
bool apply_changes(const zell_map_child_index &store, ParentIndex &index, const zell_datatree *noted_in,
                   int32_t count) noexcept {
    if (store.changes - index.seen > kChangeRing)
        return build_keys(index, store.changes);
    const auto base = reinterpret_cast<uintptr_t>(noted_in);
    for (uint64_t c = index.seen; c < store.changes; ++c) {
        const auto node = reinterpret_cast<uintptr_t>(store.changed[c % kChangeRing]);
        if (node < base || node >= base + static_cast<uintptr_t>(count) * sizeof(zell_datatree))
            continue;
        if (!read_keys(index, static_cast<int32_t>((node - base) / sizeof(zell_datatree))))
            return false;
    }
    index.seen = store.changes;
    return true;
}

// Reads the leafless children again and keeps those still without leaves.
bool reread_leafless(ParentIndex &index) noexcept {
    const int32_t n = index.n_leafless;
    index.n_leafless = 0;
    for (int32_t i = 0; i < n; ++i) {
        if (!read_keys(index, index.leafless[i])) // appends in place: never past i
            return false;
    }
    return true;
}

} // namespace

std::optional<TagGroup> indexed_tag(zell_map_ctx *ctx, const zell_datatree &parent, const char *tag) noexcept {
    ParentIndex *index = index_of(ctx, parent);
    if (index == nullptr || tag == nullptr)
        return std::nullopt;
    const GroupSlot &slot = index->groups.probe(tag_hash(tag), [&](const GroupSlot &s) {
        return std::strcmp(index->array[s.group.first].tag, tag) == 0;
    });
    return slot.hash == 0 ? TagGroup{} : slot.group;
}

namespace detail {
bool keyed_candidates(zell_map_ctx *ctx, const zell_datatree &parent, const char *key_name, const char *key_value,
                      KeyedVisit call, void *visit) noexcept {
    ParentIndex *index = index_of(ctx, parent);
    if (index == nullptr || key_name == nullptr || key_value == nullptr)
        return false;
    const bool ready = index->keyed ? apply_changes(*ctx->child_index, *index, index->array, index->count) &&
                                          reread_leafless(*index)
                                    : build_keys(*index, ctx->child_index->changes);
    if (!ready) {
        index->release();
        return false;
    }
    for (int32_t i = 0; i < index->n_leafless; ++i)
        call(visit, index->leafless[i], true);
    const uint64_t hash = key_hash(key_name, key_value);
    for (uint32_t at = static_cast<uint32_t>(hash) & index->keys.mask; index->keys.slots[at].hash != 0;
         at = (at + 1) & index->keys.mask) {
        if (index->keys.slots[at].hash == hash)
            call(visit, index->keys.slots[at].position, false);
    }
    return true;
}
} // namespace detail

void index_appended(zell_map_ctx *ctx, const zell_datatree &parent, const zell_datatree *old_array,
                    int32_t old_count) noexcept {
    zell_map_child_index *store = ctx != nullptr ? ctx->child_index : nullptr;
    if (store == nullptr)
        return;
    ParentIndex *index = old_array != nullptr ? slot_of(*store, old_array) : nullptr;
    // Whatever the index held for the array's new address was another array's.
    if (ParentIndex *other = slot_of(*store, parent.subtrees); other != nullptr && other != index)
        other->release();
    if (index == nullptr)
        return;
    constexpr uint32_t kNamed = ZELL_DATATREE_HAS_TAG | ZELL_DATATREE_HAS_NS;
    const zell_datatree &added = parent.subtrees[old_count];
    // The old children moved with the array: the index still describes
    // them if it did before the move.
    ParentIndex::Sample before[kSamples];
    for (int i = 0; i < kSamples; ++i) {
        const zell_datatree &child = parent.subtrees[sample_at(i, old_count)];
        before[i] = {child.tag, child.subtrees};
    }
    bool kept = index->count == old_count && parent.n_subtrees == old_count + 1 &&
                (added.presence & kNamed) == kNamed && added.tag != nullptr && added.ns != nullptr;
    for (int i = 0; kept && i < kSamples; ++i)
        kept = before[i].tag == index->sample[i].tag && before[i].subtrees == index->sample[i].subtrees;
    if (kept) {
        index->remember_shape(parent);
        // Changes noted against the old array are applied before it is forgotten.
        kept = (!index->keyed || apply_changes(*store, *index, old_array, old_count)) &&
               add_to_group(*index, old_count) && (!index->keyed || read_keys(*index, old_count));
    }
    if (!kept)
        index->release();
}

void index_children_changed(zell_map_ctx *ctx, const zell_datatree *node) noexcept {
    zell_map_child_index *store = ctx != nullptr ? ctx->child_index : nullptr;
    if (store == nullptr)
        return;
    // Only a child of a parent whose keys are kept needs to be read again.
    bool wanted = false;
    for (ParentIndex &index : store->parents) {
        if (index.array == nullptr || node < index.array || node >= index.array + index.count)
            continue;
        wanted = wanted || index.keyed;
        // A sampled child's new array is the library's doing, not another tree.
        for (int i = 0; i < kSamples; ++i) {
            if (node == index.array + sample_at(i, index.count))
                index.sample[i].subtrees = node->subtrees;
        }
    }
    if (!wanted || (store->changes > 0 && store->changed[(store->changes - 1) % kChangeRing] == node))
        return;
    store->changed[store->changes++ % kChangeRing] = node;
}

void release_child_index(zell_map_ctx *ctx) noexcept {
    if (ctx == nullptr || ctx->child_index == nullptr)
        return;
    for (ParentIndex &index : ctx->child_index->parents)
        index.release();
    rask_named_free(ctx->child_index);
    ctx->child_index = nullptr;
}

} // namespace zell::map
