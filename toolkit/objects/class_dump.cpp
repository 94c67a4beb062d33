#include "toolkit/objects/class_dump.h"

#include "toolkit/objects/objects.h"

#include <cstdarg>

namespace toolkit {

namespace {

int count_objects(const object_class *cls) {
    int count = 0;
    for (const object_set *set = cls->first_set; set != nullptr; set = set->next)
        count += set->count;
    return count;
}

int count_free_records(const object_set *set) {
    int count = 0;
    for (const object *o = set->free_list; o != nullptr; o = o->next)
        count++;
    return count;
}

void dump_class(std::FILE *stream, const object_class *cls) {
    std::fprintf(stream, "class \"%s\"", cls->name.data());
    if (cls->parent != nullptr)
        std::fprintf(stream, ", parent \"%s\"", cls->parent->name.data());
    std::fprintf(stream, "\n");
    for (const object_set *set = cls->first_set; set != nullptr; set = set->next) {
        std::fprintf(stream, "  set: %d live, %d free, %zu bytes, %d in a block\n", set->count,
                     count_free_records(set), set->object_size, set->block_size);
    }
    int slot = 0;
    for (const method_slot &entry : cls->methods) {
        if (entry.function != null_method) {
            std::fprintf(stream, "  slot %3d %.*s\n", slot,
                         entry.name.empty() ? 1 : static_cast<int>(entry.name.size()),
                         entry.name.empty() ? "?" : entry.name.data());
        }
        slot++;
    }
}

} // namespace

void tabulate_classes(std::FILE *stream, const char *heading, ...) {
    if (stream == nullptr)
        return;
    if (heading != nullptr) {
        std::va_list arguments;
        va_start(arguments, heading);
        std::vfprintf(stream, heading, arguments);
        va_end(arguments);
    }
    int total = 0;
    for (const object_class *cls = inq_first_class(); cls != nullptr; cls = cls->next) {
        const int count = count_objects(cls);
        std::fprintf(stream, "Class [%s] has %d instances\n", cls->name.data(), count);
        total += count;
    }
    std::fprintf(stream, "------------- %d objects in all ---------------------\n", total);
}

void dump_classes(std::FILE *stream) {
    if (stream == nullptr)
        return;
    for (const object_class *cls = inq_first_class(); cls != nullptr; cls = cls->next)
        dump_class(stream, cls);
}

} // namespace toolkit
