// What parent and player say to each other once they are linked: the words of the messages
// (socket_records.h) and the bytes of the status block (shared_blocks.h).
//
//   parent                            player
//   play_args                   ->
//                               <-    pid (its window is there)
//   frame_ready                 ->    takes the frame out of its block: busy, taken
//   request_size                ->
//                               <-    size
//   end                         ->    ends
#pragma once

#include <cstddef>
#include <cstdint>

namespace ipc {

inline constexpr std::uint16_t player_id = 102; // the player's identity: sender, addressee
inline constexpr std::uint16_t player_instance = 17;

// Classes of messages.
inline constexpr std::uint16_t class_request = 0; // parent asks
inline constexpr std::uint16_t class_answer = 1;  // player answers
inline constexpr std::uint16_t class_command = 4; // parent commands
inline constexpr std::uint16_t class_data = 5;    // parent brings

// Codes, with class and fields.
inline constexpr std::uint16_t code_play_args = 0x401;    // data: play_args_... below
inline constexpr std::uint16_t code_request_pid = 0x402;  // request
inline constexpr std::uint16_t code_request_size = 0x403; // request
inline constexpr std::uint16_t code_pid = 0x404;          // answer: longs: process number
inline constexpr std::uint16_t code_size = 0x405;         // answer: longs: width, height shown
inline constexpr std::uint16_t code_end = 0x406;          // command
inline constexpr std::uint16_t code_end_session = 0x190;  // command: the same
inline constexpr std::uint16_t code_block = 0x407;        // command
inline constexpr std::uint16_t code_unblock = 0x408;      // command
inline constexpr std::uint16_t code_frame_ready = 0x409;  // data: longs: key, bytes, frame number

// The longs of play_args, in their order, and its floats.
enum play_args_long : std::size_t {
    long_session_word, // not interpreted
    long_current,
    long_first,
    long_count,
    long_width,
    long_height,
    long_render, // 0: preview
    long_compression,
    long_status_key,
    long_status_size,
    play_args_longs
};
inline constexpr std::size_t play_args_floats = 1; // rate

// The longs of frame_ready.
enum frame_ready_long : std::size_t {
    long_frame_key,
    long_frame_bytes,
    long_frame_number,
    frame_ready_longs
};

// Bytes of the status block.
inline constexpr std::size_t status_busy = 0;  // 1 while the player copies a frame
inline constexpr std::size_t status_state = 1; // one of the states below
inline constexpr std::size_t status_taken = 2; // the player sets it when it takes a frame
inline constexpr std::size_t status_bytes = 3;

// Written by the player as its user decides.
inline constexpr std::uint8_t state_none = 0;
inline constexpr std::uint8_t state_cancelled = 1; // or the render's window was closed with OK
inline constexpr std::uint8_t state_paused = 2;
inline constexpr std::uint8_t state_resumed = 3;
inline constexpr std::uint8_t state_preview_over = 4;

} // namespace ipc
