// Mark phase of response filtering: walks the request's subtree filter and
// the response side by side, depth first, and marks the response nodes the
// filter selects. Neither tree changes shape.
//
// A response node can pair with several filter siblings of one tag; the
// mark that stays is the one written by the pair of the first such sibling.
// The walk therefore finishes the pairs of a level from the last filter
// child to the first, each pair with everything below it, so that the pair
// that must win writes last.
//
// A level with more than two filter children is paired through an index of
// them (filter/filter_index.h) in the context's scratch memory: the
// response children are taken in order and each meets only the filter
// children that can pair with it, highest first.
#include <algorithm>
#include <optional>
#include <span>

#include "core/scratch.h"
#include "core/walk.h"
#include "filter/filter_index.h"
#include "filter/response_filter.h"
#include "zell_map_filter.h"

using namespace zell::map;

namespace {

// A filter list entry that names only key leaves, at least one with a
// value, selects its instance whole. Every child counts here, also key
// leaves beyond the ones the key record has room for.
bool names_instance_by_keys(const zell_datatree &filter_entry) noexcept {
    const auto keys = children(filter_entry);
    if (keys.empty())
        return false;
    bool valued = false;
    for (const zell_datatree &child : keys) {
        if (!is_key_leaf(child))
            return false;
        valued = valued || has(child, ZELL_DATATREE_HAS_DATA);
    }
    return valued;
}

// Only when the key record covered every key leaf of the entry can a match
// on all of them be the only one.
bool keys_identify_one_instance(const zell_datatree &filter_entry, const zell_map_dfs_key_info &keys,
                                int32_t valued) noexcept {
    if (valued != keys.key_count)
        return false;
    int32_t key_leaves = 0;
    for (const zell_datatree &child : children(filter_entry))
        key_leaves += is_key_leaf(child) ? 1 : 0;
    return key_leaves == keys.key_count;
}

// The filter children of a level that take part: those before the first
// one without a tag.
std::span<zell_datatree> pairing_children(const zell_datatree &filter) noexcept {
    const auto all = children(filter);
    size_t n = 0;
    while (n < all.size() && all[n].tag != nullptr)
        ++n;
    return all.first(n);
}

// Filter children a level pairs by scanning them for every response child.
constexpr size_t kPlainScanMax = 2;

// Scratch bytes that pairing the children of filter takes.
size_t index_bytes(const zell_datatree &filter) noexcept {
    const size_t n = pairing_children(filter).size();
    return n > kPlainScanMax ? FilterIndex::bytes_for(n) : 0;
}

struct Pair {
    zell_datatree *filter = nullptr; // nullptr: no further pair
    zell_datatree *data = nullptr;
};

// How one filter child pairs with the children of its response partner.
struct ChildRule {
    zell_map_dfs_key_info keys{};
    int32_t valued = 0;    // key leaves with a value: instances are matched by them
    bool only_one = false; // after its first pair the filter child pairs no more
    bool whole = false;    // a pair makes the response partner stay whole

    ChildRule() noexcept = default;
    ChildRule(const zell_datatree &child, bool parent_whole_by_keys) noexcept {
        valued = is_list_entry(child) ? zell_map_datatree_get_keys(&child, &keys) : 0;
        if (valued > 0) {
            only_one = keys_identify_one_instance(child, keys, valued);
        } else {
            only_one = parent_whole_by_keys;
            whole = parent_whole_by_keys;
        }
    }

    bool pairs_with(const zell_datatree &filter_child, const zell_datatree &data_child) const noexcept {
        return same(data_child.tag, filter_child.tag) &&
               (valued == 0 || zell_map_datatree_compare_keys(&filter_child, &keys, &data_child) == 1);
    }
};

// The pairs of one (filter, response) level. Scanned: filter child by
// filter child in the order asked for, each with its response children in
// array order. Indexed: see next_indexed(). The response partner's mark is the one the pair of the highest filter
// child writes; write_mark() puts it there once the level is done.
class LevelPairs {
  public:
    enum class Order { FirstToLast, LastToFirst };

