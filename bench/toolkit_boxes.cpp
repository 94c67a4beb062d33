// What boxes cost: filled and bevelled per second, in both colour modes, and turned over.

#include "platform/gl/drawing.h"
#include "platform/gl/screen.h"
#include "platform/gl/windows.h"
#include "toolkit/demons/boxes.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"

#include <benchmark/benchmark.h>

#include <cstdlib>

namespace {

constexpr int window_width = 640;
constexpr int window_height = 480;
constexpr toolkit::screen_box button{10, 10, 80, 25};
constexpr toolkit::screen_box whole{0, 0, window_width, window_height};

// Runs a painter in a window of its own: range(0) tells whether that holds indices.
template <typename painter> void paint(benchmark::State &state, painter draw, int boxes) {
    setenv("PLAYER_DISPLAY", "memory", 1);
    (void)gl::getgdesc(gl::GD_XPMAX);
    gl::prefposition(0, window_width - 1, 0, window_height - 1);
    (void)gl::winopen("boxes");
    if (state.range(0) != 0)
        gl::cmode();
    else
        gl::RGBmode();
    gl::gconfig();
    for (auto _ : state)
        draw();
    state.SetItemsProcessed(state.iterations() * boxes);
    gl::gexit();
}

void fill_button(benchmark::State &state) {
    paint(
        state, [] { toolkit::gl_fill_box(button, toolkit::colour_face); }, 1);
}
void fill_window(benchmark::State &state) {
    paint(
        state, [] { toolkit::gl_fill_box(whole, toolkit::colour_face); }, 1);
}
void bevelled_button(benchmark::State &state) {
    paint(
        state, [] { toolkit::draw_bn(button); }, 1);
}
void highlight_and_back(benchmark::State &state) {
    paint(
        state,
        [] {
            toolkit::xor_box(button);
            toolkit::xor_box(button);
        },
        2);
}

BENCHMARK(fill_button)->ArgName("by_index")->Arg(0)->Arg(1);
BENCHMARK(fill_window)->ArgName("by_index")->Arg(0)->Arg(1);
BENCHMARK(bevelled_button)->ArgName("by_index")->Arg(0)->Arg(1);
BENCHMARK(highlight_and_back)->ArgName("by_index")->Arg(1);

} // namespace

BENCHMARK_MAIN();
