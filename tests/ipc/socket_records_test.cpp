// Records over real sockets: the bytes, peers that say too much, too little or nothing, and peers
// that go away.
#include "ipc/socket_records.h"

#include "ipc/broken_pipe.h"
#include "tests/ipc/link_fixture.h"

#include <bit>
#include <cstring>
#include <limits>
#include <random>
#include <set>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <thread>

using namespace ipc;
using namespace ipc_test;
using namespace std::chrono_literals;

namespace {

constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();

bool same(const socket_record &a, const socket_record &b) {
    static_assert(sizeof a == 5 * 4 + 2 * max_cmds + max_chars + 4 * max_longs + 4 * max_floats);
    return std::memcmp(static_cast<const void *>(&a), static_cast<const void *>(&b), sizeof a) == 0;
}

// One of everything, and its bytes.
socket_record some_record() {
    socket_record record;
    record.numof_cmds = 2;
    record.datacmd = {102, 0xFFFE};
    record.numof_strings = 1;
    record.numof_chars = 3;
    record.chardata = {'a', '\0', '\xE9'};
    record.numof_longs = 2;
    record.longdata = {-2, 0x12345678};
    record.numof_floats = 2;
    record.floatdata = {-1.5F, std::bit_cast<float>(0x7FC12345U)}; // a NaN keeps its bits
    return record;
}
const std::string some_bytes("\0\0\0\2\0\x66\xFF\xFE" // where each field ends: field_ends
                             "\0\0\0\1\0\0\0\3a\0\xE9"
                             "\0\0\0\2\xFF\xFF\xFF\xFE\x12\x34\x56\x78"
                             "\0\0\0\2\xBF\xC0\0\0\x7F\xC1\x23\x45",
                             43);
constexpr std::array<std::size_t, 9> field_ends{4, 8, 12, 16, 19, 23, 31, 35, 43};
constexpr std::array<const char *, 9> field_names{"numof_cmds",  "datacmd",      "numof_strings",
                                                  "numof_chars", "chardata",     "numof_longs",
                                                  "longdata",    "numof_floats", "floatdata"};

// The first four end in a stop.
std::string reading_text(std::size_t field) {
    return std::string("readsockdata: Error reading ")
        .append(field_names[field])
        .append(field < 4 ? ".\n" : "\n");
}

// What came, once it is so much.
std::string take(int socket, std::size_t at_least) {
    std::string all;
    std::array<char, 16384> piece{};
    for (ssize_t n = 1; n > 0;) {
        n = recv(socket, piece.data(), piece.size(), all.size() < at_least ? 0 : MSG_DONTWAIT);
        all.append(piece.data(), n > 0 ? static_cast<std::size_t>(n) : 0);
    }
    return all;
}

} // namespace

TEST(SocketRecords, GoOverTheWireAsAgreed) {
    const link_pair link;
    socket_record header;
    header.numof_cmds = header_cmds;
    header.numof_longs = 1;
    const std::vector<std::pair<socket_record, std::size_t>> cases{
        {some_record(), some_bytes.size()}, {header, 36}, {socket_record{}, min_record_bytes}};
    for (const auto &[record, size] : cases) {
        ASSERT_EQ(sendsockdata(link.near, record), 0);
        const std::string bytes = take(link.far, size);
        EXPECT_EQ(bytes.size(), size);
        EXPECT_TRUE(size != some_bytes.size() || bytes == some_bytes);
    }
}

