#include "toolkit/objects/object_classes.h"

#include "toolkit/objects/bounded_text.h"
#include "toolkit/objects/misuse.h"
#include "toolkit/objects/model_internals.h"
#include "toolkit/objects/object_names.h"
#include "toolkit/objects/objects.h"
#include "toolkit/objects/record_pool.h"

namespace toolkit {

object_class *Object_Class = nullptr;

namespace {

record_pool<object_class, 1> class_records; // one class is large: a chunk each
object_class *first_class = nullptr;
bool delete_methods_silenced = false;
int sets_in_deletion = 0; // of all classes

// By comparing pointers only: cls may be anything.
bool is_class_known(const object_class *cls) {
    const object_class *c = first_class;
    while (c != nullptr && c != cls)
        c = c->next;
    return c != nullptr;
}

void unlink_class(const object_class *cls) {
    object_class **link = &first_class;
    while (*link != cls)
        link = &(*link)->next;
    *link = cls->next;
    for (object_class *c = first_class; c != nullptr; c = c->next) {
        if (c->parent == cls)
            c->parent = cls->parent;
    }
    if (cls->home != nullptr && *cls->home == cls)
        *cls->home = nullptr;
}

} // namespace

object_class *create_object_class() {
    object_class *cls = class_records.take();
    if (cls == nullptr)
        return nullptr;
    cls->methods.fill({null_method, {}});
    cls->next = first_class;
    first_class = cls;
    set_class_name(cls, "object class ");
    set_method<delete_object>(cls, msg_destroy);
    set_method<edit_object>(cls, msg_edit);
    set_method<get_name_object>(cls, msg_get_name);
    return cls;
}

object_class *derive_object_class(object_class *parent, std::string_view name) {
    object_class *cls = create_object_class();
    if (cls == nullptr)
        return nullptr;
    set_class_name(cls, name);
    if (is_class_known(parent)) {
        cls->parent = parent;
        cls->methods = parent->methods;
        cls->bindings = parent->bindings;
        cls->released = parent->released;
    } else if (parent != nullptr) {
        report_misuse("derive_object_class", "the parent is no class");
    }
    return cls;
}

object_class *inq_object_class() {
    if (Object_Class == nullptr)
        keep_class_in(&Object_Class, create_object_class());
    return Object_Class;
}

void set_class_name(object_class *cls, std::string_view name) {
    if (cls != nullptr)
        copy_bounded(cls->name, name);
}

object_class *keep_class_in(object_class **variable, object_class *cls) {
    *variable = cls;
    if (cls != nullptr)
        cls->home = variable;
    return cls;
}

object_class *inq_first_class() {
    return first_class;
}

bool is_class_derived(const object_class *cls, const object_class *ancestor) {
    while (cls != nullptr && cls != ancestor)
        cls = cls->parent;
    return cls != nullptr;
}

void delete_class(object_class *cls) {
    if (!is_class_usable(cls)) {
        if (cls != nullptr && !is_class_known(cls))
            report_misuse("delete_class", "this is no class");
        return;
    }
    cls->dying = true; // create_set refuses it, so this ends
    while (cls->first_set != nullptr)
        delete_set(cls->first_set);
    unlink_class(cls);
    if (cls->sets_in_deletion == 0)
        class_records.give_back(cls);
}

void free_all_classes() {
    // Delete methods may make classes anew (a callback makes its own): go on, but not for ever.
    constexpr int spare_rounds = 64;
    int rounds = spare_rounds;
    for (const object_class *c = first_class; c != nullptr; c = c->next)
        rounds++;
    for (;;) {
        object_class *cls = first_class;
        while (cls != nullptr && cls->dying) // whoever called a handler that called this, ends it
            cls = cls->next;
        if (cls == nullptr)
            break;
        if (rounds-- <= 0)
            delete_methods_silenced = true;
        delete_class(cls);
    }
    delete_methods_silenced = false;
}

void set_class_method(object_class *cls, unsigned slot, method function, std::string_view name) {
    if (cls == nullptr || slot >= class_slot_count || function == nullptr) {
        report_misuse("set_class_method", "no class, no function or a slot beyond the last");
        return;
    }
    cls->methods[slot] = {function, name};
}

word null_method(object *self, word first, word second) {
    (void)self;
    (void)first;
    (void)second;
    return 0;
}

void begin_set_deletion(object_class *cls) {
    sets_in_deletion++;
    cls->sets_in_deletion++;
}

void end_set_deletion(object_class *cls) {
    sets_in_deletion--;
    cls->sets_in_deletion--;
    if (cls->sets_in_deletion == 0 && cls->dying && !is_class_known(cls))
        class_records.give_back(cls);
}

bool is_set_in_deletion() {
    return sets_in_deletion > 0;
}

bool are_delete_methods_silenced() {
    return delete_methods_silenced;
}

bool is_class_usable(const object_class *cls) {
    return is_class_known(cls) && !cls->dying;
}

void release_classes() {
    class_records.release_all();
}

} // namespace toolkit
