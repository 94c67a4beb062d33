#include "tests/tools/reel/scratch_folder.h"
#include "tools/reel/image_io.h"

#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <dlfcn.h>
#include <limits>

namespace reel {

namespace {

using OIIO::ImageSpec;

const image_module &module() {
    static const auto *loaded = [] {
        void *handle = ::dlopen(REEL_IMAGES, RTLD_NOW | RTLD_LOCAL);
        void *symbol = handle != nullptr ? ::dlsym(handle, image_module_symbol) : nullptr;
        return symbol != nullptr ? reinterpret_cast<image_module_procedure *>(symbol)() : nullptr;
    }();
    EXPECT_NE(loaded, nullptr);
    return *loaded;
}

constexpr std::uint32_t word(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return blue << 16 | green << 8 | red;
}

// One step of rounding apart at most, and without alpha.
bool is_close(std::uint32_t a, std::uint32_t b) {
    for (int shift = 0; shift < 24; shift += 8)
        if (std::abs(static_cast<int>(a >> shift & 0xFF) - static_cast<int>(b >> shift & 0xFF)) > 1)
            return false;
    return a >> 24 == b >> 24;
}

// Writes an image of floats, which the file's type scales.
void write_floats(const std::string &path, const ImageSpec &spec,
                  const std::vector<float> &values) {
    const auto output = OIIO::ImageOutput::create(path);
    ASSERT_TRUE(output && output->open(path, spec)) << OIIO::geterror();
    ASSERT_TRUE(output->write_image(OIIO::TypeFloat, values.data())) << output->geterror();
    ASSERT_TRUE(output->close());
}

// Every pixel of one kind, in many kinds of files, becomes one word.
TEST(image_plugin, values_become_display_bytes) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr float not_a_number = std::numeric_limits<float>::quiet_NaN();
    const struct {
        const char *name;
        OIIO::TypeDesc type;
        std::vector<float> pixel;
        std::uint32_t expected;
    } cases[] = {
        {"a.png", OIIO::TypeUInt8, {1, 0.4F, 0}, word(255, 102, 0)},
        {"a.png", OIIO::TypeUInt16, {1, 0.4F, 0}, word(255, 102, 0)},
        {"a.png", OIIO::TypeUInt8, {0.6F}, word(153, 153, 153)},
        {"a.tif", OIIO::TypeUInt16, {0.2F}, word(51, 51, 51)},
        {"a.exr", OIIO::TypeHalf, {0.5F, 0, 1}, word(188, 0, 255)},
        {"a.exr", OIIO::TypeFloat, {0.002F, 0.2140411F, 7}, word(7, 127, 255)},
        {"a.exr", OIIO::TypeFloat, {infinity, not_a_number, -1}, word(255, 0, 0)},
        {"a.exr", OIIO::TypeHalf, {0.5F}, word(188, 188, 188)},
        {"a.hdr", OIIO::TypeFloat, {0.5F, 0.25F, 1}, word(188, 137, 255)},
        {"a.dpx", OIIO::TypeUInt16, {1, 0.4F, 0}, word(255, 102, 0)},
        // over black: colours that come apart from their alpha are weighted, others stand
        {"a.png", OIIO::TypeUInt8, {0.4F, 0.2F, 0, 0.5F}, word(102, 51, 0)},
        {"a.exr", OIIO::TypeHalf, {0.5F, 0.25F, 0, 0}, word(188, 137, 0)},
    };
    const scratch_folder folder;
    for (const auto &each : cases) {
        const auto channels = static_cast<int>(each.pixel.size());
        std::vector<float> values;
        for (int i = 0; i < 6; ++i)
            values.insert(values.end(), each.pixel.begin(), each.pixel.end());
        write_floats(folder / each.name, ImageSpec(3, 2, channels, each.type), values);
        image_buffer image;
        std::string fault;
        ASSERT_EQ(module().read((folder / each.name).c_str(), false, &image, &fault), 0) << fault;
        ASSERT_EQ(image.words.size(), 6U);
        for (const std::uint32_t got : image.words)
            EXPECT_TRUE(is_close(got, each.expected))
                << each.name << " " << each.type << " x " << channels << std::hex << " " << got;
    }
}

// Taken raw, linear values are not light; what is for display anyway is the same either way.
TEST(image_plugin, raw_values_stay) {
    const scratch_folder folder;
    const struct {
        const char *name;
        OIIO::TypeDesc type;
    } cases[] = {{"a.exr", OIIO::TypeHalf},   {"a.exr", OIIO::TypeFloat},
                 {"a.hdr", OIIO::TypeFloat},  {"a.png", OIIO::TypeUInt16},
                 {"a.tif", OIIO::TypeUInt16}, {"a.dpx", OIIO::TypeUInt16},
                 {"a.rgb", OIIO::TypeUInt16}};
    for (const auto &each : cases) {
        write_floats(folder / each.name, ImageSpec(2, 1, 3, each.type),
                     {0.5F, 0.25F, 7, 0.5F, 0.25F, 7});
        image_buffer image;
        std::string fault;
        ASSERT_EQ(module().read((folder / each.name).c_str(), true, &image, &fault), 0) << fault;
        for (const std::uint32_t got : image.words)
            EXPECT_TRUE(is_close(got, word(128, 64, 255))) << each.name << std::hex << " " << got;
    }
}

// A 3 x 2 image "012 / 345" (the values name the places from the top left on), seen upright.
TEST(image_plugin, orientation_and_windows) {
    const scratch_folder folder;
    const struct {
        int orientation, width;
        std::vector<std::uint32_t> bottom_up;
    } cases[] = {
        {1, 3, {3, 4, 5, 0, 1, 2}}, {2, 3, {5, 4, 3, 2, 1, 0}}, {3, 3, {2, 1, 0, 5, 4, 3}},
        {4, 3, {0, 1, 2, 3, 4, 5}}, {5, 2, {2, 5, 1, 4, 0, 3}}, {6, 2, {5, 2, 4, 1, 3, 0}},
        {7, 2, {3, 0, 4, 1, 5, 2}}, {8, 2, {0, 3, 1, 4, 2, 5}},
    };
    const std::vector<float> values = {0, 1 / 255.F, 2 / 255.F, 3 / 255.F, 4 / 255.F, 5 / 255.F};
    image_buffer image;
    std::string fault;
    for (const auto &each : cases) {
        ImageSpec spec(3, 2, 1, OIIO::TypeUInt8);
        spec.attribute("Orientation", each.orientation);
        write_floats(folder / "a.tif", spec, values);
        ASSERT_EQ(module().read((folder / "a.tif").c_str(), false, &image, &fault), 0) << fault;
        EXPECT_EQ(image.width, each.width);
        std::vector<std::uint32_t> got;
        for (const std::uint32_t each_word : image.words)
            got.push_back(each_word & 0xFF);
        EXPECT_EQ(got, each.bottom_up) << "orientation " << each.orientation;
    }

    // Only what lies in the display window is seen: here the data's lower right, in its upper
    // left corner. Channels are found by name, in layers too.
    ImageSpec spec(3, 2, 4, OIIO::TypeHalf);
    spec.x = spec.y = -1;
    spec.full_width = 4;
    spec.full_height = 3;
    spec.channelnames = {"Z", "beauty.R", "beauty.G", "beauty.B"};
    std::vector<float> white(24, 1);
    write_floats(folder / "a.exr", spec, white);
    ASSERT_EQ(module().read((folder / "a.exr").c_str(), false, &image, &fault), 0) << fault;
    const std::uint32_t w = word(255, 255, 255);
    EXPECT_EQ(image.words, (std::vector<std::uint32_t>{0, 0, 0, 0, 0, 0, 0, 0, w, w, 0, 0}));

    // An uncompressed 24-bit image of the oldest kind, 1 x 2, stored bottom row first.
    std::string old("\0\0\2\0\0\0\0\0\0\0\0\0\1\0\2\0\30\0", 18);
    write_bytes(folder / "a.tga", old + std::string("\0\0\xff", 3) + std::string("\xff\0\0", 3));
    ASSERT_EQ(module().read((folder / "a.tga").c_str(), false, &image, &fault), 0) << fault;
    EXPECT_EQ(image.words, (std::vector<std::uint32_t>{word(255, 0, 0), word(0, 0, 255)}));
}

TEST(image_plugin, refuses) {
    const scratch_folder folder;
    write_bytes(folder / "text.png", "this is no image");
    write_bytes(folder / "empty.exr", "");
    write_floats(folder / "whole.exr", ImageSpec(64, 64, 1, OIIO::TypeUInt8),
                 std::vector<float>(4096, 0.5F));
    const std::string whole = read_bytes(folder / "whole.exr");
    write_bytes(folder / "cut.exr", whole.substr(0, whole.size() / 2));
    write_bytes(folder / "huge.pgm", "P5 40000 4 255\n" + std::string(160000, 'x'));
    for (const char *name : {"text.png", "empty.exr", "cut.exr", "huge.pgm", "absent.tif"}) {
        image_buffer image;
        std::string fault;
        EXPECT_EQ(module().read((folder / name).c_str(), false, &image, &fault), -1) << name;
        EXPECT_NE(fault, "") << name;
    }
    std::string fault;
    EXPECT_EQ(module().check_writer("a.reel", &fault), -1);
    EXPECT_EQ(module().check_writer("a.null", &fault), -1);
    EXPECT_EQ(module().check_writer("a.rgb", &fault), 0);
}

} // namespace

} // namespace reel
