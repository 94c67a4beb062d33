#include "bench/workbench.h"

#include "tools/reel/cram.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace bench {

namespace {

constexpr std::array<const char *, 4> level_names{"scalar", "sse4", "avx2", "avx512"};

// The levels that have kernels of their own and run here; a limit without any gives those below.
std::vector<const movie::ir1_kernels *> find_levels() {
    std::vector<const movie::ir1_kernels *> levels;
    for (const char *name : level_names) {
        const movie::ir1_kernels &kernels = movie::ir1_best_kernels(name);
        if (std::string_view(kernels.name) == name)
            levels.push_back(&kernels);
    }
    return levels;
}

// FFmpeg's form of a clip that is also encoded: the big ones only go into cold memory.
int prepare_ffmpeg(subject &subject) {
    const clip &pictures = subject.pictures;
    if (open_decoder(pictures.width, pictures.height, subject.decoder) != 0 ||
        open_encoder(pictures.width, pictures.height, subject.encoder) != 0)
        return -1;
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < pictures.frames.size(); ++i) {
        if (reel::cram_from_ir1(pictures.packed[i], bytes) != 0) {
            std::fprintf(stderr, "bench: %s: frame %zu does not become Microsoft Video 1\n",
                         pictures.name.c_str(), i);
            return -1;
        }
        subject.packets.push_back(make_packet(bytes));
        subject.ffmpeg_frames.push_back(
            make_frame(frame_words(pictures, i), pictures.width, pictures.height));
        if (subject.packets.back() == nullptr || subject.ffmpeg_frames.back() == nullptr) {
            std::fprintf(stderr, "bench: out of memory\n");
            return -1;
        }
    }
    return 0;
}

int fail(const clip &pictures, std::size_t frame, const char *variant, const char *what) {
    std::fprintf(stderr, "bench: %s: frame %zu: %s: %s\n", pictures.name.c_str(), frame, variant,
                 what);
    return -1;
}

// Whether a level reads and writes what the plain kernels do; `plain` is the picture they decode.
int check_level(workbench &bench, const clip &pictures, std::size_t frame,
                const movie::ir1_kernels &level, std::span<const std::uint32_t> plain) {
    const auto blocks = frame_blocks(pictures, frame);
    for (const std::span<std::uint32_t> place :
         {std::span(bench.hot.get(), plain.size()), cold_place(bench, pictures, frame)}) {
        std::fill(place.begin(), place.end(), ~0U);
        if (level.decode_blocks(*bench.colours, blocks, place, pictures.width, pictures.height) !=
                static_cast<std::int64_t>(blocks.size()) ||
            !std::equal(plain.begin(), plain.end(), place.begin()))
            return fail(pictures, frame, level.name, "decodes other pixels than the plain kernels");
    }
    if (pictures.frames.empty())
        return 0;
    const std::size_t size = level.encode_blocks(frame_words(pictures, frame), pictures.width,
                                                 pictures.height, bench.packed, clip_threshold);
    const auto made = std::span(bench.packed).first(size);
    return std::equal(made.begin(), made.end(), blocks.begin(), blocks.end())
               ? 0
               : fail(pictures, frame, level.name, "encodes other bytes than the plain kernels");
}

int check_frame(workbench &bench, subject &subject, std::size_t frame,
                std::span<std::uint32_t> plain) {
    const clip &pictures = subject.pictures;
    const auto blocks = frame_blocks(pictures, frame);
    if (movie::ir1_scalar_kernels().decode_blocks(*bench.colours, blocks, plain, pictures.width,
                                                  pictures.height) !=
        static_cast<std::int64_t>(blocks.size()))
        return fail(pictures, frame, "scalar", "does not decode");
    for (const movie::ir1_kernels *level : bench.levels)
        if (check_level(bench, pictures, frame, *level, plain) != 0)
            return -1;
    if (pictures.frames.empty())
        return 0;
    if (decode_packet(subject.decoder, *subject.packets[frame]) != 0 ||
        !same_picture(subject.decoder, plain, pictures.width, pictures.height))
        return fail(pictures, frame, "FFmpeg", "decodes other pixels than the plain kernels");
    return encode_frame(subject.encoder, *subject.ffmpeg_frames[frame]);
}

} // namespace

int prepare(workbench &bench, const char *movie_name) {
    std::vector<clip> clips;
    bench.colours = movie::IR1_init_tables();
    bench.levels = find_levels();
    if (bench.colours == nullptr || make_clips(movie_name, clips) != 0)
        return -1;
    std::size_t most = 0;
    for (clip &pictures : clips) {
        most = std::max(most, count_words(pictures));
        bench.packed.resize(
            std::max(bench.packed.size(), movie::ir1_worst_case(pictures.width, pictures.height)));
        subject &added = bench.subjects.emplace_back();
        added.pictures = std::move(pictures);
        if (!added.pictures.frames.empty() && prepare_ffmpeg(added) != 0)
            return -1;
    }
    bench.hot = make_page_words(most);
    bench.cold = make_page_words(cold_bytes / sizeof(std::uint32_t));
    return 0;
}

int check_all(workbench &bench) {
    for (subject &subject : bench.subjects) {
        std::vector<std::uint32_t> plain(count_words(subject.pictures));
        for (std::size_t i = 0; i < subject.pictures.packed.size(); ++i)
            if (check_frame(bench, subject, i, plain) != 0)
                return -1;
    }
    return 0;
}

std::span<const std::uint8_t> frame_blocks(const clip &pictures, std::size_t index) {
    return std::span(pictures.packed[index]).subspan(movie::ir1_header_bytes);
}

std::span<std::uint32_t> cold_place(const workbench &bench, const clip &pictures,
                                    std::size_t turn) {
    const std::size_t words = count_words(pictures);
    const std::size_t places = cold_bytes / sizeof(std::uint32_t) / words;
    return {&bench.cold[turn % places * words], words};
}

void fill_streaming(std::span<std::uint32_t> place, std::uint32_t word) {
#ifdef __SSE2__
    const __m128i value = _mm_set1_epi32(static_cast<int>(word));
    constexpr std::size_t step = sizeof value / sizeof word;
    for (std::size_t i = 0; i + step <= place.size(); i += step)
        _mm_stream_si128(reinterpret_cast<__m128i *>(&place[i]), value);
    _mm_sfence();
#else
    std::fill(place.begin(), place.end(), word);
#endif
}

} // namespace bench
