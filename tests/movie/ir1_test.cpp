// The codec against a slow model that follows the format pixel by pixel and shares no code with
// it. Buffers are exactly as long as promised, so that a sanitizer sees every step outside.
#include "movie/ir1.h"
#include "movie/ir1_kernels.h"

#include <algorithm>
#include <array>
#include <climits>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

using bytes = std::vector<std::uint8_t>;
using pixels = std::vector<std::uint32_t>;

constexpr std::uint32_t untouched = 0xDEADBEEF;

// ---- The model ---------------------------------------------------------------------------------

struct rgb {
    int red, green, blue;
};

rgb channels(std::uint32_t word) {
    return {static_cast<int>(word % 256), static_cast<int>(word / 256 % 256),
            static_cast<int>(word / 65536 % 256)};
}

int model_luminance(rgb c) {
    return (79 * c.red + 156 * c.green + 21 * c.blue) / 256;
}

// Where pixel p of a block lies in the picture. Block rows count from the top.
std::size_t model_place(int width, int block_rows, int bx, int by, int p) {
    const int row_from_coded_top = by * 4 + p / 4;
    const int row = block_rows * 4 - 1 - row_from_coded_top;
    const int place = row * width + bx * 4 + p % 4;
    return static_cast<std::size_t>(place);
}

int model_quadrant(int p) {
    return (p / 8) * 2 + (p % 4) / 2;
}

void put(bytes &to, int word) {
    to.push_back(static_cast<std::uint8_t>(word / 256));
    to.push_back(static_cast<std::uint8_t>(word % 256));
}

int model_mean(const std::vector<rgb> &group) {
    long red = 0;
    long green = 0;
    long blue = 0;
    for (const rgb c : group) {
        red += c.red;
        green += c.green;
        blue += c.blue;
    }
    const long n = std::max<long>(1, static_cast<long>(group.size()));
    return static_cast<int>((red / n / 8) * 1024 + (green / n / 8) * 32 + blue / n / 8);
}

void model_block(const std::vector<rgb> &block, int threshold, bytes &to) {
    int least = INT_MAX;
    int most = INT_MIN;
    for (const rgb c : block) {
        least = std::min(least, model_luminance(c));
        most = std::max(most, model_luminance(c));
    }
    const bool detailed = long{most} - long{least} > long{threshold};
    const int groups = detailed ? 4 : 1;
    int mask = 0;
    std::vector<int> colours;
    for (int g = 0; g < groups; ++g) {
        std::vector<int> members;
        int sum = 0;
        for (int p = 0; p < 16; ++p) {
            if (!detailed || model_quadrant(p) == g) {
                members.push_back(p);
                sum += model_luminance(block[static_cast<std::size_t>(p)]);
            }
        }
        std::vector<rgb> high;
        std::vector<rgb> low;
        for (const int p : members) {
            const rgb c = block[static_cast<std::size_t>(p)];
            const bool is_high = model_luminance(c) >= sum / static_cast<int>(members.size());
            (is_high ? high : low).push_back(c);
            mask += is_high ? 1 << p : 0;
        }
        colours.push_back(model_mean(high));
        colours.push_back(model_mean(low));
    }
    put(to, mask);
    colours[0] += detailed ? 32768 : 0;
    for (const int colour : colours) {
        put(to, colour);
    }
}

bytes model_compress(const pixels &image, int width, int height, int threshold) {
    bytes stream;
    put(stream, width / 4 * 4);
    put(stream, height / 4 * 4);
    for (int by = 0; by < height / 4; ++by) {
        for (int bx = 0; bx < width / 4; ++bx) {
            std::vector<rgb> block;
            block.reserve(16);
            for (int p = 0; p < 16; ++p) {
                block.push_back(channels(image[model_place(width, height / 4, bx, by, p)]));
            }
            model_block(block, threshold, stream);
        }
    }
    return stream;
}

// Expands the complete blocks of a stream with a sound head.
pixels model_decompress(const bytes &stream) {
    const auto word = [&](std::size_t at) { return stream[at] * 256 + stream[at + 1]; };
    const int width = word(0);
    const int height = word(2);
    pixels image(static_cast<std::size_t>(width * height), untouched);
    std::size_t at = 4;
    for (int b = 0; b < width / 4 * (height / 4); ++b) {
        if (at + 4 > stream.size()) {
            break;
        }
        const bool detailed = word(at + 2) >= 32768;
        if (at + (detailed ? 18 : 6) > stream.size()) {
            break;
        }
        for (int p = 0; p < 16; ++p) {
            const bool is_high = (word(at) >> p) % 2 == 1;
            const int pair = detailed ? model_quadrant(p) : 0;
            const int colour =
                word(at + 2 + static_cast<std::size_t>(pair * 4 + (is_high ? 0 : 2)));
            image[model_place(width, height / 4, b % (width / 4), b / (width / 4), p)] =
                static_cast<std::uint32_t>(colour / 1024 % 32 * 8 + colour / 32 % 32 * 8 * 256 +
                                           colour % 32 * 8 * 65536);
        }
        at += detailed ? 18 : 6;
    }
    return image;
}

