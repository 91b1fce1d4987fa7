#include "fuzz_tree.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace zell::fuzz {

namespace {

constexpr const char *kTags[] = {"a", "b", "k", "id", "a", "b", "bgp", "routing-policy"};
constexpr const char *kValues[] = {"1", "2", "3", ""};

void drop_line(void *, const void *, const char *) {}

void set_bits(zell_datatree &node, uint8_t how) {
    if (how & 0x01) {
        node.is_key = 1;
        node.presence |= ZELL_DATATREE_HAS_IS_KEY;
    }
    if (how & 0x02) {
        node.type_info.node_type = ZELL_DATATREE_NODE_LIST_ENTRY;
        node.type_info.presence |= ZELL_DATATREE_TYPE_INFO_HAS_NODE_TYPE;
        node.presence |= ZELL_DATATREE_HAS_TYPE_INFO;
    }
    if ((how & 0x1c) == 0x1c) { // rare: a record without its tag
        rask_named_free(node.tag);
        node.tag = nullptr;
        node.presence &= ~ZELL_DATATREE_HAS_TAG;
    }
    if ((how & 0xe0) == 0xe0) // rare: a children bit with no children
        node.presence |= ZELL_DATATREE_HAS_SUBTREES;
}

zell_datatree *add(zell_map_ctx &ctx, zell_datatree &parent, const char *tag, const char *data) {
    zell_datatree *child = nullptr;
    if (zell_map_datatree_add_subtree(&ctx, &parent, tag, kNs, data, nullptr, &child, 1) != ZELL_MAP_OK)
        fail("building a fuzz tree failed");
    return child;
}

// Appends n list entries tagged tag, keyed 0..n-1, each with its key and a
// leaf. The parent's array grows once, not once per entry.
void add_wide_list(zell_map_ctx &ctx, zell_datatree &parent, const char *tag, int n) {
    const int32_t old_count = (parent.presence & ZELL_DATATREE_HAS_SUBTREES) ? parent.n_subtrees : 0;
    auto *grown = static_cast<zell_datatree *>(
        rask_named_realloc(parent.subtrees, sizeof(zell_datatree) * static_cast<size_t>(old_count + n)));
    if (grown == nullptr)
        fail("building a fuzz tree failed");
    parent.subtrees = grown;
    for (int i = 0; i < n; ++i) {
        zell_datatree &entry = grown[old_count + i];
        entry = zell_datatree{};
        entry.tag = zell_strdup(tag, "ZELL FUZZ");
        entry.ns = zell_strdup(kNs, "ZELL FUZZ");
        entry.presence = ZELL_DATATREE_HAS_TAG | ZELL_DATATREE_HAS_NS;
        if (entry.tag == nullptr || entry.ns == nullptr)
            fail("building a fuzz tree failed");
        set_bits(entry, 0x02);
        const std::string key = std::to_string(i);
        set_bits(*add(ctx, entry, "id", key.c_str()), 0x01);
        add(ctx, entry, "b", kValues[i % 3]);
    }
    parent.n_subtrees = old_count + n;
    parent.presence |= ZELL_DATATREE_HAS_SUBTREES;
}

} // namespace

void fail(std::string_view what, std::string_view detail) {
    std::fflush(stdout);
    std::fprintf(stderr, "fuzz check failed: %.*s\n%.*s\n", static_cast<int>(what.size()), what.data(),
                 static_cast<int>(detail.size()), detail.data());
    std::abort();
}

Session::Session() {
    zell_host_set_log_hook(&drop_line, nullptr);
    live_at_start_ = zell_host_live_allocations();
    request.msg = &msg_;
    ctx.request = &request;
    ctx.debug[0] = (1u << 0) | (1u << 3);
    ctx.err_log = &err_handle_;
    ctx.trc_log = &trc_handle_;
    ctx.trace_buf = &trace_handle_;
    ctx.trace_on = 1;
}

Session::~Session() {
    zell_map_request_release(&ctx);
    if (zell_host_live_allocations() != live_at_start_)
        fail("blocks leaked by the run");
}

void decode_tree(Bytes &bytes, zell_map_ctx &ctx, zell_datatree &root, const TreeLimits &limits) {
    // Only the deepest ancestor gains children, so the records of the
    // others never move.
    std::vector<zell_datatree *> ancestors{&root};
    bool wide_done = false; // one wide list per tree keeps a run within the fuzzer's time limit
    for (int nodes = 0; nodes < limits.max_nodes && !bytes.empty(); ++nodes) {
        const uint8_t op = bytes.byte();
        if ((op & 0x07) == 0) {
            if (ancestors.size() > 1)
                ancestors.pop_back();
            continue;
        }
        zell_datatree &parent = *ancestors.back();
        const char *tag = bytes.pick(kTags);
        // Two 0xff bytes ask for the wide list, so that mutations rarely
        // pay for one.
        if (limits.wide_run > 0 && op == 0xff && tag == kTags[7] && !wide_done) {
            wide_done = true;
            add_wide_list(ctx, parent, kTags[0], limits.wide_run);
            continue;
        }
        const char *data = (op & 0x08) ? bytes.pick(kValues) : nullptr;
        zell_datatree *child = add(ctx, parent, tag, data);
        set_bits(*child, bytes.byte());
        if ((op & 0x10) && static_cast<int>(ancestors.size()) < limits.max_depth)
            ancestors.push_back(child);
    }
}

std::string entry_text(const zell_datatree &node, const std::string &below) {
    std::string out = (node.presence & ZELL_DATATREE_HAS_TAG) && node.tag ? node.tag : "~";
    if (node.data != nullptr)
        out.append("=").append(node.data);
    if (node.mark != 0)
        out.append("{").append(std::to_string(node.mark)).append("}");
    if (!below.empty())
        out.append("(").append(below).append(")");
    return out += ' ';
}

std::string text_of(const zell_datatree &node) {
    std::string out;
    const bool kids = (node.presence & ZELL_DATATREE_HAS_SUBTREES) && node.n_subtrees > 0 && node.subtrees;
    for (int32_t i = 0; kids && i < node.n_subtrees; ++i)
        out += entry_text(node.subtrees[i], text_of(node.subtrees[i]));
    return out;
}

std::string decode_path(Bytes &bytes, int max_components) {
    std::string path;
    const int n = bytes.byte() % (max_components + 1);
    for (int i = 0; i < n; ++i) {
        const uint8_t b = bytes.byte();
        path += (b & 0x80) ? "//" : (i > 0 || (b & 0x40)) ? "/" : "";
        path += kTags[b % std::size(kTags)];
    }
    return path;
}

} // namespace zell::fuzz
