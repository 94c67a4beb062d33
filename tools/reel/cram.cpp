#include "tools/reel/cram.h"

#include "movie/ir1.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <utility>

namespace reel {

namespace {

constexpr std::size_t word_bytes = 2;
constexpr unsigned colour_bits = 0x7FFF;
constexpr unsigned full_mask = 0xFFFF;
constexpr unsigned detailed_flag = 0x8000; // both codecs: in a block's first colour word

// ---- words of a frame

constexpr unsigned top_right_bit = 0x8000;      // of a mask, which must not have it
constexpr unsigned top_right_quadrant = 0xCC00; // the mask bits of a quadrant
constexpr unsigned bottom_left_quadrant = 0x0033;
constexpr unsigned one_colour_code = 0x8000; // | colour
constexpr unsigned skip_code = 0x8400;       // | number of blocks; wins over a colour
constexpr unsigned skip_code_bits = 0xFC00;
constexpr unsigned max_skip = 0x3FF;
constexpr unsigned stand_in_mask = 0x7FFF; // of a colour that would look like a skip

// The end of a frame and the sign of our notes; a frame without them has none.
constexpr std::array<std::uint8_t, 6> notes_head = {0, 0, 'I', 'R', '1', 1};

bool is_skip(unsigned word) {
    return (word & skip_code_bits) == skip_code;
}

// One block as IR1 has it. Colours come in pairs, the high one first: one pair, or those of the
// quadrants top left, top right, bottom left, bottom right.
struct block {
    unsigned mask = full_mask;
    bool detailed = false;
    std::array<unsigned, 8> colours{};
};

// Where a frame has the colours that IR1 has in this order: bottom left, bottom right, top left,
// top right; and the other way round.
constexpr std::array<std::size_t, 8> colour_places = {4, 5, 6, 7, 0, 1, 2, 3};

// A mask's rows upside down.
unsigned turn_rows(unsigned mask) {
    return (mask & 0xFU) << 12U | (mask & 0xF0U) << 4U | (mask >> 4U & 0xF0U) | mask >> 12U;
}

// ---- IR1 streams

unsigned get_ir1(const std::uint8_t *from) {
    return static_cast<unsigned>(from[0]) << 8U | from[1];
}

std::uint8_t *put_ir1(std::uint8_t *to, unsigned word) {
    to[0] = static_cast<std::uint8_t>(word >> 8U);
    to[1] = static_cast<std::uint8_t>(word & 0xFFU);
    return to + word_bytes;
}

// The bytes of the block that begins here.
std::size_t ir1_block_bytes(const std::uint8_t *from) {
    return (get_ir1(from + word_bytes) & detailed_flag) != 0 ? movie::ir1_detailed_bytes
                                                             : movie::ir1_flat_bytes;
}

block read_ir1(const std::uint8_t *from) {
    block made;
    made.mask = get_ir1(from);
    made.detailed = ir1_block_bytes(from) == movie::ir1_detailed_bytes;
    for (std::size_t i = 0; i < (made.detailed ? 8U : 2U); ++i)
        made.colours[i] = get_ir1(from + word_bytes * (i + 1)) & colour_bits;
    return made;
}

std::uint8_t *write_ir1(const block &from, std::uint8_t *to) {
    to = put_ir1(to, from.mask);
    to = put_ir1(to, from.colours[0] | (from.detailed ? detailed_flag : 0));
    for (std::size_t i = 1; i < (from.detailed ? 8U : 2U); ++i)
        to = put_ir1(to, from.colours[i]);
    return to;
}

// A picture in blocks.
struct grid {
    std::size_t rows = 0;
    std::size_t columns = 0;
};

grid make_grid(int width, int height) {
    return {static_cast<std::size_t>(height / movie::ir1_block_size),
            static_cast<std::size_t>(width / movie::ir1_block_size)};
}

// Where the block rows of a stream begin, top row first. Returns 0, or -1 when it is not whole.
int find_ir1_rows(std::span<const std::uint8_t> ir1, const grid &blocks,
                  std::vector<std::size_t> &starts) {
    starts.clear();
    std::size_t at = movie::ir1_header_bytes;
    for (std::size_t row = 0; row < blocks.rows; ++row) {
        starts.push_back(at);
        for (std::size_t column = 0; column < blocks.columns; ++column) {
            if (ir1.size() - at < movie::ir1_flat_bytes)
                return -1;
            const std::size_t bytes = ir1_block_bytes(&ir1[at]);
            if (ir1.size() - at < bytes)
                return -1;
            at += bytes;
        }
    }
    return 0;
}

// ---- notes
//
// For each block, in IR1's order, as few bits as tell its form:
//   one colour    0: all high, the low colour is 0. 10: the mask follows, both colours are that
//                 one. 11: a bit follows, whether all are high, then the colour that is not seen
//   two colours   whether the mask was complemented
//   eight colours whether the top right quadrant's was; and when the mask is that of the stand-in
//                 for 0: whether it is that

struct note_writer {
    std::vector<std::uint8_t> bytes;
    std::uint64_t bits = 0; // those not yet in bytes, in its lowest `count`
    unsigned count = 0;
    bool needed = false; // a bit was set: nothing at all means the same as zeros
};

void put_note(note_writer &notes, unsigned bits, unsigned count) {
    notes.bits = notes.bits << count | bits;
    notes.needed = notes.needed || bits != 0;
    for (notes.count += count; notes.count >= 8; notes.count -= 8)
        notes.bytes.push_back(static_cast<std::uint8_t>(notes.bits >> (notes.count - 8)));
}

struct note_reader {
    std::span<const std::uint8_t> bytes;
    std::size_t at = 0; // the next bit
};

// Bits beyond the end are 0.
unsigned get_note(note_reader &notes, unsigned count) {
    unsigned bits = 0;
    for (; count > 0; --count, ++notes.at) {
        const std::size_t byte = notes.at / 8;
        const unsigned bit =
            byte < notes.bytes.size() ? unsigned{notes.bytes[byte]} >> (7 - notes.at % 8) & 1U : 0U;
        bits = bits << 1U | bit;
    }
    return bits;
}

// ---- to a frame

// A block as a frame has it.
struct cram_block {
    unsigned mask = 0;
    bool uniform = false; // one colour, the first
    bool turned = false;  // see the notes
    bool stand_in = false;
    std::array<unsigned, 8> colours{}; // in the frame's order
};

bool is_uniform(const block &from) {
    return !from.detailed &&
           (from.mask == full_mask || from.mask == 0 || from.colours[0] == from.colours[1]);
}

cram_block turn_block(const block &from) {
    cram_block made;
    made.mask = turn_rows(from.mask);
    made.colours = from.colours;
    made.uniform = is_uniform(from);
    made.turned = (made.mask & top_right_bit) != 0;
    if (made.uniform) {
        made.colours[0] = from.colours[from.mask == 0 ? 1 : 0];
        return made;
    }
    if (!from.detailed) {
        if (made.turned) {
            made.mask ^= full_mask;
            std::swap(made.colours[0], made.colours[1]);
        }
        return made;
    }
    for (std::size_t i = 0; i < colour_places.size(); ++i)
        made.colours[i] = from.colours[colour_places[i]];
    if (made.turned) {
        made.mask ^= top_right_quadrant;
        std::swap(made.colours[6], made.colours[7]);
    }
    made.stand_in = made.mask == 0; // a mask word of 0 may be taken for the end of the frame
    if (made.stand_in) {
        made.mask = bottom_left_quadrant;
        std::swap(made.colours[0], made.colours[1]);
    }
    return made;
}

void note_block(const block &from, note_writer &notes) {
    const cram_block made = turn_block(from);
    if (made.uniform) {
        if (from.mask == full_mask && from.colours[1] == 0) {
            put_note(notes, 0, 1);
        } else if (from.colours[0] == from.colours[1]) {
            put_note(notes, 0b10, 2);
            put_note(notes, from.mask, 16);
        } else {
            put_note(notes, from.mask == full_mask ? 0b111 : 0b110, 3);
            put_note(notes, from.colours[from.mask == full_mask ? 1 : 0], 15);
        }
        return;
    }
    put_note(notes, made.turned ? 1 : 0, 1);
    if (from.detailed && made.mask == bottom_left_quadrant)
        put_note(notes, made.stand_in ? 1 : 0, 1);
}

std::uint8_t *put_cram(std::uint8_t *to, unsigned word) {
    to[0] = static_cast<std::uint8_t>(word & 0xFFU);
    to[1] = static_cast<std::uint8_t>(word >> 8U);
    return to + word_bytes;
}

std::uint8_t *write_cram(const block &from, std::uint8_t *to) {
    const cram_block made = turn_block(from);
    if (made.uniform) {
        const unsigned colour = made.colours[0];
        if (!is_skip(one_colour_code | colour))
            return put_cram(to, one_colour_code | colour);
        to = put_cram(to, stand_in_mask);
        to = put_cram(to, colour);
        return put_cram(to, colour);
    }
    to = put_cram(to, made.mask);
    to = put_cram(to, made.colours[0] | (from.detailed ? detailed_flag : 0));
    for (std::size_t i = 1; i < (from.detailed ? 8U : 2U); ++i)
        to = put_cram(to, made.colours[i]);
    return to;
}

// ---- from a frame

unsigned get_cram(std::span<const std::uint8_t> packet, std::size_t at) {
    return packet[at] | static_cast<unsigned>(packet[at + 1]) << 8U;
}

// A place in a frame: the next word and how many blocks are still to be skipped before it counts.
struct cram_place {
    std::size_t at = 0;
    std::int64_t skip = 0;
};

constexpr std::int64_t skip_all = std::numeric_limits<std::int64_t>::max();

// Passes over one block. Returns where its words begin, or, when it is skipped, -1; or -2 when
// the packet ends inside of it.
constexpr std::ptrdiff_t block_is_skipped = -1;
constexpr std::ptrdiff_t packet_ends = -2;

std::ptrdiff_t pass_block(std::span<const std::uint8_t> packet, cram_place &place) {
    if (place.skip > 0) {
        --place.skip;
        return block_is_skipped;
    }
    const std::size_t begin = place.at;
    const std::size_t left = packet.size() - begin;
    if (left < word_bytes)
        return packet_ends;
    const unsigned word = get_cram(packet, begin);
    std::size_t words = 1;
    if (is_skip(word)) {
        // Nobody writes a skip of no blocks; where it is found decoders skip what is left.
        const unsigned count = word & max_skip;
        place.skip = count == 0 ? skip_all : count - 1;
    } else if ((word & one_colour_code) == 0) {
        words = 3;
        if (left >= words * word_bytes &&
            (get_cram(packet, begin + word_bytes) & detailed_flag) != 0)
            words = 9;
    }
    if (left < words * word_bytes)
        return packet_ends;
    place.at += words * word_bytes;
    return is_skip(word) ? block_is_skipped : static_cast<std::ptrdiff_t>(begin);
}

// A frame as it lies in its packet.
struct cram_frame {
    std::vector<cram_place> rows; // where the block rows begin, bottom row first
    bool skips = false;
    note_reader notes;
};

// Returns 0, or -1 when the packet ends too early.
int find_cram_rows(std::span<const std::uint8_t> packet, const grid &blocks, cram_frame &frame) {
    cram_place place;
    if (packet.empty())
        place.skip = skip_all;
    frame.rows.reserve(blocks.rows);
    for (std::size_t row = 0; row < blocks.rows; ++row) {
        frame.rows.push_back(place);
        for (std::size_t column = 0; column < blocks.columns; ++column) {
            const std::ptrdiff_t begin = pass_block(packet, place);
            if (begin == packet_ends)
                return -1;
            frame.skips = frame.skips || begin == block_is_skipped;
        }
    }
    const auto rest = packet.subspan(place.at);
    if (rest.size() > notes_head.size() &&
        std::equal(notes_head.begin(), notes_head.end(), rest.begin()))
        frame.notes.bytes = rest.subspan(notes_head.size());
    return 0;
}

block make_uniform(unsigned colour, note_reader &notes) {
    block made;
    made.colours[0] = colour;
    if (get_note(notes, 1) == 0)
        return made;
    if (get_note(notes, 1) == 0) {
        made.mask = get_note(notes, 16);
        made.colours[1] = colour;
        return made;
    }
    const bool all_high = get_note(notes, 1) != 0;
    const unsigned unseen = get_note(notes, 15);
    made.mask = all_high ? full_mask : 0;
    made.colours[0] = all_high ? colour : unseen;
    made.colours[1] = all_high ? unseen : colour;
    return made;
}

block make_detailed(unsigned mask, const std::array<unsigned, 8> &colours, note_reader &notes) {
    block made;
    made.detailed = true;
    for (std::size_t i = 0; i < colour_places.size(); ++i)
        made.colours[i] = colours[colour_places[i]];
    const bool turned = get_note(notes, 1) != 0;
    if (mask == bottom_left_quadrant && get_note(notes, 1) != 0) {
        mask ^= bottom_left_quadrant;
        std::swap(made.colours[4], made.colours[5]);
    }
    if (turned) {
        mask ^= top_right_quadrant;
        std::swap(made.colours[2], made.colours[3]);
    }
    made.mask = turn_rows(mask);
    return made;
}

// The block whose words begin at a place where pass_block found them.
block read_cram(std::span<const std::uint8_t> packet, std::size_t at, note_reader &notes) {
    const unsigned mask = get_cram(packet, at);
    if ((mask & one_colour_code) != 0)
        return make_uniform(mask & colour_bits, notes);
    const bool detailed = (get_cram(packet, at + word_bytes) & detailed_flag) != 0;
    std::array<unsigned, 8> colours{};
    for (std::size_t i = 0; i < (detailed ? 8U : 2U); ++i)
        colours[i] = get_cram(packet, at + word_bytes * (i + 1)) & colour_bits;
    if (detailed)
        return make_detailed(mask, colours, notes);
    if (colours[0] == colours[1])
        return make_uniform(colours[0], notes);
    block made;
    const bool turned = get_note(notes, 1) != 0;
    made.mask = turn_rows(turned ? mask ^ full_mask : mask);
    made.colours = {colours[turned ? 1 : 0], colours[turned ? 0 : 1]};
    return made;
}

// Writes the blocks in IR1's order. The blocks of the frame before stand in `previous`, which is
// empty when there is none. Returns the end of what was written.
std::uint8_t *write_blocks(std::span<const std::uint8_t> packet, const grid &blocks,
                           cram_frame &frame, std::span<const std::uint8_t> previous,
                           std::uint8_t *to) {
    std::size_t before = movie::ir1_header_bytes;
    for (std::size_t row = blocks.rows; row-- > 0;) {
        cram_place place = frame.rows[row];
        for (std::size_t column = 0; column < blocks.columns; ++column) {
            const std::ptrdiff_t begin = pass_block(packet, place);
            const std::size_t old_bytes = previous.empty() ? 0 : ir1_block_bytes(&previous[before]);
            if (begin != block_is_skipped)
                to = write_ir1(read_cram(packet, static_cast<std::size_t>(begin), frame.notes), to);
            else if (previous.empty())
                to = write_ir1(block{}, to);
            else
                to = std::copy_n(&previous[before], old_bytes, to);
            before += old_bytes;
        }
    }
    return to;
}

} // namespace

bool is_whole_ir1(std::span<const std::uint8_t> ir1, int width, int height) {
    movie::ir1_size size;
    std::vector<std::size_t> starts;
    return movie::ir1_read_size(ir1, &size) == 0 && size.width == width && size.height == height &&
           find_ir1_rows(ir1, make_grid(width, height), starts) == 0;
}

int cram_from_ir1(std::span<const std::uint8_t> ir1, std::vector<std::uint8_t> &packet) {
    movie::ir1_size size;
    std::vector<std::size_t> rows;
    if (movie::ir1_read_size(ir1, &size) != 0)
        return -1;
    const grid blocks = make_grid(size.width, size.height);
    if (find_ir1_rows(ir1, blocks, rows) != 0)
        return -1;
    packet.resize(blocks.rows * blocks.columns * movie::ir1_detailed_bytes);
    std::uint8_t *to = packet.data();
    for (std::size_t row = blocks.rows; row-- > 0;) {
        const std::uint8_t *from = &ir1[rows[row]];
        for (std::size_t column = 0; column < blocks.columns; ++column) {
            to = write_cram(read_ir1(from), to);
            from += ir1_block_bytes(from);
        }
    }
    packet.resize(static_cast<std::size_t>(to - packet.data()));
    note_writer notes;
    std::size_t at = movie::ir1_header_bytes;
    for (std::size_t i = 0; i < blocks.rows * blocks.columns; ++i) {
        note_block(read_ir1(&ir1[at]), notes);
        at += ir1_block_bytes(&ir1[at]);
    }
    put_note(notes, 0, 7); // the last byte is filled up
    if (notes.needed) {
        packet.insert(packet.end(), notes_head.begin(), notes_head.end());
        packet.insert(packet.end(), notes.bytes.begin(), notes.bytes.end());
    }
    return 0;
}

void make_cram_repeat(int width, int height, std::vector<std::uint8_t> &packet) {
    const grid blocks = make_grid(width, height);
    packet.clear();
    for (std::size_t left = blocks.rows * blocks.columns; left > 0;) {
        const std::size_t count = std::min<std::size_t>(left, max_skip);
        packet.resize(packet.size() + word_bytes);
        put_cram(&packet[packet.size() - word_bytes], skip_code + static_cast<unsigned>(count));
        left -= count;
    }
}

int ir1_from_cram(std::span<const std::uint8_t> packet, int width, int height,
                  std::vector<std::uint8_t> &ir1) {
    width -= width % movie::ir1_block_size;
    height -= height % movie::ir1_block_size;
    if (std::min(width, height) < movie::ir1_block_size ||
        std::max(width, height) > movie::ir1_max_dimension)
        return -1;
    const grid blocks = make_grid(width, height);
    cram_frame frame;
    // Before there is memory for the picture: a short packet can not ask for much.
    if (find_cram_rows(packet, blocks, frame) != 0)
        return -1;
    std::vector<std::uint8_t> previous;
    if (frame.skips && is_whole_ir1(ir1, width, height))
        previous.swap(ir1);
    ir1.resize(movie::ir1_worst_case(width, height));
    std::uint8_t *to = put_ir1(ir1.data(), static_cast<unsigned>(width));
    to = put_ir1(to, static_cast<unsigned>(height));
    to = write_blocks(packet, blocks, frame, previous, to);
    ir1.resize(static_cast<std::size_t>(to - ir1.data()));
    return 0;
}

} // namespace reel
