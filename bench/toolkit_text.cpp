// What text costs: glyphs per second, drawn and measured, and what start-up pays for fonts.

#include "platform/gl/drawing.h"
#include "platform/gl/screen.h"
#include "platform/gl/windows.h"
#include "toolkit/graphics/text.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

constexpr int width = 800, height = 100;
constexpr std::string_view label = "Load Play File... Frame 17 of 240, 1280 x 1024, 24 frames/s";
constexpr std::string_view file_name =
    "Ma\xC3\xB1"
    "ana \xD0\xA4\xD0\xB8\xD0\xBB\xD1\x8C\xD0\xBC "
    "\xCE\xB1\xCE\xB2\xCE\xB3 \xE2\x80\x94 shot 12 \xE2\x86\x92 v3.reel";

std::int64_t letters_in(std::string_view text) {
    std::int64_t letters = 0;
    for (const char c : text)
        letters += (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
    return letters;
}

enum class colours { rgb, map };

void open_window(colours mode) {
    setenv("PLAYER_DISPLAY", "memory", 1);
    (void)gl::getgdesc(gl::GD_XPMAX);
    toolkit::gl_init_font_table();
    gl::prefposition(0, width - 1, 0, height - 1);
    (void)gl::winopen("text");
    if (mode == colours::map) {
        gl::cmode();
        gl::gconfig();
        gl::color(7);
    }
    gl::cpack(0xFFFFFF);
}

void close_window() {
    toolkit::gl_free_font_table();
    gl::gexit();
}

void draw(benchmark::State &state, colours mode, int slot, std::string_view text) {
    open_window(mode);
    for (auto _ : state)
        toolkit::gl_draw_text(10, 40, slot, text);
    state.SetItemsProcessed(state.iterations() * letters_in(text));
    close_window();
}

void measure(benchmark::State &state, int slot, std::string_view text) {
    open_window(colours::rgb);
    for (auto _ : state)
        benchmark::DoNotOptimize(toolkit::gl_inq_text_extent(slot, text));
    state.SetItemsProcessed(state.iterations() * letters_in(text));
    close_window();
}

// What the process pays once: the lists of fonts, the five faces, every letter of them.
void start_up(benchmark::State &state) {
    setenv("PLAYER_DISPLAY", "memory", 1);
    (void)gl::getgdesc(gl::GD_XPMAX);
    for (auto _ : state) {
        toolkit::gl_init_font_table();
        state.PauseTiming();
        toolkit::gl_free_font_table();
        state.ResumeTiming();
    }
    gl::gexit();
}

void first_letters(benchmark::State &state) {
    open_window(colours::rgb);
    for (auto _ : state) {
        state.PauseTiming();
        toolkit::gl_free_font_table();
        toolkit::gl_init_font_table();
        state.ResumeTiming();
        for (const int slot : toolkit::font_role_slots)
            toolkit::gl_draw_text(10, 40, slot, label);
    }
    close_window();
}

BENCHMARK_CAPTURE(draw, small, colours::rgb, toolkit::font_slot_small, label);
BENCHMARK_CAPTURE(draw, normal, colours::rgb, toolkit::font_slot_normal_1, label);
BENCHMARK_CAPTURE(draw, bold_italic, colours::rgb, toolkit::font_slot_bold_italic, label);
BENCHMARK_CAPTURE(draw, colour_map, colours::map, toolkit::font_slot_normal_1, label);
BENCHMARK_CAPTURE(draw, file_name, colours::rgb, toolkit::font_slot_normal_1, file_name);
BENCHMARK_CAPTURE(measure, normal, toolkit::font_slot_normal_1, label);
BENCHMARK_CAPTURE(measure, file_name, toolkit::font_slot_normal_1, file_name);
BENCHMARK(start_up)->Unit(benchmark::kMillisecond);
BENCHMARK(first_letters)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
