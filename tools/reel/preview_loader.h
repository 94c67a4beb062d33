// Frames decoded beside the preview's loop, one after another, so that a renderer's output and its
// user never wait for a picture.
//
//   preview_loader loader;
//   start_loader(loader, images, nullptr);
//   ask_frame(loader, {7, "out/shot0007.png"});
//   poll(loader.fd) ...
//   while (take_loaded(loader, loaded)) ...          // in the order asked
//   stop_loader(loader);
//
// All pictures come in the size of the first one that could be read: others are fitted into it, on
// black.
#pragma once

#include "tools/reel/frame_source.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

namespace reel {

struct wanted_frame {
    std::int64_t number = 0;
    std::string path; // empty: the next one of the source
};

struct loaded_frame {
    std::int64_t number = 0;
    std::string path;
    read_result result = read_result::failed; // end: of the source only
    std::string fault;
    image_buffer picture;
    int own_width = 0; // before it was fitted
    int own_height = 0;
};

struct preview_loader {
    int fd = -1;                          // readable when something is loaded
    const image_module *images = nullptr; // of files
    frame_source *source = nullptr;       // of pixels; used by the loader alone
    int width = 0;                        // of all pictures, once one is read; the thread's
    int height = 0;
    std::mutex guard; // of what follows
    std::condition_variable changed;
    std::deque<wanted_frame> wanted;
    std::deque<loaded_frame> loaded;
    bool is_busy = false;
    bool is_ending = false;
    std::thread thread;

    preview_loader() = default;
    preview_loader(const preview_loader &) = delete;
    preview_loader &operator=(const preview_loader &) = delete;
    ~preview_loader();
};

// Returns 0, or -1 with the reason in *fault.
[[nodiscard]] int start_loader(preview_loader &loader, const image_module *images,
                               frame_source *source, std::string *fault);

void ask_frame(preview_loader &loader, wanted_frame frame);

// Frames asked for that have not been taken yet.
[[nodiscard]] std::size_t count_asked(preview_loader &loader);

// The next frame that is done; false when there is none now.
[[nodiscard]] bool take_loaded(preview_loader &loader, loaded_frame &frame);

// What is being read is finished, or given up where that can be done; the rest is forgotten.
void stop_loader(preview_loader &loader);

} // namespace reel
