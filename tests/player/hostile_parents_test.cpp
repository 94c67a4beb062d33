// Parents that are broken, or mean it badly. Here is no window: what the link does with them is seen
// more quickly so. None may crash the player, hold it for longer than it says, or leave anything
// behind.
#include "tests/player/renderer.h"

#include <csignal>
#include <functional>
#include <limits>
#include <poll.h>
#include <random>
#include <sched.h>
#include <sys/wait.h>
#include <thread>

namespace {

using namespace player;
using player_test::make_record;
using player_test::record;
using player_test::renderer;
using player_test::session_plan;
using player_test::wire;

constexpr std::array field_names{"numof_cmds",  "datacmd",      "numof_strings",
                                 "numof_chars", "chardata",     "numof_longs",
                                 "longdata",    "numof_floats", "floatdata"};
constexpr int most_ms = 8000; // for one parent, whatever it does

const char *running = ""; // the parent that is tested

void fail_hang(int) {
    std::fprintf(stdout, "the player hangs: %s\n", running);
    std::fflush(stdout);
    std::_Exit(EXIT_FAILURE);
}

// A record of which every field has something in it.
record full_record() {
    record r = make_record(ipc::class_request, 0x7000, {1, 2, 3}, {4, 5});
    r.numof_strings = 1;
    r.numof_chars = 10;
    return r;
}

// Where its fields begin, in the order of field_names, and where it ends.
std::vector<std::size_t> field_places(const wire &w) {
    return {w.counts[0], w.counts[0] + 4, w.counts[1], w.counts[2],     w.counts[2] + 4,
            w.counts[3], w.counts[3] + 4, w.counts[4], w.counts[4] + 4, w.bytes.size()};
}

class hostile_parents_test : public player_test::player_fixture {
protected:
    struct outcome {
        bool is_lost = false;
        int longest_ms = 0; // that one look at the link took
        std::string said;
    };
    using deeds = std::function<void(renderer &)>;

    static void SetUpTestSuite() { player_test::has_own_namespace(); }

    void SetUp() override {
        player_fixture::SetUp();
        std::signal(SIGALRM, fail_hang);
        ::setenv("TMPDIR", folder.c_str(), 1);
    }
    void TearDown() override {
        ::alarm(0);
        ::unsetenv("TMPDIR");
        player_fixture::TearDown();
    }

