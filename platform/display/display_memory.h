// The display that is not there: windows are arrays, input is what a test scripts, and a wait
// moves the program clock when that is a manual one. Everything a display shows can be asked back.
//
// driver::wait on a manual clock jumps to the next scripted event or tick, at most by the time-out;
// on the system's clock it sleeps. When nothing can come any more and no time-out was given, it
// queues `lost` (once, until something more is scripted), so that programs end instead of hanging.
// The descriptor becomes readable by itself only with the system's clock; a manual one that was
// moved shows in it at the next call here.
//
//   display::memory::reset({1280, 1024});
//   display::memory::push(e);                        // waiting now
//   display::memory::push_at(40'000, e);             // comes when the clock reads 40 ms
//   auto p = display::memory::picture(w);            // what a user would see in window w
#pragma once

#include "platform/display/display.h"

#include <vector>

namespace display::memory {

inline constexpr point default_screen{1280, 1024};

// Forgets all windows, events and settings. Also done by connect (with the default screen, or
// PLAYER_SCREEN=WIDTHxHEIGHT).
void reset(point screen);

// Queues an event, now or at a time of the program clock. What is queued for now comes first.
// When they are delivered, geometry events resize the window (a redraw follows), iconify and
// deiconify change its state, pointer events move the pointer, presses of the caps-lock key switch
// the lock. Closing a window takes its events out of the queue.
void push(const event &e);
void push_at(std::int64_t due_us, const event &e);
void push_drop(window_id window, const char *path);

// Short forms: press or release of a key, in the window that has the focus (the newest one opened);
// press or release of a button, or a move of the pointer, in the topmost window there, else in the
// one that has grabbed the pointer, else in the one with the focus. Earlier moves in the script
// count. Presses of printable keys type their own character.
void push_key(int code, bool pressed);
void push_button(int code, bool pressed);
void push_motion(point to);

// What the last presents left on the screen in this window: words 0x00RRGGBB, top row first.
struct shown_picture {
    std::vector<std::uint32_t> pixels;
    int width = 0;
    int height = 0;
};
[[nodiscard]] shown_picture picture(window_id window);

struct window_facts {
    bool open = false;
    std::string title;
    rectangle area;
    window_kind kind = window_kind::normal;
    window_state state = window_state::hidden;
    cursor_shape cursor = cursor_shape::arrow;
    window_id owner = 0;
    int presents = 0;              // calls of present
    std::int64_t pixels_shown = 0; // that they copied
};
[[nodiscard]] window_facts facts(window_id window);

// What the program has made of a shape; an empty picture when nothing.
[[nodiscard]] const cursor_picture &defined_cursor(cursor_shape shape);

// Open windows, the topmost last.
[[nodiscard]] std::vector<window_id> windows();

// Another program offers a text of its own now. It brings it once it is asked, or, when it hangs,
// never. What the program itself has offered is forgotten.
void offer_foreign_text(text_offer which, std::string_view text, bool hangs = false);

// What everybody would get.
[[nodiscard]] const std::string &offered_text(text_offer which);

// From now on: open fails; grab fails; configure is answered with this offset (as a window
// manager with ideas of its own would).
void refuse_open(bool refuse);
void refuse_grab(bool refuse);
void misplace_windows(point offset);

} // namespace display::memory
