#include "toolkit/objects/object_names.h"

#include "toolkit/objects/bounded_text.h"
#include "toolkit/objects/misuse.h"
#include "toolkit/objects/model_internals.h"
#include "toolkit/objects/record_pool.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace toolkit {

namespace {

struct name_entry {
    std::array<char, object_name_size> name = {};
    object_ref named = {};
    name_entry *next = nullptr;
};

constexpr std::size_t entries_per_chunk = 32;
record_pool<name_entry, entries_per_chunk> entries;
name_entry *newest = nullptr;

object_class *const *demon_class_variable = nullptr;
void (*walk_demon_tree)(void (*visit)(object *)) = nullptr;

name_entry *find_entry(const object *o) {
    name_entry *e = newest;
    while (e != nullptr && (e->named.target != o || referred(e->named) == nullptr))
        e = e->next;
    return e;
}

name_entry *push_entry(object *o) {
    name_entry *e = entries.take();
    if (e == nullptr)
        return nullptr;
    o->flags |= flag_named;
    e->named = refer_to(o);
    e->next = newest;
    newest = e;
    return e;
}

} // namespace

void get_name_object(object *o, word unused, char *buffer) {
    (void)unused;
    if (o == nullptr || buffer == nullptr)
        return;
    const char *class_name = o->class_ != nullptr ? o->class_->name.data() : "";
    std::snprintf(buffer, object_name_size, "%s %d", class_name, get_number_object(o));
}

void auto_name_demon(object *o) {
    if (!is_live(o)) {
        report_misuse("auto_name_demon", "the object is not live");
        return;
    }
    if ((o->flags & flag_named) != 0)
        return;
    name_entry *e = push_entry(o);
    if (e == nullptr)
        return;
    std::array<char, object_name_size> name = {};
    const object_ref mine = refer_to(o);
    object_get_name_message(o, name.data());
    if (referred(mine) != nullptr && entries.in_use(e))
        copy_bounded(e->name, name.data());
}

void name_demon(const char *name, object *o) {
    if (name == nullptr || !is_live(o)) {
        report_misuse("name_demon", "no name, or the object is not live");
        return;
    }
    name_entry *e = (o->flags & flag_named) != 0 ? find_entry(o) : nullptr;
    if (e == nullptr)
        e = push_entry(o);
    if (e != nullptr)
        copy_bounded(e->name, name);
}

void name_object(const char *name, object *o) {
    const object_class *demons = demon_class_variable != nullptr ? *demon_class_variable : nullptr;
    if (!is_live(o) || !is_class_derived(o->class_, demons))
        return;
    if (newest == nullptr && walk_demon_tree != nullptr)
        walk_demon_tree(clear_mark_demon);
    name_demon(name, o);
}

object *get_named_object(const char *name) {
    if (name == nullptr)
        return nullptr;
    for (const name_entry *e = newest; e != nullptr; e = e->next) {
        object *o = referred(e->named);
        if (o != nullptr && std::strcmp(e->name.data(), name) == 0)
            return o;
    }
    return nullptr;
}

void get_name_of_object(const object *o, char *buffer) {
    const name_entry *e = o != nullptr ? find_entry(o) : nullptr;
    if (e != nullptr && buffer != nullptr)
        std::memcpy(buffer, e->name.data(), std::strlen(e->name.data()) + 1);
}

void tabulate_names(std::FILE *stream) {
    for (const name_entry *e = newest; stream != nullptr && e != nullptr; e = e->next) {
        if (object *o = referred(e->named)) {
            std::array<char, object_name_size> what = {};
            get_name_object(o, 0, what.data());
            std::fprintf(stream, "\"%s\" names %s\n", e->name.data(), what.data());
        }
    }
}

void clear_mark_demon(object *o) {
    if (o != nullptr)
        o->flags &= static_cast<std::uint16_t>(~flag_named);
}

void destroy_ui_symbol_table() {
    while (newest != nullptr) {
        name_entry *e = newest;
        newest = e->next;
        entries.give_back(e);
    }
}

void set_demon_hooks(object_class *const *demon_class, void (*walk_tree)(void (*visit)(object *))) {
    demon_class_variable = demon_class;
    walk_demon_tree = walk_tree;
}

void forget_name(const object *o) {
    for (name_entry **link = &newest; *link != nullptr;) {
        name_entry *e = *link;
        if (e->named.target == o) {
            *link = e->next;
            entries.give_back(e);
        } else {
            link = &e->next;
        }
    }
}

void release_names() {
    newest = nullptr;
    entries.release_all();
    set_demon_hooks(nullptr, nullptr);
}

} // namespace toolkit
