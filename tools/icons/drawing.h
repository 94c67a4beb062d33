// Drawings of icons, and how they become pictures.
//
//   icons::drawing d;
//   d.width = d.height = 16;
//   d.shapes.push_back({.kind = icons::shape_kind::box, .points = {{2, 2}, {14, 14}}});
//   icons::picture p = icons::make_picture(d, {.ground = ..., .shape = ...}, 16, 16);
//
// Coordinates are units from the lower left corner, x right, y up. A shape with its edges on whole
// pixels is crisp; a pixel that is covered in part is mixed as much as it is covered.
#pragma once

#include <cstdint>
#include <vector>

namespace icons {

struct colour {
    double red = 0, green = 0, blue = 0; // 0 .. 255
    bool is_none = false;                // a ground that is not there
};

// The colours that a drawing leaves to the state it is shown in.
struct state_colours {
    colour ground;
    colour shape;
};

struct point {
    double x = 0, y = 0;
};

enum class shape_kind { box, rounded, polygon, disc, arc };
enum class fill_kind { own, ground, shape }; // its own colour, or the state's

struct shape {
    shape_kind kind = shape_kind::box;
    fill_kind fill = fill_kind::shape;
    colour own;
    std::vector<point> points; // two corners; all corners; or the centre
    double radius = 0;         // of rounded, disc and arc
    double width = 0;          // of an arc's stroke, from the radius inwards
    double from = 0, to = 0;   // of an arc: degrees from the right, anticlockwise, from <= to
};

struct drawing {
    int width = 0, height = 0; // units
    std::vector<shape> shapes; // from the back to the front
};

// Pixels 0xAABBGGRR, rows from the bottom up. Alpha is not multiplied in; it is 255 on any ground.
struct picture {
    int width = 0, height = 0;
    std::vector<std::uint32_t> pixels;
};

// Draws at a size in pixels, which may differ from that in units.
[[nodiscard]] picture make_picture(const drawing &d, const state_colours &state, int width,
                                   int height);

} // namespace icons
