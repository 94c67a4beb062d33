#include "toolkit/objects/object_model.h"

#include "toolkit/objects/callbacks.h"
#include "toolkit/objects/dynamic_arrays.h"
#include "toolkit/objects/misuse.h"
#include "toolkit/objects/model_internals.h"
#include "toolkit/objects/objects.h"

namespace toolkit {

void terminate_objects() {
    if (is_list_walked() || is_set_in_deletion()) {
        report_misuse("terminate_objects", "called from inside a walk or a delete method");
        return;
    }
    free_all_classes();
    set_callback_graphics(nullptr, nullptr);
    set_edit_object_fptr(nullptr);
    release_names();
    release_connections();
    release_nodes();
    free_dynamic_array_table();
    release_classes();
}

} // namespace toolkit
