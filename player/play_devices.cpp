#include "player/play_devices.h"

#include "platform/gl/queue.h"
#include "player/engine.h"
#include "toolkit/events/event_input.h"
#include "toolkit/events/key_table.h"

#include <array>

namespace player {

namespace {
constexpr std::array playing_devices{gl::TIMER0,  gl::LEFTMOUSE, gl::WINFREEZE, gl::WINTHAW,
                                     gl::WINQUIT, gl::WINSHUT,   gl::QFULL};
}

void set_play_devices(bool playing) {
    for (const gl::device d : toolkit::queueable_devices())
        gl::unqdevice(d);
    if (playing) {
        for (const gl::device d : playing_devices)
            gl::qdevice(d);
    } else {
        toolkit::gl_input_init();
    }
    view.queue_devices(playing);
}

} // namespace player
