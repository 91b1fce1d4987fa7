// The example backend end to end: a get request on the BGP model for each
// built-in filter, answered from a three-neighbor device, compared line for
// line with the outline a client should see, and nothing left behind once
// the request is released and the trees freed.
#include <algorithm>
#include <string>

#include "bgp_backend.h"
#include "bgp_filter.h"
#include "harness.h"
#include "tree_outline.h"

namespace zell::test {
namespace {

constexpr int32_t kSession = 7;

class ExampleBgpGet : public MapTest {
  protected:
    void SetUp() override {
        MapTest::SetUp();
        SinksOff();
        ASSERT_EQ(bgp_device_init(&device, 3), 0);
        ASSERT_EQ(bgp_session_register(&session, kSession), 0);
        msg.session_id = kSession;
        msg.presence |= ZELL_REQUEST_MSG_HAS_SESSION_ID;
        ctx.req_ctx = &req_ctx;
    }
    void TearDown() override {
        bgp_device_free(&device);
        MapTest::TearDown();
    }

    // Runs the request with the filter kind and returns the printed response.
    std::string Get(bgp_filter_kind kind, const char *address) {
        zell_datatree filter_top{};
        zell_datatree response_top{};
        zell_datatree *filter = nullptr;
        zell_datatree *response = nullptr;
        std::string printed;
        EXPECT_EQ(bgp_filter_build(&ctx, kind, address, &filter_top, &filter), ZELL_MAP_OK);
        request.datatree = filter;
        request.flags = ZELL_MAP_REQUEST_FILTER;
        EXPECT_EQ(bgp_get(&ctx, &device, &response_top, &response), ZELL_MAP_OK);
        EXPECT_EQ(response, response_top.subtrees);
        printed = outline_of(response_top);
        EXPECT_EQ(request.trim_path, nullptr) << "the list context is closed";
        EXPECT_EQ(request.output_count, 0) << "the output list is balanced";
        EXPECT_EQ(request.hierarchy_depth, 0) << "the hierarchy is balanced";
        zell_map_request_release(&ctx);
        mova_zell_datatree_free_ext(&response_top, zell_gpb_free, 0, 0);
        mova_zell_datatree_free_ext(&filter_top, zell_gpb_free, 0, 0);
        EXPECT_EQ(zell_host_live_allocations(), live_at_start);
        return printed;
    }

    bgp_device device{};
    bgp_session session{};
    zell_me engine{};
    zell_req_ctx req_ctx{&engine, &msg};
};

TEST_F(ExampleBgpGet, EachFilterAnswersWithItsOutline) {
    const struct {
        bgp_filter_kind kind;
        const char *address;
        const char *expected;
    } cases[] = {
        {BGP_FILTER_NEIGHBOR_STATE, "10.0.0.2", R"(
bgp (kn)
    neighbors (kn)
        neighbor (kn)
            neighbor-address : 10.0.0.2 (ka)
            state (ka)
                neighbor-address : 10.0.0.2
                peer-as : 65002
                session-state : ACTIVE
                last-established : 2023-11-14T23:13:20Z
                link-bandwidth : 10000000000
)"},
        {BGP_FILTER_PEER_AS, nullptr, R"(
bgp (kn)
    neighbors (kn)
        neighbor (kn)
            neighbor-address : 10.0.0.1 (ka)
            config (kn)
                peer-as : 65001 (ka)
        neighbor (kn)
            neighbor-address : 10.0.0.2 (ka)
            config (kn)
                peer-as : 65002 (ka)
        neighbor (kn)
            neighbor-address : 10.0.0.3 (ka)
            config (kn)
                peer-as : 65003 (ka)
)"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.address != nullptr ? c.address : "every neighbor");
        EXPECT_EQ(Get(c.kind, c.address), outline(c.expected));
    }
}

// The empty filter answers everything; a filter naming one neighbor by its
// key answers exactly that neighbor's part of it, kept whole.
TEST_F(ExampleBgpGet, NeighborFilterAnswersThatNeighborsPartOfEverything) {
    const std::string all = Get(BGP_FILTER_ALL, nullptr);
    EXPECT_TRUE(all.starts_with("bgp (ka)\n    global\n        config\n            as : 65000\n")) << all;
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 9 + 3 * 30)
        << "bgp and global, then 30 lines a neighbor";
    const std::string key =
        "            neighbor-address : 10.0.0.3\n"; // the last neighbor: its block ends the text
    const size_t block = all.find("        neighbor\n" + key);
    ASSERT_NE(block, std::string::npos) << all;
    const std::string rest = all.substr(block + std::string("        neighbor\n").size() + key.size());
    EXPECT_EQ(Get(BGP_FILTER_NEIGHBOR, "10.0.0.3"), "bgp (kn)\n    neighbors (kn)\n        neighbor (ka)\n"
                                                    "            neighbor-address : 10.0.0.3 (ka)\n" +
                                                        rest);
}

// More neighbors than any work stack used to hold: every one is answered.
TEST_F(ExampleBgpGet, PeerAsFilterAnswersEveryOneOfSixThousandNeighborsAtScale) {
    bgp_device_free(&device);
    ASSERT_EQ(bgp_device_init(&device, 6000), 0);
    const std::string printed = Get(BGP_FILTER_PEER_AS, nullptr);
    const auto lines_with = [&printed](const std::string &text) {
        size_t count = 0;
        for (size_t at = printed.find(text); at != std::string::npos; at = printed.find(text, at + 1))
            ++count;
        return count;
    };
    EXPECT_EQ(lines_with("        neighbor (kn)\n"), 6000u);
    EXPECT_EQ(lines_with("                peer-as : "), 6000u);
}

TEST_F(ExampleBgpGet, NoSessionMeansNoConnectionAndNoResponse) {
    msg.session_id = kSession + 1;
    zell_datatree top{};
    zell_datatree *response = nullptr;
    EXPECT_EQ(bgp_get(&ctx, &device, &top, &response), ZELL_MAP_ERR_NOT_FOUND);
    EXPECT_EQ(response, nullptr);
    EXPECT_EQ(top.subtrees, nullptr);
}

} // namespace
} // namespace zell::test
