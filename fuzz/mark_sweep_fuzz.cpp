// Mark and sweep of a response decoded from bytes by a filter decoded from
// bytes, against a reference written for clarity: the same pairing rules
// over an unbounded stack taken in the same order, and the sweep as a
// description of what stays. Any difference aborts.
#include <cstring>
#include <string>
#include <vector>

#include "support/fuzz_tree.h"

using namespace zell::fuzz;

namespace {

constexpr int32_t kKeysMax = ZELL_MAP_DFS_KEYS_MAX;

// Replays build lists wider than any work stack ever held (the saved
// 6,000-entry input); while fuzzing, a narrower list keeps runs fast.
#ifndef ZELL_FUZZ_WIDE_RUN
#define ZELL_FUZZ_WIDE_RUN 6000
#endif
constexpr int kWideRun = ZELL_FUZZ_WIDE_RUN;

bool has(const zell_datatree &n, uint32_t bit) { return (n.presence & bit) != 0; }
bool eq(const char *a, const char *b) { return a != nullptr && b != nullptr && std::strcmp(a, b) == 0; }

// The children as pointers, so a loop reads like the rules it follows.
class Kids {
  public:
    explicit Kids(const zell_datatree &n)
        : first_(has(n, ZELL_DATATREE_HAS_SUBTREES) && n.n_subtrees > 0 ? n.subtrees : nullptr),
          count_(first_ != nullptr ? n.n_subtrees : 0) {}
    struct It {
        zell_datatree *p;
        zell_datatree *operator*() const { return p; }
        It &operator++() {
            ++p;
            return *this;
        }
        bool operator!=(const It &o) const { return p != o.p; }
    };
    It begin() const { return {first_}; }
    It end() const { return {first_ + count_}; }
    bool empty() const { return count_ == 0; }

