// Any bytes as records on a link, whose other end then says no more or has gone: no count is beyond
// what a record holds, and what was read complete is sent again as the same bytes.
//
//   cmake --preset fuzz && cmake --build --preset fuzz
//   build/fuzz/bin/records_fuzz -max_total_time=60 -close_fd_mask=2 NEW fuzz/corpus/records
#include "ipc/socket_records.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::size_t most_bytes = 1 << 15; // what a socket holds without a reader
constexpr int limit = 0;                    // ms: all there is has come

struct socket_pair {
    std::array<int, 2> ends{};

    socket_pair() {
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
            std::abort();
    }
    ~socket_pair() {
        close(ends[0]);
        close(ends[1]);
    }
    socket_pair(const socket_pair &) = delete;
    socket_pair &operator=(const socket_pair &) = delete;
};

void require(bool holds) {
    if (!holds)
        std::abort();
}

void send_all(int socket, std::span<const std::uint8_t> bytes) {
    require(send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
            static_cast<ssize_t>(bytes.size()));
}

bool in_range(const ipc::socket_record &record) {
    const auto within = [](std::int32_t count, std::int32_t most) {
        return count >= 0 && count <= most;
    };
    return within(record.numof_cmds, ipc::max_cmds) && record.numof_strings >= 0 &&
           within(record.numof_chars, ipc::max_chars) &&
           within(record.numof_longs, ipc::max_longs) &&
           within(record.numof_floats, ipc::max_floats);
}

std::size_t wire_size(const ipc::socket_record &record) {
    return ipc::min_record_bytes +
           static_cast<std::size_t>(2 * record.numof_cmds + record.numof_chars +
                                    4 * record.numof_longs + 4 * record.numof_floats);
}

// Sends what was read, and compares it with the bytes it was read from.
void send_again(const ipc::socket_record &record, std::span<const std::uint8_t> from) {
    const socket_pair again;
    std::array<std::uint8_t, ipc::max_record_bytes> bytes{};
    require(ipc::sendsockdata(again.ends[0], record) == 0);
    const ssize_t size = recv(again.ends[1], bytes.data(), bytes.size(), MSG_DONTWAIT);
    require(size == static_cast<ssize_t>(wire_size(record)));
    require(std::equal(from.begin(), from.end(), bytes.begin()));
}

} // namespace

// The first byte says whether the stream ends or stalls.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size == 0 || size > most_bytes)
        return 0;
    std::span<const std::uint8_t> bytes(data + 1, size - 1);
    const socket_pair link;
    const bool stalls = data[0] % 2 == 0;
    if (!bytes.empty())
        send_all(link.ends[0], bytes);
    if (!stalls)
        shutdown(link.ends[0], SHUT_WR);
    ipc::socket_record record;
    while (!bytes.empty()) {
        const int result = ipc::readsockdata(link.ends[1], record, limit);
        require(in_range(record));
        if (result != 0)
            return 0;
        const std::size_t used = std::min(wire_size(record), bytes.size());
        if (used == wire_size(record))
            send_again(record, bytes.first(used));
        else
            require(!stalls); // only the end of the stream may cut a record off
        bytes = bytes.subspan(used);
    }
    if (!stalls)
        require(ipc::readsockdata(link.ends[1], record, limit) == 0 && record.numof_cmds == 0);
    return 0;
}
