// The x86 encoder, for vectors of one 128-bit lane or of two: each lane holds a block, both kinds
// are worked out and one of them kept, so that there is no branch that noise could mislead. Within
// a lane pixels stand in quadrant order: the four of the top-left quadrant, then top-right,
// bottom-left, bottom-right.
//
// This is included once for each instruction set, by its source, inside that one's unnamed
// namespace: what it defines is compiled for the set that the source names, and a template could
// not have another target attribute for each vector. The source says before, and undoes behind:
//
//   IR1_INLINE         what its procedures carry, the target attribute among it
//   vector, V(name)    __m128i and _mm_name, or __m256i and _mm256_name
//   V_BITS(name)       likewise for names that end in the vector's own
//   lanes              how many a vector has, 1 or 2
//   every_lane(m)      the __m128i m in every lane
//   first_lane(v), last_lane(v)
//
// and has the library's headers and ir1_x86.h, which can not be included from within. Where nobody
// has said so it is empty.
#pragma once

#ifdef IR1_INLINE

// ---- Seeing ------------------------------------------------------------------------------------

struct channel_planes {
    vector red, green, blue; // a byte for each pixel
};

// What is known of some blocks, one for each lane.
struct lane_blocks {
    vector red, green, blue; // as channel_planes; from sum_groups on the sums
    vector luminance;        // a byte for each pixel; from sum_groups on the counts
    vector high;             // all ones in the bytes of high pixels
    vector detailed;         // all ones in the lanes of detailed blocks
};

// The sums of each quadrant's four bytes.
IR1_INLINE vector quadrant_sums(vector bytes) {
    return V(madd_epi16)(V(maddubs_epi16)(bytes, V(set1_epi8)(1)), V(set1_epi16)(1));
}

// Four pixels of a row (in each lane) with their channels apart.
IR1_INLINE vector split_row(const std::uint32_t *row) {
    const vector four = V_BITS(loadu)(reinterpret_cast<const vector *>(row));
    return V(shuffle_epi8)(
        four, every_lane(_mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15)));
}

IR1_INLINE channel_planes read_planes(const std::uint32_t *top, std::ptrdiff_t down) {
    const vector row0 = split_row(top);
    const vector row1 = split_row(top + down);
    const vector row2 = split_row(top + 2 * down);
    const vector row3 = split_row(top + 3 * down);
    const vector upper = V(unpacklo_epi16)(row0, row1);
    const vector lower = V(unpacklo_epi16)(row2, row3);
    return {V(unpacklo_epi64)(upper, lower), V(unpackhi_epi64)(upper, lower),
            V(unpacklo_epi64)(V(unpackhi_epi16)(row0, row1), V(unpackhi_epi16)(row2, row3))};
}

// What does not change from block to block.
struct encoder {
    vector red, green, blue; // the channels' parts of 256 times the luminance, 16-bit
    vector both_bytes;       // turns 16-bit counts to places of words in a table of bytes
    vector limit;            // the threshold + 255, 32-bit
};

// A compiler that sees these numbers replaces each multiplication by six shifts and additions.
IR1_INLINE vector hidden(short number) {
    vector numbers = V(set1_epi16)(number);
    __asm__("" : "+x"(numbers));
    return numbers;
}

// 256 times the luminance of 16-bit channels; it just fits.
IR1_INLINE vector weigh(const encoder &e, vector red, vector green, vector blue) {
    const vector warm = V(add_epi16)(V(mullo_epi16)(red, e.red), V(mullo_epi16)(green, e.green));
    return V(add_epi16)(warm, V(mullo_epi16)(blue, e.blue));
}

IR1_INLINE vector luminances(const encoder &e, const channel_planes &p) {
    const vector low = V(set1_epi16)(0xFF);
    const vector even =
        weigh(e, V_BITS(and)(p.red, low), V_BITS(and)(p.green, low), V_BITS(and)(p.blue, low));
    const vector odd =
        weigh(e, V(srli_epi16)(p.red, 8), V(srli_epi16)(p.green, 8), V(srli_epi16)(p.blue, 8));
    return V_BITS(or)(V(srli_epi16)(even, 8), V_BITS(andnot)(low, odd));
}

// All ones in the lanes of detailed blocks.
IR1_INLINE vector detailed_lanes(vector luminance, vector limit) {
    const vector turned = V(shuffle_epi32)(luminance, 0x4E); // halves exchanged
    const vector most = V(max_epu8)(luminance, turned);
    const vector least = V(min_epu8)(luminance, turned);
    // The least are found as the most of what is left to 255.
    vector found = V(blend_epi16)(most, V_BITS(xor)(least, V(set1_epi8)(-1)), 0xF0);
    found = V(max_epu8)(found, V(srli_epi64)(found, 32));
    found = V(max_epu8)(found, V(srli_epi64)(found, 16));
    found = V(max_epu8)(found, V(srli_epi64)(found, 8));
    found = V_BITS(and)(found, V(set1_epi32)(0xFF));
    const vector spread_and_255 =
        V(add_epi32)(V(shuffle_epi32)(found, 0x00), V(shuffle_epi32)(found, 0xAA));
    return V(cmpgt_epi32)(spread_and_255, limit);
}

