#include "player/translate_event.h"

#include <array>

namespace player {

namespace {

struct button_message {
    char value;
    std::uint32_t code;
};

constexpr std::array button_messages{
    button_message{'A', toolkit::msg_left_up},      button_message{'a', toolkit::msg_left_down},
    button_message{'B', toolkit::msg_middle_up},    button_message{'b', toolkit::msg_middle_down},
    button_message{'C', toolkit::msg_right_up},     button_message{'c', toolkit::msg_right_down},
    button_message{'D', toolkit::msg_left_double},  button_message{'E', toolkit::msg_middle_double},
    button_message{'F', toolkit::msg_right_double},
};

std::uint32_t button_code(std::int16_t value) {
    for (const button_message &button : button_messages)
        if (button.value == value)
            return button.code;
    return toolkit::msg_none;
}

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
        message->code = button_code(value);
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
