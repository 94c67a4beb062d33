// The example renderer: what it tells, and how it ends, by what its user does.
#include "tests/link/run_renderer.h"

#include <csignal>
#include <gtest/gtest.h>

namespace render_link {

TEST(Orbit, HeedsItsUser) {
    constexpr renderer_case cases[] = {
        {"--render", "", 0, "5 of 5 frames rendered.\n"},
        {"--preview --rate 12.5", "", 0, "5 of 5 frames rendered.\n"},
        {"--render --slow 50", "pause@2=1000", 0, "Paused.\nResumed.\n5 of 5 frames rendered.\n"},
        {"--render --slow 500", "cancel@2", 3, "2 of 5 frames rendered; the user cancelled.\n"},
        {"--render --slow 50", "quit@2", 0, "Nobody watches any more: the user has closed"},
        {"--preview --slow 50", "die@2", 0, "(Killed). Rendering on.\n5 of 5 frames rendered.\n"},
        {"--render --player /nowhere", "", 1, "orbit: no program to start: /nowhere\n"},
        {"--size 8", "", 2, "orbit: --size does not take \"8\"\n"},
        {"--frames 0", "", 2, "orbit: --frames does not take \"0\"\n"},
        {"--turns 2", "", 2, "orbit: there is no option --turns\n"},
    };
    expect_outcomes("timeout 30 " ORBIT " --size 12x8 --frames 5", cases);
}

// Only the renderer, by its process number.
TEST(Orbit, EndsAndClosesThePlayerWhenInterrupted) {
    pid_t renderer = 0;
    const auto interrupt_pause = [&](const std::string &line) {
        if (renderer == 0)
            renderer = std::atoi(line.c_str());
        else if (line == "Paused.\n")
            ::kill(renderer, SIGINT);
    };
    const renderer_outcome got = run_renderer("echo $$; exec " ORBIT " --size 12x8 --frames 5",
                                              "pause@2=20000", interrupt_pause);
    EXPECT_EQ(got.status, 130);
    EXPECT_NE(got.out.find("Paused.\n"), std::string::npos) << got.out;
    EXPECT_NE(got.out.find("2 of 5 frames rendered; interrupted.\n"), std::string::npos) << got.out;
}

} // namespace render_link
