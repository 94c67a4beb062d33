#include "platform/fonts/utf8.h"

#include <array>

namespace fm {
namespace {

constexpr char32_t last_code = 0x10FFFF;

bool is_surrogate(char32_t c) {
    return c >= 0xD800 && c <= 0xDFFF;
}

bool is_control(char32_t c) {
    return c < 0x20 || (c >= 0x7F && c <= 0x9F);
}

// How many bytes a sequence has that begins like this; 0: none does.
std::size_t sequence_length(unsigned char first) {
    if (first < 0x80)
        return 1;
    if (first < 0xC0)
        return 0;
    if (first < 0xE0)
        return 2;
    return first < 0xF0 ? 3 : first < 0xF8 ? 4 : 0;
}

} // namespace

char32_t next_letter(std::string_view *text) {
    // The bits that the first byte carries, and the first code that needs so many bytes.
    constexpr std::array<unsigned char, 5> first_bits{0, 0x7F, 0x1F, 0x0F, 0x07};
    constexpr std::array<char32_t, 5> first_code{0, 0, 0x80, 0x800, 0x10000};

    const std::string_view in = *text;
    const auto byte = [in](std::size_t i) { return static_cast<unsigned char>(in[i]); };
    const std::size_t length = sequence_length(byte(0));
    text->remove_prefix(1);
    if (length == 0 || length > in.size())
        return replacement_letter;
    char32_t code = byte(0) & first_bits[length];
    for (std::size_t i = 1; i < length; i++) {
        if (!is_continuation(in[i]))
            return replacement_letter;
        code = (code << 6) | (byte(i) & 0x3F);
    }
    if (code < first_code[length] || code > last_code || is_surrogate(code))
        return replacement_letter;
    text->remove_prefix(length - 1);
    return is_control(code) ? replacement_letter : code;
}

std::string latin_letter(int code) {
    constexpr int first_of_two_bytes = 0x80, low_bits = 6, low_mask = 0x3F;
    if (code < first_of_two_bytes)
        return {static_cast<char>(code)};
    return {static_cast<char>(0xC0 | (code >> low_bits)),
            static_cast<char>(0x80 | (code & low_mask))};
}

} // namespace fm
