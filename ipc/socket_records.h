// Records on a link: what two processes say to each other over a connected TCP socket.
//
//   ipc::socket_record message;
//   ipc::fill_header(message, 102, 17, ipc::anybody, ipc::anybody, command_class, command_code);
//   if (ipc::sendsockdata(socket, message) != 0) ...           // lost
//   if (ipc::readsockdata(socket, message, 1000) != 0) ...     // lost, or stalled for a second
//
// On the wire, every number most significant byte first, without padding:
//
//   4 number of commands C       2 x C commands
//   4 number of strings          4 number of characters K     K characters
//   4 number of longs L          4 x L longs
//   4 number of floats F         4 x F floats (IEEE)
//
// Nothing marks where a record begins or ends: a stream of which a byte is lost stays out of step.
// The first six commands are the header that every sender uses (the words below).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace ipc {

// What a record can hold. A count outside 0 .. its capacity is never stored nor sent.
inline constexpr std::int32_t max_cmds = 256;
inline constexpr std::int32_t max_chars = 2048;
inline constexpr std::int32_t max_longs = 256;
inline constexpr std::int32_t max_floats = 256;

// Where the header's words stand in datacmd.
inline constexpr std::size_t word_sender = 0; // kind and instance of the sending program
inline constexpr std::size_t word_sender_instance = 1;
inline constexpr std::size_t word_addressee = 2;
inline constexpr std::size_t word_addressee_instance = 3;
inline constexpr std::size_t word_class = 4;
inline constexpr std::size_t word_code = 5;
inline constexpr std::int32_t header_cmds = 6;

inline constexpr std::uint16_t anybody = 0xFFFF; // addressee: whoever is at the other end

struct socket_record {
    std::int32_t numof_cmds = 0;
    std::array<std::uint16_t, max_cmds> datacmd{};
    std::int32_t numof_strings = 0; // carried, not interpreted
    std::int32_t numof_chars = 0;
    std::array<char, max_chars> chardata{};
    std::int32_t numof_longs = 0;
    std::array<std::int32_t, max_longs> longdata{};
    std::int32_t numof_floats = 0;
    std::array<float, max_floats> floatdata{};
};

// Fills the record anew: the header, and nothing behind it.
void fill_header(socket_record &record, std::uint16_t sender, std::uint16_t sender_instance,
                 std::uint16_t addressee, std::uint16_t addressee_instance,
                 std::uint16_t message_class, std::uint16_t code);

// The most bytes that a record takes on the wire, and the least.
inline constexpr std::size_t max_record_bytes =
    20 + 2 * max_cmds + max_chars + 4 * max_longs + 4 * max_floats;
inline constexpr std::size_t min_record_bytes = 20;

inline constexpr int link_closed = -2; // the peer has gone away
inline constexpr int no_time_limit = -1;

// Sends one record.
//   time_limit  milliseconds in which the peer must have taken it, or no_time_limit
// Returns 0; -1 after a report; or link_closed when the peer has gone away, which never ends the
// process (broken_pipe.h). A count outside its capacity is -1 before anything is sent; so is, in
// the middle of a record, a peer that does not take it in time: the stream is out of step then, and
// the socket good for closing only.
[[nodiscard]] int sendsockdata(int socket, const socket_record &record,
                               int time_limit = no_time_limit);

// Reads one record, all of which is cleared first.
//   time_limit  milliseconds in which all of it must have come, or no_time_limit
// Returns 0, or -1 after "readsockdata: Error reading ..." with the field's name: the socket fails,
// a count is outside its capacity, or the time is over. What the end of the stream cuts off stays
// 0, which is no error: at the end of the stream all counts are 0.
[[nodiscard]] int readsockdata(int socket, socket_record &record, int time_limit = no_time_limit);

// Reads until buffer is full. Interrupted reads are continued. Returns the number of bytes read,
// fewer than asked for at the end of the stream only; or -1 after "readbuf: read failure: ...".
[[nodiscard]] std::ptrdiff_t readbuf(int socket, std::span<std::uint8_t> buffer,
                                     int time_limit = no_time_limit);

} // namespace ipc
