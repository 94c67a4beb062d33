// Sessions with the fake player, in an IPC namespace of the test's own, so that its segments can be
// counted.
#pragma once

#include "link/reel_link.h"
#include "tests/support/segments.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace render_link {

using test_support::count_segments;
using test_support::has_own_namespace;

class link_test : public testing::Test {
protected:
    void SetUp() override {
        has_own_namespace();
        const std::filesystem::path folder = std::filesystem::temp_directory_path();
        log_ = folder / ("fake_player." + std::to_string(::getpid()));
        ::setenv("FAKE_LOG", log_.c_str(), 1);
        ::setenv("FAKE_PLAYER", "", 1);
        reel_link_defaults(&session);
        session.kind = REEL_LINK_RENDER;
        session.width = 8;
        session.height = 4;
        session.count = 6;
        session.player = FAKE_PLAYER_PROGRAM;
        session.start_limit = 20'000; // on a busy machine
    }
    void TearDown() override {
        reel_link_free(link);
        std::filesystem::remove(log_);
        EXPECT_TRUE(are_segments_gone());
    }

    // Waits for a player that is leaving.
    [[nodiscard]] static bool are_segments_gone() {
        for (int tries = 0; has_own_namespace() && count_segments() != 0; ++tries, ::usleep(10000))
            if (tries == 1000)
                return false;
        return true;
    }

    int start(const std::string &orders) {
        ::setenv("FAKE_PLAYER", orders.c_str(), 1);
        return reel_link_start(link, &session);
    }
    // A picture of one colour.
    int send(int frame, int limit = 5000) {
        const auto size = static_cast<std::size_t>(session.width * session.height * 4);
        pixels.assign(size, static_cast<std::uint8_t>(frame));
        const reel_link_picture picture = {pixels.data(), 0, REEL_LINK_RGBA, REEL_LINK_TOP_FIRST};
        return reel_link_send(link, frame, &picture, limit);
    }
    // Sends frames up to one; returns what stopped it.
    int send_to(int last) {
        int result = REEL_LINK_OK;
        for (int frame = session.first; frame <= last && result == REEL_LINK_OK; ++frame)
            result = send(frame);
        return result;
    }
    [[nodiscard]] std::string text() const { return reel_link_text(link); }
    // What the player has met so far.
    [[nodiscard]] std::string log() const {
        std::ifstream file(log_);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    // What it has told of a bus error.
    [[nodiscard]] std::string fault() const {
        const std::string met = log();
        return met.substr(std::min(met.rfind("bus error"), met.size()));
    }
    // The user of a player that was told to wait goes on.
    void go_on() const {
        EXPECT_EQ(::kill(static_cast<pid_t>(reel_link_player_process(link)), SIGUSR1), 0);
    }
    // Waits for the player to be stopped, or to have ended; that is still to be told then.
    static void await_rest(long player) {
        siginfo_t found{};
        EXPECT_EQ(::waitid(P_PID, static_cast<id_t>(player), &found, WSTOPPED | WEXITED | WNOWAIT),
                  0);
    }
    // Waits for the player to have met something.
    [[nodiscard]] bool is_logged(const std::string &line) const {
        for (int tries = 0; tries < 500; ++tries, ::usleep(10000))
            if (log().find(line + "\n") != std::string::npos)
                return true;
        return false;
    }

    reel_link *link = reel_link_new();
    reel_link_session session{};
    std::vector<std::uint8_t> pixels;

private:
    std::filesystem::path log_;
};

} // namespace render_link
