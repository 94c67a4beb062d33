#include "toolkit/events/double_click.h"

#include <cstdlib>

namespace toolkit {

bool begin_double_click_run(double_click_state *state) {
    if (state->running)
        return false;
    state->running = true;
    state->ticks = 0; // ticks from before the run shorten it otherwise
    return true;
}

bool is_double_click(double_click_state *state, int button, screen_point place) {
    button_presses &presses = state->buttons[static_cast<std::size_t>(button)];
    const bool is_near = std::abs(place.x - presses.first.x) < double_click_distance &&
                         std::abs(place.y - presses.first.y) < double_click_distance;
    if (presses.count == 1 && is_near) {
        presses.count = 0;
        return true;
    }
    presses = {1, place};
    return false;
}

bool end_double_click_run(double_click_state *state) {
    if (++state->ticks < double_click_ticks)
        return false;
    *state = {};
    return true;
}

} // namespace toolkit
