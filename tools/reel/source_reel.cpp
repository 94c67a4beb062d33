// A movie of our own as a source of frames.
#include "movie/file_io.h"
#include "tools/reel/cram.h"
#include "tools/reel/encode.h"
#include "tools/reel/reel_file.h"
#include "tools/reel/sources.h"

#include <mutex>

namespace reel {

namespace {

struct movie_frames {
    reel_file film;
    std::string name;
    chosen_frames chosen;
    std::mutex guard;                  // of buffers
    std::vector<frame_buffer> buffers; // as many as were ever in use at once
};

// The frame whose data a position shows; -1 with the reason in *fault.
int find_data(const movie_frames &from, std::int64_t position, std::string *fault) {
    const auto index = static_cast<int>(frame_of(from.chosen, position));
    const std::string what = describe_fault(from.film, index);
    if (what.empty())
        return from.film.frames[static_cast<std::size_t>(index)].source;
    *fault = name_frame(from.name, index) + ": " + what;
    return -1;
}

frame_buffer take_buffer(movie_frames &from) {
    const std::lock_guard lock(from.guard);
    if (from.buffers.empty())
        return {};
    frame_buffer buffer = std::move(from.buffers.back());
    from.buffers.pop_back();
    return buffer;
}

read_result read_frame(movie_frames &from, std::int64_t position, image_buffer &picture,
                       std::string *fault) {
    if (position >= from.chosen.count)
        return read_result::end;
    const int index = find_data(from, position, fault);
    if (index < 0)
        return read_result::failed;
    frame_buffer buffer = take_buffer(from);
    buffer.words.swap(picture.words);
    const frame_fault result = decode_frame(from.film, index, buffer);
    buffer.words.swap(picture.words);
    {
        const std::lock_guard lock(from.guard);
        from.buffers.push_back(std::move(buffer));
    }
    if (result != frame_fault::none) {
        *fault = name_frame(from.name, index) + ": its data is damaged";
        return read_result::failed;
    }
    picture.width = coded_side(from.film.film->width);
    picture.height = coded_side(from.film.film->height);
    picture.has_more = false;
    return read_result::got;
}

// Brings a frame's data as it stands in the file.
read_result read_data(const movie_frames &from, std::int64_t position,
                      std::vector<std::uint8_t> &stream, std::string *fault) {
    if (position >= from.chosen.count)
        return read_result::end;
    const int index = find_data(from, position, fault);
    if (index < 0)
        return read_result::failed;
    const movie::vf_movie &film = *from.film.film;
    const frame_entry &entry = from.film.frames[static_cast<std::size_t>(index)];
    stream.resize(std::min(static_cast<std::size_t>(entry.size), vf_max_data_bytes(film)));
    if (movie::read_at(::fileno(film.stream.get()), entry.offset + movie::vf_chunk_bytes, stream) &&
        is_whole_ir1(stream, coded_side(film.width), coded_side(film.height)))
        return read_result::got;
    *fault = name_frame(from.name, index) + ": its data is damaged";
    return read_result::failed;
}

void describe_movie(const movie_frames &from, frame_source &source) {
    const movie::vf_movie &film = *from.film.film;
    source.any_order = true;
    source.width = coded_side(film.width);
    source.height = coded_side(film.height);
    if (film.rate >= 1 && film.rate <= max_rate)
        source.rate = frame_rate{film.rate, 1};
    source.threshold = film.threshold;
}

} // namespace

int open_movie(const std::string &path, const source_options &options, frame_source &source,
               std::string *fault) {
    const auto from = std::make_shared<movie_frames>();
    fault->clear();
    if (open_reel(path, from->film) != 0)
        return -1;
    source.description = path;
    from->name = path;
    if (choose_positions(options, static_cast<std::int64_t>(from->film.frames.size()), source,
                         from->chosen, fault) != 0)
        return -1;
    describe_movie(*from, source);
    source.read = [from](std::int64_t position, image_buffer &picture, std::string *why) {
        return read_frame(*from, position, picture, why);
    };
    source.read_stream = [from](std::int64_t position, std::vector<std::uint8_t> &stream,
                                std::string *why) {
        return read_data(*from, position, stream, why);
    };
    source.state = from;
    return 0;
}

} // namespace reel
