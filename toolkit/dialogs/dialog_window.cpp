#include "toolkit/dialogs/dialog_window.h"

#include "platform/gl/input.h"
#include "toolkit/demons/box_text.h"
#include "toolkit/dialogs/dialogs.h"
#include "toolkit/events/key_table.h"
#include "toolkit/graphics/bitmaps.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/text.h"
#include "toolkit/graphics/window_table.h"
#include "toolkit/objects/object_names.h"
#include "toolkit/widgets/control.h"
#include "toolkit/widgets/controls.h"

#include <algorithm>
#include <string>

namespace toolkit {

namespace {

constexpr int margin = 5; // around and between what is in a dialog
constexpr int button_side = 40;
constexpr int no_button_left = 85;
constexpr int answer_bottom = 50;
constexpr int windows_in_block = 4;

object_set *Dialog_Window_Set = nullptr;

// To the pixel, whatever the screen's size: set_demon scales.
void place_exactly(demon *widget, const demon *window, const screen_box &within) {
    setBoxWidgetScreen(widget, {clamp_16(window->box.x + within.x),
                                clamp_16(window->box.y + within.y), within.width, within.height});
}

// A label whose text begins where that of the field does, above the first button. Its slot is the
// routine's first word.
void draw_line(display_object *d) {
    auto *self = static_cast<control *>(d);
    const int slot = static_cast<int>(self->first_word);
    const int y = self->box.y + (self->box.height - gl_inq_font_y_extent(slot)) / 2;
    gl_fill_box(self->box, ground_of(self));
    set_clip_box(self->box);
    draw_text(self->box.x + margin, y, slot, label_of(self));
    reset_clip_box();
}

void add_line(dialog_window *window, std::string_view text, const screen_box &within) {
    demon *line = addLabel(window, within.x, within.y, within.width, within.height, text,
                           dialog_font_slot, label_place::left);
    if (line == nullptr)
        return;
    line->first_word = static_cast<word>(dialog_font_slot);
    line->draw = draw_line;
    place_exactly(line, window, within);
}

// The labels of the lines, and one behind them all.
void add_text(dialog_window *window, const dialog_layout &layout) {
    const int width = layout.width - 2 * margin;
    const int count = static_cast<int>(layout.lines.size());
    for (int i = 1; i <= count; ++i)
        add_line(window, layout.lines[static_cast<std::size_t>(i - 1)],
                 {margin, clamp_16(layout.height - i * layout.line_height - margin),
                  clamp_16(width), clamp_16(layout.line_height)});
    const int height = count * layout.line_height;
    add_line(
        window, " ",
        {margin, clamp_16(layout.height - height - margin), clamp_16(width), clamp_16(height)});
}

std::string name_of(std::string_view start, std::string_view text) {
    std::string name(start);
    name.append(text.substr(0, object_name_size));
    std::replace_if(
        name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    return name;
}

struct button_look {
    const char *label; // where there is no picture
    const char *icon;
    void (*load)(demon *toggle);
};

button_look look_of_button(dialog_button which) {
    switch (which) {
    case dialog_button::no:
        return {"N", "sx40", load_x_icon};
    case dialog_button::quit:
        return {"Q", "quit", load_quit_icon};
    case dialog_button::yes:
        break;
    }
    return {"Y", "sc40", load_check_icon};
}

int left_of_button(const dialog_window *window, dialog_button which) {
    if (which == dialog_button::quit)
        return window->box.width - button_side - margin;
    return which == dialog_button::no ? no_button_left : margin;
}

} // namespace

dialog_window *make_dialog_window(std::string_view name_start, const char *title, const char *text,
                                  const dialog_contents &contents, int x, int y) {
    if (Dialog_Window_Set == nullptr)
        keep_set_in(&Dialog_Window_Set,
                    create_set_of<dialog_window>(windows_in_block, windows_in_block,
                                                 inq_iris_window_demon_class()));
    const dialog_layout layout = lay_out_dialog(text, dialog_font_slot, contents);
    const screen_box box = dialog_box(layout, x, y);
    const std::string name = name_of(name_start, text);
    auto *made = static_cast<dialog_window *>(
        create_iris_window_demon_pushed(Dialog_Window_Set, box.x, box.y, box.width, box.height,
                                        title != nullptr ? title : name.c_str(), nullptr, 0));
    if (made == nullptr)
        return nullptr;
    made->box = box;
    made->line_height = layout.line_height;
    made->on.destroy = iris_demon_destroy;
    name_object(name.c_str(), made);
    add_text(made, layout);
    return made;
}

void add_dialog_field(dialog_window *window, std::string_view initial) {
    const screen_box within = {margin, answer_bottom, clamp_16(window->box.width - 2 * margin),
                               clamp_16(window->line_height)};
    edit_string_demon *field =
        create_edit_string_demon(nullptr, within.width, within.height, "", initial);
    if (field == nullptr)
        return;
    window->field = refer_to_demon(field);
    add_demon(field, window);
    place_exactly(field, window, within);
}

void select_dialog_field(dialog_window *window) {
    if (demon *field = window->field.get())
        give_keyboard(field);
}

std::string_view text_in_dialog(const dialog_window *window) {
    const auto *field = static_cast<const edit_string_demon *>(window->field.get());
    return field != nullptr ? text_of(field->line) : std::string_view();
}

void add_dialog_button(dialog_window *window, dialog_button which, widget_function function,
                       word argument) {
    const button_look look = look_of_button(which);
    const screen_box within = {clamp_16(left_of_button(window, which)), margin, button_side,
                               button_side};
    demon *button = add_toggleswitch_menu(window, within.x, within.y, within.width, within.height,
                                          look.label, {}, function, argument);
    if (button == nullptr)
        return;
    place_exactly(button, window, within);
    look.load(button);
    if (gl_load_bitmap(gl_ind_bitmap(look.icon)) != nullptr)
        setLabelWidget(button, "");
}

dialog_key key_in_dialog(dialog_window *window, int key) {
    if (key == return_character)
        return dialog_key::confirms;
    if (key != escape_character)
        return dialog_key::other;
    // The release comes without a press when that opened the dialog; then the next one counts.
    const bool was_pressed = window->escape_pressed;
    window->escape_pressed = true;
    return was_pressed && !gl::getbutton(gl::ESCKEY) ? dialog_key::escapes : dialog_key::other;
}

void load_check_icon(demon *toggle) {
    setIconsToggleSwitch(toggle, {"sc40", "hsc40", "sc40.pressed"});
}

void load_x_icon(demon *toggle) {
    setIconsToggleSwitch(toggle, {"sx40", "hsx40", "sx40.pressed"});
}

void load_quit_icon(demon *toggle) {
    setIconsToggleSwitch(toggle, {"quit", "quit.hilite", "quit.pressed"});
}

} // namespace toolkit
