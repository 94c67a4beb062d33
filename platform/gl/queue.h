// The event queue: pairs (device, value) in the order in which they happened.
//
//   gl::qdevice(gl::LEFTMOUSE);
//   gl::qdevice(gl::TIMER0);
//   gl::noise(gl::TIMER0, 2);                 // every second tick: 30 a second
//   while (...) {
//       short value;
//       gl::device d = gl::qread(&value);     // sleeps until there is something
//   }
//
// Only devices that are queued (qdevice) are entered; REDRAW is queued from the start. The queue
// holds queue_capacity entries; when it is full, its last place takes QFULL, unless one waits
// already, and what comes until there is room again is lost. Moves of the pointer that nobody has
// read yet are merged.
//
// Before the program waits for or looks at the queue, whatever was drawn in a window's front
// buffer is shown.
//
// Timers tick 60 times a second divided by their noise. At most one tick of each timer waits at a
// time: a slow program gets fewer ticks, never a backlog.
#pragma once

#include "platform/gl/devices.h"

namespace gl {

inline constexpr int queue_capacity = 512;
inline constexpr int ticks_per_second = 60;

// Starts and stops entering a device. Unqueueing leaves what already waits; for a timer it stops
// the ticking. Numbers that are no device are ignored.
void qdevice(device d);
void unqdevice(device d);
[[nodiscard]] bool isqueued(device d);

// Takes the first entry; sleeps until there is one. Returns its device and stores its value. When
// the display is lost and nothing waits: NULLDEV, value 0, at once.
device qread(short *value);

// The device of the first entry without taking it, or NULLDEV when nothing waits.
[[nodiscard]] device qtest();

// Enters an entry of the program's own, if the device is queued.
void qenter(device d, short value);

// Empties the queue.
void qreset();

// A descriptor for poll and select: readable when qtest would find something. What the display
// sends can make it readable without giving an event; calling qtest settles that.
[[nodiscard]] int qgetfd();

// A timer ticks once every n ticks (n below 1 counts as 1). Other devices take no noise.
void noise(device d, int n);

// Ends the waiting of qread with NULLDEV when the display is lost, and calls f (once, when it is
// found out). Null takes the function away.
void on_display_lost(void (*f)());
[[nodiscard]] bool is_display_lost();

// The file that the newest WINDROP was about (UTF-8 as given, absolute); empty when none.
[[nodiscard]] const char *dropped_file();

} // namespace gl
