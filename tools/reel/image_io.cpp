#include "tools/reel/image_io.h"

#include "tools/reel/module_file.h"

namespace reel {

namespace {

const image_module *open_module() {
    void *entry = load_module("reel_images.so", image_module_symbol, "image readers");
    return entry != nullptr ? reinterpret_cast<image_module_procedure *>(entry)() : nullptr;
}

} // namespace

const image_module *load_image_module() {
    static const image_module *const loaded = open_module();
    return loaded;
}

} // namespace reel
