// Section "Menus": a bar with choices of all kinds, shortcuts, separators, cascades within cascades,
// choices and a whole menu that can't be used, and the three styles of titles.
#include "examples/gallery.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/objects/object_names.h"
#include "toolkit/widgets/controls.h"
#include "toolkit/widgets/pulldowns.h"

#include <array>
#include <cstdio>

namespace gallery {

using namespace toolkit;

namespace {

constexpr int bar_height = 30;

// What the lines in the window show.
struct menus {
    demon *readout, *mode_line, *rate_line;
    demon *close, *lock; // a choice, and the toggle that greys it
    std::array<demon *, 3> modes;
};
menus shown;

// The argument: what was chosen, as text.
void tell_choice(word argument) {
    updateWidgetValue(shown.readout, from_word<const char *>(argument));
}

void tell_with(demon *line, const char *what, word argument) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%s: %s", what, from_word<const char *>(argument));
    updateWidgetValue(line, text.data());
    tell_choice(argument);
}

// Also by a shortcut, which leaves the marks to us.
void set_mode(word argument) {
    for (demon *mode : shown.modes)
        if (const pulldown_choice *choice = as_pulldown_choice(mode);
            choice != nullptr && choice->argument == argument)
            updateWidgetValue(mode, 1);
    tell_with(shown.mode_line, "Mode", argument);
}

void set_rate(word argument) {
    tell_with(shown.rate_line, "Rate", argument);
}

void set_lock(word argument) {
    widget_value value;
    getWidgetValue(shown.lock, &value);
    if (value.number != 0)
        deactivatePullDownChoice(shown.close);
    else
        activatePullDownChoice(shown.close);
    tell_choice(argument);
}

struct entry {
    const char *label;
    widget_function function = tell_choice;
    pulldown_kind kind = pulldown_kind::command;
    char key = 0; // with Ctrl
    const char *key_text = nullptr;
    bool separator = false; // below it
    bool is_on = false;
    bool is_active = true;
};

demon *add_entry(demon *pulldown, const entry &e, demon *sub = nullptr) {
    return addPullDownChoice(pulldown, nullptr, e.label, e.separator, e.kind, e.key,
                             e.key != 0 ? alias_ctrl : 0, e.key_text, e.function, to_word(e.label),
                             sub, e.is_on, e.is_active);
}

demon *add_cascade(demon *pulldown, const char *label, demon *sub, bool separator,
                   bool is_active = true) {
    return add_entry(pulldown,
                     {.label = label,
                      .function = nullptr,
                      .kind = pulldown_kind::cascade,
                      .separator = separator,
                      .is_active = is_active},
                     sub);
}

void add_file_menu(demon *bar) {
    demon *file = addPullDown(bar, "File", 0);
    add_entry(file, {.label = "Load Play File", .key = 'o', .key_text = "Ctrl+O"});
    shown.close = add_entry(file, {.label = "Close", .key = 'w', .key_text = "Ctrl+W"});
    add_entry(file, {.label = "Restore", .separator = true, .is_active = false});
    shown.lock = add_entry(file, {.label = "Keep Open",
                                  .function = set_lock,
                                  .kind = pulldown_kind::toggle,
                                  .key = 'k',
                                  .key_text = "Ctrl+K"});
    add_entry(file, {.label = "Copy", .key = 'c', .key_text = "Ctrl+C", .separator = true});
    add_entry(file, {.label = "Quit",
                     .function = [](word) { quit_dispatch(); },
                     .key = 'q',
                     .key_text = "Ctrl+Q"});
}

demon *make_rates() {
    demon *cinema = addSubPullDown();
    add_entry(
        cinema,
        {.label = "Film (24)", .function = set_rate, .kind = pulldown_kind::radio, .is_on = true});
    add_entry(cinema, {.label = "Twice (48)", .function = set_rate, .kind = pulldown_kind::radio});
    demon *rates = addSubPullDown();
    add_cascade(rates, "Cinema", cinema, true);
    add_entry(rates, {.label = "PAL (25)", .function = set_rate});
    add_entry(rates, {.label = "NTSC (29.97)", .function = set_rate});
    return rates;
}

void add_playback_menu(demon *bar) {
    demon *playback = addPullDown(bar, "Playback", 0);
    constexpr auto radio = pulldown_kind::radio, toggle = pulldown_kind::toggle;
    shown.modes[0] = add_entry(playback, {.label = "Normal",
                                          .function = set_mode,
                                          .kind = radio,
                                          .key = '1',
                                          .key_text = "Ctrl+1",
                                          .is_on = true});
    shown.modes[2] = add_entry(
        playback,
        {.label = "Loop", .function = set_mode, .kind = radio, .key = '2', .key_text = "Ctrl+2"});
    shown.modes[1] = add_entry(playback, {.label = "Swing",
                                          .function = set_mode,
                                          .kind = radio,
                                          .separator = true,
                                          .is_active = false});
    add_entry(playback, {.label = "Double Buffer", .kind = toggle, .is_on = true});
    add_entry(playback, {.label = "Every Frame", .kind = toggle});
    add_entry(playback, {.label = "Full Screen",
                         .kind = toggle,
                         .separator = true,
                         .is_on = true,
                         .is_active = false});
    add_cascade(playback, "Frame Rate", make_rates(), false);
    demon *sub = addSubPullDown();
    add_entry(sub, {.label = "Never seen"});
    add_cascade(playback, "Sound", sub, false, false);
}

// A title that shows what was chosen in its menu.
void add_shown_menu(demon *bar) {
    demon *size = addArrowPullDown(bar, "Half Size", 0);
    for (const char *label : {"Half Size", "Full Size", "Twice the Size"}) {
        demon *made = add_entry(
            size, {.label = label, .kind = pulldown_kind::radio, .is_on = label[0] == 'H'});
        if (pulldown_choice *choice = as_pulldown_choice(made))
            choice->show_in_switch = 1;
    }
    name_object(name_size_switch, size);
}

} // namespace

void add_menus(demon *window) {
    shown = {};
    demon *bar =
        addMenuBar(window, 0, menus_window.height - bar_height, menus_window.width, bar_height);
    const auto add_line = [&](int row, const char *text, int slot) {
        return addLabel(window, 16, 16 + row * 28, menus_window.width - 32, 22, text, slot,
                        label_place::left);
    };
    shown.readout = add_line(3, "Choose from a menu", font_slot_bold);
    shown.mode_line = add_line(2, "Mode: Normal", font_slot_normal_1);
    shown.rate_line = add_line(1, "Rate: Film (24)", font_slot_normal_1);
    static_cast<void>(add_line(0, "Keys: Ctrl+O, W, K, C, Q, 1, 2", font_slot_normal_1));
    add_file_menu(bar);
    add_playback_menu(bar);
    add_shown_menu(bar);
    demon *help = addBevelledPullDown(bar, "Help", 0);
    add_entry(help, {.label = "About"});
    demon *off = addPullDown(bar, "Disabled", 0);
    add_entry(off, {.label = "Never seen"});
    setEnabledWidget(off, false);
    name_object(name_menu_readout, shown.readout);
    name_object(name_menu_mode, shown.mode_line);
    name_object(name_menu_rate, shown.rate_line);
    name_object(name_menu_bar, bar);
}

} // namespace gallery
