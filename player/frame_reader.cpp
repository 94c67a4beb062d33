#include "player/frame_reader.h"

#include "player/play_stats.h"

#include <algorithm>
#include <cstdio>

namespace player {

namespace {

enum class decoding { whole, untouched, half };

// Decodes a frame into the pixels. A stream of another size than the movie's is not begun: its
// rows would land in the wrong places.
decoding decode(play_args &args, movie_ref &ref, std::span<const std::uint8_t> data) {
    const phase_timer timed(play_phase::decoding);
    if (!ref.tables)
        ref.tables = movie::vf_current_table();
    movie::ir1_size size;
    if (!ref.tables || movie::ir1_read_size(data, &size) != 0 || size.width != args.width ||
        size.height != args.height)
        return decoding::untouched;
    const int result = movie::IR1_decompress(*ref.tables, data, args.pixels.span());
    return result == 0 ? decoding::whole : decoding::half;
}

enum class finding { read, unchanged, failed };

// Reads the data of frame `index` into args.packed, unless the pixels show it already.
finding read_data(play_args &args, movie_ref &ref, int index, movie::vf_frame *where) {
    const phase_timer timed(play_phase::reading);
    if (movie::VFfindframe(*ref.film, index, where) != movie::vf_find::found)
        return finding::failed;
    if (where->index == ref.decoded)
        return finding::unchanged;
    const int result = movie::VFreadframe(*ref.film, *where, args.packed.bytes());
    return result == 0 ? finding::read : finding::failed;
}

decoding decode_packed(play_args &args, movie_ref &ref, const movie::vf_frame &where) {
    const auto size = static_cast<std::size_t>(where.size);
    const decoding result = decode(args, ref, args.packed.bytes().first(size));
    if (result != decoding::whole)
        movie::VFreport(*ref.film, where.index, "the data can not be decoded, bytes", where.size);
    return result;
}

// Puts the picture back that a failed decoding has half overwritten.
void restore_picture(play_args &args, movie_ref &ref) {
    const int shown = ref.decoded;
    ref.decoded = -1;
    movie::vf_frame where;
    if (shown >= 0 && read_data(args, ref, shown, &where) == finding::read &&
        decode_packed(args, ref, where) == decoding::whole)
        ref.decoded = shown;
    else
        std::ranges::fill(args.pixels.span(), 0U);
}

} // namespace

bool read_frame_from_file(play_args &args, movie_ref &ref) {
    if (!args.pixels || !args.packed || !ref.film)
        return false;
    const std::int64_t index = std::int64_t{args.current} - args.first;
    if (index < 0) {
        std::fprintf(stderr, "%s: read_frame_from_file: Error reading movie file.\n", gMe);
        return false;
    }
    if (index >= ref.film->count)
        return false;
    movie::vf_frame where;
    if (read_data(args, ref, static_cast<int>(index), &where) != finding::read)
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

} // namespace player
