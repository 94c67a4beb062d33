// Names of objects: one table for all, newest entry first.
//
//   auto_name_demon(d);                       // "pulldown class  3", unless it has a name
//   name_demon("file menu", d);
//   object *o = get_named_object("file menu");
//   char name[object_name_size] = "";
//   get_name_of_object(o, name);
//   destroy_ui_symbol_table();
//
// A name is lost with its object. Two objects may have the same name: the one named last is found.
#pragma once

#include "toolkit/objects/objects.h"

#include <cstddef>
#include <cstdio>

namespace toolkit {

// A name takes up to 128 bytes, cut where a UTF-8 character ends, and a closing zero.
inline constexpr std::size_t object_name_size = 129;

// The default msg_get_name: writes "%s %d" with the class name and get_number_object.
//   buffer   object_name_size bytes at least; null: nothing
void get_name_object(object *o, word unused, char *buffer);

// Names an object that has no name yet by what its class answers to msg_get_name.
void auto_name_demon(object *o);

// Gives the object that name, or that name instead of the one it has.
void name_demon(const char *name, object *o);

// name_demon for demons only: objects whose class is the demon class or derives from it. When the
// table is empty, the named flag of every demon in the tree is cleared first: they may still bear
// it from a table that was destroyed.
void name_object(const char *name, object *o);

// The object named so last (exact comparison), or null.
object *get_named_object(const char *name);

// Copies the object's name; leaves the buffer untouched when it has none.
//   buffer   object_name_size bytes at least
void get_name_of_object(const object *o, char *buffer);

// Prints the table, newest entry first, for whoever looks for an object: its name, then what it is,
// as get_name_object puts it.
//   "file menu" names pulldown class  3
void tabulate_names(std::FILE *stream);

// Clears the named flag, not the entry: for walks over a tree when the table is empty.
void clear_mark_demon(object *o);

// Empties the table. The flags of the objects stay.
void destroy_ui_symbol_table();

// What the demon layer tells this one:
//   demon_class   its variable with the demon class; null (the default): nothing is a demon
//   walk_tree     calls the visitor for each demon of the tree; null: there is no tree
void set_demon_hooks(object_class *const *demon_class, void (*walk_tree)(void (*visit)(object *)));

} // namespace toolkit
