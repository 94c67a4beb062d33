#include "toolkit/widgets/edit_value.h"

#include "toolkit/events/event_input.h"
#include "toolkit/events/key_table.h"
#include "toolkit/objects/record_pool.h"
#include "toolkit/text/value_text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace toolkit {

object_class *Edit_Value_Demon_Class = nullptr;
object_set *Edit_Value_Demon_Set = nullptr;

namespace {

constexpr std::size_t callbacks_per_chunk = 16;
constexpr std::size_t written_size = 128; // of a value, also by an installed routine
constexpr std::size_t message_size = 3 * written_size + 2 * control_label_size + 64;

using written_value = std::array<char, written_size>;

record_pool<value_callback, callbacks_per_chunk> callback_pool;
std::uint32_t callbacks_made = 0;

edit_value_demon *own(demon *self) {
    return static_cast<edit_value_demon *>(self);
}

bool is_number_character(unsigned char c) {
    return (c >= '0' && c <= '9') || c == '.' || c == '-';
}

// ---- values

float within(const edit_value_demon *self, float value) {
    if (self->minimum == self->maximum)
        return value;
    return std::max(std::min(value, self->maximum), self->minimum);
}

written_value write_value(const edit_value_demon *self, float value) {
    written_value text{};
    if (self->writer != nullptr)
        self->writer(value, text);
    else
        std::snprintf(text.data(), text.size(), "%.5g", static_cast<double>(value));
    text.back() = '\0';
    return text;
}

// What the text means; the present value when the installed routine finds none.
float read_value(const edit_value_demon *self) {
    float value = self->reader != nullptr ? self->value : 0.0F;
    if (self->reader != nullptr)
        self->reader(text_of(self->line), &value);
    else
        read_float(text_of(self->line), &value);
    return std::isnan(value) ? self->value : value;
}

bool take_value(control *d, const widget_value &given) {
    edit_value_demon *self = own(d);
    const float value = std::isnan(given.number) ? self->value : within(self, given.number);
    const bool is_other = self->value != value;
    self->value = value;
    const written_value text = write_value(self, value);
    if (edit_string_demon_string(self) != text.data())
        edit_string_demon_offer_string(self, text.data());
    return is_other;
}

constexpr control_kind value_kind = edit_string_kind(take_value);

// ---- messages

void tell_limit(const edit_value_demon *self, float entered, float limit) {
    std::array<char, message_size> text{};
    const written_value value = write_value(self, entered);
    const written_value kept = write_value(self, limit);
    const char *label = self->label.data();
    const bool is_above = entered > limit;
    if (esd_prompt(self).empty())
        std::snprintf(text.data(), text.size(),
                      is_above ? "%s exceeds maximum %s.  Reset to %s."
                               : "%s is less than minimum %s.  Reset to %s.",
                      value.data(), kept.data(), kept.data());
    else
        std::snprintf(text.data(), text.size(),
                      is_above ? "%s exceeds maximum %s of \"%s\".  \"%s\" set to %s."
                               : "%s is less than minimum %s of \"%s\".  \"%s\" set to %s.",
                      value.data(), kept.data(), label, label, kept.data());
    show_field_message(text.data());
}

// A message takes the pointer and the keys elsewhere.
void let_go_for_message(edit_value_demon *self) {
    demon *parent = self->parent.get();
    if (parent == nullptr || parent->box_in_child != self)
        return;
    parent->box_in_child = nullptr;
    demon_keyboard_client_message(self, nullptr);
}

// ---- callbacks

const value_callback *callback_behind(const edit_value_demon *self, std::uint32_t serial) {
    const value_callback *c = self->callbacks;
    while (c != nullptr && c->serial <= serial)
        c = c->next;
    return c;
}

void tell_callbacks(edit_value_demon *self) {
    const demon_ref kept = refer_to_demon(self);
    const widget_value value(self->value);
    std::uint32_t told = 0;
    const std::uint32_t last = callbacks_made; // what is added meanwhile is not told
    while (const value_callback *c = callback_behind(self, told)) {
        told = c->serial;
        if (told > last)
            return;
        const word second = c->kind == value_callback_kind::value ? to_word(&value) : 0;
        send_message(referred(c->target), c->code, c->argument, second);
        if (kept.get() == nullptr)
            return;
    }
}

// ---- accepting

// Value, limits, text, message and callbacks. Returns whether the value is another one.
bool accept_value(edit_value_demon *self) {
    const float before = self->value;
    const float entered = read_value(self);
    const float accepted = within(self, entered);
    edit_value_demon_update(self, accepted);
    const demon_ref kept = refer_to_demon(self);
    if (accepted != entered) {
        let_go_for_message(self);
        if (kept.get() != nullptr)
            tell_limit(self, entered, accepted);
    }
    if (kept.get() != nullptr)
        tell_callbacks(self);
    return before != accepted;
}

bool accept_on_leaving(edit_string_demon *self) {
    return accept_value(own(self));
}

void accept_by_enter(edit_value_demon *self) {
    const demon_ref kept = refer_to_demon(self);
    const bool is_other = accept_value(self);
    if (kept.get() != nullptr)
        give_up_keyboard_unasked(self);
    if (kept.get() != nullptr && is_other)
        notify_control(self);
}

void release_value_field(object *gone) {
    auto *self = static_cast<edit_value_demon *>(gone);
    while (value_callback *c = self->callbacks) {
        self->callbacks = c->next;
        callback_pool.give_back(c);
    }
    Edit_String_Demon_Class->released(gone);
}

} // namespace