TEST(SocketRecords, ArriveAsTheyWereSent) {
    const link_pair link;
    std::mt19937 random(1);
    const auto fill = [&](auto &numbers, std::int32_t &count) {
        count = std::uniform_int_distribution<std::int32_t>(
            0, static_cast<std::int32_t>(numbers.size()))(random);
        if (random() % 4 == 0)
            count = random() % 2 == 0 ? 0 : static_cast<std::int32_t>(numbers.size());
        for (std::int32_t i = 0; i < count; i++) {
            const auto bits = static_cast<std::uint32_t>(random());
            std::memcpy(&numbers[static_cast<std::size_t>(i)], &bits, sizeof numbers[0]);
        }
    };
    for (int i = 0; i < 300; i++) {
        socket_record sent;
        socket_record got;
        fill(sent.datacmd, sent.numof_cmds);
        fill(sent.chardata, sent.numof_chars);
        fill(sent.longdata, sent.numof_longs);
        fill(sent.floatdata, sent.numof_floats);
        sent.numof_strings = i % 2 == 0 ? i : highest;
        ASSERT_EQ(sendsockdata(link.near, sent, i % 3 == 0 ? no_time_limit : 1000), 0);
        ASSERT_EQ(readsockdata(link.far, got, i % 3 == 1 ? no_time_limit : 1000), 0);
        ASSERT_TRUE(same(sent, got)) << i;
    }
    EXPECT_EQ(take(link.far, 0), "");
}

TEST(SocketRecords, MayComeInPiecesAndUnderSignals) {
    const interrupting_signals signals;
    for (std::size_t split = 1; split < some_bytes.size(); split++) {
        const link_pair link;
        socket_record got;
        std::thread sender([&] {
            link.send_far(std::string_view(some_bytes).substr(0, split));
            std::this_thread::sleep_for(5ms);
            link.send_far(std::string_view(some_bytes).substr(split));
        });
        EXPECT_EQ(readsockdata(link.near, got, split % 2 == 0 ? no_time_limit : 5000), 0);
        sender.join();
        EXPECT_TRUE(same(got, some_record())) << split;
    }
}

// The end of the stream is not an error: it reads as zeros without end.
TEST(SocketRecords, CutOffReadAsZeros) {
    for (std::size_t cut = 0; cut <= some_bytes.size(); cut++) {
        link_pair whole;
        link_pair ended;
        socket_record expected;
        socket_record got;
        whole.send_far(some_bytes.substr(0, cut) + std::string(max_record_bytes, '\0'));
        ended.send_far(some_bytes.substr(0, cut));
        link_pair::close_end(ended.far);
        ASSERT_EQ(readsockdata(whole.near, expected), 0);
        ASSERT_EQ(readsockdata(ended.near, got), 0);
        EXPECT_TRUE(same(expected, got)) << cut;
        ASSERT_EQ(readsockdata(ended.near, got), 0);
        EXPECT_TRUE(same(got, socket_record{})) << cut;
    }
}

TEST(SocketRecords, RefuseCountsThatTheyCanNotHold) {
    struct counted {
        std::int32_t socket_record::*count;
        std::size_t field;
        std::int32_t most;
    };
    const std::array<counted, 5> counts{{{&socket_record::numof_cmds, 0, max_cmds},
                                         {&socket_record::numof_strings, 2, highest},
                                         {&socket_record::numof_chars, 3, max_chars},
                                         {&socket_record::numof_longs, 5, max_longs},
                                         {&socket_record::numof_floats, 7, max_floats}}};
    for (const auto &[count, field, most] : counts) {
        for (const std::int32_t bad : {-1, lowest, most + (most < highest), highest}) {
            if (bad == most)
                continue;
            const link_pair link;
            std::string bytes = some_bytes;
            for (std::size_t i = 0; i < 4; i++)
                bytes[field_ends[field] - 4 + i] =
                    static_cast<char>(static_cast<std::uint32_t>(bad) >> (24 - 8 * i));
            link.send_far(bytes + std::string(8192, '\x7F'));
            socket_record got;
            int result = 0;
            EXPECT_EQ(errors_of([&] { result = readsockdata(link.near, got); }),
                      reading_text(field));
            EXPECT_EQ(result, -1);
            EXPECT_EQ(got.*count, 0) << bad; // and what follows was not looked at
            const std::size_t left = bytes.size() + 8192 - field_ends[field];
            EXPECT_EQ(take(link.near, left).size(), left);

            socket_record sent = some_record();
            sent.*count = bad;
            EXPECT_EQ(errors_of([&] { result = sendsockdata(link.near, sent); }),
                      std::string("sendsockdata: writing ")
                          .append(field_names[field])
                          .append(": Invalid argument\n"));
            EXPECT_EQ(result, -1);
            EXPECT_EQ(take(link.far, 0), "");
        }
    }
}

