// How a file tool comes to its file: what is typed and selected, what is refused, what is asked.
#include "toolkit/widgets/directory_demon_parts.h"
#include "toolkit/widgets/file_checks.h"

#include <unistd.h>

namespace toolkit {

namespace {

bool is_writable(const std::string &path, file_kind kind) {
    if (kind == file_kind::none)
        return may_access(parent_folder(path), W_OK | X_OK);
    return kind == file_kind::plain && may_access(path, W_OK);
}

void tell_not_writable(std::string_view path) {
    show_field_message((std::string(path) + " is not writable. ").c_str());
}

// Returns whether a file that is there is to be overwritten, or there is none. The tool may be gone
// then.
bool may_overwrite(const directory_demon *self, const std::string &path, file_kind kind) {
    const std::string &question = self->contents->question;
    return kind == file_kind::none || question.empty() ||
           ask_field_question((question + " " + path).c_str());
}

// The last steps: the value, the window, the callbacks.
void accept_file(directory_demon *self, const std::string &path) {
    self->contents->accepted = path;
    const demon_ref kept = refer_to_demon(self);
    close_tool(self);
    if (kept.get() != nullptr)
        call_callbacks(self);
}

void save_as(directory_demon *self, const std::string &path) {
    const file_kind kind = kind_of_file(path);
    if (!is_writable(path, kind)) {
        tell_not_writable(path);
        return;
    }
    const demon_ref kept = refer_to_demon(self);
    const bool is_wanted = may_overwrite(self, path, kind);
    if (kept.get() != nullptr && is_wanted)
        accept_file(self, path);
}

// A file that is not readable may be so because its folder is gone.
void open_file(directory_demon *self, const std::string &path) {
    if (is_readable_file(path)) {
        accept_file(self, path);
        return;
    }
    if (!is_folder(self->contents->files.path))
        reread_directory(self);
    tell_not_readable(path);
}

// Folders are gone to; the extension need not be typed.
void accept_typed(directory_demon *self, std::string_view text) {
    const directory_list &files = self->contents->files;
    const std::string path = resolve_path(files.path, text);
    const std::string full = with_extension(path, files.extension);
    if (is_folder(path))
        static_cast<void>(go_to_directory(self, path));
    else if (self->is_saving)
        save_as(self, full);
    else
        open_file(self,
                  kind_of_file(path) == file_kind::none && is_readable_file(full) ? full : path);
}

std::string path_of_selected(const directory_demon *self) {
    const directory_entry *entry = selected_entry(self->list);
    return entry != nullptr ? join_path(self->contents->files.path, entry->name) : std::string();
}

bool is_folder_selected(const directory_demon *self) {
    const directory_entry *entry = selected_entry(self->list);
    return entry != nullptr && entry->is_folder;
}

} // namespace

void tell_not_readable(std::string_view path) {
    show_field_message((std::string(path) + " is not readable. ").c_str());
}

void call_callbacks(directory_demon *self) {
    const demon_ref kept = refer_to_demon(self);
    if (self->callback != nullptr)
        self->callback(self->argument);
    if (kept.get() != nullptr && self->extra_callback != nullptr)
        self->extra_callback(self->extra_argument);
}

void close_tool(directory_demon *self) {
    demon_push_message(getTopWidget(self));
}

void accept_on_select(directory_demon *self) {
    const std::string path = path_of_selected(self);
    if (path.empty() || is_folder_selected(self))
        return;
    if (self->is_saving)
        save_as(self, path);
    else
        open_file(self, path);
}

// Names that a field can not hold, as those with control characters, are taken from the list. A name
// that has led to a folder has done its work.
void accept_name(directory_demon *self) {
    const std::string text(text_of(self->name_field->line));
    if (text.empty())
        return;
    if (text == self->contents->offered && selected_entry(self->list) != nullptr &&
        !is_folder_selected(self)) {
        accept_on_select(self);
        return;
    }
    const std::string path = resolve_path(self->contents->files.path, text);
    if (!is_folder(path)) {
        accept_typed(self, text);
        return;
    }
    const demon_ref kept = refer_to_demon(self);
    if (go_to_directory(self, path) != 0 || kept.get() == nullptr)
        return;
    edit_string_demon_set_string(self->name_field, "");
    if (self->is_saving)
        give_keyboard(self->name_field);
}

// A path that stands there as it was need not fit into the field.
void accept_path(directory_demon *self) {
    const std::string text(text_of(self->path_field->line));
    edit_string_demon_set_string(self->path_field, self->contents->files.path);
    if (!text.empty() && text != edit_string_demon_string(self->path_field))
        accept_typed(self, text);
}

void open_selected(directory_demon *self) {
    if (is_folder_selected(self))
        static_cast<void>(go_to_directory(self, path_of_selected(self)));
    else if (selected_entry(self->list) == nullptr)
        accept_name(self);
    else if (self->accept_on_select != nullptr)
        self->accept_on_select(self);
}

void press_accept(directory_demon *self) {
    const bool is_name_there = self->name_field->line.length > 0;
    if (is_folder_selected(self) && !is_name_there)
        open_selected(self);
    else
        accept_name(self);
}

} // namespace toolkit
