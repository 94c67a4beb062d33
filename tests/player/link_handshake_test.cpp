// The beginning of a session: handshakes that fail, and the parent's first message.
#include "tests/player/session_fixture.h"

namespace {

using namespace player;
using player_test::make_record;
using player_test::record;
using player_test::renderer;
using player_test::wire;

class link_handshake_test : public player_test::session_fixture {};

TEST_F(link_handshake_test, a_handshake_that_fails_is_said_and_leaves_a_player_without_a_link) {
    struct row {
        const char *name;
        std::function<void(renderer &)> does;
        std::string said;
    };
    const auto me = [](const char *text) { return std::string(gMe).append(": ").append(text); };
    const auto garbage = [](std::uint16_t kind) {
        return [kind](renderer &parent) {
            parent.shake();
            parent.send(make_record(kind, ipc::code_play_args));
        };
    };
    const std::string is_garbage = me("Garbage coming over IPC link in setup_ipc_stuff().\n");
    for (const row &r : std::vector<row>{
             {"kill",
              [](renderer &parent) {
                  parent.accept();
                  parent.send(make_record(ipc::class_kill, ipc::code_kill_answer));
              },
              "getinitdata: Invalid init from parent, received 201 instead\n" +
                  me("Received kill from parent.\n")},
             {"closed at once",
              [](renderer &parent) {
                  parent.accept();
                  static_cast<void>(parent.read());
                  parent.close_socket();
              },
              "getinitdata: Invalid init from parent, received 0 instead\n" +
                  me("Received kill from parent.\n")},
             {"reset",
              [](renderer &parent) {
                  parent.accept();
                  static_cast<void>(parent.read());
                  parent.reset();
              },
              "readbuf: read failure: Connection reset by peer\n"
              "readsockdata: Error reading numof_cmds.\n"
              "getinitdata: Error reading init data\n" +
                  me("Error reading initialization data.\n")},
             {"bad parameters",
              [](renderer &parent) {
                  parent.shake();
                  parent.send(wire({}).with_count(0, 257).bytes);
              },
              "readsockdata: Error reading numof_cmds.\n" + me("Error while reading socket (2)\n")},
             {"class 0", garbage(0), is_garbage},
             {"class 4", garbage(4), is_garbage},
             {"class 6", garbage(6), is_garbage},
             {"class 65535", garbage(0xFFFF), is_garbage},
         }) {
        SCOPED_TRACE(r.name);
        const std::string said = run([&](renderer &parent) {
            r.does(parent);
            EXPECT_TRUE(is_shown(player_title)) << "an empty player";
            EXPECT_FALSE(is_titled("Preview Tool"));
        });
        EXPECT_EQ(said, r.said);
    }
    play_args args;
    ipc_link nobody;
    {
        renderer gone;
        nobody.port = gone.port;
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(open_link(nobody, args), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "getservsock: connecting socket: Connection refused\n" +
                  me("Error initializing socket to parent.\n"));
    EXPECT_EQ(nobody.socket, 0);
}

TEST_F(link_handshake_test, parameters_that_are_none_are_ignored_and_loosely_addressed_ones_taken) {
    struct row {
        const char *name;
        std::function<void(record &)> change;
        bool is_taken;
    };
    for (const row &r : std::vector<row>{
             {"9 longs", [](record &m) { m.numof_longs = 9; }, false},
             {"11 longs", [](record &m) { m.numof_longs = 11; }, false},
             {"2 floats", [](record &m) { m.numof_floats = 2; }, false},
             {"no float", [](record &m) { m.numof_floats = 0; }, false},
             {"5 commands", [](record &m) { m.numof_cmds = 5; }, false},
             {"another code", [](record &m) { m.datacmd[ipc::word_code] = 0x409; }, false},
             {"to anybody", [](record &m) { m.datacmd[2] = m.datacmd[3] = 0xFFFF; }, true},
             {"to nobody", [](record &m) { m.datacmd[2] = m.datacmd[3] = 1; }, true},
             {"more commands", [](record &m) { m.numof_cmds = 200; }, true}}) {
        SCOPED_TRACE(r.name);
        const std::string said = run([&](renderer &parent) {
            parent.shake();
            record m = parent.parameters({.first = 1, .count = 2});
            r.change(m);
            parent.send(m);
            EXPECT_EQ(parent.read().datacmd[ipc::word_code], ipc::code_pid);
            parent.request(ipc::code_request_size);
            EXPECT_EQ(parent.read().longdata[0], r.is_taken ? 64 : 0);
            EXPECT_EQ(parent.frame(1), r.is_taken);
            int current = -1;
            ask([&] { current = playback.current; });
            EXPECT_EQ(current, r.is_taken ? 1 : 0);
            parent.command(ipc::code_end);
            EXPECT_TRUE(has_ended());
        });
        EXPECT_EQ(said.empty(), r.is_taken) << said;
    }
}

} // namespace
