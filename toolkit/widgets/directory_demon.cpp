#include "toolkit/widgets/directory_demon.h"

#include "toolkit/demons/box_text.h"
#include "toolkit/demons/delivery.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/text.h"
#include "toolkit/objects/record_pool.h"
#include "toolkit/widgets/controls.h"
#include "toolkit/widgets/directory_demon_parts.h"
#include "toolkit/widgets/fields.h"

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>
#include <utility>

namespace toolkit {

object_class *Directory_Demon_Class = nullptr;
object_set *Directory_Demon_Set = nullptr;

namespace {

constexpr std::size_t tools_per_chunk = 4;
record_pool<directory_contents, tools_per_chunk> contents_pool;

// Where the parts are: pixels of the design's screen.
constexpr int margin = 8;
constexpr int gap = 6;
constexpr int title_height = 20;
constexpr int field_height = 24;
constexpr int button_height = 26;
constexpr int answer_width = 62; // of the buttons for accepting and cancelling
constexpr int hidden_width = 84;
constexpr int glyph_width = 26;
constexpr int name_y = margin + button_height + gap;
constexpr int list_y = name_y + field_height + gap;

directory_demon *own(demon *self) {
    return static_cast<directory_demon *>(self);
}

directory_demon *tool_of(word argument) {
    return from_word<directory_demon *>(argument);
}

// ---- folders

// The folder's time of change. Returns whether there is such a folder.
bool inq_change(const std::string &path, std::int64_t *seconds, std::int64_t *nanoseconds) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        return false;
    *seconds = status.st_mtim.tv_sec;
    *nanoseconds = status.st_mtim.tv_nsec;
    return true;
}

// The time is asked for before the folder is read, so that no change is missed.
int read_folder(directory_contents *contents, std::string_view path) {
    std::string fault;
    const std::string full = resolve_path(contents->files.path, path);
    std::int64_t seconds = 0, nanoseconds = 0;
    if (!inq_change(full, &seconds, &nanoseconds) ||
        read_directory(full, contents->files, &fault) != 0)
        return -1;
    contents->changed_s = seconds;
    contents->changed_ns = nanoseconds;
    return 0;
}

void read_nearest_folder(directory_contents *contents) {
    std::string path = contents->files.path;
    while (read_folder(contents, path) != 0) {
        if (path == "/") {
            contents->files.path = path;
            contents->files.entries.clear();
            return;
        }
        path = parent_folder(path);
    }
}

std::ptrdiff_t find_name(const directory_list &files, std::string_view name) {
    const auto found = std::find_if(files.entries.begin(), files.entries.end(),
                                    [&](const directory_entry &e) { return e.name == name; });
    return found == files.entries.end() ? no_entry : found - files.entries.begin();
}

// ---- drawing

std::string count_text(const directory_contents *contents) {
    const std::size_t count = contents->files.entries.size();
    return std::to_string(count) + (count == 1 ? " item" : " items");
}

void draw_title(const directory_demon *self) {
    const bool takes_input = (self->flags & flag_input) != 0;
    screen_box line = inside(self->box, scale_x(margin));
    line.y = clamp_16(self->box.y + self->box.height - scale_y(margin + title_height) + 2);
    line.height = clamp_16(scale_y(title_height));
    gl_fill_box(line, colour_face);
    const std::string count = count_text(self->contents);
    const int count_x = line.x + line.width - gl_inq_text_width(font_slot_small, count);
    draw_text(count_x, line.y + (line.height - gl_inq_font_y_extent(font_slot_small)) / 2,
              font_slot_small, count, look::disabled);
    line.width = clamp_16(std::max(count_x - line.x, 0));
    line.x = clamp_16(line.x - text_margin);
    draw_text_left_box(line, font_slot_bold, self->contents->title,
                       takes_input ? look::normal : look::disabled);
}

void draw_directory_demon(display_object *d) {
    const auto *self = static_cast<const directory_demon *>(d);
    gl_outline_fill_box(self->box, colour_face, colour_drawing);
    draw_title(self);
}

// The fields and the list say what is in the contents.
void show_folder(directory_demon *self) {
    self->contents->typed.clear();
    self->contents->offered.clear();
    edit_string_demon_set_string(self->path_field, self->contents->files.path);
    reset_file_list(self->list);
    if ((self->flags & flag_visible) == 0 || self->window == no_window || getTarnBatchMode() != 0)
        return;
    set_win_do(self);
    draw_title(self);
}

// ---- what the parts do

// The selected file's name goes to where names are typed; to save in a folder, a name stays.
void show_selected(file_list *list) {
    directory_demon *self = as_directory_demon(list->parent.get());
    const directory_entry *entry = self != nullptr ? selected_entry(list) : nullptr;
    if (entry == nullptr || (entry->is_folder && self->is_saving))
        return;
    edit_string_demon_set_string(self->name_field, entry->is_folder ? "" : entry->name);
    self->contents->offered = edit_string_demon_string(self->name_field);
}

void open_from_list(file_list *list) {
    if (directory_demon *self = as_directory_demon(list->parent.get()))
        open_selected(self);
}

// The list has the keyboard again, which the press has taken. Returns the tool, if it is there yet.
directory_demon *type_at_list(word argument) {
    const demon_ref kept = refer_to_demon(tool_of(argument));
    give_keyboard(tool_of(argument)->list);
    return as_directory_demon(kept.get());
}

void press_up(word argument) {
    if (directory_demon *self = type_at_list(argument))
        go_to_parent(self);
}

void press_home(word argument) {
    if (directory_demon *self = type_at_list(argument))
        static_cast<void>(go_to_directory(self, home_folder()));
}

void press_hidden(word argument) {
    directory_list &files = tool_of(argument)->contents->files;
    files.with_hidden = !files.with_hidden;
    if (directory_demon *self = type_at_list(argument))
        reread_directory(self);
}

void press_accept_button(word argument) {
    press_accept(tool_of(argument));
}

void press_cancel(word argument) {
    close_tool(tool_of(argument));
}

edit_string_demon *add_field(directory_demon *self, const control_place &place, const char *label) {
    auto *made = static_cast<edit_string_demon *>(
        addStringWidget(self, place.x, place.y, place.width, place.height, label, "", nullptr, 0));
    if (made != nullptr)
        made->on.keystroke = field_keystroke;
    return made;
}

// Returns whether all that is needed is there.
bool add_parts(directory_demon *self, int width, int height) {
    const int inner = width - 2 * margin;
    const int path_y = height - margin - title_height - gap + 4 - field_height;
    const int home_x = width - margin - glyph_width;
    const int up_x = home_x - 2 - glyph_width;
    const word tool = to_word(self);
    self->list =
        add_file_list(self, {margin, list_y, inner, path_y - gap - list_y}, &self->contents->files);
    self->path_field = add_field(self, {margin, path_y, up_x - 4 - margin, field_height}, "");
    add_up_button(self, {up_x, path_y - 1, glyph_width, button_height}, press_up);
    add_home_button(self, {home_x, path_y - 1, glyph_width, button_height}, press_home);
    self->name_field = add_field(self, {margin, name_y, inner, field_height}, "Name");
    const int accept_x = width - margin - answer_width;
    const int cancel_x = accept_x - gap - answer_width;
    static_cast<void>(addToggleSwitch(self, margin, margin, hidden_width, button_height, "Hidden",
                                      0, press_hidden, tool));
    static_cast<void>(addButton(self, cancel_x, margin, answer_width, button_height, "Cancel",
                                press_cancel, tool));
    static_cast<void>(addButton(self, accept_x, margin, answer_width, button_height,
                                self->is_saving ? "Save" : "Open", press_accept_button, tool));
    if (self->list == nullptr || self->path_field == nullptr || self->name_field == nullptr)
        return false;
    self->path_field->shows_end = true;
    self->path_field->on_leave = on_leave_revert;
    self->list->selected_by_user = show_selected;
    self->list->opened = open_from_list;
    self->list->on.keystroke = list_keystroke;
    return true;
}

// ---- values

const widget_value *given_value(word value) {
    return from_word<const widget_value *>(value);
}

// Returns whether the value is another one.
bool take_path(directory_demon *self, std::string_view text) {
    if (text.empty())
        return false;
    directory_contents *contents = self->contents;
    std::string path = resolve_path(contents->files.path, text);
    std::int64_t ignored = 0;
    const bool is_folder = inq_change(path, &ignored, &ignored);
    contents->files.path = is_folder ? path : parent_folder(path);
    read_nearest_folder(contents);
    show_folder(self);
    if (is_folder)
        return false;
    edit_string_demon_set_string(self->name_field, path.substr(path.rfind('/') + 1));
    if (const std::ptrdiff_t entry = find_name(contents->files, path.substr(path.rfind('/') + 1));
        entry != no_entry)
        reveal_and_select(self->list, entry);
    const bool is_other = contents->accepted != path;
    contents->accepted = std::move(path);
    return is_other;
}

word set_path(demon *self, object *, word value) {
    if (given_value(value) != nullptr && take_path(own(self), given_value(value)->text))
        call_callbacks(own(self));
    return 0;
}

word update_path(demon *self, object *, word value) {
    if (given_value(value) != nullptr)
        take_path(own(self), given_value(value)->text);
    return 0;
}

word get_path(demon *self, object *, word value) {
    if (auto *result = from_word<widget_value *>(value)) {
        result->number = 0;
        result->text = own(self)->contents->accepted;
    }
    return 0;
}

// ---- handlers and methods

void come_up(directory_demon *self) {
    reread_directory(self);
    give_keyboard(self->is_saving ? static_cast<demon *>(self->name_field) : self->list);
}

void set_tool_visibility(directory_demon *self, object *sender, demon_message *m) {
    const demon_ref kept = refer_to_demon(self);
    const bool was_visible = (self->flags & flag_visible) != 0;
    demon_set_visibility(self, sender, m);
    if (kept.get() != nullptr && !was_visible && (self->flags & flag_visible) != 0)
        come_up(self);
}

// Time has passed since the pointer was here: others have worked in the folder.
void enter_tool(demon *d, object *sender, demon_message *m) {
    directory_demon *self = own(d);
    const demon_ref kept = refer_to_demon(self);
    tell_box_in(self);
    if (kept.get() != nullptr)
        demon_box_in(self, sender, m);
    if (kept.get() == nullptr || (self->flags & flag_input) == 0)
        return;
    const directory_contents *contents = self->contents;
    std::int64_t seconds = 0, nanoseconds = 0;
    const std::string path = contents->files.path;
    const bool is_there = inq_change(path, &seconds, &nanoseconds);
    if (is_there && seconds == contents->changed_s && nanoseconds == contents->changed_ns)
        return;
    reread_directory(self);
    if (!is_there && kept.get() != nullptr)
        tell_not_readable(path);
}

void leave_tool(demon *self, object *sender, demon_message *m) {
    const demon_ref kept = refer_to_demon(self);
    tell_box_out(self);
    if (kept.get() != nullptr)
        demon_box_out(self, sender, m);
}

// Keys that nobody in the window asks for.
void tool_keystroke(demon *d, object *sender, demon_message *m) {
    list_keystroke(own(d)->list, sender, m);
}

void release_tool(object *gone) {
    auto *self = static_cast<directory_demon *>(gone);
    contents_pool.give_back(std::exchange(self->contents, nullptr));
    forget_demon(gone);
}

std::string text_or_empty(const char *text) {
    return text != nullptr ? text : "";
}

void set_up_contents(directory_contents *contents, const file_tool_settings &settings) {
    contents->title = text_or_empty(settings.title);
    contents->question = text_or_empty(settings.overwrite_question);
    contents->files.extension = text_or_empty(settings.pattern);
    std::error_code ignored;
    contents->files.path = resolve_path(std::filesystem::current_path(ignored).string(),
                                        text_or_empty(settings.directory));
}

void set_up_tool(directory_demon *self, const file_tool_settings &settings) {
    self->draw = draw_directory_demon;
    self->erase = self->hilite = self->dehilite = nullptr;
    self->on.box_in = enter_tool;
    self->on.box_out = leave_tool;
    self->on.keystroke = tool_keystroke;
    self->on.set_value = set_path;
    self->on.update_value = update_path;
    self->on.get_value = get_path;
    self->accept_on_select = accept_on_select;
    self->is_saving = settings.is_saving;
    self->mode = settings.mode;
    self->callback = settings.callback;
    self->argument = settings.argument;
    self->extra_callback = settings.extra_callback;
    self->extra_argument = settings.extra_argument;
}

} // namespace

