#include "player/progress_layout.h"

#include "toolkit/demons/demons.h"

#include <algorithm>

namespace player {

namespace {

using toolkit::clamp_16;
using toolkit::scale_x;
using toolkit::scale_y;
using toolkit::screen_box;

// The design's pixels.
constexpr int margin = 10;
constexpr int narrow_picture = 300; // below this the window is narrow_window wide
constexpr int narrow_window = 320;
constexpr int frame_height = 200; // of the window around the picture
constexpr int picture_y = 150;
constexpr int least_rows = 580; // that a picture may have, however low the screen is
constexpr int label_height = 30;
constexpr int label_above_picture = 10;
constexpr int group_width = 300; // button, lines and bar
constexpr int button_y = 10;
constexpr int button_height = 30;
constexpr int line_height = 25;
constexpr int time_y = 50;
constexpr int frame_y = 75;
constexpr int bar_y = 100;
constexpr int bar_height = 20;

} // namespace

extent fitted_session_picture(extent picture, extent screen) {
    const int width = screen.width;
    const int height = std::max(screen.height - frame_height, least_rows);
    if (picture.width <= width && picture.height <= height)
        return picture;
    const float ratio = static_cast<float>(picture.width) / static_cast<float>(picture.height);
    if (picture.height < picture.width)
        return {width, std::max(static_cast<int>(static_cast<float>(width) / ratio), 1)};
    return {std::max(static_cast<int>(static_cast<float>(height) * ratio), 1), height};
}

progress_layout wanted_progress_layout(const play_args &args, extent screen) {
    const extent around{2 * scale_x(margin), scale_y(frame_height)};
    const extent room{std::max(screen.width - around.width, 1),
                      std::max(screen.height - around.height, 1)};
    const screen_box picture =
        place_picture(args, 1.0F, make_box(0, 0, room.width, room.height)).box;
    const int width = picture.width < scale_x(narrow_picture)
                          ? scale_x(narrow_window)
                          : std::max(picture.width + around.width, scale_x(narrow_window));
    return progress_layout_in(args, {width, picture.height + around.height});
}

progress_layout progress_layout_in(const play_args &args, extent window) {
    progress_layout made;
    made.window = window;
    const int rows = std::max(window.height - scale_y(frame_height), 1);
    const int columns = std::max(window.width - 2 * scale_x(margin), 1);
    const placed_picture picture =
        place_picture(args, 1.0F, make_box(scale_x(margin), scale_y(picture_y), columns, rows));
    made.picture = picture.box;
    made.zoom = picture.zoom;
    made.label = make_box(scale_x(margin), scale_y(picture_y + label_above_picture) + rows,
                          window.width - 2 * scale_x(margin), scale_y(label_height));
    const int group = scale_x(group_width);
    const int x = (window.width - group) / 2;
    made.bar = make_box(x, scale_y(bar_y), group, scale_y(bar_height));
    made.frame_line = make_box(x, scale_y(frame_y), group, scale_y(line_height));
    made.time_line = make_box(x, scale_y(time_y), group, scale_y(line_height));
    made.wide_button = make_box(x, scale_y(button_y), group, scale_y(button_height));
    made.cancel = made.paused = made.wide_button;
    made.cancel.width = clamp_16(group / 2);
    made.paused.x = clamp_16(x + group / 2);
    made.paused.width = clamp_16(group - group / 2);
    return made;
}

} // namespace player
