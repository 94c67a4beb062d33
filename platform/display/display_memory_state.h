// What the driver of the memory display (display_memory.cpp) and its script
// (display_memory_script.cpp) share.
#pragma once

#include "platform/display/display_memory.h"
#include "platform/display/surfaces.h"
#include "platform/display/wait_set.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace display::memory {

struct simulated_window {
    window_id id = 0;
    window_facts facts;
    std::array<pixel_block, frames_per_window> frames;
    pixel_block shown;
};

// What waits now is due at all times, also when the clock is replaced meanwhile.
inline constexpr std::int64_t already_due = 0;

struct scripted_event {
    std::int64_t due = already_due;
    event what;
    std::string text; // the path of a drop, the text of a paste
};

struct offered {
    std::string text;
    bool is_own = false;
    bool hangs = false;
};

struct simulation {
    point screen = default_screen;
    std::vector<std::unique_ptr<simulated_window>> windows; // the topmost last
    std::vector<scripted_event> script;                     // by due, then in order of arrival
    point pointer;                                          // now
    point scripted_pointer;                                 // after all that is in the script
    std::string dropped;
    std::array<offered, text_offer_count> offers;
    std::string pasted;
    std::array<cursor_picture, cursor_shape_count> cursors; // as defined; else empty
    std::int64_t tick = no_time;
    window_id grabbing = 0;
    point offset; // of windows from where they were asked for
    bool caps_locked = false;
    bool refuses_open = false;
    bool refuses_grab = false;
    bool end_reported = false;
};

extern simulation state;
extern wait_set waiting;

// Null when it is not open.
[[nodiscard]] simulated_window *find(window_id id);
[[nodiscard]] bool is_visible(const simulated_window &w);

// The topmost visible window there, or 0.
[[nodiscard]] window_id window_at(point p);

// When the next event or tick is due, or no_time.
[[nodiscard]] std::int64_t next_due();

// Brings the descriptor up to date.
void refresh_fd();

void insert(std::int64_t due, const event &e, const char *text = "");
void insert_now(const event &e);
void insert_redraw(const simulated_window &w);
void insert_state(const simulated_window &w, event_kind kind);

// Takes the next event that is due, and does what it does to the display.
[[nodiscard]] bool take_due(event *out);

} // namespace display::memory
