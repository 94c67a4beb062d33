// Classes of the run-time object model: a name, a parent, a numbered method for every message.
//
//   keep_class_in(&Light_Class, derive_object_class(inq_object_class(), "light class "));
//   set_method<light_dim>(Light_Class, msg_dim);            // void light_dim(light *, int by)
//   inline word light_dim_message(light *l, int by) { return send_message(l, msg_dim, by); }
//
// Objects, their sets, and who owns what: objects.h. Dumps: class_dump.h.
#pragma once

#include "toolkit/objects/methods.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace toolkit {

// ---- Records -----------------------------------------------------------------------------------

// Toolkit booleans.
inline constexpr int toolkit_true = 255;
inline constexpr int toolkit_false = 0;

struct object_class;
struct object_set;

// The header that every record begins with.
struct object {
    object_class *class_; // never null in a live object
    object_set *set;      // the set that owns the record
    std::uint16_t flags;  // flag_... here; other bits belong to the layers above
    std::int16_t refs;    // references while live; the tag while its set is tagged; 0 when free
    std::uint32_t birth;  // serial number of a live object, never used before; 0 when free
    object *next;         // in the set's live list or free list
};

// Bits of object::flags that this layer knows.
inline constexpr std::uint16_t flag_deleted = 0x2; // a delete took effect; later ones are ignored
inline constexpr std::uint16_t flag_named = 0x8;   // has an entry in the name table

// Messages that every class answers; their numbers are method slots, below class_slot_count.
inline constexpr unsigned msg_destroy = 1;   // delete_object: also called by delete_set
inline constexpr unsigned msg_edit = 10;     // edit_object
inline constexpr unsigned msg_get_name = 12; // get_name_object: (object, 0, buffer)

inline constexpr std::size_t class_slot_count = 200;
inline constexpr std::size_t class_binding_count = 400;
inline constexpr std::size_t class_name_size = 40; // bytes, with the closing zero

struct method_slot {
    method function;
    std::string_view name; // of the procedure, for dumps; empty when not known
};

// An entry of a class's binding table, for the layers above: only its start values matter here.
struct class_binding {
    std::array<std::int16_t, 2> codes = {-1, -1};
    std::array<std::int32_t, 2> words = {0, 0};
    std::array<float, 2> reals = {0, 0};
};

// Read freely. Who creates a class may set its parent; the rest changes through the calls below.
struct object_class {
    std::array<char, class_name_size> name = {};
    std::uint16_t spare_flags = 0;
    std::array<method_slot, class_slot_count> methods = {};
    std::array<class_binding, class_binding_count> bindings;
    object_class *parent = nullptr; // null for a root
    object_class *next = nullptr;   // in the class list, newest first
    object_set *first_set = nullptr;
    word spare_word = 0;

    // Called for every object that is about to stop being live, however that comes; classes that
    // derive have it too. For layers that link their records: it may change records, but neither
    // create nor delete objects nor send messages. Who creates a class may set it.
    void (*released)(object *gone) = nullptr;

    object_class **home = nullptr; // the variable that keep_class_in fills
    int sets_in_deletion = 0;      // delete_set calls that run; the class outlives them
    bool dying = false;
};

// The root class; null until create_object or inq_object_class needs it, and again after it was
// deleted.
extern object_class *Object_Class;

// ---- Classes -----------------------------------------------------------------------------------

// A new class with the default methods (null_method but for the three messages above), no parent
// and the name "object class ". First in the class list. Null when there is no memory.
[[nodiscard]] object_class *create_object_class();

// A new class with the parent's methods and binding table, that parent, and a name of its own.
// A null or unknown parent gives a root class.
[[nodiscard]] object_class *derive_object_class(object_class *parent, std::string_view name);

// Object_Class, made when it is not there.
object_class *inq_object_class();

// Cut to class_name_size - 1 bytes, never inside a UTF-8 character.
void set_class_name(object_class *cls, std::string_view name);

// *variable = cls, and null as soon as the class is deleted. One variable per class, which lives as
// long as the class may. Returns cls.
object_class *keep_class_in(object_class **variable, object_class *cls);

// The newest class, head of the chain by `next`; null when there is none.
object_class *inq_first_class();

// Whether cls is ancestor or derives from it; no for null.
bool is_class_derived(const object_class *cls, const object_class *ancestor);

// Deletes the class's sets (delete_set), then the class. Classes that derive from it get its
// parent instead. Null, unknown, or in deletion already: nothing.
void delete_class(object_class *cls);

// delete_class from the head of the class list until it is empty. Names, connections, lists and
// arrays stay: see terminate_objects for all of it.
void free_all_classes();

// Puts a method in a slot; what lies beyond the slots is refused. Takes effect at once for all
// objects of the class, not for classes that derived from it before.
void set_class_method(object_class *cls, unsigned slot, method function, std::string_view name);

template <auto procedure> void set_method(object_class *cls, unsigned slot) {
    set_class_method(cls, slot, method_of<procedure>(), procedure_name<procedure>());
}

// Does nothing; returns 0.
word null_method(object *self, word first, word second);

// The method of a slot: null_method for a null class or a slot beyond the table.
inline method inq_class_method(const object_class *cls, unsigned slot) {
    return cls != nullptr && slot < class_slot_count ? cls->methods[slot].function : null_method;
}

// ---- Messages ----------------------------------------------------------------------------------

// Calls the method that self's class has in that slot now. 0 for a null self or one without class.
inline word send_message(object *self, unsigned slot, word first = 0, word second = 0) {
    return self == nullptr ? 0 : inq_class_method(self->class_, slot)(self, first, second);
}

inline word object_destroy_message(object *self) {
    return send_message(self, msg_destroy);
}
inline word object_edit_message(object *self, word first, word second) {
    return send_message(self, msg_edit, first, second);
}
// buffer: at least object_name_size bytes (object_names.h)
inline word object_get_name_message(object *self, char *buffer) {
    return send_message(self, msg_get_name, 0, to_word(buffer));
}

} // namespace toolkit
