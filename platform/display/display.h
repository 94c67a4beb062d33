// One small interface to a display. Nothing above platform/gl sees it, and nothing but its
// implementations knows a window system: x11 (display_x11.cpp) and memory (display_memory.cpp,
// where windows are arrays and input is scripted). Which one is used is chosen once, at the first
// call of server(), by PLAYER_DISPLAY: "x11" (the default) or "memory".
//
//   const display::driver &d = display::server(); // connects, or ends the process
//   auto w = d.open("Title", {100, 100, 640, 480}, display::window_kind::normal, 0);
//   display::surface s = d.frame(w, 0);           // draw here ...
//   d.present(w, 0, {0, 0, s.width, s.height});   // ... and show it
//   for (;;) {
//       d.wait(-1);
//       display::event e;
//       while (d.next(&e)) ...
//   }
//   display::shut_down();
//
// Coordinates: display pixels, origin at the screen's TOP left, y down. (The layer above turns
// them.) On dense screens one pixel here is k x k of the device's, everywhere in this interface;
// k is the scale of the screen, or PLAYER_SCALE (1 .. 8).
//
// Everything happens in one thread.
//
// The x11 implementation also heeds PLAYER_X11_SHM: "off" sends pictures through the connection,
// "sysv" through System V segments, where otherwise anonymous memory is passed to the server. It
// gives SIGPIPE a handler that does nothing, if it has none: a server that dies is an event, not
// the end of the process.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace display {

struct rectangle {
    int x = 0; // left
    int y = 0; // top
    int width = 0;
    int height = 0;
    bool operator==(const rectangle &) const = default;
};

struct point {
    int x = 0;
    int y = 0;
    bool operator==(const point &) const = default;
};

// Names a window from open to close; 0 is none. Numbers are not used again.
using window_id = int;

enum class window_kind {
    normal, // with the window manager's frame
    dialog, // the same, kept above its owner
    popup,  // no frame, placed exactly, not managed: menus
};

enum class window_state {
    shown,   // on the screen; from hidden or iconic
    hidden,  // not on the screen
    iconic,  // as the window manager's icon (or hidden, where there is none)
    raised,  // shown, above the others
    lowered, // below the others
};

enum class cursor_shape { arrow, cross, wait, hand, text, none };
inline constexpr std::size_t cursor_shape_count = 6;

// What a pointer's shape looks like: bits of rows, the top row first, the leftmost pixel highest.
inline constexpr int cursor_side = 16;
struct cursor_picture {
    std::array<std::uint16_t, cursor_side> dark{};
    std::array<std::uint16_t, cursor_side> light{}; // where it is not dark; else nothing is shown
    point origin;                                   // the pixel that points, from the top left
    bool operator==(const cursor_picture &) const = default;
};

// Pixels of a window: native words 0x00RRGGBB, top row first, stride words from row to row.
struct surface {
    std::uint32_t *pixels = nullptr;
    int width = 0;
    int height = 0;
    int stride = 0;
};

enum class event_kind {
    none,
    key,       // code, pressed, character
    button,    // code 1 left, 2 middle, 3 right; 4 .. 7 wheel up, down, left, right
    motion,    // the pointer moved
    enter,     // the pointer came into window
    leave,     // the pointer left window
    focus_in,  // window has the keyboard
    focus_out, // window has lost it
    close,     // the user wants window closed
    iconify,   // window became an icon
    deiconify, // window came back
    redraw,    // area of window lost its picture: present it again (also follows a new size)
    geometry,  // window has another place or size: area, the drawing area in screen coordinates
    tick,      // the time asked for with set_tick has come
    drop,      // a file was dropped on window: dropped_path says which
    paste,     // a text that was asked for has come: pasted_text
    lost,      // the display is gone; nothing else will come
};

