// Runs a renderer with the fake player, to its end.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <span>
#include <string>
#include <sys/wait.h>

namespace render_link {

struct renderer_outcome {
    int status = -1; // exit status, or minus the signal that ended it
    std::string out; // standard output and standard error
};

// A command line for the shell; orders are the fake player's. heed, if any, gets each line at once.
inline renderer_outcome run_renderer(const std::string &command, const char *orders,
                                     const std::function<void(const std::string &)> &heed = {}) {
    ::setenv("FAKE_PLAYER", orders, 1);
    ::setenv("REEL_PLAYER", FAKE_PLAYER_PROGRAM, 1);
    renderer_outcome got;
    std::FILE *pipe = ::popen((command + " 2>&1").c_str(), "r");
    char buffer[256];
    while (pipe != nullptr && std::fgets(buffer, sizeof buffer, pipe) != nullptr) {
        got.out += buffer;
        if (heed)
            heed(buffer);
    }
    const int status = pipe != nullptr ? ::pclose(pipe) : -1;
    got.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return got;
}

// What a renderer does, by the words it is started with and the fake player's orders.
struct renderer_case {
    const char *words;
    const char *orders;
    int status;
    const char *out; // part of it
};

inline void expect_outcomes(const std::string &command, std::span<const renderer_case> cases) {
    for (const renderer_case &each : cases) {
        SCOPED_TRACE(std::string(each.words) + ", " + each.orders);
        const renderer_outcome got = run_renderer(command + " " + each.words, each.orders);
        EXPECT_EQ(got.status, each.status);
        EXPECT_NE(got.out.find(each.out), std::string::npos) << got.out;
    }
}

} // namespace render_link
