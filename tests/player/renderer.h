// The renderer's end of a link, by hand: what it sends may be anything.
//
//   renderer parent;                                   // listens on parent.port
//   std::thread thread([&] { parent.begin({.count = 3}); parent.frame(1); });
#pragma once

#include "ipc/process_link.h"
#include "ipc/session_codes.h"
#include "ipc/shared_blocks.h"
#include "tests/player/player_fixture.h"
#include "tests/support/segments.h"

#include <array>
#include <atomic>
#include <bit>
#include <span>
#include <sys/socket.h>

namespace player_test {

inline constexpr int patience_ms = 10'000; // of tests, for what is to come at once

using test_support::count_segments;
using test_support::has_own_namespace;

inline std::ptrdiff_t count_descriptors() {
    const std::filesystem::directory_iterator open("/proc/self/fd");
    return std::distance(begin(open), end(open));
}

struct session_plan {
    int first = 1;
    int count = 4;
    int width = 64;
    int height = 48;
    bool is_render = false;
    float rate = 25;
    bool has_status = true;
};

using record = ipc::socket_record;

inline record make_record(std::uint16_t kind, std::uint16_t code,
                          const std::vector<std::int32_t> &longs = {},
                          const std::vector<float> &floats = {}) {
    record made;
    made.numof_cmds = ipc::header_cmds;
    made.datacmd = {7, 8, ipc::player_id, ipc::player_instance, kind, code};
    made.numof_longs = static_cast<std::int32_t>(longs.size());
    std::ranges::copy(longs, made.longdata.begin());
    made.numof_floats = static_cast<std::int32_t>(floats.size());
    std::ranges::copy(floats, made.floatdata.begin());
    return made;
}

// A record as it travels; its counts need not be those of what follows.
class wire {
public:
    explicit wire(const record &r) {
        begin(r.numof_cmds);
        for (int i = 0; i < r.numof_cmds; ++i)
            put(r.datacmd[static_cast<std::size_t>(i)], 2);
        begin(r.numof_strings);
        begin(r.numof_chars);
        for (int i = 0; i < r.numof_chars; ++i)
            bytes.push_back(static_cast<std::uint8_t>(r.chardata[static_cast<std::size_t>(i)]));
        begin(r.numof_longs);
        for (int i = 0; i < r.numof_longs; ++i)
            put(static_cast<std::uint32_t>(r.longdata[static_cast<std::size_t>(i)]), 4);
        begin(r.numof_floats);
        for (int i = 0; i < r.numof_floats; ++i)
            put(std::bit_cast<std::uint32_t>(r.floatdata[static_cast<std::size_t>(i)]), 4);
    }
    wire &with_count(std::size_t which, std::int32_t count) {
        for (std::size_t i = 0; i < 4; ++i)
            bytes[counts[which] + i] =
                static_cast<std::uint8_t>(static_cast<std::uint32_t>(count) >> (24 - 8 * i));
        return *this;
    }

    std::vector<std::uint8_t> bytes;
    std::vector<std::size_t> counts; // where the five counts stand

private:
    void put(std::uint32_t value, int size) {
        for (int shift = 8 * size - 8; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<std::uint8_t>(value >> static_cast<unsigned>(shift)));
    }
    void begin(std::int32_t count) {
        counts.push_back(bytes.size());
        put(static_cast<std::uint32_t>(count), 4);
    }
};

class renderer {
public:
    renderer() { listener_ = ipc::createsocket(&port); }
    ~renderer() {
        leave();
        ::close(listener_);
    }
    renderer(const renderer &) = delete;
    renderer &operator=(const renderer &) = delete;

    // ---- the link
    void accept() { socket = ipc::accept_link(listener_, patience_ms); }
    void shake() {
        accept();
        EXPECT_EQ(read().datacmd[ipc::word_code], ipc::IPC_INITDATARDY);
        send(make_record(ipc::class_init_answer, ipc::code_init_data));
    }
    [[nodiscard]] record parameters(const session_plan &p) {
        if (p.has_status)
            make_block(status_, ipc::status_bytes);
        width_ = p.width;
        height_ = p.height;
        return make_record(ipc::class_data, ipc::code_play_args,
                           {99, 3, p.first, p.count, p.width, p.height, p.is_render ? 1 : 0, 12,
                            status_.key, static_cast<std::int32_t>(status_.size)},
                           {p.rate});
    }
    // Up to the player's window.
    void begin(const session_plan &p) {
        shake();
        send(parameters(p));
        EXPECT_EQ(read().datacmd[ipc::word_code], ipc::code_pid);
    }
    void leave() {
        close_socket();
        for (block *each : {&status_, &frames_[0], &frames_[1]})
            drop_block(*each);
    }
    void close_socket() {
        if (socket >= 0)
            ::close(socket);
        socket = -1;
    }
    void reset() {
        const linger at_once{1, 0};
        ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
        close_socket();
    }

