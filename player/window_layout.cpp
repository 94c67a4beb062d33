#include "player/window_layout.h"

#include "platform/gl/pixels.h"
#include "toolkit/demons/demons.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace player {

namespace {

using toolkit::clamp_16;
using toolkit::scale_x;
using toolkit::scale_y;
using toolkit::screen_box;

// The design's pixels.
constexpr int margin = 10;
constexpr int bar_height = 30;
constexpr int label_height = 30;
constexpr int label_below_top = 70;  // the label's lower edge
constexpr int first_picture_y = 135; // as built, the panel lies at the very bottom
constexpr int first_frame_height = 210;
constexpr int picture_y = 145;     // as fitted, it is a margin higher
constexpr int frame_height = 225;  // of the window around the picture
constexpr int narrow_width = 270;  // pictures below this have a window
constexpr int narrow_window = 290; // of this width
constexpr int label_above_picture = 10;

// As many pixels as rectzoom covers.
int zoomed(std::int32_t side, float zoom) {
    return std::max(static_cast<int>(static_cast<double>(side) * zoom), 1);
}

// The least zoom at which a side is as long as the room, to the pixel.
float filling_zoom(std::int32_t side, int room) {
    const float zoom = static_cast<float>(room) / static_cast<float>(std::max(side, 1));
    return zoomed(side, zoom) < room ? std::nextafter(zoom, gl::max_rectzoom) : zoom;
}

// The zoom at which the whole picture has room, `most` at most.
float fitting_zoom(const play_args &args, float most, extent room) {
    return std::min({most, gl::max_rectzoom, filling_zoom(args.width, room.width),
                     filling_zoom(args.height, room.height)});
}

// What stands along the edges of a window of this size.
window_layout frame_of(extent window, int controls_y, int label_y) {
    window_layout made;
    made.window = window;
    made.menu_bar =
        make_box(0, window.height - scale_y(bar_height), window.width, scale_y(bar_height));
    const int panel = scale_x(controls_width);
    made.controls =
        make_box((window.width - panel) / 2, controls_y, panel, scale_y(controls_height));
    made.label = make_box(scale_x(margin), label_y, window.width - 2 * scale_x(margin),
                          scale_y(label_height));
    return made;
}

void put_picture(const play_args &args, const screen_box &place, window_layout *in) {
    const placed_picture placed = place_picture(args, static_cast<float>(args.zoom), place);
    in->picture = placed.box;
    in->zoom = placed.zoom;
}

// A size of the same shape, not above the room there is.
extent reduced(extent size, extent room) {
    if (size.width <= room.width && size.height <= room.height)
        return size;
    const std::int64_t across = std::int64_t{room.width} * size.height;
    const std::int64_t up = std::int64_t{room.height} * size.width;
    if (across <= up)
        return {room.width, std::max(static_cast<int>(across / size.width), 1)};
    return {std::max(static_cast<int>(up / size.height), 1), room.height};
}

// The room for the fitted picture: of its shape, unless the picture is larger in another one.
extent place_for(const play_args &args, extent fitted, extent room) {
    const extent same_shape = reduced(fitted, room);
    const extent cut{std::min(fitted.width, room.width), std::min(fitted.height, room.height)};
    const auto zoom = static_cast<float>(args.zoom);
    return fitting_zoom(args, zoom, cut) > fitting_zoom(args, zoom, same_shape) ? cut : same_shape;
}

} // namespace

screen_box make_box(int x, int y, int width, int height) {
    return {clamp_16(x), clamp_16(y), clamp_16(width), clamp_16(height)};
}

placed_picture place_picture(const play_args &args, float most, const screen_box &place) {
    placed_picture made;
    made.zoom = fitting_zoom(args, most, {std::max(+place.width, 1), std::max(+place.height, 1)});
    const int width = zoomed(args.width, made.zoom);
    const int height = zoomed(args.height, made.zoom);
    made.box = make_box(place.x + (place.width - width) / 2, place.y + (place.height - height) / 2,
                        width, height);
    return made;
}

window_layout first_layout(const play_args &args, bool standalone) {
    const bool is_narrow = args.width < empty_width;
    const int width = is_narrow ? scale_x(narrow_width)
                                : std::max(args.width + 2 * scale_x(margin), scale_x(narrow_width));
    int x = scale_x(margin);
    if (!standalone && is_narrow)
        x = (scale_x(narrow_width) - args.width) / 2;
    const int y = scale_y(first_picture_y);
    window_layout made = frame_of({width, args.height + scale_y(first_frame_height)}, 0,
                                  y + args.height + scale_y(label_above_picture));
    made.picture = make_box(x, y, args.width, args.height);
    return made;
}

extent fitted_picture(const play_args &args, extent screen) {
    const std::int64_t width = std::int64_t{args.width} * args.zoom;
    const std::int64_t height = std::int64_t{args.height} * args.zoom;
    if (width < 1 || height < 1)
        return {1, 1};
    if (width <= screen.width && height <= screen.height)
        return {static_cast<int>(width), static_cast<int>(height)};
    const std::int64_t ratio = width / height;
    if (height < width)
        return {screen.width, std::max(static_cast<int>(screen.width / ratio), 1)};
    if (ratio > 0)
        return {static_cast<int>(screen.height * ratio), screen.height};
    return {std::max(static_cast<int>(screen.height * width / height), 1), screen.height};
}

std::int32_t largest_zoom(const play_args &args, extent screen) {
    return std::max(std::min(screen.width / args.width, screen.height / args.height), 1);
}

window_layout fitted_layout(const play_args &args, extent screen) {
    const int sides = 2 * scale_x(margin);
    const int above_and_below = scale_y(frame_height);
    const extent place = place_for(
        args, fitted_picture(args, screen),
        {std::max(screen.width - sides, 1), std::max(screen.height - above_and_below, 1)});
    const bool is_narrow = place.width < scale_x(narrow_width);
    const extent window{is_narrow ? scale_x(narrow_window) : place.width + sides,
                        place.height + above_and_below};
    const int x = is_narrow ? scale_x(narrow_window) / 2 - place.width / 2 : scale_x(margin);
    window_layout made =
        frame_of(window, scale_y(margin), window.height - scale_y(label_below_top));
    put_picture(args, make_box(x, scale_y(picture_y), place.width, place.height), &made);
    return made;
}

window_layout layout_in(const play_args &args, extent window) {
    window_layout made =
        frame_of(window, scale_y(margin), window.height - scale_y(label_below_top));
    put_picture(args,
                make_box(scale_x(margin), scale_y(picture_y), window.width - 2 * scale_x(margin),
                         window.height - scale_y(frame_height)),
                &made);
    return made;
}

} // namespace player
