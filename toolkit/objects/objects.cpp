#include "toolkit/objects/objects.h"

#include "toolkit/objects/misuse.h"
#include "toolkit/objects/model_internals.h"
#include "toolkit/objects/object_names.h"
#include "toolkit/objects/record_pool.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

namespace toolkit {

object_set *Object_Set = nullptr;

// What ties walks to their set.
struct walk_keeper {
    static void add(set_walk *walk) {
        walk->outer_ = walk->set_->walks;
        walk->set_->walks = walk;
    }
    static void remove(const set_walk *walk) {
        set_walk **link = &walk->set_->walks;
        while (*link != walk)
            link = &(*link)->outer_;
        *link = walk->outer_;
    }
    // The object is about to leave its place: whoever stands there goes on to its successor.
    static void step_over(object_set *set, const object *leaving) {
        if (set->cursor == leaving)
            set->cursor = leaving->next;
        for (set_walk *w = set->walks; w != nullptr; w = w->outer_) {
            if (w->at_ == leaving)
                w->at_ = leaving->next;
        }
    }
};

namespace {

constexpr std::size_t sets_per_chunk = 16;
record_pool<object_set, sets_per_chunk> set_records; // never given back: see objects.h

constexpr std::int32_t object_set_block = 10; // objects in a block of Object_Set
constexpr std::size_t record_alignment = alignof(std::max_align_t);

std::uint32_t last_birth = 0;
method edit_object_function = nullptr;

constexpr std::size_t round_up(std::size_t size) {
    return (size + record_alignment - 1) / record_alignment * record_alignment;
}

bool is_set_alive(const object_set *set) {
    return set != nullptr && set->class_ != nullptr;
}

unsigned long address_of(const object *o) {
    return reinterpret_cast<std::uintptr_t>(o);
}

const char *class_name_of(const object *o) {
    return o->class_ != nullptr ? o->class_->name.data() : "";
}

// The link that points at o, or the link at the list's end.
object **find_link(object_set *set, const object *o) {
    object **link = &set->first;
    while (*link != nullptr && *link != o)
        link = &(*link)->next;
    return link;
}

object_set *inq_object_set() {
    if (Object_Set == nullptr)
        keep_set_in(&Object_Set,
                    create_set(sizeof(object), object_set_block, 0, inq_object_class()));
    return Object_Set;
}

// Takes a live object out of its set, whatever its count.
void release_object(object *o) {
    object_set *set = o->set;
    o->flags |= flag_deleted;
    o->refs = 0;
    if (!is_live(o) || !is_set_alive(set))
        return; // stands in no set: nothing to leave
    walk_keeper::step_over(set, o);
    object **link = find_link(set, o);
    if (*link == nullptr) {
        report_misuse("delete_object", "the object is not in its set's live list");
        return;
    }
    *link = o->next;
    set->count--;
    if ((o->flags & flag_named) != 0)
        forget_name(o);
    if (o->class_->released != nullptr)
        o->class_->released(o);
    o->birth = 0;
    o->next = set->free_list;
    set->free_list = o;
}

// Sends msg_destroy to the first object until none is left; what stays is released without.
void destroy_objects(object_set *set) {
    constexpr std::int64_t spare_calls = 64; // for objects that delete methods create
    std::int64_t calls = 2 * std::int64_t{set->count} + spare_calls;
    while (set->first != nullptr) {
        const object_ref first = refer_to(set->first);
        if (calls-- <= 0 || are_delete_methods_silenced()) {
            release_object(set->first);
            continue;
        }
        object_destroy_message(first.target);
        if (referred(first) != nullptr) {
            std::printf("Warning: delete_set -- object %lx of class %s does not go, removed with "
                        "its set\n",
                        address_of(first.target), class_name_of(first.target));
            release_object(first.target);
        }
    }
}

void free_blocks(object_set *set) {
    set->free_list = nullptr;
    set->last_block = nullptr;
    while (set->blocks != nullptr)
        set->blocks = std::move(set->blocks->next); // one by one: a chain of any length
}

} // namespace

// ---- Sets --------------------------------------------------------------------------------------

void free_block::operator()(object_block *block) const {
    std::destroy_at(block);
    std::free(block); // NOLINT(*-no-malloc): zeroed memory of any size, as create_block takes it
}

object_set *create_set(std::size_t object_size, std::int32_t block_size, std::int32_t initial,
                       object_class *cls) {
    if (cls == nullptr)
        cls = inq_object_class();
    if (!is_class_usable(cls)) {
        report_misuse("create_set", "this is no class, or one that is being deleted");
        return nullptr;
    }
    object_set *set = set_records.take();
    if (set == nullptr)
        return nullptr;
    set->class_ = cls;
    set->object_size = std::max(object_size, sizeof(object));
    set->block_size = std::max(block_size, 1);
    set->next = cls->first_set;
    cls->first_set = set;
    if (initial >= 1)
        create_block(set, initial);
    return set;
}

object_set *keep_set_in(object_set **variable, object_set *set) {
    *variable = set;
    if (set != nullptr)
        set->home = variable;
    return set;
}

object_block *create_block(object_set *set, std::int32_t count) {
    if (!is_set_alive(set) || count < 1) {
        report_misuse("create_block", "no set, or no objects");
        return nullptr;
    }
    constexpr std::size_t header = round_up(sizeof(object_block));
    const auto records = static_cast<std::size_t>(count);
    const std::size_t stride = round_up(std::min(set->object_size, max_block_bytes));
    void *memory = nullptr;
    if (records <= (max_block_bytes - header) / stride)
        memory = std::calloc(1, header + records * stride);
    if (memory == nullptr) {
        std::printf("create_block: couldn't allocate \n");
        return nullptr;
    }
    block_pointer block(new (memory) object_block{nullptr, count});
    auto *first = static_cast<std::byte *>(memory) + header;
    for (std::size_t i = records; i-- > 0;) {
        auto *o = reinterpret_cast<object *>(first + i * stride);
        o->set = set;
        o->next = set->free_list;
        set->free_list = o;
    }
    object_block *added = block.get();
    (set->last_block != nullptr ? set->last_block->next : set->blocks) = std::move(block);
    set->last_block = added;
    return added;
}

void delete_set(object_set *set) {
    if (!is_set_alive(set) || set->dying) {
        if (set != nullptr && set->class_ == nullptr)
            report_misuse("delete_set", "the set was deleted before");
        return;
    }
    set->dying = true;
    object_class *cls = set->class_;
    begin_set_deletion(cls);
    object_set **link = &cls->first_set;
    while (*link != set)
        link = &(*link)->next;
    *link = set->next;
    if (set->home != nullptr && *set->home == set)
        *set->home = nullptr;
    destroy_objects(set);
    free_blocks(set);
    set->next = nullptr;
    set->class_ = nullptr; // dead from here on
    end_set_deletion(cls);
}

object *get_first_object(object_set *set) {
    if (set == nullptr)
        return nullptr;
    set->cursor = set->first;
    return get_next_object(set);
}

object *get_next_object(object_set *set) {
    if (set == nullptr || set->cursor == nullptr)
        return nullptr;
    object *o = set->cursor;
    set->cursor = o->next;
    return o;
}

std::int32_t num_objects_set(const object_set *set) {
    return set == nullptr ? 0 : set->count;
}

int inq_flag_set(const object_set *set, std::uint16_t mask) {
    for (const object *o = set == nullptr ? nullptr : set->first; o != nullptr; o = o->next) {
        if ((o->flags & mask) != 0)
            return toolkit_true;
    }
    return toolkit_false;
}

void clear_refs(object_set *set) {
    for (object *o = set == nullptr ? nullptr : set->first; o != nullptr; o = o->next)
        o->refs = 0;
}

void tag_objects_in_set(object_set *set) {
    int tag = 0;
    for (object *o = set == nullptr ? nullptr : set->first; o != nullptr; o = o->next)
        o->refs = static_cast<std::int16_t>(tag++);
}

void untag_objects_in_set(object_set *set) {
    for (object *o = set == nullptr ? nullptr : set->first; o != nullptr; o = o->next)
        o->refs = 1;
}

object *get_tagged_object(const object_set *set, int tag) {
    object *o = set == nullptr ? nullptr : set->first;
    while (o != nullptr && o->refs != tag)
        o = o->next;
    return o;
}

// ---- Objects -----------------------------------------------------------------------------------

object *create_object(object_set *set) {
    if (set == nullptr)
        set = inq_object_set();
    if (!is_set_alive(set)) {
        report_misuse("create_object", "the set was deleted");
        return nullptr;
    }
    if (set->free_list == nullptr && create_block(set, set->block_size) == nullptr)
        return nullptr;
    object *o = set->free_list;
    set->free_list = o->next;
    std::memset(reinterpret_cast<std::byte *>(o) + sizeof(object), 0,
                set->object_size - sizeof(object));
    init_object(o);
    if (++last_birth == 0) // 0 is for free records
        last_birth = 1;
    o->birth = last_birth;
    o->set = set;
    o->class_ = set->class_;
    o->next = set->first;
    set->first = o;
    set->count++;
    return o;
}

void init_object(object *o) {
    if (o == nullptr)
        return;
    o->refs = 1;
    o->flags = 0;
}

void delete_object(object *o) {
    if (o == nullptr) {
        std::printf("delete_object: attempting to delete NULL object, fool!\n");
        return;
    }
    if ((o->flags & flag_deleted) != 0)
        return;
    if (o->refs <= 0) {
        std::printf("Warning:  delete_object -- object %lx of class %s is trying to be deleted "
                    "too many times, not deleted\n",
                    address_of(o), class_name_of(o));
        return;
    }
    o->refs--;
    o->flags |= flag_deleted;
    if (o->refs > 0) {
        std::printf("Warning: delete_object cannot delete object %lx of class %s because its ref "
                    "count is %d\n",
                    address_of(o), class_name_of(o), int{o->refs});
        return;
    }
    release_object(o);
}

object *make_first_object(object *o) {
    if (!is_live(o) || o->set->first == o)
        return nullptr;
    object_set *set = o->set;
    object *before = set->first;
    while (before->next != o)
        before = before->next;
    walk_keeper::step_over(set, o);
    before->next = o->next;
    o->next = set->first;
    set->first = o;
    return before;
}

object *make_last_object(object *o) {
    if (!is_live(o))
        return nullptr;
    object_set *set = o->set;
    object *before = nullptr;
    for (object *p = set->first; p != o; p = p->next)
        before = p;
    if (o->next == nullptr)
        return before;
    walk_keeper::step_over(set, o);
    (before != nullptr ? before->next : set->first) = o->next;
    o->next = nullptr;
    *find_link(set, nullptr) = o;
    return before;
}

int get_number_object(const object *o) {
    if (!is_live(o))
        return 0;
    int position = 0;
    for (const object *p = o->set->first; p != o; p = p->next)
        position++;
    return o->set->count - position;
}

word edit_object(object *self, word first, word second) {
    return edit_object_function != nullptr ? edit_object_function(self, first, second) : 0;
}

void set_edit_object_fptr(method function) {
    edit_object_function = function;
}

// ---- Surviving what handlers do ----------------------------------------------------------------

object_ref refer_to(object *o) {
    return o == nullptr ? object_ref{} : object_ref{o, o->set, o->birth};
}

set_walk::set_walk(object_set *set) : set_(set), at_(set == nullptr ? nullptr : set->first) {
    if (set_ != nullptr)
        walk_keeper::add(this);
}

set_walk::~set_walk() {
    if (set_ != nullptr)
        walk_keeper::remove(this);
}

object *set_walk::next() {
    object *o = at_;
    if (o != nullptr)
        at_ = o->next;
    return o;
}

} // namespace toolkit