  private:
    zell_datatree *first_;
    int32_t count_;
};
Kids kids(const zell_datatree &n) { return Kids(n); }

bool is_key(const zell_datatree &n) { return has(n, ZELL_DATATREE_HAS_IS_KEY); }
bool is_entry(const zell_datatree &n) {
    return (has(n, ZELL_DATATREE_HAS_TYPE_INFO) || n.type_info.presence != 0) &&
           (n.type_info.presence & ZELL_DATATREE_TYPE_INFO_HAS_NODE_TYPE) &&
           n.type_info.node_type == ZELL_DATATREE_NODE_LIST_ENTRY;
}

// The first kKeysMax key leaves of a filter entry; those with a value count.
std::vector<const zell_datatree *> valued_keys(const zell_datatree &entry, int32_t &key_leaves_seen) {
    std::vector<const zell_datatree *> out;
    key_leaves_seen = 0;
    for (const zell_datatree *c : kids(entry)) {
        if (key_leaves_seen == kKeysMax)
            break;
        if (!is_key(*c))
            continue;
        ++key_leaves_seen;
        if (has(*c, ZELL_DATATREE_HAS_DATA))
            out.push_back(c);
    }
    return out;
}

// The child lookup gives up at the first child without a tag.
bool instance_has(const zell_datatree &instance, const zell_datatree &key) {
    for (const zell_datatree *c : kids(instance)) {
        if (c->tag == nullptr)
            return false;
        if (eq(c->tag, key.tag) && has(*c, ZELL_DATATREE_HAS_DATA) && eq(c->data, key.data))
            return true;
    }
    return false;
}

struct Pair {
    zell_datatree *filter, *data;
};

void reference_mark(zell_datatree &filter_root, zell_datatree &data_root) {
    std::vector<Pair> stack{{&filter_root, &data_root}};
    while (!stack.empty()) {
        const Pair p = stack.back();
        stack.pop_back();
        zell_datatree &f = *p.filter, &d = *p.data;
        if (!has(f, ZELL_DATATREE_HAS_SUBTREES)) {
            d.mark = ZELL_DATATREE_MARK_KA;
            continue;
        }
        // An entry of key leaves only, one at least with a value, keeps its instance whole.
        bool whole = is_entry(f) && !kids(f).empty();
        bool any_value = false;
        for (const zell_datatree *c : kids(f)) {
            whole = whole && is_key(*c);
            any_value = any_value || has(*c, ZELL_DATATREE_HAS_DATA);
        }
        whole = whole && any_value;
        for (zell_datatree *fc : kids(f)) {
            int32_t key_leaves = 0;
            const auto keys = is_entry(*fc) ? valued_keys(*fc, key_leaves) : std::vector<const zell_datatree *>{};
            if (fc->tag == nullptr)
                break;
            if (!keys.empty()) {
                int32_t all_key_leaves = 0;
                for (const zell_datatree *c : kids(*fc))
                    all_key_leaves += is_key(*c) ? 1 : 0;
                const bool only_one = static_cast<int32_t>(keys.size()) == key_leaves && all_key_leaves == key_leaves;
                for (zell_datatree *dc : kids(d)) {
                    bool match = eq(dc->tag, fc->tag);
                    for (const zell_datatree *k : keys)
                        match = match && instance_has(*dc, *k);
                    if (!match)
                        continue;
                    d.mark = ZELL_DATATREE_MARK_KN;
                    stack.push_back({fc, dc});
                    if (only_one)
                        break;
                }
                continue;
            }
            for (zell_datatree *dc : kids(d)) {
                if (!eq(dc->tag, fc->tag))
                    continue;
                d.mark = ZELL_DATATREE_MARK_KN;
                stack.push_back({fc, dc});
                if (whole) {
                    d.mark = ZELL_DATATREE_MARK_KA;
                    break;
                }
            }
        }
    }
}

bool kept(const zell_datatree &n) { return n.mark == ZELL_DATATREE_MARK_KN || n.mark == ZELL_DATATREE_MARK_KA; }

// What the sweep leaves of node's children, as text_of prints it.
std::string reference_swept(const zell_datatree &node, int level) {
    const bool whole = !has(node, ZELL_DATATREE_HAS_SUBTREES) || node.mark == ZELL_DATATREE_MARK_KA ||
                       (level == 2 && has(node, ZELL_DATATREE_HAS_TAG) &&
                        (eq(node.tag, "bgp") || eq(node.tag, "routing-policy")));
    if (whole)
        return text_of(node);
    const auto all = kids(node);
    std::vector<zell_datatree *> stay;
    bool dropped = false;
    for (zell_datatree *c : all)
        if (level == 1 || kept(*c))
            stay.push_back(c);
        else
            dropped = true;
    if (dropped) // the gaps close: records without a tag go with them
        std::erase_if(stay, [](const zell_datatree *c) { return !has(*c, ZELL_DATATREE_HAS_TAG); });
    std::string out;
    for (const zell_datatree *c : stay)
        out += entry_text(*c, c->mark == ZELL_DATATREE_MARK_KN ? reference_swept(*c, level + 1) : text_of(*c));
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Session session;
    // Wide lists in the response only: the reference pairs every filter
    // entry with every response entry.
    TreeLimits response_limits;
    response_limits.wide_run = kWideRun;
    Bytes head(data, size);
    const size_t split = size == 0 ? 0 : head.byte() % size;
    OwnedTree filter, response, expected;
    filter.root.tag = nullptr;
    Bytes filter_bytes(data + (size > 0 ? 1 : 0), split);
    decode_tree(filter_bytes, session.ctx, filter.root, TreeLimits{});
    for (zell_datatree *root : {&response.root, &expected.root}) {
        Bytes response_bytes(data + (size > 0 ? 1 : 0) + split, size - (size > 0 ? 1 : 0) - split);
        decode_tree(response_bytes, session.ctx, *root, response_limits);
    }

    const std::string filter_text = text_of(filter.root), response_text = text_of(response.root);
    zell_map_dfs_filter_mark(&session.ctx, &filter.root, &response.root);
    zell_map_dfs_filter_sweep(&session.ctx, &response.root);

    reference_mark(filter.root, expected.root);
    const std::string want = reference_swept(expected.root, 1);
    const std::string got = text_of(response.root);
    require(got == want, "mark and sweep differ from the reference", "filter:   " + filter_text + "\nresponse: " + response_text + "\ngot:  " + got + "\nwant: " + want);
    return 0;
}
