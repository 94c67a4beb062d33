// Callbacks: objects that wrap a plain function and its default argument. Others keep references to
// them; when the last one lets go, the callback deletes itself.
//
//   callback *quit = create_callback(nullptr, ask_and_quit, to_word(window));
//   reference_callback(quit, button);                    // button uses it
//   callback_invoke_message(quit);                       // ask_and_quit(window, quit)
//   dereference_object_callbacks(button);                // the last user: quit is deleted
//
// The function may delete its callback, all callbacks or their set.
#pragma once

#include "toolkit/objects/objects.h"

#include <cstdint>

namespace toolkit {

struct callback;
using callback_function = word (*)(word argument, callback *self);

struct callback : object {
    callback_function function; // null: callback_invoke does nothing
    word argument;              // given to the function when the caller gives 0
    word *referrers;            // a dynamic array of objects, made at the first reference
    std::int32_t referrer_count;
};

// The graphics state is saved around the call.
inline constexpr std::uint16_t flag_save_graphics = 0x10;

// Messages of callbacks, besides those of every object (msg_destroy is callback_destroy).
inline constexpr unsigned msg_callback_set_arg = 8;
inline constexpr unsigned msg_callback_invoke = 19;

// Null until create_callback needs them, and again after they were deleted.
extern object_class *Callback_Class;
extern object_set *Callback_Set;

// Makes the class, named "callback class ", and keeps it in Callback_Class.
object_class *create_callback_class();

// A new callback without referrers. A null set means Callback_Set; class and set are made on first
// use. Null when there is no memory, or when the set is for smaller objects.
[[nodiscard]] callback *create_callback(object_set *set, callback_function function, word argument);

// Calls the function with the argument given, or the default one when that is 0; returns its
// result, or 0 without a function. With flag_save_graphics, the installed put function is called
// before; if the flag is still set afterwards, so is the get function, whose result is returned.
word callback_invoke(callback *self, word unused, word argument);

// Replaces the default argument.
void callback_set_arg(callback *self, word unused, word argument);

// Forgets the referrers and deletes the object (delete_object).
void callback_destroy(callback *self);

// Records that the referrer uses the callback; as often as it is told.
void reference_callback(callback *self, object *referrer);

// Forgets the object in every callback of Callback_Set and sends msg_destroy to those that are then
// without referrers but had some once.
void dereference_object_callbacks(const object *o);

// What brackets the calls with flag_save_graphics; null (the default): nothing, and 0.
void set_callback_graphics(void (*put_graphics)(word argument, callback *self),
                           word (*get_graphics)());

inline word callback_invoke_message(callback *self, word argument = 0) {
    return send_message(self, msg_callback_invoke, 0, argument);
}
inline word callback_set_arg_message(callback *self, word argument) {
    return send_message(self, msg_callback_set_arg, 0, argument);
}

} // namespace toolkit
