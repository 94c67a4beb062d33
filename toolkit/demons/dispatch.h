// The event loop of a program that hands control to the toolkit: input events become demon
// messages and go to the demon god, or to who holds an event filter.
//
//   int main(int argc, char **argv) {
//       system_init();
//       set_demon_god(...);                        // and what is in it
//       set_start_up_call(open_windows, 0);
//       dispatch_play_record(argc, argv);          // "-p FILE", "-r FILE"; until the program ends
//   }
//
// Nested loops. A handler may call main_event_loop itself, as dialogs do: that loop takes the
// events until bump(), then the handler goes on and the loop around it after that. The quit flag
// (quit_dispatch, bye, dispatch_loop's own end) and the loss of the display end all loops. An idle
// loop sleeps.
//
// Handlers get a copy of the current event: a loop within a handler does not change the message
// that it has.
#pragma once

#include "toolkit/demons/demons.h"

#include <cstdint>

namespace toolkit {

// --- what lies above -----------------------------------------------------------------------------

// What is not installed is left out. To install them clears the quit flag and the keystroke aliases
// (keystroke_aliases.h): a new run begins.
struct dispatch_hooks {
    void (*getGraphics)() = nullptr;      // when dispatch_loop begins
    void (*system_terminate)() = nullptr; // when it ends, and from bye()
};
void set_dispatch_hooks(const dispatch_hooks &hooks);

// --- running -------------------------------------------------------------------------------------

// Scans the words from the second one on, then calls dispatch_loop: "-p NAME" plays a journal,
// "-r NAME" records one, "-s" with at least one more word behind it sets the locator-step flag.
// "-p" and "-r" as the last word, and all other words, are passed over.
void dispatch_play_record(int argc, char **argv);

// The whole run of the program. Opens the journals, tells the demons where the cursor is (a motion
// event that siblings get too), makes the start-up call, runs main_event_loop, closes the journals
// and calls system_terminate.
//   play, record, step   flags: non-zero is set
//   play_name, record_name   files, or null
// A file that can't be opened is named on standard error, and the run goes on without it. A record
// file that is the play file is not opened. The record begins with the place of the cursor, so
// that playing it begins there.
void dispatch_loop(int play, int record, int step, const char *play_name, const char *record_name);

// Takes events until the quit or bump flag is set or the display is lost. Clears the bump flag
// before and after.
void main_event_loop();

// For long operations: delivers what waits, without waiting, playing or recording. Motion is not
// delivered: the next loop tells the demons where the cursor is.
// Returns the value of the first event of a class equal to `kind` (it is not delivered, what comes
// behind it still waits, and play_switch and record_switch stay cleared: the caller takes over
// from the journal); 0, with the switches as they were, when nothing waits any more.
int dispatch_check_event(int kind);

// Calls system_terminate and ends the process with exit status 0.
[[noreturn]] void bye();

// Sets and clears the bump flag, which ends the innermost loop.
void bump();
void unbump();

// Sets the quit flag, which ends all loops until the next dispatch_loop or set_dispatch_hooks. For
// system_terminate, whoever calls that.
void quit_dispatch();

// --- settings ------------------------------------------------------------------------------------

// Called by dispatch_loop just before the loop; null: nothing.
using start_up_function = void (*)(word argument);
void set_start_up_call(start_up_function function, word argument);

// Sleeps for main_event_loop until the event queue has something (gl::qgetfd), for programs that
// wait for more than that: it may return sooner, and bump. Not used with a clock that is moved by
// hand, as the queue's own sleeping moves it. Null: the queue sleeps.
using input_sleep = void (*)();
void set_input_sleep(input_sleep sleep);

// Gets the idle ticks (msg_none), whatever filters there are. Null, or once it is destroyed: nobody
// gets them.
void gl_set_none_event_demon(demon *d);

// --- events --------------------------------------------------------------------------------------

// The current event: what the newest input event was translated to. Its point is the last place of
// the cursor that was looked at; msg_none: there was nothing to deliver.
[[nodiscard]] demon_message *gl_inq_event();

// The message of a mouse button's letter (key_table.h); msg_none for others.
[[nodiscard]] std::uint32_t inq_button_message(std::int16_t letter);

// Fills m from an input event; m->point is that of the event before. Everything but m->point
// begins anew: msg_none, no propagation. Returns whether there is something to deliver to demons:
// not for motion to where m->point is already (after the cursor filter), unknown buttons, idle
// ticks and other classes.
bool translate_input(std::int16_t input_class, std::int16_t value, screen_point place,
                     demon_message *m);

// Sends a copy of the message to who gets events of this class: inq_event_receiver.
void deliver_event(std::int16_t input_class, const demon_message &m);

} // namespace toolkit
