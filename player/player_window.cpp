#include "player/player_window.h"

#include "platform/gl/drawing.h"
#include "platform/gl/pixels.h"
#include "platform/gl/queue.h"
#include "platform/gl/screen.h"
#include "platform/gl/windows.h"
#include "player/engine.h"
#include "player/play_file.h"
#include "player/play_stats.h"
#include "player/player_controls.h"
#include "player/player_menus.h"
#include "player/progress_window.h"
#include "player/session_decisions.h"
#include "player/window_parts.h"
#include "toolkit/demons/box_text.h"
#include "toolkit/demons/delivery.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/demons/window_demons.h"
#include "toolkit/events/event_input.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/graphics/spaces.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/widgets/controls.h"
#include "toolkit/widgets/pulldowns.h"
#include "toolkit/widgets/widgets.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace player {

player_widgets player_tool;

namespace {

using toolkit::demon;
using toolkit::demon_message;
using toolkit::display_object;
using toolkit::refer_to_demon;
using toolkit::screen_box;
using toolkit::word;

constexpr int start_left = 100; // of the window on the screen, where there is no other one
constexpr int start_bottom = 300;
constexpr int beside_progress = 20;
constexpr const char *empty_label = "--- no segment loaded ---";

window_layout layout;               // as the window is laid out now
bool is_placed = false;             // by the desktop: until then it says anything of that
toolkit::screen_point wanted_place; // meanwhile: the window's upper left corner

int window_id() {
    return open_window_id(player_tool.window.get());
}

// --- the picture ---------------------------------------------------------------------------------

bool make_current() {
    return make_window_current(player_tool.window.get());
}

// In a double-buffered window, frames go to the back buffer, which is shown then; all else is drawn
// in both.
void begin_frame() {
    gl::frontbuffer(!gl::is_double_buffered());
}

void end_frame() {
    const phase_timer timed(play_phase::presenting);
    if (gl::is_double_buffered())
        gl::swapbuffers();
    else
        gl::flush_windows();
    gl::frontbuffer(true);
}

// Rows of the picture, from `bottom` on; by themselves only at a whole zoom.
void draw_rows(const play_args &args, int bottom, int rows, std::span<const std::uint32_t> pixels) {
    const int y = args.image_y + bottom * static_cast<int>(layout.zoom);
    gl::lrectwrite(args.image_x, y, args.image_x + args.width - 1, y + rows - 1, pixels);
}

// In the buffers that are drawn in now.
void draw_picture(const play_args &args) {
    const phase_timer timed(play_phase::drawing);
    begin_picture(layout.zoom);
    draw_rows(args, 0, args.height, args.pixels.span());
    end_picture();
}

void draw_frame(const play_args &args) {
    if (!args.pixels || !make_current())
        return;
    begin_frame();
    draw_picture(args);
    end_frame();
}

bool are_strips_possible() {
    return layout.zoom >= 1 && layout.zoom == std::floor(layout.zoom) && make_current();
}

void begin_strips() {
    begin_frame();
    begin_picture(layout.zoom);
}

void end_strips(bool is_whole) {
    end_picture();
    if (is_whole)
        end_frame();
    else
        gl::frontbuffer(true);
}

// The picture's demon: the frame, or a hint where there is none.
void draw_picture_demon(display_object *self) {
    toolkit::gl_fill_box(self->box, toolkit::colour_picture_ground);
    if (playback.pixels) {
        catch_up_pixels(playback, open_movie);
        draw_picture(playback);
        return;
    }
    if (!state.standalone)
        return;
    screen_box line = self->box;
    line.height = toolkit::clamp_16(self->box.height / 8);
    line.y = toolkit::clamp_16(self->box.y + self->box.height / 2);
    toolkit::draw_text_box(line, toolkit::font_slot_normal_1, "Open a movie with Ctrl+O,",
                           toolkit::look::disabled);
    line.y = toolkit::clamp_16(line.y - line.height);
    toolkit::draw_text_box(line, toolkit::font_slot_normal_1, "or drop one here",
                           toolkit::look::disabled);
}

// --- laying out ----------------------------------------------------------------------------------

void place(demon *widget, const screen_box &at) {
    place_part(player_tool.window.get(), widget, at);
}

// Puts all parts to where the layout has them.
void place_parts(play_args &args) {
    args.image_x = layout.picture.x;
    args.image_y = layout.picture.y;
    place(player_tool.menu_bar.get(), layout.menu_bar);
    place(player_tool.picture.get(), layout.picture);
    place(player_tool.controls.get(), layout.controls);
    place(player_tool.label.get(), layout.label);
}

extent real_size() {
    return real_window_size(player_tool.window.get());
}

// Takes over the size that the window has, if the user or the desktop has given it another one.
void follow_size() {
    demon *window = player_tool.window.get();
    const extent now = real_size();
    if (now.width < 1 || now == extent{window->box.width, window->box.height})
        return;
    toolkit::follow_iris_windows();
    window->box.width = toolkit::clamp_16(now.width);
    window->box.height = toolkit::clamp_16(now.height);
    if (now != layout.window)
        layout = layout_in(playback, now);
    place_parts(playback);
}

// Gives the window another size, its upper left corner staying, as far as the screen allows.
void resize_window(extent size) {
    toolkit::follow_iris_windows();
    demon *window = player_tool.window.get();
    const extent screen = screen_size();
    const int left = is_placed ? window->box.x : wanted_place.x;
    const int top = is_placed ? window->box.y + window->box.height : wanted_place.y;
    const int x = std::clamp(left, 0, std::max(screen.width - size.width, 0));
    const int y = std::clamp(top - size.height, 0, std::max(screen.height - size.height, 0));
    toolkit::setBoxWidgetScreen(window,
                                {toolkit::clamp_16(x), toolkit::clamp_16(y),
                                 toolkit::clamp_16(size.width), toolkit::clamp_16(size.height)});
}

void draw_window(demon *self, toolkit::object *sender, demon_message *m) {
    follow_size();
    toolkit::iris_demon_draw(self, sender, m);
}

// Without a movie only the menu bar is alive.
void track_pointer(demon *self, toolkit::object *sender, demon_message *m) {
    demon *bar = player_tool.menu_bar.get();
    if (open_movie.film != nullptr || bar == nullptr || toolkit::in_box(bar->box, m->point)) {
        toolkit::demon_loc_move(self, sender, m);
        return;
    }
    const toolkit::delivery here(self);
    demon_message left = *m;
    left.code = toolkit::msg_box_out;
    left.propagate = 0;
    if (self->box_in_child == bar)
        self->box_in_child = nullptr;
    toolkit::send_demon_message(bar, self, left);
    here.pass_on(sender, m);
}

// --- building ------------------------------------------------------------------------------------

word closed_by_user(word, toolkit::callback *) {
    quit_player(0);
    return 0;
}

// Right of the progress window, if there is one.
toolkit::screen_point start_place() {
    const demon *beside = progress.window.get();
    if (beside == nullptr)
        return {start_left, start_bottom};
    toolkit::follow_iris_windows();
    return {toolkit::clamp_16(beside->box.x + beside->box.width + beside_progress), beside->box.y};
}

bool open_window() {
    const toolkit::screen_point at = start_place();
    wanted_place = {at.x, toolkit::clamp_16(at.y + layout.window.height)};
    const int width = design_length(layout.window.width, toolkit::scale_x);
    const int height = design_length(layout.window.height, toolkit::scale_y);
    toolkit::iris_window_demon *made = toolkit::create_iris_window_demon(
        nullptr, at.x, at.y, width, height, "Player Tool", closed_by_user, 0);
    player_tool.window = refer_to_demon(made);
    if (window_id() == toolkit::no_window)
        return false;
    made->on.draw = draw_window;
    made->on.loc_move = track_pointer;
    return true;
}

void add_parts(play_args &args) {
    demon *window = player_tool.window.get();
    demon *bar = toolkit::addMenuBar(window, 0, 0, 0, 0);
    player_tool.menu_bar = refer_to_demon(bar);
    place(bar, layout.menu_bar); // its titles are as high as it is
    add_player_menus(bar, args);
    player_tool.picture = refer_to_demon(add_part(window, draw_picture_demon));
    demon *panel = add_part(window, nullptr);
    player_tool.controls = refer_to_demon(panel);
    add_player_controls(panel, args);
    player_tool.label = refer_to_demon(toolkit::addLabel(
        window, 0, 0, 0, 0, "", toolkit::font_slot_normal_1, toolkit::label_place::middle));
    place_parts(args);
}

// --- what the engine and the loop ask for --------------------------------------------------------

bool is_our_window(int which) {
    return which > 0 && toolkit::gl_find_wid(which) == window_id() &&
           window_id() != toolkit::no_window;
}

void take_drop(int which) {
    if (!is_our_window(which) || state.session_playback)
        return;
    state.play_file_name = gl::dropped_file();
    load_play_file(playback, open_movie);
}

void queue_devices(bool playing) {
    if (playing)
        gl::qdevice(gl::SPACEKEY);
    gl::qdevice(gl::WINDROP);
}

void take_device(gl::device d, short value) {
    if (value == 0)
        return;
    const demon *stop = player_tool.buttons[static_cast<std::size_t>(transport::stop)].get();
    toolkit::screen_point at;
    if (d == gl::LEFTMOUSE && stop != nullptr) {
        toolkit::follow_iris_windows();
        toolkit::gl_get_valuator(&at.x, &at.y);
        if (toolkit::in_box(stop->box, at))
            stop_playing(playback);
    } else if (d == gl::SPACEKEY) {
        stop_playing(playback);
    }
}

void install_view() {
    install_window_view();
    view.draw_frame = draw_frame;
    view.strips = {are_strips_possible, begin_strips, draw_rows, end_strips};
    view.show_position = show_position;
    view.fit = fit_player_window;
    view.queue_devices = queue_devices;
    view.take_device = take_device;
    view.make_current = [] { make_current(); };
    view.is_player_window = is_our_window;
    view.drop = take_drop;
}

} // namespace

