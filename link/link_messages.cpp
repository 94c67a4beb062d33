#include "link/link_messages.h"

namespace render_link {

void fill_plain(ipc::socket_record &message, std::uint16_t message_class, std::uint16_t code) {
    ipc::fill_header(message, own_id, own_instance, ipc::player_id, ipc::player_instance,
                     message_class, code);
}

void fill_play_args(ipc::socket_record &message, const reel_link_session &session, int status_key) {
    fill_plain(message, ipc::class_data, ipc::code_play_args);
    message.numof_longs = ipc::play_args_longs;
    message.longdata[ipc::long_session_word] = 0;
    message.longdata[ipc::long_current] = session.first;
    message.longdata[ipc::long_first] = session.first;
    message.longdata[ipc::long_count] = session.count;
    message.longdata[ipc::long_width] = session.width;
    message.longdata[ipc::long_height] = session.height;
    message.longdata[ipc::long_render] = session.kind == REEL_LINK_RENDER ? 1 : 0;
    message.longdata[ipc::long_compression] = session.compression;
    message.longdata[ipc::long_status_key] = status_key;
    message.longdata[ipc::long_status_size] = ipc::status_bytes;
    message.numof_floats = ipc::play_args_floats;
    message.floatdata[0] = static_cast<float>(session.rate);
}

void fill_frame_ready(ipc::socket_record &message, int key, std::size_t bytes, int frame) {
    fill_plain(message, ipc::class_data, ipc::code_frame_ready);
    message.numof_longs = ipc::frame_ready_longs;
    message.longdata[ipc::long_frame_key] = key;
    message.longdata[ipc::long_frame_bytes] = static_cast<std::int32_t>(bytes);
    message.longdata[ipc::long_frame_number] = frame;
}

bool is_answer(const ipc::socket_record &message, std::uint16_t code, std::int32_t longs) {
    return message.numof_cmds >= ipc::header_cmds &&
           message.datacmd[ipc::word_class] == ipc::class_answer &&
           message.datacmd[ipc::word_code] == code && message.numof_longs >= longs;
}

bool is_possible(const frame_size &size) {
    return size.width >= 1 && size.width <= max_side && size.height >= 1 &&
           size.height <= max_side && size.words() <= max_words;
}

} // namespace render_link
