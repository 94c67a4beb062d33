#include "tools/icons/drawing.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace icons {
namespace {

constexpr int samples = 16; // across a pixel, and up

bool is_in_polygon(const std::vector<point> &corners, point p) {
    bool inside = false;
    point last = corners.back();
    for (const point &c : corners) {
        if ((c.y > p.y) != (last.y > p.y) &&
            p.x < (last.x - c.x) * (p.y - c.y) / (last.y - c.y) + c.x)
            inside = !inside;
        last = c;
    }
    return inside;
}

bool is_in_box(point low, point high, point p) {
    return p.x >= low.x && p.x < high.x && p.y >= low.y && p.y < high.y;
}

// The box less its corners: what is nearer than the radius to the box that lies the radius inside.
bool is_in_rounded(const shape &s, point p) {
    const point low = s.points[0], high = s.points[1];
    const double x = std::clamp(p.x, low.x + s.radius, high.x - s.radius);
    const double y = std::clamp(p.y, low.y + s.radius, high.y - s.radius);
    return is_in_box(low, high, p) && std::hypot(p.x - x, p.y - y) <= s.radius;
}

bool is_in_arc(const shape &s, point p) {
    constexpr double full = 360;
    const double x = p.x - s.points[0].x, y = p.y - s.points[0].y;
    const double distance = std::hypot(x, y);
    if (distance > s.radius || distance < s.radius - s.width)
        return false;
    const double angle = std::atan2(y, x) * (full / 2) / std::numbers::pi;
    const double beyond = std::fmod(angle - s.from, full);
    return (beyond < 0 ? beyond + full : beyond) <= s.to - s.from;
}

bool is_inside(const shape &s, point p) {
    switch (s.kind) {
    case shape_kind::box:
        return is_in_box(s.points[0], s.points[1], p);
    case shape_kind::rounded:
        return is_in_rounded(s, p);
    case shape_kind::polygon:
        return is_in_polygon(s.points, p);
    case shape_kind::disc:
        return std::hypot(p.x - s.points[0].x, p.y - s.points[0].y) <= s.radius;
    case shape_kind::arc:
        return is_in_arc(s, p);
    }
    return false;
}

// Units in a pixel, and the drawing's place of pixel x, y.
struct scale {
    double across = 1, up = 1;
};

// How much of a pixel a shape covers, 0 .. 1.
double coverage(const shape &s, const scale &k, int x, int y) {
    int hits = 0;
    for (int j = 0; j < samples; j++)
        for (int i = 0; i < samples; i++)
            hits += is_inside(
                s, {k.across * (x + (i + 0.5) / samples), k.up * (y + (j + 0.5) / samples)});
    return double{1} * hits / (samples * samples);
}

const colour &colour_of(const shape &s, const state_colours &state) {
    if (s.fill == fill_kind::own)
        return s.own;
    return s.fill == fill_kind::ground ? state.ground : state.shape;
}

// A pixel while it is drawn: colours multiplied by alpha, which is 0 .. 1.
struct ink {
    double red = 0, green = 0, blue = 0, alpha = 0;
};

void lay_over(ink &under, const colour &c, double amount) {
    const double rest = 1 - amount;
    under.red = under.red * rest + c.red * amount;
    under.green = under.green * rest + c.green * amount;
    under.blue = under.blue * rest + c.blue * amount;
    under.alpha = under.alpha * rest + amount;
}

std::uint32_t packed(const ink &k) {
    if (k.alpha <= 0)
        return 0;
    const auto channel = [](double value) {
        return static_cast<std::uint32_t>(std::clamp(std::lround(value), 0L, 255L));
    };
    return channel(k.alpha * 255) << 24 | channel(k.blue / k.alpha) << 16 |
           channel(k.green / k.alpha) << 8 | channel(k.red / k.alpha);
}

} // namespace

picture make_picture(const drawing &d, const state_colours &state, int width, int height) {
    const scale k{double{1} * d.width / width, double{1} * d.height / height};
    picture p{width, height, {}};
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++) {
            ink pixel;
            if (!state.ground.is_none)
                lay_over(pixel, state.ground, 1);
            for (const shape &s : d.shapes)
                lay_over(pixel, colour_of(s, state), coverage(s, k, x, y));
            p.pixels.push_back(packed(pixel));
        }
    return p;
}

} // namespace icons
