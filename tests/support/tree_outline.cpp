#include "tree_outline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace zell::test {

void add_outline(zell_map_ctx &ctx, zell_datatree &parent, std::string_view text, Marks marks) {
    // Taken off the end of a line in this order; kMarkers[4 - m] is mark m.
    constexpr std::string_view kMarkers[] = {" (da)", " (ka)", " (kn)", " (dn)", " [entry]", " [key]"};
    // Adding below the deepest ancestor never moves the records of the others.
    std::vector<zell_datatree *> ancestors{&parent};
    for (size_t end = 0; !text.empty(); text.remove_prefix(std::min(end + 1, text.size()))) {
        end = std::min(text.find('|'), text.size());
        std::string_view line = text.substr(0, end);
        const size_t depth = std::min(line.find_first_not_of('.'), line.size());
        line.remove_prefix(depth);
        bool found[std::size(kMarkers)] = {};
        for (size_t i = 0; i < std::size(kMarkers); ++i)
            if ((found[i] = line.ends_with(kMarkers[i])))
                line.remove_suffix(kMarkers[i].size());
        const size_t colon = line.find(" : ");
        const std::string tag(line.substr(0, colon)), data(colon == line.npos ? "" : line.substr(colon + 3));
        ASSERT_LT(depth, ancestors.size()) << "line skips a level: " << tag;
        ancestors.resize(depth + 1);
        zell_datatree *node = nullptr;
        ASSERT_EQ(zell_map_datatree_add_subtree(&ctx, ancestors.back(), tag.c_str(), "urn:zell:test",
                                                colon == line.npos ? nullptr : data.c_str(), nullptr, &node,
                                                1),
                  ZELL_MAP_OK);
        for (int32_t mark = 4; mark >= 1; --mark)
            if (found[4 - mark] && marks == Marks::Apply) {
                node->mark = mark;
                node->presence |= ZELL_DATATREE_HAS_MARK;
            }
        if (found[4]) {
            node->type_info.node_type = ZELL_DATATREE_NODE_LIST_ENTRY;
            node->type_info.presence |= ZELL_DATATREE_TYPE_INFO_HAS_NODE_TYPE;
            node->presence |= ZELL_DATATREE_HAS_TYPE_INFO;
        }
        if (found[5]) {
            node->is_key = 1;
            node->presence |= ZELL_DATATREE_HAS_IS_KEY;
        }
        if (tag == "(null)") {
            rask_named_free(node->tag);
            node->tag = nullptr;
            node->presence &= ~ZELL_DATATREE_HAS_TAG;
        }
        ancestors.push_back(node);
    }
}

std::string outline_of(const zell_datatree &node) {
    testing::internal::CaptureStdout();
    const zell_map_status status = zell_map_print_subtrees(&node, 0, 0);
    std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(status, ZELL_MAP_OK);
    return printed;
}

std::string line_of(const zell_datatree &node) {
    const std::string printed = outline_of(node);
    std::string out;
    for (size_t at = 0, end; at < printed.size(); at = end + 1) {
        end = std::min(printed.find('\n', at), printed.size());
        const size_t spaces = printed.find_first_not_of(' ', at) - at;
        out.append(out.empty() ? "" : "|").append(spaces / 4, '.');
        out.append(printed, at + spaces, end - at - spaces);
    }
    return out;
}

} // namespace zell::test
