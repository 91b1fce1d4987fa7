// Subtree filtering of a finished response, in place.
//
// One frame per open level: a response node and the filter nodes whose
// children decide about its children. Each child is decided once, in
// order: kept whole, dropped, or opened as the next level with the
// containment nodes that matched it. A decided child is moved down to the
// end of its parent's kept prefix at once, or released; an opened one when
// its level closes, kept if anything below it was. No marks are written
// and nothing is allocated per node: frames and their filter lists are
// reused level by level.
#include <cstring>
#include <string_view>

#include "core/node.h"
#include "core/walk.h"
#include "core/xml_space.h"
#include "zell_map_filter.h"

namespace zell::map {
namespace {

struct Level {
    zell_datatree *data;      // the node whose children are decided
    int32_t next;             // next child to decide
    int32_t kept;             // children kept so far, moved to the front
    zell_datatree **filters;  // filter nodes whose children apply here
    int32_t n_filters;
    int32_t filter_capacity;
};

enum class Kind { Selection, ContentMatch, Containment };

std::string_view content_of(const zell_datatree &filter) noexcept {
    return has(filter, ZELL_DATATREE_HAS_DATA) && filter.data != nullptr ? trim_xml_space(filter.data)
                                                                          : std::string_view{};
}

Kind kind_of(const zell_datatree &filter) noexcept {
    if (!children(filter).empty())
        return Kind::Containment;
    return content_of(filter).empty() ? Kind::Selection : Kind::ContentMatch;
}

bool holds(const zell_datatree &data, std::string_view value) noexcept {
    return has(data, ZELL_DATATREE_HAS_DATA) && data.data != nullptr && std::string_view(data.data) == value;
}

const char *attribute_value(const zell_datatree &node, const char *name) noexcept {
    if (!has(node, ZELL_DATATREE_HAS_ATTRIBUTES) || node.attributes == nullptr)
        return nullptr;
    for (int32_t i = 0; i < node.n_attributes; ++i) {
        if (same(node.attributes[i].name, name))
            return node.attributes[i].value;
    }
    return nullptr;
}

// Same tag; same namespace unless the filter node names none; every
// attribute of the filter node present on the data node with its value.
bool names(const zell_datatree &filter, const zell_datatree &data) noexcept {
    if (!has(filter, ZELL_DATATREE_HAS_TAG) || !has(data, ZELL_DATATREE_HAS_TAG) || !same(filter.tag, data.tag))
        return false;
    if (has(filter, ZELL_DATATREE_HAS_NS) && filter.ns != nullptr &&
        !(has(data, ZELL_DATATREE_HAS_NS) && same(filter.ns, data.ns)))
        return false;
    if (has(filter, ZELL_DATATREE_HAS_ATTRIBUTES) && filter.attributes != nullptr) {
        for (int32_t i = 0; i < filter.n_attributes; ++i) {
            const zell_datatree_pair &wanted = filter.attributes[i];
            const char *value = attribute_value(data, wanted.name);
            if (value == nullptr || (wanted.value != nullptr && std::strcmp(value, wanted.value) != 0))
                return false;
        }
    }
    return true;
}

// Every content-match child of the containment node has a match among the
// data node's children. Sets only_content when it has no other kind.
bool content_matches(const zell_datatree &containment, const zell_datatree &data, bool &only_content) noexcept {
    only_content = true;
    for (const zell_datatree &test : children(containment)) {
        if (kind_of(test) != Kind::ContentMatch) {
            only_content = false;
            continue;
        }
        const std::string_view value = content_of(test);
        bool found = false;
        for (const zell_datatree &child : children(data)) {
            if (names(test, child) && holds(child, value)) {
                found = true;
                break;
            }
        }
        if (!found)
            return false;
    }
    return true;
}

bool add_filter(Level &level, zell_datatree *filter) noexcept {
    if (level.n_filters == level.filter_capacity) {
        const int32_t capacity = level.filter_capacity == 0 ? 4 : level.filter_capacity * 2;
        void *block = rask_named_realloc(level.filters, static_cast<size_t>(capacity) * sizeof(zell_datatree *));
        if (block == nullptr)
            return false;
        level.filters = static_cast<zell_datatree **>(block);
        level.filter_capacity = capacity;
    }
    level.filters[level.n_filters++] = filter;
    return true;
}

void keep(Level &level, int32_t index) noexcept {
    zell_datatree *kids = level.data->subtrees;
    if (index != level.kept) {
        kids[level.kept] = kids[index];
        kids[index] = zell_datatree{};
    }
    ++level.kept;
}

void drop(Level &level, int32_t index) noexcept {
    mova_zell_datatree_free_ext(&level.data->subtrees[index], zell_gpb_free, 0, 0);
    level.data->subtrees[index] = zell_datatree{};
}

// Ends a level: its children from `from` on are kept (after a failure) and
// the array is cut to what is kept, released when nothing is.
void close_level(Level &level, int32_t from) noexcept {
    zell_datatree &node = *level.data;
    const int32_t n = static_cast<int32_t>(children(node).size());
    for (int32_t i = from; i < n; ++i)
        keep(level, i);
    if (level.kept == 0) {
        rask_named_free(node.subtrees);
        node.subtrees = nullptr;
        node.n_subtrees = 0;
        node.presence &= ~ZELL_DATATREE_HAS_SUBTREES;
        return;
    }
    // A large array that lost most of its slots gives them back; a failed
    // shrink keeps the larger block.
    if (level.kept < n / 2 && n >= 64) {
        if (void *block = rask_named_realloc(node.subtrees, static_cast<size_t>(level.kept) * sizeof(zell_datatree)))
            node.subtrees = static_cast<zell_datatree *>(block);
    }
    node.n_subtrees = level.kept;
}

enum class Decision { Drop, Keep, Open };

// Decides about child against the children of the level's filter nodes;
// for Open, the containment nodes that matched it are in next's list.
Decision decide(const Level &level, const zell_datatree &child, Level &next, bool &failed) noexcept {
    next.n_filters = 0;
    for (int32_t f = 0; f < level.n_filters; ++f) {
        for (zell_datatree &test : children(*level.filters[f])) {
            if (!names(test, child))
                continue;
            switch (kind_of(test)) {
            case Kind::Selection:
                return Decision::Keep;
            case Kind::ContentMatch:
                if (holds(child, content_of(test)))
                    return Decision::Keep;
                break;
            case Kind::Containment: {
                bool only_content = false;
                if (!content_matches(test, child, only_content))
                    break;
                if (only_content)
                    return Decision::Keep;
                if (!add_filter(next, &test)) {
                    failed = true;
                    return Decision::Keep;
                }
                break;
            }
            }
        }
    }
    return next.n_filters > 0 ? Decision::Open : Decision::Drop;
}

zell_map_status filter_subtree(zell_datatree &filter, zell_datatree &response) noexcept {
    WalkStack<Level> levels("ZELL SUBTREE FILTER");
    zell_map_status status = ZELL_MAP_OK;
    Level *root = levels.push();
    if (root == nullptr)
        return ZELL_MAP_ERR_NO_MEMORY;
    root->data = &response;
    if (!add_filter(*root, &filter))
        status = ZELL_MAP_ERR_NO_MEMORY;
    while (status == ZELL_MAP_OK && !levels.empty()) {
        Level &level = levels.top();
        if (level.next < static_cast<int32_t>(children(*level.data).size())) {
            const int32_t index = level.next++;
            Level *next = levels.push();
            if (next == nullptr) {
                level.next = index; // undecided: kept by the failure path
                status = ZELL_MAP_ERR_NO_MEMORY;
                break;
            }
            Level &parent = levels[levels.depth() - 2];
            zell_datatree &child = parent.data->subtrees[index];
            bool failed = false;
            const Decision decision = decide(parent, child, *next, failed);
            if (decision == Decision::Open) {
                next->data = &child;
                next->next = 0;
                next->kept = 0;
                continue;
            }
            levels.pop();
            if (decision == Decision::Keep)
                keep(parent, index);
            else
                drop(parent, index);
            if (failed)
                status = ZELL_MAP_ERR_NO_MEMORY;
            continue;
        }
        close_level(level, level.next);
        const bool any_kept = level.kept > 0;
        levels.pop();
        if (levels.empty())
            break;
        Level &parent = levels.top();
        const int32_t index = parent.next - 1;
        if (any_kept)
            keep(parent, index);
        else
            drop(parent, index);
    }
    // After a failure every open level keeps what it has not decided yet,
    // its open child included, so the tree stays whole and holds at least
    // what the filter selects.
    while (!levels.empty()) {
        close_level(levels.top(), levels.top().next);
        levels.pop();
        if (!levels.empty())
            keep(levels.top(), levels.top().next - 1);
    }
    levels.for_each_slot([](Level &slot) { rask_named_free(slot.filters); });
    return status;
}

} // namespace
} // namespace zell::map

extern "C" zell_map_status zell_map_filter_subtree(zell_map_ctx *ctx, zell_datatree *filter,
                                                   zell_datatree *response) noexcept {
    (void)ctx;
    if (response == nullptr)
        return ZELL_MAP_ERR_INVALID_ARG;
    if (filter == nullptr)
        return ZELL_MAP_OK;
    return zell::map::filter_subtree(*filter, *response);
}
