#include "toolkit/demons/box_text.h"

#include "platform/fonts/utf8.h"
#include "platform/gl/drawing.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/spaces.h"
#include "toolkit/graphics/text.h"

#include <algorithm>

namespace toolkit {

namespace {

constexpr std::string_view ellipsis = "\xE2\x80\xA6";

// The place of the character that byte `at` is part of.
std::size_t character_start(std::string_view text, std::size_t at) {
    at = std::min(at, text.size());
    while (at > 0 && at < text.size() && fm::is_continuation(text[at]))
        --at;
    return at;
}

void set_text_colour(look state) {
    switch (state) {
    case look::normal:
    case look::pressed:
        gl_set_draw_value(colour_text);
        break;
    case look::hilited:
        gl_set_draw_value(colour_text_hilited);
        break;
    case look::disabled:
        gl_set_draw_value(colour_disabled_text);
        break;
    }
}

// The text itself when it fits, else what fit_text makes of it, kept in *cut: what fits asks for no
// memory.
std::string_view fitted(int slot, std::string_view text, int width, std::string *cut) {
    if (gl_inq_text_width(slot, text) <= width)
        return text;
    *cut = fit_text(slot, text, width);
    return *cut;
}

void draw_clipped(const screen_box &box, int x, int slot, std::string_view text, look state) {
    set_clip_box(box);
    draw_text(x, box.y + (box.height - gl_inq_font_y_extent(slot)) / 2, slot, text, state);
    reset_clip_box();
}

} // namespace

std::string fit_text(int slot, std::string_view text, int width) {
    if (gl_inq_text_width(slot, text) <= width)
        return std::string(text);
    std::size_t fits = 0; // so many bytes do
    std::size_t over = text.size();
    const int room = width - gl_inq_text_width(slot, ellipsis);
    while (over - fits > 1) {
        const std::size_t middle = fits + (over - fits) / 2;
        if (gl_inq_text_width(slot, text.substr(0, character_start(text, middle))) <= room)
            fits = middle;
        else
            over = middle;
    }
    std::string cut(text.substr(0, character_start(text, fits)));
    cut.erase(cut.find_last_not_of(' ') + 1); // else a gap would stand before the dots
    return cut.append(ellipsis);
}

void draw_text(int x, int y, int slot, std::string_view text, look state) {
    set_text_colour(state);
    gl_draw_text(x, y, slot, text);
}

void draw_text_box(const screen_box &box, int slot, std::string_view text, look state) {
    std::string cut;
    text = fitted(slot, text, box.width, &cut);
    draw_clipped(box, box.x + (box.width - gl_inq_text_width(slot, text)) / 2, slot, text, state);
}

void draw_text_left_box(const screen_box &box, int slot, std::string_view text, look state) {
    std::string cut;
    text = fitted(slot, text, box.width - 2 * text_margin, &cut);
    draw_clipped(box, box.x + text_margin, slot, text, state);
}

void draw_text_with_hilite(int x, int y, int slot, std::string_view text, std::size_t begin,
                           std::size_t end) {
    begin = character_start(text, begin);
    end = character_start(text, end);
    if (begin < end) {
        const int left = x + gl_inq_text_width(slot, text.substr(0, begin));
        const int right = x + gl_inq_text_width(slot, text.substr(0, end)) - 1;
        gl_set_draw_value(colour_accent_ground); // no box: long texts go beyond its 16 bits
        if (left <= right)
            gl::rectfi(left, y, right, y + gl_inq_font_y_extent(slot) - 1);
    }
    draw_text(x, y, slot, text);
}

void draw_text_with_hilite_save_clipped(const screen_box &box, int x, int y, int slot,
                                        std::string_view text, std::size_t begin, std::size_t end) {
    set_clip_box(box);
    draw_text_with_hilite(x, y, slot, text, begin, end);
    reset_clip_box();
}

void set_clip_box(const screen_box &box) {
    gl_set_clip_box(box);
}

void reset_clip_box() {
    gl_reset_clip_box();
}

} // namespace toolkit