// All ones in the bytes of high pixels.
IR1_INLINE vector high_pixels(vector luminance, vector detailed) {
    const vector sums = quadrant_sums(luminance);
    vector total = V(add_epi32)(sums, V(shuffle_epi32)(sums, 0x4E));
    total = V(add_epi32)(total, V(shuffle_epi32)(total, 0xB1));
    const vector level = V(blendv_epi8)(V(srli_epi32)(total, 4), V(srli_epi32)(sums, 2), detailed);
    const vector levels = V(shuffle_epi8)(
        level, every_lane(_mm_setr_epi8(0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12)));
    return V(cmpeq_epi8)(V(max_epu8)(luminance, levels), luminance);
}

// ---- Colours -----------------------------------------------------------------------------------

// 16-bit sums of each quadrant's high pixels, then of each quadrant's low ones.
IR1_INLINE vector split_sums(vector plane, vector high) {
    const vector sums = quadrant_sums(V_BITS(and)(plane, high));
    return V(packus_epi32)(sums, V(sub_epi32)(quadrant_sums(plane), sums));
}

IR1_INLINE void sum_groups(lane_blocks &b) {
    b.red = split_sums(b.red, b.high);
    b.green = split_sums(b.green, b.high);
    b.blue = split_sums(b.blue, b.high);
    b.luminance = split_sums(V(set1_epi8)(1), b.high);
}

IR1_INLINE vector load_in_every_lane(const void *from) {
    return every_lane(_mm_loadu_si128(static_cast<const __m128i *>(from)));
}

// The eight colour words of a detailed block, in the stream's order and byte order.
IR1_INLINE vector detailed_colours(const encoder &e, const lane_blocks &sums) {
    // Both bytes' places in the table: 2 x count and the next.
    const vector places =
        V(add_epi16)(V(mullo_epi16)(sums.luminance, e.both_bytes), V(set1_epi16)(0x0100));
    const auto &r = ir1_quadrant_reciprocals;
    const vector reciprocal =
        V(shuffle_epi8)(every_lane(_mm_setr_epi16(r[0], r[1], r[2], r[3], r[4], 0, 0, 0)), places);
    const vector red = V(mulhi_epu16)(sums.red, reciprocal);
    const vector green = V(mulhi_epu16)(sums.green, reciprocal);
    const vector blue = V(mulhi_epu16)(sums.blue, reciprocal);
    const vector words =
        V_BITS(or)(V_BITS(or)(V(slli_epi16)(red, 10), V(slli_epi16)(green, 5)), blue);
    const vector flag = every_lane(_mm_setr_epi16(-0x8000, 0, 0, 0, 0, 0, 0, 0));
    return V(shuffle_epi8)(
        V_BITS(or)(words, flag),
        every_lane(_mm_setr_epi8(1, 0, 9, 8, 3, 2, 11, 10, 5, 4, 13, 12, 7, 6, 15, 14)));
}

// Four sums of the words of each half of a, then of b.
IR1_INLINE vector sum_halves(vector a, vector b) {
    const vector one = V(set1_epi16)(1);
    return V(madd_epi16)(V(packus_epi32)(V(madd_epi16)(a, one), V(madd_epi16)(b, one)), one);
}

// 16-bit reciprocals of a block's counts, 0 to 16.
IR1_INLINE vector block_reciprocals(vector counts) {
    // A place with its top bit set gives 0: the other byte of each word, and both of count 0.
    const vector places = V(sub_epi16)(counts, V(set1_epi16)(1));
    const vector low = V_BITS(or)(places, V(set1_epi16)(-0x100));
    const vector high = V_BITS(or)(V(slli_epi16)(places, 8), V(set1_epi16)(0xFF));
    const auto &r = ir1_block_reciprocals;
    return V_BITS(or)(V(shuffle_epi8)(load_in_every_lane(r.low.data()), low),
                      V(shuffle_epi8)(load_in_every_lane(r.high.data()), high));
}

// The two colour words of a flat block, likewise.
IR1_INLINE vector flat_colours(const lane_blocks &sums) {
    // High and low, each: red, green, blue, counts.
    const vector whole =
        V(packus_epi32)(sum_halves(sums.red, sums.green), sum_halves(sums.blue, sums.luminance));
    const vector reciprocal = block_reciprocals(V(shuffle_epi32)(whole, 0xFF));
    const vector means = V(srli_epi16)(V(mulhi_epu16)(whole, reciprocal), ir1_block_mean_shift);
    const vector placed = V(mullo_epi16)(
        means, every_lane(_mm_setr_epi16(1 << 10, 1 << 10, 1 << 5, 1 << 5, 1, 1, 0, 0)));
    const vector words = V_BITS(or)(V_BITS(or)(placed, V(shuffle_epi32)(placed, 0x55)),
                                    V(shuffle_epi32)(placed, 0xAA));
    constexpr char no = -1;
    return V(shuffle_epi8)(words, every_lane(_mm_setr_epi8(1, 0, 3, 2, no, no, no, no, //
                                                           no, no, no, no, no, no, no, no)));
}

