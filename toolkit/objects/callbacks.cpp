#include "toolkit/objects/callbacks.h"

#include "toolkit/objects/dynamic_arrays.h"
#include "toolkit/objects/misuse.h"

namespace toolkit {

object_class *Callback_Class = nullptr;
object_set *Callback_Set = nullptr;

namespace {

constexpr std::int32_t callbacks_in_block = 10;
constexpr std::int32_t first_referrers = 10; // room made at the first reference

void (*put_graphics_function)(word argument, callback *self) = nullptr;
word (*get_graphics_function)() = nullptr;

object_set *inq_callback_set() {
    if (Callback_Class == nullptr)
        create_callback_class();
    if (Callback_Set == nullptr) {
        keep_set_in(&Callback_Set, create_set_of<callback>(callbacks_in_block, callbacks_in_block,
                                                           Callback_Class));
    }
    return Callback_Set;
}

// Removes every mention of the object; the others keep their order.
void remove_referrer(callback *self, const object *o) {
    std::int32_t kept = 0;
    for (std::int32_t i = 0; i < self->referrer_count; i++) {
        const word referrer = read_dynamic_array(self->referrers, i);
        if (referrer != to_word(o))
            write_dynamic_array(&self->referrers, kept++, referrer);
    }
    for (std::int32_t i = kept; i < self->referrer_count; i++)
        write_dynamic_array(&self->referrers, i, 0);
    self->referrer_count = kept;
}

} // namespace

object_class *create_callback_class() {
    object_class *cls = create_object_class();
    if (cls == nullptr)
        return nullptr;
    cls->parent = inq_object_class();
    set_class_name(cls, "callback class ");
    set_method<callback_destroy>(cls, msg_destroy);
    set_method<callback_set_arg>(cls, msg_callback_set_arg);
    set_method<callback_invoke>(cls, msg_callback_invoke);
    return keep_class_in(&Callback_Class, cls);
}

callback *create_callback(object_set *set, callback_function function, word argument) {
    auto *self = create_object_of<callback>(set != nullptr ? set : inq_callback_set());
    if (self == nullptr)
        return nullptr;
    self->function = function;
    self->argument = argument;
    self->referrers = nullptr;
    self->referrer_count = 0;
    return self;
}

word callback_invoke(callback *self, word unused, word argument) {
    (void)unused;
    if (!is_live(self)) {
        report_misuse("callback_invoke", "the callback is not live");
        return 0;
    }
    const callback_function function = self->function;
    if (function == nullptr)
        return 0;
    if (argument == 0)
        argument = self->argument;
    const object_ref mine = refer_to(self);
    bool saves = (self->flags & flag_save_graphics) != 0;
    if (saves && put_graphics_function != nullptr)
        put_graphics_function(argument, self);
    const word result = referred(mine) != nullptr ? function(argument, self) : 0;
    if (referred(mine) != nullptr) // else: what was begun is ended
        saves = (self->flags & flag_save_graphics) != 0;
    if (!saves)
        return result;
    return get_graphics_function != nullptr ? get_graphics_function() : 0;
}

void callback_set_arg(callback *self, word unused, word argument) {
    (void)unused;
    if (self != nullptr)
        self->argument = argument;
}

void callback_destroy(callback *self) {
    if (self != nullptr) {
        free_dynamic_array(self->referrers);
        self->referrers = nullptr;
        self->referrer_count = 0;
    }
    delete_object(self);
}

void reference_callback(callback *self, object *referrer) {
    if (!is_live(self)) {
        report_misuse("reference_callback", "the callback is not live");
        return;
    }
    if (self->referrers == nullptr)
        self->referrers = create_dynamic_array(first_referrers);
    if (self->referrers == nullptr)
        return; // no memory
    self->referrer_count++;
    write_dynamic_array(&self->referrers, self->referrer_count - 1, to_word(referrer));
}

void dereference_object_callbacks(const object *o) {
    for (set_walk walk(Callback_Set); auto *self = static_cast<callback *>(walk.next());) {
        if (self->referrers == nullptr)
            continue;
        remove_referrer(self, o);
        if (self->referrer_count == 0)
            object_destroy_message(self);
    }
}

void set_callback_graphics(void (*put_graphics)(word argument, callback *self),
                           word (*get_graphics)()) {
    put_graphics_function = put_graphics;
    get_graphics_function = get_graphics;
}

} // namespace toolkit
