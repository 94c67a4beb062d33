#include "bench/clips.h"

#include "movie/ir1_kernels.h"
#include "movie/vf.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <random>

namespace bench {

namespace {

constexpr std::size_t large_frames = 2; // of 3840x2160
constexpr unsigned channels = 3;
constexpr unsigned channel_bits = 8;

// The demo's frames, decoded.
struct picture_list {
    int width = 0;
    int height = 0;
    std::vector<std::vector<std::uint32_t>> frames;
};

int load_pictures(const char *name, picture_list &pictures) {
    const movie::vf_owner film = movie::VFopen(name, "r");
    if (film == nullptr)
        return -1;
    const movie::ir1_table colours = movie::vf_current_table();
    std::vector<std::uint8_t> packed(movie::vf_max_data_bytes(*film));
    pictures.width = film->width;
    pictures.height = film->height;
    for (int i = 0; i < film->count; ++i) {
        movie::vf_frame where;
        std::vector<std::uint32_t> words(static_cast<std::size_t>(film->width) *
                                         static_cast<std::size_t>(film->height));
        if (movie::VFfindframe(*film, i, &where) != movie::vf_find::found ||
            movie::VFreadframe(*film, where, packed) != 0 ||
            movie::IR1_decompress(*colours,
                                  std::span(packed).first(static_cast<std::size_t>(where.size)),
                                  words) != 0) {
            std::fprintf(stderr, "bench: \"%s\": frame %d can not be decoded\n", name, i);
            return -1;
        }
        pictures.frames.push_back(std::move(words));
    }
    if (pictures.frames.size() >= clip_frames)
        return 0;
    std::fprintf(stderr, "bench: \"%s\": %zu frames are too few\n", name, pictures.frames.size());
    return -1;
}

// Frame `index` of a clip comes from this frame of the demo: they are spread over all of it.
std::size_t demo_frame(const picture_list &demo, std::size_t index) {
    return index * demo.frames.size() / clip_frames;
}

// ---- Enlarging ---------------------------------------------------------------------------------

// Which source pixels make one target pixel along a side.
struct filter_taps {
    std::array<std::size_t, 4> source{};
    std::array<float, 4> weight{};
};

// A cubic B-spline: the softest of the usual filters, without any ringing.
std::vector<filter_taps> make_taps(int begin, int source, int source_side, int target) {
    std::vector<filter_taps> taps(static_cast<std::size_t>(target));
    for (int i = 0; i < target; ++i) {
        const float place = static_cast<float>(begin) +
                            (static_cast<float>(i) + 0.5F) * static_cast<float>(source) /
                                static_cast<float>(target) -
                            0.5F;
        const float t = place - std::floor(place);
        const float s = 1 - t;
        filter_taps &tap = taps[static_cast<std::size_t>(i)];
        tap.weight = {s * s * s / 6, (4 - 6 * t * t + 3 * t * t * t) / 6,
                      (4 - 6 * s * s + 3 * s * s * s) / 6, t * t * t / 6};
        for (int k = 0; k < 4; ++k)
            tap.source[static_cast<std::size_t>(k)] = static_cast<std::size_t>(
                std::clamp(static_cast<int>(std::floor(place)) - 1 + k, 0, source_side - 1));
    }
    return taps;
}

using colour = std::array<float, channels>;

colour blend(const filter_taps &taps, const std::array<colour, 4> &from) {
    colour sum{};
    for (unsigned k = 0; k < 4; ++k)
        for (unsigned c = 0; c < channels; ++c)
            sum[c] += taps.weight[k] * from[k][c];
    return sum;
}

colour unpack(std::uint32_t word) {
    colour value{};
    for (unsigned c = 0; c < channels; ++c)
        value[c] = static_cast<float>(word >> (c * channel_bits) & 0xFFU);
    return value;
}

std::uint32_t pack(const colour &value) {
    std::uint32_t word = 0;
    for (unsigned c = 0; c < channels; ++c)
        word |= static_cast<std::uint32_t>(std::lround(value[c])) << (c * channel_bits);
    return word;
}

// Fills the target with as much of the middle of a picture as has its shape.
void enlarge(const picture_list &demo, std::size_t frame, int width, int height,
             std::uint32_t *target) {
    const int used_height = std::min(demo.height, demo.width * height / width);
    const int used_width = std::min(demo.width, used_height * width / height);
    const auto across = make_taps((demo.width - used_width) / 2, used_width, demo.width, width);
    const auto up = make_taps((demo.height - used_height) / 2, used_height, demo.height, height);
    const auto columns = static_cast<std::size_t>(width);
    const std::vector<std::uint32_t> &words = demo.frames[frame];
    std::vector<colour> wide(columns * static_cast<std::size_t>(demo.height));
    for (std::size_t i = 0; i < wide.size(); ++i) {
        const filter_taps &taps = across[i % columns];
        const auto at = [&](unsigned k) {
            return unpack(
                words[i / columns * static_cast<std::size_t>(demo.width) + taps.source[k]]);
        };
        wide[i] = blend(taps, {at(0), at(1), at(2), at(3)});
    }
    for (std::size_t y = 0; y < up.size(); ++y)
        for (std::size_t x = 0; x < columns; ++x) {
            const auto at = [&](unsigned k) { return wide[up[y].source[k] * columns + x]; };
            target[y * columns + x] = pack(blend(up[y], {at(0), at(1), at(2), at(3)}));
        }
}

std::size_t pixel_place(int x, int y, int width) {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
           static_cast<std::size_t>(x);
}

// ---- Kinds of pictures -------------------------------------------------------------------------

// Frames of the demo from all times side by side, made small by leaving out pixels: every edge
// comes close to the next.
void fill_with_tiles(const picture_list &demo, std::size_t frame, int width, int height,
                     std::uint32_t *target) {
    constexpr int shrink = 6;
    constexpr std::size_t step = 7; // frames between neighbours
    const int tile_width = demo.width / shrink;
    const int tile_height = demo.height / shrink;
    const int columns = (width + tile_width - 1) / tile_width;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const std::size_t tile = pixel_place(x / tile_width, y / tile_height, columns);
            const auto &words = demo.frames[(frame + tile * step) % demo.frames.size()];
            *target++ =
                words[pixel_place(x % tile_width * shrink, y % tile_height * shrink, demo.width)];
        }
}

// Always the same picture; only in its middle something moves.
void fill_with_still(const picture_list &demo, std::size_t frame, int width, int height,
                     std::uint32_t *target) {
    enlarge(demo, 0, width, height, target);
    const int left = (width - demo.width) / 2;
    const int bottom = (height - demo.height) / 2;
    for (int y = 0; y < demo.height; ++y)
        std::copy_n(&demo.frames[frame][pixel_place(0, y, demo.width)], demo.width,
                    &target[pixel_place(left, bottom + y, width)]);
}

void fill_with_noise(const picture_list & /*demo*/, std::size_t frame, int width, int height,
                     std::uint32_t *target) {
    std::mt19937 engine(static_cast<std::mt19937::result_type>(frame));
    std::generate_n(target, static_cast<std::size_t>(width) * static_cast<std::size_t>(height),
                    [&engine] { return static_cast<std::uint32_t>(engine()); });
}

void fill_with_colour(const picture_list & /*demo*/, std::size_t frame, int width, int height,
                      std::uint32_t *target) {
    constexpr std::uint32_t step = 0x050301; // another grey for each frame
    std::fill_n(target, static_cast<std::size_t>(width) * static_cast<std::size_t>(height),
                0x404040U + static_cast<std::uint32_t>(frame) * step);
}

struct clip_kind {
    const char *name;
    int width;
    int height;
    std::size_t frames;
    bool keeps_frames; // for encoding
    void (*fill)(const picture_list &demo, std::size_t frame, int width, int height,
                 std::uint32_t *target);
};

constexpr std::array<clip_kind, 8> kinds{{
    {"soft", full_width, full_height, clip_frames, true, enlarge},
    {"tiled", full_width, full_height, clip_frames, true, fill_with_tiles},
    {"still", full_width, full_height, clip_frames, true, fill_with_still},
    {"noise", full_width, full_height, clip_frames, true, fill_with_noise},
    {"flat", full_width, full_height, clip_frames, true, fill_with_colour},
    {"640x480", 640, 480, clip_frames, true, enlarge},
    {"soft-4K", 2 * full_width, 2 * full_height, large_frames, false, enlarge},
    {"tiled-4K", 2 * full_width, 2 * full_height, large_frames, false, fill_with_tiles},
}};

// How many of a stream's blocks are detailed, and how many blocks it has.
struct block_count {
    std::size_t detailed = 0;
    std::size_t all = 0;
};

void count_blocks(std::span<const std::uint8_t> packed, block_count &count) {
    constexpr std::size_t first_colour = 2; // in a block
    constexpr unsigned detailed_flag = 0x80;
    for (std::size_t at = movie::ir1_header_bytes; at + first_colour < packed.size();) {
        const bool detailed = (packed[at + first_colour] & detailed_flag) != 0;
        count.detailed += detailed ? 1 : 0;
        ++count.all;
        at += detailed ? movie::ir1_detailed_bytes : movie::ir1_flat_bytes;
    }
}

std::vector<std::uint8_t> pack_frame(std::span<const std::uint32_t> words, int width, int height) {
    std::vector<std::uint8_t> packed(movie::ir1_worst_case(width, height));
    const std::int64_t size = movie::IR1_compress(words, width, height, packed, clip_threshold);
    packed.resize(static_cast<std::size_t>(std::max<std::int64_t>(size, 0)));
    packed.shrink_to_fit();
    return packed;
}

clip make_clip(const picture_list &demo, const clip_kind &kind) {
    clip made{kind.name, kind.width, kind.height, {}, {}, 0};
    block_count blocks;
    for (std::size_t i = 0; i < kind.frames; ++i) {
        page_words words = make_page_words(count_words(made));
        kind.fill(demo, demo_frame(demo, i), kind.width, kind.height, words.get());
        made.packed.push_back(
            pack_frame({words.get(), count_words(made)}, kind.width, kind.height));
        count_blocks(made.packed.back(), blocks);
        if (kind.keeps_frames)
            made.frames.push_back(std::move(words));
    }
    made.detailed = static_cast<double>(blocks.detailed) / static_cast<double>(blocks.all);
    return made;
}

} // namespace

page_words make_page_words(std::size_t count) {
    const std::size_t bytes = count * sizeof(std::uint32_t);
    const std::size_t pages = (bytes + page_bytes - 1) / page_bytes;
    auto *words = static_cast<std::uint32_t *>(std::aligned_alloc(page_bytes, pages * page_bytes));
    if (words == nullptr) {
        std::fprintf(stderr, "bench: out of memory for %zu bytes\n", bytes);
        std::exit(EXIT_FAILURE);
    }
    std::fill_n(words, count, 1U);
    return page_words(words);
}

std::size_t count_words(const clip &pictures) {
    return static_cast<std::size_t>(pictures.width) * static_cast<std::size_t>(pictures.height);
}

std::span<const std::uint32_t> frame_words(const clip &pictures, std::size_t index) {
    return {pictures.frames[index].get(), count_words(pictures)};
}

int make_clips(const char *movie_name, std::vector<clip> &clips) {
    picture_list demo;
    if (load_pictures(movie_name, demo) != 0)
        return -1;
    for (const clip_kind &kind : kinds)
        clips.push_back(make_clip(demo, kind));
    return 0;
}

} // namespace bench
