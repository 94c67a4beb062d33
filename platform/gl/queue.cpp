#include "platform/gl/queue.h"

#include "platform/clock/program_clock.h"
#include "platform/display/display.h"
#include "platform/gl/event_pump.h"
#include "platform/gl/queue_state.h"
#include "platform/gl/tick_timers.h"
#include "platform/gl/windows.h"

#include <array>
#include <bitset>
#include <cstdint>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace gl {
namespace {

struct entry {
    device dev = NULLDEV;
    short value = 0;
};

struct event_queue {
    std::array<entry, queue_capacity> ring{};
    int first = 0;
    int count = 0;
    std::bitset<last_device + 1> queued{};
    std::array<tick_timer, timer_count> timers{};
    std::int64_t armed_us = no_tick; // what the display was last asked to tick at
};

event_queue initial_queue() {
    event_queue q;
    q.queued.set(REDRAW);
    return q;
}

event_queue queue = initial_queue();

// For qgetfd: the display's descriptor, and one that is readable while entries wait here.
struct wait_set {
    int epoll = -1;
    int waiting = -1;
    bool raised = false;
};
wait_set waits;

entry &at(int i) {
    return queue.ring[static_cast<std::size_t>((queue.first + i) % queue_capacity)];
}

bool is_device(device d) {
    return d > NULLDEV && d <= last_device;
}
bool is_timer(device d) {
    return d >= TIMER0 && d <= TIMER3;
}
bool is_valuator(device d) {
    return d == MOUSEX || d == MOUSEY;
}
bool is_window_event(device d) {
    return d >= REDRAW && d != QFULL && d != PASTED;
}

tick_timer &timer_of(device d) {
    return queue.timers[static_cast<std::size_t>(d - TIMER0)];
}

void close_descriptor(int &fd) {
    if (fd >= 0)
        ::close(fd);
    fd = -1;
}

// Sets or clears the descriptor that says entries are waiting.
void raise_waiting() {
    const bool wanted = queue.count > 0;
    if (waits.waiting < 0 || waits.raised == wanted)
        return;
    waits.raised = wanted;
    eventfd_t ignored = 0;
    if (wanted)
        eventfd_write(waits.waiting, 1);
    else
        eventfd_read(waits.waiting, &ignored);
}

// Asks the display for a tick when the next timer is due.
void arm_timers() {
    std::int64_t soonest = no_tick;
    for (const tick_timer &t : queue.timers) {
        const std::int64_t due = next_due_us(t);
        if (due != no_tick && (soonest == no_tick || due < soonest))
            soonest = due;
    }
    if (soonest == queue.armed_us)
        return;
    queue.armed_us = soonest;
    display::server().set_tick(soonest);
}

// The newest entries that are moves of the pointer take the new place instead of growing.
bool merge_move(device d, short value) {
    for (int i = queue.count - 1; i >= 0 && is_valuator(at(i).dev); i--) {
        if (at(i).dev == d) {
            at(i).value = value;
            return true;
        }
    }
    return false;
}

// Returns whether the entry is in the queue.
bool enter(device d, short value) {
    if (!is_device(d) || !queue.queued.test(static_cast<std::size_t>(d)))
        return false;
    if (is_valuator(d) && merge_move(d, value))
        return true;
    if (queue.count < queue_capacity - 1) {
        at(queue.count++) = {d, value};
        return true;
    }
    if (queue.count < queue_capacity && queue.queued.test(QFULL) && count_waiting(QFULL, 0) == 0)
        at(queue.count++) = {QFULL, 0};
    return false;
}

void enter_display_event(device d, short value) {
    enter(d, value);
}

void enter_due_ticks() {
    const std::int64_t now = program_clock::now_us();
    for (int i = 0; i < timer_count; i++) {
        tick_timer &t = queue.timers[static_cast<std::size_t>(i)];
        // A tick that finds no room is lost like any event; the timer goes on.
        if (take_due_tick(t, now) && !enter(TIMER0 + i, 0))
            tick_was_read(t, now);
    }
    arm_timers();
}

void look() {
    flush_windows();
    pump_display();
}

// Keeps the entries for which keep(entry) holds.
template <typename Predicate> void filter_queue(Predicate keep) {
    int kept = 0;
    for (int i = 0; i < queue.count; i++) {
        const entry e = at(i);
        if (keep(e))
            at(kept++) = e;
    }
    queue.count = kept;
    raise_waiting();
}

} // namespace

void pump_display() {
    take_display_events(enter_display_event);
    enter_due_ticks();
    raise_waiting();
}

void forget_focus(display::window_id window) {
    give_up_focus(window, enter_display_event);
}

void forget_window_events(int window) {
    filter_queue([window](const entry &e) { return !is_window_event(e.dev) || e.value != window; });
}

int count_waiting(device d, short value) {
    int found = 0;
    for (int i = 0; i < queue.count; i++)
        if (at(i).dev == d && at(i).value == value)
            found++;
    return found;
}

void reset_queue_state() {
    queue = initial_queue();
    close_descriptor(waits.epoll);
    close_descriptor(waits.waiting);
    waits.raised = false;
    reset_event_pump();
}

void qdevice(device d) {
    if (!is_device(d) || queue.queued.test(static_cast<std::size_t>(d)))
        return;
    queue.queued.set(static_cast<std::size_t>(d));
    if (is_timer(d)) {
        start_timer(timer_of(d), program_clock::now_us());
        arm_timers();
    }
}

void unqdevice(device d) {
    if (!is_device(d))
        return;
    queue.queued.reset(static_cast<std::size_t>(d));
    if (is_timer(d)) {
        timer_of(d).running = false;
        if (display::is_connected())
            arm_timers();
    }
}

bool isqueued(device d) {
    return is_device(d) && queue.queued.test(static_cast<std::size_t>(d));
}

device qread(short *value) {
    *value = 0;
    for (;;) {
        look();
        if (queue.count > 0)
            break;
        if (is_display_lost())
            return NULLDEV;
        display::server().wait(-1);
    }
    const entry e = at(0);
    queue.first = (queue.first + 1) % queue_capacity;
    queue.count--;
    if (is_timer(e.dev) && timer_of(e.dev).waiting) {
        tick_was_read(timer_of(e.dev), program_clock::now_us());
        arm_timers();
    }
    raise_waiting();
    *value = e.value;
    return e.dev;
}

device qtest() {
    look();
    return queue.count > 0 ? at(0).dev : NULLDEV;
}

void qenter(device d, short value) {
    enter(d, value);
    raise_waiting();
}

void qreset() {
    if (display::is_connected())
        pump_display();
    queue.count = 0;
    for (tick_timer &t : queue.timers)
        if (t.waiting)
            tick_was_read(t, program_clock::now_us());
    if (display::is_connected())
        arm_timers();
    raise_waiting();
}

int qgetfd() {
    if (waits.epoll >= 0)
        return waits.epoll;
    waits.epoll = epoll_create1(EPOLL_CLOEXEC);
    waits.waiting = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    for (const int fd : {display::server().fd(), waits.waiting}) {
        epoll_event interest{};
        interest.events = EPOLLIN;
        interest.data.fd = fd;
        epoll_ctl(waits.epoll, EPOLL_CTL_ADD, fd, &interest);
    }
    raise_waiting();
    return waits.epoll;
}

void noise(device d, int n) {
    if (!is_timer(d))
        return;
    set_noise(timer_of(d), n, program_clock::now_us());
    if (display::is_connected())
        arm_timers();
}

} // namespace gl