    // Plays the player for a parent that has gone as far as the frames, or not even there; until it
    // has done its deeds, and what it has sent is read.
    outcome face(const char *name, const deeds &does, bool is_begun = true,
                 const session_plan &plan = {}) {
        running = name;
        ::alarm(3 * most_ms / 1000);
        const std::ptrdiff_t descriptors = player_test::count_descriptors();
        outcome result;
        testing::internal::CaptureStderr();
        {
            renderer parent;
            std::atomic<bool> is_done = false;
            state = {};
            clear();
            parent_link.port = parent.port;
            std::thread thread([&] {
                if (is_begun) {
                    parent.shake();
                    parent.send(parent.parameters(plan));
                }
                does(parent);
                is_done = true;
            });
            result.is_lost = open_link(parent_link, args) != 0;
            attach_link_status(parent_link);
            for (bool is_quiet = false; parent_link.socket > 0 && !is_quiet;) {
                const bool was_done = is_done; // all that it has sent is here then
                is_quiet = !take_all(&result.longest_ms) && was_done;
                pollfd ready{parent_link.socket, POLLIN, 0};
                ::poll(&ready, 1, 10);
            }
            thread.join();
            result.is_lost |= parent_link.is_lost;
            close_link(parent_link);
        }
        clear();
        result.said = testing::internal::GetCapturedStderr();
        ::alarm(0);
        EXPECT_EQ(player_test::count_descriptors(), descriptors) << name;
        EXPECT_EQ(player_test::count_segments(), 0) << name;
        EXPECT_LT(result.longest_ms, 4000) << name; // a second, on a busy machine
        return result;
    }
    // The same for many parents at a time, each in a process of its own, which must judge for itself.
    struct row {
        std::string name;
        std::function<void()> does;
    };
    void face_at_once(const std::vector<row> &rows) {
        std::signal(SIGCHLD, SIG_DFL);
        std::fflush(stdout);
        std::vector<pid_t> children;
        for (const row &r : rows) {
            children.push_back(::fork());
            ASSERT_GE(children.back(), 0);
            if (children.back() != 0)
                continue;
            EXPECT_TRUE(!player_test::has_own_namespace() || ::unshare(CLONE_NEWIPC) == 0);
            folder += "/" + std::to_string(::getpid());
            r.does();
            std::fflush(stdout);
            std::_Exit(HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
        }
        for (std::size_t i = 0; i < rows.size(); ++i) {
            int status = -1;
            EXPECT_EQ(::waitpid(children[i], &status, 0), children[i]);
            EXPECT_EQ(status, 0) << rows[i].name;
        }
    }
    // It still does what a good parent wants.
    static deeds and_then_behave(const deeds &does) {
        return [does](renderer &parent) {
            does(parent);
            EXPECT_TRUE(parent.is_answered()) << running;
            EXPECT_TRUE(parent.frame(2)) << running;
        };
    }

private:
    void clear() {
        args = {};
        ref = {};
        parent_link = {};
    }
    static bool take_all(int *longest_ms) {
        bool has_any = false;
        bool has = true;
        for (int i = 0; i < 100 && has; ++i) {
            const auto start = std::chrono::steady_clock::now();
            has = handle_link_event(parent_link, playback, open_movie);
            has_any |= has;
            const std::chrono::duration<double, std::milli> time =
                std::chrono::steady_clock::now() - start;
            *longest_ms = std::max(*longest_ms, static_cast<int>(time.count()));
        }
        return has_any;
    }
};

// 18 parents: every count below zero, and above its capacity.
TEST_F(hostile_parents_test, counts_that_no_record_has_lose_the_link) {
    constexpr std::array capacities{256, INT32_MAX, 2048, 256, 256};
    constexpr std::array names{"numof_cmds", "numof_strings", "numof_chars", "numof_longs",
                               "numof_floats"};
    for (std::size_t which = 0; which < names.size(); ++which) {
        for (const std::int64_t count :
             {std::int64_t{-1}, std::int64_t{INT32_MIN}, std::int64_t{capacities[which]} + 1,
              std::int64_t{INT32_MAX}}) {
            if (which == 1 && count > 0)
                continue; // any number of strings goes
            const outcome seen = face(names[which], [&](renderer &parent) {
                parent.send(
                    wire(full_record()).with_count(which, static_cast<std::int32_t>(count)).bytes);
                EXPECT_TRUE(parent.is_closed()) << names[which] << " " << count;
            });
            EXPECT_TRUE(seen.is_lost) << names[which] << " " << count;
            const std::string text =
                std::string("readsockdata: Error reading ").append(names[which]);
            EXPECT_EQ(seen.said.find(text), 0U) << seen.said;
            EXPECT_LT(seen.longest_ms, 1000) << "without waiting for more";
        }
    }
}

// 18 parents: the end, and a reset, within each field.
TEST_F(hostile_parents_test, records_that_break_off_lose_the_link) {
    const wire whole(full_record());
    const std::vector<std::size_t> places = field_places(whole);
    for (std::size_t field = 0; field + 1 < places.size(); ++field) {
        for (const bool by_reset : {false, true}) {
            const std::size_t cut = (places[field] + places[field + 1]) / 2;
            const outcome seen = face(field_names[field], [&](renderer &parent) {
                parent.send(std::span(whole.bytes).first(cut));
                if (by_reset) {
                    ::usleep(2000); // what was sent before goes with it otherwise
                    parent.reset();
                } else {
                    parent.close_socket();
                }
            });
            EXPECT_TRUE(seen.is_lost) << field_names[field];
            EXPECT_NE(seen.said.find("The link to the parent is lost."), std::string::npos)
                << seen.said;
        }
    }
}

// 20 parents: nothing comes any more, within each field of the first record and of a later one; and
// handshakes that do.
TEST_F(hostile_parents_test, stalls_end_the_link_after_a_second) {
    const wire whole(full_record());
    const std::vector<std::size_t> places = field_places(whole);
    std::vector<row> rows;
    for (std::size_t field = 0; field + 1 < places.size(); ++field) {
        const std::size_t cut = (places[field] + places[field + 1]) / 2;
        for (const bool is_begun : {true, false}) {
            rows.push_back(
                {std::string(field_names[field]), [=, this, &whole] {
                     const outcome seen = face(
                         field_names[field],
                         [&](renderer &parent) {
                             if (!is_begun)
                                 parent.shake();
                             const auto start = std::chrono::steady_clock::now();
                             parent.send(std::span(whole.bytes).first(cut));
                             EXPECT_TRUE(parent.is_closed());
                             const auto time = std::chrono::steady_clock::now() - start;
                             EXPECT_GT(time, std::chrono::milliseconds(900));
                             EXPECT_LT(time, std::chrono::milliseconds(4500));
                         },
                         is_begun);
                     EXPECT_TRUE(seen.is_lost);
                     const std::string text =
                         std::string("readsockdata: Error reading ").append(field_names[field]);
                     EXPECT_NE(seen.said.find(text), std::string::npos) << seen.said;
                 }});
        }
    }
    rows.push_back({"no answer", [this] {
                        const outcome seen = face(
                            "no answer",
                            [](renderer &parent) {
                                parent.accept();
                                static_cast<void>(parent.read());
                                EXPECT_TRUE(parent.is_closed());
                            },
                            false);
                        EXPECT_EQ(seen.said, "playertool: Error reading initialization data.\n");
                    }});
    rows.push_back({"no parameters", [this] {
                        const outcome seen = face(
                            "no parameters",
                            [](renderer &parent) {
                                parent.shake();
                                record r;
                                EXPECT_EQ(ipc::readsockdata(parent.socket, r, 15'000), 0);
                            },
                            false);
                        EXPECT_TRUE(seen.is_lost);
                        EXPECT_EQ(std::ranges::count(seen.said, '\n'), 1) << seen.said;
                    }});
    face_at_once(rows);
}

// 4 parents whose records come byte by byte.
TEST_F(hostile_parents_test, records_split_at_every_byte_are_whole) {
    const auto drip = [](renderer &parent, const record &r) {
        for (const std::uint8_t byte : wire(r).bytes) {
            parent.send(std::span(&byte, 1));
            if (byte % 8 == 0)
                ::usleep(200);
        }
    };
    const outcome seen = face(
        "parameters",
        [&](renderer &parent) {
            parent.accept();
            static_cast<void>(parent.read());
            drip(parent, make_record(ipc::class_init_answer, ipc::code_init_data));
            drip(parent, parent.parameters({}));
            EXPECT_TRUE(parent.is_answered());
            EXPECT_TRUE(parent.frame(1));
        },
        false);
    EXPECT_FALSE(seen.is_lost);
    EXPECT_EQ(seen.said, "");
    for (const record &r : {make_record(ipc::class_request, ipc::code_request_size), full_record(),
                            make_record(ipc::class_data, ipc::code_frame_ready, {1, 2, 3})})
        EXPECT_FALSE(face("bytes", and_then_behave([&](renderer &parent) {
                              drip(parent, r);
                              if (r.datacmd[ipc::word_code] == ipc::code_request_size) {
                                  EXPECT_EQ(parent.read().numof_longs, 2);
                              }
                          }))
                         .is_lost);
}

// 40 parents: parameters of which one is absurd; a frame of them, and a message behind it.
TEST_F(hostile_parents_test, absurd_parameters_are_brought_to_what_can_be) {
    constexpr std::array names{"session word", "current",    "first",  "count",
                               "width",        "height",     "render", "compression",
                               "status key",   "status size"};
    int said_something = 0;
    for (std::size_t which = 0; which < names.size(); ++which) {
        for (const std::int32_t value : {INT32_MIN, -1, 2, INT32_MAX}) {
            const outcome seen = face(
                names[which],
                [&](renderer &parent) {
                    parent.shake();
                    record m = parent.parameters({});
                    m.longdata[which] = value;
                    parent.send(m);
                    parent.frame(1);
                    parent.frame(value, 0);
                    EXPECT_TRUE(parent.is_answered()) << names[which] << " " << value;
                    EXPECT_TRUE(args.count >= 0 && args.width >= 0 && args.height >= 0);
                },
                false);
            EXPECT_FALSE(seen.is_lost) << names[which] << " " << value;
            said_something += seen.said.empty() ? 0 : 1;
        }
    }
    EXPECT_GT(said_something, 20);
    for (const float rate : {-1.0F, 1e30F, std::numeric_limits<float>::infinity(),
                             std::numeric_limits<float>::quiet_NaN()}) {
        const outcome seen = face("rate", [](renderer &parent) { EXPECT_TRUE(parent.frame(1)); },
                                  true, {.rate = rate});
        EXPECT_FALSE(seen.is_lost) << rate;
    }
}

// 12 parents that mean nothing.
TEST_F(hostile_parents_test, random_bytes_and_records) {
    for (unsigned seed = 1; seed <= 12; ++seed) {
        std::mt19937 random(seed);
        const auto upto = [&](unsigned most) { return static_cast<std::int32_t>(random() % most); };
        const std::string name = "random, seed " + std::to_string(seed);
        const auto random_record = [&] {
            record r = make_record(static_cast<std::uint16_t>(upto(8)),
                                   static_cast<std::uint16_t>(0x400 + upto(12)));
            if (upto(10) == 0)
                r.datacmd[ipc::word_class] = static_cast<std::uint16_t>(random());
            r.numof_cmds = upto(4) == 0 ? upto(257) : ipc::header_cmds;
            r.numof_chars = upto(4) == 0 ? upto(2049) : 0;
            r.numof_longs = upto(4) == 0 ? upto(257) : 3;
            for (std::int32_t &each : r.longdata)
                each = upto(3) == 0 ? static_cast<std::int32_t>(random()) : upto(10'000);
            return r;
        };
        const outcome seen = face(name.c_str(), [&](renderer &parent) {
            for (int i = 0; i < 150; ++i) {
                std::vector<std::uint8_t> bytes = wire(random_record()).bytes;
                if (seed % 3 == 0)
                    bytes[static_cast<std::size_t>(upto(static_cast<unsigned>(bytes.size())))] ^=
                        static_cast<std::uint8_t>(1 << upto(8));
                if (seed % 3 == 1 && i > 100)
                    for (std::uint8_t &byte : bytes)
                        byte = static_cast<std::uint8_t>(random());
                if (!parent.send(bytes, MSG_DONTWAIT))
                    break;
            }
            parent.close_socket();
        });
        EXPECT_TRUE(seen.is_lost || state.quit_requested) << name;
    }
}

// 6 parents that talk without listening, or without end.
TEST_F(hostile_parents_test, floods) {
    for (const std::uint16_t code : {ipc::code_request_pid, ipc::code_request_size}) {
        const outcome seen = face("unread answers", [&](renderer &parent) {
            const int some = 1 << 15; // the answers have no room for ever
            ::setsockopt(parent_link.socket, SOL_SOCKET, SO_SNDBUF, &some, sizeof some);
            const std::vector<std::uint8_t> one = wire(make_record(ipc::class_request, code)).bytes;
            std::vector<std::uint8_t> many;
            for (int i = 0; i < 1000; ++i)
                many.insert(many.end(), one.begin(), one.end());
            std::size_t sent = 0;
            ssize_t n = 0;
            for (int i = 0; i < most_ms && (n >= 0 || errno == EAGAIN); ++i, ::usleep(1000)) {
                n = ::send(parent.socket, &many[sent], many.size() - sent,
                           MSG_DONTWAIT | MSG_NOSIGNAL);
                sent = (sent + static_cast<std::size_t>(std::max<ssize_t>(n, 0))) % many.size();
            }
        });
        EXPECT_TRUE(seen.is_lost);
        EXPECT_NE(seen.said.find("The link to the parent is lost."), std::string::npos);
    }
    const auto repeat = [](const record &r, int times) {
        return and_then_behave([r, times](renderer &parent) {
            const std::vector<std::uint8_t> bytes = wire(r).bytes;
            for (int i = 0; i < times; ++i)
                parent.send(bytes);
        });
    };
    EXPECT_FALSE(
        face("blocks", repeat(make_record(ipc::class_command, ipc::code_block), 2000)).is_lost);
    EXPECT_FALSE(
        face("unblocks", repeat(make_record(ipc::class_command, ipc::code_unblock), 2000)).is_lost);
    EXPECT_FALSE(face("unknown classes", repeat(make_record(4711, 1), 500)).is_lost);
    EXPECT_FALSE(face("no blocks", repeat(make_record(ipc::class_data, ipc::code_frame_ready,
                                                      {815, 64 * 48 * 4, 1}),
                                          500))
                     .is_lost);
}

} // namespace
