// VF movie files: compressed frames behind a table that says where each one starts.
//
// Reading:
//   movie::vf_owner film = movie::VFopen("shot.reel", "r");       // null after a message
//   movie::vf_frame where;
//   std::vector<std::uint8_t> buffer(movie::vf_max_data_bytes(*film));
//   if (movie::VFfetchframe(*film, 7, -1, buffer, &where) == movie::vf_find::found)
//       ...                        // buffer holds the data of frame 7, or of the one it repeats
//   movie::VFclose(std::move(film));
//
// Writing:
//   movie::vf_movie film;                                         // fill the header and the table
//   movie::VFopenWrite(film, "new.reel");
//   movie::VFappend(film, 0, packed);                             // frame 0; an empty span repeats
//
// File, all integers 32-bit, most significant byte first:
//
//   0  magic number 0x1A2B3C4D       16  height, a multiple of 4
//   4  algorithm, 0 = IR1            20  frames per second, an integer
//   8  number of frames N            24  compression threshold, signed
//   12 width, a multiple of 4        28  N file offsets: where frame i's chunk starts, or 0
//   then the chunks: 10 zero bytes, 4 zero bytes, the data size, the data
//
// Size 0 means the same picture as the frame before. Offset 0 means not written yet: a movie may
// be played while someone else is still writing it. A writer must not let the file grow beyond
// vf_max_file_bytes (offsets are signed), nor begin a movie with a chunk of size 0.
//
// Nothing in a file is trusted. Counts and sizes are compared with what the file can hold before
// anything is allocated, and every chunk with the file's end before it is read. What can not be
// checked is a picture's size beyond 0 .. ir1_max_dimension: as long as frames may still come, any
// size may be meant, so who allocates by it must be ready for a lack of memory.
//
// Everything here reads and writes at stated places of the file itself, past the stream's buffer:
// a reader sees what another process has just written. Who uses the stream directly as well seeks
// before each use and flushes after.
#pragma once

#include "movie/ir1.h"

#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace movie {

inline constexpr std::uint32_t vf_magic = 0x1A2B3C4D;
inline constexpr std::int32_t vf_algorithm_ir1 = 0;
inline constexpr std::int64_t vf_header_bytes = 28;
inline constexpr std::int64_t vf_chunk_size_offset = 14; // of the data size, inside a chunk
inline constexpr std::int64_t vf_chunk_bytes = 18;       // of a chunk without its data
inline constexpr std::int64_t vf_max_file_bytes = 0x7FFFFFFF;

