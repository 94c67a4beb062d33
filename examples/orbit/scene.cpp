#include "examples/orbit/scene.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>

namespace orbit {

namespace {

struct vec {
    double x = 0, y = 0, z = 0;
};
vec operator+(vec a, vec b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
vec operator-(vec a, vec b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
vec operator*(vec a, double by) {
    return {a.x * by, a.y * by, a.z * by};
}
vec operator*(vec a, vec b) {
    return {a.x * b.x, a.y * b.y, a.z * b.z};
}
double dot(vec a, vec b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
vec cross(vec a, vec b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
vec unit(vec a) {
    return a * (1 / std::sqrt(dot(a, a)));
}

struct material {
    vec colour; // linear light, 0 to 1
    double mirror = 0;
};

struct sphere {
    vec centre;
    double radius;
    material look;
};

// y is up; the floor is at 0.
const std::array<sphere, 5> spheres = {{
    {{0, 1.1, 0}, 1.1, {{0.75, 0.77, 0.8}, 0.72}},
    {{1.9, 0.6, 0.5}, 0.6, {{0.85, 0.1, 0.06}, 0.15}},
    {{-1.2, 0.5, 1.6}, 0.5, {{0.95, 0.6, 0.06}, 0.12}},
    {{-1.5, 0.7, -1.3}, 0.7, {{0.06, 0.3, 0.75}, 0.2}},
    {{0.9, 0.35, 1.9}, 0.35, {{0.1, 0.6, 0.2}, 0.1}},
}};
const vec to_light = unit({0.6, 1.1, 0.35});
constexpr double tiny = 1e-6;
constexpr double none = std::numeric_limits<double>::infinity();
constexpr int bounces = 4;
constexpr int samples = 3; // along each side of a pixel

struct ray {
    vec from, along; // along is a unit vector
};

double meet_sphere(const sphere &ball, const ray &r) {
    const vec to_centre = ball.centre - r.from;
    const double middle = dot(to_centre, r.along);
    const double rest = middle * middle - dot(to_centre, to_centre) + ball.radius * ball.radius;
    if (rest < 0)
        return none;
    const double half = std::sqrt(rest);
    if (middle - half > tiny)
        return middle - half;
    return middle + half > tiny ? middle + half : none;
}

bool is_in_shadow(vec point) {
    return std::any_of(spheres.begin(), spheres.end(), [&](const sphere &ball) {
        return meet_sphere(ball, {point, to_light}) < none;
    });
}

vec sky(vec along) {
    const double height = std::max(along.y, 0.0);
    return vec{0.62, 0.72, 0.85} * (1 - height) + vec{0.12, 0.28, 0.62} * height;
}

vec floor_colour(vec point) {
    const bool is_light =
        (static_cast<long>(std::floor(point.x)) + static_cast<long>(std::floor(point.z))) % 2 == 0;
    return is_light ? vec{0.62, 0.6, 0.56} : vec{0.09, 0.1, 0.12};
}

struct surface {
    double distance = none;
    vec point, normal;
    material look;
};

surface find_surface(const ray &r) {
    surface found;
    for (const sphere &ball : spheres) {
        const double distance = meet_sphere(ball, r);
        if (distance >= found.distance)
            continue;
        found.distance = distance;
        found.point = r.from + r.along * distance;
        found.normal = (found.point - ball.centre) * (1 / ball.radius);
        found.look = ball.look;
    }
    const double to_floor = r.along.y < 0 ? -r.from.y / r.along.y : none;
    if (to_floor > tiny && to_floor < found.distance) {
        found.distance = to_floor;
        found.point = r.from + r.along * to_floor;
        found.normal = {0, 1, 0};
        found.look = {floor_colour(found.point), 0.08};
    }
    return found;
}

vec trace(ray r) {
    vec light;
    vec share{1, 1, 1};
    for (int bounce = 0; bounce < bounces; ++bounce) {
        const surface hit = find_surface(r);
        if (hit.distance == none)
            return light + share * sky(r.along);
        const vec mirrored = r.along - hit.normal * (2 * dot(r.along, hit.normal));
        const bool is_lit = !is_in_shadow(hit.point + hit.normal * tiny);
        const double sun = is_lit ? std::max(dot(hit.normal, to_light), 0.0) : 0;
        const double gleam = is_lit ? std::pow(std::max(dot(mirrored, to_light), 0.0), 60) : 0;
        vec own = hit.look.colour * (0.12 + 0.9 * sun) + vec{1, 1, 1} * (gleam * 0.7);
        const double haze = 1 - std::exp(-hit.distance * 0.012);
        own = own * (1 - haze) + sky({}) * haze;
        light = light + share * own * (1 - hit.look.mirror);
        share = share * hit.look.mirror;
        r = {hit.point + hit.normal * tiny, mirrored};
    }
    return light;
}

std::uint8_t encode(double light) {
    return static_cast<std::uint8_t>(
        std::lround(255 * std::pow(std::clamp(light, 0.0, 1.0), 1 / 2.2)));
}

} // namespace

void render_row(const view &camera, int y, std::span<std::uint8_t> row) {
    const double angle = 2 * std::numbers::pi * camera.turn;
    const vec eye{6.2 * std::sin(angle), 2.6, 6.2 * std::cos(angle)};
    const vec ahead = unit(vec{0, 0.75, 0} - eye);
    const vec right = unit(cross(ahead, {0, 1, 0}));
    const vec up = cross(right, ahead);
    const double scale = 0.9 / camera.height; // half of the view's height is 0.45 at distance 1
    for (int x = 0; x < camera.width; ++x) {
        vec sum;
        for (int sample = 0; sample < samples * samples; ++sample) {
            const int column = sample % samples;
            const int line = sample / samples;
            const double across = x + (column + 0.5) / samples - camera.width / 2.0;
            const double down = y + (line + 0.5) / samples - camera.height / 2.0;
            const vec along = ahead + right * (across * scale) - up * (down * scale);
            sum = sum + trace({eye, unit(along)});
        }
        sum = sum * (1.0 / (samples * samples));
        std::uint8_t *pixel = &row[static_cast<std::size_t>(x) * bytes_per_pixel];
        pixel[0] = encode(sum.x);
        pixel[1] = encode(sum.y);
        pixel[2] = encode(sum.z);
    }
}

} // namespace orbit
