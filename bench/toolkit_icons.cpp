// What icons cost: drawn per second, found by name, and read for the first time.

#include "platform/gl/screen.h"
#include "platform/gl/windows.h"
#include "toolkit/graphics/bitmaps.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <string_view>

namespace {

constexpr int side = 200;
constexpr std::array<std::string_view, 7> panel{"reverse", "fast_reverse", "fast_forward", "play",
                                                "stop",    "step_back",    "step_forward"};

void open_window() {
    setenv("PLAYER_DISPLAY", "memory", 1);
    (void)gl::getgdesc(gl::GD_XPMAX);
    gl::prefposition(0, side - 1, 0, side - 1);
    (void)gl::winopen("icons");
    toolkit::gl_init_bitmap_table();
}

void close_window() {
    toolkit::gl_free_bitmap_table();
    gl::gexit();
}

void draw(benchmark::State &state, std::string_view name) {
    open_window();
    const int index = toolkit::gl_ind_bitmap(name);
    const toolkit::bitmap_record *bitmap = toolkit::gl_load_bitmap(index);
    for (auto _ : state)
        toolkit::gl_draw_bitmap(index, 10, 10);
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * bitmap->width * bitmap->height * 4);
    close_window();
}

// A panel's icons loaded: one try for a file each, and the program's own instead.
void load_panel(benchmark::State &state) {
    open_window();
    for (auto _ : state) {
        toolkit::gl_free_bitmap_table();
        for (const std::string_view name : panel)
            benchmark::DoNotOptimize(toolkit::gl_load_bitmap(toolkit::gl_ind_bitmap(name)));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(panel.size()));
    close_window();
}

BENCHMARK_CAPTURE(draw, transport_24x17, "stop");
BENCHMARK_CAPTURE(draw, play_40x35, "play");
BENCHMARK_CAPTURE(draw, program_128x128, "player128");
BENCHMARK(load_panel);

} // namespace

BENCHMARK_MAIN();
