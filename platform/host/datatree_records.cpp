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

    void record(zell_datatree &node) const noexcept {
        string(node.tag);
        string(node.data);
        string(node.ns);
        string(node.data_ns);
        pairs(node.attributes, node.n_attributes);
        pairs(node.insert.key.keys, node.insert.key.n_keys);
        string(node.insert.key.text);
        string(node.insert.value.value);
        if (node.subtrees != nullptr) {
            for (zell_datatree &child : std::span(node.subtrees, node.n_subtrees > 0 ? node.n_subtrees : 0))
                record(child);
        }
        block(node.subtrees);
        node = zell_datatree{};
    }

  private:
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

    void record(zell_datatree &dst, const zell_datatree &src) noexcept {
        dst = src;
        dst.tag = string(src.tag);
        dst.data = string(src.data);
        dst.ns = string(src.ns);
        dst.data_ns = string(src.data_ns);
        dst.attributes = pairs(src.attributes, src.n_attributes);
        dst.insert.key.keys = pairs(src.insert.key.keys, src.insert.key.n_keys);
        dst.insert.key.text = string(src.insert.key.text);
        dst.insert.value.value = string(src.insert.value.value);
        dst.subtrees = src.subtrees == nullptr ? nullptr : array<zell_datatree>(src.n_subtrees);
        if (dst.subtrees != nullptr) {
            for (int32_t i = 0; i < src.n_subtrees; ++i)
                record(dst.subtrees[i], src.subtrees[i]);
        }
    }

  private:
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
