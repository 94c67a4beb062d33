#include "movie/ir1_x86.h"

#if defined(__x86_64__)

#include <algorithm>
#include <cstring>
#include <immintrin.h>

namespace movie {

namespace {

// Blocks that are looked up together; their places stay in the first-level cache.
constexpr int starts_at_once = 512;

constexpr std::size_t kind_byte = 2; // of a block; its top bit says detailed

std::size_t block_bytes(std::uint8_t kind) {
    return (kind & 0x80U) != 0 ? ir1_detailed_bytes : ir1_flat_bytes;
}

// The top bits of 32 bytes.
__attribute__((target("avx2"), always_inline)) inline unsigned top_bits(const std::uint8_t *from) {
    return static_cast<unsigned>(
        _mm256_movemask_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(from))));
}

// The kind bits of the 16 slots in 96 bytes.
__attribute__((target("avx2,bmi2"), always_inline)) inline std::uint64_t
kind_bits(const std::uint8_t *from) {
    // Bytes 2, 8, 14 ... of the 96, as bits of their 32.
    constexpr unsigned first = 0x04104104;
    constexpr unsigned second = 0x41041041;
    constexpr unsigned third = 0x10410410;
    return _pext_u32(top_bits(from), first) | _pext_u32(top_bits(from + 32), second) << 5U |
           _pext_u32(top_bits(from + 64), third) << 11U;
}

// Stores where up to `count` blocks begin, from *at on, and moves *at behind the last of them.
// Returns how many: fewer than count where less than a detailed block is left to read.
__attribute__((target("avx2,bmi2"))) int find_starts(const std::uint8_t *blocks, std::size_t size,
                                                     std::size_t *at, int count,
                                                     std::uint32_t *starts) {
    constexpr std::size_t slots = 64;
    constexpr std::size_t bytes = slots * ir1_flat_bytes;
    int found = 0;
    std::size_t place = *at;
    while (found < count && place + bytes + ir1_detailed_bytes <= size) {
        const std::uint8_t *from = blocks + place;
        const std::uint64_t kinds = kind_bits(from) | kind_bits(from + bytes / 4) << 16U |
                                    kind_bits(from + bytes / 2) << 32U |
                                    kind_bits(from + 3 * bytes / 4) << 48U;
        unsigned slot = 0;
        do {
            starts[found++] = static_cast<std::uint32_t>(place + ir1_flat_bytes * slot);
            slot += 1 + 2 * static_cast<unsigned>(kinds >> slot & 1U);
        } while (slot < slots && found < count);
        place += ir1_flat_bytes * slot;
    }
    while (found < count && place + ir1_detailed_bytes <= size) {
        starts[found++] = static_cast<std::uint32_t>(place);
        place += block_bytes(blocks[place + kind_byte]);
    }
    *at = place;
    return found;
}

} // namespace

std::int64_t ir1_decode_by_starts(ir1_write_call write, const ir1_colours &colours,
                                  std::span<const std::uint8_t> blocks,
                                  std::span<std::uint32_t> image, int width, int height) {
    std::array<std::uint32_t, starts_at_once> starts; // filled by find_starts as far as it is used
    const std::ptrdiff_t stride = width;
    std::size_t at = 0;
    for (int bottom = height - ir1_block_size; bottom >= 0; bottom -= ir1_block_size) {
        std::uint32_t *top = image.data() + stride * (bottom + ir1_block_size - 1);
        for (int x = 0; x < width;) {
            const int wanted = std::min(starts_at_once, (width - x) / ir1_block_size);
            const int found = find_starts(blocks.data(), blocks.size(), &at, wanted, starts.data());
            write(colours, blocks.data(), starts.data(), found, {top + x, -stride});
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
            write(colours, last.data(), &start, 1, {top + x, -stride});
            at += block_bytes(last[kind_byte]);
            x += ir1_block_size;
        }
    }
    return static_cast<std::int64_t>(at);
}

bool ir1_bypasses_caches(std::span<const std::uint32_t> image) {
    constexpr std::size_t large = std::size_t{16} << 20U; // bytes
    constexpr std::uintptr_t alignment = 16;
    return image.size_bytes() >= large &&
           reinterpret_cast<std::uintptr_t>(image.data()) % alignment == 0;
}

} // namespace movie

#else // other processors have none of these kernels

namespace movie {

const ir1_kernels *ir1_avx2_kernels() {
    return nullptr;
}

const ir1_kernels *ir1_avx512_kernels() {
    return nullptr;
}

} // namespace movie

#endif
