#include "toolkit/dialogs/dialog_text.h"

#include "platform/fonts/utf8.h"
#include "toolkit/graphics/spaces.h"
#include "toolkit/graphics/text.h"
#include "toolkit/widgets/control.h"

#include <algorithm>

namespace toolkit {

namespace {

constexpr std::string_view ellipsis = "\xE2\x80\xA6";
constexpr std::size_t most_bytes = control_label_size - 1;

constexpr int screen_margin = 10; // that dialogs keep from the screen's edges
constexpr int title_room = 30;    // above them, for the desktop's frame

constexpr int text_padding = 10; // of a line's width, and again of the dialog's
constexpr int line_padding = 8;
constexpr int least_width = 130;
constexpr int least_width_of_three = 210; // else the third button would lie on the second
constexpr int least_answer_width = 460;
constexpr int room_for_buttons = 55; // with the spaces above and below them
constexpr int room_with_answer = 60;

struct room {
    int width; // of a line's text
    std::size_t lines;
};

room room_on_screen(int slot) {
    int width = 0, height = 0;
    gl_inq_screen_size(&width, &height);
    const int line_height = gl_inq_font_y_extent(slot) + line_padding;
    const int for_lines = height - 2 * screen_margin - title_room - room_with_answer - line_height;
    return {width - 2 * screen_margin - 2 * text_padding,
            static_cast<std::size_t>(std::max(for_lines / line_height, 1))};
}

bool fits(int slot, std::string_view line, int width) {
    return line.size() <= most_bytes && getStringWidth(slot, line) <= width;
}

bool is_inside_character(std::string_view text, std::size_t at) {
    return at < text.size() && fm::is_continuation(text[at]);
}

// Where the last character before a place begins.
std::size_t step_back(std::string_view text, std::size_t at) {
    do
        --at;
    while (at > 0 && is_inside_character(text, at));
    return at;
}

// How many bytes of a line's beginning fit, one character at least.
std::size_t count_fitting(int slot, std::string_view line, int width) {
    std::size_t some = 0, over = std::min(line.size(), most_bytes) + 1;
    while (over - some > 1) {
        const std::size_t middle = some + (over - some) / 2;
        if (getStringWidth(slot, line.substr(0, middle)) <= width)
            some = middle;
        else
            over = middle;
    }
    while (some > 0 && is_inside_character(line, some))
        --some;
    if (some == 0)
        for (some = 1; is_inside_character(line, some) && some < most_bytes;)
            ++some;
    return some;
}

std::string cleaned(std::string_view line) {
    std::string clean(line);
    for (char &c : clean)
        if (static_cast<unsigned char>(c) < ' ')
            c = ' ';
    return clean;
}

// A line of the text, in as many pieces as it needs, as far as there is room for them.
void append_wrapped(std::string_view line, int slot, const room &most,
                    std::vector<std::string> *lines) {
    while (!fits(slot, line, most.width) && lines->size() <= most.lines) {
        const std::size_t count = count_fitting(slot, line, most.width);
        const std::size_t blank = line.substr(0, count + 1).rfind(' ');
        const bool is_at_blank = blank != std::string_view::npos && blank > 0;
        lines->emplace_back(line.substr(0, is_at_blank ? blank : count));
        line.remove_prefix(is_at_blank ? blank + 1 : count);
    }
    lines->emplace_back(line);
}

// What is beyond the room gives way to an ellipsis.
void cut_lines(int slot, const room &most, std::vector<std::string> *lines) {
    if (lines->size() <= most.lines)
        return;
    lines->resize(most.lines);
    std::string &last = lines->back();
    while (!last.empty() && !fits(slot, last + std::string(ellipsis), most.width))
        last.resize(step_back(last, last.size()));
    last.erase(last.find_last_not_of(' ') + 1);
    last += ellipsis;
}

std::vector<std::string> split_text(std::string_view text, int slot) {
    const room most = room_on_screen(slot);
    std::vector<std::string> lines;
    if (text.ends_with('\n'))
        text.remove_suffix(1);
    for (bool is_more = true; is_more && lines.size() <= most.lines;) {
        const std::size_t end = text.find('\n');
        append_wrapped(cleaned(text.substr(0, end)), slot, most, &lines);
        is_more = end != std::string_view::npos;
        text.remove_prefix(is_more ? end + 1 : text.size());
    }
    cut_lines(slot, most, &lines);
    return lines;
}

} // namespace

dialog_layout lay_out_dialog(std::string_view text, int slot, const dialog_contents &contents) {
    dialog_layout layout;
    layout.lines = split_text(text, slot);
    int text_width = 0;
    for (const std::string &line : layout.lines) {
        const text_size size = gl_inq_text_extent(slot, line);
        text_width = std::max(text_width, size.width + text_padding);
        layout.line_height = std::max(layout.line_height, size.height + line_padding);
    }
    const int lines = static_cast<int>(layout.lines.size());
    if (contents.has_answer) {
        layout.width = std::max(text_width, least_answer_width) + text_padding;
        layout.height = (lines + 1) * layout.line_height + room_with_answer;
    } else {
        const bool has_three = contents.has_no && contents.has_quit;
        layout.width =
            std::max(text_width + text_padding, has_three ? least_width_of_three : least_width);
        layout.height = lines * layout.line_height + room_for_buttons;
    }
    return layout;
}

screen_box dialog_box(const dialog_layout &layout, int x, int y) {
    int width = 0, height = 0;
    gl_inq_screen_size(&width, &height);
    const int rightmost = width - screen_margin - layout.width;
    const int topmost = height - screen_margin - title_room - layout.height;
    const int left = std::max(std::min(x - layout.width / 2, rightmost), screen_margin);
    const int bottom = std::min(std::max(y - layout.height / 2, screen_margin), topmost);
    return {clamp_16(left), clamp_16(bottom), clamp_16(layout.width), clamp_16(layout.height)};
}

} // namespace toolkit
