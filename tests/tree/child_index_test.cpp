// Wide parents are looked up through the context's child index. Whatever the
// index holds, every answer must be the one a scan gives (the same operation
// with no context), also after the tree changed outside the library.
#include <cstring>
#include <deque>
#include <memory>
#include <functional>
#include <string>

#include "harness.h"
#include "tree_builder.h"

using namespace zell::test;

namespace {

constexpr const char *kOther = "urn:other";

std::string key(int i) {
    return "k" + std::to_string(i);
}

void set_ns(zell_datatree &node, const char *ns) {
    rask_named_free(node.ns);
    node.ns = owned(ns);
}

// R/W, W wide: 0..59 numbered entries keyed name=k<position + 1> (9
// repeats k40, 19 has no children, 29 has its key second); 60, 61 leaves of
// one tag; 62 an unnumbered entry; 63, 64 "other" in two namespaces;
// 65..70 "mix", numbered on odd positions.
void build_wide(Tree &t) {
    std::vector<Shape> kids;
    std::deque<std::string> keys;
    for (int i = 1; i <= 60; ++i) {
        const char *k = keys.emplace_back(key(i == 10 ? 40 : i)).c_str();
        if (i == 20)
            kids.push_back(N("entry"));
        else if (i == 30)
            kids.push_back(N("entry", {V("v", "x"), Key("name", k)}));
        else
            kids.push_back(N("entry", {Key("name", k), V("v", "y")}));
    }
    kids.push_back(V("leaf", "x"));
    kids.push_back(V("leaf", "z"));
    kids.push_back(N("entry", {Key("name", "k62")}));
    kids.push_back(N("other"));
    kids.push_back(N("other"));
    for (int i = 65; i <= 70; ++i)
        kids.push_back(V("mix", "m"));
    fill(t.node, N("R", {N("W", kids)}));
    zell_datatree &w = t->subtrees[0];
    set_ns(w, ZELL_MAP_OC_BGP_NS);
    set_ns(w.subtrees[63], kOther);
    for (int i = 0; i <= 70; ++i) {
        zell_datatree &child = w.subtrees[i];
        const bool numbered = i < 60 || (i >= 65 && i % 2 == 1);
        if (numbered) {
            child.subtree_index = i + 1;
            child.presence |= ZELL_DATATREE_HAS_SUBTREE_INDEX;
        }
    }
}

// What an operation left visible: its result, where its node is in W and W itself.
using Op = std::function<std::string(zell_map_ctx *, zell_datatree &root)>;

std::string where(const zell_datatree &root, const zell_datatree *node) {
    const zell_datatree &w = root.subtrees[0];
    if (node == nullptr)
        return "none";
    if (node >= w.subtrees && node < w.subtrees + w.n_subtrees)
        return "#" + std::to_string(node - w.subtrees);
    return "elsewhere";
}

Op add(const char *tag, const char *ns, const char *data = nullptr, uint32_t flags = 0, bool op_copy = false) {
    return [=](zell_map_ctx *ctx, zell_datatree &root) {
        zell_datatree source{};
        source.operation = ZELL_DATATREE_OP_CREATE;
        source.presence = ZELL_DATATREE_HAS_OPERATION;
        zell_datatree *out = nullptr;
        const auto st = zell_map_datatree_add_subtree_flagged(ctx, &root.subtrees[0], tag, ns, data,
                                                              op_copy ? &source : nullptr, &out, 0, flags);
        return std::to_string(st) + " " + where(root, out);
    };
}

Op search(const std::string &value, const char *ns = nullptr) {
    return [=](zell_map_ctx *ctx, zell_datatree &root) {
        zell_datatree *out = nullptr;
        const auto st = zell_map_search_list(ctx, &root, &out, "W/entry", value.c_str(), "name", ns);
        zell_datatree *node = &root;
        const auto it = zell_map_iterate_list(ctx, &node, "name", value.c_str(), "W/entry", ns);
        return std::to_string(st) + " " + where(root, out) + " " + std::to_string(it) + " " + where(root, node);
    };
}

// Without a context the operation reports nothing (it re-roots through the
// context), so the rule itself answers: the first instance holding the key,
// an instance without children ending the search.
std::string present_by_rule(const zell_datatree &root, const std::string &value) {
    const zell_datatree &w = root.subtrees[0];
    for (int32_t i = 0; i < w.n_subtrees; ++i) {
        const zell_datatree &instance = w.subtrees[i];
        if ((instance.presence & ZELL_DATATREE_HAS_SUBTREES) == 0)
            break;
        for (int32_t j = 0; j < instance.n_subtrees; ++j) {
            const zell_datatree &leaf = instance.subtrees[j];
            if (leaf.tag != nullptr && std::strcmp(leaf.tag, "name") == 0 && leaf.data != nullptr &&
                value == leaf.data)
                return "1 #" + std::to_string(i);
        }
    }
    return "0 none";
}

Op present(const std::string &value) {
    return [=](zell_map_ctx *ctx, zell_datatree &root) {
        if (ctx == nullptr)
            return present_by_rule(root, value);
        zell_datatree *out = nullptr;
        const int found = zell_map_is_list_node_already_present(ctx, &root, "W", nullptr, "name", value.c_str(), &out);
        return std::to_string(found) + " " + where(root, out);
    };
}

Op add_list(const std::string &value, const char *ns = kNs) {
    return [=](zell_map_ctx *ctx, zell_datatree &root) {
        zell_datatree *out = nullptr;
        const auto st = zell_map_datatree_add_list_node(ctx, &root.subtrees[0], "entry", ns, "name", value.c_str(), &out);
        return std::to_string(st) + " " + where(root, out);
    };
}

Op count(const char *path) {
    return [=](zell_map_ctx *ctx, zell_datatree &root) {
        int32_t n = -1;
        const auto st = zell_map_datatree_get_subtree_num(ctx, &root, path, &n);
        return std::to_string(st) + " " + std::to_string(n);
    };
}

const std::pair<const char *, Op> kOps[] = {
    {"numbered entries: the last", add("entry", kNs)},
    {"an operation copy: the first", add("entry", kNs, "d", 0, true)},
    {"unnumbered duplicates: the first, value replaced", add("leaf", kNs, "new")},
    {"mixed numbering: the first unnumbered", add("mix", kNs)},
    {"two namespaces, the second", add("other", kNs)},
    {"two namespaces, the first", add("other", kOther)},
    {"two namespaces, any", add("other", "urn:none", nullptr, ZELL_MAP_FLAG_IGNORE_NS)},
    {"a namespace nobody has: appended", add("entry", "urn:none")},
    {"an absent tag: appended", add("absent", kNs)},
    {"search: a plain key", search(key(5))},
    {"search: a repeated key, the first", search(key(40))},
    {"search: key not the first leaf", search(key(30))},
    {"search: the unnumbered entry", search(key(62))},
    {"search: after the childless entry", search(key(25))},
    {"search: absent", search(key(99))},
    {"search: another namespace", search(key(5), kOther)},
    {"present: before the childless entry", present(key(5))},
    {"present: after the childless entry", present(key(25))},
    {"present: absent", present(key(99))},
    {"add list node: existing", add_list(key(40))},
    {"add list node: new", add_list(key(99))},
    {"add list node: other namespace", add_list(key(5), kOther)},
    {"count: first of a tag", count("R/W/entry")},
    {"count: absent tag", count("R/W/none")},
};

// One operation's outcome and the tree it left, on a fresh tree.
std::string run(zell_map_ctx *ctx, const Op &op, const std::function<void(zell_datatree &)> &before = {}) {
    Tree t;
    build_wide(t);
    if (before)
        before(t.node);
    std::string out = op(ctx, t.node);
    out += " | " + describe(t.node, true);
    return out;
}

} // namespace

