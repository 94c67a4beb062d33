// Event filters: chosen classes of input go to one demon instead of to the demon god.
//
//   push_event_filter(dialog, input_keyboard | input_button);    // motion still reaches the tree
//   main_event_loop();
//   pop_event_filter();
//
// The filters are a stack that belongs to the demon god: only the newest one counts, and classes
// that are not in its mask go to the god. Without a god there are none, and another god begins
// with none.
//
// A filter whose demon is destroyed routes nothing any more, and the one below it counts; its place
// in the stack stays for the pop that was made for it. So is a filter pushed for null.
//
// Motion. A demon that takes the motion gets it without its ancestors: nobody would tell them where
// the pointer is. So when a filter for motion comes to count (pushed, set, or uncovered in whatever
// way), the way down to its demon is linked anew: from the demon up, each ancestor's box-in child
// becomes the one on the way (relink_demon). What goes down from the god then reaches it too.
#pragma once

#include "toolkit/demons/demons.h"

#include <cstddef>
#include <cstdint>

namespace toolkit {

// Masks: any of input_motion, input_keyboard, input_button, input_none.
inline constexpr std::int32_t total_filter_mask = input_motion | input_keyboard | input_button;

// In place of the newest filter; the first one if there is none.
void set_event_filter(demon *receiver, std::int32_t mask);

void push_event_filter(demon *receiver, std::int32_t mask);
void pop_event_filter(); // nothing when there is none
void clear_event_filter();

// How many filters there are; and back to that many, for those who can't know how often filters
// were pushed meanwhile:
//   const std::size_t before = inq_event_filters();
//   push_event_filter(dialog, mask);
//   main_event_loop();                             // the dialog may push a total filter
//   pop_event_filters_to(before);
[[nodiscard]] std::size_t inq_event_filters();
void pop_event_filters_to(std::size_t count);

// A method, above all for box in: from here on the demon gets all motion, keys and buttons. The
// event itself goes on to the demon's box-in child; without one, the demon shows its cursor.
void set_total_filter(demon *self, object *sender, demon_message *event);

// Who gets events of a class (one bit): the filter's demon, else the god; null when there is none.
[[nodiscard]] demon *inq_event_receiver(std::int16_t input_class);

// The same, for draw routines: a filter that counts again may have demons told that the pointer is
// in them, but not by this.
[[nodiscard]] demon *peek_event_receiver(std::int16_t input_class);

} // namespace toolkit
