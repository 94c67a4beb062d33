// What the player plays and where it stands: the playback record, the open movie beside it, and
// the player's own state. One instance of each serves the whole process.
//
//   player::play_args &args = player::playback;
//   if (player::allocate_frame_buffers(args) == 0) ...     // for args.width x args.height
#pragma once

#include "movie/vf.h"

#include <array>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>

namespace player {

// What play_args.mode may be; anything else is corrupt.
inline constexpr std::int32_t mode_normal = 0; // stops at the end
inline constexpr std::int32_t mode_loop = 1;   // goes on at the other end
inline constexpr std::int32_t mode_swing = 2;  // turns round

// What play_args.direction may be.
inline constexpr std::int32_t direction_forward = 1;
inline constexpr std::int32_t direction_reverse = -1;
inline constexpr std::int32_t direction_fast_forward = 2;
inline constexpr std::int32_t direction_fast_reverse = -2;

inline constexpr float every_frame_rate = 0.0F;         // play_args.rate: one frame each tick
inline constexpr std::int32_t no_frame_yet = INT32_MIN; // play_args.current

// The picture area before the first movie.
inline constexpr std::int32_t empty_width = 250;
inline constexpr std::int32_t empty_height = empty_width * 3 / 4;

inline constexpr std::size_t max_movie_name = 255; // bytes, without the closing zero

struct memory_freer {
    void operator()(std::uint32_t *words) const { std::free(words); }
};

// Memory for one frame, or nothing.
struct frame_buffer {
    std::unique_ptr<std::uint32_t[], memory_freer> words;
    std::size_t count = 0; // words

    [[nodiscard]] std::span<std::uint32_t> span() const { return {words.get(), count}; }
    [[nodiscard]] std::span<std::uint8_t> bytes() const {
        return {reinterpret_cast<std::uint8_t *>(words.get()), count * sizeof(std::uint32_t)};
    }
    explicit operator bool() const { return words != nullptr; }
};

// What is played, without its buffers.
struct play_settings {
    std::array<char, max_movie_name + 1> name{}; // shown to the user; base name of the file
    std::int32_t direction = direction_forward;
    float rate = 30.0F;    // frames per second, or every_frame_rate
    std::int32_t zoom = 1; // 1 or more
    std::int32_t double_buffer = 0;
    std::int32_t compression = 0; // threshold for IR1_compress, as the parent gave it
    std::int32_t mode = mode_normal;
    std::int32_t current = 0; // absolute number of the frame shown, or no_frame_yet
    std::int32_t first = 0;   // absolute number of the first frame
    std::int32_t count = 0;   // frames
    std::int32_t render = 0;  // non-zero: final render session; 0: preview, and alone
    std::int32_t image_x = 0; // lower left corner of the picture in its window, pixels
    std::int32_t image_y = 0;
    std::int32_t width = 0; // of the picture, pixels; after fitting to the screen
    std::int32_t height = 0;
    std::int32_t orig_width = 0; // as rendered
    std::int32_t orig_height = 0;
    std::int32_t display_info = 0; // answer of getgdesc(GD_DISPLAY_INFO) at start
};

struct play_args : play_settings {
    frame_buffer pixels; // width * height words in lrectwrite's order
    frame_buffer packed; // one compressed frame; as large as pixels
};

// The open movie and what decoding from it needs.
struct movie_ref {
    movie::ir1_table tables; // null until the first decode
    movie::vf_owner film;    // null when none is open
    int decoded = -1;        // index of the frame whose data play_args.pixels shows; -1: none
    int drawn = -1;          // of the one that went to the screen past the pixels; -1: the same
    frame_buffer strip;      // that it went through; made at the first one
    bool is_preview = false; // film is the temporary movie of the session
};

struct player_state {
    int app_argc = 0; // the program's arguments
    char **app_argv = nullptr;
    bool standalone = true;       // false once a usable link port was given
    std::string play_file_name;   // movie waiting to be loaded; empty: none
    bool playing = false;         // while the play timer runs
    bool swing_returning = false; // Swing plays its second half
    std::int32_t swing_position = 0;
    std::int32_t previous_mode = INT32_MIN;
    std::int32_t last_cycle = INT32_MAX;
    std::int32_t frozen_direction = 0; // to resume in when the window comes back; 0: stay stopped
    std::int32_t empty_reads = 0;      // of the link, in a row
    std::uint64_t frames_received = 0; // from the renderer
    bool session_playback = false;     // a paused session is being looked at
    bool progress_redraw_only = false; // a new frame alone has changed
    bool quit_requested = false;
    bool leave_loop = false;
    std::int32_t screen_width = 0; // pixels, taken when the player's window is built
    std::int32_t screen_height = 0;
    std::int64_t session_start_us = 0; // by the program clock, paused time left out
};

extern const char *gMe; // the program's name, which begins most messages
extern play_args playback;
extern play_args saved_playback; // holds playback while a paused preview is looked at
extern movie_ref open_movie;
extern player_state state;

// A picture's side as movies keep it.
[[nodiscard]] constexpr std::int32_t whole_blocks(std::int32_t pixels) {
    return pixels - pixels % movie::ir1_block_size;
}

// Memory for so many words, all 0, or an empty record.
[[nodiscard]] frame_buffer make_frame_buffer(std::size_t words);

// Replaces both buffers by new ones, all black, for args.width x args.height. What nobody has
// written yet takes address space only: a movie may claim a huge picture. Returns 0; or -1 with no
// buffers and, when there is no memory, a message. Sizes below 1 leave no buffers: -1.
[[nodiscard]] int allocate_frame_buffers(play_args &args);

void free_frame_buffers(play_args &args);

// Takes over the part of path after its last "/", cut to max_movie_name bytes.
void set_movie_name(play_args &args, const std::string &path);

// True when there is something to play: an open movie, buffers, one frame at least.
[[nodiscard]] bool is_playable(const play_args &args, const movie_ref &ref);

} // namespace player