    // With an index area (index_bytes(filter) bytes of scratch) the level
    // is paired through the index, its pairs coming in the order that
    // LastToFirst gives them.
    LevelPairs(zell_datatree &filter, zell_datatree &data, Order order, unsigned char *index_area = nullptr) noexcept
        : filter_(&filter), data_(&data), order_(order),
          whole_by_keys_(is_list_entry(filter) && names_instance_by_keys(filter)) {
        n_filter_ = pairing_children(filter).size();
        done_ = n_filter_ == 0;
        indexed_ = index_area != nullptr && !done_;
        if (indexed_)
            index_.build(filter, n_filter_, index_area);
        current_ = order == Order::FirstToLast ? 0 : n_filter_ - 1;
        if (!done_ && !indexed_)
            start_child();
    }

    Pair next() noexcept { return indexed_ ? next_indexed() : next_scanned(); }

    void write_mark() const noexcept {
        if (paired_)
            set_mark(*data_, mark_whole_ ? ZELL_DATATREE_MARK_KA : ZELL_DATATREE_MARK_KN);
    }

  private:
    // Response child by response child; for each, its candidates from the
    // highest filter child down. Pairs of different response children
    // touch different subtrees, so only the order for one response child
    // matters, and it is the scan's.
    Pair next_indexed() noexcept {
        const auto data_kids = children(*data_);
        const auto filter_kids = children(*filter_);
        for (;;) {
            while (next_candidate_ < candidates_.size()) {
                const auto c = static_cast<size_t>(candidates_[next_candidate_++]);
                zell_datatree &filter_child = filter_kids[c];
                const ChildRule rule(filter_child, whole_by_keys_);
                if ((rule.only_one && index_.taken(c)) || !rule.pairs_with(filter_child, *data_child_))
                    continue;
                if (rule.only_one)
                    index_.take(c);
                current_ = c;
                record(rule.whole);
                return {&filter_child, data_child_};
            }
            if (next_data_ >= data_kids.size())
                return {};
            data_child_ = &data_kids[next_data_];
            candidates_ = index_.candidates(*data_child_, next_data_);
            next_candidate_ = 0;
            ++next_data_;
        }
    }

    Pair next_scanned() noexcept {
        const auto data_kids = children(*data_);
        while (!done_) {
            zell_datatree &filter_child = children(*filter_)[current_];
            while (next_data_ < data_kids.size()) {
                zell_datatree &data_child = data_kids[next_data_++];
                if (!rule_.pairs_with(filter_child, data_child))
                    continue;
                record(rule_.whole);
                if (rule_.only_one)
                    next_data_ = data_kids.size();
                return {&filter_child, &data_child};
            }
            next_child();
        }
        return {};
    }

    void start_child() noexcept {
        next_data_ = 0;
        rule_ = ChildRule(children(*filter_)[current_], whole_by_keys_);
    }

    void next_child() noexcept {
        if (order_ == Order::FirstToLast ? current_ + 1 >= n_filter_ : current_ == 0) {
            done_ = true;
            return;
        }
        current_ = order_ == Order::FirstToLast ? current_ + 1 : current_ - 1;
        start_child();
    }

    void record(bool whole) noexcept {
        if (!paired_ || current_ >= highest_) {
            highest_ = current_;
            mark_whole_ = whole;
        }
        paired_ = true;
    }

