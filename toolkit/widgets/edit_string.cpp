#include "toolkit/widgets/edit_string.h"

#include "toolkit/demons/delivery.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/demons/keystroke_aliases.h"
#include "toolkit/demons/window_demons.h"
#include "toolkit/events/event_input.h"
#include "toolkit/events/key_table.h"
#include "toolkit/objects/bounded_text.h"

#include <cstdio>
#include <utility>

namespace toolkit {

object_class *Edit_String_Demon_Class = nullptr;
object_set *Edit_String_Demon_Set = nullptr;
int edit_string_question = 0;

namespace {

constexpr std::size_t question_size = edit_text_size + control_label_size + 128;

field_dialogs dialogs;

edit_string_demon *own(demon *self) {
    return static_cast<edit_string_demon *>(self);
}

std::string_view saved_text(const edit_string_demon *self) {
    return self->saved.data();
}

void save_text(edit_string_demon *self) {
    self->saved = self->line.text;
}

void set_visible_bit(demon *self, bool is_visible) {
    if (is_visible)
        self->flags |= flag_visible;
    else
        self->flags &= static_cast<std::uint16_t>(~flag_visible);
}

bool is_visible(const demon *self) {
    return (self->flags & flag_visible) != 0;
}

// ---- having the keyboard

void gain_keyboard(edit_string_demon *self) {
    if (self->has_keyboard)
        return;
    self->has_keyboard = true;
    save_text(self);
    begin_marker(self);
    const demon_ref kept = refer_to_demon(self);
    demon_hilite_message(self);
    if (kept.get() != nullptr)
        redraw_control(self);
}

void drop_keyboard(edit_string_demon *self) {
    if (!self->has_keyboard)
        return;
    self->has_keyboard = false;
    clear_selection(&self->line);
    end_marker(self);
}

bool asks_yes(const edit_string_demon *self) {
    if (dialogs.ask_yes_no == nullptr)
        return false;
    std::array<char, question_size> question{};
    const std::string_view prompt = esd_prompt(self);
    if (prompt.empty())
        std::snprintf(question.data(), question.size(),
                      "You did not press enter to accept \"%s\".  Do you want to accept it now?",
                      self->line.text.data());
    else
        std::snprintf(question.data(), question.size(),
                      "You did not press enter to accept \"%s\" for \"%s\".  "
                      "Do you want to accept it now?",
                      self->line.text.data(), self->label.data());
    return ask_field_question(question.data());
}

void ask_and_settle(edit_string_demon *self) {
    const demon_ref kept = refer_to_demon(self);
    const int outer = std::exchange(edit_string_question, question_pending);
    const bool is_accepted = asks_yes(self);
    edit_string_question = outer;
    if (kept.get() == nullptr)
        return;
    relink_demon(self);
    if (!is_accepted)
        edit_string_demon_set_string(self, saved_text(self));
    else if (edit_string_demon_is_changed(self)) // nobody else has settled it meanwhile
        edit_string_demon_accept(self, edit_string_demon_is_changed(self));
}

// What the policy says about a text that nobody has accepted.
void settle_text(edit_string_demon *self) {
    if (!edit_string_demon_is_changed(self))
        return;
    if (self->on_leave == on_leave_accept)
        edit_string_demon_accept(self, edit_string_demon_is_changed(self));
    else if (self->on_leave == on_leave_revert || !is_visible(self))
        edit_string_demon_set_string(self, saved_text(self));
    else
        ask_and_settle(self);
}

void lose_keyboard(edit_string_demon *self) {
    if (!self->has_keyboard)
        return;
    drop_keyboard(self);
    const demon_ref kept = refer_to_demon(self);
    if (!is_pointer_in_field(self))
        demon_dehilite_message(self);
    if (kept.get() != nullptr)
        redraw_control(self); // without selection, behind the question that may come
    if (kept.get() != nullptr)
        settle_text(self);
    if (kept.get() != nullptr)
        edit_string_draw_marker(self);
}

// ---- handlers and methods

// As controls do it, but the field that has the keyboard stays highlighted.
void leave_box(demon *self, object *sender, demon_message *m) {
    const delivery here(self);
    if (!own(self)->has_keyboard)
        dehilite_me(self);
    tell_box_out(self);
    if (here.self() != nullptr)
        demon_box_out(self, sender, m);
}

void destroy_field(demon *self, object *sender, demon_message *m) {
    drop_keyboard(own(self));
    let_go_control(own(self));
    demon_destroy(self, sender, m);
}

word get_field_value(demon *d, object *, word value) {
    const edit_string_demon *self = own(d);
    if (auto *result = from_word<widget_value *>(value)) {
        result->number = self->value;
        result->text = edit_string_demon_string(self);
    }
    return 0;
}

bool take_string(control *d, const widget_value &value) {
    edit_string_demon *self = own(d);
    edit_text given{};
    set_edit_text(&given, value.text);
    if (text_of(given) == edit_string_demon_string(self))
        return false;
    edit_string_demon_offer_string(self, text_of(given));
    return true;
}

constexpr control_kind string_kind = edit_string_kind(take_string);

// Where keys can't reach it, a field has no keyboard.
void leave_if(bool is_out_of_reach, const demon_ref &field) {
    auto *self = static_cast<edit_string_demon *>(field.get());
    if (self == nullptr || !is_out_of_reach || !self->has_keyboard)
        return;
    give_up_keyboard_unasked(self);
    if (field.get() != nullptr && !is_visible(self))
        self->hilited = 0; // no message does that for what is not seen
}

void set_field_visibility(edit_string_demon *self, object *sender, demon_message *m) {
    const demon_ref kept = refer_to_demon(self);
    demon_set_visibility(self, sender, m);
    leave_if(kept.get() != nullptr && !is_visible(self), kept);
}

void set_field_input(edit_string_demon *self, object *sender, demon_message *m) {
    const demon_ref kept = refer_to_demon(self);
    const method inherited = inq_class_method(inq_control_class(), msg_set_enable_input);
    inherited(self, to_word(sender), to_word(m));
    leave_if(kept.get() != nullptr && (self->flags & flag_input) == 0, kept);
}

void release_field(object *gone) {
    auto *self = static_cast<edit_string_demon *>(gone);
    drop_keyboard(self);
    destroy_iclist(&self->changed);
    forget_demon(gone);
}

} // namespace

// ---- making

object_class *create_edit_string_demon_class() {
    object_class *made = derive_object_class(inq_control_class(), "edit string demon ");
    if (made == nullptr)
        return nullptr;
    made->released = release_field;
    set_method<edit_string_demon_set_keyboard_client>(made, msg_set_keyboard_client);
    set_method<edit_string_paste_selection>(made, msg_middle_down);
    set_key_claim(edit_string_claims_key);
    set_method<set_field_visibility>(made, msg_set_visibility);
    set_method<set_field_input>(made, msg_set_enable_input);
    return keep_class_in(&Edit_String_Demon_Class, made);
}

object_class *inq_edit_string_demon_class() {
    return Edit_String_Demon_Class != nullptr ? Edit_String_Demon_Class
                                              : create_edit_string_demon_class();
}

edit_string_demon *create_edit_string_demon(object_set *set, int width, int height,
                                            std::string_view prompt, std::string_view text) {
    if (set == nullptr && Edit_String_Demon_Set == nullptr)
        keep_set_in(&Edit_String_Demon_Set, create_set_of<edit_string_demon>(
                                                control_block, 1, inq_edit_string_demon_class()));
    auto *made = create_demon_of<edit_string_demon>(set != nullptr ? set : Edit_String_Demon_Set,
                                                    width, height, nullptr);
    if (made != nullptr)
        set_up_edit_string(made, string_kind, prompt, text);
    return made;
}

void set_up_edit_string(edit_string_demon *self, const control_kind &kind, std::string_view prompt,
                        std::string_view text) {
    set_up_control(self, nullptr, {}, kind, nullptr, 0);
    self->on.box_out = leave_box;
    self->on.b1_double_click = edit_string_demon_double_click;
    self->on.keystroke = edit_string_demon_keystroke;
    self->on.destroy = destroy_field;
    self->on.get_value = get_field_value;
    set_control_label(self, prompt);
    set_edit_text(&self->line, text);
    save_text(self);
}

bool is_edit_string_demon(const object *o) {
    return o != nullptr && is_class_derived(o->class_, Edit_String_Demon_Class);
}

// ---- texts

std::string_view esd_prompt(const edit_string_demon *self) {
    return label_of(self);
}

std::string_view edit_string_demon_string(const edit_string_demon *self) {
    return saved_text(self);
}

void edit_string_demon_set_string(edit_string_demon *self, std::string_view text) {
    set_edit_text(&self->line, text);
    save_text(self);
    redraw_control(self);
}

void edit_string_demon_offer_string(edit_string_demon *self, std::string_view text) {
    if (self->has_keyboard && edit_string_demon_is_changed(self))
        copy_bounded(self->saved, text);
    else
        edit_string_demon_set_string(self, text);
}

bool edit_string_demon_is_changed(const edit_string_demon *self) {
    return text_of(self->line) != saved_text(self);
}

void edit_string_demon_accept(edit_string_demon *self, bool is_changed) {
    save_text(self);
    const demon_ref kept = refer_to_demon(self);
    const bool is_told = self->accepted != nullptr ? self->accepted(self) : is_changed;
    if (kept.get() != nullptr)
        changes(self->changed);
    if (kept.get() != nullptr && is_told)
        notify_control(self);
}

// ---- questions

void set_field_dialogs(const field_dialogs &installed) {
    dialogs = installed;
}

bool ask_field_question(const char *question) {
    return dialogs.ask_yes_no != nullptr && dialogs.ask_yes_no(question) == answer_yes;
}

void show_field_message(const char *text) {
    if (dialogs.message != nullptr)
        dialogs.message(text);
}

// ---- the keyboard

bool is_pointer_in_field(const edit_string_demon *self) {
    const demon *parent = self->parent.get();
    return parent != nullptr && parent->box_in_child == self;
}

void edit_string_demon_set_keyboard_client(edit_string_demon *self, object *sender, demon *client) {
    const demon_ref kept = refer_to_demon(self);
    const bool is_gain = client == self;
    const bool is_from_window = is_iris_window_demon(sender);
    if (!is_from_window && demon_get_keyboard_client(self, self, 0) != client)
        demon_set_keyboard_client(self, self, client); // who had it is told of that
    if (kept.get() == nullptr)
        return;
    // Who had it, or was asked for that, may have wished otherwise.
    demon *window = getTopWidget(self);
    const bool is_holder = demon_get_keyboard_client(self, self, 0) == self;
    if (!is_gain)
        lose_keyboard(self);
    else if (window == nullptr || is_holder)
        gain_keyboard(self);
}

void give_up_keyboard_unasked(edit_string_demon *self) {
    const demon_ref kept = refer_to_demon(self);
    const bool was_visible = is_visible(self);
    set_visible_bit(self, false);
    if (self->has_keyboard) // who was told may have given it to another one
        demon_keyboard_client_message(self, nullptr);
    if (kept.get() == nullptr)
        return;
    set_visible_bit(self, was_visible);
    if (!is_pointer_in_field(self))
        demon_dehilite_message(self);
    if (kept.get() != nullptr)
        redraw_control(self);
}

// ---- the mouse

void press_edit_string(control *d, screen_point at) {
    edit_string_demon *self = own(d);
    const bool extends = self->has_keyboard && (inq_special_key() & shift_bit) != 0;
    const std::int32_t place = edit_string_place_at(self, at.x); // as the text is seen now
    const demon_ref kept = refer_to_demon(self);
    demon_keyboard_client_message(self, self);
    if (kept.get() == nullptr)
        return;
    if (has_missed_release())
        let_go_control(self); // a question came between
    if (!self->has_keyboard)
        return;
    self->is_by_words = false;
    place_cursor(&self->line, place, extends);
    edit_string_show_edit(self);
}

void drag_edit_string(control *d, screen_point at) {
    edit_string_demon *self = own(d);
    if (!self->has_keyboard || self->is_by_words)
        return;
    const std::int32_t before = self->line.cursor;
    const bool is_selecting = self->line.selection_start != no_selection;
    place_cursor(&self->line, edit_string_place_at(self, at.x), true);
    if (before != self->line.cursor || is_selecting != (self->line.selection_start != no_selection))
        edit_string_show_edit(self);
}

void edit_string_demon_double_click(demon *d, object *sender, demon_message *m) {
    edit_string_demon *self = own(d);
    const std::int32_t place = edit_string_character_at(self, m->point.x);
    const demon_ref kept = refer_to_demon(self);
    self->on.b1_down(self, sender, m);
    if (kept.get() == nullptr || !self->has_keyboard)
        return;
    self->is_by_words = true;
    select_word(&self->line, place);
    edit_string_show_edit(self);
}

} // namespace toolkit