// ---- making

object_class *create_edit_value_demon_class() {
    object_class *made =
        derive_object_class(inq_edit_string_demon_class(), "Edit Value Demon Class");
    if (made == nullptr)
        return nullptr;
    made->released = release_value_field;
    return keep_class_in(&Edit_Value_Demon_Class, made);
}

object_class *inq_edit_value_demon_class() {
    return Edit_Value_Demon_Class != nullptr ? Edit_Value_Demon_Class
                                             : create_edit_value_demon_class();
}

edit_value_demon *create_edit_value_demon(object_set *set, int width, int height,
                                          std::string_view prompt, float value, float minimum,
                                          float maximum) {
    if (set == nullptr && Edit_Value_Demon_Set == nullptr)
        keep_set_in(&Edit_Value_Demon_Set, create_set_of<edit_value_demon>(
                                               control_block, 1, inq_edit_value_demon_class()));
    auto *made = create_demon_of<edit_value_demon>(set != nullptr ? set : Edit_Value_Demon_Set,
                                                   width, height, nullptr);
    if (made == nullptr)
        return nullptr;
    set_up_edit_string(made, value_kind, prompt, "");
    made->on.keystroke = edit_value_demon_keystroke;
    made->on_leave = on_leave_ask;
    made->takes = is_number_character;
    made->accepted = accept_on_leaving;
    edit_value_demon_set_bounds(made, minimum, maximum);
    edit_value_demon_update(made, within(made, std::isnan(value) ? 0.0F : value));
    return made;
}

bool is_edit_value_demon(const object *o) {
    return o != nullptr && is_class_derived(o->class_, Edit_Value_Demon_Class);
}

// ---- callbacks

void edit_value_add_callback(edit_value_demon *self, const value_callback &added) {
    value_callback *c = callback_pool.take();
    if (c == nullptr)
        return;
    *c = added;
    c->next = nullptr;
    c->serial = ++callbacks_made;
    value_callback **link = &self->callbacks;
    while (*link != nullptr)
        link = &(*link)->next;
    *link = c;
}

void edit_value_remove_callbacks(edit_value_demon *self, const object *target) {
    for (value_callback **link = &self->callbacks; *link != nullptr;) {
        value_callback *c = *link;
        if (c->target.target != target) {
            link = &c->next;
            continue;
        }
        *link = c->next;
        callback_pool.give_back(c);
    }
}

// ---- values

void edit_value_demon_update(edit_value_demon *self, float value) {
    self->value = value;
    edit_string_demon_set_string(self, write_value(self, value).data());
}

int edit_value_demon_bounds_check(const edit_value_demon *self, float value) {
    const bool is_within =
        self->minimum == self->maximum || (self->minimum <= value && value <= self->maximum);
    return is_within ? toolkit_true : toolkit_false;
}

void edit_value_demon_set_bounds(edit_value_demon *self, float minimum, float maximum) {
    self->minimum = std::isnan(minimum) ? 0 : minimum;
    self->maximum = std::isnan(maximum) ? self->minimum : maximum;
}

void edit_value_demon_keystroke(demon *d, object *sender, demon_message *m) {
    edit_value_demon *self = own(d);
    if (m == nullptr || (self->flags & flag_input) == 0)
        return;
    const int key = m->key;
    const bool is_editing =
        key == backspace_character || key == tab_character || is_editing_key(key);
    const bool is_command = (inq_special_key() & ctrl_bit) != 0;
    const bool is_number =
        key >= 0 && key <= UINT8_MAX && is_number_character(static_cast<unsigned char>(key));
    if (key == return_character && self->has_keyboard)
        accept_by_enter(self);
    else if (is_editing || is_number || (is_command && key != escape_character))
        edit_string_demon_keystroke(self, sender, m);
}

} // namespace toolkit
