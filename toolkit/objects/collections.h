// Collections: objects that hold a count of items and tell an iclist of every change; and double
// lists, collections of item pointers in a chain with a cursor.
//
//   list_double *list = create_list_double(nullptr, interested);
//   collection_add_message(list, c);                     // c, at the front
//   collection_add_message(list, b);                     // b c
//   void *item = nullptr;
//   collection_first_message(list, &item);               // b
//   collection_next_message(list, &item);                // c
//   collection_next_message(list, &item);                // c again: walks never end by themselves
//   object_destroy_message(list);                        // the nodes, the iclist, the object
//
// Items belong to their owners; null items are possible but can not be found again. Nodes belong to
// this module and are good for nothing but to tell whether there is one.
//
// What hears of a change may do anything: change the list again, delete it, its set or its class.
// None of these calls touches the list after it has told.
#pragma once

#include "toolkit/objects/interest.h"
#include "toolkit/objects/objects.h"

#include <cstdint>

namespace toolkit {

struct list_node {
    void *item = nullptr;
    list_node *next = nullptr;
    list_node *previous = nullptr; // not kept in free nodes
};

struct collection : object {
    std::int32_t count;
    list_node *first;
    ic *iclist;            // told by changes() after every add and delete
    list_node *free_nodes; // kept for reuse
};

struct list_double : collection {
    list_node *cursor;
};

// Messages of collections, besides msg_destroy. A plain collection answers only msg_count_items;
// the others do nothing in it and in classes that derive from it without methods of their own.
inline constexpr unsigned msg_add_item = 19;
inline constexpr unsigned msg_delete_item = 20;
inline constexpr unsigned msg_count_items = 21;
inline constexpr unsigned msg_first_item = 22;
inline constexpr unsigned msg_next_item = 23;
inline constexpr unsigned msg_empty_items = 24;
inline constexpr unsigned msg_insert_item = 25;   // list_double
inline constexpr unsigned msg_previous_item = 26; // list_double

// Null until a collection or list needs them, and again after they were deleted.
extern object_class *Collection_Class;
extern object_set *Collection_Set;
extern object_class *List_Double_Class;
extern object_set *List_Double_Set;

// Make the classes "collection_class" and "list_double_class" and keep them in these variables.
object_class *create_collection_class();
object_class *create_list_double_class();

// A new collection or list, empty, with that iclist (which is its own from then on). A null set
// means the default one; class and set are made on first use. Null when there is no memory, or when
// the set is for smaller objects.
[[nodiscard]] collection *create_collection(object_set *set, ic *iclist);
[[nodiscard]] list_double *create_list_double(object_set *set, ic *iclist);

// Nothing in it and no iclist.
void init_collection(collection *self);

// The cursor goes to the first node.
void init_list_double(list_double *self);

// Destroys the iclist and deletes the object (delete_object); nothing when its deleted flag is set.
void destroy_collection(collection *self);

// Gives all nodes back, then destroy_collection.
void destroy_list_double(list_double *self);

// Stores the number of items (in *count unless null) and returns it.
std::int32_t get_num_objs(const collection *self, word unused, std::int32_t *count);

// Adds the item at the front, then tells. In an empty list the cursor goes to it.
void add_obj_list_double(list_double *self, word unused, void *item);

// Removes the item nearest to the front; tells also when there is none. The cursor moves only when
// it stood on the item: to the new first one when that was the first, else one towards the front,
// so that the next step is the item's successor. A null item: nothing at all.
void del_obj_list_double(list_double *self, word unused, void *item);

// Inserts the item directly after another one, and tells. Returns 0; also when the other is not in
// the list, where nothing is inserted and nobody told. An empty list takes the item by
// msg_add_item, whatever the other is. A null other in a list that is not empty: returns the count,
// no more.
std::int32_t insert_in_double_list(list_double *self, void *after, void *item);

// Moves the cursor to the first, next or previous node and returns it, with its item in *item
// (unless null). At the end the cursor stays and the same node is returned again: bound walks by
// get_num_objs. Without a cursor, next and previous go to the first. An empty list: null, item
// null.
list_node *get_first_obj(list_double *self, word unused, void **item);
list_node *get_next_object_list_double(list_double *self, word unused, void **item);
list_node *get_preview_object_list_double(list_double *self, word unused, void **item);

// Empties the list, and tells nobody. Its nodes are the free ones from then on, in place of those
// that were.
void destroy_elements_double_list(list_double *self);

inline void collection_add_message(collection *self, void *item) {
    send_message(self, msg_add_item, 0, to_word(item));
}
inline void collection_delete_message(collection *self, void *item) {
    send_message(self, msg_delete_item, 0, to_word(item));
}
inline void collection_count_message(collection *self, std::int32_t *count) {
    send_message(self, msg_count_items, 0, to_word(count));
}
inline list_node *collection_first_message(collection *self, void **item) {
    return from_word<list_node *>(send_message(self, msg_first_item, 0, to_word(item)));
}
inline list_node *collection_next_message(collection *self, void **item) {
    return from_word<list_node *>(send_message(self, msg_next_item, 0, to_word(item)));
}
inline void collection_empty_message(collection *self) {
    send_message(self, msg_empty_items);
}
inline std::int32_t collection_insert_message(collection *self, void *after, void *item) {
    return from_word<std::int32_t>(
        send_message(self, msg_insert_item, to_word(after), to_word(item)));
}
inline list_node *collection_previous_message(collection *self, void **item) {
    return from_word<list_node *>(send_message(self, msg_previous_item, 0, to_word(item)));
}

} // namespace toolkit
