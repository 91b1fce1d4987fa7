// Intrusive queue used as a LIFO stack: elements are chained through their
// first pointer-sized field, so queuing never allocates.
#include <cstring>

#include "zell_platform.h"

namespace {

// The link is accessed bytewise: elements are arbitrary records whose
// first field merely has room for a pointer.
void *link_of(const void *element) noexcept {
    void *next = nullptr;
    std::memcpy(&next, element, sizeof next);
    return next;
}

void set_link(void *element, void *next) noexcept {
    std::memcpy(element, &next, sizeof next);
}

} // namespace

extern "C" {

uint32_t rask_queue_init(rask_queue *queue, uint32_t limit) noexcept {
    if (queue == nullptr)
        return 1;
    *queue = rask_queue{nullptr, 0, limit};
    return 0;
}

uint32_t rask_queue_requeue(rask_queue *queue, void *element) noexcept {
    if (queue == nullptr || element == nullptr || queue->count >= queue->limit)
        return 1;
    set_link(element, queue->head);
    queue->head = element;
    ++queue->count;
    return 0;
}

void *rask_queue_dequeue(rask_queue *queue) noexcept {
    if (queue == nullptr || queue->head == nullptr)
        return nullptr;
    void *element = queue->head;
    queue->head = link_of(element);
    --queue->count;
    set_link(element, nullptr);
    return element;
}

int rask_queue_empty(const rask_queue *queue) noexcept {
    return queue == nullptr || queue->head == nullptr;
}

} // extern "C"
