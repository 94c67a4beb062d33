// What the object model holds, as text, for whoever looks for a leak or a wrong method.
#pragma once

#include <cstdio>

namespace toolkit {

// Prints the heading with its arguments, then for each class, newest first, "Class [%s] has %d
// instances\n" with the live objects of all its sets, and their total: "------------- %d objects in
// all ---------------------\n". A null heading prints none.
void tabulate_classes(std::FILE *stream, const char *heading, ...)
    __attribute__((format(printf, 2, 3)));

// The same classes in full: the parent, each set (live and free records, bytes of a record, records
// in a block), and each slot whose method is not null_method, with the method's name ("?" where it
// is not known).
//   class "light class ", parent "object class "
//     set: 3 live, 7 free, 40 bytes, 10 in a block
//     slot   1 delete_object
void dump_classes(std::FILE *stream);

} // namespace toolkit
