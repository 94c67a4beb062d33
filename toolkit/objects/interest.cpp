#include "toolkit/objects/interest.h"

#include "toolkit/objects/model_internals.h"
#include "toolkit/objects/record_pool.h"

namespace toolkit {

namespace {

constexpr std::size_t connections_per_chunk = 64;
record_pool<ic, connections_per_chunk> connections;

// A walk that runs, on the stack; the innermost first.
struct list_walk {
    explicit list_walk(ic *first);
    ~list_walk();
    list_walk(const list_walk &) = delete;
    list_walk &operator=(const list_walk &) = delete;

    ic *at;
    bool moved = false; // `at` was released and is its successor already
    list_walk *outer;
};
list_walk *innermost = nullptr;

list_walk::list_walk(ic *first)
    : at(connections.in_use(first) ? first : nullptr), outer(innermost) {
    innermost = this;
}
list_walk::~list_walk() {
    innermost = outer;
}

void release(ic *connection) {
    for (list_walk *w = innermost; w != nullptr; w = w->outer) {
        if (w->at == connection) {
            w->at = connection->next;
            w->moved = true;
        }
    }
    connections.give_back(connection);
}

// A holder may point at connections that were released through another one.
void drop_stale_list(ic **holder) {
    if (*holder != nullptr && !connections.in_use(*holder))
        *holder = nullptr;
}

void call_list(ic *list, const object *sender) {
    list_walk walk(list);
    while (walk.at != nullptr) {
        const ic *connection = walk.at;
        object *target = referred(connection->live);
        walk.moved = false;
        if (target != nullptr && (sender == nullptr || target != sender))
            send_message(target, connection->slot, connection->first, connection->second);
        if (!walk.moved) // else the connection is gone
            walk.at = walk.at->next;
    }
}

} // namespace

void add_ic(ic **holder, word first, object *target, unsigned slot, word second) {
    if (holder == nullptr)
        return;
    drop_stale_list(holder); // before its record can be taken again
    ic *added = connections.take();
    if (added == nullptr)
        return;
    added->slot = slot;
    added->first = first;
    added->target = target;
    added->second = second;
    added->live = refer_to(target);
    ic **link = holder;
    while (*link != nullptr)
        link = &(*link)->next;
    *link = added;
}

void changes(ic *list) {
    call_list(list, nullptr);
}

void telegraph(ic *list, const object *sender) {
    call_list(list, sender);
}

void remove_ics_to(ic **holder, const object *target) {
    if (holder == nullptr)
        return;
    drop_stale_list(holder);
    for (ic **link = holder; *link != nullptr;) {
        ic *connection = *link;
        if (connection->target == target) {
            *link = connection->next;
            release(connection);
        } else {
            link = &connection->next;
        }
    }
}

void destroy_iclist(ic **holder) {
    if (holder == nullptr)
        return;
    drop_stale_list(holder);
    while (*holder != nullptr) {
        ic *connection = *holder;
        *holder = connection->next;
        release(connection);
    }
}

void copy_iclist(ic **holder, const ic *source) {
    if (holder == nullptr || !connections.in_use(source))
        return;
    while (source->next != nullptr)
        source = source->next;
    ic *copy = connections.take();
    if (copy == nullptr)
        return;
    *copy = *source;
    *holder = copy;
}

void release_connections() {
    connections.release_all();
}

bool is_list_walked() {
    return innermost != nullptr;
}

} // namespace toolkit
