#include "player/frame_reader.h"

#include "player/play_stats.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace player {

namespace {

// What makes a frame unreadable, for VFreport.
struct fault {
    const char *what = nullptr; // null: nothing
    std::int64_t value = 0;
};

constexpr const char *ends_too_early = "its data ends too early, bytes";

// What can be said of a frame's data before it is decoded. A stream of another size than the
// movie's would put its rows in the wrong places; one that is too short even for flat blocks would
// spoil the picture before its end is met.
fault find_fault(const play_args &args, std::span<const std::uint8_t> data) {
    constexpr int block_pixels = movie::ir1_block_size * movie::ir1_block_size;
    const auto bytes = static_cast<std::int64_t>(data.size());
    movie::ir1_size size;
    if (movie::ir1_read_size(data, &size) != 0)
        return {"its data has no usable head, bytes", bytes};
    if (size.width != args.width)
        return {"its coded width is not the movie's", size.width};
    if (size.height != args.height)
        return {"its coded height is not the movie's", size.height};
    const std::int64_t blocks = std::int64_t{size.width} * size.height / block_pixels;
    if (bytes < blocks * static_cast<std::int64_t>(movie::ir1_flat_bytes))
        return {"its data is too short for a picture, bytes", bytes};
    return {};
}

enum class decoding { whole, untouched, half };

void find_tables(movie_ref &ref) {
    if (!ref.tables)
        ref.tables = movie::vf_current_table();
    if (!ref.tables)
        ref.tables = movie::IR1_init_tables();
}

// Decodes a frame into the pixels, or reports why not.
decoding decode(play_args &args, movie_ref &ref, std::span<const std::uint8_t> data, int index) {
    const phase_timer timed(play_phase::decoding);
    find_tables(ref);
    fault found = find_fault(args, data);
    if (!ref.tables)
        found = {"no memory to decode it, bytes", movie::ir1_colour_count * sizeof(std::uint32_t)};
    const bool untouched = found.what != nullptr;
    if (!untouched && movie::IR1_decompress(*ref.tables, data, args.pixels.span()) != 0)
        found = {ends_too_early, static_cast<std::int64_t>(data.size())};
    if (found.what == nullptr)
        return decoding::whole;
    movie::VFreport(*ref.film, index, found.what, found.value);
    return untouched ? decoding::untouched : decoding::half;
}

enum class finding { read, unchanged, failed };

// Reads the data of frame `index` into args.packed, unless it is that of frame `have`.
finding read_data(play_args &args, movie_ref &ref, int index, int have, movie::vf_frame *where) {
    const phase_timer timed(play_phase::reading);
    const movie::vf_find result =
        movie::VFfetchframe(*ref.film, index, have, args.packed.bytes(), where);
    if (result != movie::vf_find::found)
        return finding::failed;
    return where->index == have ? finding::unchanged : finding::read;
}

decoding decode_packed(play_args &args, movie_ref &ref, const movie::vf_frame &where) {
    const auto size = static_cast<std::size_t>(where.size);
    return decode(args, ref, args.packed.bytes().first(size), where.index);
}

// Puts the picture back that a failed decoding has half overwritten.
void restore_picture(play_args &args, movie_ref &ref) {
    const int shown = ref.decoded;
    ref.decoded = -1;
    movie::vf_frame where;
    if (shown >= 0 && read_data(args, ref, shown, -1, &where) == finding::read &&
        decode_packed(args, ref, where) == decoding::whole)
        ref.decoded = shown;
    else
        std::ranges::fill(args.pixels.span(), 0U);
}

// --- strips --------------------------------------------------------------------------------------

constexpr std::size_t strip_words = std::size_t{1} << 14; // part of a small second-level cache

int rows_at_once(const play_args &args) {
    const auto rows = static_cast<int>(strip_words / static_cast<std::size_t>(args.width));
    return std::max(rows - rows % movie::ir1_block_size, movie::ir1_block_size);
}

bool has_strip(const play_args &args, movie_ref &ref) {
    const std::size_t wanted =
        static_cast<std::size_t>(rows_at_once(args)) * static_cast<std::size_t>(args.width);
    if (ref.strip.count < wanted)
        ref.strip = make_frame_buffer(wanted);
    return ref.strip.count >= wanted;
}

// Adds up what several pieces of one phase take.
class piece_timer {
public:
    explicit piece_timer(play_phase phase) : phase_(phase) {}
    ~piece_timer() {
        if (stats_enabled)
            stats_add(phase_, total_);
    }
    piece_timer(const piece_timer &) = delete;
    piece_timer &operator=(const piece_timer &) = delete;
    void begin() { total_ -= stats_enabled ? stats_now_us() : 0; }
    void end() { total_ += stats_enabled ? stats_now_us() : 0; }

private:
    play_phase phase_;
    std::int64_t total_ = 0;
};

// Returns whether the whole frame was drawn.
bool draw_strips(const play_args &args, const movie_ref &ref, movie::ir1_strips left,
                 const strip_view &to) {
    piece_timer decoding_time(play_phase::decoding);
    piece_timer drawing_time(play_phase::drawing);
    while (left.rows > 0) {
        const int rows = std::min(left.rows, rows_at_once(args));
        decoding_time.begin();
        const int result = movie::ir1_next_strip(*ref.tables, left, rows, ref.strip.span());
        decoding_time.end();
        if (result != 0)
            return false;
        drawing_time.begin();
        to.draw(args, left.rows, rows, ref.strip.span());
        drawing_time.end();
    }
    return true;
}

// The index of the frame that is played, or -1 when there is none of that number.
int frame_index(const play_args &args, const movie_ref &ref) {
    const std::int64_t index = std::int64_t{args.current} - args.first;
    return index >= 0 && index < ref.film->count ? static_cast<int>(index) : -1;
}

} // namespace

