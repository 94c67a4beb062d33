#include "ipc/socket_records.h"

#include "ipc/broken_pipe.h"
#include "ipc/reports.h"
#include "ipc/waiting.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <limits>
#include <sys/socket.h>

namespace ipc {

static_assert(sizeof(float) == 4 && std::numeric_limits<float>::is_iec559);

namespace {

// The fields in the order of the wire.
enum field : std::size_t {
    field_numof_cmds,
    field_datacmd,
    field_numof_strings,
    field_numof_chars,
    field_chardata,
    field_numof_longs,
    field_longdata,
    field_numof_floats,
    field_floatdata,
    number_of_fields
};

struct field_texts {
    const char *writing;
    const char *reading;
};

constexpr std::array<field_texts, number_of_fields> texts{{
    {"sendsockdata: writing numof_cmds", "readsockdata: Error reading numof_cmds.\n"},
    {"sendsockdata: writing datacmd", "readsockdata: Error reading datacmd.\n"},
    {"sendsockdata: writing numof_strings", "readsockdata: Error reading numof_strings.\n"},
    {"sendsockdata: writing numof_chars", "readsockdata: Error reading numof_chars.\n"},
    {"sendsockdata: writing chardata", "readsockdata: Error reading chardata\n"},
    {"sendsockdata: writing numof_longs", "readsockdata: Error reading numof_longs\n"},
    {"sendsockdata: writing longdata", "readsockdata: Error reading longdata\n"},
    {"sendsockdata: writing numof_floats", "readsockdata: Error reading numof_floats\n"},
    {"sendsockdata: writing floatdata", "readsockdata: Error reading floatdata\n"},
}};

// How strings are laid out in the characters is the senders' affair: any number goes.
constexpr std::int32_t max_strings = std::numeric_limits<std::int32_t>::max();

// The same number as an unsigned integer of its size.
std::uint16_t bits_of(std::uint16_t number) {
    return number;
}
std::uint32_t bits_of(std::int32_t number) {
    return static_cast<std::uint32_t>(number);
}
std::uint32_t bits_of(float number) {
    return std::bit_cast<std::uint32_t>(number);
}

template <typename number> std::uint8_t *put(std::uint8_t *to, number value) {
    const auto bits = bits_of(value);
    for (int shift = 8 * (int{sizeof bits} - 1); shift >= 0; shift -= 8)
        *to++ = static_cast<std::uint8_t>(bits >> static_cast<unsigned>(shift) & 0xFFU);
    return to;
}

template <typename number> number get(const std::uint8_t *from) {
    using unsigned_number = decltype(bits_of(number{}));
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < sizeof(number); i++)
        bits = bits << 8U | from[i];
    return std::bit_cast<number>(static_cast<unsigned_number>(bits));
}

// A record as it goes over the wire.
struct wire_record {
    std::array<std::uint8_t, max_record_bytes> bytes;
    std::array<std::size_t, number_of_fields> ends; // of each field in bytes
};

template <typename numbers>
std::uint8_t *put_all(std::uint8_t *to, const numbers &values, std::int32_t count) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); i++)
        to = put(to, values[i]);
    return to;
}

void encode(const socket_record &record, wire_record &wire) {
    std::uint8_t *to = wire.bytes.data();
    std::size_t at = 0;
    const auto end_field = [&](std::uint8_t *end) {
        to = end;
        wire.ends[at++] = static_cast<std::size_t>(end - wire.bytes.data());
    };
    end_field(put(to, record.numof_cmds));
    end_field(put_all(to, record.datacmd, record.numof_cmds));
    end_field(put(to, record.numof_strings));
    end_field(put(to, record.numof_chars));
    end_field(std::copy_n(record.chardata.data(), record.numof_chars, to));
    end_field(put(to, record.numof_longs));
    end_field(put_all(to, record.longdata, record.numof_longs));
    end_field(put(to, record.numof_floats));
    end_field(put_all(to, record.floatdata, record.numof_floats));
}

bool is_count(std::int32_t count, std::int32_t most) {
    return count >= 0 && count <= most;
}

// The first count that is none, or number_of_fields.
field find_wrong_count(const socket_record &record) {
    if (!is_count(record.numof_cmds, max_cmds))
        return field_numof_cmds;
    if (!is_count(record.numof_strings, max_strings))
        return field_numof_strings;
    if (!is_count(record.numof_chars, max_chars))
        return field_numof_chars;
    if (!is_count(record.numof_longs, max_longs))
        return field_numof_longs;
    return is_count(record.numof_floats, max_floats) ? number_of_fields : field_numof_floats;
}

// After EAGAIN or the like: whether to go on at once, having waited if need be.
bool may_go_on(int socket, short events, moment until) {
    if (errno == EINTR)
        return true;
    if (errno != EAGAIN && errno != EWOULDBLOCK)
        return false;
    return wait_ready(socket, events, until) > 0;
}

// Sends bytes from *sent up to end, which *sent follows. False: errno tells why.
bool send_until(int socket, std::span<const std::uint8_t> bytes, std::size_t end, moment until,
                std::size_t *sent) {
    const int flags = until == never ? 0 : MSG_DONTWAIT;
    while (*sent < end) {
        const ssize_t n = send(socket, bytes.data() + *sent, end - *sent, flags);
        if (n >= 0)
            *sent += static_cast<std::size_t>(n);
        else if (!may_go_on(socket, POLLOUT, until))
            return false;
    }
    return true;
}

