// Mark phase of response filtering: walks the request's subtree filter and
// the response side by side, depth first on a work stack, and marks the
// response nodes the filter selects. Neither tree changes shape.
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

class PairStep {
  public:
    PairStep(zell_map_ctx *ctx, rask_queue *stack, const zell_map_dfs_mark_elem &element) noexcept
        : ctx_(ctx), stack_(stack), filter_(*element.node), data_(*element.data_node),
          child_level_(element.level + 1),
          whole_by_keys_(is_list_entry(filter_) && names_instance_by_keys(filter_)) {}

    uint32_t run() noexcept {
        if (!has(filter_, ZELL_DATATREE_HAS_SUBTREES)) {
            set_mark(data_, ZELL_DATATREE_MARK_KA);
            return 1;
        }
        for (zell_datatree &filter_child : children(filter_)) {
            zell_map_dfs_key_info keys{};
            const int32_t valued =
                is_list_entry(filter_child) ? zell_map_datatree_get_keys(&filter_child, &keys) : 0;
            if (filter_child.tag == nullptr)
                return 0; // the filter children after it are not looked at
            if (valued > 0)
                pair_instances(filter_child, keys, keys_identify_one_instance(filter_child, keys, valued));
            else
                pair_named(filter_child);
        }
        return 0;
    }

  private:
    void pair(zell_datatree &filter_child, zell_datatree &data_child) noexcept {
        set_mark(data_, ZELL_DATATREE_MARK_KN);
        (void)zell_map_dfs_mark_stack_push(ctx_, stack_, &filter_child, &data_child, child_level_, 0);
    }

    // Instances whose keys hold the values the filter entry names.
    void pair_instances(zell_datatree &filter_child, const zell_map_dfs_key_info &keys,
                        bool only_one) noexcept {
        for (zell_datatree &data_child : children(data_)) {
            if (!same(data_child.tag, filter_child.tag) ||
                zell_map_datatree_compare_keys(&filter_child, &keys, &data_child) != 1)
                continue;
            pair(filter_child, data_child);
            if (only_one)
                return;
        }
    }

    void pair_named(zell_datatree &filter_child) noexcept {
        for (zell_datatree &data_child : children(data_)) {
            if (!same(data_child.tag, filter_child.tag))
                continue;
            pair(filter_child, data_child);
            if (whole_by_keys_) {
                set_mark(data_, ZELL_DATATREE_MARK_KA);
                return;
            }
        }
    }

    zell_map_ctx *ctx_;
    rask_queue *stack_;
    const zell_datatree &filter_;
    zell_datatree &data_;
    int32_t child_level_;
    bool whole_by_keys_;
};

} // namespace

extern "C" {

uint32_t zell_map_dfs_filter_mark(zell_map_ctx *ctx, zell_datatree *filter_root,
                                  zell_datatree *data_root) noexcept {
    if (ctx == nullptr || filter_root == nullptr || data_root == nullptr)
        return 0;
    // The roots pair whatever their tags.
    run_mark_walk(
        [&](rask_queue *stack) {
            return zell_map_dfs_mark_stack_push(ctx, stack, filter_root, data_root, 1, 1);
        },
        [&](rask_queue *stack, zell_map_dfs_mark_elem *element) {
            return zell_map_dfs_process_mark(ctx, stack, element);
        });
    return 0;
}

uint32_t zell_map_dfs_process_mark(zell_map_ctx *ctx, rask_queue *stack,
                                   zell_map_dfs_mark_elem *element) noexcept {
    if (element == nullptr || element->node == nullptr || element->data_node == nullptr)
        return 0;
    return PairStep(ctx, stack, *element).run();
}

} // extern "C"
