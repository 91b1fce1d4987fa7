// Deep copy and release of zell_datatree contents.
#include <cstring>

#include "harness.h"

namespace {

using zell::test::MapTest;
using zell::test::Tree;

class DatatreeRecordsTest : public MapTest {};

char *s(const char *text) {
    return zell_strdup(text, "T tree");
}

zell_datatree_pair *pairs(std::initializer_list<const char *> texts) {
    const auto n = static_cast<int32_t>(texts.size() / 2);
    auto *p =
        static_cast<zell_datatree_pair *>(rask_named_calloc_(n, sizeof(zell_datatree_pair), "T tree", 0));
    const char *const *t = texts.begin();
    for (int32_t i = 0; i < n; ++i)
        p[i] = {s(t[2 * i]), s(t[2 * i + 1]), 0x5a5a0000u + static_cast<uint32_t>(i)};
    return p;
}

// Sets every owned field and a distinct value in every plain one.
void fill(zell_datatree &n, const char *tag, uint32_t seed) {
    n.tag = s(tag);
    n.data = s("data");
    n.ns = s("urn:ns");
    n.data_ns = s("urn:data-ns");
    n.reserved = seed;
    n.operation = 3;
    n.attributes = pairs({"a", "1", "b", "2"});
    n.n_attributes = 2;
    n.subtree_index = 7;
    n.type_info = {1, 4, {2, 3}, 0x7};
    n.is_key = 1;
    n.insert.position = 1;
    n.insert.key.keys = pairs({"name", "x"});
    n.insert.key.n_keys = 1;
    n.insert.key.text = s("[name='x']");
    n.insert.key.presence = 0x3;
    n.insert.value.aux = seed + 1;
    n.insert.value.value = s("v");
    n.insert.value.presence = 0x3;
    n.insert.presence = 0x7;
    n.mark = 2;
    n.presence = 0x1fffu;
}

void add_children(zell_datatree &n, int32_t count, uint32_t seed) {
    n.subtrees = static_cast<zell_datatree *>(rask_named_calloc_(count, sizeof(zell_datatree), "T tree", 0));
    n.n_subtrees = count;
    for (int32_t i = 0; i < count; ++i)
        fill(n.subtrees[i], "child", seed + static_cast<uint32_t>(i));
}

// root -> 2 children, the second with a grandchild: owned fields at every level.
void build(zell_datatree &root) {
    fill(root, "root", 100);
    add_children(root, 2, 200);
    add_children(root.subtrees[1], 1, 300);
}

void expect_copied(const char *a, const char *b) {
    if (a == nullptr) {
        EXPECT_EQ(b, nullptr);
        return;
    }
    ASSERT_NE(b, nullptr);
    EXPECT_NE(a, b) << "string shared, not copied";
    EXPECT_STREQ(a, b);
}

void expect_pairs_copied(const zell_datatree_pair *a, const zell_datatree_pair *b, int32_t n) {
    ASSERT_NE(a, b);
    for (int32_t i = 0; i < n; ++i) {
        expect_copied(a[i].name, b[i].name);
        expect_copied(a[i].value, b[i].value);
        EXPECT_EQ(a[i].spare, b[i].spare);
    }
}

void expect_same_tree(const zell_datatree &a, const zell_datatree &b) {
    for (char *zell_datatree::*field :
         {&zell_datatree::tag, &zell_datatree::data, &zell_datatree::ns, &zell_datatree::data_ns})
        expect_copied(a.*field, b.*field);
    EXPECT_EQ(a.reserved, b.reserved);
    EXPECT_EQ(a.operation, b.operation);
    EXPECT_EQ(a.n_attributes, b.n_attributes);
    expect_pairs_copied(a.attributes, b.attributes, a.n_attributes);
    EXPECT_EQ(a.subtree_index, b.subtree_index);
    EXPECT_EQ(std::memcmp(&a.type_info, &b.type_info, sizeof a.type_info), 0);
    EXPECT_EQ(a.is_key, b.is_key);
    EXPECT_EQ(a.insert.position, b.insert.position);
    EXPECT_EQ(a.insert.presence, b.insert.presence);
    EXPECT_EQ(a.insert.key.n_keys, b.insert.key.n_keys);
    EXPECT_EQ(a.insert.key.presence, b.insert.key.presence);
    expect_pairs_copied(a.insert.key.keys, b.insert.key.keys, a.insert.key.n_keys);
    expect_copied(a.insert.key.text, b.insert.key.text);
    EXPECT_EQ(a.insert.value.aux, b.insert.value.aux);
    EXPECT_EQ(a.insert.value.presence, b.insert.value.presence);
    expect_copied(a.insert.value.value, b.insert.value.value);
    EXPECT_EQ(a.mark, b.mark);
    EXPECT_EQ(a.presence, b.presence);
    ASSERT_EQ(a.n_subtrees, b.n_subtrees);
    if (a.n_subtrees > 0) {
        ASSERT_NE(a.subtrees, b.subtrees);
    }
    for (int32_t i = 0; i < a.n_subtrees; ++i)
        expect_same_tree(a.subtrees[i], b.subtrees[i]);
}

bool is_zeroed(const zell_datatree &n) {
    static const zell_datatree zero{};
    return std::memcmp(&n, &zero, sizeof n) == 0;
}

TEST_F(DatatreeRecordsTest, DuplicateCopiesEveryFieldDeeplyOrLeavesNothing) {
    Tree src;
    build(src.node);
    zell::test::for_each_alloc_failure(
        [&](const zell::test::Arm &arm) {
            zell_datatree dst{};
            std::memset(&dst, 0xee, sizeof dst); // whatever was there is overwritten
            arm();
            const uint32_t status = mova_zell_datatree_duplicate(&dst, src.get(), zell_gpb_alloc, 0);
            if (status == 0) {
                expect_same_tree(src.node, dst);
                mova_zell_datatree_free_ext(&dst, zell_gpb_free, 0, 0);
            } else {
                EXPECT_TRUE(is_zeroed(dst));
            }
            return status;
        },
        [](zell_map_status status, bool injected) { EXPECT_EQ(status != 0, injected); });
}

struct ReleaseLog {
    static inline long calls = 0;
    static inline uint32_t last_arg = 0;
    static uint32_t release(void *block, uint32_t arg) {
        ++calls;
        last_arg = arg;
        return zell_gpb_free(block, 0);
    }
};

TEST_F(DatatreeRecordsTest, FreeExtReleasesWhatIsHeldWhateverThePresenceBits) {
    zell_datatree root{};
    build(root);
    // Bits cleared everywhere, and an emptied child array that is still held.
    root.presence = 0;
    root.insert = zell_datatree_insert{root.insert.position,
                                       {root.insert.key.keys, 1, root.insert.key.text, 0},
                                       {0, root.insert.value.value, 0},
                                       0};
    root.subtrees[0].presence = 0;
    add_children(root.subtrees[0], 1, 400);
    mova_zell_datatree_free_ext(&root.subtrees[0].subtrees[0], zell_gpb_free, 0, 0);
    root.subtrees[0].n_subtrees = 0;

    const long blocks = zell_host_live_allocations() - live_at_start;
    ReleaseLog::calls = 0;
    EXPECT_EQ(mova_zell_datatree_free_ext(&root, &ReleaseLog::release, 9, 0), 0u);
    EXPECT_EQ(ReleaseLog::calls, blocks);
    EXPECT_EQ(ReleaseLog::last_arg, 9u);
    EXPECT_TRUE(is_zeroed(root));
}

} // namespace
