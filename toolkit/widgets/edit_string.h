// Edit string demons: one-line text fields, with a label at the left.
//
//   edit_string_demon *name = create_edit_string_demon(nullptr, 200, 24, "Shot", "shot_012");
//   name->on_leave = on_leave_ask;
//   add_ic(&name->changed, to_word(name), panel, msg_name_entered, 0);
//   set_demon(name, panel, 10, 10);
//   add_demon(name, panel);
//   demon_keyboard_client_message(name, name);     // as a press of button 1 in it does
//
// A field edits while it has the keyboard of its window (window_demons.h). Its text is saved as it
// gets the keyboard; what was typed since then counts only once it is accepted, by Enter, or as
// the on-leave policy has it when another demon takes the keyboard. Then `changed` is told, and
// after that, if the text is another one, the control's function is called.
//
// Typing also ends, by the policy, when something else in the window is pressed.
//
// Keys, while it has the keyboard: Enter accepts the text and gives the keyboard up; Escape puts
// the saved text back and gives it up; Tab goes on to the next field of the same parent, which is
// its neighbour in the parent's list. Left and right step, by words with Ctrl; Home, up and Page Up
// lead to the beginning, End, down and Page Down to the end; with Shift they select. Backspace and
// Delete erase, with Ctrl a word. Ctrl with A, X, C and V selects all, cuts, copies and pastes
// (clipboard.h), also where a menu has a shortcut with the same key. While keys go to a field, the
// arrow keys do not move the cursor of the screen.
//
// The mouse: a press takes the keyboard and places the marker, a drag selects, with Shift held from
// where the marker was; a double click selects a word; the middle button pastes what is selected
// elsewhere.
//
// A field that is hidden or disabled gives the keyboard up. One that dies with the keyboard accepts
// nothing.
#pragma once

#include "toolkit/objects/interest.h"
#include "toolkit/widgets/control.h"
#include "toolkit/widgets/edit_text.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace toolkit {

// --- records -------------------------------------------------------------------------------------

// What becomes of a changed text when another demon takes the keyboard. Any other value: ask.
inline constexpr std::uint16_t on_leave_accept = 0;
inline constexpr std::uint16_t on_leave_revert = 1;
inline constexpr std::uint16_t on_leave_ask = 2;

struct edit_string_demon : control { // its label is the prompt
    edit_text line;
    std::array<char, edit_text_size> saved;    // the last accepted text
    std::uint16_t on_leave;                    // *
    ic *changed;                               // * told of accepted texts; released with the field
    bool (*takes)(unsigned char character);    // * which bytes are typed and pasted; null: all
    bool (*accepted)(edit_string_demon *self); // * called before `changed` is told: whether the
                                               //   control's function is to be called; null: yes
    bool shows_end;   // * a text that is too wide shows its end, while it is not edited
    int prompt_width; // * pixels; 0: as wide as the prompt
    bool has_keyboard;
    bool is_by_words; // the press that is under way was a double click
    bool is_marker_lit;
    int hidden; // pixels of the text beyond the left edge
};

extern object_class *Edit_String_Demon_Class;
extern object_set *Edit_String_Demon_Set;

void edit_string_demon_draw(display_object *self); // the draw routine

// --- making --------------------------------------------------------------------------------------

// Makes the class "edit string demon ", derived from controls, and keeps it in
// Edit_String_Demon_Class.
object_class *create_edit_string_demon_class();
object_class *inq_edit_string_demon_class(); // Edit_String_Demon_Class, made when it is not there

// A new field that accepts on leaving. A null set means Edit_String_Demon_Set. Null when there is
// no memory, or when the set is for smaller objects.
[[nodiscard]] edit_string_demon *create_edit_string_demon(object_set *set, int width, int height,
                                                          std::string_view prompt,
                                                          std::string_view text);

// For records that derive and are made by create_demon_of: kind, handlers and texts.
void set_up_edit_string(edit_string_demon *self, const control_kind &kind, std::string_view prompt,
                        std::string_view text);

