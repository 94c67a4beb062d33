// A fresh player for each test: the memory display, a clock that moves when told, and small movies
// whose frames tell their own number by their colour.
#pragma once

#include "platform/clock/program_clock.h"
#include "platform/gl/screen.h"
#include "player/engine.h"
#include "player/link_session.h"
#include "player/play_args.h"
#include "toolkit/system.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

namespace player_test {

inline constexpr int side = 8; // pixels along a frame of the test movies

// The colour of frame i as it comes out of the codec, 0xAABBGGRR.
inline std::uint32_t frame_colour(int i) {
    const auto n = static_cast<std::uint32_t>(i + 1);
    return (n % 32) << 3 | (n / 32 % 32) << 11;
}

// A picture of one colour.
inline std::vector<std::uint8_t> packed_picture(std::uint32_t colour, int width, int height) {
    const auto pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    const std::vector<std::uint32_t> image(pixels, colour);
    std::vector<std::uint8_t> packed(movie::ir1_worst_case(width, height));
    packed.resize(static_cast<std::size_t>(movie::IR1_compress(image, width, height, packed, 12)));
    return packed;
}
inline std::vector<std::uint8_t> packed_frame(int i, int width = side, int height = side) {
    return packed_picture(frame_colour(i), width, height);
}

struct movie_plan {
    int frames = 1;
    int rate = 25;
    int width = side;
    int height = side;
    std::map<int, std::vector<std::uint8_t>> data{}; // in place of frame i's own; empty: a repeat
    std::vector<int> missing{};                      // frames that are never written
};

// What is tested may end the program as if all was well: then the tests have not passed.
inline bool is_test_running = false;

inline void fail_early_exit() {
    if (!is_test_running)
        return;
    std::fputs("the program has ended within a test\n", stderr);
    std::_Exit(EXIT_FAILURE);
}

class player_fixture : public testing::Test {
protected:
    void SetUp() override {
        static const int registered = std::atexit(fail_early_exit);
        ASSERT_EQ(registered, 0);
        is_test_running = true;
        setenv("PLAYER_DISPLAY", "memory", 1);
        program_clock::use_manual_clock(0);
        folder = testing::TempDir() + "player" + std::to_string(getpid());
        std::filesystem::remove_all(folder); // of a test that was killed
        std::filesystem::create_directories(folder);
        player::state = {};
        player::playback = {};
        player::open_movie = {};
        player::parent_link = {};
        player::view = {};
        toolkit::system_init();
    }

    void TearDown() override {
        player::view = {};
        player::open_movie = {};
        toolkit::system_terminate();
        program_clock::use_system_clock();
        std::filesystem::remove_all(folder);
        is_test_running = false;
    }

    std::string write_movie(const movie_plan &plan, const std::string &name = "test.reel") {
        const std::string path = folder + "/" + name;
        movie::vf_movie film;
        film.magic = movie::vf_magic;
        film.count = plan.frames;
        film.width = plan.width;
        film.height = plan.height;
        film.rate = plan.rate;
        film.offsets.assign(static_cast<std::size_t>(plan.frames), 0);
        EXPECT_EQ(movie::VFopenWrite(film, path.c_str()), 0);
        for (int i = 0; i < plan.frames; ++i) {
            if (std::ranges::count(plan.missing, i) > 0)
                continue;
            const auto own = plan.data.find(i);
            const std::vector<std::uint8_t> data =
                own != plan.data.end() ? own->second : packed_frame(i, plan.width, plan.height);
            EXPECT_EQ(movie::VFappend(film, i, data), 0);
        }
        return path;
    }

    // Makes `path` the movie that is played, its first frame numbered `first`.
    void open(const std::string &path, int first = 0) {
        ref = {};
        ref.film = movie::VFopen(path.c_str(), "r");
        ASSERT_NE(ref.film, nullptr);
        args.first = args.current = first;
        args.count = ref.film->count;
        args.width = ref.film->width;
        args.height = ref.film->height;
        ASSERT_EQ(player::allocate_frame_buffers(args), 0);
    }

    std::string folder;
    player::play_args &args = player::playback;
    player::movie_ref &ref = player::open_movie;
};

} // namespace player_test
