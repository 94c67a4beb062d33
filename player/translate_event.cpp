#include "player/translate_event.h"

#include "toolkit/demons/dispatch.h"
#include "toolkit/demons/keystroke_aliases.h"

namespace player {

bool translate_event(std::int16_t type, std::int16_t value, toolkit::screen_point position,
                     toolkit::demon_message *message) {
    const bool is_to_deliver = toolkit::translate_input(type, value, position, message);
    return is_to_deliver || type == toolkit::input_none || type == toolkit::input_button;
}

void route_event(std::int16_t type, const toolkit::demon_message &message) {
    if (type != toolkit::input_keyboard || !toolkit::fire_keystroke_alias(message.key))
        toolkit::deliver_event(type, message);
}

} // namespace player
