// The editing of a line, without a screen.
#include "toolkit/widgets/edit_text.h"

#include <gtest/gtest.h>

#include <string>

namespace toolkit {

namespace {

// The text with its selection in brackets and the cursor as a bar.
std::string shown(const edit_text &line) {
    std::string text;
    const text_range range = selected_range(line);
    for (std::int32_t at = 0; at <= line.length; ++at) {
        if (at == range.end && range.begin < range.end)
            text += ']';
        if (at == line.cursor)
            text += '|';
        if (at == range.begin && range.begin < range.end)
            text += '[';
        if (at < line.length)
            text += line.text.at(static_cast<std::size_t>(at));
    }
    return text;
}

// A letter for each step, in upper case when it selects; signs change the text.
void edit(edit_text *line, char what) {
    const auto lower = static_cast<char>(what | ('a' - 'A'));
    const bool extends = what >= 'A' && what <= 'Z';
    switch (lower) {
    case 'l':
        return move_in_text(line, text_step::left, extends);
    case 'r':
        return move_in_text(line, text_step::right, extends);
    case 'w':
        return move_in_text(line, text_step::word_left, extends);
    case 'x':
        return move_in_text(line, text_step::word_right, extends);
    case 'h':
        return move_in_text(line, text_step::begin, extends);
    case 'e':
        return move_in_text(line, text_step::end, extends);
    case 'a':
        return select_all(line);
    case 'k':
        return select_word(line, line->cursor);
    default:
        break;
    }
    if (what == '-')
        erase_text(line, text_step::left);
    else if (what == '=')
        erase_text(line, text_step::word_left);
    else if (what == '/')
        erase_text(line, text_step::right);
    else if (what == '+')
        insert_text(line, "\xC3\xA9");
    else
        insert_text(line, {&what, 1});
}

} // namespace

TEST(edit_text, steps_selects_and_changes) {
    const struct {
        const char *text, *edits, *shown;
    } rows[] = {
        {"", "lrwxhe-=/ak", "|"},
        {"abc", "", "abc|"},
        {"abc", "l1", "ab1|c"},
        {"abc", "llllr2", "a2|bc"},
        {"abc", "h/3", "3|bc"},
        {"abc", "L", "ab|[c]"},
        {"abc", "hR", "[a]|bc"},
        {"abc", "LLl", "a|bc"},     // to the end on that side
        {"abc", "LLr", "abc|"},     // and on this
        {"abc", "LLLRRRR", "abc|"}, // nothing is left selected
        {"abc", "HE", "abc|"},
        {"abc", "lH", "|[ab]c"},
        {"abc", "lHE", "ab[c]|"},
        {"abc", "LL4", "a4|"},
        {"abc", "LL-", "a|"},
        {"abc", "hRR/", "|c"},
        {"abc", "a5", "5|"},
        {"one two_2, six", "w", "one two_2, |six"},
        {"one two_2, six", "ww", "one |two_2, six"},
        {"one two_2, six", "hxx", "one two_2|, six"},
        {"one two_2, six", "hxX", "one[ two_2]|, six"},
        {"one two_2, six", "==", "one |"},
        {"one two_2, six", "wwk", "one [two_2]|, six"},
        {"one two_2, six", "hxk", "one[ ]|two_2, six"},
        {"one two", "k", "one [two]|"}, // behind the end: the last one
        {"\xC3\xA9t\xC3\xA9", "l", "\xC3\xA9t|\xC3\xA9"},
        {"\xC3\xA9t\xC3\xA9", "--", "\xC3\xA9|"},
        {"\xC3\xA9t\xC3\xA9", "w", "|\xC3\xA9t\xC3\xA9"},
        {"\xE2\x82\xAC\xF0\x9F\x98\x80", "l+", "\xE2\x82\xAC\xC3\xA9|\xF0\x9F\x98\x80"},
        {"\xE2\x82\xAC\xF0\x9F\x98\x80", "h/", "|\xF0\x9F\x98\x80"},
        {"\x80\x80\xC3z\xFF", "ll", "\x80\x80\xC3|z\xFF"}, // no characters: bytes
        {"\x80\x80\xC3z\xFF", "---", "\x80\x80|"},
        {"a\tb\nc\x01\x7F"
         "d",
         "", "a b cd|"},
    };
    for (const auto &row : rows) {
        edit_text line{};
        set_edit_text(&line, row.text);
        for (const char *what = row.edits; *what != '\0'; ++what)
            edit(&line, *what);
        EXPECT_EQ(shown(line), row.shown) << row.text << " " << row.edits;
        EXPECT_EQ(line.text.at(static_cast<std::size_t>(line.length)), '\0');
    }
}

TEST(edit_text, is_never_longer_than_its_room) {
    const std::string full(edit_text_size - 2, 'x');
    edit_text line{};
    set_edit_text(&line, full + "yz");
    EXPECT_EQ(text_of(line), full + "y");
    EXPECT_FALSE(insert_text(&line, "z"));
    set_edit_text(&line, full);
    EXPECT_FALSE(insert_text(&line, "\xC3\xA9")) << "whole characters only";
    place_cursor(&line, 0, false);
    EXPECT_TRUE(insert_text(&line, "ab"));
    EXPECT_EQ(text_of(line), "a" + full);
    place_cursor(&line, 1, true);
    set_edit_text(&line, text_of(line).substr(1, 3));
    EXPECT_EQ(text_of(line), "xxx");
}

TEST(edit_text, places_inside_characters_are_their_beginning) {
    edit_text line{};
    set_edit_text(&line, "a\xE2\x82\xAC"
                         "b");
    const std::int32_t expected[] = {0, 0, 1, 1, 1, 4, 5, 5};
    for (std::int32_t at = -1; at <= 6; ++at) {
        place_cursor(&line, at, false);
        EXPECT_EQ(line.cursor, expected[at + 1]) << at;
    }
}

TEST(edit_text, scrolls_as_little_as_it_can) {
    const struct {
        int hidden, cursor, width, room, expected;
    } rows[] = {
        {0, 50, 50, 100, 0},     {40, 50, 90, 100, 0},   {0, 150, 150, 100, 50},
        {50, 60, 150, 100, 50},  {50, 40, 150, 100, 40}, {50, 0, 150, 100, 0},
        {50, 120, 120, 100, 20}, // the text became shorter
    };
    for (const auto &row : rows)
        EXPECT_EQ(scroll_to_show(row.hidden, row.cursor, row.width, row.room), row.expected);
}

} // namespace toolkit
