// XML in and out, and subtree filtering: reading and writing the workload's
// response as XML (bytes per second), and a content match on a non-key leaf
// of a flat list (time per entry, which stays flat as the list grows).
#include <string>

#include "bench_main.h"
#include "zell_host.h"
#include "zell_map_xml.h"

using namespace zell::bench;

namespace {

// The workload's "bgp" tree as XML, made once per size.
const std::string &workload_xml(long n) {
    static long made_for = -1;
    static std::string xml;
    if (made_for != n) {
        Request r;
        Tree tree;
        char *text = nullptr;
        size_t size = 0;
        xml.clear();
        if (build_direct(r.ctx, tree.top, workload(n, Shape::Full)) == ZELL_MAP_OK &&
            zell_map_xml_write_memory(nullptr, tree.bgp(), ZELL_MAP_XML_INDENT, &text, &size) == ZELL_MAP_OK)
            xml.assign(text, size);
        rask_named_free(text);
        made_for = n;
    }
    return xml;
}

void read_xml(benchmark::State &state, long n) {
    const std::string &xml = workload_xml(n);
    IterationClock clock;
    for (auto _ : state) {
        Tree tree;
        const HeapReading before = read_heap();
        const zell_map_status status =
            clock.time([&] { return zell_map_xml_read_memory(nullptr, "bench", xml.data(), xml.size(), &tree.top, nullptr); });
        clock.finish(state);
        if (status != ZELL_MAP_OK || count_nodes(tree.top) != workload(n, Shape::Full).nodes()) {
            fail(state, "the tree read is not the workload's");
            break;
        }
        state.counters["tree_bytes_per_xml_byte"] =
            static_cast<double>(read_heap().live_bytes - before.live_bytes) / static_cast<double>(xml.size());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(xml.size()));
}

int count_bytes(void *user, const char *, size_t size) {
    *static_cast<size_t *>(user) += size;
    return 0;
}

void write_xml(benchmark::State &state, long n, uint32_t flags) {
    Request r;
    Tree tree;
    if (build_direct(r.ctx, tree.top, workload(n, Shape::Full)) != ZELL_MAP_OK)
        return fail(state, "response not built");
    IterationClock clock;
    size_t bytes = 0;
    for (auto _ : state) {
        const zell_map_status status =
            clock.time([&] { return zell_map_xml_write(nullptr, tree.bgp(), flags, count_bytes, &bytes); });
        clock.finish(state);
        if (status != ZELL_MAP_OK)
            return fail(state, "not written");
    }
    state.SetBytesProcessed(static_cast<int64_t>(bytes));
}

// A list of n entries (key, three leaves); one in a hundred has v = 7.
std::string flat_list(long n) {
    std::string xml = "<data xmlns='urn:bench'><list>";
    for (long i = 0; i < n; ++i)
        xml += "<e><k>" + std::to_string(i) + "</k><v>" + std::to_string(i % 100) +
               "</v><w>some text</w><x>more text</x></e>";
    return xml + "</list></data>";
}

// Filters a fresh copy of the list (read untimed) per iteration.
void content_match(benchmark::State &state, long n) {
    const std::string xml = flat_list(n);
    const std::string filter_xml = "<filter><list xmlns='urn:bench'><e><v>7</v><k/></e></list></filter>";
    Tree filter;
    if (zell_map_xml_read_memory(nullptr, "filter", filter_xml.data(), filter_xml.size(), &filter.top, nullptr) !=
        ZELL_MAP_OK)
        return fail(state, "filter not read");
    IterationClock clock;
    unsigned long calls = 0;
    for (auto _ : state) {
        Tree data;
        if (zell_map_xml_read_memory(nullptr, "data", xml.data(), xml.size(), &data.top, nullptr) != ZELL_MAP_OK)
            return fail(state, "data not read");
        zell_datatree &root = data.top.subtrees[0];
        const unsigned long before = zell_host_allocation_calls();
        const zell_map_status status =
            clock.time([&] { return zell_map_filter_subtree(nullptr, &filter.top.subtrees[0], &root); });
        calls += zell_host_allocation_calls() - before;
        clock.finish(state);
        if (status != ZELL_MAP_OK || root.subtrees[0].n_subtrees != (n + 92) / 100)
            return fail(state, "the filter kept the wrong entries");
    }
    per_unit(state, "per_entry", static_cast<double>(n));
    state.counters["allocs_per_call"] = static_cast<double>(calls) / static_cast<double>(state.iterations());
}

void register_benchmarks() {
    add_benchmark("XmlRead", {.to = 100'000}, [](auto &s, long n) { read_xml(s, n); });
    add_benchmark("XmlWrite", {.to = 100'000}, [](auto &s, long n) { write_xml(s, n, 0); });
    add_benchmark("XmlWriteIndented", {.to = 100'000}, [](auto &s, long n) { write_xml(s, n, ZELL_MAP_XML_INDENT); });
    add_benchmark("SubtreeFilter/ContentMatch", {.to = 1'000'000},
                  [](auto &s, long n) { content_match(s, n); });
}

} // namespace

int main(int argc, char **argv) {
    return run_main(argc, argv, register_benchmarks);
}
