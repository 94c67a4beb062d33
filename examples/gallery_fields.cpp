// Section "Fields": texts, numbers with limits and times to type in; the policies for leaving them;
// long texts and disabled ones.
#include "examples/gallery.h"
#include "toolkit/demons/box_text.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/objects/object_names.h"
#include "toolkit/text/smpte.h"
#include "toolkit/widgets/controls.h"
#include "toolkit/widgets/edit_value.h"
#include "toolkit/widgets/fields.h"

#include <array>
#include <cstdio>

namespace gallery {

using namespace toolkit;

namespace {

constexpr int prompt_width = 76;
constexpr int field_width = 260;
constexpr int field_height = 24;
constexpr int row_height = 32;
constexpr int rate = 24;
constexpr const char *long_text =
    "/films/reel 7/scene 12 (night, the harbour)/shot 0140/take 3/colour corrected.reel";

struct fields {
    demon *readout, *time, *as_cells;
};
fields shown;

void tell_field(word argument) {
    const auto *field = from_word<edit_string_demon *>(argument);
    std::array<char, 96> text{};
    const std::string_view entered = edit_string_demon_string(field);
    std::snprintf(text.data(), text.size(), "Accepted: %.*s", static_cast<int>(entered.size()),
                  entered.data());
    updateWidgetValue(shown.readout, text.data());
}

void switch_time_mode(word) {
    widget_value cells, frame;
    getWidgetValue(shown.as_cells, &cells);
    getWidgetValue(shown.time, &frame);
    if (cells.number != 0)
        set_smpte_display_cells();
    else
        set_smpte_display_smpte();
    updateWidgetValue(shown.time, frame);
}

edit_string_demon *finish_field(demon *made, const char *name) {
    auto *field = static_cast<edit_string_demon *>(made);
    if (field == nullptr)
        return nullptr;
    field->prompt_width = scale_x(prompt_width);
    field->argument = to_word(field);
    if (name != nullptr)
        name_object(name, field);
    return field;
}

// Rows count from the bottom.
edit_string_demon *add_text(demon *window, int row, const char *label, const char *text,
                            const char *name = nullptr) {
    return finish_field(addStringWidget(window, 12, 12 + row * row_height, field_width,
                                        field_height, label, text, tell_field, 0),
                        name);
}

edit_string_demon *add_number(demon *window, int row, const char *label, float value, float low,
                              float high, const char *name = nullptr) {
    return finish_field(addValueWidget(window, 12, 12 + row * row_height, field_width, field_height,
                                       label, value, low, high, tell_field, 0),
                        name);
}

void add_note(demon *window, int row, const char *text) {
    static_cast<void>(addLabel(window, 280, 12 + row * row_height, 156, field_height, text,
                               font_slot_normal_1, label_place::left));
}

void add_time(demon *window, int row) {
    set_smpte_frame_rate(rate);
    static_cast<void>(addLabel(window, 12 - text_margin, 12 + row * row_height, prompt_width,
                               field_height, "Time", font_slot_normal_1, label_place::left));
    shown.time = addTimeWidget(window, 12 + prompt_width, 12 + row * row_height, 184, field_height,
                               0, 4799, 1501, 11, tell_field, 0);
    if (shown.time != nullptr)
        static_cast<edit_string_demon *>(shown.time)->argument = to_word(shown.time);
    name_object(name_time_field, shown.time);
    shown.as_cells = addToggleSwitch(window, 280, 11 + row * row_height, 88, 26, "Cells", 0,
                                     switch_time_mode, 0);
}

} // namespace

void add_fields(demon *window) {
    shown = {};
    shown.readout = addLabel(window, 12, 12 + 8 * row_height, 424, field_height,
                             "Type into a field: Return accepts, Escape takes back", font_slot_bold,
                             label_place::middle);
    add_text(window, 7, "Shot", "shot_012", name_shot_field);
    add_note(window, 7, "accepts when left");
    if (edit_string_demon *take = add_text(window, 6, "Take", "take 3", name_take_field))
        take->on_leave = on_leave_revert;
    add_note(window, 6, "goes back when left");
    add_text(window, 5, "Path", long_text, name_path_field);
    add_note(window, 5, "a long text's beginning");
    if (edit_string_demon *end = add_text(window, 4, "File", long_text))
        end->shows_end = true;
    add_note(window, 4, "and its end");
    add_number(window, 3, "Opacity", 50, 0, 100, name_opacity_field);
    add_note(window, 3, "0 to 100, asks when left");
    add_time(window, 2);
    setEnabledWidget(add_text(window, 1, "Disabled", "shot_012"), false);
    setEnabledWidget(add_number(window, 0, "Disabled", 24, 1, 60), false);
}

} // namespace gallery
