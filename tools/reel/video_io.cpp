#include "tools/reel/video_io.h"

#include "tools/reel/module_file.h"

namespace reel {

namespace {

const video_module *open_module() {
    void *entry = load_module("reel_videos.so", video_module_symbol, "video readers");
    return entry != nullptr ? reinterpret_cast<video_module_procedure *>(entry)() : nullptr;
}

} // namespace

const video_module *load_video_module() {
    static const video_module *const loaded = open_module();
    return loaded;
}

} // namespace reel
