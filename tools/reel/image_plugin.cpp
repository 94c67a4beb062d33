// The image readers and writers behind image_io.h, over OpenImageIO. This file and
// image_end.cpp make the module reel_images.so; it reports nothing itself and lets no exception
// out.
#include "tools/reel/image_end.h"
#include "tools/reel/image_io.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>

namespace reel {

namespace {

constexpr int byte_levels = 256;
constexpr int linear_levels = 65536; // finer than 8-bit sRGB at its darkest
constexpr std::int64_t max_image_bytes = std::int64_t{1} << 32; // of one file's pixels
constexpr int jpeg_quality = 95;                                // percent

// Formats that are no still image files, or that are none to a user's eye.
constexpr const char *foreign_formats[] = {"ffmpeg", "null", "openvdb", "term"};

bool is_foreign(OIIO::string_view format) {
    return std::any_of(std::begin(foreign_formats), std::end(foreign_formats),
                       [&](const char *name) { return format == name; });
}

// ---- colour

float display_of_linear(float value) {
    return value <= 0.0031308F ? value * 12.92F : 1.055F * std::pow(value, 1 / 2.4F) - 0.055F;
}

float linear_of_display(float value) {
    return value <= 0.04045F ? value / 12.92F : std::pow((value + 0.055F) / 1.055F, 2.4F);
}

// Clamped to 0 .. levels - 1 and rounded; not-a-number is 0.
std::uint32_t quantise(float value, int levels) {
    if (!(value > 0))
        return 0;
    const auto top = static_cast<float>(levels - 1);
    return static_cast<std::uint32_t>(std::lrint(std::min(value, 1.0F) * top));
}

std::vector<std::uint8_t> make_display_table() {
    std::vector<std::uint8_t> table(linear_levels);
    for (int i = 0; i < linear_levels; ++i) {
        const float linear = static_cast<float>(i) / static_cast<float>(linear_levels - 1);
        table[static_cast<std::size_t>(i)] =
            static_cast<std::uint8_t>(quantise(display_of_linear(linear), byte_levels));
    }
    return table;
}

bool is_floating(const OIIO::ImageSpec &spec) {
    return spec.format.basetype == OIIO::TypeDesc::HALF ||
           spec.format.basetype == OIIO::TypeDesc::FLOAT ||
           spec.format.basetype == OIIO::TypeDesc::DOUBLE;
}

// Says whether the file's values are linear light. What it states about itself counts; floating
// point values that come without a statement are linear. A film scan's header says "linear" of
// any values.
bool is_linear(const OIIO::ImageSpec &spec, const OIIO::string_view &format) {
    if (format == "dpx" || format == "cineon")
        return false;
    const OIIO::string_view space = spec.get_string_attribute("oiio:ColorSpace");
    if (space.empty())
        return is_floating(spec);
    return OIIO::Strutil::iequals(space, "Linear") ||
           OIIO::Strutil::iequals(space, "scene_linear") ||
           OIIO::Strutil::istarts_with(space, "lin_");
}

// ---- reading

struct channel_choice {
    int red = 0;
    int green = 0;
    int blue = 0;
};

// The index of the channel called `name`, alone or at the end of a layer's name ("beauty.R").
int find_channel(const OIIO::ImageSpec &spec, const char *name) {
    const std::string tail = std::string(".") + name;
    int layered = -1;
    for (int i = 0; i < spec.nchannels; ++i) {
        const OIIO::string_view channel = spec.channel_name(i);
        if (OIIO::Strutil::iequals(channel, name))
            return i;
        if (layered < 0 && OIIO::Strutil::iends_with(channel, tail))
            layered = i;
    }
    return layered;
}

channel_choice choose_channels(const OIIO::ImageSpec &spec) {
    const channel_choice named = {find_channel(spec, "R"), find_channel(spec, "G"),
                                  find_channel(spec, "B")};
    if (named.red >= 0 && named.green >= 0 && named.blue >= 0)
        return named;
    if (spec.nchannels >= 3 && find_channel(spec, "Y") < 0)
        return {0, 1, 2};
    const int grey = std::max(find_channel(spec, "Y"), 0);
    return {grey, grey, grey};
}

// Where the pixels of a file go: pixel (x, y) of the display window, counted from its top left
// corner, to origin + x * right + y * down of the picture.
struct placement {
    int width = 0;  // of the picture
    int height = 0; // of the picture
    std::int64_t origin = 0;
    std::int64_t right = 0;
    std::int64_t down = 0;
};

// `orientation` is what cameras and scanners write: 1 upright, 2 to 4 mirrored or upside down,
// 5 to 8 the same with rows and columns exchanged.
placement place_picture(int width, int height, int orientation) {
    const bool exchanged = orientation >= 5 && orientation <= 8;
    const bool from_right =
        orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7;
    const bool from_bottom =
        orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8;
    placement at;
    at.width = exchanged ? height : width;
    at.height = exchanged ? width : height;
    const std::int64_t across = from_right ? -1 : 1;
    const std::int64_t along = from_bottom ? at.width : -at.width; // rows are bottom-up
    at.right = exchanged ? along : across;
    at.down = exchanged ? across : along;
    at.origin = (from_right ? at.width - 1 : 0) +
                (from_bottom ? 0 : static_cast<std::int64_t>(at.height - 1) * at.width);
    return at;
}

// One file's picture on its way into a buffer.
struct picture_source {
    OIIO::ImageSpec spec;
    channel_choice channels;
    int first_channel = 0;
    int channel_count = 0; // read from the file, from first_channel on
    bool floating = false; // the scratch buffer holds floats, else bytes
    bool linear = false;
};

std::uint32_t pack(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return blue << 16 | green << 8 | red;
}

// Converts what the display window shows of the scratch buffer; the rest stays as it is.
//   sample   the value type in the buffer
//   to_byte  makes a display value of 8 bits from a sample
template <typename sample, typename conversion>
void place_pixels(const picture_source &from, const placement &at, image_buffer &image,
                  conversion to_byte) {
    const OIIO::ImageSpec &spec = from.spec;
    const int left = std::max(spec.x, spec.full_x);
    const int right = std::min(spec.x + spec.width, spec.full_x + spec.full_width);
    const int top = std::max(spec.y, spec.full_y);
    const int bottom = std::min(spec.y + spec.height, spec.full_y + spec.full_height);
    const auto *samples = reinterpret_cast<const sample *>(image.scratch.data());
    const auto stride = static_cast<std::int64_t>(from.channel_count);
    for (int y = top; y < bottom; ++y) {
        const sample *in =
            samples + (static_cast<std::int64_t>(y - spec.y) * spec.width + left - spec.x) * stride;
        std::int64_t out =
            at.origin + (left - spec.full_x) * at.right + (y - spec.full_y) * at.down;
        for (int x = left; x < right; ++x, in += stride, out += at.right)
            image.words[static_cast<std::size_t>(out)] =
                pack(to_byte(in[from.channels.red - from.first_channel]),
                     to_byte(in[from.channels.green - from.first_channel]),
                     to_byte(in[from.channels.blue - from.first_channel]));
    }
}

void convert_picture(const picture_source &from, image_buffer &image) {
    const OIIO::ImageSpec &spec = from.spec;
    const placement at =
        place_picture(spec.full_width, spec.full_height, spec.get_int_attribute("Orientation", 1));
    image.width = at.width;
    image.height = at.height;
    image.words.assign(static_cast<std::size_t>(at.width) * static_cast<std::size_t>(at.height), 0);
    if (!from.floating) {
        place_pixels<std::uint8_t>(from, at, image, [](std::uint8_t value) { return value; });
    } else if (from.linear) {
        static const std::vector<std::uint8_t> table = make_display_table();
        place_pixels<float>(from, at, image,
                            [](float value) { return table[quantise(value, linear_levels)]; });
    } else {
        place_pixels<float>(from, at, image,
                            [](float value) { return quantise(value, byte_levels); });
    }
}

// Makes the head of a file ready for reading. Returns 0, or -1 with *fault filled.
int prepare_source(const OIIO::ImageInput &input, picture_source &from, std::string *fault) {
    OIIO::ImageSpec &spec = from.spec;
    spec = input.spec();
    if (is_foreign(input.format_name())) {
        *fault = "it is not a still image";
        return -1;
    }
    if (spec.full_width <= 0 || spec.full_height <= 0) {
        spec.full_x = spec.x;
        spec.full_y = spec.y;
        spec.full_width = spec.width;
        spec.full_height = spec.height;
    }
    if (std::max({spec.width, spec.height, spec.full_width, spec.full_height}) > image_max_side) {
        *fault = "it is " + std::to_string(spec.full_width) + "x" +
                 std::to_string(spec.full_height) + " pixels; a side can have " +
                 std::to_string(image_max_side);
        return -1;
    }
    if (spec.width < 1 || spec.height < 1 || spec.depth > 1 || spec.nchannels < 1 || spec.deep) {
        *fault = "it holds no flat picture";
        return -1;
    }
    from.channels = choose_channels(spec);
    const auto [low, high] =
        std::minmax({from.channels.red, from.channels.green, from.channels.blue});
    from.first_channel = low;
    from.channel_count = high - low + 1;
    from.linear = is_linear(spec, input.format_name());
    from.floating = from.linear || is_floating(spec);
    return 0;
}

bool can_read_picture(const char *path) {
    const auto input = OIIO::ImageInput::open(path);
    (void)OIIO::geterror();
    return input != nullptr && !is_foreign(input->format_name());
}

int read_picture(const char *path, bool raw_values, image_buffer *image, std::string *fault) {
    if (const char *early = find_early_end(path, image->scratch); early != nullptr) {
        *fault = early;
        return -1;
    }
    const auto input = OIIO::ImageInput::open(path);
    if (!input) {
        *fault = OIIO::geterror();
        return -1;
    }
    picture_source from;
    if (prepare_source(*input, from, fault) != 0)
        return -1;
    if (raw_values) {
        from.linear = false;
        from.floating = is_floating(from.spec);
    }
    const std::int64_t bytes = std::int64_t{from.spec.width} * from.spec.height *
                               from.channel_count * (from.floating ? 4 : 1);
    if (bytes > max_image_bytes) {
        *fault = "it is too large";
        return -1;
    }
    image->scratch.resize(static_cast<std::size_t>(bytes));
    if (!input->read_image(0, 0, from.first_channel, from.first_channel + from.channel_count,
                           from.floating ? OIIO::TypeFloat : OIIO::TypeUInt8,
                           image->scratch.data())) {
        *fault = input->geterror();
        if (fault->empty()) // the readers of some formats say nothing
            *fault = "it is damaged or cut off";
        return -1;
    }
    convert_picture(from, *image);
    image->has_more = input->seek_subimage(1, 0);
    (void)input->geterror(); // that there is no other picture is no fault
    return 0;
}

// ---- writing

bool wants_linear(const OIIO::string_view &format) {
    return format == "openexr" || format == "hdr";
}

OIIO::ImageSpec make_output_spec(const OIIO::string_view &format, int width, int height) {
    OIIO::ImageSpec spec(width, height, 3,
                         format == "openexr" ? OIIO::TypeHalf
                         : format == "hdr"   ? OIIO::TypeFloat
                                             : OIIO::TypeUInt8);
    spec.attribute("oiio:ColorSpace", wants_linear(format) ? "Linear" : "sRGB");
    if (format == "jpeg") {
        spec.attribute("CompressionQuality", jpeg_quality);
        spec.attribute("jpeg:subsampling", "4:4:4");
    }
    return spec;
}

// The channels of a picture as bytes, its top row first.
std::vector<std::uint8_t> unpack_words(std::span<const std::uint32_t> words, int width,
                                       int height) {
    const auto row_words = static_cast<std::size_t>(width);
    std::vector<std::uint8_t> bytes(words.size() * 3);
    std::size_t out = 0;
    for (auto row = static_cast<std::size_t>(height); row-- > 0;) {
        for (const std::uint32_t word : words.subspan(row * row_words, row_words)) {
            bytes[out++] = static_cast<std::uint8_t>(word);
            bytes[out++] = static_cast<std::uint8_t>(word >> 8);
            bytes[out++] = static_cast<std::uint8_t>(word >> 16);
        }
    }
    return bytes;
}

std::vector<float> make_linear(const std::vector<std::uint8_t> &bytes) {
    std::array<float, byte_levels> table{};
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = linear_of_display(static_cast<float>(i) / static_cast<float>(byte_levels - 1));
    std::vector<float> values(bytes.size());
    std::transform(bytes.begin(), bytes.end(), values.begin(),
                   [&](std::uint8_t value) { return table[value]; });
    return values;
}

bool write_pixels(OIIO::ImageOutput &output, const std::string &path, const OIIO::ImageSpec &spec,
                  const std::vector<std::uint8_t> &bytes) {
    if (!output.open(path, spec))
        return false;
    const bool written = wants_linear(output.format_name())
                             ? output.write_image(OIIO::TypeFloat, make_linear(bytes).data())
                             : output.write_image(OIIO::TypeUInt8, bytes.data());
    return output.close() && written;
}

// A writer that opens the file itself may miss that its last bytes found no room: such a file is
// read again.
int check_written(const char *path, std::string *fault) {
    image_buffer again;
    if (read_picture(path, false, &again, fault) == 0)
        return 0;
    *fault = "it could not be written whole: " + *fault;
    return -1;
}

int store_bytes(const char *path, const std::vector<unsigned char> &bytes, std::string *fault) {
    errno = 0;
    std::FILE *file = std::fopen(path, "wbe");
    const bool written = file != nullptr &&
                         std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size() &&
                         std::fflush(file) == 0;
    if (!written)
        *fault = std::strerror(errno != 0 ? errno : EIO);
    if (file != nullptr)
        std::fclose(file); // nothing is left in its buffer that could fail
    return written ? 0 : -1;
}

// Most writers can write to memory, so that a full disk is ours to notice: some of the libraries
// end the program at it. (The TIFF writer can too, but loses part of the directory.)
bool takes_memory(const OIIO::ImageOutput &output) {
    return output.supports("ioproxy") && std::strcmp(output.format_name(), "tiff") != 0;
}

int write_picture(const char *path, std::span<const std::uint32_t> words, int width, int height,
                  std::string *fault) {
    // Before the writer, which may use them until its end.
    std::vector<unsigned char> file;
    OIIO::Filesystem::IOVecOutput memory(file);
    const auto output = OIIO::ImageOutput::create(path);
    if (!output) {
        *fault = OIIO::geterror();
        return -1;
    }
    const bool in_memory = takes_memory(*output) && output->set_ioproxy(&memory);
    const OIIO::ImageSpec spec = make_output_spec(output->format_name(), width, height);
    if (!write_pixels(*output, path, spec, unpack_words(words, width, height))) {
        *fault = output->geterror();
        return -1;
    }
    return in_memory ? store_bytes(path, file, fault) : check_written(path, fault);
}

int check_output_format(const char *path, std::string *fault) {
    const auto output = OIIO::ImageOutput::create(path);
    if (output && !is_foreign(output->format_name()))
        return 0;
    (void)OIIO::geterror();
    *fault = "there is no image format of that extension to write";
    return -1;
}

// ---- the module

// Makes one line of what a library said, which may be several or none.
void tidy_fault(std::string *fault) {
    std::string line;
    for (const OIIO::string_view &part : OIIO::Strutil::splitsv(*fault, "\n"))
        if (!part.empty())
            line += (line.empty() ? "" : "; ") + std::string(part);
    *fault = line.empty() ? "the image library does not say why" : line;
}

// Runs a procedure and turns exceptions of the libraries below into faults.
template <typename procedure> int guard(std::string *fault, procedure run) {
    try {
        if (run() == 0)
            return 0;
        tidy_fault(fault);
        return -1;
    } catch (const std::bad_alloc &) {
        *fault = "there is not enough memory for it";
    } catch (const std::exception &error) {
        *fault = error.what();
    }
    return -1;
}

std::vector<std::string> list_extensions() {
    std::vector<std::string> names;
    for (const std::string &format :
         OIIO::Strutil::splits(OIIO::get_string_attribute("extension_list"), ";")) {
        const std::size_t colon = format.find(':');
        if (colon == std::string::npos || is_foreign(format.substr(0, colon)))
            continue;
        for (std::string &name : OIIO::Strutil::splits(format.substr(colon + 1), ","))
            names.push_back(std::move(name));
    }
    return names;
}

constexpr image_module procedures = {
    list_extensions,
    [](const char *path) {
        std::string fault;
        return guard(&fault, [&] { return can_read_picture(path) ? 0 : -1; }) == 0;
    },
    [](const char *path, bool raw_values, image_buffer *image, std::string *fault) {
        return guard(fault, [&] { return read_picture(path, raw_values, image, fault); });
    },
    [](const char *path, std::string *fault) {
        return guard(fault, [&] { return check_output_format(path, fault); });
    },
    [](const char *path, std::span<const std::uint32_t> words, int width, int height,
       std::string *fault) {
        return guard(fault, [&] { return write_picture(path, words, width, height, fault); });
    },
};

} // namespace

} // namespace reel

extern "C" __attribute__((visibility("default"))) const reel::image_module *reel_image_module();

const reel::image_module *reel_image_module() {
    return &reel::procedures;
}
