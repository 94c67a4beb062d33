// The run-time object model: classes with numbered methods, sets that pool a class's objects.
//
//   object_class *Light_Class = nullptr;                       // a layer's own globals
//   object_set *Light_Set = nullptr;
//   struct light : object { std::int32_t watts; };             // records derive from object
//
//   keep_class_in(&Light_Class, derive_object_class(inq_object_class(), "light class "));
//   set_method<light_dim>(Light_Class, msg_dim);               // void light_dim(light *, int by)
//   keep_set_in(&Light_Set, create_set_of<light>(10, 10, Light_Class));
//
//   light *l = create_object_of<light>(Light_Set);             // count 1, flags 0
//   send_message(l, msg_dim, 5);                               // or an inline caller of the layer
//   object_destroy_message(l);                                 // back into the set's free list
//   ...
//   terminate_objects();                                       // object_model.h, at program end
//
// Records. A record derives from object, singly, and is plain data: no constructor, no destructor,
// no virtual function; all bits zero must be a valid state. create_object hands records out zeroed
// after the header.
//
// Ownership. Sets own their objects, classes own their sets, this module owns the classes. Nobody
// else frees any of them; pointers to them are never owners. Memory of objects goes back to the
// system only when their set is deleted; a record that was given back keeps its contents until it
// is handed out again, so a delete method may read its own fields after delete_object.
//
// Misuse is harmless unless a call says otherwise:
//   - deleting twice, null or something already free: a message or nothing, as delete_object says;
//   - a handler may delete the object it was called for, any other, the set that is being walked
//     and the set's class. A walk then goes on with the next live object or ends. Code that goes on
//     with an object after it called a handler keeps an object_ref to it;
//   - the record of a deleted set stays readable (dead, empty) for ever: calls with it do nothing,
//     create_object gives null;
//   - a null or foreign class, set or object is refused.
// Debug builds (NDEBUG unset) report misuse that has no message of its own on standard error.
//
// Single-threaded. Objects are created in constant time; deleting one walks its set's live list up
// to it (new objects are at the front).
#pragma once

#include "toolkit/objects/object_classes.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>

namespace toolkit {

// ---- Records -----------------------------------------------------------------------------------

struct object_block;
struct free_block {
    void operator()(object_block *block) const;
};
using block_pointer = std::unique_ptr<object_block, free_block>;

// One zeroed allocation: this header, padded for alignment, then the records.
struct object_block {
    block_pointer next;
    std::int32_t count; // of records
};

// The most one block may take, in bytes; more counts as memory that is not there.
inline constexpr std::size_t max_block_bytes = std::size_t{1} << 30;

class set_walk;

// Read freely; change it through the calls below.
struct object_set {
    object_class *class_ = nullptr; // null in a deleted set
    std::int32_t count = 0;         // live objects
    std::size_t object_size = 0;    // bytes, as given to create_set and at least sizeof(object)
    std::int32_t block_size = 0;    // objects in a block that is added
    object *cursor = nullptr;       // what get_next_object returns next
    object *free_list = nullptr;
    object *first = nullptr; // live objects, newest first unless reordered
    block_pointer blocks;    // in the order they were made
    object_block *last_block = nullptr;
    object_set *next = nullptr; // in the class's list, newest first