class ChildIndex : public MapTest {
  protected:
    void SetUp() override {
        MapTest::SetUp();
        SinksOff(); // tracing makes the insertion scan, to log every sibling it passes
    }
};

TEST_F(ChildIndex, AnswersAsTheScanDoes) {
    for (const auto &[name, op] : kOps) {
        SCOPED_TRACE(name);
        const std::string scanned = run(nullptr, op);
        EXPECT_EQ(run(&ctx, op), scanned);
        // Again with an index built for the tree before (and kept across the operation).
        EXPECT_EQ(run(&ctx, op, [&](zell_datatree &root) { (void)search(key(7))(&ctx, root); }), scanned);
        zell_map_request_release(&ctx);
    }
}

// The tree changes outside the library after the index has seen it.
TEST_F(ChildIndex, SeesTreesChangedBehindItsBack) {
    const struct {
        const char *name;
        std::function<void(zell_datatree &)> change;
    } changes[] = {
        {"an entry appended, the array reallocated",
         [](zell_datatree &w) { append_child(append_child(w, "entry", kNs), "name", kNs, "k99"); }},
        {"the last child dropped, the count lowered",
         [](zell_datatree &w) {
             mova_zell_datatree_free_ext(&w.subtrees[w.n_subtrees - 1], zell_gpb_free, 0, 0);
             --w.n_subtrees;
         }},
        {"every child rebuilt in place, same array and count",
         [](zell_datatree &w) {
             for (int i = 0; i < w.n_subtrees; ++i) {
                 mova_zell_datatree_free_ext(&w.subtrees[i], zell_gpb_free, 0, 0);
                 const std::string k = key(100 + i);
                 fill(w.subtrees[i], N(i % 2 ? "entry" : "mix", {Key("name", k.c_str())}));
             }
         }},
    };
    const Op probes[] = {add("entry", kNs), add("mix", kNs), add("other", kNs), search(key(99)),
                         search(key(101)), search(key(5)),  present(key(103)), count("R/W/other")};
    for (const auto &c : changes) {
        for (size_t p = 0; p < std::size(probes); ++p) {
            SCOPED_TRACE(std::string(c.name) + ", probe " + std::to_string(p));
            const auto changed = [&](zell_datatree &root) {
                (void)search(key(7))(&ctx, root); // the index is built
                (void)add("entry", kNs)(&ctx, root);
                c.change(root.subtrees[0]);
            };
            EXPECT_EQ(run(&ctx, probes[p], changed), run(nullptr, probes[p], changed));
            zell_map_request_release(&ctx);
        }
    }
}