// ---- making

object_class *create_directory_demon_class() {
    object_class *made = derive_object_class(inq_generic_demon_class(), "directory demon class ");
    if (made == nullptr)
        return nullptr;
    made->released = release_tool;
    set_method<set_tool_visibility>(made, msg_set_visibility);
    return keep_class_in(&Directory_Demon_Class, made);
}

object_class *inq_directory_demon_class() {
    return Directory_Demon_Class != nullptr ? Directory_Demon_Class
                                            : create_directory_demon_class();
}

directory_demon *create_directory_demon(object_set *set, const file_tool_settings &settings) {
    const graphics_bracket bracket;
    if (set == nullptr && Directory_Demon_Set == nullptr)
        keep_set_in(&Directory_Demon_Set, create_set_of<directory_demon>(
                                              tools_per_chunk, 1, inq_directory_demon_class()));
    auto *made = create_demon_of<directory_demon>(set != nullptr ? set : Directory_Demon_Set,
                                                  settings.width, settings.height, nullptr);
    if (made == nullptr)
        return nullptr;
    made->contents = contents_pool.take();
    if (made->contents != nullptr) {
        set_up_tool(made, settings);
        set_up_contents(made->contents, settings);
        if (add_parts(made, settings.width, settings.height))
            return made;
    }
    demon_destroy_message(made);
    return nullptr;
}