    object_set **home = nullptr; // the variable that keep_set_in fills
    set_walk *walks = nullptr;   // running now
    bool dying = false;
};

// The default set, of plain objects; null until create_object needs it, and again after it was
// deleted.
extern object_set *Object_Set;

// ---- Sets --------------------------------------------------------------------------------------

// A new, empty set, first in the class's list.
//   object_size   bytes of a record; less than sizeof(object) is taken as that
//   block_size    objects in each block added later; less than 1 is taken as 1
//   initial       1 or more: one block of that many objects is made at once
//   cls           null: Object_Class
// Null for a class that is unknown or in deletion, and when there is no memory for the set itself.
[[nodiscard]] object_set *create_set(std::size_t object_size, std::int32_t block_size,
                                     std::int32_t initial, object_class *cls);

template <typename record>
[[nodiscard]] object_set *create_set_of(std::int32_t block_size, std::int32_t initial,
                                        object_class *cls) {
    static_assert(std::is_base_of_v<object, record>);
    static_assert(std::is_trivially_copyable_v<record> && std::is_trivially_destructible_v<record>);
    static_assert(alignof(record) <= alignof(std::max_align_t));
    return create_set(sizeof(record), block_size, initial, cls);
}

// *variable = set, and null as soon as the set is deleted. One variable per set, which lives as
// long as the set may. Returns set.
object_set *keep_set_in(object_set **variable, object_set *set);

// Adds a block of `count` free records, which become the front of the free list. Returns it, or
// null after "create_block: couldn't allocate \n" on standard output.
object_block *create_block(object_set *set, std::int32_t count);

// Unlinks the set from its class, sends msg_destroy to the first object until none is left, then
// releases all memory. An object that is still there after its message is removed all the same,
// with a warning on standard output; so is what delete methods go on creating in the set without
// end (without a message to it). Null, dead, or in deletion already: nothing.
void delete_set(object_set *set);

// Live-list order, newest first unless reordered. The set has one cursor: one such iteration at a
// time (set_walk has no such limit). Any object may be deleted or moved meanwhile, the one just
// returned as well: the iteration goes on with its successor. Objects created meanwhile are not
// met; one that is moved behind the cursor is met again, one that is moved before it is not. Null
// at the end, and for a null or dead set.
object *get_first_object(object_set *set);
object *get_next_object(object_set *set);

// Live objects; 0 for a null set.
std::int32_t num_objects_set(const object_set *set);

// 255 when any live object has a flag of the mask, else 0.
int inq_flag_set(const object_set *set, std::uint16_t mask);

// The count of every live object becomes 0. For callers that count anew; nothing can be deleted
// until they have.
void clear_refs(object_set *set);

// Tags the live objects 0, 1, 2, ... in list order, in the field that holds their counts: untag
// before anything is deleted. Only the first 32768 can be told apart.
void tag_objects_in_set(object_set *set);
// Every count becomes 1, whatever it was before the tags.
void untag_objects_in_set(object_set *set);
// The object with that tag, or null.
object *get_tagged_object(const object_set *set, int tag);

// ---- Objects -----------------------------------------------------------------------------------

// A new live object at the front of the set's live list: count 1, flags 0, all else zero.
//   set   null: Object_Set, made when it is not there; only for plain objects (32 bytes)
// Null when a block is needed and there is no memory, and for a dead set.
[[nodiscard]] object *create_object(object_set *set);

// The same for a record; null as well when the set's objects are smaller than it, and for a null
// set. The call for layers that derive.
template <typename record> [[nodiscard]] record *create_object_of(object_set *set) {
    static_assert(std::is_base_of_v<object, record>);
    if (set == nullptr || set->object_size < sizeof(record))
        return nullptr;
    return static_cast<record *>(create_object(set));
}

// Count 1, flags 0.
void init_object(object *o);

// Gives one reference back; one delete per object ever takes effect. The default msg_destroy.
//   null                     "delete_object: attempting to delete NULL object, fool!\n"
//   deleted flag set         nothing
//   count 0                  "Warning:  delete_object -- object %lx of class %s is trying to be
//                            deleted too many times, not deleted\n"
//   references remain        "Warning: delete_object cannot delete object %lx of class %s because
//                            its ref count is %d\n"; it stays live and keeps the deleted flag
// all on standard output. Otherwise the object leaves the live list, loses its name, and its record
// goes to the front of the free list.
void delete_object(object *o);

// Whether o, which may be any record that this module handed out and whose set is not deleted, is
// live.
inline bool is_live(const object *o) {
    return o != nullptr && o->birth != 0;
}

// Moves the object to the front or end of its set's live list. Returns the object that preceded it
// before, or null (also for an object that is not live: nothing is moved).
object *make_first_object(object *o);
object *make_last_object(object *o);

// Live objects of the set minus the object's 0-based position from the front: the oldest is 1 as
// long as nothing was reordered. 0 for an object that is not in a live list.
int get_number_object(const object *o);

// Forwards to the function that was installed (null: none, the default; then 0).
word edit_object(object *self, word first, word second);
void set_edit_object_fptr(method function);

// ---- Surviving what handlers do ----------------------------------------------------------------

// Remembers an object without keeping it. Plain data, all zero is a reference to nothing; may stand
// in records, and on the stack around a call that may delete an object:
//   const object_ref mine = refer_to(d);
//   call_handler(d);
//   if (referred(mine) == nullptr)
//       return; // d is gone, even if another object has taken its record
struct object_ref {
    object *target;
    object_set *set;
    std::uint32_t birth;
};

object_ref refer_to(object *o);

// The object while it is live, else null.
inline object *referred(const object_ref &ref) {
    if (ref.set == nullptr)
        return ref.target; // null, or an object that stands in no set
    const bool live = ref.birth != 0 && ref.set->class_ != nullptr && // else its memory is gone
                      ref.target->birth == ref.birth;
    return live ? ref.target : nullptr;
}

// A walk of its own over a set's live objects, on the stack:
//   for (set_walk walk(Callback_Set); object *o = walk.next();)
//       ...
// Like get_first_object and get_next_object, but any number at a time.
class set_walk {
public:
    explicit set_walk(object_set *set);
    ~set_walk();
    set_walk(const set_walk &) = delete;
    set_walk &operator=(const set_walk &) = delete;

    object *next(); // null at the end and when the set is gone

private:
    friend struct walk_keeper;
    object_set *set_;
    object *at_; // what next returns
    set_walk *outer_ = nullptr;
};

} // namespace toolkit