// ---- Writing -----------------------------------------------------------------------------------

// Writes a block; the bytes beyond a flat one are overwritten by what follows.
IR1_INLINE std::uint8_t *put_block(std::uint8_t *to, unsigned mask, __m128i words,
                                   unsigned detailed) {
    to[0] = static_cast<std::uint8_t>(mask >> 8U & 0xFFU);
    to[1] = static_cast<std::uint8_t>(mask & 0xFFU);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(to + 2), words);
    return to + ir1_flat_bytes + (ir1_detailed_bytes - ir1_flat_bytes) * detailed;
}

// Writes the first `count` of the blocks.
IR1_INLINE std::uint8_t *put_blocks(const encoder &e, const lane_blocks &b, int count,
                                    std::uint8_t *to) {
    const vector words = V(blendv_epi8)(flat_colours(b), detailed_colours(e, b), b.detailed);
    const vector in_rows = V(shuffle_epi8)(
        b.high, every_lane(_mm_setr_epi8(0, 1, 4, 5, 2, 3, 6, 7, 8, 9, 12, 13, 10, 11, 14, 15)));
    const auto masks = static_cast<unsigned>(V(movemask_epi8)(in_rows));
    const auto kinds = static_cast<unsigned>(V(movemask_epi8)(b.detailed));
    to = put_block(to, masks, first_lane(words), kinds & 1U);
    if constexpr (lanes > 1) {
        if (count > 1) {
            to = put_block(to, masks >> 16U, last_lane(words), kinds >> 31U);
        }
    }
    return to;
}

// Some blocks are taken through one step after the other: a step is short enough for the processor
// to work on several of them at once, all steps together are not. (Members are set one by one:
// compilers copy whole records of vectors in pieces.)
inline constexpr std::size_t blocks_at_once = 32; // x lanes
using lane_block_list = std::array<lane_blocks, blocks_at_once>;

// Encodes `count` x lanes blocks from `top` on; the last of them has only `used` blocks.
IR1_INLINE std::uint8_t *encode_some(const encoder &e, const std::uint32_t *top,
                                     std::ptrdiff_t down, std::span<lane_blocks> blocks, int used,
                                     std::uint8_t *to) {
    for (lane_blocks &b : blocks) {
        const channel_planes planes = read_planes(top, down);
        b.red = planes.red;
        b.green = planes.green;
        b.blue = planes.blue;
        b.luminance = luminances(e, planes);
        top += std::ptrdiff_t{lanes} * ir1_block_size;
    }
    for (lane_blocks &b : blocks) {
        b.detailed = detailed_lanes(b.luminance, e.limit);
        b.high = high_pixels(b.luminance, b.detailed);
    }
    for (lane_blocks &b : blocks) {
        sum_groups(b);
    }
    for (const lane_blocks &b : blocks) {
        to = put_blocks(e, b, used, to);
    }
    return to;
}

IR1_INLINE std::uint8_t *encode_row(const encoder &e, const std::uint32_t *row,
                                    std::ptrdiff_t stride, std::ptrdiff_t columns,
                                    std::uint8_t *to) {
    constexpr std::ptrdiff_t step = std::ptrdiff_t{lanes} * ir1_block_size; // pixels
    lane_block_list list; // filled as far as it is used
    std::ptrdiff_t x = 0;
    while (x + step <= columns) {
        const auto count = std::min<std::ptrdiff_t>(blocks_at_once, (columns - x) / step);
        const std::span now(list.data(), static_cast<std::size_t>(count));
        to = encode_some(e, row + x, -stride, now, lanes, to);
        x += step * count;
    }
    if (x < columns) { // a last block alone; beside it may be the end of the picture
        std::array<std::uint32_t, step * ir1_block_size> copy{};
        for (std::ptrdiff_t r = 0; r < ir1_block_size; ++r) {
            std::memcpy(copy.data() + step * r, row + x - stride * r,
                        ir1_block_size * sizeof(std::uint32_t));
        }
        to = encode_some(e, copy.data(), step, std::span(list).first(1), 1, to);
    }
    return to;
}

// encode_blocks of ir1_kernels.
IR1_INLINE std::size_t encode_rows(std::span<const std::uint32_t> image, int width, int height,
                                   std::span<std::uint8_t> blocks, int threshold) {
    const encoder e{hidden(79), hidden(156), hidden(21), hidden(0x0202),
                    V(set1_epi32)(std::clamp(threshold, -1, 255) + 255)};
    const std::ptrdiff_t stride = width;
    std::uint8_t *to = blocks.data();
    for (int top = height - height % ir1_block_size - 1; top > 0; top -= ir1_block_size) {
        to = encode_row(e, image.data() + stride * top, stride, width - width % ir1_block_size, to);
    }
    return static_cast<std::size_t>(to - blocks.data());
}

#endif // IR1_INLINE
