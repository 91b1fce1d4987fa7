// List search and insertion driven by bytes: search-or-add of instances by
// key under list paths from a small alphabet, searches, direct instance
// insertion and the list context. While a run keeps to lists whose
// ancestors are single containers, adds instances only by search-or-add
// and opens no list context, an instance that search-or-add returns is
// found again holding its key. Outside that, the documented rules (a nested
// list is searched in the first outer instance, a key path lands in the
// last numbered or first unnumbered instance, an open context re-roots the
// insertion) legitimately give other answers.
#include <string>

#include "support/fuzz_tree.h"

using namespace zell::fuzz;

namespace {

struct ListPath {
    const char *path;
    bool plain; // a list below containers only, spelled canonically
};
constexpr ListPath kListPaths[] = {{"a/b", true},   {"a/b/k", false}, {"b", true},
                                   {"a//b", false}, {"k/a/b", true},  {"a/b/a/b", false}};
constexpr const char *kKeyNames[] = {"id", "k", "a"};
constexpr const char *kKeyValues[] = {"1", "2", "10", "", "1 "};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Session session;
    Bytes bytes(data, size);
    OwnedTree response;
    bool plain = true;
    for (int op = 0; op < 16 && !bytes.empty(); ++op) {
        const auto [path, plain_path] = bytes.pick(kListPaths);
        plain = plain && plain_path;
        const char *key_name = bytes.pick(kKeyNames);
        const char *key_value = bytes.pick(kKeyValues);
        zell_datatree *instance = nullptr;
        switch (bytes.byte() % 5) {
        case 0: {
            const zell_map_status s = zell_map_search_or_add_list(&session.ctx, &response.root, &instance, path,
                                                                  key_value, key_name, kNs);
            if (s == ZELL_MAP_OK && instance != nullptr && plain) {
                zell_datatree *found = nullptr;
                require(zell_map_search_list(&session.ctx, &response.root, &found, path, key_value, key_name,
                                             kNs) == ZELL_MAP_OK,
                        "an instance just added is not found", path);
                require(zell_map_datatree_get_subtree(found, nullptr, key_name, key_value, nullptr) ==
                            ZELL_MAP_OK,
                        "the instance found lacks its key", path);
            }
            (void)zell_map_free_trim_path_list_ctx(&session.ctx);
            break;
        }
        case 1:
            (void)zell_map_search_list(&session.ctx, &response.root, &instance, path, key_value, key_name,
                                       bytes.byte() & 1 ? kNs : nullptr);
            break;
        case 2: {
            plain = false;
            zell_datatree *parent = &response.root;
            (void)zell_map_datatree_get_subtree(&response.root, &parent, "a", nullptr, kNs);
            (void)zell_map_datatree_add_list_node(&session.ctx, parent, "b", kNs, key_name, key_value, &instance);
            break;
        }
        case 3: {
            int32_t count = 0;
            (void)zell_map_datatree_get_subtree_num(&session.ctx, &response.root, path, &count);
            require(count >= 0, "a negative count", path);
            break;
        }
        default:
            plain = false;
            (void)zell_map_copy_trim_path_list_ctx(&session.ctx, path);
            (void)zell_map_update_current_list_node(&session.ctx, path);
            break;
        }
    }
    return 0;
}
