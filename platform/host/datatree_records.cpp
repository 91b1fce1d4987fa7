// Deep copy and release of zell_datatree contents, as the framework's
// generated record routines do them. Ownership follows the pointers, not
// the presence bits: a set pointer is owned whatever its bit says.
#include <cstring>
#include <span>

#include "zell_map_types.h"
#include "zell_platform.h"

namespace {

class Releaser {
  public:
    Releaser(zell_gpb_free_fn release, uint32_t arg) noexcept : release_(release), arg_(arg) {}

    void string(char *&s) const noexcept { block(s); }

    template <typename T> void block(T *&p) const noexcept {
        if (p != nullptr)
            release_(p, arg_);
        p = nullptr;
    }

    void pairs(zell_datatree_pair *&pairs, int32_t count) const noexcept {
        if (pairs != nullptr) {
            for (zell_datatree_pair &pair : std::span(pairs, count > 0 ? count : 0)) {
                string(pair.name);
                string(pair.value);
            }
        }
        block(pairs);
    }

    // Releases a whole tree without a stack of its own: the way back up is
    // kept in the records being released. A record whose own fields are
    // gone holds its parent in its tag field, and each parent's count
    // tells how many children are left, released from the last one.
    void record(zell_datatree &root) const noexcept {
        fields(root);
        root.tag = nullptr; // the root has no parent
        zell_datatree *node = &root;
        while (node != nullptr) {
            if (node->subtrees != nullptr && node->n_subtrees > 0) {
                zell_datatree *child = &node->subtrees[--node->n_subtrees];
                fields(*child);
                set_parent(*child, node);
                node = child;
                continue;
            }
            block(node->subtrees);
            zell_datatree *parent = parent_of(*node);
            *node = zell_datatree{};
            node = parent;
        }
    }

  private:
    // Everything the record owns but its children.
    void fields(zell_datatree &node) const noexcept {
        string(node.tag);
        string(node.data);
        string(node.ns);
        string(node.data_ns);
        pairs(node.attributes, node.n_attributes);
        pairs(node.insert.key.keys, node.insert.key.n_keys);
        string(node.insert.key.text);
        string(node.insert.value.value);
    }

    static void set_parent(zell_datatree &node, zell_datatree *parent) noexcept {
        node.tag = reinterpret_cast<char *>(parent);
    }
    static zell_datatree *parent_of(const zell_datatree &node) noexcept {
        return reinterpret_cast<zell_datatree *>(node.tag);
    }

    zell_gpb_free_fn release_;
    uint32_t arg_;
};

// Copies through the caller's allocator; the first failure sticks, and
// every field it could not copy is left NULL so the partial copy can be
// released like any record.
class Copier {
  public:
    Copier(zell_gpb_alloc_fn alloc, uint32_t arg) noexcept : alloc_(alloc), arg_(arg) {}

    bool failed() const noexcept { return failed_; }

    char *string(const char *s) noexcept {
        if (s == nullptr)
            return nullptr;
        const std::size_t size = std::strlen(s) + 1;
        auto *copy = static_cast<char *>(raw(size));
        if (copy != nullptr)
            std::memcpy(copy, s, size);
        return copy;
    }

    // Arrays are zeroed before use so that a failure part-way leaves
    // nothing dangling in the slots not yet copied.
    template <typename T> T *array(int32_t count) noexcept {
        if (count <= 0)
            return nullptr;
        auto *p = static_cast<T *>(raw(sizeof(T) * static_cast<std::size_t>(count)));
        if (p != nullptr)
            std::memset(static_cast<void *>(p), 0, sizeof(T) * static_cast<std::size_t>(count));
        return p;
    }

    zell_datatree_pair *pairs(const zell_datatree_pair *src, int32_t count) noexcept {
        if (src == nullptr)
            return nullptr;
        zell_datatree_pair *dst = array<zell_datatree_pair>(count);
        if (dst == nullptr)
            return nullptr;
        for (int32_t i = 0; i < count; ++i) {
            dst[i].spare = src[i].spare;
            dst[i].name = string(src[i].name);
            dst[i].value = string(src[i].value);
        }
        return dst;
    }

    // Copies a whole tree without a stack of its own. A record whose
    // children are being copied keeps, until they are done, its parent in
    // its tag field and its source in its data field; its own tag and data
    // are copied last. After a failure nothing more is descended into, and
    // the records still open are closed on the way back up.
    void record(zell_datatree &dst_root, const zell_datatree &src_root) noexcept {
        open(dst_root, src_root, nullptr);
        zell_datatree *node = &dst_root;
        int32_t next = 0; // the child of node to copy next
        for (;;) {
            const zell_datatree &src = *source_of(*node);
            if (!failed_ && node->subtrees != nullptr && next < src.n_subtrees) {
                zell_datatree *child = &node->subtrees[next];
                open(*child, src.subtrees[next], node);
                node = child;
                next = 0;
                continue;
            }
            zell_datatree *parent = parent_of(*node);
            node->tag = string(src.tag);
            node->data = string(src.data);
            if (parent == nullptr)
                return;
            next = static_cast<int32_t>(node - parent->subtrees) + 1;
            node = parent;
        }
    }

  private:
    // Every field but tag and data, which hold the way back until the
    // children are copied; the children array is allocated, zeroed.
    void open(zell_datatree &dst, const zell_datatree &src, zell_datatree *parent) noexcept {
        dst = src;
        dst.tag = reinterpret_cast<char *>(parent);
        dst.data = reinterpret_cast<char *>(const_cast<zell_datatree *>(&src));
        dst.ns = string(src.ns);
        dst.data_ns = string(src.data_ns);
        dst.attributes = pairs(src.attributes, src.n_attributes);
        dst.insert.key.keys = pairs(src.insert.key.keys, src.insert.key.n_keys);
        dst.insert.key.text = string(src.insert.key.text);
        dst.insert.value.value = string(src.insert.value.value);
        dst.subtrees = src.subtrees == nullptr ? nullptr : array<zell_datatree>(src.n_subtrees);
    }

    static zell_datatree *parent_of(const zell_datatree &open) noexcept {
        return reinterpret_cast<zell_datatree *>(open.tag);
    }
    static const zell_datatree *source_of(const zell_datatree &open) noexcept {
        return reinterpret_cast<const zell_datatree *>(open.data);
    }

    void *raw(std::size_t size) noexcept {
        if (failed_)
            return nullptr;
        void *p = alloc_(size, arg_);
        failed_ = p == nullptr;
        return p;
    }

    zell_gpb_alloc_fn alloc_;
    uint32_t arg_;
    bool failed_ = false;
};

} // namespace

extern "C" {

uint32_t mova_zell_datatree_duplicate(zell_datatree *dst, const zell_datatree *src, zell_gpb_alloc_fn alloc,
                                      uint32_t arg) noexcept {
    if (dst == nullptr || src == nullptr || alloc == nullptr || dst == src)
        return 1;
    Copier copier(alloc, arg);
    copier.record(*dst, *src);
    if (!copier.failed())
        return 0;
    // Every allocation function handed in draws on the common heap, so
    // the partial copy goes back through the common release function.
    Releaser(zell_gpb_free, 0).record(*dst);
    return 1;
}

uint32_t mova_zell_datatree_free_ext(zell_datatree *record, zell_gpb_free_fn release, uint32_t arg_a,
                                     uint32_t /*arg_b*/) noexcept {
    if (record == nullptr || release == nullptr)
        return 0;
    Releaser(release, arg_a).record(*record);
    return 0;
}

} // extern "C"
