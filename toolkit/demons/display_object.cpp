#include "toolkit/demons/display_object.h"

#include "toolkit/demons/boxes.h"
#include "toolkit/graphics/colours.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/spaces.h"
#include "toolkit/graphics/standard_colours.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/graphics/window_table.h"

#include <algorithm>
#include <limits>

namespace toolkit {

object_class *Display_Object_Class = nullptr;
object_set *Display_Object_Set = nullptr;

namespace {

constexpr int block_objects = 64; // objects in a block of Display_Object_Set
constexpr screen_box first_box = {0, 0, 10, 10};

bool is_visible(const display_object *self) {
    return (self->flags & flag_visible) != 0;
}

void run_routine(display_object *self, draw_routine routine) {
    if (!is_visible(self) || routine == nullptr)
        return;
    set_win_do(self);
    routine(self);
}

// The object's window, looked for on the screen when it is not known yet.
int find_window(display_object *self) {
    if (self->window == no_window)
        self->window = gl_get_win_pos(self->box.x, self->box.y);
    return self->window;
}

void turn_over(display_object *self, std::uint16_t state) {
    if (self->hilited == state)
        return;
    self->hilited = state;
    xor_box(self->box);
}

} // namespace

object_class *create_display_object_class() {
    object_class *made = derive_object_class(inq_object_class(), "display object class ");
    set_method<init_me>(made, msg_init);
    set_method<draw_me>(made, msg_draw);
    set_method<erase_me>(made, msg_erase);
    set_method<hilite_me>(made, msg_hilite);
    set_method<dehilite_me>(made, msg_dehilite);
    set_method<move_me>(made, msg_move);
    set_method<set_my_visibility>(made, msg_set_visibility);
    set_method<get_my_visibility>(made, msg_get_visibility);
    return keep_class_in(&Display_Object_Class, made);
}

object_class *inq_display_object_class() {
    return Display_Object_Class != nullptr ? Display_Object_Class : create_display_object_class();
}

display_object *create_display_object(object_set *set) {
    if (set == nullptr && Display_Object_Set == nullptr)
        keep_set_in(&Display_Object_Set,
                    create_set_of<display_object>(block_objects, 0, inq_display_object_class()));
    auto *made = create_object_of<display_object>(set != nullptr ? set : Display_Object_Set);
    if (made != nullptr)
        init_display_object(made);
    return made;
}

void init_display_object(display_object *self) {
    init_object(self);
    self->box = first_box;
    self->window = no_window;
    self->hilited = 0;
    self->colour = gl_inquire_bevel_button_block();
    init_me(self);
}

void init_me(display_object *self) {
    self->draw = draw_do;
    self->erase = erase_do;
    self->hilite = hilite_do;
    self->dehilite = dehilite_do;
}

void draw_me(display_object *self) {
    run_routine(self, self->draw);
}

void erase_me(display_object *self) {
    run_routine(self, self->erase);
}

void hilite_me(display_object *self) {
    run_routine(self, self->hilite);
}

void dehilite_me(display_object *self) {
    run_routine(self, self->dehilite);
}

void move_me(display_object *self, object *, const box_move *delta) {
    if (delta == nullptr)
        return;
    using limits = std::numeric_limits<std::int16_t>;
    const auto add = [](int place, int distance) {
        return static_cast<std::int16_t>(
            std::clamp<int>(place + distance, limits::min(), limits::max()));
    };
    self->box.x = add(self->box.x, delta->dx);
    self->box.y = add(self->box.y, delta->dy);
}

void set_my_visibility(display_object *self, object *, int value) {
    if (value == 0)
        self->flags &= static_cast<std::uint16_t>(~flag_visible);
    else
        self->flags |= flag_visible;
}

int get_my_visibility(const display_object *self) {
    return is_visible(self) ? toolkit_true : toolkit_false;
}

void set_win_do(display_object *self) {
    if (find_window(self) != gl_get_win())
        gl_set_win(self->window);
    else if (is_visible(self))
        gl_screenspace();
}

void win_set_do(display_object *self) {
    if (find_window(self) != gl_get_win())
        gl_win_set(self->window);
}

int map_color_d_o(const display_object *self, int place) {
    const int first = gl_get_color_map_index(nullptr, self->colour);
    return first < 0 ? first : first + place;
}

void set_color_d_o(const display_object *self, int place) {
    gl_set_draw_value(map_color_d_o(self, place));
}

void draw_do(display_object *self) {
    gl_draw_box(self->box);
}

void erase_do(display_object *self) {
    erase_box(self->box);
}

void hilite_do(display_object *self) {
    turn_over(self, is_hilited);
}

void dehilite_do(display_object *self) {
    turn_over(self, 0);
}

} // namespace toolkit
