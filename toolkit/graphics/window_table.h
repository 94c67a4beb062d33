// The table of all toolkit windows: which demon owns which window.
//
//   set_window_hooks({.set_demon_god = ..., .demon_box = ..., ...});    // system_init
//   int wid = gl_win_open("Player Tool", demon);    // at the demon's box; current from here on
//   ... draw, in screen coordinates ...
//   gl_win_close(wid);                              // asks first, if the demon wants that
//
// The toolkit names a window by its index in the table, its toolkit window id (wid), never by the
// number that the GL gave it. A record is used again after its window was closed, so a new window
// may get an old id.
//
// Demons are not known here: they are objects whose flags are read and which are sent msg_destroy.
// For all else there are hooks. A hook that is not installed answers no, and what it would have
// done is not done.
#pragma once

#include "toolkit/graphics/screen_box.h"
#include "toolkit/objects/objects.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace toolkit {

// --- records -------------------------------------------------------------------------------------

inline constexpr int no_window = -1;         // no toolkit window id, no GL window
inline constexpr int batch_mode_window = -2; // what opens in batch mode

// Bits of a window record's flag word.
inline constexpr std::int16_t window_frozen = 0x1;         // it is an icon
inline constexpr std::int16_t window_missed_refresh = 0x2; // draw it when it comes back

// Read freely; the colour-map mode may be set before gl_new_win.
struct window_record {
    std::int32_t gl_window = no_window;
    object *demon = nullptr;                       // its owner; null: the record is free
    object_ref owner = {};                         // the same, as long as it lives
    std::int16_t flags = 0;                        // window_...
    std::int16_t color_map_mode = 0;               // 0: RGB mode; non-zero: colour-map mode
    std::unique_ptr<std::uint32_t[]> first_buffer; // pixels that its user keeps with the window
    std::unique_ptr<std::uint32_t[]> second_buffer;
    std::int32_t last_word = 0; // the user's own
};

extern std::vector<std::unique_ptr<window_record>> wid_list; // by id; records are never removed
extern std::int32_t num_wids;                                // records in it
extern std::int32_t curr_wid; // the current window's id, or no_window

// The record of an id, or null; the id of a GL window, or no_window.
[[nodiscard]] window_record *gl_get_window_record(int wid);
[[nodiscard]] int gl_find_wid(int gl_window);

// --- what lies above -----------------------------------------------------------------------------

// Bits of an owner's object::flags that closing heeds.
inline constexpr std::uint16_t flag_ends_program = 0x200; // its closing ends the program: ask
inline constexpr std::uint16_t flag_stays_open = 0x400;   // it may not be closed

struct window_hooks {
    void (*set_demon_god)(object *demon) = nullptr; // the first window's demon is the root
    screen_box (*demon_box)(object *demon) = nullptr;
    void (*move_demon)(object *demon, int dx, int dy) = nullptr; // with all that is in it
    void (*draw_demon)(object *demon) = nullptr;                 // its window lost its picture
    void (*gl_input_init)() = nullptr;                           // with the first window
    int (*ask_yes_no)(const char *question) = nullptr;           // 255: yes
    bool (*is_Cypress)() = nullptr;
};
void set_window_hooks(const window_hooks &hooks);

// The hook ask_yes_no alone, for who comes later than the others.
void set_window_question(int (*ask_yes_no)(const char *question));

// Lets a window's owner draw it; for window_calls.cpp.
void draw_window_demon(const window_record &record);

// Asked in place of the question "Do you want to exit? " when a window whose closing ends the
// program is closed. Null takes it away.
using quit_function = int (*)(word argument);
inline constexpr int quit_refused =
    2; // what it answers to keep the window; anything else closes it
void set_quit_function(quit_function function, word argument);

// --- opening and closing -------------------------------------------------------------------------

// Opens a window at the demon's box: RGB mode, single-buffered, cleared in colour_background,
// screen coordinates, cursor cursor_crossed. It is the current one then.
//   title  null: without a frame
//   demon  not null
// Returns its id; batch_mode_window in batch mode, where none opens; no_window, after a message,
// when the display refuses it, and without one when the demon, moved onto the screen, was destroyed
// by somebody who heard of that.
// The first window's demon becomes the demon god, before anything else and in batch mode too.
int gl_win_open(const char *title, object *demon);

// Closes and opens again the GL window of the record that belongs to demon, at the demon's present
// box and in the record's colour mode. The id stays. The current window stays the current one,
// unless it was this one: then none is.
void gl_new_win(const char *title, object *demon);

// Closes a window, if its owner lets it: see the bits above. Its owner is then sent msg_destroy
// with two null arguments, and may do what it wants, delete itself and open windows included.
// Afterwards no window is current. Ids of no open window are ignored.
void gl_win_close(int wid);

// Brings a demon's box onto the screen by moving it, the upper left corner if all does not fit.
void gl_check_demon_extent(object *demon);

// The owner of a window; null when it was deleted, even if another object has taken its record. Ids
// outside 0 .. num_wids - 1 are ignored, and answered with null.
void gl_set_wid_demon(int wid, object *demon);
[[nodiscard]] object *gl_get_wid_demon(int wid);

// Forgets all records and hooks, closes no window: for when the display has been given back. The
// next window is a process's first one again.
void gl_free_window_table();

} // namespace toolkit
