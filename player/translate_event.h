// From the toolkit's input events to demon messages, and on to whoever takes them.
//
//   toolkit::demon_message message;                 // kept from event to event
//   if (translate_event(event_class, value, position, &message))
//       route_event(event_class, message);
#pragma once

#include "toolkit/demons/demon_message.h"
#include "toolkit/events/input_types.h"

namespace player {

// Fills message from an input event (its class, value and place). Returns false when there is
// nothing to deliver: a motion to the place where message.point is already, or a class that has no
// message. An idle tick and an unknown button are msg_none.
[[nodiscard]] bool translate_event(std::int16_t type, std::int16_t value,
                                   toolkit::screen_point position, toolkit::demon_message *message);

// A key goes to the shortcut that it is bound to, if there is one; all else to who holds an event
// filter for its class, or to the demon god.
void route_event(std::int16_t type, const toolkit::demon_message &message);

} // namespace player
