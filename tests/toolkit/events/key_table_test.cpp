#include "toolkit/events/key_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace toolkit {
namespace {

TEST(key_table, queues_its_devices_in_order) {
    const int expected[] = {
        143, 144, 155, 156, 157, 266, 267, 101, 102, 103, 5,   6,   145, 3,  7,   11,  36,  28,
        18,  17,  19,  26,  27,  40,  34,  35,  42,  44,  37,  41,  48,  10, 24,  12,  25,  33,
        29,  16,  21,  32,  20,  46,  8,   14,  15,  22,  23,  30,  31,  38, 39,  51,  83,  9,
        60,  61,  62,  43,  52,  45,  50,  55,  47,  53,  57,  54,  49,  56, 59,  58,  64,  65,
        63,  69,  70,  67,  68,  75,  66,  82,  167, 168, 169, 76,  516, 4,  546, 542, 535, 73,
        74,  80,  81,  539, 540, 534, 190, 191, 162, 164, 163, 165, 561};
    EXPECT_TRUE(std::ranges::equal(input_devices(), expected));

    const auto all = queueable_devices();
    EXPECT_EQ(std::set<int>(all.begin(), all.end()).size(), std::size(expected) + 1);
    EXPECT_EQ(all.back(), gl::TIMER0);
}

// Every key that types, by the characters of a US keyboard.
TEST(key_table, types_the_us_layout) {
    struct {
        std::vector<gl::device> keys;
        std::string plain, shifted, caps;
    } const rows[] = {
        {{11, 36, 28, 18, 17, 19, 26, 27, 40, 34, 35, 42, 44,
          37, 41, 48, 10, 24, 12, 25, 33, 29, 16, 21, 32, 20},
         "abcdefghijklmnopqrstuvwxyz",
         "ABCDEFGHIJKLMNOPQRSTUVWXYZ",
         "ABCDEFGHIJKLMNOPQRSTUVWXYZ"},
        {{46, 8, 14, 15, 22, 23, 30, 31, 38, 39}, "0123456789", ")!@#$%^&*(", "0123456789"},
        {{43, 52, 45, 50, 55, 47, 53, 57, 54, 49, 56},
         ";.,'`-/\\=[]",
         ":><\"~_?|+{}",
         ";.,'`-/\\=[]"},
        {{59, 58, 64, 65, 63, 69, 70, 67, 68, 75, 66, 167, 168, 169, 76},
         "0123456789./*+-",
         "0123456789./*+-",
         "0123456789./*+-"},
        {{7, 9, 51, 60, 82, 83, 61, 62},
         "\033\t\r\r\r \b\b",
         "\033\t\r\r\r \b\b",
         "\033\t\r\r\r \b\b"},
    };
    std::size_t typing = 0;
    for (const auto &row : rows) {
        ASSERT_EQ(row.keys.size(), row.plain.size());
        typing += row.keys.size();
        for (std::size_t i = 0; i < row.keys.size(); ++i) {
            const gl::device key = row.keys[i];
            EXPECT_EQ(key_character(key, false, false), row.plain[i]) << key;
            EXPECT_EQ(key_character(key, true, false), row.shifted[i]) << key;
            EXPECT_EQ(key_character(key, false, true), row.caps[i]) << key;
            EXPECT_EQ(key_character(key, true, true), row.shifted[i]) << key;
        }
    }
    std::size_t found = 0;
    for (int d = -2; d <= gl::last_device + 300; ++d)
        found += key_character(d, false, false) != 0 ? 1U : 0U;
    EXPECT_EQ(found, typing) << "no other device types";
}

} // namespace
} // namespace toolkit
