// Path insertion with paths, namespaces, values, flags and a request filter
// from bytes, then the tree printed, copied and released: nothing may crash,
// an operation that fails must say so, and nothing may leak.
#include <string>

#include "support/fuzz_tree.h"

using namespace zell::fuzz;

namespace {

constexpr uint32_t kFlags[] = {0, ZELL_MAP_FLAG_IGNORE_NS, ZELL_MAP_FLAG_NO_REROOT, ZELL_MAP_FLAG_NO_FILTER,
                               ZELL_MAP_FLAG_TRIM_LIST, ZELL_MAP_FLAG_IGNORE_NS | ZELL_MAP_FLAG_NO_FILTER};
constexpr const char *kOtherNs[] = {kNs, "urn:other", ""};
constexpr zell_map_status kStatuses[] = {ZELL_MAP_OK, ZELL_MAP_ERR_NOT_FOUND, ZELL_MAP_ERR_INVALID_ARG,
                                         ZELL_MAP_ERR_NO_MEMORY, ZELL_MAP_ERR_NS_MISMATCH};

bool known(zell_map_status s) {
    for (zell_map_status k : kStatuses)
        if (s == k)
            return true;
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Session session;
    Bytes bytes(data, size);
    OwnedTree filter, response;
    if (bytes.byte() & 1) {
        decode_tree(bytes, session.ctx, filter.root, TreeLimits{16, 4});
        session.request.datatree = &filter.root;
        session.request.flags |= ZELL_MAP_REQUEST_FILTER;
    }
    session.request.xpath_mode = bytes.byte() % 3;
    if (bytes.byte() & 1) {
        const std::string trim = decode_path(bytes, 3);
        (void)zell_map_copy_trim_path_list_ctx(&session.ctx, trim.c_str());
    }
    for (int op = 0; op < 12 && !bytes.empty(); ++op) {
        const std::string path = (bytes.byte() & 0x0f) == 0 ? bytes.text(24) : decode_path(bytes, 6);
        const char *ns = bytes.pick(kOtherNs);
        const std::string value = bytes.text(4);
        const uint32_t flags = bytes.pick(kFlags);
        const int32_t indexed = bytes.byte() & 1;
        zell_datatree *child = nullptr;
        const zell_map_status status = zell_map_datatree_add_path_flagged(
            &session.ctx, &response.root, path.c_str(), ns, value.empty() ? nullptr : value.c_str(), nullptr,
            &child, indexed, flags);
        require(known(status), "path insertion returned an unknown status", path);
    }
    (void)zell_map_print_datatree_internal(&session, &response.root, 0);
    zell_datatree copy{};
    if (mova_zell_datatree_duplicate(&copy, &response.root, zell_gpb_alloc, 0) != 0)
        fail("copying a tree failed with no allocation failure armed");
    require(text_of(copy) == text_of(response.root), "a copy differs from its tree");
    mova_zell_datatree_free_ext(&copy, zell_gpb_free, 0, 0);
    session.request.datatree = nullptr;
    return 0;
}