    // ---- messages
    // Whether all of it has gone, which a peer that does not read may prevent.
    bool send(std::span<const std::uint8_t> bytes, int flags = 0) const {
        const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL | flags);
        return sent == static_cast<ssize_t>(bytes.size());
    }
    bool send(const record &r, int flags = 0) const { return send(wire(r).bytes, flags); }
    // The next one; without commands when the player has closed the link, which it may have done
    // with something of ours unread.
    [[nodiscard]] record read(int limit = patience_ms) const {
        record r;
        const timeval time{limit / 1000, 0};
        ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
        const bool is_whole = take(r.numof_cmds, 4) && take_all(r.numof_cmds, 2, r.datacmd) &&
                              take(r.numof_strings, 4) && take(r.numof_chars, 4) &&
                              take_all(r.numof_chars, 1, r.chardata) && take(r.numof_longs, 4) &&
                              take_all(r.numof_longs, 4, r.longdata) && take(r.numof_floats, 4);
        return is_whole ? r : record{};
    }
    bool request(std::uint16_t code = ipc::code_request_pid) const {
        return send(make_record(ipc::class_request, code));
    }
    bool command(std::uint16_t code) const { return send(make_record(ipc::class_command, code)); }
    [[nodiscard]] bool is_answered() const {
        return request() && read().datacmd[ipc::word_code] == ipc::code_pid;
    }
    [[nodiscard]] bool is_closed(int limit = patience_ms) const {
        return read(limit).numof_cmds == 0;
    }

    // ---- frames
    struct block {
        void *address = nullptr;
        int key = -1;
        int id = 0;
        std::size_t size = 0;
    };
    static void make_block(block &b, std::size_t size, int key = ipc::fresh_key) {
        b.key = key;
        b.address = ipc::shmem_malloc(size, &b.key, &b.id);
        b.size = size;
        ASSERT_NE(b.address, nullptr);
    }
    static void drop_block(block &b) {
        if (b.address != nullptr)
            ipc::shmem_free(b.address, b.id);
        b = {};
    }
    void resize(int width, int height) {
        width_ = width;
        height_ = height;
    }
    [[nodiscard]] std::size_t frame_bytes() const {
        return static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_) * 4;
    }
    // Each of these returns whether the player has taken the frame.
    bool frame(int number, int colour_of = -1) {
        block &b = frames_[static_cast<std::size_t>(number) % 2];
        if (b.address == nullptr)
            make_block(b, frame_bytes());
        paint(b, frame_bytes(), colour_of < 0 ? number : colour_of);
        return announce({b.key, static_cast<std::int32_t>(frame_bytes()), number});
    }
    static void paint(const block &b, std::size_t bytes, int number) {
        std::fill_n(static_cast<std::uint32_t *>(b.address), bytes / 4, frame_colour(number));
    }
    bool announce(const std::vector<std::int32_t> &longs) {
        set_status(ipc::status_taken, 0);
        send(make_record(ipc::class_data, ipc::code_frame_ready, longs));
        if (request()) // the answer comes behind the frame, or the link's end
            static_cast<void>(read());
        EXPECT_EQ(status(ipc::status_busy), 0);
        return status(ipc::status_taken) == 1;
    }

    // ---- the status block
    [[nodiscard]] int status(std::size_t place = ipc::status_state) const { return byte(place); }
    void set_status(std::size_t place, std::uint8_t to) const { byte(place) = to; }
    [[nodiscard]] bool has_status(int wanted) const {
        for (int tries = 0; tries < patience_ms / 2 && status() != wanted; ++tries)
            ::usleep(2000);
        return status() == wanted;
    }

    std::uint16_t port = 0;
    int socket = -1;

private:
    template <typename number> bool take(number &value, std::size_t size) const {
        std::array<std::uint8_t, 4> bytes{};
        const ssize_t got = ::recv(socket, bytes.data(), size, MSG_WAITALL);
        EXPECT_FALSE(got < 0 && errno == EAGAIN) << "nothing comes";
        std::uint32_t all = 0;
        for (std::size_t i = 0; i < size; ++i)
            all = all << 8 | bytes[i];
        value = static_cast<number>(all);
        return got == static_cast<ssize_t>(size);
    }
    template <typename numbers>
    bool take_all(std::int32_t count, std::size_t size, numbers &values) const {
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
            if (i >= values.size() || !take(values[i], size))
                return false;
        return true;
    }
    std::atomic_ref<std::uint8_t> byte(std::size_t place) const {
        return std::atomic_ref(static_cast<std::uint8_t *>(status_.address)[place]);
    }

    int listener_ = -1;
    block status_;
    std::array<block, 2> frames_;
    int width_ = 0;
    int height_ = 0;
};

} // namespace player_test
