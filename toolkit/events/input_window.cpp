#include "toolkit/events/input_window.h"

#include "toolkit/events/event_journal.h"

#include <utility>

namespace toolkit {

namespace {

struct window_state {
    int now = 0;
    int recorded = 0; // the last one that the record has told of
};
window_state state;
void (*window_call)() = nullptr;

} // namespace

int inq_input_window() {
    return state.now;
}

void set_input_window(int window) {
    if (std::exchange(state.now, window) != window && window_call != nullptr)
        window_call();
}

void set_input_window_call(void (*call)()) {
    window_call = call;
}

void begin_journal_input() {
    state.recorded = 0;
    if (play_switch != 0)
        set_input_window(0);
}

void forget_input_window() {
    state = {};
}

bool is_input_window_unrecorded() {
    return state.recorded != state.now;
}

void note_recorded_window(int window) {
    state.recorded = window;
}

} // namespace toolkit