// ---- Pictures ----------------------------------------------------------------------------------

enum class kind { noise, flat, smooth, two_tone };
constexpr std::array all_kinds{kind::noise, kind::flat, kind::smooth, kind::two_tone};

pixels make_picture(kind what, int width, int height, std::mt19937 &random) {
    pixels image(static_cast<std::size_t>(width * height));
    const auto base = static_cast<std::uint32_t>(random());
    for (std::size_t i = 0; i < image.size(); ++i) {
        const auto noise = static_cast<std::uint32_t>(random());
        const auto x = static_cast<std::uint32_t>(i);
        switch (what) {
        case kind::noise:
            image[i] = noise;
            break;
        case kind::flat:
            image[i] = base;
            break;
        case kind::smooth: // spreads on both sides of the usual thresholds
            image[i] = (noise & 0xFF070707U) + (base & 0x00F0F0F0U) + (x % 8) * 0x010101U;
            break;
        case kind::two_tone:
            image[i] = noise % 4 == 0 ? 0xFFFFFFFFU : 0;
            break;
        }
    }
    return image;
}

const movie::ir1_colours &colour_table() {
    static const movie::ir1_table table = movie::IR1_init_tables();
    return *table;
}

bytes compress(const pixels &image, int width, int height, int threshold) {
    bytes packed(movie::ir1_worst_case(width, height));
    const std::int64_t n = movie::IR1_compress(image, width, height, packed, threshold);
    EXPECT_GE(n, 4);
    packed.resize(static_cast<std::size_t>(std::max<std::int64_t>(n, 0)));
    packed.shrink_to_fit();
    return packed;
}

void check_against_model(kind what, int width, int height, int threshold, unsigned seed) {
    SCOPED_TRACE(testing::Message()
                 << "picture " << static_cast<int>(what) << ", " << width << " x " << height
                 << ", threshold " << threshold << ", seed " << seed);
    std::mt19937 random(seed);
    const pixels image = make_picture(what, width, height, random);
    const bytes packed = compress(image, width, height, threshold);
    ASSERT_EQ(packed, model_compress(image, width, height, threshold));
    pixels decoded(static_cast<std::size_t>((width - width % 4) * (height - height % 4)));
    ASSERT_EQ(movie::IR1_decompress(colour_table(), packed, decoded), 0);
    ASSERT_EQ(decoded, model_decompress(packed));
}

// ---- Tests -------------------------------------------------------------------------------------

TEST(Ir1, AgreesWithTheModel) {
    unsigned seed = 1;
    for (int width = 0; width <= 17; ++width) {
        for (int height = 0; height <= 17; ++height) {
            for (const kind what : all_kinds) {
                check_against_model(what, width, height, 12, seed++);
            }
        }
    }
    for (const int threshold : {INT_MIN, -1, 0, 1, 12, 64, 254, 255, 256, INT_MAX}) {
        for (const kind what : all_kinds) {
            check_against_model(what, 64, 32, threshold, seed++);
            check_against_model(what, 131, 70, threshold, seed++);
        }
    }
    std::mt19937 sizes(7);
    for (int i = 0; i < 60; ++i) {
        check_against_model(all_kinds[sizes() % 4], static_cast<int>(sizes() % 200),
                            static_cast<int>(sizes() % 100), static_cast<int>(sizes() % 300) - 20,
                            seed++);
    }
    check_against_model(kind::noise, movie::ir1_max_dimension, 5, 12, seed++);
    check_against_model(kind::noise, 5, movie::ir1_max_dimension, 12, seed++);
}

TEST(Ir1, SizesOfTheStream) {
    std::mt19937 random(3);
    const pixels image = make_picture(kind::noise, 19, 22, random);
    EXPECT_EQ(compress(image, 19, 22, 255).size(), 4U + 6 * 4 * 5);
    EXPECT_EQ(compress(image, 19, 22, -1).size(), 4U + 18 * 4 * 5);
    EXPECT_EQ(movie::ir1_best_case(19, 22), 4U + 6 * 4 * 5);
    EXPECT_EQ(movie::ir1_worst_case(19, 22), 4U + 18 * 4 * 5);
    EXPECT_EQ(movie::ir1_worst_case(3, 400), 4U);
    EXPECT_EQ(movie::ir1_worst_case(-8, -8), 4U);
    EXPECT_EQ(movie::ir1_worst_case(32767, 32767), 4U + 18ULL * 8191 * 8191);
}

TEST(Ir1, UniformBlockAndPureColours) {
    EXPECT_EQ(compress(pixels(16, 0xFF3060F8), 4, 4, 0),
              (bytes{0, 4, 0, 4, 0xFF, 0xFF, 0x7D, 0x86, 0, 0}));
    for (std::uint32_t value = 0; value < 256; ++value) {
        const std::uint32_t word = value | (255 - value) << 8U | (value ^ 0x55U) << 16U;
        pixels decoded(16, untouched);
        ASSERT_EQ(movie::IR1_decompress(
                      colour_table(), compress(pixels(16, word | 0xAB000000U), 4, 4, 12), decoded),
                  0);
        EXPECT_EQ(decoded, pixels(16, word & 0x00F8F8F8U)) << value;
    }
}

