// What the list of a file tool looks like.
#include "platform/fonts/utf8.h"
#include "toolkit/demons/box_text.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/text.h"
#include "toolkit/graphics/window_table.h"
#include "toolkit/widgets/file_list.h"

#include <algorithm>
#include <ctime>

namespace toolkit {

namespace {

constexpr int name_slot = font_slot_normal_1;
constexpr int column_slot = font_slot_small;
constexpr int column_gap = 10;
constexpr int least_name = 112; // pixels: columns make way for it
constexpr int icon_width = 13;
constexpr int icon_height = 10;
constexpr std::string_view ellipsis = "\xE2\x80\xA6";
constexpr std::size_t kept_end = 12; // bytes of a name that is cut: number and extension

// ---- columns

// Pixels; without width: left out.
struct columns {
    int size;
    int time;
};

columns columns_of(const screen_box &row) {
    columns found = {gl_inq_text_width(column_slot, "1000 MB") + column_gap,
                     gl_inq_text_width(column_slot, "30 Nov 00:00") + column_gap};
    if (row.width - found.size - found.time < least_name)
        found.time = 0;
    if (row.width - found.size < least_name)
        found.size = 0;
    return found;
}

// A text whose end is at x.
void draw_ending_at(int x, const screen_box &row, int slot, std::string_view text, look state) {
    const int y = row.y + (row.height - gl_inq_font_y_extent(slot)) / 2;
    draw_text(x - gl_inq_text_width(slot, text), y, slot, text, state);
}

// ---- icons

screen_box part(int x, int y, int width, int height) {
    return {clamp_16(x), clamp_16(y), clamp_16(width), clamp_16(height)};
}

void draw_folder(int x, int y, look state) {
    const int index = state == look::disabled ? colour_disabled_text : colour_light_gray;
    gl_fill_box(part(x, y, icon_width, icon_height - 2), index);
    gl_fill_box(part(x, y + icon_height - 2, icon_width / 2, 2), index);
    gl_fill_box(part(x + 1, y + icon_height - 4, icon_width - 2, 1), colour_gray);
}

void draw_sheet(int x, int y, look state) {
    constexpr int width = 9, height = 12, corner = 3;
    gl_set_draw_value(state == look::disabled ? colour_disabled_text : colour_gray);
    const int left = x + (icon_width - width) / 2, right = left + width - 1, top = y + height - 2;
    gl_draw_line(left, y - 1, right, y - 1);
    gl_draw_line(left, y - 1, left, top);
    gl_draw_line(left, top, right - corner, top);
    gl_draw_line(right, y - 1, right, top - corner);
    gl_draw_line(right - corner, top, right, top - corner);
    gl_draw_line(right - corner, top, right - corner, top - corner);
    gl_draw_line(right - corner, top - corner, right, top - corner);
}

// ---- rows

bool is_typed_at(const file_list *self) {
    return self->has_keyboard && are_keys_for(self);
}

int ground_of_row(const file_list *self, std::ptrdiff_t entry) {
    if (entry == self->selected)
        return is_typed_at(self) ? colour_accent_ground : colour_medium_gray;
    return entry == self->hovered ? hilited(colour_well) : colour_well;
}

look look_of_entry(const file_list *self, const directory_entry &entry, std::ptrdiff_t place) {
    if ((self->flags & flag_input) == 0 || entry.is_broken)
        return look::disabled;
    return place == self->selected ? look::hilited : look::normal;
}

void draw_name(const screen_box &row, int width, const directory_entry &entry, look state) {
    const int icon_y = row.y + (row.height - icon_height) / 2;
    (entry.is_folder ? draw_folder : draw_sheet)(row.x + text_margin, icon_y, state);
    const int indent = text_margin + icon_width + text_margin;
    const screen_box room = part(row.x + indent, row.y, std::max(width - indent, 0), row.height);
    set_clip_box(room);
    draw_text(room.x, row.y + (row.height - gl_inq_font_y_extent(name_slot)) / 2, name_slot,
              fit_name(name_slot, entry.name, room.width), state);
    reset_clip_box();
}

void draw_entry(const file_list *self, std::ptrdiff_t place) {
    const directory_entry &entry = files_of(self).entries[static_cast<std::size_t>(place)];
    const screen_box row = box_of_entry(self, place);
    const columns c = columns_of(row);
    const look state = look_of_entry(self, entry, place);
    gl_fill_box(row, ground_of_row(self, place));
    draw_name(row, row.width - c.size - c.time - text_margin, entry, state);
    const int right = row.x + row.width - text_margin;
    if (c.size > 0 && !entry.is_folder && !entry.is_broken)
        draw_ending_at(right - c.time, row, column_slot, size_text(entry.size), state);
    if (c.time > 0 && !entry.is_broken)
        draw_ending_at(right, row, column_slot, time_text(entry.changed, std::time(nullptr)),
                       state);
}

void draw_header(const file_list *self) {
    const screen_box rows = box_of_entry(self, self->top);
    screen_box header = inside(self->box, 1);
    header.y = clamp_16(rows.y + rows.height);
    header.height = clamp_16(self->box.y + self->box.height - 1 - header.y);
    gl_fill_box(header, colour_dark_gray);
    const look state = (self->flags & flag_input) != 0 ? look::normal : look::disabled;
    const columns c = columns_of(rows);
    draw_text_left_box(header, column_slot, "Name", state);
    const int right = rows.x + rows.width - text_margin;
    if (c.size > 0)
        draw_ending_at(right - c.time, header, column_slot, "Size", state);
    if (c.time > 0)
        draw_ending_at(right, header, column_slot, "Changed", state);
}

void draw_bar(const file_list *self) {
    const screen_box bar = bar_of(self);
    if (bar.width == 0)
        return;
    gl_fill_box(bar, colour_dark_gray);
    const bool takes_input = (self->flags & flag_input) != 0;
    const bool is_dragged = self->is_held && self->is_on_bar;
    paint_button(knob_of(self), !takes_input ? look::disabled
                                : is_dragged ? look::hilited
                                             : look::normal);
}

} // namespace

std::string fit_name(int slot, std::string_view name, int width) {
    if (gl_inq_text_width(slot, name) <= width)
        return std::string(name);
    std::size_t end = name.size() - std::min(kept_end, name.size() / 2);
    while (end < name.size() && fm::is_continuation(name[end]))
        ++end;
    const int room =
        width - gl_inq_text_width(slot, ellipsis) - gl_inq_text_width(slot, name.substr(end));
    if (room <= 0)
        return fit_text(slot, name, width);
    std::size_t fits = 0, over = end; // so many bytes do, and do not
    while (over - fits > 1) {
        const std::size_t middle = fits + (over - fits) / 2;
        (gl_inq_text_width(slot, name.substr(0, middle)) <= room ? fits : over) = middle;
    }
    while (fits > 0 && fm::is_continuation(name[fits]))
        --fits;
    while (fits > 0 && name[fits - 1] == ' ') // else a gap would stand before the dots
        --fits;
    return std::string(name.substr(0, fits)).append(ellipsis).append(name.substr(end));
}

void file_list_draw(display_object *d) {
    const auto *self = static_cast<const file_list *>(d);
    const bool takes_input = (self->flags & flag_input) != 0;
    gl_outline_fill_box(self->box, colour_well,
                        !takes_input        ? colour_dark_gray
                        : is_typed_at(self) ? colour_accent
                                            : colour_drawing);
    draw_header(self);
    for (std::ptrdiff_t i = self->top; is_entry_seen(self, i); ++i)
        draw_entry(self, i);
    draw_bar(self);
    if (!files_of(self).entries.empty())
        return;
    const std::string &extension = files_of(self).extension;
    screen_box row = box_of_entry(self, self->top);
    row.y = clamp_16(row.y - row.height);
    draw_text_box(row, name_slot, extension.empty() ? "Empty" : "No " + extension + " files",
                  look::disabled);
}

void redraw_entry(file_list *self, std::ptrdiff_t entry) {
    const bool is_shown =
        (self->flags & flag_visible) != 0 && self->window != no_window && getTarnBatchMode() == 0;
    if (!is_shown || !is_entry_seen(self, entry))
        return;
    set_win_do(self);
    draw_entry(self, entry);
}

} // namespace toolkit
