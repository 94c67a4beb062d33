#include "movie/ir1_x86.h"

#if defined(__x86_64__)

#include <algorithm>
#include <cstring>
#include <immintrin.h>

namespace movie {

namespace {

#define IR1_SSE4 __attribute__((target("sse4.1")))
#define IR1_SSE4_INLINE __attribute__((target("sse4.1"), always_inline)) inline

// Blocks that are looked up together; their places stay in the first-level cache.
constexpr int starts_at_once = 512;

constexpr std::size_t kind_byte = 2; // of a block; its top bit says detailed
constexpr std::size_t slots_of_detailed = 3;

std::size_t block_bytes(std::uint8_t kind) {
    return (kind & 0x80U) != 0 ? ir1_detailed_bytes : ir1_flat_bytes;
}

// What the kinds of 8 slots (one bit each, the first slot's lowest) say about them, for each number
// of slots at their front that the block before still takes.
constexpr std::size_t step_slots = 8;
constexpr std::size_t step_kinds = 1U << step_slots;
struct slot_step {
    std::uint16_t found = 0; // blocks that begin in them
    std::uint16_t taken = 0; // slots behind them that the last of these takes, x step_kinds
};
struct step_table { // by taken + kinds
    alignas(64) std::array<std::array<std::uint8_t, step_slots>,
                           slots_of_detailed * step_kinds> starts{}; // bytes from the first slot
    alignas(64) std::array<slot_step, slots_of_detailed * step_kinds> steps{};
};
constexpr step_table table = [] {
    step_table t;
    for (std::size_t i = 0; i < t.steps.size(); ++i) {
        std::size_t slot = i / step_kinds;
        for (; slot < step_slots; slot += (i >> slot & 1U) != 0 ? slots_of_detailed : 1) {
            t.starts[i][t.steps[i].found++] = static_cast<std::uint8_t>(slot * ir1_flat_bytes);
        }
        t.steps[i].taken = static_cast<std::uint16_t>((slot - step_slots) * step_kinds);
    }
    return t;
}();

// The kind bits of the 16 slots in 96 bytes.
IR1_SSE4_INLINE unsigned kind_bits(const std::uint8_t *from) {
    const auto take = [from](std::ptrdiff_t part, __m128i bytes) IR1_SSE4 {
        const auto *at = reinterpret_cast<const __m128i *>(from) + part;
        return _mm_shuffle_epi8(_mm_loadu_si128(at), bytes);
    };
    constexpr char no = -1;
    const __m128i first = _mm_or_si128(take(0, _mm_setr_epi8(2, 8, 14, no, no, no, no, no, //
                                                             no, no, no, no, no, no, no, no)),
                                       take(1, _mm_setr_epi8(no, no, no, 4, 10, no, no, no, //
                                                             no, no, no, no, no, no, no, no)));
    const __m128i middle = _mm_or_si128(take(2, _mm_setr_epi8(no, no, no, no, no, 0, 6, 12, //
                                                              no, no, no, no, no, no, no, no)),
                                        take(3, _mm_setr_epi8(no, no, no, no, no, no, no, no, //
                                                              2, 8, 14, no, no, no, no, no)));
    const __m128i last = _mm_or_si128(take(4, _mm_setr_epi8(no, no, no, no, no, no, no, no, //
                                                            no, no, no, 4, 10, no, no, no)),
                                      take(5, _mm_setr_epi8(no, no, no, no, no, no, no, no, //
                                                            no, no, no, no, no, 0, 6, 12)));
    return static_cast<unsigned>(
        _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(first, middle), last)));
}

// Four bytes as four words.
IR1_SSE4_INLINE __m128i widen(const std::uint8_t *from) {
    std::int32_t four = 0;
    std::memcpy(&four, from, sizeof four);
    return _mm_cvtepu8_epi32(_mm_cvtsi32_si128(four));
}

// Where blocks begin, as they are found.
struct found_starts {
    std::uint32_t *starts;
    int found;
    unsigned taken;
    __m128i place; // of the next slots, four times
};

// Looks at 8 slots. Writes 8 starts, of which those that are none are overwritten later.
IR1_SSE4_INLINE void step(found_starts &f, std::size_t kinds) {
    const std::size_t i = f.taken + kinds;
    auto *to = reinterpret_cast<__m128i *>(f.starts + f.found);
    _mm_storeu_si128(to, _mm_add_epi32(f.place, widen(table.starts[i].data())));
    _mm_storeu_si128(to + 1, _mm_add_epi32(f.place, widen(table.starts[i].data() + 4)));
    f.found += table.steps[i].found;
    f.taken = table.steps[i].taken;
    f.place = _mm_add_epi32(f.place, _mm_set1_epi32(static_cast<int>(step_slots * ir1_flat_bytes)));
}