TEST(SocketRecords, GiveUpOnPeersThatStallOrReset) {
    for (std::size_t field = 0; field < field_ends.size(); field++) {
        for (const bool resets : {false, true}) {
            link_pair link;
            socket_record got;
            link.send_far(some_bytes.substr(0, field_ends[field] - 1));
            const auto start = std::chrono::steady_clock::now();
            std::thread other([&] {
                std::this_thread::sleep_for(20ms);
                if (resets)
                    link.reset_far();
            });
            int result = 0;
            const std::string why =
                resets ? "Connection reset by peer\n" : "Connection timed out\n";
            EXPECT_EQ(errors_of([&] { result = readsockdata(link.near, got, resets ? 5000 : 50); }),
                      ("readbuf: read failure: " + why).append(reading_text(field)));
            EXPECT_EQ(result, -1);
            EXPECT_GE(since(start), resets ? 10ms : 50ms);
            EXPECT_LT(since(start), 4000ms);
            other.join();
        }
    }
}

// One byte now and then does not buy time.
TEST(SocketRecords, GiveUpOnPeersThatDribble) {
    const link_pair link;
    std::thread dribbling([&] {
        for (std::size_t i = 0; i + 1 < some_bytes.size(); i++) {
            link.send_far(some_bytes.substr(i, 1));
            std::this_thread::sleep_for(10ms);
        }
    });
    socket_record got;
    EXPECT_NE(errors_of([&] { EXPECT_EQ(readsockdata(link.near, got, 100), -1); }), "");
    dribbling.join();
}

namespace {

// A socket that takes so much and no more: how much depends on what was sent before.
struct tight_pair {
    int near = -1;
    int far = -1;

    explicit tight_pair(int before) {
        std::array<int, 2> ends{};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends.data()), 0);
        near = ends[0];
        far = ends[1];
        const int smallest = 1;
        setsockopt(near, SOL_SOCKET, SO_SNDBUF, &smallest, sizeof smallest);
        for (int i = 0; i < before; i++)
            send(near, "x", 1, MSG_DONTWAIT);
    }
    ~tight_pair() {
        close(near);
        if (far >= 0)
            close(far);
    }
    tight_pair(const tight_pair &) = delete;
    tight_pair &operator=(const tight_pair &) = delete;
};

// The field of a record of which so many bytes were taken that is not complete.
std::size_t unfinished_field(const socket_record &record, std::size_t sent) {
    const std::array<std::int32_t, 9> sizes{
        4, 2 * record.numof_cmds,  4, 4, record.numof_chars, 4, 4 * record.numof_longs,
        4, 4 * record.numof_floats};
    std::size_t field = 0;
    for (std::size_t end = 0; (end += static_cast<std::size_t>(sizes[field])) <= sent;)
        field++;
    return field;
}

} // namespace