// --- the window ----------------------------------------------------------------------------------

int build_player_tool(play_args &args) {
    if (state.standalone) {
        args.width = args.orig_width = empty_width;
        args.height = args.orig_height = empty_height;
    }
    state.screen_width = gl::getgdesc(gl::GD_XPMAX);
    state.screen_height = gl::getgdesc(gl::GD_YPMAX);
    std::uint16_t help = 0;
    toolkit::getHelp(&help);
    toolkit::setHelp(0);
    layout = first_layout(args, state.standalone);
    const extent screen = screen_size();
    if (layout.window.width > screen.width || layout.window.height > screen.height)
        layout = fitted_layout(args, screen);
    is_placed = false;
    const bool is_open = open_window();
    if (is_open) {
        add_parts(args);
        install_view();
        queue_devices(false);
        bind_player_keys();
        if (args.double_buffer != 0)
            toolkit::gl_double_buffer(window_id(), true);
        set_frame_range(args);
        relabel_player_tool(args);
        toolkit::drawWidget(player_tool.window.get());
    }
    toolkit::setHelp(help);
    if (is_open)
        return 0;
    state.quit_requested = true;
    return -1;
}

void note_player_tool_placed() {
    is_placed = true;
}

void destroy_player_tool() {
    release_player_keys();
    state.frozen_direction = 0; // that was for this window
    if (demon *window = player_tool.window.get()) {
        toolkit::setDestroyFunctionWindow(window, nullptr, 0);
        toolkit::destroyWidget(window);
    }
    player_tool = {};
    view = {};
}

