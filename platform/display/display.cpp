#include "platform/display/display.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace display {
namespace {

const driver *in_use = nullptr;

// Null after a report when the environment names no implementation of ours.
const driver *choose_driver() {
    const char *name = std::getenv("PLAYER_DISPLAY");
    const std::string_view wanted = name != nullptr && *name != '\0' ? name : "x11";
    if (wanted == "x11") {
        return &x11_driver();
    }
    if (wanted == "memory") {
        return &memory_driver();
    }
    std::fprintf(stderr, "display: PLAYER_DISPLAY is \"%s\"; it may be x11 or memory\n", name);
    return nullptr;
}

// One axis of a rectangle as first and end; in 64 bits, so that no sum overflows.
struct span_of_axis {
    std::int64_t first;
    std::int64_t end;
};

span_of_axis across(rectangle r) {
    return {r.x, std::int64_t{r.x} + r.width};
}
span_of_axis down(rectangle r) {
    return {r.y, std::int64_t{r.y} + r.height};
}

rectangle make_rectangle(span_of_axis x, span_of_axis y) {
    return {static_cast<int>(x.first), static_cast<int>(y.first), static_cast<int>(x.end - x.first),
            static_cast<int>(y.end - y.first)};
}

bool is_empty(rectangle r) {
    return r.width <= 0 || r.height <= 0;
}

} // namespace

const driver &server() {
    if (in_use == nullptr) {
        const driver *chosen = choose_driver();
        if (chosen == nullptr || !chosen->connect()) {
            std::exit(EXIT_FAILURE);
        }
        in_use = chosen;
    }
    return *in_use;
}

bool is_connected() {
    return in_use != nullptr;
}

void shut_down() {
    if (in_use != nullptr) {
        in_use->disconnect();
        in_use = nullptr;
    }
}

rectangle intersect(rectangle a, rectangle b) {
    const auto common = [](span_of_axis p, span_of_axis q) {
        return span_of_axis{std::max(p.first, q.first), std::min(p.end, q.end)};
    };
    const span_of_axis x = common(across(a), across(b));
    const span_of_axis y = common(down(a), down(b));
    if (x.end <= x.first || y.end <= y.first) {
        return {};
    }
    return make_rectangle(x, y);
}

rectangle enclose(rectangle a, rectangle b) {
    if (is_empty(a)) {
        return is_empty(b) ? rectangle{} : b;
    }
    if (is_empty(b)) {
        return a;
    }
    const auto around = [](span_of_axis p, span_of_axis q) {
        return span_of_axis{std::min(p.first, q.first), std::max(p.end, q.end)};
    };
    return make_rectangle(around(across(a), across(b)), around(down(a), down(b)));
}

} // namespace display
