// Whole sessions over real sockets and segments, with a scripted player.
#include "link/reel_link.h"

#include "tests/link/link_fixture.h"

#include <chrono>
#include <csignal>
#include <sys/wait.h>

namespace render_link {

namespace {

using clock = std::chrono::steady_clock;

int milliseconds_since(clock::time_point then) {
    return static_cast<int>((clock::now() - then) / std::chrono::milliseconds(1));
}

bool is_alive(long process) {
    return ::kill(static_cast<pid_t>(process), 0) == 0;
}

} // namespace

TEST_F(link_test, ARenderIsShownFrameByFrameUntilItsUserClosesIt) {
    session.first = -2;
    session.rate = 12.5;
    ASSERT_EQ(start("ok=50"), REEL_LINK_OK) << text();
    EXPECT_EQ(send(INT32_MAX), REEL_LINK_BAD_CALL);
    EXPECT_GT(reel_link_player_process(link), 0);
    EXPECT_EQ(send_to(3), REEL_LINK_OK) << text();
    EXPECT_EQ(reel_link_wait(link, 5000), REEL_LINK_FINISHED);
    EXPECT_EQ(send(3), REEL_LINK_FINISHED);
    EXPECT_EQ(text(), "the user has closed the window of the finished render");
    EXPECT_EQ(reel_link_end(link, REEL_LINK_KEEP_WINDOW, 1000), REEL_LINK_FINISHED);
    EXPECT_EQ(log().substr(0, log().find('\n')), "args -2 6 8 4 1 12 12.5");
    // Every frame has arrived as it was sent, in its own order.
    std::size_t at = 0;
    for (int frame = -2; frame <= 3; ++frame) {
        std::uint32_t sum = 0;
        for (int word = 0; word < 8 * 4; ++word)
            sum = sum * 31 + 0x01010101U * static_cast<std::uint8_t>(frame);
        char line[64];
        std::snprintf(line, sizeof line, "frame %d 128 %08x\n", frame, static_cast<unsigned>(sum));
        at = log().find(line, at);
        EXPECT_NE(at, std::string::npos) << line << log();
    }
}

TEST_F(link_test, APreviewGoesOnWithoutUs) {
    session.kind = REEL_LINK_PREVIEW;
    ASSERT_EQ(start("linger=2000"), REEL_LINK_OK) << text();
    EXPECT_EQ(send_to(6), REEL_LINK_OK);
    EXPECT_EQ(reel_link_wait(link, 5000), REEL_LINK_FINISHED);
    EXPECT_EQ(text(), "the preview is complete and goes on at the user's");
    const long player = reel_link_player_process(link);
    EXPECT_EQ(reel_link_end(link, REEL_LINK_KEEP_WINDOW, 1000), REEL_LINK_FINISHED);
    EXPECT_TRUE(is_alive(player));
    EXPECT_TRUE(is_logged("played"));
    // Nothing stays to be waited for, once there is another session.
    session.kind = REEL_LINK_RENDER;
    await_rest(player);
    ASSERT_EQ(start(""), REEL_LINK_OK) << text();
    EXPECT_FALSE(is_alive(player));
}

TEST_F(link_test, EveryPauseIsToldOnce) {
    ASSERT_EQ(start("pause@2 pause@3"), REEL_LINK_OK) << text();
    ASSERT_EQ(send_to(2), REEL_LINK_OK);
    EXPECT_EQ(reel_link_wait(link, 5000), REEL_LINK_PAUSED);
    EXPECT_EQ(reel_link_wait(link, 0), REEL_LINK_OK); // nothing new
    EXPECT_EQ(send(3, REEL_LINK_NO_LIMIT), REEL_LINK_PAUSED);
    EXPECT_EQ(reel_link_flush(link, REEL_LINK_NO_LIMIT), REEL_LINK_PAUSED);
    go_on();
    EXPECT_EQ(reel_link_wait(link, REEL_LINK_NO_LIMIT), REEL_LINK_RESUMED);
    EXPECT_EQ(send(3), REEL_LINK_OK); // a pause follows
    int result;
    while ((result = send(4)) == REEL_LINK_OK) {
    }
    EXPECT_EQ(result, REEL_LINK_PAUSED);
    go_on();
    EXPECT_EQ(reel_link_wait(link, 5000), REEL_LINK_RESUMED);
    EXPECT_EQ(send(4), REEL_LINK_OK);
    EXPECT_EQ(reel_link_wait(link, 50), REEL_LINK_OK);
}

TEST_F(link_test, TheUserEndsIt) {
    const struct {
        const char *orders;
        int result;
        const char *text;
    } cases[] = {
        {"cancel@3", REEL_LINK_CANCELLED, "the user has cancelled"},
        {"quit@3", REEL_LINK_CLOSED, "the user has closed the player"},
        {"die@3", REEL_LINK_LOST, "has ended: signal 9 (Killed)"},
        {"cancel@6", REEL_LINK_FINISHED, "the user has closed the window of the finished render"},
        {"quit@6", REEL_LINK_FINISHED, "the user has closed the window of the finished render"},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(each.orders);
        ASSERT_EQ(start(each.orders), REEL_LINK_OK) << text();
        int result = send_to(6);
        if (result == REEL_LINK_OK)
            result = reel_link_wait(link, 5000);
        EXPECT_EQ(result, each.result);
        EXPECT_NE(text().find(each.text), std::string::npos) << text();
        EXPECT_EQ(reel_link_block_input(link), each.result);
        EXPECT_EQ(reel_link_flush(link, 0), each.result);
        const auto begin = clock::now();
        EXPECT_EQ(reel_link_end(link, REEL_LINK_CLOSE, 10000), each.result);
        EXPECT_LT(milliseconds_since(begin), 10000 / 2) << "a player that does not end by itself";
        EXPECT_EQ(reel_link_wait(link, 0), REEL_LINK_BAD_CALL);
    }
}

TEST_F(link_test, NoSessionWithoutAPlayer) {
    const struct {
        const char *program;
        const char *orders;
        int result;
        const char *text;
        int limit = 20'000;
    } cases[] = {
        {"/nowhere/player", "", REEL_LINK_NO_PLAYER, "no program to start: /nowhere/player"},
        {"/etc/passwd", "", REEL_LINK_NO_PLAYER, "/etc/passwd"},
        {"/bin/true", "", REEL_LINK_NOT_LINKED, "ended (exit status 0) before it had linked"},
        {FAKE_PLAYER_PROGRAM, "exit=7", REEL_LINK_NOT_LINKED, "ended (exit status 7)"},
        {FAKE_PLAYER_PROGRAM, "mute", REEL_LINK_NOT_LINKED, "did not link itself in time", 700},
        {FAKE_PLAYER_PROGRAM, "garbage", REEL_LINK_NOT_LINKED, "is it another program?"},
        {FAKE_PLAYER_PROGRAM, "kill", REEL_LINK_NOT_LINKED, "does not want to be linked"},
        {FAKE_PLAYER_PROGRAM, "silent", REEL_LINK_NOT_LINKED, "was not ready in time", 700},
        {FAKE_PLAYER_PROGRAM, "silent=100", REEL_LINK_NOT_LINKED, "before its window"},
        {FAKE_PLAYER_PROGRAM, "size=-1x4", REEL_LINK_NOT_LINKED, "-1 x 4 pixels"},
        {FAKE_PLAYER_PROGRAM, "size=40000x4", REEL_LINK_NOT_LINKED, "40000 x 4 pixels"},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(std::string(each.program) + " " + each.orders);
        session.player = each.program;
        session.start_limit = each.limit;
        const auto begin = clock::now();
        EXPECT_EQ(start(each.orders), each.result);
        EXPECT_LT(milliseconds_since(begin), 10'000) << "the silent ones end after 20 seconds";
        EXPECT_NE(text().find(each.text), std::string::npos) << text();
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
        EXPECT_TRUE(are_segments_gone());
        EXPECT_EQ(send(1), REEL_LINK_BAD_CALL);
    }
}

TEST_F(link_test, ThePlayerIsFound) {
    session.player = nullptr;
    ::setenv("REEL_PLAYER", "/nowhere/player", 1);
    EXPECT_EQ(start(""), REEL_LINK_NO_PLAYER);
    EXPECT_NE(text().find("REEL_PLAYER"), std::string::npos);
    ::setenv("REEL_PLAYER", FAKE_PLAYER_PROGRAM, 1);
    EXPECT_EQ(start(""), REEL_LINK_OK) << text();
    ::unsetenv("REEL_PLAYER");
}

TEST_F(link_test, ARefusedFrameIsSaidAndTheSessionGoesOn) {
    ASSERT_EQ(start("refuse@2 refuse@6"), REEL_LINK_OK) << text();
    EXPECT_EQ(send_to(3), REEL_LINK_REFUSED);
    EXPECT_EQ(send(3), REEL_LINK_OK);
    EXPECT_EQ(send(6), REEL_LINK_OK);
    EXPECT_EQ(reel_link_end(link, REEL_LINK_KEEP_WINDOW, 5000), REEL_LINK_REFUSED);
    EXPECT_TRUE(is_logged("link ended"));
}

// What was asked of a frame before is answered when the next one is on its way.
TEST_F(link_test, ALateAnswerRefusesNothing) {
    ASSERT_EQ(start("slow@1=400 rest@1=500 slow@2=100"), REEL_LINK_OK) << text();
    EXPECT_EQ(send_to(2), REEL_LINK_OK);
    EXPECT_EQ(send(3), REEL_LINK_OK) << text();
    EXPECT_EQ(reel_link_flush(link, 5000), REEL_LINK_OK) << text();
    EXPECT_NE(log().find("frame 3 "), std::string::npos);
}

// A frame that comes after the last one, or again: the render is not finished.
TEST_F(link_test, CancellingAfterTheLastNumberIsCancelling) {
    ASSERT_EQ(start("cancel@2"), REEL_LINK_OK) << text();
    EXPECT_EQ(send(6), REEL_LINK_OK);
    EXPECT_EQ(send(2), REEL_LINK_OK);
    EXPECT_EQ(reel_link_wait(link, 5000), REEL_LINK_CANCELLED) << text();
}

TEST_F(link_test, AStoppedPlayerIsNotALostOne) {
    ASSERT_EQ(start("stop@2"), REEL_LINK_OK) << text();
    ASSERT_EQ(send_to(2), REEL_LINK_OK);
    ASSERT_EQ(reel_link_flush(link, 5000), REEL_LINK_OK);
    EXPECT_EQ(send(3), REEL_LINK_OK); // it waits in the socket
    const auto begin = clock::now();
    EXPECT_EQ(send(4, 600), REEL_LINK_TIMEOUT);
    EXPECT_GE(milliseconds_since(begin), 600);
    EXPECT_EQ(send(4, 0), REEL_LINK_TIMEOUT);
    EXPECT_EQ(reel_link_wait(link, 0), REEL_LINK_OK);
    ::kill(static_cast<pid_t>(reel_link_player_process(link)), SIGCONT);
    EXPECT_EQ(send(4), REEL_LINK_OK);
    EXPECT_EQ(reel_link_flush(link, 5000), REEL_LINK_OK);
    EXPECT_NE(log().find("frame 3"), std::string::npos);
}

TEST_F(link_test, AStoppedPlayerIsClosedAllTheSame) {
    ASSERT_EQ(start("stop@1"), REEL_LINK_OK) << text();
    ASSERT_EQ(send_to(1), REEL_LINK_OK);
    await_rest(reel_link_player_process(link));
    EXPECT_EQ(reel_link_end(link, REEL_LINK_CLOSE, 200), REEL_LINK_TIMEOUT);
    EXPECT_EQ(text(), "the player had to be killed");
}

// A frame is not written over while the player copies it: a slow copy holds up the second next.
TEST_F(link_test, BlocksAreUsedInTurn) {
    ASSERT_EQ(start("slow@1"), REEL_LINK_OK) << text();
    ASSERT_EQ(send(1), REEL_LINK_OK);
    EXPECT_EQ(send(2, 50), REEL_LINK_TIMEOUT);
    go_on();
    EXPECT_EQ(send(2), REEL_LINK_OK);
    EXPECT_EQ(reel_link_flush(link, 5000), REEL_LINK_OK);
    std::uint32_t sum = 0;
    for (int word = 0; word < 8 * 4; ++word)
        sum = sum * 31 + 0x01010101U;
    char line[64];
    std::snprintf(line, sizeof line, "frame 1 128 %08x\n", static_cast<unsigned>(sum));
    EXPECT_NE(log().find(line), std::string::npos) << log();
}

TEST_F(link_test, InputIsBlockedAndEndIsTold) {
    ASSERT_EQ(start("size=4x2"), REEL_LINK_OK) << text();
    int width = 0, height = 0;
    EXPECT_EQ(reel_link_shown_size(link, &width, &height), REEL_LINK_OK);
    EXPECT_EQ(width * 100 + height, 402);
    EXPECT_EQ(reel_link_block_input(link), REEL_LINK_OK);
    EXPECT_EQ(send_to(1), REEL_LINK_OK);
    EXPECT_EQ(reel_link_unblock_input(link), REEL_LINK_OK);
    EXPECT_EQ(reel_link_end(link, REEL_LINK_CLOSE, 5000), REEL_LINK_OK);
    const std::string met = log();
    EXPECT_NE(met.find("block\nframe 1 32 "), std::string::npos) << met; // 4 x 2 pixels
    EXPECT_NE(met.find("unblock\nend\n"), std::string::npos) << met;
}

TEST_F(link_test, WrongCallsAreRefused) {
    EXPECT_EQ(reel_link_wait(link, 0), REEL_LINK_BAD_CALL);
    EXPECT_EQ(reel_link_end(link, REEL_LINK_CLOSE, 0), REEL_LINK_BAD_CALL);
    EXPECT_EQ(text(), "there is no session");
    const reel_link_session good = session;
    const auto refused = [&](auto &&spoil) {
        session = good;
        spoil(session);
        return reel_link_start(link, &session) == REEL_LINK_BAD_CALL && !text().empty();
    };
    EXPECT_TRUE(refused([](auto &s) { s.kind = 7; }));
    EXPECT_TRUE(refused([](auto &s) { s.width = 0; }));
    EXPECT_TRUE(refused([](auto &s) { s.height = 32768; }));
    EXPECT_TRUE(refused([](auto &s) { s.width = s.height = 32767; }));
    EXPECT_TRUE(refused([](auto &s) { s.count = 0; }));
    EXPECT_TRUE(refused([](auto &s) { s.first = INT32_MAX - 3; }));
    EXPECT_TRUE(refused([](auto &s) { s.rate = -1; }));
    EXPECT_TRUE(refused([](auto &s) { s.rate = 0.0 / (s.width - s.width); }));
    EXPECT_TRUE(refused([](auto &s) { s.compression = 256; }));
    session = good;
    ASSERT_EQ(start(""), REEL_LINK_OK) << text();
    EXPECT_EQ(reel_link_start(link, &session), REEL_LINK_BAD_CALL);
    EXPECT_EQ(send(0), REEL_LINK_BAD_CALL);
    EXPECT_EQ(send(7), REEL_LINK_BAD_CALL);
    EXPECT_EQ(reel_link_send(link, 1, nullptr, 0), REEL_LINK_BAD_CALL);
    EXPECT_EQ(reel_link_end(link, 5, 0), REEL_LINK_BAD_CALL);
    EXPECT_EQ(reel_link_send(nullptr, 1, nullptr, 0), REEL_LINK_BAD_CALL);
    EXPECT_EQ(send(1), REEL_LINK_OK);
}

// The renderer's own handling of signals is its own, and so are its children.
TEST_F(link_test, TheProgramIsLeftAlone) {
    const pid_t own = ::fork();
    if (own == 0)
        ::_exit(5);
    std::signal(SIGPIPE, SIG_DFL);
    std::signal(SIGCHLD, SIG_DFL);
    ASSERT_EQ(start("die@2"), REEL_LINK_OK) << text();
    EXPECT_EQ(send_to(6), REEL_LINK_LOST);
    reel_link_end(link, REEL_LINK_CLOSE, 1000);
    struct sigaction now {};
    ::sigaction(SIGPIPE, nullptr, &now);
    EXPECT_EQ(now.sa_handler, SIG_DFL);
    ::sigaction(SIGCHLD, nullptr, &now);
    EXPECT_EQ(now.sa_handler, SIG_DFL);
    int status = 0;
    EXPECT_EQ(::waitpid(own, &status, 0), own);
    EXPECT_EQ(WEXITSTATUS(status), 5);
    // A renderer that has the system wait for its children can use a player, too.
    std::signal(SIGCHLD, SIG_IGN);
    ASSERT_EQ(start("die@2"), REEL_LINK_OK) << text();
    EXPECT_EQ(send_to(6), REEL_LINK_LOST);
    std::signal(SIGCHLD, SIG_DFL);
}

} // namespace render_link
