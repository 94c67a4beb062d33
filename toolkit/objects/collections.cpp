#include "toolkit/objects/collections.h"

#include "toolkit/objects/misuse.h"
#include "toolkit/objects/model_internals.h"
#include "toolkit/objects/record_pool.h"

namespace toolkit {

object_class *Collection_Class = nullptr;
object_set *Collection_Set = nullptr;
object_class *List_Double_Class = nullptr;
object_set *List_Double_Set = nullptr;

namespace {

constexpr std::int32_t collections_in_block = 10;
constexpr std::size_t nodes_per_chunk = 128;
record_pool<list_node, nodes_per_chunk> nodes;

object_class *inq_collection_class() {
    return Collection_Class != nullptr ? Collection_Class : create_collection_class();
}

object_set *inq_collection_set() {
    if (Collection_Set == nullptr) {
        keep_set_in(&Collection_Set,
                    create_set_of<collection>(collections_in_block, collections_in_block,
                                              inq_collection_class()));
    }
    return Collection_Set;
}

object_set *inq_list_double_set() {
    if (List_Double_Class == nullptr)
        create_list_double_class();
    if (List_Double_Set == nullptr) {
        keep_set_in(&List_Double_Set,
                    create_set_of<list_double>(collections_in_block, collections_in_block,
                                               List_Double_Class));
    }
    return List_Double_Set;
}

// Lists that are gone must not get nodes again: nobody would give them back.
bool is_usable(const object *self, const char *call) {
    if (is_live(self))
        return true;
    report_misuse(call, "the list is not live");
    return false;
}

list_node *take_node(collection *self, void *item) {
    list_node *node = self->free_nodes;
    if (node != nullptr) {
        self->free_nodes = node->next;
    } else {
        node = nodes.take();
    }
    if (node != nullptr)
        *node = {item, nullptr, nullptr};
    return node;
}

void give_back_nodes(list_node *chain) {
    while (nodes.in_use(chain)) {
        list_node *node = chain;
        chain = node->next;
        nodes.give_back(node);
    }
}

// The node nearest to the front that holds the item, or null.
list_node *find_node(const collection *self, const void *item) {
    list_node *node = self->first;
    while (node != nullptr && node->item != item)
        node = node->next;
    return node;
}

void unlink_node(list_double *self, list_node *node) {
    if (node == self->first) {
        self->first = node->next;
        self->cursor = node->next;
    } else {
        node->previous->next = node->next;
        if (self->cursor == node)
            self->cursor = node->previous; // never left on a free node
    }
    if (node->next != nullptr)
        node->next->previous = node->previous;
    *node = {nullptr, self->free_nodes, nullptr};
    self->free_nodes = node;
    self->count--;
}

list_node *answer(list_node *node, void **item) {
    if (item != nullptr)
        *item = node != nullptr ? node->item : nullptr;
    return node;
}

} // namespace

object_class *create_collection_class() {
    object_class *cls = create_object_class();
    if (cls == nullptr)
        return nullptr;
    cls->parent = inq_object_class();
    set_class_name(cls, "collection_class");
    set_method<destroy_collection>(cls, msg_destroy);
    set_method<get_num_objs>(cls, msg_count_items);
    return keep_class_in(&Collection_Class, cls);
}

object_class *create_list_double_class() {
    object_class *cls = derive_object_class(inq_collection_class(), "list_double_class");
    set_method<destroy_list_double>(cls, msg_destroy);
    set_method<add_obj_list_double>(cls, msg_add_item);
    set_method<del_obj_list_double>(cls, msg_delete_item);
    set_method<get_first_obj>(cls, msg_first_item);
    set_method<get_next_object_list_double>(cls, msg_next_item);
    set_method<destroy_elements_double_list>(cls, msg_empty_items);
    set_method<insert_in_double_list>(cls, msg_insert_item);
    set_method<get_preview_object_list_double>(cls, msg_previous_item);
    return keep_class_in(&List_Double_Class, cls);
}

collection *create_collection(object_set *set, ic *iclist) {
    auto *self = create_object_of<collection>(set != nullptr ? set : inq_collection_set());
    if (self == nullptr)
        return nullptr;
    init_collection(self);
    self->iclist = iclist;
    return self;
}

list_double *create_list_double(object_set *set, ic *iclist) {
    auto *self = create_object_of<list_double>(set != nullptr ? set : inq_list_double_set());
    if (self == nullptr)
        return nullptr;
    init_collection(self);
    self->iclist = iclist;
    init_list_double(self);
    return self;
}

void init_collection(collection *self) {
    self->count = 0;
    self->first = nullptr;
    self->iclist = nullptr;
    self->free_nodes = nullptr;
}

void init_list_double(list_double *self) {
    self->cursor = self->first;
}

void destroy_collection(collection *self) {
    if (self == nullptr || (self->flags & flag_deleted) != 0)
        return;
    destroy_iclist(&self->iclist);
    delete_object(self);
}

void destroy_list_double(list_double *self) {
    if (!is_usable(self, "destroy_list_double"))
        return;
    give_back_nodes(self->first);
    give_back_nodes(self->free_nodes);
    self->count = 0;
    self->first = self->cursor = self->free_nodes = nullptr;
    destroy_collection(self);
}

std::int32_t get_num_objs(const collection *self, word unused, std::int32_t *count) {
    (void)unused;
    const std::int32_t items = is_live(self) ? self->count : 0;
    if (count != nullptr)
        *count = items;
    return items;
}

void add_obj_list_double(list_double *self, word unused, void *item) {
    (void)unused;
    if (!is_usable(self, "add_obj_list_double"))
        return;
    list_node *node = take_node(self, item);
    if (node == nullptr)
        return;
    node->next = self->first;
    if (self->first != nullptr) {
        self->first->previous = node;
    } else {
        self->cursor = node;
    }
    self->first = node;
    self->count++;
    changes(self->iclist);
}

void del_obj_list_double(list_double *self, word unused, void *item) {
    (void)unused;
    if (item == nullptr || !is_usable(self, "del_obj_list_double"))
        return;
    list_node *node = find_node(self, item);
    if (node != nullptr)
        unlink_node(self, node);
    changes(self->iclist);
}

std::int32_t insert_in_double_list(list_double *self, void *after, void *item) {
    if (!is_usable(self, "insert_in_double_list"))
        return 0;
    if (self->first == nullptr) {
        collection_add_message(self, item);
        return 0;
    }
    if (after == nullptr)
        return self->count;
    list_node *before = find_node(self, after);
    list_node *node = before != nullptr ? take_node(self, item) : nullptr;
    if (node == nullptr)
        return 0;
    node->previous = before;
    node->next = before->next;
    if (before->next != nullptr)
        before->next->previous = node;
    before->next = node;
    self->count++;
    changes(self->iclist);
    return 0;
}

list_node *get_first_obj(list_double *self, word unused, void **item) {
    (void)unused;
    if (!is_usable(self, "get_first_obj"))
        return answer(nullptr, item);
    self->cursor = self->first;
    return answer(self->cursor, item);
}

list_node *get_next_object_list_double(list_double *self, word unused, void **item) {
    (void)unused;
    if (!is_usable(self, "get_next_object_list_double"))
        return answer(nullptr, item);
    if (self->cursor == nullptr) {
        self->cursor = self->first;
    } else if (self->cursor->next != nullptr) {
        self->cursor = self->cursor->next;
    }
    return answer(self->cursor, item);
}

list_node *get_preview_object_list_double(list_double *self, word unused, void **item) {
    (void)unused;
    if (!is_usable(self, "get_preview_object_list_double"))
        return answer(nullptr, item);
    if (self->cursor == nullptr) {
        self->cursor = self->first;
    } else if (self->cursor->previous != nullptr) {
        self->cursor = self->cursor->previous;
    }
    return answer(self->cursor, item);
}

void destroy_elements_double_list(list_double *self) {
    if (!is_usable(self, "destroy_elements_double_list"))
        return;
    give_back_nodes(self->free_nodes); // nobody can reach them any more
    self->free_nodes = self->first;
    self->first = self->cursor = nullptr;
    self->count = 0;
}

void release_nodes() {
    nodes.release_all();
}

} // namespace toolkit