struct vf_file_closer {
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using vf_stream = std::unique_ptr<std::FILE, vf_file_closer>;

// Where a frame's data is.
struct vf_frame {
    int index = -1;          // the frame that has the data: the one asked for, or an earlier one
    std::int64_t offset = 0; // file offset of the data itself
    std::int64_t size = 0;   // bytes to read, 1 .. vf_max_data_bytes
};

// An open movie. The header values stand as in the file; a writer fills them and the table (one
// zero for each frame) before VFopenWrite. Afterwards the table changes by VFappend,
// VFfindframe and VFfetchframe only.
struct vf_movie {
    vf_stream stream;        // null when none is open
    std::uint32_t magic = 0; // a writer sets vf_magic; not kept on reading
    std::int32_t algorithm = 0;
    std::int32_t count = 0;  // frames
    std::int32_t width = 0;  // pixels
    std::int32_t height = 0; // pixels
    std::int32_t rate = 0;   // frames per second; untrusted: may be 0, negative, huge
    std::int32_t threshold = 0;
    std::vector<std::int32_t> offsets; // count entries
    std::string name;                  // as given to VFopen or VFopenWrite, for messages
    std::vector<bool> reported;        // frames already reported as damaged; grows on demand
    int repeated = 0;                  // what was learnt last: this frame is repeated by all
    int repeats_to = -1;               // up to this one; below repeated: nothing
    int fetched = -1;                  // the frame that VFfetchframe read last, and
    std::int64_t fetched_end = 0;      // the file offset behind its chunk
};
using vf_owner = std::unique_ptr<vf_movie>;

// One chunk as VFreadchunk delivers it.
struct vf_chunk {
    std::array<std::uint8_t, 10> header{};
    std::int32_t reserved = 0;
    std::int32_t size = 0;                  // bytes of data
    std::unique_ptr<std::uint8_t[]> buffer; // kept for the next read into this record
    std::size_t capacity = 0;               // bytes of buffer
    const std::uint8_t *data = nullptr;     // buffer, or null when size is 0
};

// Opens a movie for reading with an fopen mode: "r", or "r+" to append to it too (any other can
// not be opened, for it would empty or create the file). Returns null after one of these messages
// on standard error, with nothing left open or allocated:
//   "VFopen:  Unable to open file \"%s\"", "VFopen:  Unable to read header in \"%s\"",
//   "VFopen: bad magic number in file.", "VFopen:  Unsupported compression algorithm.",
//   "VFopen:  Unable to read frame offset table" (also: a count that the file cannot hold)
// or, naming the file, for a negative count, a width or height outside 0 .. ir1_max_dimension or a
// lack of memory. What is not a regular file (a directory, a pipe, a device) can not be
// opened, and nothing waits for it.
[[nodiscard]] vf_owner VFopen(const char *name, const char *mode);

// The expansion table made by the newest successful VFopen (or by VFdecompress, when it had none);
// null before. Tables handed out before live on with their holders.
[[nodiscard]] ir1_table vf_current_table();

// Creates a movie file, emptying one of that name, and writes header and table; an empty table
// becomes count zeros first. With a null name it is a temporary one (open_temporary_file). Width and
// height are written as they stand: rounding them down to multiples of 4 is the caller's part.
// Returns 0, or -1 after a message (film.stream is then null, and what there is of the file stays
// for the caller to remove):
//   "VFopenWrite:  Unable to open file \"%s\"" (also: not a regular file),
//   "VFopenWrite:  Unable to write header in \"%s\"",
//   "VFopenWrite:  Unable to write frame offset table"
// or, before any file is touched, naming the file and the value: an algorithm other than IR1, a
// width or height outside 0 .. ir1_max_dimension, a count that is negative, too large for
// vf_max_file_bytes or not the table's, or a lack of memory.
[[nodiscard]] int VFopenWrite(vf_movie &film, const char *name);

// Closes the stream and releases the handle. A null handle is ignored.
void VFclose(vf_owner film);

// Reads the chunk at the stream's position (the caller seeks first) into a record whose buffer is
// reused. Returns 0, and the stream stands behind the chunk; or -1 after "VFreadchunk: read
// error. 1" (2, 3; 4 is spelt "VFreadchuck") on standard error, and the stream stands where it
// was, the record without data. A size that is negative or runs past the end of the file is error
// 4, before anything is allocated, and so is one that there is no memory for.
[[nodiscard]] int VFreadchunk(vf_movie &film, vf_chunk &chunk);

// Decodes a chunk into image, film.width x film.height words rounded down to multiples of 4.
// Returns 0 (also when there is nothing to do: another algorithm, a chunk without data), or -1: the
// data is not of the movie's size or image is too small (nothing written), or it ends too early
// (as IR1_decompress). No message.
[[nodiscard]] int VFdecompress(const vf_movie &film, const vf_chunk &chunk,
                               std::span<std::uint32_t> image);

enum class vf_find {
    found,   // where is filled
    absent,  // the frame, or one that it repeats, is not written yet
    none,    // only zero-length chunks from here down to frame 0, or no such frame
    damaged, // a table entry or a chunk's size points outside the file
};

// Finds the data of frame `index` (0 .. count - 1; others are vf_find::none), walking back over
// zero-length chunks. An entry that was 0 is read from the file again, so that a movie under
// construction plays as far as it is written. A damaged frame is reported (VFreport). where is
// filled only when the frame is found.
[[nodiscard]] vf_find VFfindframe(vf_movie &film, int index, vf_frame *where);

// Reads the data found by VFfindframe into the first where.size bytes of buffer. Returns 0, or -1
// (and reports, VFreport) when buffer is too small or the file ends or fails.
[[nodiscard]] int VFreadframe(vf_movie &film, const vf_frame &where,
                              std::span<std::uint8_t> buffer);

// Finds a frame as VFfindframe does and reads its data as VFreadframe does: for playing, in one
// system call where the next chunk follows in the file, or the file ends. The kernel is told at
// opening that it reads on; another order of frames is announced to it one frame ahead.
//   have    a frame whose data the caller has already (where.index of an earlier call), or -1: when
//           it is the one wanted, where.index says so and nothing is read
//   buffer  vf_max_data_bytes always suffice; its first where.size bytes receive the data, what is
//           behind them may be overwritten
// Returns as VFfindframe; data that can not be read is damaged, too (where is then filled or not,
// and the buffer holds anything).
[[nodiscard]] vf_find VFfetchframe(vf_movie &film, int index, int have,
                                   std::span<std::uint8_t> buffer, vf_frame *where);

// Says once for each frame of an open movie, in one line on standard error, that the frame is
// damaged: file, frame, what is wrong, value. Whoever decodes frames reports through it too. A
// frame outside the table is ignored.
void VFreport(vf_movie &film, int index, const char *what, std::int64_t value);

// The most data that one frame of this movie can use: what a buffer for VFreadframe must hold.
// What a chunk has beyond it is not read.
[[nodiscard]] std::size_t vf_max_data_bytes(const vf_movie &film);

// Appends frame `index` and then writes its table entry, so that an entry never points at part of
// a chunk; a frame that is appended again is replaced, though its old data stays in the file. An
// empty span repeats the frame before. Returns 0, or -1 after a message that names file, frame and
// reason, errno telling it too: an index outside the table or no stream (EINVAL), a file that
// would pass vf_max_file_bytes (EFBIG, nothing is written then), or a failed write, which leaves
// table and file as they were as far as the system allows.
[[nodiscard]] int VFappend(vf_movie &film, int index, std::span<const std::uint8_t> data);

} // namespace movie
