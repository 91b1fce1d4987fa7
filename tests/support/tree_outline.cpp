#include "tree_outline.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace zell::test {

namespace {

constexpr size_t kIndent = 4;
constexpr const char *kNamespace = "urn:zell:test";
// How the printer shows a node without a tag.
constexpr std::string_view kNullTag = "(null)";

struct MarkName {
    int32_t mark;
    std::string_view text;
};
constexpr std::array<MarkName, 4> kMarks{{{1, " (dn)"}, {2, " (kn)"}, {3, " (ka)"}, {4, " (da)"}}};

struct Line {
    size_t depth = 0;
    std::string tag;
    std::string data;
    bool has_data = false;
    bool key = false;
    bool entry = false;
    int32_t mark = 0;
};

std::string_view trim_right(std::string_view s) {
    while (!s.empty() && s.back() == ' ')
        s.remove_suffix(1);
    return s;
}

// Takes a trailing " [key]", " [entry]" or mark marker off text.
bool take_marker(std::string_view &text, Line &line) {
    if (text.ends_with(" [key]")) {
        line.key = true;
        text.remove_suffix(6);
        return true;
    }
    if (text.ends_with(" [entry]")) {
        line.entry = true;
        text.remove_suffix(8);
        return true;
    }
    for (const MarkName &m : kMarks) {
        if (text.ends_with(m.text)) {
            line.mark = m.mark;
            text.remove_suffix(m.text.size());
            return true;
        }
    }
    return false;
}

bool parse_line(std::string_view raw, Line &line) {
    const size_t spaces = raw.find_first_not_of(' ');
    if (spaces % kIndent != 0)
        return false;
    line.depth = spaces / kIndent;
    std::string_view text = trim_right(raw.substr(spaces));
    while (take_marker(text, line)) {
    }
    const size_t colon = text.find(" : ");
    if (colon != std::string_view::npos) {
        line.has_data = true;
        line.data = std::string(text.substr(colon + 3));
        text = text.substr(0, colon);
    }
    line.tag = std::string(text);
    return !line.tag.empty();
}

void apply_markers(zell_datatree &node, const Line &line, Marks marks) {
    if (line.key) {
        node.is_key = 1;
        node.presence |= ZELL_DATATREE_HAS_IS_KEY;
    }
    if (line.entry) {
        node.type_info.node_type = ZELL_DATATREE_NODE_LIST_ENTRY;
        node.type_info.presence |= ZELL_DATATREE_TYPE_INFO_HAS_NODE_TYPE;
        node.presence |= ZELL_DATATREE_HAS_TYPE_INFO;
    }
    if (line.mark != 0 && marks == Marks::Apply) {
        node.mark = line.mark;
        node.presence |= ZELL_DATATREE_HAS_MARK;
    }
    if (line.tag == kNullTag) {
        rask_named_free(node.tag);
        node.tag = nullptr;
        node.presence &= ~ZELL_DATATREE_HAS_TAG;
    }
}

} // namespace

void add_outline(zell_map_ctx &ctx, zell_datatree &parent, std::string_view outline, Marks marks) {
    // Ancestors of the line being added; adding to the deepest one never
    // moves the records of the others.
    std::vector<zell_datatree *> ancestors{&parent};
    while (!outline.empty()) {
        const size_t end = outline.find('\n');
        const std::string_view raw = outline.substr(0, end);
        outline = end == std::string_view::npos ? std::string_view{} : outline.substr(end + 1);
        if (trim_right(raw).empty())
            continue;
        Line line;
        ASSERT_TRUE(parse_line(raw, line)) << "bad outline line '" << raw << "'";
        ASSERT_LT(line.depth, ancestors.size()) << "line skips a level: '" << raw << "'";
        ancestors.resize(line.depth + 1);
        zell_datatree *child = nullptr;
        ASSERT_EQ(zell_map_datatree_add_subtree(&ctx, ancestors.back(), line.tag.c_str(), kNamespace,
                                                line.has_data ? line.data.c_str() : nullptr, nullptr, &child,
                                                1),
                  ZELL_MAP_OK);
        apply_markers(*child, line, marks);
        ancestors.push_back(child);
    }
}

std::string outline_of(const zell_datatree &node) {
    testing::internal::CaptureStdout();
    const zell_map_status status = zell_map_print_subtrees(&node, 0, 0);
    std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(status, ZELL_MAP_OK);
    return printed;
}

} // namespace zell::test
