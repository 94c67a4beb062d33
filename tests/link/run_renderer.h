// Runs a renderer with the fake player, to its end.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/wait.h>

namespace render_link {

struct renderer_outcome {
    int status = -1; // exit status, or minus the signal that ended it
    std::string out; // standard output and standard error
};

// A command line for the shell; orders are the fake player's.
inline renderer_outcome run_renderer(const std::string &command, const char *orders) {
    ::setenv("FAKE_PLAYER", orders, 1);
    ::setenv("REEL_PLAYER", FAKE_PLAYER_PROGRAM, 1);
    renderer_outcome got;
    std::FILE *pipe = ::popen((command + " 2>&1").c_str(), "r");
    char buffer[256];
    while (pipe != nullptr && std::fgets(buffer, sizeof buffer, pipe) != nullptr)
        got.out += buffer;
    const int status = pipe != nullptr ? ::pclose(pipe) : -1;
    got.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return got;
}

} // namespace render_link
