// Edit value demons: text fields for numbers with limits.
//
//   edit_value_demon *rate = create_edit_value_demon(nullptr, 120, 24, "Rate", 24, 1, 1000);
//   edit_value_add_callback(rate, {msg_set_value, 0, refer_to(slider), value_callback_kind::value});
//   set_demon(rate, panel, 10, 10);
//   add_demon(rate, panel);
//
// Digits, ".", "-", the editing keys and Tab do what they do in text fields (edit_string.h); other
// keys do nothing, and what is pasted loses its other characters. Enter accepts: the number is
// brought into the limits, with a message if it was outside; then the callbacks are told, in the
// order in which they were added, and the control's function if the value is another one. A text
// that is accepted on leaving is accepted in the same way.
#pragma once

#include "toolkit/widgets/edit_string.h"
#include "toolkit/widgets/fields.h"

#include <cstdint>
#include <string_view>

namespace toolkit {

// --- records -------------------------------------------------------------------------------------

// value: the message has a const widget_value * as its second argument; plain: 0.
enum class value_callback_kind : std::uint16_t { value = 0, plain = 1 };

// Sends message `code` with `argument` first to the target, while that lives.
struct value_callback {
    std::uint32_t code = 0;
    word argument = 0;
    object_ref target = {};
    value_callback_kind kind = value_callback_kind::value;
    value_callback *next = nullptr; // set by the list
    std::uint32_t serial = 0;       // and this, in the order of adding
};

struct edit_value_demon : edit_string_demon { // its value is the control's
    float minimum;                            // *
    float maximum;                            // * the same as the minimum: no limits
    value_reader reader;                      // * null: the number that the text begins with, or 0
    value_writer writer;                      // * null: "%.5g"
    value_callback *callbacks;
};

extern object_class *Edit_Value_Demon_Class;
extern object_set *Edit_Value_Demon_Set;

// --- making --------------------------------------------------------------------------------------

// Makes the class "Edit Value Demon Class", derived from edit string demons, and keeps it in
// Edit_Value_Demon_Class.
object_class *create_edit_value_demon_class();
object_class *inq_edit_value_demon_class(); // Edit_Value_Demon_Class, made when it is not there

// A new field that asks on leaving. The value is brought into the limits. Sets as for
// create_edit_string_demon.
[[nodiscard]] edit_value_demon *create_edit_value_demon(object_set *set, int width, int height,
                                                        std::string_view prompt, float value,
                                                        float minimum, float maximum);

// Whether o is an edit value demon, or of a class that derives.
[[nodiscard]] bool is_edit_value_demon(const object *o);

// --- callbacks -----------------------------------------------------------------------------------
// They may do anything, also change the list and destroy the field.

// Appends a copy. Nothing when there is no memory.
void edit_value_add_callback(edit_value_demon *self, const value_callback &added);
void edit_value_remove_callbacks(edit_value_demon *self, const object *target);

// --- values --------------------------------------------------------------------------------------

// Sets the value as it is and rewrites the text. Nobody is told.
void edit_value_demon_update(edit_value_demon *self, float value);

// Whether a value is within the limits, or there are none: 255 or 0.
[[nodiscard]] int edit_value_demon_bounds_check(const edit_value_demon *self, float value);

// Limits for what is entered from now on; the value stays.
void edit_value_demon_set_bounds(edit_value_demon *self, float minimum, float maximum);

// The handler of keys.
void edit_value_demon_keystroke(demon *self, object *sender, demon_message *m);

} // namespace toolkit
