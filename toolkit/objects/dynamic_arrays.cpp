#include "toolkit/objects/dynamic_arrays.h"

#include "toolkit/objects/misuse.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <unordered_map>
#include <utility>

namespace toolkit {

namespace {

struct descriptor {
    std::unique_ptr<word[]> entries;
    std::int32_t capacity = 0;
};

// Found by their address in constant time: reading is checked, so it has to be quick.
std::unordered_map<const word *, descriptor> table;

descriptor *find(const word *array) {
    const auto found = table.find(array);
    return found == table.end() ? nullptr : &found->second;
}

std::unique_ptr<word[]> allocate(std::int32_t capacity) {
    return std::unique_ptr<word[]>(new (std::nothrow) word[static_cast<std::size_t>(capacity)]());
}

// Enters an array in the table; null when there is no memory.
word *enter(std::unique_ptr<word[]> entries, std::int32_t capacity) {
    word *array = entries.get();
    if (array == nullptr)
        return nullptr;
    try {
        table.emplace(array, descriptor{std::move(entries), capacity});
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
    return array;
}

// The array's next address, with room for the index; null when there is no memory. Its capacity is
// 1 or more.
word *grow(const word *array, std::int32_t index) {
    const descriptor &old = table.find(array)->second;
    std::int32_t capacity = old.capacity;
    while (capacity <= index)
        capacity *= 2; // the index is below the largest capacity, a power of two
    std::unique_ptr<word[]> entries = allocate(capacity);
    if (entries == nullptr)
        return nullptr;
    std::copy_n(old.entries.get(), old.capacity, entries.get());
    word *grown = enter(std::move(entries), capacity);
    if (grown != nullptr)
        table.erase(array);
    return grown;
}

} // namespace

word *create_dynamic_array(std::int32_t capacity) {
    if (capacity < 0 || capacity > max_array_capacity) {
        report_misuse("create_dynamic_array", "no array has such a capacity");
        return nullptr;
    }
    return enter(allocate(capacity), capacity);
}

word read_dynamic_array(const word *array, std::int32_t index) {
    const descriptor *d = find(array);
    if (d == nullptr || index < 0 || index >= d->capacity) {
        report_misuse("read_dynamic_array",
                      d == nullptr ? "this is no array" : "the index lies outside the array");
        return 0;
    }
    return array[index];
}

void write_dynamic_array(word **holder, std::int32_t index, word value) {
    const descriptor *d = holder != nullptr ? find(*holder) : nullptr;
    if (d == nullptr)
        return;
    if (index < 0 || index >= max_array_capacity) {
        report_misuse("write_dynamic_array", "no array has such an index");
        return;
    }
    if (index >= d->capacity) {
        if (d->capacity == 0) {
            report_misuse("write_dynamic_array", "the array was made without entries");
            return;
        }
        word *grown = grow(*holder, index);
        if (grown == nullptr)
            return;
        *holder = grown;
    }
    (*holder)[index] = value;
}

std::int32_t inq_dynamic_array_capacity(const word *array) {
    const descriptor *d = find(array);
    return d == nullptr ? 0 : d->capacity;
}

void free_dynamic_array(const word *array) {
    table.erase(array);
}

void free_dynamic_array_table() {
    table.clear();
}

std::int32_t set_to_array(object_set *set, word **holder) {
    const std::int32_t count = num_objects_set(set);
    *holder = create_dynamic_array(count);
    std::int32_t i = 0;
    for (set_walk walk(set); object *o = walk.next();)
        write_dynamic_array(holder, i++, to_word(o));
    return count;
}

} // namespace toolkit