// A reset tells the same as a broken pipe: that one comes with the next write only.
bool has_gone(int error) {
    return clogged_pipe() != 0 || error == EPIPE || error == ECONNRESET;
}

int fail_send(field where) {
    const int error = errno;
    const bool may_be_silent = where == field_longdata || where == field_floatdata;
    if (may_be_silent && has_gone(error))
        return link_closed;
    errno = error;
    report_error(texts[where].writing);
    return !may_be_silent && has_gone(error) ? link_closed : -1;
}

// Reads into buffer, and tells how far it came.
bool read_until(int socket, std::span<std::uint8_t> buffer, moment until, std::size_t *got) {
    const int flags = until == never ? 0 : MSG_DONTWAIT;
    *got = 0;
    while (*got < buffer.size()) {
        const ssize_t n = recv(socket, buffer.data() + *got, buffer.size() - *got, flags);
        if (n > 0)
            *got += static_cast<std::size_t>(n);
        else if (n == 0)
            return true; // the end of the stream
        else if (!may_go_on(socket, POLLIN, until))
            return false;
    }
    return true;
}

struct reader {
    int socket;
    moment until;
};

bool fail_read(field where) {
    report("%s", texts[where].reading);
    return false;
}

bool read_field(const reader &from, field where, std::span<std::uint8_t> bytes) {
    std::size_t got = 0;
    if (read_until(from.socket, bytes, from.until, &got))
        return true;
    report_error("readbuf: read failure");
    return fail_read(where);
}

bool read_count(const reader &from, field where, std::int32_t most, std::int32_t *count) {
    std::array<std::uint8_t, sizeof *count> bytes{};
    if (!read_field(from, where, bytes))
        return false;
    const auto received = get<std::int32_t>(bytes.data());
    if (!is_count(received, most)) {
        errno = EPROTO;
        return fail_read(where);
    }
    *count = received;
    return true;
}

template <typename number, std::size_t capacity>
bool read_numbers(const reader &from, field where, std::int32_t count,
                  std::array<number, capacity> &to) {
    std::array<std::uint8_t, sizeof(number) * capacity> bytes;
    const std::span<std::uint8_t> wanted(bytes.data(),
                                         sizeof(number) * static_cast<std::size_t>(count));
    std::ranges::fill(wanted, std::uint8_t{0}); // what the end of the stream cuts off
    if (!read_field(from, where, wanted))
        return false;
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); i++)
        to[i] = get<number>(bytes.data() + sizeof(number) * i);
    return true;
}

bool read_characters(const reader &from, socket_record &record) {
    auto *const to = reinterpret_cast<std::uint8_t *>(record.chardata.data());
    return read_field(from, field_chardata, {to, static_cast<std::size_t>(record.numof_chars)});
}

} // namespace

void fill_header(socket_record &record, std::uint16_t sender, std::uint16_t sender_instance,
                 std::uint16_t addressee, std::uint16_t addressee_instance,
                 std::uint16_t message_class, std::uint16_t code) {
    record = socket_record{};
    record.numof_cmds = header_cmds;
    record.datacmd = {sender, sender_instance, addressee, addressee_instance, message_class, code};
}

// The first count goes out alone: a peer that has gone answers it with a reset, so that the rest
// meets the broken pipe and the caller hears of it now. The rest is one write, which the peer gets
// at once.
int sendsockdata(int socket, const socket_record &record, int time_limit) {
    if (const field wrong = find_wrong_count(record); wrong != number_of_fields) {
        errno = EINVAL;
        report_error(texts[wrong].writing);
        return -1;
    }
    wire_record wire;
    encode(record, wire);
    const moment until = moment_after(time_limit);
    std::size_t sent = 0;
    no_pipe_kills();
    if (send_until(socket, wire.bytes, wire.ends.front(), until, &sent) &&
        send_until(socket, wire.bytes, wire.ends.back(), until, &sent))
        return clogged_pipe() != 0 ? link_closed : 0;
    const auto *const where = std::ranges::upper_bound(wire.ends, sent);
    return fail_send(static_cast<field>(where - wire.ends.begin()));
}

int readsockdata(int socket, socket_record &record, int time_limit) {
    record = socket_record{};
    const reader from{socket, moment_after(time_limit)};
    const bool complete =
        read_count(from, field_numof_cmds, max_cmds, &record.numof_cmds) &&
        read_numbers(from, field_datacmd, record.numof_cmds, record.datacmd) &&
        read_count(from, field_numof_strings, max_strings, &record.numof_strings) &&
        read_count(from, field_numof_chars, max_chars, &record.numof_chars) &&
        read_characters(from, record) &&
        read_count(from, field_numof_longs, max_longs, &record.numof_longs) &&
        read_numbers(from, field_longdata, record.numof_longs, record.longdata) &&
        read_count(from, field_numof_floats, max_floats, &record.numof_floats) &&
        read_numbers(from, field_floatdata, record.numof_floats, record.floatdata);
    return complete ? 0 : -1;
}

std::ptrdiff_t readbuf(int socket, std::span<std::uint8_t> buffer, int time_limit) {
    std::size_t got = 0;
    if (read_until(socket, buffer, moment_after(time_limit), &got))
        return static_cast<std::ptrdiff_t>(got);
    report_error("readbuf: read failure");
    return -1;
}

} // namespace ipc
