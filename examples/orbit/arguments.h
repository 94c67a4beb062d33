// The words that orbit is started with.
//
//   orbit::arguments wanted;
//   if (orbit::read_arguments(argc, argv, wanted) != 0) ...       // has said what is wrong
#pragma once

namespace orbit {

struct arguments {
    bool is_preview = false;
    int width = 640;
    int height = 360;
    int frames = 48;
    double rate = 24;
    int slow = 0;                 // milliseconds to take longer for each frame
    const char *player = nullptr; // null: looked for
    bool is_help = false;
};

inline constexpr const char *usage =
    "Usage: orbit [--render | --preview] [--size WxH] [--frames N] [--rate F] [--slow MS]\n"
    "             [--player PATH]\n";

// Returns 0, or -1 after a line on standard error.
[[nodiscard]] int read_arguments(int argc, char **argv, arguments &wanted);

} // namespace orbit
