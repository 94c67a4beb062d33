// The messages that the parent's side sends, and what it reads out of the player's.
//
//   ipc::socket_record message;
//   fill_frame_ready(message, key, bytes, 17);
//   if (ipc::sendsockdata(socket, message, limit) != 0) ...
#pragma once

#include "ipc/session_codes.h"
#include "ipc/socket_records.h"
#include "link/frame_pixels.h"
#include "link/reel_link.h"

namespace render_link {

// What the renderer's side calls itself.
inline constexpr std::uint16_t own_id = 101;
inline constexpr std::uint16_t own_instance = 17;

// Each fills the record anew.
void fill_plain(ipc::socket_record &message, std::uint16_t message_class, std::uint16_t code);
void fill_play_args(ipc::socket_record &message, const reel_link_session &session, int status_key);
void fill_frame_ready(ipc::socket_record &message, int key, std::size_t bytes, int frame);

// Whether a record is this answer of the player, with so many longs at least.
[[nodiscard]] bool is_answer(const ipc::socket_record &message, std::uint16_t code,
                             std::int32_t longs);

inline constexpr int max_side = 32767;
inline constexpr std::size_t max_words = 0x1FFFFFFF; // of a frame

[[nodiscard]] bool is_possible(const frame_size &size);

} // namespace render_link