void fit_player_window(play_args &args) {
    if (window_id() == toolkit::no_window)
        return;
    layout = fitted_layout(args, screen_size());
    resize_window(layout.window);
    if (window_id() == toolkit::no_window)
        return;
    const extent now = real_size();
    if (now != layout.window)
        layout = layout_in(args, now);
    demon *window = player_tool.window.get();
    window->box.width = toolkit::clamp_16(now.width);
    window->box.height = toolkit::clamp_16(now.height);
    toolkit::follow_iris_windows();
    place_parts(args);
    set_frame_range(args);
    relabel_player_tool(args);
    update_rate_menu(args);
    toolkit::gl_double_buffer(window_id(), args.double_buffer != 0);
    toolkit::drawWidget(window);
}

void toggle_double_buffer(play_args &args) {
    args.double_buffer = args.double_buffer == 0 ? 1 : 0;
    toolkit::gl_double_buffer(window_id(), args.double_buffer != 0);
    toolkit::drawWidget(player_tool.window.get());
}

// --- names ---------------------------------------------------------------------------------------

std::string format_movie_label(const play_args &args) {
    constexpr int block = movie::ir1_block_size;
    const bool is_scaled = args.width != args.orig_width - args.orig_width % block ||
                           args.height != args.orig_height - args.orig_height % block;
    std::array<char, 64> size{}, scaled{}, zoom{};
    std::snprintf(size.data(), size.size(), "(%d x %d)", args.width, args.height);
    if (is_scaled && (args.width != args.orig_width || args.height != args.orig_height))
        std::snprintf(scaled.data(), scaled.size(), " of (%dx%d)", args.orig_width,
                      args.orig_height);
    if (args.zoom != 1)
        std::snprintf(zoom.data(), zoom.size(), "x %.1f", static_cast<double>(args.zoom));
    std::string text = args.name[0] != 0 ? args.name.data() : "<no name>";
    text.append("    ").append(size.data()).append(scaled.data()).append(" ").append(zoom.data());
    return text;
}

void relabel_player_tool(const play_args &args) {
    const bool is_empty = state.standalone && open_movie.film == nullptr;
    const std::string text = is_empty ? empty_label : format_movie_label(args);
    toolkit::setWidgetValue(player_tool.label.get(), text.c_str());
    std::string title = "Player Tool";
    if (args.name[0] != 0)
        title.append(" - ").append(args.name.data());
    toolkit::setWindowTitle(player_tool.window.get(), title.c_str());
}

} // namespace player
