// The calls that send one message to one demon.
#include "toolkit/demons/demons.h"

namespace toolkit {

namespace {

// Sends a message that says no more than its code and value. Returns the value afterwards.
std::uint32_t send_code(demon *to, std::uint32_t code, bool value = false) {
    demon_message m;
    m.code = code;
    m.value = value ? demon_on : 0;
    send_demon_message(to, to, m);
    return m.value;
}

} // namespace

void demon_destroy_message(demon *to) {
    send_code(to, msg_destroy);
}

void demon_draw_message(demon *to) {
    send_code(to, msg_draw);
}

void demon_hilite_message(demon *to) {
    send_code(to, msg_hilite);
}

void demon_dehilite_message(demon *to) {
    send_code(to, msg_dehilite);
}

void demon_move_message(demon *to, int dx, int dy) {
    const box_move delta = {clamp_16(dx), clamp_16(dy)};
    display_move_message(to, delta);
}

void demon_visibility_message(demon *to, bool visible) {
    send_code(to, msg_set_visibility, visible);
}

void demon_enable_input_message(demon *to, bool enabled) {
    send_code(to, msg_set_enable_input, enabled);
}

bool demon_is_visible(demon *d) {
    return send_code(d, msg_get_visibility) != 0;
}

bool demon_is_enabled(demon *d) {
    return send_code(d, msg_get_enable_input) != 0;
}

void demon_pop_message(demon *to) {
    send_code(to, msg_pop);
}

void demon_push_message(demon *to) {
    send_code(to, msg_push);
}

void demon_box_in_message(demon *to, screen_point at) {
    demon_message m;
    m.code = msg_box_in;
    m.point = at;
    send_demon_message(to, to, m);
}

void demon_box_out_message(demon *to) {
    demon_message m;
    m.code = msg_box_out;
    m.propagate = demon_on;
    if (to != nullptr)
        m.point = to->cursor;
    send_demon_message(to, to, m);
}

demon *demon_pick_message(demon *first, object *sender, screen_point at) {
    demon_message m;
    m.code = msg_pick;
    m.point = at;
    send_demon_message(first, sender, m);
    return m.picked;
}

void demon_keyboard_client_message(demon *from, demon *client) {
    send_message(from, msg_set_keyboard_client, to_word(from), to_word(client));
}

demon *demon_get_keyboard_client_message(demon *from) {
    return from_word<demon *>(send_message(from, msg_get_keyboard_client, to_word(from)));
}

} // namespace toolkit
