#include "player/translate_event.h"

#include "toolkit/demons/dispatch.h"

namespace player {

namespace {

event_receiver receiver_in_use = nullptr;

} // namespace

bool translate_event(std::int16_t type, std::int16_t value, toolkit::screen_point position,
                     toolkit::demon_message *message) {
    switch (type) {
    case toolkit::input_motion:
        if (position == message->point)
            return false;
        message->code = toolkit::msg_pointer_moved;
        message->point = position;
        return true;
    case toolkit::input_keyboard:
        message->code = toolkit::msg_key;
        message->key = value;
        return true;
    case toolkit::input_button:
        message->code = toolkit::inq_button_message(value);
        message->point = position;
        return true;
    case toolkit::input_none:
        message->code = toolkit::msg_none;
        return true;
    default:
        return false;
    }
}

void set_event_receiver(event_receiver receiver) {
    receiver_in_use = receiver;
}

void route_event(std::int16_t type, const toolkit::demon_message &message) {
    if (receiver_in_use != nullptr)
        receiver_in_use(type, message);
}

} // namespace player
