// The tree of demons: who is whose child, and where.
//
//   set_demon(child, parent, 10, 10);              // its place; before or after add_demon
//   add_demon(child, parent);
//   delete_demon(child);                           // hidden and out of the list, but alive
#pragma once

#include "toolkit/demons/demons.h"

namespace toolkit {

// --- lists ---------------------------------------------------------------------------------------

// Makes the child the parent's first one; it takes the parent's visibility and input state, and its
// window if it has none. A child that is there already keeps its place. From any other list it is
// taken out first; when it is locked, its new ancestors are then, and no longer the old ones.
// Nothing for null, for a parent that is destroyed or in destruction, and for one that is the child
// itself or inside it.
void add_demon(demon *child, demon *parent);

// Hides the child, disables its input, and takes it out of its parent's kids. Its parent is kept.
void delete_demon(demon *child);

// The same for the pop list; who is added to it becomes invisible first.
void add_pop_demon(demon *child, demon *parent);
void delete_pop_demon(demon *child);

// Takes the demon out of its list and tells nobody. Its parent is kept.
void unlink_demon(demon *d);

// Appends a demon at the end of the chain that begins with `first`, as a child of their parent; it
// is out of its own list before. Nothing when it is in that chain already.
void append_demon(demon *d, demon *first);

// Every ancestor's box-in child becomes the one on the way to this demon.
void relink_demon(demon *d);

// --- places --------------------------------------------------------------------------------------

// Places the demon, with all that is in it, at (x, y) of the design's screen from its parent's
// corner, and tells its client. Null: nothing.
void set_demon(demon *d, demon *parent, int x, int y);

// Moves the box, and tells the client (msg_move).
void move_demon(demon *d, int dx, int dy);

// A chain of siblings from `first` on, with all that is in them.
void recursive_move_demon(demon *first, int dx, int dy);

// --- walks ---------------------------------------------------------------------------------------

// Calls the function for each demon of the chain; after each, for what is in it: kids, pop list.
void do_demon_tree(demon *first, void (*function)(demon *d));

// The same for all below the demon god and itself, for layers that know no demons.
void walk_demon_god(void (*visit)(object *o));

// Sends the message on to the next sibling, if it asks for that.
void demon_next_do(demon *self, object *sender, demon_message *m);

// --- state of a branch ---------------------------------------------------------------------------

// The demon and all its ancestors: locked, they take every pick.
void lock_me(demon *d);
void unlock_me(demon *d);

// From `first` on, each demon and what is in it takes its parent's window, and so do their clients
// that are display objects. Stops at one without parent; leaves out those that have windows of
// their own (flag_owns_window).
void demon_gl_window_assign(demon *first);

// Takes the demon out of all: its list, the box-in links, running deliveries; its children are out
// of theirs. For destroy methods; called for every demon whose record goes, however that comes.
void forget_demon(object *o);

} // namespace toolkit