    zell_datatree *filter_;
    zell_datatree *data_;
    Order order_;
    bool whole_by_keys_;
    bool done_ = false;
    bool paired_ = false;
    bool mark_whole_ = false;
    size_t n_filter_ = 0;  // filter children that take part
    size_t current_ = 0;   // the filter child being paired
    size_t next_data_ = 0; // the response child to try against it next
    size_t highest_ = 0;   // the highest filter child paired so far
    ChildRule rule_;       // of the filter child being scanned
    bool indexed_ = false;
    FilterIndex index_;
    zell_datatree *data_child_ = nullptr;   // the response child whose candidates are taken
    std::span<const int32_t> candidates_;  // its candidates, in the index's area
    size_t next_candidate_ = 0;
};

// The scratch that the indexed levels of a mark walk over filter need at
// most: the largest sum of their index areas along one branch. No value
// when the filter could not be walked.
std::optional<size_t> scratch_needed(const zell_datatree &filter) noexcept {
    struct Frame {
        const zell_datatree *node;
        size_t next;
        size_t in_use; // by the levels from the root down to node
    };
    WalkStack<Frame> stack;
    size_t most = 0;
    if (!stack.push({&filter, 0, index_bytes(filter)}))
        return std::nullopt;
    while (!stack.empty()) {
        Frame &frame = stack.top();
        most = std::max(most, frame.in_use);
        const auto kids = children(*frame.node);
        if (frame.next == kids.size() || kids[frame.next].tag == nullptr) {
            stack.pop();
            continue;
        }
        const zell_datatree &child = kids[frame.next++];
        const size_t in_use = frame.in_use + index_bytes(child);
        if (has(child, ZELL_DATATREE_HAS_SUBTREES) && !stack.push({&child, 0, in_use}))
            return std::nullopt;
    }
    return most;
}

struct MarkLevel {
    LevelPairs pairs;
    size_t index_bytes; // of scratch, from the top of what the levels above use
};

} // namespace

extern "C" {

uint32_t zell_map_dfs_filter_mark(zell_map_ctx *ctx, zell_datatree *filter_root,
                                  zell_datatree *data_root) noexcept {
    if (ctx == nullptr || filter_root == nullptr || data_root == nullptr)
        return ZELL_MAP_OK;
    const std::optional<size_t> needed = scratch_needed(*filter_root);
    if (!needed)
        return ZELL_MAP_ERR_NO_MEMORY;
    unsigned char *scratch = nullptr;
    if (*needed > 0 && (scratch = reserve_scratch(*ctx, *needed)) == nullptr)
        return ZELL_MAP_ERR_NO_MEMORY;
    size_t scratch_in_use = 0;

    WalkStack<MarkLevel> stack;
    // A pair whose filter node has no children needs no level: its
    // response node stays whole. A level that cannot be held leaves its
    // pair unmarked.
    const auto enter = [&](zell_datatree &filter, zell_datatree &data) {
        if (!has(filter, ZELL_DATATREE_HAS_SUBTREES)) {
            set_mark(data, ZELL_DATATREE_MARK_KA);
            return;
        }
        const size_t bytes = index_bytes(filter);
        unsigned char *area = bytes > 0 ? scratch + scratch_in_use : nullptr;
        if (stack.push({LevelPairs(filter, data, LevelPairs::Order::LastToFirst, area), bytes}))
            scratch_in_use += bytes;
    };
    enter(*filter_root, *data_root); // the roots pair whatever their tags
    while (!stack.empty()) {
        const Pair pair = stack.top().pairs.next();
        if (pair.filter != nullptr) {
            enter(*pair.filter, *pair.data);
            continue;
        }
        stack.top().pairs.write_mark();
        scratch_in_use -= stack.top().index_bytes;
        stack.pop();
    }
    return ZELL_MAP_OK;
}

uint32_t zell_map_dfs_process_mark(zell_map_ctx *ctx, rask_queue *stack,
                                   zell_map_dfs_mark_elem *element) noexcept {
    if (element == nullptr || element->node == nullptr || element->data_node == nullptr)
        return 0;
    zell_datatree &filter = *element->node;
    zell_datatree &data = *element->data_node;
    if (!has(filter, ZELL_DATATREE_HAS_SUBTREES)) {
        set_mark(data, ZELL_DATATREE_MARK_KA);
        return 1;
    }
    // Pushed first to last, so a stack hands them back last to first.
    LevelPairs level(filter, data, LevelPairs::Order::FirstToLast);
    for (Pair pair = level.next(); pair.filter != nullptr; pair = level.next())
        (void)zell_map_dfs_mark_stack_push(ctx, stack, pair.filter, pair.data, element->level + 1, 0);
    level.write_mark();
    return 0;
}

} // extern "C"