bool read_frame_from_file(play_args &args, movie_ref &ref) {
    if (!args.pixels || !args.packed || !ref.film)
        return false;
    catch_up_pixels(args, ref);
    const std::int64_t index = std::int64_t{args.current} - args.first;
    if (index < 0) {
        std::fprintf(stderr, "%s: read_frame_from_file: Error reading movie file.\n", gMe);
        return false;
    }
    if (index >= ref.film->count)
        return false;
    movie::vf_frame where;
    if (read_data(args, ref, static_cast<int>(index), ref.decoded, &where) != finding::read)
        return false;
    switch (decode_packed(args, ref, where)) {
    case decoding::whole:
        ref.decoded = where.index;
        return true;
    case decoding::half:
        restore_picture(args, ref);
        return true;
    case decoding::untouched:
        break;
    }
    return false;
}

strip_result draw_frame_in_strips(play_args &args, movie_ref &ref, const strip_view &to) {
    if (!args.pixels || !args.packed || !ref.film || frame_index(args, ref) < 0 ||
        !to.is_possible() || !has_strip(args, ref))
        return strip_result::unavailable;
    find_tables(ref);
    if (!ref.tables)
        return strip_result::unavailable;
    const int shown = ref.drawn >= 0 ? ref.drawn : ref.decoded;
    movie::vf_frame where;
    if (read_data(args, ref, frame_index(args, ref), shown, &where) != finding::read)
        return strip_result::unchanged;
    const auto data = args.packed.bytes().first(static_cast<std::size_t>(where.size));
    const fault found = find_fault(args, data);
    movie::ir1_strips strips;
    if (found.what != nullptr || movie::ir1_begin_strips(data, &strips) != 0) {
        movie::VFreport(*ref.film, where.index, found.what != nullptr ? found.what : ends_too_early,
                        found.value);
        return strip_result::unchanged;
    }
    to.begin();
    const bool is_whole = draw_strips(args, ref, strips, to);
    to.end(is_whole);
    if (!is_whole) {
        movie::VFreport(*ref.film, where.index, ends_too_early, where.size);
        return strip_result::spoilt;
    }
    ref.drawn = where.index;
    return strip_result::drawn;
}

void catch_up_pixels(play_args &args, movie_ref &ref) {
    if (ref.drawn < 0 || !ref.film)
        return;
    ref.decoded = std::exchange(ref.drawn, -1);
    restore_picture(args, ref);
}

} // namespace player
