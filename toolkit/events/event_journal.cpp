#include "toolkit/events/event_journal.h"

#include "toolkit/events/key_table.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <unistd.h>

namespace toolkit {
namespace {

constexpr const char *caption_mark = "//CAPTION";
constexpr const char *caption_separator = "\t\t ## ";
constexpr int decimal = 10;

struct device_label {
    const char *text;
    gl::device device;
    bool has_direction; // "down" or "up" follows
};

constexpr device_label labels[] = {
    {"ESCKEY", gl::ESCKEY, false},
    {"INPUTCHANGE", gl::INPUTCHANGE, false},
    {"REDRAW", gl::REDRAW, false},
    {"WINSHUT", gl::WINSHUT, false},
    {"WINQUIT", gl::WINQUIT, false},
    {"WINTHAW", gl::WINTHAW, false},
    {"WINFREEZE", gl::WINFREEZE, false},
    {"MOUSE", gl::MOUSEX, false},
    {"MOUSE", gl::MOUSEY, false},
    {"MOUSE1", gl::LEFTMOUSE, true},
    {"MOUSE2", gl::MIDDLEMOUSE, true},
    {"MOUSE3", gl::RIGHTMOUSE, true},
    {"WHEELUP", gl::WHEELUP, false},
    {"WHEELDOWN", gl::WHEELDOWN, false},
    {"LEFTARROWKEY", gl::LEFTARROWKEY, true},
    {"RIGHTARROWKEY", gl::RIGHTARROWKEY, true},
    {"UPARROWKEY", gl::UPARROWKEY, true},
    {"DOWNARROWKEY", gl::DOWNARROWKEY, true},
    {"TIMER0", gl::TIMER0, false},
    {"PASTED", gl::PASTED, false},
};

std::bitset<gl::last_button_device + 1> held;

void report_failure(const char *doing) {
    std::fprintf(stderr, "event journal: %s: %s\n", doing, std::strerror(errno));
}

// Ends a line's writing.
void settle(std::FILE *file, bool written) {
    if (written && std::fflush(file) == 0)
        return;
    report_failure("recording ends, can't write");
    record_switch = 0;
}

std::int16_t to_16_bits(long number) {
    using range = std::numeric_limits<std::int16_t>;
    return static_cast<std::int16_t>(std::clamp<long>(number, range::min(), range::max()));
}

bool is_device(long number) {
    return number > gl::NULLDEV && number <= gl::last_device;
}

// Reads the four numbers that a line begins with. Numbers of any length are harmless: strtol
// stops at the largest one.
bool parse_line(const char *text, journal_line *out) {
    std::array<long, 4> numbers{};
    for (long &number : numbers) {
        char *end = nullptr;
        number = std::strtol(text, &end, decimal);
        if (end == text)
            return false;
        text = end;
    }
    if (!is_device(numbers[0]))
        return false;
    *out = {static_cast<gl::device>(numbers[0]),
            {to_16_bits(numbers[1]), to_16_bits(numbers[2])},
            to_16_bits(numbers[3])};
    return true;
}

using line_buffer = std::array<char, max_journal_line + 1>;
enum class line_state { complete, too_long, end };

// Reads a line whole; what does not fit is read and forgotten.
line_state read_line(std::FILE *file, line_buffer *out) {
    std::size_t length = 0;
    int c = 0;
    while ((c = std::getc(file)) != EOF && c != '\n') {
        if (length < max_journal_line)
            (*out)[length] = static_cast<char>(c);
        ++length;
    }
    if (c == EOF && length == 0)
        return line_state::end;
    (*out)[std::min(length, max_journal_line)] = '\0';
    return length > max_journal_line ? line_state::too_long : line_state::complete;
}

// Reading from a terminal in its background would stop the process.
bool has_terminal() {
    return isatty(STDIN_FILENO) == 1 && tcgetpgrp(STDIN_FILENO) == getpgrp();
}

} // namespace

std::int16_t play_switch = 0;
std::int16_t record_switch = 0;

std::string journal_label(gl::device d, std::int16_t value, bool shift, bool caps_lock) {
    for (const device_label &label : labels) {
        if (label.device != d)
            continue;
        const char *direction = value != 0 ? " down" : " up";
        return std::string(label.text) + (label.has_direction ? direction : "");
    }
    const int character = key_character(d, shift, caps_lock);
    if (std::isgraph(character) != 0)
        return {static_cast<char>(character)};
    return d > gl::NULLDEV && d <= gl::last_button_device ? "KEYBD" : "UNTYPED";
}

void write_journal_line(std::FILE *file, const journal_line &line, const std::string &label) {
    settle(file, std::fprintf(file, "%d %d %d %d\t\t//%s\n", line.device, line.position.x,
                              line.position.y, line.value, label.c_str()) > 0);
}

void write_caption(std::FILE *file, const std::string &caption) {
    const std::size_t room =
        max_journal_line - std::strlen(caption_mark) - std::strlen(caption_separator);
    std::string text = caption.substr(0, room);
    std::replace_if(
        text.begin(), text.end(),
        [](char c) { return std::iscntrl(static_cast<unsigned char>(c)) != 0; }, ' ');
    settle(file, std::fprintf(file, "%s\t\t ## %s\n", caption_mark, text.c_str()) > 0);
}

void ask_caption(std::FILE *file) {
    if (!has_terminal()) {
        std::fputs("event journal: no caption: standard input is no terminal to ask at\n", stderr);
        return;
    }
    std::fputs("Enter caption: ", stdout);
    std::fflush(stdout);
    line_buffer typed{};
    const line_state state = read_line(stdin, &typed);
    if (state == line_state::end)
        std::clearerr(stdin); // the end typed at a terminal is not for ever
    else
        write_caption(file, typed.data());
}

void toggle_recording() {
    record_switch = static_cast<std::int16_t>(record_switch == 0 ? answer_yes : answer_no);
    std::fputs(record_switch != 0 ? "RECORDING\n" : "NOT RECORDING\n", stdout);
}

bool read_journal_line(std::FILE *file, journal_line *out) {
    line_buffer buffer{};
    for (;;) {
        const line_state state = read_line(file, &buffer);
        if (state == line_state::complete && parse_line(buffer.data(), out))
            return true;
        if (state == line_state::end) {
            if (std::ferror(file) != 0)
                report_failure("playing ends, can't read");
            return false;
        }
    }
}

void note_journal_line(const journal_line &line) {
    if (line.device > gl::NULLDEV && line.device <= gl::last_button_device)
        held[static_cast<std::size_t>(line.device)] = line.value != 0;
}

bool is_held_in_journal(gl::device d) {
    return d > gl::NULLDEV && d <= gl::last_button_device && held[static_cast<std::size_t>(d)];
}

void forget_journal_state() {
    held.reset();
}

} // namespace toolkit
