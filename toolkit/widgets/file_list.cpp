#include "toolkit/widgets/file_list.h"

#include "toolkit/demons/window_demons.h"

#include <algorithm>
#include <utility>

namespace toolkit {

object_class *File_List_Class = nullptr;

namespace {

constexpr int row_height = 18;
constexpr int header_height = 18;
constexpr int bar_width = 12;
constexpr int least_knob = 20;
constexpr int rows_per_notch = 3;

object_set *File_List_Set = nullptr;
const directory_list no_files;

file_list *own(demon *self) {
    return static_cast<file_list *>(self);
}

std::ptrdiff_t count_of(const file_list *self) {
    return static_cast<std::ptrdiff_t>(files_of(self).entries.size());
}

// What holds the rows and the bar.
screen_box rows_box(const file_list *self) {
    screen_box box = inside(self->box, 1);
    box.height = clamp_16(std::max(box.height - scale_y(header_height), 0));
    return box;
}

// ---- the keyboard

void set_list_keyboard_client(file_list *self, object *sender, demon *client) {
    const demon_ref kept = refer_to_demon(self);
    if (!is_iris_window_demon(sender) && demon_get_keyboard_client(self, self, 0) != client)
        demon_set_keyboard_client(self, self, client); // who had it is told of that
    if (kept.get() == nullptr)
        return;
    self->has_keyboard = client == self && demon_get_keyboard_client(self, self, 0) == self;
    redraw_control(self);
}

void set_list_visibility(file_list *self, object *sender, demon_message *m) {
    const demon_ref kept = refer_to_demon(self);
    demon_set_visibility(self, sender, m);
    if (kept.get() != nullptr && (self->flags & flag_visible) == 0 && self->has_keyboard)
        demon_keyboard_client_message(self, nullptr);
}

// ---- the pointer

void hover(file_list *self, std::ptrdiff_t entry) {
    const std::ptrdiff_t before = std::exchange(self->hovered, entry);
    if (before == entry)
        return;
    redraw_entry(self, before);
    redraw_entry(self, entry);
}

void list_loc_move(demon *d, object *sender, demon_message *m) {
    file_list *self = own(d);
    if (!self->is_held)
        hover(self, (self->flags & flag_input) != 0 ? entry_at(self, m->point) : no_entry);
    self->plain_move(self, sender, m);
}

void list_box_out(demon *d, object *sender, demon_message *m) {
    hover(own(d), no_entry);
    own(d)->plain_leave(d, sender, m);
}

// The bar's knob comes to where the pointer holds it.
void drag_knob(file_list *self, screen_point at) {
    const screen_box bar = bar_of(self), knob = knob_of(self);
    const std::ptrdiff_t travel = bar.height - knob.height;
    const std::ptrdiff_t from_top = bar.y + bar.height - 1 - at.y - self->grip;
    if (travel > 0)
        scroll_file_list(
            self, (std::clamp<std::ptrdiff_t>(from_top, 0, travel) * last_top(self) + travel / 2) /
                      travel);
}

void press_bar(file_list *self, screen_point at) {
    const screen_box knob = knob_of(self);
    self->is_on_bar = true;
    self->grip = in_box(knob, at) ? knob.y + knob.height - 1 - at.y : knob.height / 2;
    drag_knob(self, at);
    redraw_control(self);
}

void press_list(control *d, screen_point at) {
    file_list *self = own(d);
    self->is_on_bar = false;
    const demon_ref kept = refer_to_demon(self);
    demon_keyboard_client_message(self, self);
    if (kept.get() == nullptr)
        return;
    if (has_missed_release())
        let_go_control(self); // a question came between
    if (in_box(bar_of(self), at))
        press_bar(self, at);
    else if (const std::ptrdiff_t entry = entry_at(self, at); entry != no_entry)
        reveal_and_select(self, entry);
}

void drag_list(control *d, screen_point at) {
    file_list *self = own(d);
    self->is_double = false;
    const screen_box rows = rows_box(self);
    if (self->is_on_bar)
        drag_knob(self, at);
    else if (self->selected == no_entry)
        return;
    else if (at.y >= rows.y + rows.height)
        reveal_and_select(self, self->top - 1);
    else if (at.y < rows.y)
        reveal_and_select(self, self->top + rows_of(self));
    else if (const std::ptrdiff_t entry = entry_at(self, {clamp_16(rows.x), at.y});
             entry != no_entry && entry != self->selected)
        reveal_and_select(self, entry);
}

// The second press opens when it ends: the window may be gone then.
void list_double_click(demon *d, object *sender, demon_message *m) {
    file_list *self = own(d);
    const demon_ref kept = refer_to_demon(self);
    self->plain_press(self, sender, m);
    if (kept.get() != nullptr)
        self->is_double = self->is_held && entry_at(self, m->point) != no_entry;
}

void list_press(demon *d, object *sender, demon_message *m) {
    own(d)->is_double = false;
    own(d)->plain_press(d, sender, m);
}

void click_list(control *d) {
    file_list *self = own(d);
    if (std::exchange(self->is_double, false) && self->opened != nullptr)
        self->opened(self);
}

void step_list(control *d, int notches) {
    file_list *self = own(d);
    self->hovered = no_entry; // another one is under the pointer then
    scroll_file_list(self, self->top - std::ptrdiff_t{notches} * rows_per_notch);
}

constexpr control_kind list_kind = {.draw = file_list_draw,
                                    .pressed = press_list,
                                    .dragged = drag_list,
                                    .clicked = click_list,
                                    .stepped = step_list,
                                    .is_lit = false,
                                    .is_typed_in = true};

object_class *inq_file_list_class() {
    if (File_List_Class != nullptr)
        return File_List_Class;
    object_class *made = derive_object_class(inq_control_class(), "file list class ");
    if (made == nullptr)
        return nullptr;
    set_method<set_list_keyboard_client>(made, msg_set_keyboard_client);
    set_method<set_list_visibility>(made, msg_set_visibility);
    return keep_class_in(&File_List_Class, made);
}

} // namespace

// ---- making

file_list *add_file_list(demon *parent, const control_place &place, const directory_list *files) {
    if (File_List_Set == nullptr)
        keep_set_in(&File_List_Set,
                    create_set_of<file_list>(control_block, 1, inq_file_list_class()));
    auto *made = create_demon_of<file_list>(File_List_Set, place.width, place.height, nullptr);
    if (made == nullptr)
        return nullptr;
    made->files = files;
    made->selected = made->hovered = no_entry;
    set_up_control(made, parent, place, list_kind, nullptr, 0);
    made->plain_press = std::exchange(made->on.b1_down, list_press);
    made->plain_move = std::exchange(made->on.loc_move, list_loc_move);
    made->plain_leave = std::exchange(made->on.box_out, list_box_out);
    made->on.b1_double_click = list_double_click;
    return made;
}

const directory_list &files_of(const file_list *self) {
    return self->files != nullptr ? *self->files : no_files;
}

const directory_entry *selected_entry(const file_list *self) {
    const auto &entries = files_of(self).entries;
    const bool is_one = self->selected >= 0 && self->selected < count_of(self);
    return is_one ? &entries[static_cast<std::size_t>(self->selected)] : nullptr;
}

// ---- selecting and scrolling

void reset_file_list(file_list *self) {
    self->selected = self->hovered = no_entry;
    self->top = 0;
    self->is_double = false;
    redraw_control(self);
}

void scroll_file_list(file_list *self, std::ptrdiff_t top) {
    top = std::clamp<std::ptrdiff_t>(top, 0, last_top(self));
    if (std::exchange(self->top, top) != top)
        redraw_control(self);
}

void reveal_entry(file_list *self, std::ptrdiff_t entry) {
    if (entry < self->top)
        scroll_file_list(self, entry);
    else if (entry >= self->top + rows_of(self))
        scroll_file_list(self, entry - rows_of(self) + 1);
}

void reveal_and_select(file_list *self, std::ptrdiff_t entry) {
    if (count_of(self) == 0)
        return;
    entry = std::clamp<std::ptrdiff_t>(entry, 0, count_of(self) - 1);
    const std::ptrdiff_t before = std::exchange(self->selected, entry);
    reveal_entry(self, entry);
    if (before != entry) {
        redraw_entry(self, before);
        redraw_entry(self, entry);
    }
    if (self->selected_by_user != nullptr)
        self->selected_by_user(self);
}

// ---- where things are

std::ptrdiff_t rows_of(const file_list *self) {
    return std::max(rows_box(self).height / scale_y(row_height), 1);
}

std::ptrdiff_t last_top(const file_list *self) {
    return std::max<std::ptrdiff_t>(count_of(self) - rows_of(self), 0);
}

bool is_entry_seen(const file_list *self, std::ptrdiff_t entry) {
    return entry >= self->top && entry < self->top + rows_of(self) && entry >= 0 &&
           entry < count_of(self);
}

screen_box box_of_entry(const file_list *self, std::ptrdiff_t entry) {
    const screen_box rows = rows_box(self);
    const int height = scale_y(row_height);
    const int down = static_cast<int>(entry - self->top + 1) * height;
    return {rows.x, clamp_16(rows.y + rows.height - down),
            clamp_16(std::max(rows.width - bar_of(self).width, 0)), clamp_16(height)};
}

std::ptrdiff_t entry_at(const file_list *self, screen_point at) {
    const screen_box rows = rows_box(self);
    if (!in_box(rows, at) || in_box(bar_of(self), at))
        return no_entry;
    const std::ptrdiff_t entry =
        self->top + (rows.y + rows.height - 1 - at.y) / scale_y(row_height);
    return is_entry_seen(self, entry) ? entry : no_entry;
}

screen_box bar_of(const file_list *self) {
    const screen_box rows = rows_box(self);
    const int width = std::min<int>(bar_width, rows.width);
    if (last_top(self) == 0)
        return {};
    return {clamp_16(rows.x + rows.width - width), rows.y, clamp_16(width), rows.height};
}

screen_box knob_of(const file_list *self) {
    screen_box knob = bar_of(self);
    const std::ptrdiff_t last = last_top(self);
    if (last == 0)
        return {};
    const std::ptrdiff_t room = knob.height;
    const std::ptrdiff_t height =
        std::min(room, std::max<std::ptrdiff_t>(least_knob, room * rows_of(self) / count_of(self)));
    const std::ptrdiff_t down = (room - height) * std::min(self->top, last) / last;
    knob.y = clamp_16(static_cast<int>(knob.y + room - height - down));
    knob.height = clamp_16(static_cast<int>(height));
    return knob;
}

} // namespace toolkit
