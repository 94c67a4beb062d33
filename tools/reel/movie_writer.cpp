#include "tools/reel/movie_writer.h"

#include "movie/file_io.h"
#include "tools/reel/report.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace reel {

namespace {

constexpr std::int64_t entry_bytes = 4;      // of the table
constexpr std::int64_t count_place = 8;      // of the number of frames, in the header
constexpr std::int64_t first_capacity = 256; // frames, when nothing is known
constexpr std::int64_t moved_at_once = std::int64_t{1} << 20;

std::int64_t head_bytes(std::int64_t count) {
    return movie::vf_header_bytes + entry_bytes * count;
}

// Moves bytes inside a file, from .. end to `to` and on; the places may overlap. Returns false with
// errno set.
bool move_bytes(int file, std::int64_t from, std::int64_t end, std::int64_t to) {
    std::vector<std::uint8_t> part;
    const bool up = to > from;
    for (std::int64_t left = end - from; left > 0;) {
        const std::int64_t n = std::min(left, moved_at_once);
        const std::int64_t at = up ? left - n : end - from - left;
        part.resize(static_cast<std::size_t>(n));
        if (!movie::read_at(file, from + at, part) || !movie::write_at(file, to + at, part))
            return false;
        left -= n;
    }
    return true;
}

bool write_head(int file, const movie::vf_movie &film) {
    std::array<std::uint8_t, entry_bytes> word{};
    movie::put_signed(word.data(), film.count);
    std::vector<std::uint8_t> table(film.offsets.size() * entry_bytes);
    for (std::size_t i = 0; i < film.offsets.size(); ++i)
        movie::put_signed(&table[i * entry_bytes], film.offsets[i]);
    return movie::write_at(file, count_place, word) &&
           movie::write_at(file, movie::vf_header_bytes, table);
}

// Gives the table room for another number of frames, moving the data behind it. Returns 0, or -1
// with errno set.
int resize_table(movie_writer &writer, std::int64_t count) {
    movie::vf_movie &film = writer.film;
    const int file = ::fileno(film.stream.get());
    const std::int64_t end = movie::regular_size(file);
    const std::int64_t old_head = head_bytes(film.count);
    const std::int64_t by = head_bytes(count) - old_head;
    if (end < old_head)
        return -1;
    if (count > max_movie_frames || end + by > movie::vf_max_file_bytes) {
        errno = EFBIG;
        return -1;
    }
    if (!move_bytes(file, old_head, end, old_head + by) ||
        (by < 0 && ::ftruncate(file, end + by) != 0))
        return -1;
    film.count = static_cast<std::int32_t>(count);
    film.offsets.resize(static_cast<std::size_t>(count));
    for (std::int32_t &offset : film.offsets)
        if (offset != 0)
            offset += static_cast<std::int32_t>(by);
    return write_head(file, film) ? 0 : -1;
}

int report_failure(const movie_writer &writer) {
    report("%s: it cannot be written: %s", writer.film.name.c_str(),
           errno == EFBIG ? "it would be too large for a movie file" : std::strerror(errno));
    return -1;
}

int make_room(movie_writer &writer) {
    if (writer.count < writer.film.count)
        return 0;
    const std::int64_t doubled = std::max<std::int64_t>(2 * std::int64_t{writer.count}, 1);
    return resize_table(writer, doubled) == 0 ? 0 : report_failure(writer);
}

} // namespace

int check_replaced(const std::string &name) {
    struct stat status {};
    if (::stat(name.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return 0; // nothing there, or start_output says what
    const movie::vf_stream file(std::fopen(name.c_str(), "rb"));
    if (file == nullptr) {
        report("%s: it exists and cannot be read, so it is not replaced: %s", name.c_str(),
               std::strerror(errno));
        return -1;
    }
    std::array<std::uint8_t, 4> head{};
    const std::size_t n = std::fread(head.data(), 1, head.size(), file.get());
    if (n == 0 || movie::get_unsigned(head.data()) == movie::vf_magic)
        return 0;
    report("%s: it exists and is no movie, so it is not replaced", name.c_str());
    return -1;
}

int start_movie(const std::string &name, const movie_settings &settings, movie_writer &writer) {
    if (settings.count > max_movie_frames) {
        report("%s: %lld frames are too many for a movie file", name.c_str(),
               static_cast<long long>(settings.count));
        return -1;
    }
    if (start_output(name, writer.file) != 0)
        return -1;
    movie::vf_movie &film = writer.film;
    film.magic = movie::vf_magic;
    film.count = static_cast<std::int32_t>(settings.count >= 0 ? settings.count : first_capacity);
    film.width = settings.width - settings.width % movie::ir1_block_size;
    film.height = settings.height - settings.height % movie::ir1_block_size;
    film.rate = settings.rate;
    film.threshold = settings.threshold;
    if (movie::VFopenWrite(film, writer.file.temporary.c_str()) != 0)
        return -1;
    film.name = name; // for messages: the temporary name means nothing to the user
    return 0;
}

int add_frame(movie_writer &writer, std::span<const std::uint8_t> data) {
    if (make_room(writer) != 0)
        return -1;
    if (!data.empty() &&
        std::equal(data.begin(), data.end(), writer.newest.begin(), writer.newest.end()))
        data = {};
    if (data.empty())
        ++writer.repeats;
    else
        writer.newest.assign(data.begin(), data.end());
    return movie::VFappend(writer.film, writer.count++, data);
}

int add_missing_frame(movie_writer &writer) {
    if (make_room(writer) != 0)
        return -1;
    ++writer.count;
    writer.newest.clear(); // a repeat of what stands before a gap would show the gap
    return 0;
}

int finish_movie(movie_writer &writer) {
    if (writer.count != writer.film.count && resize_table(writer, writer.count) != 0)
        return report_failure(writer);
    return finish_output(writer.file, true);
}

} // namespace reel