TEST(Ir1, ExpansionTableIsFreshEachTime) {
    const movie::ir1_table one = movie::IR1_init_tables();
    const movie::ir1_table other = movie::IR1_init_tables();
    EXPECT_NE(one, other);
    EXPECT_EQ(*one, *other);
    EXPECT_EQ((*one)[0x7C00], 0xF8U);
    EXPECT_EQ((*one)[0x03E0], 0xF800U);
    EXPECT_EQ((*one)[0x001F], 0xF80000U);
}

TEST(Ir1, RefusesWhatDoesNotFit) {
    bytes packed(movie::ir1_worst_case(8, 8), 0x77);
    const bytes before = packed;
    pixels image(64);
    const struct {
        int width, height;
        std::size_t image_words, packed_bytes;
    } cases[] = {{-1, 8, 64, 76},    {8, -1, 64, 76},    {INT_MIN, INT_MIN, 64, 76},
                 {32768, 0, 64, 76}, {0, 32768, 64, 76}, {8, 8, 63, 76},
                 {8, 8, 64, 75},     {0, 0, 0, 3},       {32767, 32767, 64, 76}};
    for (const auto &c : cases) {
        EXPECT_EQ(movie::IR1_compress(std::span(image).first(c.image_words), c.width, c.height,
                                      std::span(packed).first(c.packed_bytes), 12),
                  -1)
            << c.width << " x " << c.height << ", " << c.image_words << ", " << c.packed_bytes;
    }
    EXPECT_EQ(packed, before);

    const bytes sound = compress(image, 8, 8, 12);
    pixels small(63, untouched);
    EXPECT_EQ(movie::IR1_decompress(colour_table(), sound, small), -1);
    EXPECT_EQ(small, pixels(63, untouched));
    for (const bytes &head : {bytes{0xFF, 0xFC, 0, 8}, bytes{0, 8, 0x80, 0}, bytes{0, 7, 0, 8},
                              bytes{0, 8, 0, 9}, bytes{0, 8, 0}, bytes{}}) {
        bytes bad(head);
        if (head.size() == 4) {
            bad.insert(bad.end(), sound.begin() + 4, sound.end());
        }
        movie::ir1_size size{1, 2};
        EXPECT_EQ(movie::ir1_read_size(bad, &size), -1);
        EXPECT_EQ(size.width, 1);
        EXPECT_EQ(movie::IR1_decompress(colour_table(), bad, image), -1);
    }
}

TEST(Ir1, TruncatedStreamsGiveTheirCompleteBlocks) {
    std::mt19937 random(11);
    pixels image = make_picture(kind::noise, 12, 8, random);
    for (std::size_t i = 0; i < image.size(); ++i) {
        image[i] = i % 12 < 4 ? 0x808080U : image[i]; // flat and detailed blocks in turn
    }
    const bytes whole = compress(image, 12, 8, 12);
    for (std::size_t n = 4; n <= whole.size(); ++n) {
        const bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(n));
        pixels decoded(96, untouched);
        EXPECT_EQ(movie::IR1_decompress(colour_table(), part, decoded), n == whole.size() ? 0 : -1)
            << n;
        EXPECT_EQ(decoded, model_decompress(part)) << n;
    }
}

TEST(Ir1, AnyBytesDecodeAsTheModelSays) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        bytes stream{0, static_cast<std::uint8_t>(random() % 9 * 4), 0,
                     static_cast<std::uint8_t>(random() % 9 * 4)};
        for (auto n = random() % 1400; n > 0; --n) { // bit 15 of every colour word at random
            stream.push_back(static_cast<std::uint8_t>(random()));
        }
        stream.shrink_to_fit();
        const pixels expected = model_decompress(stream);
        pixels decoded(expected.size(), untouched);
        const int result = movie::IR1_decompress(colour_table(), stream, decoded);
        EXPECT_EQ(decoded, expected);
        EXPECT_EQ(result == 0, std::ranges::count(expected, untouched) == 0);
    }
}

TEST(Ir1, LevelNamesLimitTheKernels) {
    EXPECT_STREQ(movie::ir1_best_kernels("scalar").name, "scalar");
    const movie::ir1_kernels &best = movie::ir1_best_kernels(nullptr);
    EXPECT_EQ(&movie::ir1_best_kernels("avx512"), &best);
    testing::internal::CaptureStderr();
    EXPECT_EQ(&movie::ir1_best_kernels(""), &best);
    const std::array<std::string, 4> levels{"scalar", "sse4", "avx2", "avx512"};
    for (auto limit = levels.begin(); limit != levels.end(); ++limit) {
        const char *chosen = movie::ir1_best_kernels(limit->c_str()).name;
        EXPECT_NE(std::find(levels.begin(), limit + 1, chosen), limit + 1) << *limit << chosen;
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    testing::internal::CaptureStderr();
    EXPECT_EQ(&movie::ir1_best_kernels("fast"), &best);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "PLAYER_CPU: unknown level \"fast\" ignored (scalar, sse4, avx2, avx512)\n");
}

} // namespace
