// Section "Dialogs": a button for each of them, and what was answered.
#include "toolkit/dialogs/dialogs.h"

#include "examples/gallery.h"
#include "toolkit/dialogs/questions.h"
#include "toolkit/events/cursor_control.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/widgets/controls.h"

#include <array>
#include <string>

namespace gallery {

using namespace toolkit;

namespace {

constexpr int margin = 12;
constexpr int button_width = 136;
constexpr int button_height = 26;
constexpr int gap = 8;
constexpr int columns = 2;

struct dialogs {
    demon_ref readout;
    int number = 24;
    std::string name = "~/shot_012";
};
dialogs shown;

void tell(const std::string &text) {
    updateWidgetValue(shown.readout.get(), std::string_view(text));
}

// What an answer is called, or what was typed.
void tell_answer(int result, const std::string &typed = "Yes") {
    tell(result == answer_yes ? typed : "No");
}

void show_message(word) {
    message("The movie was saved.");
    tell("Read");
}

void show_big_message(word) {
    big_message("The disk is full.");
    tell("Read");
}

void show_lines(word) {
    message("This message has three lines.\nThe second one is the longest of them.\nNo more.");
    tell("Read");
}

void show_question(word) {
    tell_answer(ask_yes_no("Are you sure you want to cancel? "));
}

void show_all_buttons(word) {
    screen_point at;
    gl_get_valuator(&at.x, &at.y);
    constexpr std::array answers = {"", "Yes", "No", "Quit"};
    const std::int32_t result = create_yes_no_dialog(
        nullptr, at.x, at.y, "Frame 12 is missing.  Go on? ", nullptr, {}, true, true, true);
    tell(answers.at(static_cast<std::size_t>(result)));
}

void show_integer(word) {
    const int result = ask_integer("Frame Rate:", &shown.number, shown.number);
    tell_answer(result, std::to_string(shown.number));
}

void show_limits(word) {
    const int result = ask_integer_limits("Frames per second, from 1 to 120:", &shown.number,
                                          shown.number, 1, 120);
    tell_answer(result, std::to_string(shown.number));
}

void show_string(word) {
    const int result = ask_string("Name of the shot:", &shown.name, shown.name);
    tell_answer(result, shown.name);
}

void show_folder(word) {
    const int result = ask_path_name("Folder:", &shown.name, "~");
    tell_answer(result, shown.name);
}

void show_path_file(word) {
    std::string folder, name;
    const int result = ask_path_file_name("File:", &folder, &name, shown.name);
    tell_answer(result, name + " in " + folder);
}

void show_read_file(word) {
    const int result = ask_read_file_name("File to read:", &shown.name, shown.name);
    tell_answer(result, shown.name);
}

void show_file(word) {
    const int result = ask_file_name("File to write:", &shown.name, shown.name);
    tell_answer(result, shown.name);
}

void show_reel(word) {
    const int result =
        ask_file_name_with_suffix("Movie to write:", &shown.name, shown.name, "reel");
    tell_answer(result, shown.name);
}

void show_inform(word) {
    inform("120 frames are rendered.");
    tell("It stays");
}

struct entry {
    const char *label;
    widget_function show;
};
constexpr std::array entries = {
    entry{"Message", show_message},
    entry{"Big message", show_big_message},
    entry{"Three lines", show_lines},
    entry{"Inform", show_inform},
    entry{"Yes or no", show_question},
    entry{"Yes, no, quit", show_all_buttons},
    entry{"Number", show_integer},
    entry{"Number with limits", show_limits},
    entry{"Text", show_string},
    entry{"Folder", show_folder},
    entry{"Folder and file", show_path_file},
    entry{"File to read", show_read_file},
    entry{"File to write", show_file},
    entry{"Movie to write", show_reel},
};

} // namespace

void add_dialogs(demon *window) {
    shown = {};
    const int top = dialogs_window.height - margin - button_height;
    constexpr int width = columns * button_width + gap;
    shown.readout = refer_to_demon(addLabel(window, margin, top, width, button_height,
                                            "Ask something", font_slot_bold, label_place::middle));
    int place = 0;
    for (const entry &e : entries) {
        const int x = margin + place % columns * (button_width + gap);
        const int y = top - (place / columns + 1) * (button_height + gap);
        static_cast<void>(addButton(window, x, y, button_width, button_height, e.label, e.show, 0));
        ++place;
    }
}

} // namespace gallery
