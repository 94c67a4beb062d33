// The end of the object model.
#pragma once

namespace toolkit {

// Deletes every class with its sets and objects (free_all_classes), then releases all names,
// connections, list nodes and dynamic arrays, and forgets the installed functions: as at program
// start. At the end of a program: delete methods run, so what they call must still work, and no
// pointer to any of these may be used afterwards. From inside a delete method or a walk over an
// iclist it does nothing.
void terminate_objects();

} // namespace toolkit