// Sending fails in fields of every kind: first because the time is over, and then once more, at
// the same place, because the peer goes away.
TEST(SocketRecords, TellWhichFieldCouldNotBeSent) {
    std::set<std::string> failed;
    for (const std::array<std::int32_t, 4> &counts :
         {std::array{256, 2048, 256, 256}, {0, 2048, 256, 0}, {0, 1100, 256, 256}}) {
        for (int before = 0; before < 8; before++) {
            socket_record record;
            record.numof_cmds = counts[0];
            record.numof_chars = counts[1];
            record.numof_longs = counts[2];
            record.numof_floats = counts[3];
            int result = 0;
            const tight_pair slow(before);
            const std::string over =
                errors_of([&] { result = sendsockdata(slow.near, record, 20); });
            if (result == 0)
                continue;
            const std::string got = take(slow.far, 0);
            const std::size_t begin = std::min(got.find_first_of('\0'), got.size());
            const std::size_t field = unfinished_field(record, got.size() - begin);
            const std::string text = std::string("sendsockdata: writing ") + field_names[field];
            failed.insert(field_names[field]);
            EXPECT_EQ(result, -1);
            EXPECT_EQ(over, text + ": Connection timed out\n");

            tight_pair ending(before);
            std::thread other([&] { // once it has taken what it takes
                int taken = 0;
                for (int i = 0; i < 5000 && static_cast<std::size_t>(taken) < got.size(); i++) {
                    std::this_thread::sleep_for(1ms);
                    ioctl(ending.far, FIONREAD, &taken);
                }
                std::this_thread::sleep_for(5ms); // as a rule, more waits by then
                link_pair::close_end(ending.far);
            });
            const std::string gone = errors_of([&] { result = sendsockdata(ending.near, record); });
            other.join();
            EXPECT_EQ(result, link_closed);
            const bool silent = field == 6 || field == 8; // long and float data
            EXPECT_TRUE(silent ? gone.empty()
                               : gone == text + ": Broken pipe\n" ||
                                     gone == text + ": Connection reset by peer\n")
                << gone;
        }
    }
    for (const char *field : {"numof_cmds", "datacmd", "chardata", "longdata", "floatdata"})
        EXPECT_TRUE(failed.contains(field)) << field;
}

namespace {

int handled = 0;
void count_signal(int) {
    handled++;
}

} // namespace

TEST(BrokenPipes, LeaveTheProgramAsItWas) {
    for (void (*const handler)(int) : {SIG_IGN, count_signal, SIG_DFL}) {
        for (const int held : {SIG_UNBLOCK, SIG_BLOCK}) {
            for (const bool resets : {false, true}) {
                sigset_t pipe;
                sigset_t mask;
                sigset_t pending;
                sigemptyset(&pipe);
                sigaddset(&pipe, SIGPIPE);
                handled = 0;
                std::signal(SIGPIPE, handler);
                pthread_sigmask(held, &pipe, nullptr);
                link_pair link;
                resets ? link.reset_far() : link_pair::close_end(link.far);
                int result = 0;
                errors_of([&] {
                    for (int i = 0; i < 1000 && result == 0; i++) {
                        result = sendsockdata(link.near, some_record());
                        std::this_thread::sleep_for(result == 0 ? 1ms : 0ms);
                    }
                });
                EXPECT_EQ(result, link_closed);
                struct sigaction now {};
                sigaction(SIGPIPE, nullptr, &now);
                EXPECT_EQ(now.sa_handler, handler);
                pthread_sigmask(SIG_UNBLOCK, nullptr, &mask);
                EXPECT_EQ(sigismember(&mask, SIGPIPE), held == SIG_BLOCK);
                sigpending(&pending);
                EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
                EXPECT_EQ(handled, 0);
                pthread_sigmask(SIG_UNBLOCK, &pipe, nullptr);
            }
        }
    }
}

TEST(BrokenPipes, AreToldFromSignalsOfOthers) {
    std::signal(SIGPIPE, count_signal);
    handled = 0;
    no_pipe_kills();
    if (const pid_t other = fork(); other == 0) {
        kill(getppid(), SIGPIPE);
        _exit(0);
    } else {
        waitpid(other, nullptr, 0);
    }
    EXPECT_EQ(clogged_pipe(), 0);
    EXPECT_EQ(handled, 1);

    sigset_t pipe; // one that waited before goes on waiting
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
    raise(SIGPIPE);
    no_pipe_kills();
    EXPECT_EQ(clogged_pipe(), 0);
    EXPECT_EQ(handled, 1);
    pthread_sigmask(SIG_UNBLOCK, &pipe, nullptr);
    EXPECT_EQ(handled, 2);

    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    close(ends[0]);
    no_pipe_kills();
    no_pipe_kills(); // the same hold
    EXPECT_EQ(write(ends[1], "x", 1), -1);
    EXPECT_EQ(clogged_pipe(), 1);
    EXPECT_EQ(clogged_pipe(), 0); // nothing is held any more
    EXPECT_EQ(handled, 2);
    close(ends[1]);
    std::signal(SIGPIPE, SIG_DFL);
}
