// What demons cost: a message to all of a tree, the pointer's way through deep and wide trees, and
// the gallery drawn whole.

#include "examples/gallery.h"
#include "platform/gl/queue.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/demons/demons.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/system.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>

namespace {

using namespace toolkit;

constexpr int demons_in_tree = 1000;
constexpr screen_box everywhere = {0, 0, 1000, 1000};
constexpr screen_point inside_all = {500, 500};

// Opens a display that is not there; all is gone at the end.
struct session {
    session() {
        setenv("PLAYER_DISPLAY", "memory", 1);
        system_init();
    }
    ~session() { system_terminate(); }
    session(const session &) = delete;
    session &operator=(const session &) = delete;
};

demon *add_at(demon *parent, const screen_box &box) {
    demon *made = create_demon(nullptr, 0, 0, nullptr);
    if (made == nullptr)
        std::abort();
    made->box = box;
    made->draw = made->erase = nullptr;
    add_demon(made, parent);
    return made;
}

// Adds `count` demons below another one, each with up to `kids` of its own.
void grow_tree(demon *parent, int count, int kids) {
    const int here = std::min(count, kids);
    int left = count - here;
    for (int i = 0; i < here; ++i) {
        demon *made = add_at(parent, everywhere);
        const int share = left / (here - i);
        grow_tree(made, share, kids);
        left -= share;
    }
}

// range(0): how many kids each demon has.
void message_to_all(benchmark::State &state) {
    const session running;
    demon *root = add_at(inq_demon_god(), everywhere);
    grow_tree(root, demons_in_tree - 1, static_cast<int>(state.range(0)));
    demon_message m;
    m.code = msg_left_down;
    m.propagate = demon_on;
    for (auto _ : state)
        send_demon_message(root, nullptr, m);
    state.SetItemsProcessed(state.iterations() * demons_in_tree);
}

// A move of the pointer, which ends at the innermost of range(0) demons.
void move_by_depth(benchmark::State &state) {
    const session running;
    demon *innermost = inq_demon_god();
    for (auto depth = state.range(0); depth > 0; --depth)
        innermost = add_at(innermost, everywhere);
    for (auto _ : state)
        deliver_event(input_motion, {.code = msg_pointer_moved, .point = inside_all});
    if (innermost->cursor != inside_all)
        state.SkipWithError("the innermost demon was not reached");
    state.SetItemsProcessed(state.iterations());
}

// The same with range(0) siblings, of which the last one that is asked has the pointer.
void move_by_width(benchmark::State &state) {
    const session running;
    demon *under_pointer = add_at(inq_demon_god(), everywhere);
    for (auto width = state.range(0); width > 1; --width)
        add_at(inq_demon_god(), {1001, 0, 9, 9}); // in front of the one before
    for (auto _ : state)
        deliver_event(input_motion, {.code = msg_pointer_moved, .point = inside_all});
    if (under_pointer->cursor != inside_all)
        state.SkipWithError("the demon under the pointer was not reached");
    state.SetItemsProcessed(state.iterations());
}

int demons_counted = 0;

void draw_gallery(benchmark::State &state) {
    const session running;
    gallery::open_windows();
    demons_counted = 0;
    do_demon_tree(inq_demon_god(), [](demon *) { ++demons_counted; });
    for (auto _ : state) {
        for (demon *window = inq_demon_god()->kids; window != nullptr; window = window->next)
            demon_draw_message(window);
        static_cast<void>(gl::qtest()); // brings it to the display
    }
    state.SetItemsProcessed(state.iterations());
    state.counters["demons"] = demons_counted;
}

BENCHMARK(message_to_all)->ArgName("kids")->Arg(1)->Arg(10)->Arg(1000);
BENCHMARK(move_by_depth)->ArgName("depth")->Arg(1)->Arg(10)->Arg(100);
BENCHMARK(move_by_width)->ArgName("width")->Arg(1)->Arg(10)->Arg(100)->Arg(1000);
BENCHMARK(draw_gallery)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
