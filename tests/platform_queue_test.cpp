// The intrusive queue as the schema-filter walks use it: a bounded stack.
#include "harness.h"

namespace {

struct Element {
    void *link;
    int id;
};

TEST(RaskQueue, PopsLastPushedFirstAndRefusesBeyondLimit) {
    rask_queue q;
    ASSERT_EQ(rask_queue_init(&q, 3), 0u);
    Element e[4] = {{nullptr, 0}, {nullptr, 1}, {nullptr, 2}, {&q, 3}};
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(rask_queue_requeue(&q, &e[i]), 0u) << i;
    EXPECT_NE(rask_queue_requeue(&q, &e[3]), 0u);
    EXPECT_EQ(e[3].link, &q) << "a refused element was touched";

    // The limit counts what is queued now.
    EXPECT_EQ(rask_queue_dequeue(&q), &e[2]);
    EXPECT_EQ(rask_queue_requeue(&q, &e[3]), 0u);
    for (const int expected : {3, 1, 0}) {
        ASSERT_FALSE(rask_queue_empty(&q));
        auto *popped = static_cast<Element *>(rask_queue_dequeue(&q));
        ASSERT_NE(popped, nullptr);
        EXPECT_EQ(popped->id, expected);
    }
    EXPECT_TRUE(rask_queue_empty(&q));
    EXPECT_EQ(rask_queue_dequeue(&q), nullptr);
}

} // namespace