// Keys the library changes between two lookups: a few, and more than the
// index remembers.
TEST_F(ChildIndex, FollowsKeysTheLibraryChanges) {
    for (const int changed : {3, 200}) {
        SCOPED_TRACE(changed);
        const auto renamed = [&](zell_map_ctx *c, zell_datatree &root) {
            std::string out = search(key(7))(c, root);
            zell_datatree &w = root.subtrees[0];
            for (int i = 0; i < changed; ++i) {
                // A new entry gets its key after it is added; an old one's key is renamed in place.
                zell_datatree *target = &w.subtrees[1 + i % 50];
                if (i % 2 == 1) {
                    EXPECT_EQ(zell_map_datatree_add_subtree(c, &w, "entry", kNs, nullptr, nullptr, &target, 1),
                              ZELL_MAP_OK);
                }
                const std::string k = key(900 + i);
                EXPECT_EQ(zell_map_datatree_add_subtree(c, target, "name", kNs, k.c_str(), nullptr, nullptr, 0),
                          ZELL_MAP_OK);
            }
            for (const int k : {1, 2, 3, 20, 40, 900, 901, 902, 950, 1099})
                out += " / " + search(key(k))(c, root) + " " + present(key(k))(c, root);
            return out;
        };
        EXPECT_EQ(run(&ctx, renamed), run(nullptr, renamed));
        zell_map_request_release(&ctx);
    }
}

// An index that cannot be built leaves the scan's answer, with no status,
// log line or leak of its own. These operations allocate nothing else.
TEST_F(ChildIndex, FallsBackToTheScanWhenMemoryRunsOut) {
    const Op ops[] = {add("entry", kNs), add("mix", kNs), add_list(key(40)), add_list(key(5))};
    for (const Op &op : ops) {
        const std::string expected = run(nullptr, op);
        std::string got;
        for_each_alloc_failure(
            [&](const Arm &arm) {
                Tree t;
                build_wide(t);
                arm();
                got = op(&ctx, t.node) + " | " + describe(t.node, true);
                return ZELL_MAP_OK;
            },
            [&](zell_map_status, bool) {
                EXPECT_EQ(got, expected);
                EXPECT_TRUE(NotLogged("Failed"));
                zell_map_request_release(&ctx);
            });
    }
}