struct event {
    event_kind kind = event_kind::none;
    window_id window = 0;
    int code = 0;                // key: a key_... code or the Latin-1 code of its unshifted
                                 // symbol; 0 for one that only types a character
    bool pressed = false;        // key, button
    std::uint32_t character = 0; // key presses: the Unicode character it types, or 0; with
                                 // Control, letters give the control characters 1 .. 26
    point pointer;               // key, button, motion, enter, leave: on the screen
    rectangle area;              // redraw: in window coordinates; geometry: on the screen
    std::int64_t time_us = 0;    // when it was received, program clock
};

// Codes of keys that have no Latin-1 symbol (they are the X key symbols' numbers). Letters are
// 'a' .. 'z'. A key whose symbol no US keyboard has is named by its place on one.
inline constexpr int key_backspace = 0xff08;
inline constexpr int key_tab = 0xff09;
inline constexpr int key_linefeed = 0xff0a;
inline constexpr int key_return = 0xff0d;
inline constexpr int key_pause = 0xff13;
inline constexpr int key_scroll_lock = 0xff14;
inline constexpr int key_escape = 0xff1b;
inline constexpr int key_home = 0xff50;
inline constexpr int key_left = 0xff51;
inline constexpr int key_up = 0xff52;
inline constexpr int key_right = 0xff53;
inline constexpr int key_down = 0xff54;
inline constexpr int key_page_up = 0xff55;
inline constexpr int key_page_down = 0xff56;
inline constexpr int key_end = 0xff57;
inline constexpr int key_print = 0xff61;
inline constexpr int key_insert = 0xff63;
inline constexpr int key_num_lock = 0xff7f;
inline constexpr int key_pad_enter = 0xff8d;
inline constexpr int key_pad_multiply = 0xffaa;
inline constexpr int key_pad_add = 0xffab;
inline constexpr int key_pad_subtract = 0xffad;
inline constexpr int key_pad_decimal = 0xffae;
inline constexpr int key_pad_divide = 0xffaf;
inline constexpr int key_pad_0 = 0xffb0; // .. key_pad_0 + 9
inline constexpr int key_f1 = 0xffbe;    // .. key_f1 + 11
inline constexpr int key_shift_left = 0xffe1;
inline constexpr int key_shift_right = 0xffe2;
inline constexpr int key_control_left = 0xffe3;
inline constexpr int key_control_right = 0xffe4;
inline constexpr int key_caps_lock = 0xffe5;
inline constexpr int key_alt_left = 0xffe9;
inline constexpr int key_alt_right = 0xffea; // also where the keyboard calls it AltGr
inline constexpr int key_delete = 0xffff;

inline constexpr int button_left = 1;
inline constexpr int button_middle = 2;
inline constexpr int button_right = 3;
inline constexpr int wheel_up = 4;
inline constexpr int wheel_down = 5;
inline constexpr int wheel_left = 6;
inline constexpr int wheel_right = 7;

inline constexpr int frames_per_window = 2;

// Texts that programs give each other: what was cut or copied, and what is selected somewhere.
enum class text_offer { clipboard, selection };
inline constexpr std::size_t text_offer_count = 2;

// What is asked of another program has this long to come, or, in parts, to go on coming; and what
// it has beyond so many bytes is left out.
inline constexpr std::int64_t paste_patience_us = 1'000'000;
inline constexpr std::size_t longest_paste = std::size_t{1} << 20;

// What an implementation provides. Calls with a window that is not open do nothing and give 0,
// false or an empty record. No call but wait blocks longer than a round trip to the display.
struct driver {
    const char *name; // "x11" or "memory"

    // Connects. Returns false after one line on standard error that says what is wrong.
    bool (*connect)();

    // Gives everything back; open windows are closed. May be followed by connect.
    void (*disconnect)();

    // Size of the screen.
    point (*screen)();

    // Device pixels along one pixel of ours.
    int (*scale)();

    // Opens a window whose drawing area is at rect, black, and asks for it to be shown; the first
    // redraw event says that it is. owner (0: none) is the window a dialog or popup belongs to.
    // Returns 0 after one line on standard error when there is no memory for it, or no display
    // any more.
    window_id (*open)(const char *title, rectangle rect, window_kind kind, window_id owner);

