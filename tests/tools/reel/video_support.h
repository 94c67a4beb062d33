// The module's procedures, FFmpeg's own programs and what else the tests of videos share.
#pragma once

#include "tests/tools/reel/scratch_folder.h"
#include "tools/reel/video_io.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <dlfcn.h>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace reel {

using words = std::vector<std::uint32_t>;
using bytes = std::vector<std::uint8_t>;

inline const video_module &module() {
    static const auto *loaded = [] {
        void *handle = ::dlopen(REEL_VIDEOS, RTLD_NOW | RTLD_LOCAL);
        void *symbol = handle != nullptr ? ::dlsym(handle, video_module_symbol) : nullptr;
        return symbol != nullptr ? reinterpret_cast<video_module_procedure *>(symbol)() : nullptr;
    }();
    EXPECT_NE(loaded, nullptr);
    return *loaded;
}

// Runs a command line; its standard output is in *out. Returns the exit status.
inline int run(const std::string &command, std::string *out) {
    out->clear();
    std::FILE *pipe = ::popen(command.c_str(), "r");
    char part[4096];
    for (std::size_t n = 0; (n = std::fread(part, 1, sizeof part, pipe)) > 0;)
        out->append(part, n);
    const int status = ::pclose(pipe);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

inline std::string quote(const std::string &path) {
    return " '" + path + "' ";
}

inline void ffmpeg(const std::string &words_of_it) {
    std::string out;
    ASSERT_EQ(run("ffmpeg -v error -nostdin -y " + words_of_it + " 2>&1", &out), 0)
        << words_of_it << "\n"
        << out;
}

inline std::uint32_t pack(int red, int green, int blue) {
    return static_cast<std::uint32_t>(red | green << 8 | blue << 16);
}

struct opened {
    video_info info;
    std::string fault;
    std::unique_ptr<video_reader, void (*)(video_reader *)> reader{nullptr, module().close};

    explicit opened(const std::string &path) {
        video_reader *made = nullptr;
        if (module().open(path.c_str(), &made, &info, &fault) == 0)
            reader.reset(made);
    }
};

// Reads to the end. Returns the result of the last call.
inline int read_all(opened &video, std::vector<image_buffer> &pictures) {
    for (;;) {
        image_buffer picture;
        const int result = module().read(video.reader.get(), &picture, &video.fault);
        if (result != video_got)
            return result;
        pictures.push_back(std::move(picture));
    }
}

} // namespace reel
