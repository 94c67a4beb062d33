// The codec against a slow model that follows the format pixel by pixel and shares no code with
// it. Buffers are exactly as long as promised, so that a sanitizer sees every step outside.
#include "movie/ir1.h"
#include "movie/ir1_kernels.h"
#include "movie/ir1_x86.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <set>
#include <span>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
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
    const int row = block_rows * 4 - 1 - (by * 4 + p / 4);
    return static_cast<std::size_t>(row * width + bx * 4 + p % 4);
}

int model_quadrant(int p) {
    return (p / 8) * 2 + (p % 4) / 2;
}

void put(bytes &to, int word) {
    to.push_back(static_cast<std::uint8_t>(word / 256));
    to.push_back(static_cast<std::uint8_t>(word % 256));
}

int model_mean(const std::vector<rgb> &group) {
    const int n = std::max(1, static_cast<int>(group.size()));
    rgb sum{0, 0, 0};
    for (const rgb c : group) {
        sum = {sum.red + c.red, sum.green + c.green, sum.blue + c.blue};
    }
    return sum.red / n / 8 * 1024 + sum.green / n / 8 * 32 + sum.blue / n / 8;
}

void model_block(const std::vector<rgb> &block, int threshold, bytes &to) {
    const auto [least, most] = std::ranges::minmax(block, {}, model_luminance);
    const bool detailed = long{model_luminance(most)} - model_luminance(least) > threshold;
    int mask = 0;
    std::vector<int> colours;
    for (int g = 0; g < (detailed ? 4 : 1); ++g) {
        int members = 0;
        int sum = 0;
        for (int p = 0; p < 16; ++p) {
            if (!detailed || model_quadrant(p) == g) {
                ++members;
                sum += model_luminance(block[static_cast<std::size_t>(p)]);
            }
        }
        std::vector<rgb> high;
        std::vector<rgb> low;
        for (int p = 0; p < 16; ++p) {
            if (!detailed || model_quadrant(p) == g) {
                const rgb c = block[static_cast<std::size_t>(p)];
                const bool is_high = model_luminance(c) >= sum / members;
                (is_high ? high : low).push_back(c);
                mask += is_high ? 1 << p : 0;
            }
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

enum class kind : int { noise, flat, smooth, two_tone };
constexpr std::array all_kinds{kind::noise, kind::flat, kind::smooth, kind::two_tone};

pixels make_picture(kind what, int width, int height, std::mt19937 &random) {
    pixels image(static_cast<std::size_t>(width * height));
    const auto base = static_cast<std::uint32_t>(random());
    for (std::size_t i = 0; i < image.size(); ++i) {
        const auto noise = static_cast<std::uint32_t>(random());
        const auto ramp = static_cast<std::uint32_t>(i % 8) * 0x010101U;
        const std::array<std::uint32_t, all_kinds.size()> words{
            noise, base,
            (noise & 0xFF070707U) + (base & 0x00F0F0F0U) + ramp, // spreads around usual thresholds
            noise % 4 == 0 ? 0xFFFFFFFFU : 0};
        image[i] = words[static_cast<std::size_t>(what)];
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

TEST(Ir1, RefusesWhatDoesNotFit) {
    EXPECT_EQ(movie::ir1_worst_case(3, 400), 4U);
    EXPECT_EQ(movie::ir1_worst_case(-8, -8), 4U);
    EXPECT_EQ(movie::ir1_worst_case(32767, 32767), 4U + 18ULL * 8191 * 8191);
    bytes packed(movie::ir1_worst_case(8, 8), 0x77);
    const bytes before = packed;
    pixels image(64);
    const auto refused = [&](int width, int height, std::size_t words, std::size_t room) {
        return movie::IR1_compress(std::span(image).first(words), width, height,
                                   std::span(packed).first(room), 12) == -1;
    };
    EXPECT_TRUE(refused(-1, 8, 64, 76) && refused(8, INT_MIN, 64, 76));
    EXPECT_TRUE(refused(32768, 0, 64, 76) && refused(0, 32768, 64, 76));
    EXPECT_TRUE(refused(8, 8, 63, 76) && refused(8, 8, 64, 75) && refused(0, 0, 0, 3));
    EXPECT_EQ(packed, before);

    const bytes sound = compress(image, 8, 8, 12);
    pixels small(63, untouched);
    EXPECT_EQ(movie::IR1_decompress(colour_table(), sound, small), -1);
    EXPECT_EQ(small, pixels(63, untouched));
    for (const bytes &head : {bytes{0xFF, 0xFC, 0, 8}, bytes{0, 8, 0x80, 0}, bytes{0, 7, 0, 8},
                              bytes{0, 8, 0, 9}, bytes{0, 8, 0}, bytes{}}) {
        bytes bad(head);
        bad.resize(head.size() == 4 ? sound.size() : head.size());
        EXPECT_EQ(movie::IR1_decompress(colour_table(), bad, image), -1);
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

        movie::ir1_strips left; // the same, strip by strip, as far as the stream goes
        ASSERT_EQ(movie::ir1_begin_strips(stream, &left), 0);
        std::ranges::fill(decoded, untouched);
        int outcome = 0;
        while (outcome == 0 && left.rows > 0) {
            const int rows = std::min(left.rows, static_cast<int>(random() % 3 + 1) * 4);
            const auto below = static_cast<std::size_t>((left.rows - rows) * left.width);
            const auto size = static_cast<std::size_t>(rows * left.width);
            const std::span<std::uint32_t> strip = std::span(decoded).subspan(below, size);
            outcome = movie::ir1_next_strip(colour_table(), left, rows, strip);
        }
        EXPECT_EQ(decoded, expected);
        EXPECT_EQ(outcome, result);
        EXPECT_EQ(movie::ir1_next_strip(colour_table(), left, left.rows + 4, decoded), -1);
        EXPECT_EQ(movie::ir1_next_strip(colour_table(), left, 2, decoded), -1);
    }
}

// Memory of exactly so many items between pages that nobody may touch: its end, or else its
// beginning, lies at one of them. (Where a sanitizer would not see what a kernel does, too.)
template <typename item> class guarded {
public:
    guarded(std::size_t count, bool at_end) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t used = count * sizeof(item);
        const std::size_t inner = (used + page - 1) / page * page;
        length = inner + 2 * page;
        pages = static_cast<std::uint8_t *>(
            mmap(nullptr, length, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (pages == MAP_FAILED ||
            (inner > 0 && mprotect(pages + page, inner, PROT_READ | PROT_WRITE) != 0)) {
            std::abort();
        }
        items = {reinterpret_cast<item *>(pages + page + (at_end ? inner - used : 0)), count};
    }
    guarded(const guarded &) = delete;
    guarded &operator=(const guarded &) = delete;
    ~guarded() { munmap(pages, length); }

    std::span<item> items;

private:
    std::uint8_t *pages = nullptr;
    std::size_t length = 0;
};

// The kernels that this processor runs, besides the plain ones, by the names of their levels.
const std::vector<const movie::ir1_kernels *> &fast_kernels() {
    static const std::vector<const movie::ir1_kernels *> all = [] {
        std::vector<const movie::ir1_kernels *> list;
        for (const movie::ir1_kernels *kernels :
             {movie::ir1_sse4_kernels(), movie::ir1_avx2_kernels(),
              movie::ir1_avx2_bypassing_kernels(), movie::ir1_avx512_kernels()}) {
            if (kernels != nullptr) {
                list.push_back(kernels);
            }
        }
        return list;
    }();
    return all;
}

// Every level against the plain kernels, on one picture. What the model is too slow for: whole rows
// of many batches, a table that arithmetic does not know, pictures that are stored in another way.
struct comparison {
    int width, height;
    bool at_end; // where guarded memory lies
    const movie::ir1_kernels &plain = movie::ir1_scalar_kernels();

    bytes encode(const pixels &picture, int threshold) const {
        const guarded<std::uint32_t> image(picture.size(), at_end);
        std::ranges::copy(picture, image.items.begin());
        bytes expected(movie::ir1_worst_case(width, height) - movie::ir1_header_bytes);
        const guarded<std::uint8_t> blocks(expected.size(), at_end);
        expected.resize(plain.encode_blocks(picture, width, height, expected, threshold));
        for (const movie::ir1_kernels *fast : fast_kernels()) {
            const std::size_t n =
                fast->encode_blocks(image.items, width, height, blocks.items, threshold);
            EXPECT_TRUE(std::ranges::equal(expected, blocks.items.first(n))) << fast->name;
        }
        return expected;
    }

    // The first `size` bytes of the stream.
    void decode(const movie::ir1_colours &colours, const bytes &packed, std::size_t size) const {
        const guarded<std::uint8_t> blocks(size, at_end);
        std::copy_n(packed.begin(), size, blocks.items.begin());
        const int w = width - width % 4;
        const int h = height - height % 4;
        pixels expected(static_cast<std::size_t>(w * h), untouched);
        const guarded<std::uint32_t> image(expected.size(), at_end);
        const auto used = plain.decode_blocks(colours, blocks.items, expected, w, h);
        for (const movie::ir1_kernels *fast : fast_kernels()) {
            std::ranges::fill(image.items, untouched);
            EXPECT_EQ(fast->decode_blocks(colours, blocks.items, image.items, w, h), used);
            EXPECT_TRUE(std::ranges::equal(expected, image.items))
                << fast->name << ", " << size << " of " << packed.size() << " bytes, "
                << (colours.computed ? "own" : "foreign") << " table";
        }
    }
};

TEST(Ir1, EveryLevelEqualsThePlainKernels) {
    movie::ir1_colours foreign = colour_table();
    foreign.computed = false;
    std::mt19937 words(99);
    std::ranges::generate(foreign, std::ref(words));
    for (unsigned seed = 0; seed < 48 && !HasFailure(); ++seed) {
        std::mt19937 random(seed);
        const bool is_long = seed % 3 == 0;
        const int width = seed == 0 ? 2080 : static_cast<int>(random() % (is_long ? 5000 : 90));
        const int height = seed == 0 ? 2020 : static_cast<int>(random() % (is_long ? 14 : 30));
        const auto what = all_kinds[seed / 2 % all_kinds.size()];
        const int threshold = static_cast<int>(random() % 40) - 2;
        SCOPED_TRACE(testing::Message()
                     << "seed " << seed << ", picture " << static_cast<int>(what) << ", " << width
                     << " x " << height << ", threshold " << threshold);
        const comparison compared{width, height, seed % 2 == 0};
        bytes packed = compared.encode(make_picture(what, width, height, random), threshold);
        compared.decode(foreign, packed, packed.size());
        // Every end of a short stream, the last ones of a long one.
        const std::size_t cuts = std::min<std::size_t>(packed.size(), is_long ? 2 : 60);
        for (std::size_t cut = 0; cut <= cuts && !HasFailure(); ++cut) {
            compared.decode(colour_table(), packed, packed.size() - cut);
        }
        // Any bytes: bit 15 where it does not belong, streams longer than the picture.
        std::ranges::generate(packed, std::ref(random));
        compared.decode(colour_table(), packed, packed.size());
    }
}

// Run with PLAYER_CPU at each level; the processor is asked here in its own way.
TEST(Ir1, TheForcedLevelIsTheActiveOne) {
    const char *variable = std::getenv("PLAYER_CPU");
    const std::string forced = variable != nullptr ? variable : "";
    const std::string active = movie::ir1_active_kernels().name;
    EXPECT_EQ(active, movie::ir1_best_kernels(variable).name);
    std::ifstream facts("/proc/cpuinfo");
    const std::set<std::string> flags{std::istream_iterator<std::string>(facts), {}};
    const std::pair<const char *, bool> levels[] = {
        {"scalar", true},
        {"sse4", flags.contains("sse4_1")},
        {"avx2", flags.contains("avx2")},
        {"avx512", flags.contains("avx2") && flags.contains("avx512f") &&
                       flags.contains("avx512bw") && flags.contains("avx512dq") &&
                       flags.contains("avx512vl")}};
    std::string best;
    for (const auto &[level, runs] : levels) {
        best = runs ? level : best;
        if (level == forced) {
            break;
        }
    }
    EXPECT_EQ(active, best);
}

TEST(Ir1, LevelNamesLimitTheKernels) {
    const std::array<std::string, 4> levels{"scalar", "sse4", "avx2", "avx512"};
    testing::internal::CaptureStderr();
    const movie::ir1_kernels &best = movie::ir1_best_kernels(nullptr);
    EXPECT_EQ(&movie::ir1_best_kernels(""), &best);
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
