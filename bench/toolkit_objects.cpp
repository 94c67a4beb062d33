// Times the toolkit's object model: objects made and deleted, and one change told to a thousand.
#include "toolkit/objects/interest.h"
#include "toolkit/objects/object_model.h"
#include "toolkit/objects/objects.h"

#include <array>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <memory>

namespace {

using toolkit::object;
using toolkit::object_class;
using toolkit::object_set;

constexpr unsigned msg_hear = 30;
constexpr int connections = 1000;
constexpr std::int32_t block_size = 100;

// As large as a widget.
struct listener : object {
    std::int64_t heard;
    std::array<std::int64_t, 35> fields;
};

void hear(listener *self, int by) {
    self->heard += by;
}

object_set *make_set() {
    object_class *cls =
        toolkit::derive_object_class(toolkit::inq_object_class(), "listener class ");
    toolkit::set_method<hear>(cls, msg_hear);
    return toolkit::create_set_of<listener>(block_size, connections, cls);
}

// One object, in a set with as many others as the argument says.
void create_and_delete(benchmark::State &state) {
    object_set *set = make_set();
    for (auto i = state.range(0); i > 0; i--)
        benchmark::DoNotOptimize(toolkit::create_object(set));
    for (auto unused : state) {
        (void)unused;
        auto *o = toolkit::create_object_of<listener>(set);
        benchmark::DoNotOptimize(o);
        toolkit::object_destroy_message(o);
    }
    state.SetItemsProcessed(state.iterations());
    toolkit::terminate_objects();
}
BENCHMARK(create_and_delete)->Arg(0)->Arg(connections);

// The same from the system allocator: what the pools save.
void new_and_delete(benchmark::State &state) {
    for (auto unused : state) {
        (void)unused;
        auto o = std::make_unique<listener>();
        benchmark::DoNotOptimize(o.get());
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(new_and_delete);

// A thousand made, then all deleted, the oldest first: each is looked for in the live list.
void create_and_delete_oldest_first(benchmark::State &state) {
    object_set *set = make_set();
    std::array<object *, connections> made{};
    for (auto unused : state) {
        (void)unused;
        for (object *&o : made)
            o = toolkit::create_object(set);
        for (object *o : made)
            toolkit::object_destroy_message(o);
    }
    state.SetItemsProcessed(state.iterations() * connections);
    toolkit::terminate_objects();
}
BENCHMARK(create_and_delete_oldest_first)->Unit(benchmark::kMicrosecond);

// One change that as many objects hear of; items are connections.
void changes(benchmark::State &state) {
    object_set *set = make_set();
    toolkit::ic *list = nullptr;
    for (int i = 0; i < connections; i++)
        toolkit::add_ic(&list, 1, toolkit::create_object(set), msg_hear, 0);
    for (auto unused : state) {
        (void)unused;
        toolkit::changes(list);
    }
    state.SetItemsProcessed(state.iterations() * connections);
    toolkit::terminate_objects();
}
BENCHMARK(changes)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