constexpr std::size_t steps_at_once = 2;

// Room for starts: what both steps find beyond those wanted, and what they write in vain.
using start_list = std::array<std::uint32_t, starts_at_once + steps_at_once * step_slots>;

// Stores where up to `count` blocks begin, from *at on, and moves *at behind the last of them.
// Returns how many: fewer than count where less than a detailed block is left to read.
IR1_SSE4 int find_starts(std::span<const std::uint8_t> blocks, std::size_t *at, int count,
                         start_list &starts) {
    constexpr std::size_t bytes = steps_at_once * step_slots * ir1_flat_bytes;
    // A block that begins in the last of these slots may end so far behind it.
    constexpr std::size_t beyond = ir1_detailed_bytes - ir1_flat_bytes;
    std::size_t place = *at;
    found_starts f{starts.data(), 0, 0, _mm_set1_epi32(static_cast<int>(place))};
    while (f.found < count && place + bytes + beyond <= blocks.size()) {
        const unsigned kinds = kind_bits(&blocks[place]);
        step(f, kinds % step_kinds);
        step(f, kinds / step_kinds);
        place += bytes;
    }
    place += f.taken / step_kinds * ir1_flat_bytes;
    int found = f.found;
    if (found > count) {
        found = count;
        place = starts[static_cast<std::size_t>(count)];
    }
    while (found < count && place + ir1_detailed_bytes <= blocks.size()) {
        starts[static_cast<std::size_t>(found++)] = static_cast<std::uint32_t>(place);
        place += block_bytes(blocks[place + kind_byte]);
    }
    *at = place;
    return found;
}

#undef IR1_SSE4
#undef IR1_SSE4_INLINE

} // namespace

std::int64_t ir1_decode_by_starts(ir1_write_call write, const ir1_decode_job &job) {
    const auto &[colours, blocks, image, width, height] = job;
    if (!colours.computed) {
        return ir1_scalar_kernels().decode_blocks(colours, blocks, image, width, height);
    }
    start_list starts; // filled by find_starts as far as it is used
    const std::ptrdiff_t stride = width;
    std::size_t at = 0;
    for (int bottom = height - ir1_block_size; bottom >= 0; bottom -= ir1_block_size) {
        std::uint32_t *top = image.data() + stride * (bottom + ir1_block_size - 1);
        for (int x = 0; x < width;) {
            const int wanted = std::min(starts_at_once, (width - x) / ir1_block_size);
            const int found = find_starts(blocks, &at, wanted, starts);
            write(blocks.data(), starts.data(), found, {top + x, -stride});
            x += found * ir1_block_size;
            if (found == wanted) {
                continue;
            }
            // One of the last blocks, where a kernel would read beyond the stream.
            const std::size_t left = blocks.size() - at;
            if (left < ir1_flat_bytes || left < block_bytes(blocks[at + kind_byte])) {
                return -1;
            }
            std::array<std::uint8_t, ir1_detailed_bytes> last{};
            std::memcpy(last.data(), &blocks[at], std::min(left, last.size()));
            const std::uint32_t start = 0;
            write(last.data(), &start, 1, {top + x, -stride});
            at += block_bytes(last[kind_byte]);
            x += ir1_block_size;
        }
    }
    return static_cast<std::int64_t>(at);
}

bool ir1_can_bypass_caches(std::span<const std::uint32_t> image, int width) {
    constexpr std::uintptr_t block_row_bytes = ir1_block_size * sizeof(std::uint32_t);
    return width % (2 * ir1_block_size) == 0 &&
           reinterpret_cast<std::uintptr_t>(image.data()) % block_row_bytes == 0;
}

bool ir1_better_bypasses_caches(std::span<const std::uint32_t> image, int width) {
    constexpr std::size_t large = std::size_t{16} << 20U; // bytes
    return image.size_bytes() >= large && ir1_can_bypass_caches(image, width) &&
           __builtin_cpu_is("amd") != 0;
}

} // namespace movie

#else // other processors have none of these kernels

namespace movie {

const ir1_kernels *ir1_sse4_kernels() {
    return nullptr;
}

const ir1_kernels *ir1_avx2_kernels() {
    return nullptr;
}

const ir1_kernels *ir1_avx2_bypassing_kernels() {
    return nullptr;
}

const ir1_kernels *ir1_avx512_kernels() {
    return nullptr;
}

} // namespace movie

#endif
