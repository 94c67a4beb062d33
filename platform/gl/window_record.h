// What platform/gl keeps of each window; only its own sources include this.
//
// Pixels. All buffers have their top row first, as displays do. A plain RGB window draws straight
// into the frames that it shares with the display: words 0x00RRGGBB. A window in colour-map mode,
// or one whose overlay holds something, is "composed": it draws into planes of its own, and what
// changed is put together into the display's frame when it is shown.
//
// Rectangles here are in window pixels with the origin at the TOP left, as the display takes them.
#pragma once

#include "platform/display/display.h"
#include "platform/gl/drawing.h"

#include <array>
#include <cstdint>
#include <vector>

namespace gl {

using display::rectangle;

// A buffer that can be drawn in; width and height are those of its window.
struct raster {
    std::uint32_t *pixels = nullptr;
    int stride = 0;
};

// Edges in window pixels from the LOWER left corner, all four inside.
struct box {
    int left = 0;
    int right = 0;
    int bottom = 0;
    int top = 0;
    [[nodiscard]] bool is_empty() const { return right < left || top < bottom; }
};

struct viewport_state {
    box port;
    box mask;
};

template <typename State> struct state_stack {
    std::array<State, stack_depth> saved{};
    int depth = 0;
};

struct window_modes {
    bool rgb = true;
    bool double_buffered = false;
    bool has_overlay = false;
};

struct window_record {
    int number = 0; // as the program knows it; 0: this record is free
    display::window_id id = 0;
    rectangle area; // on the screen, origin top left
    bool iconic = false;

    window_modes modes;  // in force
    window_modes wanted; // after the next gconfig
    bool draw_front = true;
    bool draw_back = false;
    int front = 0; // which of the two frames or planes is shown

    std::array<raster, 2> rasters{}; // where drawing goes, by frame number
    bool composed = false;
    std::array<std::vector<std::uint32_t>, 2> planes; // when composed
    std::vector<std::uint32_t> overlay;               // overlay indices, when there are any

    rectangle damage;     // drawn in front and not yet shown
    rectangle difference; // where front and back may differ

    std::uint32_t rgb_word = 0; // 0x00RRGGBB
    std::uint32_t index = 0;
    std::uint32_t overlay_index = 0;
    std::uint32_t mask = all_bits; // in the order of the words in the buffers
    int draw_mode = NORMALDRAW;
    viewport_state view;
    matrix_state matrix;
    state_stack<viewport_state> saved_views;
    state_stack<matrix_state> saved_matrices;
    int line_width = 1;
    int text_x = 0, text_y = 0; // window coordinates
    int pen_x = 0, pen_y = 0;   // as given to move2i
    int cursor = 0;
    bool cursor_on = true;
};

// Takes back what defcursor has said (cursors.cpp): the display is given back.
void forget_defined_cursors();

// The record of a window, or null.
[[nodiscard]] window_record *find_window(int number);
[[nodiscard]] window_record *find_window_by_id(display::window_id id);

// The current window's record, or null; makes one current (null: none).
[[nodiscard]] window_record *current_window();
void set_current_window(window_record *w);

// A free record, reset and numbered, or null when all are in use. release_record frees it.
[[nodiscard]] window_record *new_record();
void release_record(window_record &w);

// Calls f(window_record &) for each open window.
template <typename Function> void for_each_window(Function f);

// Takes the frames (or planes) of the window afresh: after opening, a change of size or of modes.
// The old picture is kept at the lower left corner.
void renew_rasters(window_record &w, int old_width, int old_height);

// Makes a window composed from now on; its picture stays.
void make_composed(window_record &w);

// Takes the overlay's pixels away. An RGB window then draws straight into its frames again.
void drop_overlay(window_record &w);

// Sets every pixel of all buffers to 0.
void erase_buffers(window_record &w);

// Makes the back buffer hold what the front one shows.
void equalise_buffers(window_record &w);

// The window's own overlay plane, made when first asked for.
[[nodiscard]] raster overlay_raster(window_record &w);

// Notes that `changed` was drawn in the buffers that drawing goes to now.
void note_drawn(window_record &w, rectangle changed);

// Shows what was drawn in the front buffer.
void show_damage(window_record &w);

// Shows the back buffer.
void swap_rasters(window_record &w);

// The colours of the colour map and the overlay: 0x00RRGGBB. Changing one marks what shows it.
[[nodiscard]] std::uint32_t map_entry(int index);
[[nodiscard]] std::uint32_t overlay_entry(int index);
void set_map_entry(int index, std::uint32_t colour);
void set_overlay_entry(int index, std::uint32_t colour);

// 0xAABBGGRR to 0x00RRGGBB, and the same back.
[[nodiscard]] constexpr std::uint32_t swap_red_blue(std::uint32_t p) {
    return (p & 0x0000FF00U) | ((p & 0xFFU) << 16) | ((p >> 16) & 0xFFU);
}

[[nodiscard]] inline rectangle whole(const window_record &w) {
    return {0, 0, w.area.width, w.area.height};
}

std::vector<window_record> &window_pool();

template <typename Function> void for_each_window(Function f) {
    for (window_record &w : window_pool())
        if (w.number != 0)
            f(w);
}

} // namespace gl
