// Interest connections: objects that hear of another's changes.
//
//   ic *list = nullptr;                                  // in the owner's record
//   add_ic(&list, 0, menu, msg_draw, 0);                 // first argument, target, slot, second
//   changes(list);                                       // menu's method msg_draw (menu, 0, 0)
//   telegraph(list, menu);                               // everyone's but menu's
//   remove_ics_to(&list, menu);
//   destroy_iclist(&list);
//
// An iclist is held as a pointer to its first connection; null is the empty list. The connections
// belong to this module; holders give them back by these calls.
//
// While a list is walked, the methods that it calls may do as they like with it: release any
// connection (the one that they were called through as well), all of them, or add some. The walk
// goes on with the next one that is left; what was added at the end is called too. A connection to
// an object that is gone calls nobody, even if another object has taken its record. A holder whose
// list was destroyed through another holder is empty.
#pragma once

#include "toolkit/objects/objects.h"

#include <cstdint>

namespace toolkit {

struct ic {
    unsigned slot = 0; // of the target's class, looked up at each call
    word first = 0;    // arguments of the call
    object *target = nullptr;
    word second = 0;
    ic *next = nullptr; // null at the end

    object_ref live = {}; // the target, as long as it lives
};

// Appends a connection at the end of the list. A null holder is ignored.
void add_ic(ic **holder, word first, object *target, unsigned slot, word second);

// Calls target.method[slot](target, first, second) of every connection in list order; telegraph
// leaves out those whose target is the sender.
void changes(ic *list);
void telegraph(ic *list, const object *sender);

// Releases every connection to that target; the rest keeps its order.
void remove_ics_to(ic **holder, const object *target);

// Releases every connection; the holder becomes null.
void destroy_iclist(ic **holder);

// Makes the holder point at a copy of the source's last connection, alone: who needs a full copy
// adds connections. An empty source leaves the holder as it is. What the holder pointed at before
// is not released: it may be the source itself, taken over with a copied record.
void copy_iclist(ic **holder, const ic *source);

} // namespace toolkit
