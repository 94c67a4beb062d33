#include "toolkit/system.h"

#include "platform/gl/screen.h"

namespace toolkit {

namespace {
bool running = false;
}

void system_init() {
    if (running)
        return;
    running = true;
    static_cast<void>(gl::getgdesc(gl::GD_XPMAX)); // the first question connects
}

void system_terminate() {
    gl::gexit();
    running = false;
}

} // namespace toolkit
