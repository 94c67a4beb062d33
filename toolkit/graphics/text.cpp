#include "toolkit/graphics/text.h"

#include "platform/gl/drawing.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace toolkit {

namespace {

short near(std::int64_t v) {
    constexpr std::int64_t least = std::numeric_limits<short>::min();
    constexpr std::int64_t most = std::numeric_limits<short>::max();
    return static_cast<short>(std::clamp(v, least, most));
}

// The line and all that is drawn of a text, around the place given to gl_draw_text.
fm::text_box line_box(int slot, std::string_view text) {
    const font_record *font = gl_inquire_font(slot);
    if (font == nullptr || font->loaded != font_loaded)
        return {};
    fm::text_box box = fm::fmgetstrbox(font->handle, text);
    box.left = std::min(box.left, 0);
    box.right = std::max(box.right, box.width);
    box.bottom = std::min(box.bottom + font->baseline_offset, 0);
    box.top = std::max(box.top + font->baseline_offset, font->height);
    return box;
}

} // namespace

void gl_draw_text(int x, int y, int slot, std::string_view text) {
    const font_record *font = gl_inquire_font(slot);
    if (font == nullptr || font->loaded != font_loaded)
        return;
    const auto baseline_offset = static_cast<std::int16_t>(font->baseline_offset);
    gl::cmov2s(near(x), near(std::int64_t{y} + baseline_offset));
    gl_select_font(slot);
    font->draw(text);
}

text_size gl_inq_text_extent(int slot, std::string_view text) {
    const fm::text_box box = line_box(slot, text);
    return {box.right - box.left, box.top - box.bottom};
}

int gl_inq_text_width(int slot, std::string_view text) {
    text_size size;
    return gl_inquire_fm_font_size(text, &size, slot);
}

text_shift gl_inq_text_offset(int slot, std::string_view text) {
    const fm::text_box box = line_box(slot, text);
    return {box.left, box.bottom};
}

int gl_inq_font_y_extent(int slot) {
    return gl_inq_text_extent(slot, "A").height;
}

} // namespace toolkit
