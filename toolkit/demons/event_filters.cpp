#include "toolkit/demons/event_filters.h"

#include "toolkit/demons/demon_cursors.h"
#include "toolkit/demons/demon_tree.h"

#include <algorithm>
#include <vector>

namespace toolkit {

namespace {

struct event_filter {
    demon_ref receiver;
    std::int32_t mask;
    bool linked; // since it counts
};

struct filter_stack {
    demon_ref god; // whose filters these are
    std::vector<event_filter> filters;
};
filter_stack stack;

std::vector<event_filter> &filters_of_god() {
    demon *god = inq_demon_god();
    if (god == nullptr || stack.god.get() != god) {
        stack.filters.clear();
        stack.god = refer_to_demon(god);
    }
    return stack.filters;
}

// The filter that counts, or null.
event_filter *top_filter() {
    std::vector<event_filter> &filters = filters_of_god();
    const auto top = std::find_if(filters.rbegin(), filters.rend(), [](const event_filter &f) {
        return f.receiver.get() != nullptr;
    });
    return top == filters.rend() ? nullptr : &*top;
}

// Links the way to the receiver of motion, once it counts.
event_filter *link_top_filter() {
    event_filter *top = top_filter();
    if (top != nullptr && !top->linked && (top->mask & input_motion) != 0)
        relink_demon(top->receiver.get());
    if (top != nullptr)
        top->linked = true;
    return top;
}

} // namespace

void set_event_filter(demon *receiver, std::int32_t mask) {
    std::vector<event_filter> &filters = filters_of_god();
    if (!filters.empty())
        filters.pop_back();
    push_event_filter(receiver, mask);
}

void push_event_filter(demon *receiver, std::int32_t mask) {
    if (event_filter *covered = top_filter())
        covered->linked = false;
    filters_of_god().push_back({refer_to_demon(receiver), mask, false});
    link_top_filter();
}

void pop_event_filter() {
    const std::size_t count = inq_event_filters();
    if (count > 0)
        pop_event_filters_to(count - 1);
}

void clear_event_filter() {
    filters_of_god().clear();
}

std::size_t inq_event_filters() {
    return filters_of_god().size();
}

void pop_event_filters_to(std::size_t count) {
    std::vector<event_filter> &filters = filters_of_god();
    while (filters.size() > count)
        filters.pop_back();
    link_top_filter();
}

void set_total_filter(demon *self, object *, demon_message *event) {
    push_event_filter(self, total_filter_mask);
    if (event == nullptr || self == nullptr)
        return;
    demon_message m = *event;
    m.propagate = 0;
    if (self->box_in_child != nullptr)
        send_demon_message(self->box_in_child, self, m);
    else
        demon_cursor(self, m.point, cursor_mode::entered);
}

demon *inq_event_receiver(std::int16_t input_class) {
    link_top_filter();
    return peek_event_receiver(input_class);
}

demon *peek_event_receiver(std::int16_t input_class) {
    const event_filter *top = top_filter();
    if (top != nullptr && (top->mask & input_class) != 0)
        return top->receiver.get();
    return inq_demon_god();
}

} // namespace toolkit
