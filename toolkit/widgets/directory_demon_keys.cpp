// What keys do in a file tool.
#include "platform/clock/program_clock.h"
#include "platform/fonts/utf8.h"
#include "toolkit/events/event_input.h"
#include "toolkit/events/key_table.h"
#include "toolkit/widgets/directory_demon_parts.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace toolkit {

namespace {

constexpr std::int64_t typing_us = 1'000'000; // keys closer than this belong to one word
constexpr int first_character = ' ';
constexpr int last_ascii = 126;
constexpr int first_beyond_ascii = 160;
constexpr int last_character = 255;

// ---- typing to find

bool is_typed(int key) {
    const bool is_character = (key >= first_character && key <= last_ascii) ||
                              (key >= first_beyond_ascii && key <= last_character);
    return is_character && (inq_special_key() & (ctrl_bit | alt_bit)) == 0;
}

// What was typed a while ago is forgotten.
std::string &typed_text(directory_demon *self) {
    directory_contents *contents = self->contents;
    const std::int64_t now = program_clock::now_us();
    if (now - contents->typed_us > typing_us)
        contents->typed.clear();
    contents->typed_us = now;
    return contents->typed;
}

// From the selected entry on. The same letter again and again leads from one to the next.
void find_typed(directory_demon *self, int key) {
    std::string &typed = typed_text(self);
    const bool is_blank_alone = typed.empty() && key == ' ';
    if (is_blank_alone)
        return;
    typed += fm::latin_letter(key);
    const std::size_t here = static_cast<std::size_t>(std::max(self->list->selected, {}));
    const std::size_t behind = static_cast<std::size_t>(self->list->selected + 1);
    const bool is_repeated =
        typed.size() > 1 && typed.find_first_not_of(typed[0]) == std::string::npos;
    const directory_list &files = self->contents->files;
    std::ptrdiff_t found = find_entry(files, typed, typed.size() == 1 ? behind : here);
    if (found == no_entry && is_repeated)
        found = find_entry(files, typed.substr(0, 1), behind);
    if (found != no_entry)
        reveal_and_select(self->list, found);
}

void erase_typed_or_go_up(directory_demon *self) {
    std::string &typed = typed_text(self);
    if (typed.empty()) {
        go_to_parent(self);
        return;
    }
    while (typed.size() > 1 && fm::is_continuation(typed.back()))
        typed.pop_back();
    typed.pop_back();
    if (const std::ptrdiff_t found = find_entry(self->contents->files, typed); found != no_entry)
        reveal_and_select(self->list, found);
}

// ---- stepping

// Returns whether the key is one that steps.
bool step_by_key(file_list *list, int key) {
    const std::ptrdiff_t count = std::ssize(files_of(list).entries);
    const std::ptrdiff_t page = std::max<std::ptrdiff_t>(rows_of(list) - 1, 1);
    const bool is_none = list->selected == no_entry;
    switch (key) {
    case up_arrow_pressed:
        reveal_and_select(list, is_none ? count - 1 : list->selected - 1);
        return true;
    case down_arrow_pressed:
        reveal_and_select(list, list->selected + 1);
        return true;
    case page_up_pressed:
        reveal_and_select(list, list->selected - page);
        return true;
    case page_down_pressed:
        reveal_and_select(list, list->selected + page);
        return true;
    case home_pressed:
        reveal_and_select(list, 0);
        return true;
    case end_pressed:
        reveal_and_select(list, count - 1);
        return true;
    default:
        return false;
    }
}

// ---- from part to part

void go_to_next_part(directory_demon *self, const demon *from) {
    const std::array<demon *, 3> parts = {self->path_field, self->list, self->name_field};
    const bool is_backward = (inq_special_key() & shift_bit) != 0;
    for (std::size_t i = 0; i < parts.size(); ++i)
        if (parts[i] == from)
            return give_keyboard(parts[(i + (is_backward ? parts.size() - 1 : 1)) % parts.size()]);
}

// The keyboard is given up first: what comes of it may be a question, or the tool's end.
void accept_field(directory_demon *self, demon *field, object *sender, demon_message *m) {
    const demon_ref kept = refer_to_demon(self);
    edit_string_demon_keystroke(field, sender, m);
    if (kept.get() == nullptr)
        return;
    const bool is_path = field == self->path_field;
    give_keyboard(self->list);
    if (kept.get() != nullptr)
        (is_path ? accept_path : accept_name)(self);
}

} // namespace

void list_keystroke(demon *d, object *, demon_message *m) {
    auto *list = static_cast<file_list *>(d);
    directory_demon *self = as_directory_demon(list->parent.get());
    if (self == nullptr || m == nullptr || (list->flags & flag_input) == 0 || list->is_held)
        return;
    switch (m->key) {
    case return_character:
        self->contents->typed.clear(); // what is typed next is another word
        open_selected(self);
        break;
    case escape_character:
        close_tool(self);
        break;
    case tab_character:
        go_to_next_part(self, list);
        break;
    case backspace_character:
        erase_typed_or_go_up(self);
        break;
    default:
        if (step_by_key(list, m->key))
            self->contents->typed.clear();
        else if (is_typed(m->key))
            find_typed(self, m->key);
    }
}

void field_keystroke(demon *field, object *sender, demon_message *m) {
    directory_demon *self = as_directory_demon(field->parent.get());
    const auto *own = static_cast<const edit_string_demon *>(field);
    const bool is_ours =
        self != nullptr && m != nullptr && own->has_keyboard && (field->flags & flag_input) != 0;
    if (is_ours && m->key == escape_character)
        close_tool(self);
    else if (is_ours && m->key == tab_character)
        go_to_next_part(self, field);
    else if (is_ours && m->key == return_character)
        accept_field(self, field, sender, m);
    else
        edit_string_demon_keystroke(field, sender, m);
}

} // namespace toolkit
