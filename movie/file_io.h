// Whole reads and writes at stated places of an open file, and integers as movie files have them:
// 32-bit, most significant byte first. For this folder, and for tools that look into movie files.
//
//   std::array<std::uint8_t, 4> word{};
//   if (movie::read_at(descriptor, 28, word))
//       offset = movie::get_signed(word.data());
//
// Places are bytes from the file's start. A descriptor stays the caller's, and its own position is
// neither used nor moved. Calls that a signal interrupts are taken up again.
#pragma once

#include <cstdint>
#include <span>

namespace movie {

// Fills `to` from the place on, or returns false (some of it may be filled then): the file fails or
// ends before, or the place is negative.
[[nodiscard]] bool read_at(int descriptor, std::int64_t place, std::span<std::uint8_t> to);

// Fills head and then data from the place on, as far as the file goes, in one system call unless a
// signal interrupts it. Returns how many bytes were read; 0 also when the file fails.
[[nodiscard]] std::size_t read_up_to(int descriptor, std::int64_t place,
                                     std::span<std::uint8_t> head, std::span<std::uint8_t> data);

// Writes all of `from` at the place, or returns false with errno set; part may be written then.
[[nodiscard]] bool write_at(int descriptor, std::int64_t place, std::span<const std::uint8_t> from);

// Opens a file for reading and writing that has no name, so that it is gone with its last
// descriptor, however the program ends, and that no other user can read. It stands in the folder
// that TMPDIR names, else in the system's. Returns the descriptor, which the caller owns, or -1
// with errno set.
[[nodiscard]] int open_temporary_file();

// The file's size in bytes; -1 when it is no regular file (then errno is set).
[[nodiscard]] std::int64_t regular_size(int descriptor);

// Each takes the address of 4 bytes, aligned or not.
[[nodiscard]] std::uint32_t get_unsigned(const std::uint8_t *from);
[[nodiscard]] std::int32_t get_signed(const std::uint8_t *from);
void put_unsigned(std::uint8_t *to, std::uint32_t value);
void put_signed(std::uint8_t *to, std::int32_t value);

} // namespace movie