// A kind of fields, by what takes the value that a program gives them.
void press_edit_string(control *self, screen_point at);
void drag_edit_string(control *self, screen_point at);
constexpr control_kind edit_string_kind(bool (*take)(control *self, const widget_value &value)) {
    return {.draw = edit_string_demon_draw,
            .pressed = press_edit_string,
            .dragged = drag_edit_string,
            .take = take,
            .is_typed_in = true};
}

// Whether o is an edit string demon, or of a class that derives.
[[nodiscard]] bool is_edit_string_demon(const object *o);

// --- texts ---------------------------------------------------------------------------------------

[[nodiscard]] std::string_view esd_prompt(const edit_string_demon *self);
[[nodiscard]] std::string_view edit_string_demon_string(const edit_string_demon *self);

// Another text, which counts as accepted; what was typed is lost. Nobody is told. Drawn at once.
void edit_string_demon_set_string(edit_string_demon *self, std::string_view text);

// The same, but what is being typed stays: the text is the one to go back to.
void edit_string_demon_offer_string(edit_string_demon *self, std::string_view text);

// Whether the text differs from the saved one.
[[nodiscard]] bool edit_string_demon_is_changed(const edit_string_demon *self);

// The text counts from now on: `accepted`, `changed`, and the function if the text is another one.
void edit_string_demon_accept(edit_string_demon *self, bool is_changed);

// --- questions -----------------------------------------------------------------------------------

// What the dialogs above do for fields. Null members: the answer is no, and nothing is shown.
struct field_dialogs {
    int (*ask_yes_no)(const char *question) = nullptr; // answer_yes: yes
    void (*message)(const char *text) = nullptr;
};
void set_field_dialogs(const field_dialogs &dialogs);
void show_field_message(const char *text);
[[nodiscard]] bool ask_field_question(const char *question); // whether the answer was yes

inline constexpr int question_pending = 255;

// question_pending while a field that lost the keyboard asks whether its text counts; else 0.
extern int edit_string_question;

// --- methods and handlers ------------------------------------------------------------------------

// Who is to have the keyboard: this field (client), another demon, or nobody (null). From anybody
// but the window, which knows, the window is told.
void edit_string_demon_set_keyboard_client(edit_string_demon *self, object *sender, demon *client);

void edit_string_demon_keystroke(demon *self, object *sender, demon_message *m);
void edit_string_demon_double_click(demon *self, object *sender, demon_message *m);

// For the class: the middle button was pressed in the field.
void edit_string_paste_selection(edit_string_demon *self, object *sender, demon_message *m);

// For keystroke_aliases.h: which keys a field wants before all others.
[[nodiscard]] bool edit_string_claims_key(const demon *client, int key);

// Gives a demon the keyboard of its window, as Tab does: the whole text of a field is selected
// then. It may be gone afterwards, if somebody who was told of that wanted it so.
void give_keyboard(demon *client);

// Gives the keyboard up as if the field were not visible: a question never comes up.
void give_up_keyboard_unasked(edit_string_demon *self);

// Whether the pointer is in the field: it is its parent's box-in child.
[[nodiscard]] bool is_pointer_in_field(const edit_string_demon *self);

// --- drawing -------------------------------------------------------------------------------------

// The text as far as it fits, with its beginning at the left edge, or its end at the right one.
void edit_string_draw_text_left(edit_string_demon *self);
void edit_string_draw_text_right(edit_string_demon *self);

// The marker at the cursor, or what is there without it.
void edit_string_draw_marker(edit_string_demon *self);

// Draws it after a change by hand: the cursor in view, the marker lit.
void edit_string_show_edit(edit_string_demon *self);

// Makes the field no wider than it needs to be for so many digits.
void edit_string_fit_width(edit_string_demon *self, int digits);

// Brings the cursor into view.
void edit_string_reveal_cursor(edit_string_demon *self);

// The place in the text that is nearest to a column of the screen; and where the character that is
// seen there begins.
[[nodiscard]] std::int32_t edit_string_place_at(const edit_string_demon *self, int x);
[[nodiscard]] std::int32_t edit_string_character_at(const edit_string_demon *self, int x);

// --- the marker's blinking -----------------------------------------------------------------------

// The marker of the field that has the keyboard blinks by TIMER3, unless somebody else uses it.
void begin_marker(edit_string_demon *self);
void end_marker(edit_string_demon *self);

} // namespace toolkit
