// The toolkit's own input events, made from the event queue.
//
//   set_window_calls({gl_refresh, gl_win_freeze, gl_win_thaw, gl_close_iris_wid});
//   gl_input_init();
//   std::FILE *play = nullptr, *record = nullptr;      // event journals: event_journal.h
//   for (;;) {
//       std::int16_t kind, value;
//       screen_point position;
//       gl_event_get(&kind, &value, &position, 255, &play, record);
//       switch (kind) {
//       case input_motion: ...                         // the cursor is at position
//       case input_keyboard: ...                       // value: a character or modifier code
//       case input_button: ...                         // value: a letter, see key_table.h
//       case input_none: ...                           // a tick of enable_null_events
//       }
//   }
//
// While the cursor moves it is polled, and gl_event_get returns at once; when it has rested for
// half a second of processor time, its moves come through the queue and the program sleeps there.
//
// Window events, timers and arrow keys are handled in here and give class input_nothing; arrow keys
// and the other keys that edit texts are keyboard events while somebody takes them.
#pragma once

#include "platform/gl/devices.h"
#include "toolkit/events/cursor_control.h"
#include "toolkit/events/event_journal.h"
#include "toolkit/events/input_types.h"

#include <cstdint>
#include <cstdio>

namespace toolkit {

// What the windows' layer does for window events; each is called with the window's number, which
// may be that of no window when a journal is played. Null members are not called.
struct window_calls {
    void (*gl_refresh)(int window) = nullptr;        // draw it again
    void (*gl_win_freeze)(int window) = nullptr;     // it became an icon
    void (*gl_win_thaw)(int window) = nullptr;       // it came back
    void (*gl_close_iris_wid)(int window) = nullptr; // the user wants it closed
};
void set_window_calls(const window_calls &calls);

// Told of INPUTCHANGE (value: the window that has the keyboard now, 0: none of ours), WINFREEZE,
// WINQUIT and WINSHUT, before anything is done about them: for what must not stay on the screen
// then, as menus. Null: nobody.
using window_watch = void (*)(gl::device what, int window);
void set_window_watch(window_watch watch);

// Asked when the user wants a window closed (WINSHUT; not WINQUIT, which ends the program), before
// gl_close_iris_wid is called: whether it may be closed now. Null: it may.
using close_question = bool (*)(int window);
void set_close_question(close_question question);

// Between the two, presses of the editing keys are delivered by the values of their own
// (left_arrow_pressed ... delete_pressed). Else arrow keys move the cursor by a pixel, Delete types
// backspace_character, and Home, End and the page keys do nothing. Pairs nest.
void take_arrow_keys();
void give_back_arrow_keys();

// Asked at each such press, when nobody has taken them so, with the value that the key would have:
// whether who gets the keys now wants it, as text fields do. Null: no.
using editing_key_question = bool (*)(std::int16_t key);
void set_editing_key_question(editing_key_question question);

// Called when a text that was asked of the desktop has come (platform/gl/clipboard.h). Null: nobody.
void set_paste_call(void (*call)());

// Queues the toolkit's devices (input_devices()) and starts the event clock. May be called again,
// after others had the queue: the modifiers are then those that are held now, and no press counts
// as the first of a double click.
void gl_input_init();

// Delivers the next event.
//   event_class    input_...; input_nothing when there was something, but nothing to deliver
//   value          by class: a character, modifier code or button letter; else 0
//   position       where the cursor was, in all cases
//   wait           non-zero: sleep until there is something
//   play_file_ref  the variable with the play file, or null. While play_switch is set, events come
//                  from that file and live input is thrown away; at its end, or while Escape is
//                  held, the file is closed and variable and switch are cleared. The switch without
//                  a file is cleared too.
//   record_file    events are written to it while record_switch is set; or null
// Returns 1, or 0 when wait is 0 and nothing was pending. When the display is lost: 1 and class
// input_nothing (0 when not waiting).
int gl_event_get(std::int16_t *event_class, std::int16_t *value, screen_point *position, int wait,
                 std::FILE **play_file_ref, std::FILE *record_file);

// Throws away what waits in the event queue. Modifier keys count as they are held now: the release
// of one may be among what is thrown away.
void gl_qreset();

// 255 when the low 8 bits of a device code are an arrow key's, else 0.
[[nodiscard]] int gl_arrow_key(gl::device d);

// Whether the left or right button, or either key of a pair, is held: 255 or 0. While a journal
// is played, as far as its lines tell.
[[nodiscard]] int gl_inq_b1_down();
[[nodiscard]] int gl_inq_b3_down();
[[nodiscard]] int is_alt_key_down();
[[nodiscard]] int is_ctrl_key_down();
[[nodiscard]] int is_shift_key_down();

// The modifier word (alt_bit, ctrl_bit, shift_bit) after the events delivered so far, and 255 when
// it holds alt_bit, else 0. A bit is set by a press and cleared by a release of either key of its
// pair; repeated presses change nothing.
[[nodiscard]] std::uint32_t inq_special_key();
[[nodiscard]] int inq_last_alt_key_state();

// True for keyboards whose caps-lock key reports the lock's state as its value: caps lock is then
// what the key says. False, the default, for those that report presses: each one switches it, from
// what the display says when gl_input_init is called and when the keyboard comes to one of our
// windows.
extern bool gl_is_Cypress;

} // namespace toolkit
