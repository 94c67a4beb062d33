#include "tests/tools/reel/scratch_folder.h"
#include "tools/reel/frame_list.h"

#include <gtest/gtest.h>

namespace reel {

namespace {

TEST(frame_selection, text) {
    const struct {
        const char *text;
        int result;
        std::int64_t first, last, count;
    } cases[] = {
        {"1-10", 0, 1, 10, 10},
        {"7", 0, 7, 7, 1},
        {"-5--1", 0, -5, -1, 5},
        {"-5-3", 0, -5, 3, 9},
        {"1-10x2", 0, 1, 10, 5},
        {"1-10x3", 0, 1, 10, 4},
        {"5-3", -1, 0, 0, 1},
        {"", -1, 0, 0, 1},
        {"-", -1, 0, 0, 1},
        {"1-", -1, 0, 0, 1},
        {"a-b", -1, 0, 0, 1},
        {"1-2x", -1, 0, 0, 1},
        {"1-2x0", -1, 0, 0, 1},
        {"1-2x-1", -1, 0, 0, 1},
        {" 1-2", -1, 0, 0, 1},
        {"1-2x1x1", -1, 0, 0, 1},
        {"1-99999999999999999999", -1, 0, 0, 1},
        {"-999999999999999999-999999999999999999", 0, -999999999999999999, 999999999999999999,
         1999999999999999999},
        {"-1000000000000000000-1", -1, 0, 0, 1},
        {"-5-9223372036854775807", -1, 0, 0, 1},
        {"1-2x1000000000000000000", -1, 0, 0, 1},
    };
    for (const auto &each : cases) {
        frame_selection chosen;
        EXPECT_EQ(parse_frame_selection(each.text, &chosen), each.result) << each.text;
        EXPECT_EQ(chosen.range.first, each.first) << each.text;
        EXPECT_EQ(chosen.range.last, each.last) << each.text;
        EXPECT_EQ(count_selected(chosen), each.count) << each.text;
    }
    std::vector<frame_range> ranges;
    add_to_ranges(ranges, 4);
    EXPECT_EQ(format_ranges(ranges), "frame 4");
    for (const int number : {5, 6, 9, 11, 13, 15, 17, 19, 21})
        add_to_ranges(ranges, number);
    EXPECT_EQ(format_ranges(ranges), "frames 4-6, 9, 11, 13, 15, 17, 19, 21");
    add_to_ranges(ranges, 30);
    EXPECT_EQ(format_ranges(ranges), "frames 4-6, 9, 11, 13, 15, 17, 19, 21, ...");
    EXPECT_EQ(count_in_ranges(ranges), 11);
}

TEST(frame_pattern, kinds) {
    const struct {
        const char *path;
        pattern_kind kind;
        const char *frame_7, *frame_12345, *frame_minus_3; // paths written
    } cases[] = {
        {"d/a.####.exr", pattern_kind::pattern, "d/a.0007.exr", "d/a.12345.exr", "d/a.-003.exr"},
        {"a%04d.png", pattern_kind::pattern, "a0007.png", "a12345.png", "a-003.png"},
        {"a%d.png", pattern_kind::pattern, "a7.png", "a12345.png", "a-3.png"},
        {"@@@.tif", pattern_kind::pattern, "007.tif", "12345.tif", "-03.tif"},
        {"me@home.##.png", pattern_kind::pattern, "me@home.07.png", "me@home.12345.png",
         "me@home.-3.png"},
        {"50%.##.png", pattern_kind::pattern, "50%.07.png", "50%.12345.png", "50%.-3.png"},
        {"d.###/a.png", pattern_kind::plain, "", "", ""},
        {"a.png", pattern_kind::plain, "", "", ""},
        {"a%4d.png", pattern_kind::plain, "", "", ""},
        {"a.##.b.##.png", pattern_kind::unclear, "", "", ""},
    };
    for (const auto &each : cases) {
        frame_pattern pattern;
        ASSERT_EQ(parse_pattern(each.path, &pattern), each.kind) << each.path;
        if (each.kind != pattern_kind::pattern)
            continue;
        EXPECT_EQ(format_frame_path(pattern, 7), each.frame_7);
        EXPECT_EQ(format_frame_path(pattern, 12345), each.frame_12345);
        EXPECT_EQ(format_frame_path(pattern, -3), each.frame_minus_3);
    }
}

TEST(frame_pattern, names_that_match) {
    constexpr std::int64_t none = 1 << 30;
    const struct {
        const char *pattern, *name;
        std::int64_t number;
    } cases[] = {
        {"a.###.p", "a.999.p", 999},   {"a.###.p", "a.1000.p", 1000},
        {"a.###.p", "a.0999.p", none}, {"a.###.p", "a.99.p", none},
        {"a.###.p", "a..p", none},     {"a.###.p", "a.9x9.p", none},
        {"a.###.p", "b.999.p", none},  {"a.###.p", "a.999.q", none},
        {"a.###.p", "a.-01.p", -1},    {"a.###.p", "a.-001.p", -1},
        {"a.###.p", "a.-1.p", none},   {"a-###.p", "a-001.p", 1},
        {"a###.p", "a-001.p", none},   {"a.#.p", "a.007.p", 7},
        {"a.#.p", "a.7.p", 7},         {"a.%01d.p", "a.07.p", none},
        {"a.#.p", "a.-7.p", -7},       {"a.#.p", "a.1234567890123456789.p", none},
    };
    for (const auto &each : cases) {
        frame_pattern pattern;
        ASSERT_EQ(parse_pattern(each.pattern, &pattern), pattern_kind::pattern);
        std::int64_t number = none;
        const int result = match_frame_name(pattern, each.name, &number);
        EXPECT_EQ(result, each.number == none ? -1 : 0) << each.pattern << " " << each.name;
        EXPECT_EQ(number, each.number) << each.pattern << " " << each.name;
    }
}

// Empty files with these names, the inputs, and what they stand for: the numbers of the frames
// found, or words of the fault. "*" in an input is the folder.
struct find_case {
    std::vector<std::string> names;
    std::vector<std::string> inputs;
    const char *range;
    std::vector<std::int64_t> numbers;
    const char *words; // of the fault, or of the notes
};

class find_frames_test : public testing::TestWithParam<find_case> {};

TEST_P(find_frames_test, finds) {
    const find_case &each = GetParam();
    const scratch_folder folder;
    for (const std::string &name : each.names)
        write_bytes(folder / name, "");
    std::vector<std::string> inputs = each.inputs;
    for (std::string &input : inputs)
        input = input == "*" ? folder.path : folder / input;
    frame_selection chosen;
    const bool limited = parse_frame_selection(each.range, &chosen) == 0;
    frame_list list;
    std::string fault;
    const int result =
        find_frames(inputs, {"png", "exr"}, limited ? &chosen : nullptr, list, &fault);
    EXPECT_EQ(result, each.numbers.empty() ? -1 : 0) << fault;
    std::vector<std::int64_t> numbers;
    for (const frame_file &file : list.files) {
        numbers.push_back(file.number);
        EXPECT_TRUE(std::filesystem::exists(file.path)) << file.path;
    }
    if (result == 0) {
        EXPECT_EQ(numbers, each.numbers);
    }
    for (const std::string &note : list.notes)
        fault += note + "\n";
    EXPECT_NE(fault.find(each.words), std::string::npos) << fault;
    if (each.words[0] == 0) {
        EXPECT_EQ(fault, "");
    }
}

const find_case find_cases[] = {
    // one frame stands for its sequence, and only that
    {{"a.08.png", "a.09.png", "a.10.png", "b.09.png", "a.09.exr"},
     {"a.09.png"},
     "",
     {8, 9, 10},
     ""},
    {{"a.998.png", "a.999.png", "a.1000.png"}, {"a.1000.png"}, "", {998, 999, 1000}, ""},
    {{"a.0999.png", "a.1000.png", "a.999.png"}, {"a.1000.png"}, "", {999, 1000}, ""},
    {{"a.-1.png", "a.0.png", "a.1.png"}, {"a.0.png"}, "", {-1, 0, 1}, ""},
    {{"a.-001.png", "a.0000.png", "a.0001.png"}, {"a.-001.png"}, "", {-1, 0, 1}, ""},
    {{"s1_v2.7.2k.png", "s1_v2.8.2k.png"}, {"s1_v2.7.2k.png"}, "", {7, 8}, ""},
    {{"a1.png"}, {"a1.png"}, "", {0}, ""},
    {{"été 1.png", "été 2.png", "ete 3.png"}, {"été 1.png"}, "", {1, 2}, ""},
    // patterns and ranges
    {{"a.1.png", "a.2.png", "a.3.png"}, {"a.#.png"}, "2-3", {2, 3}, ""},
    {{"a.1.png", "a.3.png", "a.6.png"}, {"a.#.png"}, "", {}, "frames 2, 4-5 are missing"},
    {{"a.1.png", "a.2.png"}, {"a.#.png"}, "0-3", {}, "frames 0, 3 are missing"},
    {{"a.1.png", "a.2.png"}, {"a.#.png"}, "8-9", {}, "no such frames"},
    {{"a.1.png", "a.3.png", "a.4.png", "a.5.png"}, {"a.#.png"}, "1-6x2", {1, 3, 5}, ""},
    {{"a.1.png", "a.2.png", "a.5.png"}, {"a.#.png"}, "1-8x2", {}, "frames 3, 7 are missing"},
    {{"a.1.png", "a.01.png"}, {"a.#.png"}, "", {}, "frame 1 is there twice"},
    {{"a.1.png"}, {"b.#.png"}, "", {}, "no such files"},
    {{"a.1.png"}, {"b.png"}, "", {}, "No such file"},
    {{"a.1.png"}, {"no/a.#.png"}, "", {}, "No such file"},
    {{"a.1.png"}, {"#.#.png"}, "", {}, "more than one place"},
    {{"a.#.png", "a.1.png"}, {"a.#.png"}, "", {0}, ""},
    // folders
    {{"a.1.png", "a.2.png", "note.txt", ".a.3.png"}, {"*"}, "", {1, 2}, "1 file is no image"},
    {{"a.1.PNG", "a.2.PNG"}, {"*"}, "2", {2}, ""},
    {{"a.png", "b.exr", "c.png"}, {"*"}, "1-2", {1, 2}, ""},
    {{"a.png", "b.exr", "c.png"}, {"*"}, "1-3", {}, "frames 0-2 only"},
    {{"a.1.png", "a.2.png", "b.1.png", "b.2.png"}, {"*"}, "", {}, "which of these"},
    {{"a.1.png", "a.2.png", "b.png"}, {"*"}, "", {}, "b.png"},
    {{"a.1.png", "a.3.png"}, {"*"}, "", {}, "frame 2 is missing"},
    {{"note.txt"}, {"*"}, "", {}, "no images"},
    // lists
    {{"a.1.png", "a.2.png", "a.5.png"}, {"a.1.png", "a.5.png"}, "", {1, 5}, "frames 2-4 not in"},
    {{"a.1.png", "a.2.png"}, {"a.2.png", "a.1.png"}, "", {2, 1}, "order given"},
    {{"a.1.png", "a.2.png", "a.3.png"}, {"a.1.png", "a.2.png", "a.3.png"}, "2-3", {2, 3}, ""},
    {{"a.png", "b.png", "c.png"}, {"c.png", "a.png", "b.png"}, "0-1", {0, 1}, ""},
    {{"a.1.png", "a.2.png", "t.png"}, {"t.png", "a.#.png"}, "", {0, 1, 2}, ""},
};

INSTANTIATE_TEST_SUITE_P(cases, find_frames_test, testing::ValuesIn(find_cases));

TEST(find_frames, lists_keep_their_order) {
    const scratch_folder folder;
    for (const char *name : {"a.png", "b.png", "c.png"})
        write_bytes(folder / name, "");
    frame_list list;
    std::string fault;
    ASSERT_EQ(find_frames({folder / "c.png", folder / "a.png"}, {}, nullptr, list, &fault), 0);
    EXPECT_EQ(list.files[0].path, folder / "c.png");
    EXPECT_EQ(list.files[1].path, folder / "a.png");
}

} // namespace

} // namespace reel
