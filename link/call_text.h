// What a call has to say, as one line. Nothing is allocated; what is too long is cut off.
#pragma once

#include <array>
#include <cstdarg>
#include <cstdio>

namespace render_link {

struct call_text {
    std::array<char, 512> line{};
};

// Writes the line as printf does, and returns the code that the call is to return.
[[gnu::format(printf, 3, 4)]] inline int say(call_text &text, int code, const char *format, ...) {
    std::va_list values;
    va_start(values, format);
    std::vsnprintf(text.line.data(), text.line.size(), format, values);
    va_end(values);
    return code;
}

} // namespace render_link
