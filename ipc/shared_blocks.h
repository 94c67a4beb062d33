// Shared memory blocks: System V segments that two processes see at once.
//
//   int key = ipc::fresh_key, id;
//   void *block = ipc::shmem_malloc(size, &key, &id);    // attached, or null
//   ...                                                  // tell the other process the key
//   ipc::shmem_free(block, id);                          // the last one out removes it
//
// Segments are open to every user of the machine: who looks into one checks what is in it, and how
// large it really is (shmem_size).
#pragma once

#include <cstddef>

namespace ipc {

inline constexpr int fresh_key = -1; // in: choose one
inline constexpr int min_fresh_key = 42;
inline constexpr int max_fresh_key = 10041;

// Finds or creates the segment of *key and attaches it for reading and writing.
//   size  bytes, 1 or more
//   key   in: a key, or fresh_key for any in min_fresh_key .. max_fresh_key; out: the key in use
//   id    out: the segment's id, which shmem_free wants; 0 when there is none
// Returns the address, which the caller gives back with shmem_free, or null after a report on
// standard error: no segment, or an existing one smaller than size. errno tells why.
[[nodiscard]] void *shmem_malloc(std::size_t size, int *key, int *id);

// Attaches the segment of a key if there is one of at least size bytes; none is created. Reports
// and returns as shmem_malloc.
[[nodiscard]] void *shmem_attach(std::size_t size, int key, int *id);

// Creates the segment of a key that none has yet, all 0, and attaches it.
//   mode  rights as of a file: 0700 keeps other users out (attaching asks for all three)
// Reports and returns as shmem_malloc; without a report, with errno EEXIST, when there is one.
[[nodiscard]] void *shmem_create(std::size_t size, int key, int mode, int *id);

// The id of the segment that a key names now, or -1: none (errno ENOENT) or none that we may use.
// No report.
[[nodiscard]] int shmem_find(int key);

// The bytes that a segment really has; 0 when there is none of that id. No report.
[[nodiscard]] std::size_t shmem_size(int id);

// How many attachments a segment has, in all processes; 0 when there is none of that id.
[[nodiscard]] std::size_t shmem_users(int id);

// Marks a segment for removal: no key finds it any more, and it is gone when nobody is attached.
// Returns 0, or -1 after a report.
int shmem_remove(int id);

// Detaches a block, and removes its segment when nobody else was attached. Returns the result of
// the last system call made: negative on failure, after a report; without one when the removal
// failed (another process was quicker, or it is another user's).
int shmem_free(void *block, int id);

} // namespace ipc
