// Which device a key or button of the display is.
#pragma once

#include "platform/gl/devices.h"

namespace gl {

// The device of a key code of platform/display, or NULLDEV for a key that is none.
[[nodiscard]] device key_device(int code);

// The device of a button of platform/display, or NULLDEV.
[[nodiscard]] device button_device(int button);

// Whether a button's press is a turn of the wheel, which has no release of its own.
[[nodiscard]] bool is_wheel(device d);

} // namespace gl
