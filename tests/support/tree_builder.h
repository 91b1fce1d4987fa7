// Building small trees by hand (with the platform allocator, so that a
// Tree releases them) and describing trees as one line of text.
#pragma once

#include <string>

#include "zell_map_common.h"

namespace zell::test {

// An owned copy of s for a node field (NULL stays NULL).
char *owned(const char *s);

// Appends a child with the given strings (each set with its presence bit
// when not NULL) and returns it; pointers to earlier children go stale.
zell_datatree &append_child(zell_datatree &parent, const char *tag, const char *ns = "urn:x",
                            const char *data = nullptr);

// The children of node, in order: "tag" then "=data" when the data bit is
// set, "@ns" when with_ns, "#n" for a numbered entry, "!op" when the
// operation bit is set, and "(...)" around its own children.
std::string describe(const zell_datatree &node, bool with_ns = false);

} // namespace zell::test