directory_demon *as_directory_demon(demon *widget) {
    const bool is_one =
        widget != nullptr && is_class_derived(widget->class_, Directory_Demon_Class);
    return is_one ? own(widget) : nullptr;
}

// ---- folders

std::string_view inq_directory(const directory_demon *self) {
    return self->contents->files.path;
}

int go_to_directory(directory_demon *self, std::string_view path) {
    directory_contents *contents = self->contents;
    const std::string before = contents->files.path;
    const std::string wanted = resolve_path(before, path);
    if (read_folder(contents, wanted) != 0) {
        std::int64_t ignored = 0;
        if (!inq_change(before, &ignored, &ignored))
            reread_directory(self);
        edit_string_demon_set_string(self->path_field, contents->files.path);
        tell_not_readable(wanted);
        return -1;
    }
    show_folder(self);
    if (parent_folder(before) == contents->files.path)
        if (const std::ptrdiff_t from =
                find_name(contents->files, before.substr(before.rfind('/') + 1));
            from != no_entry)
            reveal_and_select(self->list, from);
    return 0;
}

void go_to_parent(directory_demon *self) {
    const std::string path = self->contents->files.path;
    if (path != "/")
        static_cast<void>(go_to_directory(self, parent_folder(path)));
}

void reread_directory(directory_demon *self) {
    directory_contents *contents = self->contents;
    const directory_entry *selected = selected_entry(self->list);
    const std::string name = selected != nullptr ? selected->name : "";
    const std::string path = contents->files.path, offered = contents->offered;
    const std::ptrdiff_t top = self->list->top;
    read_nearest_folder(contents);
    show_folder(self);
    if (contents->files.path != path)
        return;
    contents->offered = offered;
    self->list->selected = find_name(contents->files, name);
    self->list->top = std::min(top, last_top(self->list));
    redraw_control(self->list);
}

} // namespace toolkit
