// Deep copy and release of zell_datatree contents.
#include <cstring>
#include <string>

#include "harness.h"

namespace {

using DatatreeRecordsTest = zell::test::MapTest;

char *s(const char *text) {
    return zell_strdup(text, "T tree");
}

zell_datatree_pair *two_pairs(uint32_t spare) {
    auto *p =
        static_cast<zell_datatree_pair *>(rask_named_calloc_(2, sizeof(zell_datatree_pair), "T tree", 0));
    p[0] = {s("name"), s("x"), spare};
    p[1] = {s("vrf"), nullptr, spare + 1};
    return p;
}

// Sets every owned field (and a distinct value in every plain one) and
// gives the node `children` children, each with children - 1 of its own.
void build(zell_datatree &n, uint32_t seed, int32_t children) {
    // clang-format off
    n = zell_datatree{s("tag"), s("data"), s("urn:ns"), seed, 3, two_pairs(seed), 2, nullptr, 0, 7,
                      {1, 4, {2, 3}, 7}, 1,
                      {1, {two_pairs(seed + 2), 2, s("[k]"), 3}, {seed + 4, s("v"), 3}, 7},
                      2, s("urn:data-ns"), 0x1fffu};
    // clang-format on
    if (children == 0)
        return;
    n.subtrees =
        static_cast<zell_datatree *>(rask_named_calloc_(children, sizeof(zell_datatree), "T tree", 0));
    n.n_subtrees = children;
    for (int32_t i = 0; i < children; ++i)
        build(n.subtrees[i], seed * 10 + static_cast<uint32_t>(i), children - 1);
}

// Every field by value, strings by content. With toggle, the case of each
// string's first letter flips afterwards (twice restores it), which shows up
// in any copy sharing the string.
void dump(zell_datatree &n, std::string &out, bool toggle = false) {
    auto nums = [&out](auto... v) { ((out += std::to_string(v) + ','), ...); };
    auto str = [&](char *p) {
        out += p == nullptr ? "<null>" : p;
        out += '|';
        if (toggle && p != nullptr && p[0] != '\0')
            p[0] ^= 0x20;
    };
    auto pairs = [&](zell_datatree_pair *p, int32_t count) {
        for (int32_t i = 0; p != nullptr && i < count; ++i) {
            str(p[i].name);
            str(p[i].value);
            nums(p[i].spare);
        }
    };
    for (char *p : {n.tag, n.data, n.ns, n.data_ns, n.insert.key.text, n.insert.value.value})
        str(p);
    pairs(n.attributes, n.n_attributes);
    pairs(n.insert.key.keys, n.insert.key.n_keys);
    nums(n.reserved, n.operation, n.n_attributes, n.subtree_index, n.type_info.info_a, n.type_info.node_type,
         n.type_info.info_b[0], n.type_info.info_b[1], n.type_info.presence, n.is_key, n.insert.position,
         n.insert.key.n_keys, n.insert.key.presence, n.insert.value.aux, n.insert.value.presence,
         n.insert.presence, n.mark, n.presence, n.n_subtrees);
    for (int32_t i = 0; n.subtrees != nullptr && i < n.n_subtrees; ++i) {
        out += '{';
        dump(n.subtrees[i], out, toggle);
        out += '}';
    }
}

bool is_zeroed(const zell_datatree &n) {
    static const zell_datatree zero{};
    return std::memcmp(&n, &zero, sizeof n) == 0;
}

TEST_F(DatatreeRecordsTest, DuplicateCopiesEveryFieldDeeplyOrLeavesNothing) {
    zell::test::Tree src;
    build(src.node, 1, 3);
    std::string original;
    dump(src.node, original);
    zell::test::for_each_alloc_failure(
        [&](const zell::test::Arm &arm) {
            zell_datatree dst;
            std::memset(&dst, 0xee, sizeof dst);
            arm();
            const uint32_t status = mova_zell_datatree_duplicate(&dst, src.get(), zell_gpb_alloc, 0);
            if (status != 0) {
                EXPECT_TRUE(is_zeroed(dst));
                return status;
            }
            std::string copy, scratch;
            dump(src.node, scratch, true);
            dump(dst, copy);
            dump(src.node, scratch, true);
            EXPECT_EQ(copy, original);
            mova_zell_datatree_free_ext(&dst, zell_gpb_free, 0, 0);
            return status;
        },
        [](zell_map_status status, bool injected) { EXPECT_EQ(status != 0, injected); });
}

long g_release_calls = 0;
uint32_t count_release(void *block, uint32_t arg) {
    ++g_release_calls;
    EXPECT_EQ(arg, 9u);
    return zell_gpb_free(block, 0);
}

TEST_F(DatatreeRecordsTest, FreeExtReleasesWhatIsHeldWhateverThePresenceBits) {
    zell_datatree root;
    build(root, 1, 2);
    root.presence = root.insert.presence = root.insert.key.presence = root.insert.value.presence = 0;
    root.subtrees[0].presence = 0;
    // An emptied child array is still held.
    mova_zell_datatree_free_ext(&root.subtrees[1].subtrees[0], zell_gpb_free, 0, 0);
    root.subtrees[1].n_subtrees = 0;

    const long blocks = zell_host_live_allocations() - live_at_start;
    g_release_calls = 0;
    EXPECT_EQ(mova_zell_datatree_free_ext(&root, count_release, 9, 0), 0u);
    EXPECT_EQ(g_release_calls, blocks);
    EXPECT_TRUE(is_zeroed(root));
}

} // namespace
