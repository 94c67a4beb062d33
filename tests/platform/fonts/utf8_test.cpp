#include "platform/fonts/utf8.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

std::u32string letters_of(std::string_view text) {
    std::u32string all;
    while (!text.empty())
        all += fm::next_letter(&text);
    return all;
}

struct reading {
    std::string_view bytes;
    std::u32string letters;
};

} // namespace

using namespace std::string_view_literals;

TEST(utf8, valid_text_is_read_and_other_bytes_are_replaced_one_by_one) {
    const std::vector<reading> cases{
        {"Az~"sv, U"Az~"},
        {"\xC2\xA0\xDF\xBF"sv, U"\u00A0\u07FF"},
        {"\xE0\xA0\x80\xEF\xBF\xBF"sv, U"\u0800\uFFFF"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"sv, U"\U00010000\U0010FFFF"},
        {"\xF4\x90\x80\x80"sv, U"\uFFFD\uFFFD\uFFFD\uFFFD"}, // beyond the last code
        {"\xF8\x88\x80\x80\x80"sv, U"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xC0\x80\xC1\xBF"sv, U"\uFFFD\uFFFD\uFFFD\uFFFD"}, // overlong
        {"\xE0\x9F\xBF"sv, U"\uFFFD\uFFFD\uFFFD"},
        {"\xF0\x8F\xBF\xBF"sv, U"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xED\xA0\x80"sv, U"\uFFFD\uFFFD\uFFFD"}, // half of a surrogate pair
        {"\x80"sv, U"\uFFFD"},
        {"a\xFF"
         "b\xFE"sv,
         U"a\uFFFDb\uFFFD"},
        {"\xE2\x82"sv, U"\uFFFD\uFFFD"}, // cut off
        {"\xE2\x82z"sv, U"\uFFFD\uFFFDz"},
        {"\xF0\x9F\x98\xC3\xA9"sv, U"\uFFFD\uFFFD\uFFFD\u00E9"},
        {"\0\t\n\x1F\x7F\xC2\x85"sv, U"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"}, // controls
    };
    for (const reading &c : cases)
        EXPECT_EQ(letters_of(c.bytes), c.letters) << testing::PrintToString(c.bytes);
}

TEST(utf8, letters_of_latin_1_are_written_as_they_are_read) {
    const auto is_later_byte_marked = [](const std::string &letter) {
        return fm::is_continuation(letter.back()) == (letter.size() > 1);
    };
    for (int code = ' '; code <= 255; code++) {
        const std::string letter = fm::latin_letter(code);
        EXPECT_EQ(letter.size(), code < 128 ? 1U : 2U);
        EXPECT_FALSE(fm::is_continuation(letter.front()));
        EXPECT_TRUE(is_later_byte_marked(letter));
        const bool is_seen = code < 127 || code >= 160;
        EXPECT_EQ(letters_of(letter),
                  std::u32string(1, is_seen ? static_cast<char32_t>(code) : 0xFFFD));
    }
}

TEST(utf8, any_bytes_come_to_an_end_with_codes_that_exist) {
    std::mt19937 random(3);
    for (int i = 0; i < 20000; i++) {
        std::string bytes(random() % 12, '\0');
        for (char &b : bytes)
            b = static_cast<char>(random() % 3 == 0 ? random() : 0x80 + random() % 0x80);
        // In memory of exactly this size a step too far is found out.
        const std::vector<char> exact(bytes.begin(), bytes.end());
        for (const char32_t c : letters_of({exact.data(), exact.size()})) {
            ASSERT_TRUE(c >= 0x20 && c <= 0x10FFFF);
            ASSERT_FALSE(c >= 0xD800 && c <= 0xDFFF);
        }
    }
}
