#include "tools/reel/module_file.h"

#include "tools/reel/report.h"

#include <dlfcn.h>
#include <filesystem>

namespace reel {

namespace {

constexpr const char *module_folders[] = {".", "../lib/playertool"};

// The module's path, or where it should have been.
std::filesystem::path find_module(const char *file) {
    std::error_code error;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    std::filesystem::path path;
    for (const char *folder : module_folders) {
        path = (program.parent_path() / folder / file).lexically_normal();
        if (std::filesystem::exists(path, error))
            break;
    }
    return path;
}

} // namespace

void *load_module(const char *file, const char *symbol, const char *what) {
    // Never closed: its procedures are used until the program ends.
    void *handle = ::dlopen(find_module(file).c_str(), RTLD_NOW | RTLD_LOCAL);
    void *entry = handle != nullptr ? ::dlsym(handle, symbol) : nullptr;
    if (entry == nullptr)
        report("the %s cannot be %s: %s", what, handle == nullptr ? "loaded" : "used", ::dlerror());
    return entry;
}

} // namespace reel
