// Building small trees in tests: a child added (or reused) under a parent
// through the library's own subtree insertion, asserting it worked.
#pragma once

#include <gtest/gtest.h>

#include "zell_map_common.h"

namespace zell::test {

inline constexpr const char *kNs = "urn:test";

// The child tag (with data, in ns) under parent; numbered when indexed.
inline zell_datatree *add_child(zell_datatree *parent, const char *tag, const char *data = nullptr,
                                const char *ns = kNs, bool indexed = false) {
    zell_datatree *child = nullptr;
    EXPECT_EQ(zell_map_datatree_add_subtree(nullptr, parent, tag, ns, data, nullptr, &child, indexed ? 1 : 0),
              ZELL_MAP_OK);
    return child;
}

} // namespace zell::test
