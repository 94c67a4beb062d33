#include "player/progress_window.h"

#include "platform/clock/program_clock.h"
#include "platform/gl/pixels.h"
#include "platform/gl/screen.h"
#include "platform/gl/windows.h"
#include "player/engine.h"
#include "player/link_session.h"
#include "player/player_window.h"
#include "player/progress_layout.h"
#include "player/progress_report.h"
#include "player/session_decisions.h"
#include "player/window_parts.h"
#include "toolkit/demons/box_text.h"
#include "toolkit/demons/keystroke_aliases.h"
#include "toolkit/demons/window_demons.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/graphics/text.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/widgets/controls.h"
#include "toolkit/widgets/widgets.h"

#include <string_view>

namespace player {

progress_widgets progress;

namespace {

using toolkit::demon;
using toolkit::display_object;
using toolkit::refer_to_demon;
using toolkit::screen_box;

constexpr int start_left = 100; // of the window on the screen
constexpr int start_bottom = 300;
constexpr int text_inset = 3; // of the lines in their band
constexpr const char *lost_line = "The renderer has gone away.";

progress_layout layout; // as the window is laid out now

enum class controls { cancel_alone, cancel_and_paused, ok_alone };
controls shown_controls = controls::cancel_alone;

demon *window() {
    return progress.window.get();
}

// --- drawing -------------------------------------------------------------------------------------

void draw_picture(display_object *self) {
    const play_args &args = session_args();
    if (args.current == no_frame_yet || !args.pixels) {
        toolkit::gl_fill_box(self->box, toolkit::colour_black);
        return;
    }
    begin_picture(layout.zoom);
    gl::lrectwrite(layout.picture.x, layout.picture.y, layout.picture.x + args.width - 1,
                   layout.picture.y + args.height - 1, args.pixels.span());
    end_picture();
}

// A box of the layout, in the screen's coordinates.
screen_box on_screen(screen_box box) {
    box.x = toolkit::clamp_16(box.x + window()->box.x);
    box.y = toolkit::clamp_16(box.y + window()->box.y);
    return box;
}

void draw_line(const screen_box &line, std::string_view text) {
    const screen_box box = on_screen(line);
    toolkit::gl_fill_box(box, toolkit::colour_face);
    toolkit::gl_set_draw_value(toolkit::colour_text_hilited);
    const int slot = toolkit::font_slot_normal_1;
    const int rest = box.height - toolkit::gl_inq_font_y_extent(slot);
    toolkit::gl_draw_text(box.x + text_inset, box.y + rest / 2, slot,
                          toolkit::fit_text(slot, text, box.width - 2 * text_inset));
}

std::string time_text() {
    if (parent_link.is_lost && !is_session_complete(session_args()))
        return lost_line;
    const std::int64_t elapsed = program_clock::now_us() - state.session_start_us;
    return time_line(session_args(), elapsed / program_clock::us_per_second);
}

// The bar and the lines below it.
void draw_report(display_object *) {
    const screen_box bar = on_screen(layout.bar);
    toolkit::gl_outline_fill_box(bar, toolkit::colour_well, toolkit::colour_drawing);
    screen_box filled = toolkit::inside(bar, 1);
    filled.x = bar.x; // the outline's ends count
    filled.width = toolkit::clamp_16(filled_length(session_args(), bar.width));
    toolkit::gl_fill_box(filled, toolkit::colour_progress);
    draw_line(layout.time_line, time_text());
    std::string line = frame_line(session_args());
    line.pop_back(); // the line's end
    draw_line(layout.frame_line, line);
}

// --- laying out ----------------------------------------------------------------------------------

// Where the two lines and the bar are, in one box.
screen_box report_box() {
    screen_box box = layout.bar;
    box.height = toolkit::clamp_16(layout.bar.y + layout.bar.height - layout.time_line.y);
    box.y = layout.time_line.y;
    return box;
}

void place_parts() {
    place_part(window(), progress.picture.get(), layout.picture);
    place_part(window(), progress.report.get(), report_box());
    place_part(window(), progress.label.get(), layout.label);
    const bool is_beside = shown_controls == controls::cancel_and_paused;
    place_part(window(), progress.cancel.get(), is_beside ? layout.cancel : layout.wide_button);
    place_part(window(), progress.paused.get(), layout.paused);
}

// Takes over the size that the window has, if the user or the desktop has given it another one.
void follow_size() {
    const extent now = real_window_size(window());
    if (now.width < 1 || now == extent{window()->box.width, window()->box.height})
        return;
    toolkit::follow_iris_windows();
    window()->box.width = toolkit::clamp_16(now.width);
    window()->box.height = toolkit::clamp_16(now.height);
    layout = progress_layout_in(session_args(), now);
    place_parts();
}

// The window's draw handler. While a new frame alone has changed, what shows the frame is drawn; if
// the window has been moved or sized, all.
void draw_progress(demon *self, toolkit::object *sender, toolkit::demon_message *m) {
    const toolkit::screen_box before = self->box;
    toolkit::follow_iris_windows();
    follow_size();
    const bool is_same = before.x == self->box.x && before.y == self->box.y &&
                         before.width == self->box.width && before.height == self->box.height;
    if (!state.progress_redraw_only || !is_same) {
        toolkit::iris_demon_draw(self, sender, m);
        return;
    }
    toolkit::drawWidget(progress.picture.get());
    toolkit::drawWidget(progress.report.get());
}

// --- controls ------------------------------------------------------------------------------------

controls wanted_controls() {
    if (is_session_over(session_args()))
        return controls::ok_alone;
    return frames_done(session_args()) > 0 ? controls::cancel_and_paused : controls::cancel_alone;
}

// Returns whether they have changed.
bool update_controls() {
    const controls wanted = wanted_controls();
    if (wanted == shown_controls)
        return false;
    shown_controls = wanted;
    if (wanted == controls::cancel_and_paused)
        toolkit::addWidget(progress.paused.get(), window());
    else
        toolkit::deleteWidget(progress.paused.get());
    toolkit::setLabelWidget(progress.cancel.get(), wanted == controls::ok_alone ? "OK" : "Cancel");
    place_parts();
    return true;
}

void add_controls() {
    progress.cancel = refer_to_demon(
        toolkit::add_toggleswitch_menu(window(), 0, 0, 0, 0, "Cancel", {}, cancel_session, 0));
    progress.paused = refer_to_demon(toolkit::addToggleSwitch(
        window(), 0, 0, 0, 0, "Paused", 0,
        [](toolkit::word) {
            toolkit::widget_value now;
            toolkit::getWidgetValue(progress.paused.get(), &now);
            if (now.number == 0)
                resume_session(0);
            else if (pause_session(0); !is_session_paused())
                toolkit::updateWidgetValue(progress.paused.get(), 0); // nobody to be told
        },
        0));
    toolkit::deleteWidget(progress.paused.get());
}

bool open_window(const play_args &args) {
    toolkit::iris_window_demon *made = toolkit::create_iris_window_demon(
        nullptr, start_left, start_bottom, design_length(layout.window.width, toolkit::scale_x),
        design_length(layout.window.height, toolkit::scale_y),
        args.render != 0 ? "Render Tool" : "Preview Tool", nullptr, 0);
    progress.window = refer_to_demon(made);
    if (open_window_id(made) == toolkit::no_window)
        return false;
    made->on.draw = draw_progress;
    toolkit::setNoDestroyWindow(made, true); // its close box asks
    return true;
}

// By the number that events have.
bool is_progress_window(int gl_window) {
    const int wid = open_window_id(window());
    return gl_window > 0 && wid != toolkit::no_window && toolkit::gl_find_wid(gl_window) == wid;
}

void close_window(int which) {
    if (which == 0) { // the program as a whole is to end
        tell_session_end(parent_link);
        state.session_playback = false;
        quit_player(0);
    } else if (is_progress_window(which)) {
        close_session(0);
    } else {
        toolkit::gl_close_iris_wid(which);
    }
}

} // namespace

int build_progress_window(play_args &args) {
    if (args.width > 0 && args.height > 0) {
        const extent screen = screen_size();
        const extent fitted = fitted_session_picture({args.width, args.height}, screen);
        args.width = fitted.width;
        args.height = fitted.height;
    }
    layout = wanted_progress_layout(args, screen_size());
    shown_controls = controls::cancel_alone;
    if (!open_window(args)) {
        state.quit_requested = true;
        return -1;
    }
    progress.picture = refer_to_demon(add_part(window(), draw_picture));
    progress.report = refer_to_demon(add_part(window(), draw_report));
    progress.label = refer_to_demon(
        toolkit::addLabel(window(), 0, 0, 0, 0, format_movie_label(args),
                          toolkit::font_slot_normal_1, toolkit::label_place::middle));
    add_controls();
    place_parts();
    install_progress_view();
    toolkit::drawWidget(window());
    return 0;
}

bool update_progress_window() {
    if (window() == nullptr)
        return false;
    const bool has_other_controls = update_controls();
    state.progress_redraw_only = !has_other_controls;
    toolkit::drawWidget(window());
    state.progress_redraw_only = false;
    gl::flush_windows();
    return has_other_controls;
}

void install_window_view() {
    view = {};
    view.refresh = toolkit::gl_refresh;
    view.freeze = toolkit::gl_win_freeze;
    view.thaw = toolkit::gl_win_thaw;
    view.close = close_window;
}

void install_progress_view() {
    toolkit::aliasKeystroke('V', toolkit::alias_all, tell_version, 0);
    install_window_view();
}

void destroy_progress_window() {
    demon *open = window();
    if (open == nullptr)
        return;
    toolkit::remove_keystroke_alias('V', toolkit::alias_all, tell_version, 0);
    toolkit::setNoDestroyWindow(open, false);
    toolkit::destroyWidget(progress.paused.get()); // it may be in no window now
    toolkit::destroyWidget(open);
    progress = {};
}

} // namespace player
