// Keystroke aliases: keys that call a function wherever the pointer is, as menu shortcuts do.
//
//   aliasKeystroke('s', alias_ctrl, save_movie, to_word(movie));      // Ctrl+S
//   aliasKeystroke('V', alias_all, show_version, 0);
//   ...
//   remove_keystroke_alias('s', alias_ctrl);
//
// The event loop asks for aliases before it delivers a key: a key that has one reaches no demon.
#pragma once

#include "toolkit/demons/demons.h"
#include "toolkit/events/key_table.h"

#include <cstdint>

namespace toolkit {

// The modifier set of an alias: the modifier word (key_table.h), shifted left by one.
inline constexpr std::uint32_t alias_alt = alt_bit << 1;
inline constexpr std::uint32_t alias_ctrl = ctrl_bit << 1;
inline constexpr std::uint32_t alias_shift = shift_bit << 1;
inline constexpr std::uint32_t alias_all = alias_alt | alias_ctrl | alias_shift;

using alias_function = void (*)(word argument);

// Binds a key, in place of what it was bound to: an editing key by its value (home_pressed ...), all
// others by the character that they type, the low 8 bits.
//   modifiers  what is held with it, no more and no less. Letters are the same in either case; a
//              character that only Shift types ('+') needs no Shift in the set
// Nothing for key 0 or a null function.
void aliasKeystroke(int key, std::uint32_t modifiers, alias_function function, word argument);

// Takes a binding away; in the second form only if it still calls that function with that argument.
void remove_keystroke_alias(int key, std::uint32_t modifiers);
void remove_keystroke_alias(int key, std::uint32_t modifiers, alias_function function,
                            word argument);
void clear_keystroke_aliases();

// Between the two, aliases do not fire: for dialogs and open menus. Pairs nest.
void turn_off_keystroke_aliases();
void turn_on_keystroke_aliases();

// Which keys a demon that has the keyboard of its window wants for itself, before any alias: the
// value of the keyboard event. Null: none.
using key_claim = bool (*)(const demon *client, int key);
void set_key_claim(key_claim claim);

// Whether a key would call something, with the modifiers held now, if nobody has the keyboard.
[[nodiscard]] bool has_keystroke_alias(int key);

// Calls what the key (the value of a keyboard event) is bound to, with the modifiers held now. An
// alias without Alt and Ctrl leaves its key to whoever has the keyboard of the window that keys go
// to, others those that are claimed there. Returns whether it has called something.
bool fire_keystroke_alias(int key);

} // namespace toolkit
