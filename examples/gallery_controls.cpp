// Section "Controls": buttons, switches, labels, sliders and groups, enabled and disabled.
#include "examples/gallery.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/widgets/controls.h"

#include <array>
#include <cstdio>
#include <string_view>

namespace gallery {

using namespace toolkit;

namespace {

constexpr std::array<std::string_view, 3> rates = {"Film", "PAL", "NTSC"};
constexpr std::array<std::string_view, 3> modes = {"Normal", "Loop", "Swing"};

// What the readout line shows and the switch "Enabled" disables.
struct controls {
    demon *readout;
    demon *enabled;
    demon *slider;
    std::array<demon *, 16> all;
    std::size_t count;
};
controls shown;

void tell(const char *text) {
    updateWidgetValue(shown.readout, text);
}

// The argument: what was used, as text.
void tell_use(word argument) {
    tell(from_word<const char *>(argument));
}

void tell_number(word) {
    widget_value value;
    getWidgetValue(shown.slider, &value);
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "Frame %d", static_cast<int>(value.number));
    tell(text.data());
}

void enable_all(word) {
    widget_value value;
    getWidgetValue(shown.enabled, &value);
    for (std::size_t i = 0; i < shown.count; ++i)
        setEnabledWidget(shown.all[i], value.number != 0);
    tell(value.number != 0 ? "Enabled" : "Disabled");
}

void keep(demon *made) {
    if (made != nullptr && shown.count < shown.all.size())
        shown.all[shown.count++] = made;
}

struct transport_button {
    int x, y, width, height;
    switch_icons icons;
    const char *text;
};
constexpr std::array transport = {
    transport_button{
        0, 0, 80, 25, {"reverse", "reverse.hilite", "reverse.pressed"}, "Play backwards"},
    transport_button{0,
                     30,
                     40,
                     25,
                     {"fast_reverse", "fast_reverse.hilite", "fast_reverse.pressed"},
                     "Fast backwards"},
    transport_button{40,
                     30,
                     40,
                     25,
                     {"fast_forward", "fast_forward.hilite", "fast_forward.pressed"},
                     "Fast forwards"},
    transport_button{85, 0, 80, 55, {"play", "play.hilite", "play.pressed"}, "Play"},
    transport_button{170, 0, 80, 25, {"stop", "stop.hilite", "stop.pressed"}, "Stop"},
    transport_button{
        170, 30, 40, 25, {"step_back", "step_back.hilite", "step_back.pressed"}, "A frame back"},
    transport_button{210,
                     30,
                     40,
                     25,
                     {"step_forward", "step_forward.hilite", "step_forward.pressed"},
                     "A frame on"},
};

void add_transport(demon *window, int x, int y) {
    for (const transport_button &b : transport)
        keep(add_toggleswitch_menu(window, x + b.x, y + b.y, b.width, b.height, "", b.icons,
                                   tell_use, to_word(b.text)));
}

} // namespace

void add_controls(demon *window) {
    shown = {};
    shown.readout =
        addLabel(window, 12, 338, 280, 22, "Use a control", font_slot_bold, label_place::middle);
    keep(addButton(window, 12, 302, 88, 26, "Button", tell_use, to_word("Button")));
    keep(addToggleSwitch(window, 108, 302, 88, 26, "Switch", 0, tell_use, to_word("Switch")));
    shown.enabled = addToggleSwitch(window, 204, 302, 88, 26, "Enabled", 1, enable_all, 0);
    add_transport(window, 12, 232);
    keep(addSlider(window, 276, 196, 16, 92, 0, 10, 4, tell_use, to_word("Upright slider")));
    shown.slider = addSlider(window, 12, 208, 250, 12, 0, 99, 30, tell_number, 0);
    keep(shown.slider);
    keep(addOneOf(window, 12, 162, 280, 26, rates, 1, tell_use, to_word("One of three")));
    keep(addRadio(window, 12, 84, 130, 66, modes, 0, tell_use, to_word("Radio")));
    keep(addLabel(window, 160, 128, 132, 22, "A label", font_slot_normal_1, label_place::left));
    keep(addLabel(window, 160, 84, 132, 22, "A label much too long for its box", font_slot_normal_1,
                  label_place::left));
    static_cast<void>(
        addLabel(window, 12, 52, 280, 22, "Disabled", font_slot_bold, label_place::middle));
    for (demon *disabled : {addButton(window, 12, 16, 88, 26, "Button", nullptr, 0),
                            addToggleSwitch(window, 108, 16, 88, 26, "On", 1, nullptr, 0),
                            addToggleSwitch(window, 204, 16, 88, 26, "Off", 0, nullptr, 0)})
        setEnabledWidget(disabled, false);
}

} // namespace gallery