    void (*close)(window_id window);

    // Asks for another place or size of the drawing area. The answer is a geometry event, at the
    // earliest from the next call of `next`; a window manager may give something else, or nothing.
    void (*configure)(window_id window, rectangle rect);

    // The drawing area now, on the screen, as the display itself says.
    rectangle (*geometry)(window_id window);

    void (*set_state)(window_id window, window_state state);
    void (*set_title)(window_id window, const char *title); // UTF-8
    void (*set_cursor)(window_id window, cursor_shape shape);

    // Gives a shape a look of the program's own, wherever set_cursor is called with it from now on.
    void (*define_cursor)(cursor_shape shape, const cursor_picture &picture);

    // Which of our windows is the topmost one at a place of the screen; 0 when it is none of ours.
    window_id (*window_at)(point p);

    // The window's pixels. index 0 or 1: two frames, of which the second is made when first asked
    // for. They keep address and size until `next` has returned a geometry event with another
    // size for this window; then both are new, hold what fits of the old picture (kept at its
    // BOTTOM left corner), black elsewhere. Without memory the surface is empty.
    surface (*frame)(window_id window, int index);

    // Shows a part (window coordinates, clipped) of frame `index`. It is read at the latest when
    // the following present returns; at most one is under way, so a slow display holds the caller
    // back instead of piling up pictures.
    void (*present)(window_id window, int index, rectangle area);

    // Where the pointer is now, on the screen, whether it moves or not.
    point (*pointer)();

    // Whether caps lock is on now.
    bool (*caps_locked)();

    // Moves the pointer.
    void (*warp)(point to);

    // While on, presses everywhere on the screen come to window. Returns false when another
    // program holds the pointer. Off releases whatever is grabbed.
    bool (*grab)(window_id window, bool on);

    // Asks for one tick event once the program clock reaches due_us, in place of any asked for
    // before; a negative time asks for none.
    void (*set_tick)(std::int64_t due_us);

    // A descriptor that poll and select see as readable while `next` has something, and at times
    // when it turns out to have nothing after all; `next` returning false clears it.
    int (*fd)();

    // Takes the next event. Returns false when there is none. Never blocks.
    bool (*next)(event *out);

    // Blocks until `next` may have something or timeout_us has passed (negative: no limit).
    void (*wait)(std::int64_t timeout_us);

    // The file that the newest drop event was about; empty when none. Absolute, UTF-8 as given.
    const std::string &(*dropped_path)();

    // Offers a UTF-8 text to all programs, until one of them offers another. Not more than
    // longest_paste bytes; nothing when there is no memory for it.
    void (*offer_text)(text_offer which, std::string_view text);

    // Asks for what is offered. True when that is our own text: pasted_text has it. Else false, and
    // a paste event comes when the text has come; none when there is none, or its owner says
    // nothing. Only the newest request counts.
    bool (*request_text)(text_offer which);

    // The text of the newest paste event or own text that was asked for: bytes of any kind, meant
    // to be UTF-8.
    const std::string &(*pasted_text)();

    // Name and class of the windows opened from now on, for the desktop, and their icon: width x
    // height words 0xAARRGGBB, top row first; empty for none.
    void (*set_identity)(const char *instance, const char *class_name,
                         std::span<const std::uint32_t> icon, int icon_width);
};

// The implementation in use, connected. The first call chooses and connects; when that fails the
// process ends with exit status 1 (the message has been printed).
[[nodiscard]] const driver &server();

// True once server() has connected.
[[nodiscard]] bool is_connected();

// Disconnects; the next call of server() chooses and connects anew.
void shut_down();

[[nodiscard]] const driver &x11_driver();
[[nodiscard]] const driver &memory_driver();

// The common part of two rectangles; width and height 0 when they have none.
[[nodiscard]] rectangle intersect(rectangle a, rectangle b);

// The smallest rectangle around both; an empty one adds nothing.
[[nodiscard]] rectangle enclose(rectangle a, rectangle b);

} // namespace display
