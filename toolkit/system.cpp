#include "toolkit/system.h"

#include "platform/gl/screen.h"
#include "toolkit/demons/delivery.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/demons/generic_demons.h"
#include "toolkit/demons/window_demons.h"
#include "toolkit/events/event_input.h"
#include "toolkit/graphics/bitmaps.h"
#include "toolkit/graphics/colours.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/graphics/saved_rects.h"
#include "toolkit/graphics/spaces.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/graphics/window_table.h"
#include "toolkit/objects/callbacks.h"
#include "toolkit/objects/object_model.h"
#include "toolkit/widgets/widgets.h"

#include <algorithm>
#include <limits>

namespace toolkit {

namespace {

bool running = false;

// ---- what the window table and the input ask of the layers above them

screen_box box_of_owner(object *owner) {
    return static_cast<display_object *>(owner)->box;
}

void move_owner(object *owner, int dx, int dy) {
    const box_move delta = {static_cast<std::int16_t>(dx), static_cast<std::int16_t>(dy)};
    display_move_message(owner, delta);
}

void take_first_demon(object *owner) {
    if (inq_demon_god() == nullptr && is_demon(owner))
        set_demon_god(static_cast<demon *>(owner));
}

void install_calls() {
    set_window_hooks({.set_demon_god = take_first_demon,
                      .demon_box = box_of_owner,
                      .move_demon = move_owner,
                      .draw_demon = display_draw_message,
                      .gl_input_init = gl_input_init,
                      .is_Cypress = [] { return gl_is_Cypress; }});
    set_window_calls({gl_refresh, gl_win_freeze, gl_win_thaw, gl_close_iris_wid});
    set_dispatch_hooks({.getGraphics = getGraphics, .system_terminate = system_terminate});
    set_callback_graphics([](word, callback *) { putGraphics(); },
                          []() -> word {
                              getGraphics();
                              return 0;
                          });
}

void device_init() {
    static_cast<void>(gl::getgdesc(gl::GD_XPMAX)); // the first question connects
    gl_init_font_table();
    gl_init_bitmap_table();
}

// Where the pointer is depends on where the windows are.
void track_pointer(demon *self, object *sender, demon_message *m) {
    const delivery here(self);
    follow_iris_windows();
    if (here.self() != nullptr)
        demon_loc_move(self, sender, m);
}

// The root of all demons: as large as the screen, of no window, never seen itself.
void create_demon_god() {
    generic_demon *god = create_generic_demon(nullptr, 0, 0, nullptr);
    if (god == nullptr)
        return;
    int width = 0, height = 0;
    gl_inq_screen_size(&width, &height);
    constexpr int largest = std::numeric_limits<std::int16_t>::max();
    god->box = {0, 0, static_cast<std::int16_t>(std::min(width, largest)),
                static_cast<std::int16_t>(std::min(height, largest))};
    god->draw = god->erase = god->hilite = god->dehilite = nullptr;
    god->on.loc_move = track_pointer;
    god->on.keystroke = pass_key_to_window;
    demon_visibility_message(god, true); // what it adopts has this from it
    demon_enable_input_message(god, true);
    set_demon_god(god);
}

// The demons go while their windows, pictures and callbacks are there to be used.
void destroy_demons() {
    destroy_all_iris_windows();
    demon_destroy_message(inq_demon_god());
    set_demon_god(nullptr);
}

} // namespace

void system_init() {
    if (running)
        return;
    running = true;
    device_init();
    install_calls();
    create_demon_god();
}

void system_terminate() {
    if (!running)
        return;
    running = false;
    quit_dispatch();
    destroy_demons();
    terminate_objects();
    gl_free_window_table();
    gl_delete_all_rects();
    gl_free_color_maps();
    gl_free_bitmap_table();
    gl_free_font_table();
    forget_graphics();
    set_window_calls({});
    gl::gexit();
}

} // namespace toolkit
