// The schema filter's answer for a path decoded from bytes against a filter
// decoded from bytes, against a recursive reference; then the response
// pre-check on the same pair, which must answer and leak nothing.
#include <cstring>
#include <string>
#include <vector>

#include "support/fuzz_tree.h"

using namespace zell::fuzz;

namespace {

bool has(const zell_datatree &n, uint32_t bit) { return (n.presence & bit) != 0; }
bool eq(const char *a, const char *b) { return a != nullptr && b != nullptr && std::strcmp(a, b) == 0; }

struct Query {
    std::vector<std::string> tokens; // tokens[0] is the filter root's tag
    bool accept_partial;
};

bool selects(const zell_datatree &node, size_t at, const Query &q) {
    const bool has_kids = has(node, ZELL_DATATREE_HAS_SUBTREES) && node.n_subtrees > 0;
    if (!has_kids)
        return true; // a selection node
    if (node.subtrees == nullptr)
        return false;
    bool keys_only = true;
    for (int32_t i = 0; i < node.n_subtrees; ++i)
        keys_only = keys_only && has(node.subtrees[i], ZELL_DATATREE_HAS_IS_KEY);
    if (keys_only && has(node.subtrees[0], ZELL_DATATREE_HAS_DATA))
        return true;
    if (at + 1 == q.tokens.size())
        return q.accept_partial;
    for (int32_t i = 0; i < node.n_subtrees; ++i) {
        const zell_datatree &child = node.subtrees[i];
        if (child.tag == nullptr)
            break;
        if (eq(child.tag, q.tokens[at + 1].c_str()) && selects(child, at + 1, q))
            return true;
    }
    return false;
}

std::vector<std::string> split(const std::string &path) {
    std::vector<std::string> out;
    size_t at = 0;
    while (at < path.size()) {
        const size_t end = std::min(path.find('/', at), path.size());
        if (end > at)
            out.push_back(path.substr(at, end - at));
        at = end + 1;
    }
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Session session;
    Bytes bytes(data, size);
    const std::string path = decode_path(bytes, 8);
    const int32_t accept_partial = bytes.byte() & 1;
    OwnedTree filter;
    (void)zell_map_datatree_add_subtree(&session.ctx, &filter.root, "a", kNs, nullptr, nullptr, nullptr, 0);
    zell_datatree &top = filter.root.subtrees[0];
    decode_tree(bytes, session.ctx, top, TreeLimits{});

    Query q{{"a"}, accept_partial == 1};
    for (std::string &token : split(path))
        q.tokens.push_back(std::move(token));
    const uint32_t got = zell_map_dfs_filter_schema(&session.ctx, &top, path.c_str(), accept_partial);
    const bool want = selects(top, 0, q);
    require(got == (want ? 1u : 0u), "schema filter differs from the reference", path);

    // The pre-check a backend makes before building: the request's filter root is the wrapper.
    session.request.datatree = &filter.root;
    session.request.flags |= ZELL_MAP_REQUEST_FILTER;
    (void)zell_map_datatree_filter_get_response(&session.ctx, &filter.root, path.c_str(), accept_partial,
                                                bytes.byte() & 1);
    session.request.datatree = nullptr;
    return 0;
}
