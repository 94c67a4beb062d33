#include "tools/reel/digits.h"

#include <algorithm>
#include <array>

namespace reel {

namespace {

constexpr int letter_gap = 2;
constexpr int digit_width = 7;
constexpr int mark_width = 2; // of a colon
constexpr int sign_width = 5; // of a minus

// Its rows from the top; the left pixel is the most significant bit.
struct glyph {
    std::array<std::uint8_t, digits_height> rows;
};

// clang-format off
constexpr std::array<glyph, 10> digits = {{
    {{0b0111110, 0b1100011, 0b1100011, 0b1100011, 0b1100011, 0b1100011,
     0b1100011, 0b1100011, 0b1100011, 0b1100011, 0b0111110}}, // 0
    {{0b0001100, 0b0011100, 0b0111100, 0b0001100, 0b0001100, 0b0001100,
     0b0001100, 0b0001100, 0b0001100, 0b0001100, 0b0111111}}, // 1
    {{0b0111110, 0b1100011, 0b0000011, 0b0000011, 0b0000110, 0b0001100,
     0b0011000, 0b0110000, 0b1100000, 0b1100000, 0b1111111}}, // 2
    {{0b0111110, 0b1100011, 0b0000011, 0b0000011, 0b0000011, 0b0011110,
     0b0000011, 0b0000011, 0b0000011, 0b1100011, 0b0111110}}, // 3
    {{0b0000111, 0b0001111, 0b0011011, 0b0110011, 0b1100011, 0b1100011,
     0b1111111, 0b0000011, 0b0000011, 0b0000011, 0b0000011}}, // 4
    {{0b1111111, 0b1100000, 0b1100000, 0b1100000, 0b1111110, 0b0000011,
     0b0000011, 0b0000011, 0b0000011, 0b1100011, 0b0111110}}, // 5
    {{0b0011110, 0b0110000, 0b1100000, 0b1100000, 0b1111110, 0b1100011,
     0b1100011, 0b1100011, 0b1100011, 0b1100011, 0b0111110}}, // 6
    {{0b1111111, 0b0000011, 0b0000011, 0b0000110, 0b0000110, 0b0001100,
     0b0001100, 0b0011000, 0b0011000, 0b0110000, 0b0110000}}, // 7
    {{0b0111110, 0b1100011, 0b1100011, 0b1100011, 0b1100011, 0b0111110,
     0b1100011, 0b1100011, 0b1100011, 0b1100011, 0b0111110}}, // 8
    {{0b0111110, 0b1100011, 0b1100011, 0b1100011, 0b1100011, 0b1100011,
     0b0111111, 0b0000011, 0b0000011, 0b0000110, 0b0111100}}, // 9
}};
// clang-format on

constexpr glyph colon = {{0, 0, 0b11, 0b11, 0, 0, 0, 0b11, 0b11, 0, 0}};
constexpr glyph minus = {{0, 0, 0, 0, 0, 0b11111, 0b11111, 0, 0, 0, 0}};

struct letter {
    const glyph *shape = nullptr; // null: a blank
    int width = digit_width;
};

letter find_letter(char c) {
    if (c >= '0' && c <= '9')
        return {&digits[static_cast<std::size_t>(c - '0')], digit_width};
    if (c == ':')
        return {&colon, mark_width};
    if (c == '-')
        return {&minus, sign_width};
    return {};
}

} // namespace

int digits_width(std::string_view text, int scale) {
    int width = 0;
    for (const char c : text)
        width += find_letter(c).width + letter_gap;
    return std::max(width - letter_gap, 0) * scale;
}

void draw_digits(image_buffer &picture, int x, int y, std::string_view text, int scale,
                 std::uint32_t colour) {
    for (const char c : text) {
        const letter drawn = find_letter(c);
        for (int row = 0; drawn.shape != nullptr && row < digits_height; ++row)
            for (int column = 0; column < drawn.width; ++column)
                if ((drawn.shape->rows[static_cast<std::size_t>(row)] >>
                         (drawn.width - 1 - column) &
                     1) != 0)
                    fill_rectangle(picture, x + column * scale,
                                   y + (digits_height - 1 - row) * scale, scale, scale, colour);
        x += (drawn.width + letter_gap) * scale;
    }
}

} // namespace reel
