// What the fuzz targets share: a request context with every log sink on
// (lines go to a hook that drops them), trees decoded from bytes, a text
// form of a tree to compare results, and the leak check at the end of a run.
#pragma once

#include <string>

#include "fuzz_input.h"
#include "zell_host.h"
#include "zell_map_common.h"

namespace zell::fuzz {

inline constexpr const char *kNs = "urn:zell:fuzz";

// A context wired to a request record, all log sinks on. Checks on
// destruction that the run released every block it allocated.
class Session {
  public:
    Session();
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    zell_map_ctx ctx{};
    zell_map_request request{};

  private:
    zell_request_msg msg_{};
    int err_handle_ = 0, trc_handle_ = 0, trace_handle_ = 0;
    long live_at_start_;
};

// A root record whose contents are released at scope end.
struct OwnedTree {
    zell_datatree root{};
    OwnedTree() = default;
    OwnedTree(const OwnedTree &) = delete;
    OwnedTree &operator=(const OwnedTree &) = delete;
    ~OwnedTree() { mova_zell_datatree_free_ext(&root, zell_gpb_free, 0, 0); }
};

struct TreeLimits {
    int max_nodes = 48;
    int max_depth = 6;
    // When nonzero, two bytes (0xff 0xff) may ask for a run of this many
    // list entries under one parent (wide lists are where breadth limits show).
    int wide_run = 0;
};

// Decodes a tree below root from bytes: tags and values from small
// alphabets so that filter and response meet, plus key leaves, list
// entries, tagless records and childless children bits.
void decode_tree(Bytes &bytes, zell_map_ctx &ctx, zell_datatree &root, const TreeLimits &limits);

// "tag=data{mark}(children...)" for every node below node, "~" for a tagless one.
std::string text_of(const zell_datatree &node);

// One entry of that text: node's label, then below (the text of what is
// left of its children) in parentheses.
std::string entry_text(const zell_datatree &node, const std::string &below);

// A path of components from the tag alphabet, with stray separators.
std::string decode_path(Bytes &bytes, int max_components);

} // namespace zell::fuzz
