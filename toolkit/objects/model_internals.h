// What the parts of the object model ask of each other; for this folder only.
#pragma once

namespace toolkit {

struct object;
struct object_class;

// Whether cls, which may be any pointer, is in the class list and not being deleted.
bool is_class_usable(const object_class *cls);

// A delete_set call for a set of the class begins and ends. A class that was deleted meanwhile goes
// at the end.
void begin_set_deletion(object_class *cls);
void end_set_deletion(object_class *cls);
bool is_set_in_deletion(); // of any class

// Whether free_all_classes has given up on delete methods, which create classes without end.
bool are_delete_methods_silenced();

// Whether a walk over an iclist runs.
bool is_list_walked();

// An object that has the named flag goes away.
void forget_name(const object *o);

// Give all memory of their kind back to the system; none of it may be in use.
void release_classes();
void release_names(); // and the demon hooks
void release_connections();
void release_nodes();

} // namespace toolkit
