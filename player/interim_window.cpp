#include "player/interim_window.h"

#include "platform/gl/drawing.h"
#include "platform/gl/pixels.h"
#include "platform/gl/queue.h"
#include "platform/gl/screen.h"
#include "platform/gl/windows.h"
#include "player/engine.h"
#include "player/play_devices.h"
#include "player/play_file.h"
#include "player/play_stats.h"
#include "player/translate_event.h"
#include "toolkit/events/key_table.h"

#include <algorithm>
#include <array>
#include <string>

namespace player {

namespace {

constexpr int start_left = 100; // of the window on the screen, pixels from its lower left corner
constexpr int start_bottom = 300;
constexpr int background_grey = 48;
constexpr float rate_without_movie = 30.0F;

struct extent {
    int width = 0;
    int height = 0;
};

int window = 0;          // gl's number; 0: none
float drawn_zoom = 1.0F; // the picture's zoom, or less when the window is too small for it

constexpr std::array keys_while_playing{
    gl::SPACEKEY, gl::RKEY,    gl::FKEY,    gl::BKEY,   gl::PERIODKEY, gl::COMMAKEY, gl::NKEY,
    gl::LKEY,     gl::SKEY,    gl::EKEY,    gl::DKEY,   gl::QKEY,      gl::ONEKEY,   gl::TWOKEY,
    gl::THREEKEY, gl::FOURKEY, gl::FIVEKEY, gl::SIXKEY, gl::SEVENKEY,  gl::EIGHTKEY, gl::NINEKEY};

// --- place and picture ---------------------------------------------------------------------------

// The zoom at which the whole picture fits into room, args.zoom at most.
float fitting_zoom(const play_args &args, extent room) {
    const auto zoom = static_cast<float>(args.zoom);
    return std::min(
        {zoom, static_cast<float>(room.width) / static_cast<float>(std::max(args.width, 1)),
         static_cast<float>(room.height) / static_cast<float>(std::max(args.height, 1))});
}

extent zoomed_size(const play_args &args, float zoom) {
    return {static_cast<int>(static_cast<float>(args.width) * zoom),
            static_cast<int>(static_cast<float>(args.height) * zoom)};
}

// The window's size for a movie and its zoom: never larger than the screen, never too small to
// be handled.
extent wanted_window_size(const play_args &args) {
    const extent screen{state.screen_width, state.screen_height};
    const extent picture = zoomed_size(args, fitting_zoom(args, screen));
    return {std::min(std::max(picture.width, empty_width), screen.width),
            std::min(std::max(picture.height, empty_height), screen.height)};
}

void make_current() {
    if (gl::winget() != window)
        gl::winset(window);
}

// Centres the picture in the window as it is now.
void place_picture(play_args &args) {
    extent room;
    gl::getsize(&room.width, &room.height);
    drawn_zoom = fitting_zoom(args, room);
    const extent picture = zoomed_size(args, drawn_zoom);
    args.image_x = (room.width - picture.width) / 2;
    args.image_y = (room.height - picture.height) / 2;
}

// In a double-buffered window: draws in the back buffer, and in the front one as well if asked.
void draw_in_back(bool front_too) {
    if (!gl::is_double_buffered())
        return;
    gl::backbuffer(true);
    gl::frontbuffer(front_too);
}

void draw_frame(const play_args &args) {
    if (!args.pixels || window == 0)
        return;
    make_current();
    gl::rectzoom(drawn_zoom, drawn_zoom);
    draw_in_back(false);
    {
        const phase_timer timed(play_phase::drawing);
        gl::lrectwrite(args.image_x, args.image_y, args.image_x + args.width - 1,
                       args.image_y + args.height - 1, args.pixels.span());
    }
    {
        const phase_timer timed(play_phase::presenting);
        if (gl::is_double_buffered())
            gl::swapbuffers();
        else
            gl::flush_windows();
    }
    draw_in_back(true);
    gl::rectzoom(1, 1);
}

void paint_window(play_args &args) {
    make_current();
    gl::reshapeviewport();
    place_picture(args);
    draw_in_back(true);
    gl::RGBcolor(background_grey, background_grey, background_grey);
    gl::clear();
    draw_frame(args);
    if (gl::is_double_buffered())
        draw_frame(args); // the other buffer
}

void apply_buffering(const play_args &args) {
    const bool wanted = args.double_buffer != 0;
    if (wanted == gl::is_double_buffered())
        return;
    if (wanted)
        gl::doublebuffer();
    else
        gl::singlebuffer();
    gl::gconfig();
}

std::string window_title(const play_args &args) {
    const std::string name = args.name.data();
    return name.empty() ? "Player Tool" : "Player Tool - " + name;
}

// Gives the window the size and title for args, its top left corner staying where it is as far
// as the screen allows.
void fit_window(play_args &args) {
    if (window == 0)
        return;
    make_current();
    gl::wintitle(window_title(args).c_str());
    const extent size = wanted_window_size(args);
    extent now;
    gl::getsize(&now.width, &now.height);
    if (now.width != size.width || now.height != size.height) {
        int left = 0;
        int bottom = 0;
        gl::getorigin(&left, &bottom);
        const extent screen{state.screen_width, state.screen_height};
        left = std::clamp(left, 0, screen.width - size.width);
        bottom = std::clamp(bottom + now.height - size.height, 0, screen.height - size.height);
        gl::winposition(left, left + size.width - 1, bottom, bottom + size.height - 1);
    }
    apply_buffering(args);
    paint_window(args);
}

// --- commands ------------------------------------------------------------------------------------

void toggle_playing() {
    if (state.playing)
        stop_playing(playback);
    else
        play_forward(playback, open_movie);
}

void toggle_every_frame() {
    const bool has_rate = open_movie.film != nullptr && open_movie.film->rate > 0;
    if (playback.rate != every_frame_rate)
        playback.rate = every_frame_rate;
    else
        playback.rate = has_rate ? static_cast<float>(open_movie.film->rate) : rate_without_movie;
}

void take_key(int key) {
    switch (key) {
    case ' ':
        return toggle_playing();
    case 'r':
        return play_reverse(playback, open_movie);
    case 'f':
        return play_fast_forward(playback, open_movie);
    case 'b':
        return play_fast_reverse(playback, open_movie);
    case '.':
        return step_forward(playback, open_movie);
    case ',':
        return step_back(playback, open_movie);
    case 'n':
        playback.mode = mode_normal;
        return;
    case 'l':
        playback.mode = mode_loop;
        return;
    case 's':
        state.swing_returning = false;
        playback.mode = mode_swing;
        return;
    case 'e':
        return toggle_every_frame();
    case 'd':
        playback.double_buffer = playback.double_buffer == 0 ? 1 : 0;
        return fit_window(playback);
    case 'q':
        state.quit_requested = true;
        return;
    default:
        if (key >= '1' && key <= '9') {
            playback.zoom = key - '0';
            fit_window(playback);
        }
    }
}

void take_message(std::int16_t /*type*/, const toolkit::demon_message &message) {
    if (message.code == toolkit::msg_key)
        take_key(message.key);
}

void take_device(gl::device d, short value) {
    if (value != 0 && std::ranges::count(keys_while_playing, d) != 0)
        take_key(toolkit::key_character(d, false, false));
}

// --- what the window system says -----------------------------------------------------------------

bool is_our_window(int which) {
    return which == window && window != 0;
}

void refresh_window(int which) {
    if (is_our_window(which))
        paint_window(playback);
}

void close_window(int which) {
    // The program as a whole may be asked to end without a window being named.
    if (which == 0 || is_our_window(which))
        state.quit_requested = true;
}

void take_drop(int which) {
    if (!is_our_window(which))
        return;
    state.play_file_name = gl::dropped_file();
    load_play_file(playback, open_movie);
}

void queue_devices(bool playing) {
    if (playing)
        for (const gl::device key : keys_while_playing)
            gl::qdevice(key);
    gl::qdevice(gl::WINDROP);
}

void install_view() {
    view = {};
    view.draw_frame = draw_frame;
    view.fit = fit_window;
    view.queue_devices = queue_devices;
    view.take_device = take_device;
    view.make_current = make_current;
    view.is_player_window = is_our_window;
    view.refresh = refresh_window;
    view.close = close_window;
    view.drop = take_drop;
    set_event_receiver(take_message);
}

} // namespace

int build_player_tool(play_args &args) {
    if (args.width == 0 || args.height == 0) {
        args.width = empty_width;
        args.height = empty_height;
    }
    state.screen_width = gl::getgdesc(gl::GD_XPMAX);
    state.screen_height = gl::getgdesc(gl::GD_YPMAX);
    const extent size = wanted_window_size(args);
    const int left = std::clamp(start_left, 0, state.screen_width - size.width);
    const int bottom = std::clamp(start_bottom, 0, state.screen_height - size.height);
    gl::prefposition(left, left + size.width - 1, bottom, bottom + size.height - 1);
    const int opened = gl::winopen(window_title(args).c_str());
    window = std::max(opened, 0);
    if (window == 0) {
        state.quit_requested = true;
        return -1;
    }
    install_view();
    set_play_devices(state.playing);
    apply_buffering(args);
    paint_window(args);
    return 0;
}

} // namespace player
