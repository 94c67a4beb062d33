// Image files: the interface to the readers and writers, which stand in a module of their own
// (reel_images.so) because what they are built on is slow to load.
//
//   const image_module *images = load_image_module();              // null after a report
//   image_buffer picture;
//   std::string fault;
//   if (images->read("shot.0001.exr", false, &picture, &fault) != 0)
//       report("shot.0001.exr: %s", fault.c_str());
//   images->write("copy.png", picture.words, picture.width, picture.height, &fault);
//
// Pictures in memory are as the codec wants them: words 0xAABBGGRR in native byte order, rows
// bottom-up without padding, alpha 0. Their colours are display colours (sRGB) of 8 bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace reel {

inline constexpr int image_max_side = 32767; // pixels

struct image_buffer {
    int width = 0;                    // pixels
    int height = 0;                   // pixels
    std::vector<std::uint32_t> words; // width x height
    bool has_more = false;            // the file holds further pictures, which were not read
    std::vector<std::byte> scratch;   // the reader's; kept so that the next image needs no memory
};

// The module's procedures. Each may be called from several threads at once, with buffers of
// their own.
struct image_module {
    // The extensions of the still image formats that can be read, in lower case without the dot.
    std::vector<std::string> (*extensions)();

    // Says whether a file's content looks like an image of a format that can be read.
    bool (*can_read)(const char *path);

    // Reads the first picture of a file, of whatever format, as it is meant to be seen: whole
    // display window, upright, linear light turned into display colours (unless raw_values asks
    // for the numbers as they are), transparency over black, grey as colour, deeper channels
    // scaled to 8 bits. Returns 0, or -1 with the reason in *fault.
    int (*read)(const char *path, bool raw_values, image_buffer *image, std::string *fault);

    // Says whether a picture can be written under a name with this extension. Returns 0, or -1
    // with the reason in *fault.
    int (*check_writer)(const char *path, std::string *fault);

    // Writes a picture in the format that the extension tells, over what is there. Formats of
    // linear light (EXR, HDR) get linear values. Returns 0, or -1 with the reason in *fault and
    // an unusable file.
    int (*write)(const char *path, std::span<const std::uint32_t> words, int width, int height,
                 std::string *fault);
};

// The one symbol of the module.
inline constexpr const char *image_module_symbol = "reel_image_module";
extern "C" {
using image_module_procedure = const image_module *();
}

// Loads the module from beside the program or, installed, from ../lib/playertool. Returns the
// same pointer, owned by the module, each time; null after a report.
[[nodiscard]] const image_module *load_image_module();

} // namespace reel
