#include "player/player_controls.h"

#include "player/engine.h"
#include "player/player_window.h"
#include "toolkit/widgets/controls.h"
#include "toolkit/widgets/fields.h"

#include <algorithm>

namespace player {

namespace {

using toolkit::demon;
using toolkit::widget_value;
using toolkit::word;

constexpr int time_display_width = 8; // characters

struct transport_button {
    transport which;
    int x, y, width, height;
    toolkit::switch_icons icons;
    toolkit::widget_function pressed;
};

constexpr std::array<transport_button, transport_count> transport_buttons{{
    {transport::reverse,
     10,
     10,
     80,
     25,
     {"reverse", "reverse.hilite", "reverse.pressed"},
     [](word) { play_reverse(playback, open_movie); }},
    {transport::fast_reverse,
     10,
     40,
     40,
     25,
     {"fast_reverse", "fast_reverse.hilite", "fast_reverse.pressed"},
     [](word) { play_fast_reverse(playback, open_movie); }},
    {transport::fast_forward,
     50,
     40,
     40,
     25,
     {"fast_forward", "fast_forward.hilite", "fast_forward.pressed"},
     [](word) { play_fast_forward(playback, open_movie); }},
    {transport::play,
     95,
     10,
     80,
     55,
     {"play", "play.hilite", "play.pressed"},
     [](word) { play_forward(playback, open_movie); }},
    {transport::stop,
     180,
     10,
     80,
     25,
     {"stop", "stop.hilite", "stop.pressed"},
     [](word) { stop_playing(playback); }},
    {transport::step_back,
     180,
     40,
     40,
     25,
     {"step_back", "step_back.hilite", "step_back.pressed"},
     [](word) { step_back(playback, open_movie); }},
    {transport::step_forward,
     220,
     40,
     40,
     25,
     {"step_forward", "step_forward.hilite", "step_forward.pressed"},
     [](word) { step_forward(playback, open_movie); }},
}};

// Frames are numbered first .. last; without any, both are the first.
std::int32_t last_of(const play_args &args) {
    return args.first + std::max(args.count, 1) - 1;
}

std::int32_t value_of(demon *widget) {
    widget_value value;
    toolkit::getWidgetValue(widget, &value);
    return static_cast<std::int32_t>(value.number);
}

void take_slider(word) {
    const std::int32_t frame = value_of(player_tool.slider.get());
    if (frame == playback.current)
        return;
    playback.current = frame;
    toolkit::updateWidgetValue(player_tool.time.get(), frame);
    show_frame(playback, open_movie);
}

void take_time(word) {
    playback.current = value_of(player_tool.time.get());
    toolkit::updateWidgetValue(player_tool.slider.get(), static_cast<float>(playback.current));
    show_frame(playback, open_movie);
}

} // namespace

void add_player_controls(demon *panel, const play_args &args) {
    const auto first = static_cast<float>(args.first);
    const auto last = static_cast<float>(last_of(args));
    const auto current = static_cast<float>(args.current);
    player_tool.slider = toolkit::refer_to_demon(
        toolkit::addSlider(panel, 10, 105, 250, 10, first, last, current, take_slider, 0));
    player_tool.time = toolkit::refer_to_demon(toolkit::addTimeWidget(
        panel, 10, 70, 220, 30, first, last, current, time_display_width, take_time, 0));
    toolkit::setBoxWidget(player_tool.time.get(), {10, 70, 220, 30}); // wider than what it shows
    for (const transport_button &b : transport_buttons)
        player_tool.buttons[static_cast<std::size_t>(b.which)] =
            toolkit::refer_to_demon(toolkit::add_toggleswitch_menu(
                panel, b.x, b.y, b.width, b.height, "", b.icons, b.pressed, 0));
}

void set_frame_range(const play_args &args) {
    const auto first = static_cast<float>(args.first);
    const auto last = static_cast<float>(last_of(args));
    toolkit::setRangeSlider(player_tool.slider.get(), first, last);
    toolkit::setRangeTimeWidget(player_tool.time.get(), first, last);
    show_position(args);
}

void show_position(const play_args &args) {
    toolkit::updateWidgetValue(player_tool.time.get(), args.current);
    toolkit::updateWidgetValue(player_tool.slider.get(), static_cast<float>(args.current));
}

} // namespace player
