#include "toolkit/graphics/window_table.h"

#include "platform/gl/drawing.h"
#include "platform/gl/input.h"
#include "platform/gl/screen.h"
#include "platform/gl/windows.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/cursors.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/run_modes.h"
#include "toolkit/graphics/spaces.h"
#include "toolkit/graphics/standard_colours.h"
#include "toolkit/graphics/window_calls.h"

#include <algorithm>

namespace toolkit {

std::vector<std::unique_ptr<window_record>> wid_list;
std::int32_t num_wids = 0;
std::int32_t curr_wid = no_window;

namespace {

constexpr std::size_t first_room = 10;
constexpr const char *exit_question = "Do you want to exit? ";
constexpr int yes = toolkit_true;

struct table_state {
    window_hooks hooks;
    quit_function quit = nullptr;
    word quit_argument = 0;
    bool input_started = false;
};
table_state state;

// The owner; null for one that was deleted, which has no say any more.
object *owner_of(const window_record &r) {
    return referred(r.owner);
}

// The record of the window that belongs to demon, or null.
window_record *find_record(const object *demon) {
    for (const auto &r : wid_list)
        if (demon != nullptr && owner_of(*r) == demon)
            return r.get();
    return nullptr;
}

void give_to(window_record &r, object *demon) {
    r.demon = demon;
    r.owner = refer_to(demon);
}

// Who hears of the move may do anything. Returns whether the demon is still there.
bool bring_onto_screen(object *demon) {
    const object_ref kept = refer_to(demon);
    gl_check_demon_extent(demon);
    return referred(kept) != nullptr;
}

// Opens a GL window at the demon's box; -1 when there is none to be had.
int open_gl_window(const char *title, object *demon) {
    if (state.hooks.demon_box != nullptr) {
        const screen_box b = state.hooks.demon_box(demon);
        gl::prefposition(b.x, b.x + std::max<int>(b.width, 1) - 1, b.y,
                         b.y + std::max<int>(b.height, 1) - 1);
    }
    if (title == nullptr)
        gl::noborder();
    return gl::winopen(title);
}

// Takes the first free record, or a new one.
int enter_window(int gl_window, object *demon) {
    int wid = 0;
    while (wid < num_wids && wid_list[static_cast<std::size_t>(wid)]->demon != nullptr)
        wid++;
    if (wid == num_wids) {
        wid_list.reserve(first_room);
        wid_list.push_back(std::make_unique<window_record>());
        num_wids++;
    }
    window_record &r = *wid_list[static_cast<std::size_t>(wid)];
    if (r.gl_window != no_window)
        gl::winclose(r.gl_window); // its demon was taken away, and nobody closed it
    r = {};
    r.gl_window = gl_window;
    give_to(r, demon);
    gl_set_window_color_map(wid, nullptr);
    return wid;
}

// The GL window that was just opened, as every toolkit window begins. The modes asked for before
// come into force here.
void prepare_window() {
    gl::overlay(gl::overlay_planes);
    gl::gconfig();
    gl::drawmode(gl::OVERDRAW);
    gl::color(overlay_clear);
    gl::clear();
    gl::drawmode(gl::NORMALDRAW);
    gl_set_draw_value(colour_background);
    gl::clear();
    gl_screenspace();
}

void move_cursor_to_corner(int gl_window) {
    gl::winset(gl_window);
    int x = 0, y = 0, width = 0, height = 0;
    gl::getorigin(&x, &y);
    gl::getsize(&width, &height);
    const bool left = state.hooks.is_Cypress != nullptr && state.hooks.is_Cypress();
    gl::setvaluator(gl::MOUSEX, left ? x : x + width - 1, 0, gl::getgdesc(gl::GD_XPMAX) - 1);
    gl::setvaluator(gl::MOUSEY, y + height - 1, 0, gl::getgdesc(gl::GD_YPMAX) - 1);
}

// Whether the user lets the program end.
bool ask_to_exit() {
    if (state.quit != nullptr)
        return state.quit(state.quit_argument) != quit_refused;
    return state.hooks.ask_yes_no != nullptr && state.hooks.ask_yes_no(exit_question) == yes;
}

// Whether a window may be closed. Asking may run a loop in which anything happens.
bool may_close(int wid) {
    const window_record *r = gl_get_window_record(wid);
    const object *owner = owner_of(*r);
    if (owner == nullptr)
        return true;
    if ((owner->flags & flag_stays_open) != 0)
        return false;
    if ((owner->flags & flag_ends_program) == 0)
        return true;
    const int gl_window = r->gl_window;
    const int before = curr_wid;
    move_cursor_to_corner(gl_window);
    gl_win_set(before);
    if (!ask_to_exit())
        return false;
    r = gl_get_window_record(wid);
    return r != nullptr && r->gl_window == gl_window; // else somebody closed it meanwhile
}

} // namespace

window_record *gl_get_window_record(int wid) {
    return wid >= 0 && wid < num_wids ? wid_list[static_cast<std::size_t>(wid)].get() : nullptr;
}

int gl_find_wid(int gl_window) {
    if (gl_window == no_window)
        return no_window;
    const auto at = std::find_if(wid_list.begin(), wid_list.end(),
                                 [gl_window](const auto &r) { return r->gl_window == gl_window; });
    return at == wid_list.end() ? no_window : static_cast<int>(at - wid_list.begin());
}

void set_window_hooks(const window_hooks &hooks) {
    state.hooks = hooks;
}

void set_window_question(int (*ask_yes_no)(const char *question)) {
    state.hooks.ask_yes_no = ask_yes_no;
}

void draw_window_demon(const window_record &record) {
    object *owner = owner_of(record);
    if (owner != nullptr && state.hooks.draw_demon != nullptr)
        state.hooks.draw_demon(owner);
}

void set_quit_function(quit_function function, word argument) {
    state.quit = function;
    state.quit_argument = argument;
}

int gl_win_open(const char *title, object *demon) {
    if (demon == nullptr)
        return no_window;
    if (num_wids == 0) {
        if (state.hooks.set_demon_god != nullptr)
            state.hooks.set_demon_god(demon);
        if (debug_tarn != 0)
            gl::foreground();
    }
    if (getTarnBatchMode() != 0)
        return batch_mode_window;
    if (!bring_onto_screen(demon))
        return no_window;
    const int gl_window = open_gl_window(title, demon);
    if (gl_window < 0)
        return no_window;
    const int wid = enter_window(gl_window, demon);
    curr_wid = wid;
    gl::RGBmode();
    gl_init_colors();
    gl_init_cursors();
    prepare_window();
    gl_set_cursor(cursor_crossed);
    if (!state.input_started && state.hooks.gl_input_init != nullptr) {
        state.input_started = true;
        state.hooks.gl_input_init();
    }
    return wid;
}

void gl_new_win(const char *title, object *demon) {
    if (find_record(demon) == nullptr || !bring_onto_screen(demon))
        return;
    window_record *found = find_record(demon);
    if (found == nullptr)
        return;
    window_record &r = *found;
    if (found == gl_get_window_record(curr_wid))
        curr_wid = no_window;
    if (r.gl_window != no_window)
        gl::winclose(r.gl_window);
    r.flags = static_cast<std::int16_t>(r.flags & ~(window_frozen | window_missed_refresh));
    r.gl_window = no_window;
    const int gl_window = open_gl_window(title, demon);
    if (gl_window < 0)
        return;
    r.gl_window = gl_window;
    if (r.color_map_mode == 0)
        gl::RGBmode();
    else
        gl::cmode();
    prepare_window();
    gl_win_set(curr_wid);
}

void gl_win_close(int wid) {
    window_record *r = gl_get_window_record(wid);
    if (r == nullptr || r->gl_window == no_window || !may_close(wid))
        return;
    gl::winset(r->gl_window);
    curr_wid = no_window;
    gl::winclose(r->gl_window);
    object *owner = owner_of(*r);
    *r = {};
    gl_set_window_color_map(wid, nullptr);
    if (owner != nullptr)
        object_destroy_message(owner); // may use the record again: it is not touched any more
}

void gl_check_demon_extent(object *demon) {
    if (state.hooks.demon_box == nullptr || state.hooks.move_demon == nullptr)
        return;
    const screen_box b = state.hooks.demon_box(demon);
    const int right_excess = b.x + b.width - gl::getgdesc(gl::GD_XPMAX);
    const int top_excess = b.y + b.height - gl::getgdesc(gl::GD_YPMAX);
    int dx = -std::max(right_excess, 0);
    dx = std::max(dx, -b.x); // the left edge comes last, so that it is seen in any case
    int dy = std::max(-b.y, 0);
    dy = std::min(dy, -top_excess); // and the top edge
    if (dx != 0 || dy != 0)
        state.hooks.move_demon(demon, dx, dy);
}

void gl_set_wid_demon(int wid, object *demon) {
    if (window_record *r = gl_get_window_record(wid))
        give_to(*r, demon);
}

object *gl_get_wid_demon(int wid) {
    const window_record *r = gl_get_window_record(wid);
    return r == nullptr ? nullptr : owner_of(*r);
}

void gl_free_window_table() {
    wid_list.clear();
    num_wids = 0;
    curr_wid = no_window;
    state = {};
    gl_forget_cursors();
}

} // namespace toolkit
