// Growable arrays of words, known by the address of their entries alone.
//
//   word *array = create_dynamic_array(4);               // zeros
//   write_dynamic_array(&array, 10, 7);                  // grows to 16: array has a new address
//   word seven = read_dynamic_array(array, 10);
//   free_dynamic_array(array);
//
// The arrays belong to this module; an address that is not (or no longer) that of an array is
// ignored by every call. Indices and capacities count words; words hold pointers as well
// (to_word, from_word<...>).
#pragma once

#include "toolkit/objects/objects.h"

#include <cstdint>

namespace toolkit {

inline constexpr std::int32_t max_array_capacity = 1 << 27; // words: 1 GiB

// A new array of that many zeros. Null for a capacity below 0 or above the largest, and when there
// is no memory.
[[nodiscard]] word *create_dynamic_array(std::int32_t capacity);

// The entry; 0 for an index outside the array's capacity.
word read_dynamic_array(const word *array, std::int32_t index);

// Stores the value. An index at or beyond the capacity doubles it until the index lies inside; the
// entries keep their values, new ones are 0, and *holder is the new address: other copies of the
// old one are stale. Ignored: an index below 0 or of max_array_capacity and more, growth without
// memory, and an array of capacity 0, which can not be doubled: make those that are to grow with 1
// or more.
void write_dynamic_array(word **holder, std::int32_t index, word value);

// Entries of the array; 0 for an address that is none.
std::int32_t inq_dynamic_array_capacity(const word *array);

void free_dynamic_array(const word *array);

// Frees every array there is.
void free_dynamic_array_table();

// *holder = a new array of exactly as many entries as the set has live objects, which are written
// into it in the set's order. Returns their number. What *holder was before is not freed.
std::int32_t set_to_array(object_set *set, word **holder);

} // namespace toolkit
