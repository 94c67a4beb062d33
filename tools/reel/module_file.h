// The modules of reel: parts that stand in files of their own because what they are built on is
// slow to load.
//
//   void *entry = load_module("reel_images.so", "reel_image_module", "image readers");
#pragma once

namespace reel {

// Loads a module from beside the program or, installed, from ../lib/playertool, for as long as the
// program runs. Returns the address of its symbol, or null after a report that names `what`.
[[nodiscard]] void *load_module(const char *file, const char *symbol, const char *what);

} // namespace reel
