#include "tools/reel/video_io.h"

#include "tools/reel/report.h"

#include <dlfcn.h>
#include <filesystem>

namespace reel {

namespace {

constexpr const char *module_places[] = {"reel_videos.so", "../lib/playertool/reel_videos.so"};

// The module's path, or where it should have been.
std::filesystem::path find_module() {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    std::filesystem::path path;
    for (const char *place : module_places) {
        path = (program.parent_path() / place).lexically_normal();
        if (std::filesystem::exists(path, error))
            break;
    }
    return path;
}

const video_module *open_module() {
    // Never closed: its procedures are used until the program ends.
    void *handle = ::dlopen(find_module().c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        report("the video readers cannot be loaded: %s", ::dlerror());
        return nullptr;
    }
    void *symbol = ::dlsym(handle, video_module_symbol);
    if (symbol == nullptr) {
        report("the video readers cannot be used: %s", ::dlerror());
        return nullptr;
    }
    return reinterpret_cast<video_module_procedure *>(symbol)();
}

} // namespace

const video_module *load_video_module() {
    static const video_module *const loaded = open_module();
    return loaded;
}

} // namespace reel
