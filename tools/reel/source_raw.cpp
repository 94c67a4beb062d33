// Raw pixels on standard input as a source of frames.
#include "movie/file_io.h"
#include "tools/reel/raw_pixels.h"
#include "tools/reel/sources.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace reel {

namespace {

struct raw_stream {
    raw_format format = raw_format::none;
    int width = 0;
    int height = 0;
    std::size_t frame_bytes = 0;
    chosen_frames chosen;
    std::int64_t next = 0;       // the frame that comes next
    bool is_file = false;        // that can be read at any place; else the frames come one by one
    std::int64_t file_start = 0; // where its first frame is
    int cancelled = -1;          // an event: readable once nobody waits for pixels any more

    raw_stream() = default;
    raw_stream(const raw_stream &) = delete;
    raw_stream &operator=(const raw_stream &) = delete;
    ~raw_stream() {
        if (cancelled >= 0)
            ::close(cancelled);
    }
};

read_result fail(const std::string &reason, std::string *fault) {
    *fault = std::string(standard_input_name) + ": " + reason;
    return read_result::failed;
}

// Waits until there is something to read or its end. Returns false when it was cancelled.
bool wait_for_input(const raw_stream &from) {
    pollfd watched[] = {{STDIN_FILENO, POLLIN, 0}, {from.cancelled, POLLIN, 0}};
    while (::poll(watched, std::size(watched), -1) < 0 && errno == EINTR)
        continue;
    return (watched[1].revents & POLLIN) == 0;
}

// Reads the next frame's bytes. At the end of the input, *got is less than they are.
read_result read_bytes(const raw_stream &from, std::span<std::byte> bytes, std::size_t *got,
                       std::string *fault) {
    *got = 0;
    while (*got < bytes.size()) {
        if (!wait_for_input(from))
            return fail("it is not waited for", fault);
        const ssize_t n = ::read(STDIN_FILENO, bytes.data() + *got, bytes.size() - *got);
        if (n == 0)
            break;
        if (n > 0)
            *got += static_cast<std::size_t>(n);
        else if (errno != EINTR && errno != EAGAIN)
            return fail(std::strerror(errno), fault);
    }
    return read_result::got;
}

// What is wrong when the input ends, after `frames` whole frames and `rest` bytes of the next one.
std::string describe_end(const raw_stream &from, std::int64_t frames, std::size_t rest) {
    if (rest > 0)
        return "it ends inside frame " + std::to_string(frames) + ", after " +
               std::to_string(rest) + " of " + std::to_string(from.frame_bytes) + " bytes";
    return frames == 0 ? "it is empty" : "";
}

// What the end of the input means while frame `wanted` is looked for.
read_result end_stream(const raw_stream &from, std::int64_t wanted, std::size_t got,
                       std::string *fault) {
    const std::string what = describe_end(from, from.next, got);
    if (!what.empty())
        return fail(what, fault);
    if (from.chosen.count >= 0)
        return fail("frame " + std::to_string(wanted) + " is not there: it ends after " +
                        std::to_string(from.next) + " frames",
                    fault);
    return read_result::end;
}

read_result fetch_frame(raw_stream &from, std::int64_t position, image_buffer &picture,
                        std::string *fault) {
    if (from.chosen.count >= 0 && position >= from.chosen.count)
        return read_result::end;
    picture.scratch.resize(from.frame_bytes);
    const std::int64_t wanted = frame_of(from.chosen, position);
    for (; from.next <= wanted; ++from.next) {
        std::size_t got = 0;
        if (read_bytes(from, picture.scratch, &got, fault) == read_result::failed)
            return read_result::failed;
        if (got < from.frame_bytes)
            return end_stream(from, wanted, got, fault);
    }
    return read_result::got;
}

std::size_t row_bytes(const raw_stream &from) {
    return from.frame_bytes / static_cast<std::size_t>(from.height);
}

// Unpacks rows of a frame that fetch_frame has brought.
int unpack_fetched(const raw_stream &from, const image_buffer &picture, int top, int rows,
                   std::span<std::uint32_t> words) {
    const auto bytes = std::span(picture.scratch)
                           .subspan(static_cast<std::size_t>(top) * row_bytes(from),
                                    static_cast<std::size_t>(rows) * row_bytes(from));
    unpack_pixels(from.format, bytes, from.width, rows, words);
    return 0;
}

// Reads rows of a frame from a file and unpacks them, while they are in the processor's cache.
int unpack_from_file(const raw_stream &from, std::int64_t position, image_buffer &picture, int top,
                     int rows, std::span<std::uint32_t> words, std::string *fault) {
    const std::int64_t frame = frame_of(from.chosen, position);
    const std::int64_t place = from.file_start +
                               frame * static_cast<std::int64_t>(from.frame_bytes) +
                               top * static_cast<std::int64_t>(row_bytes(from));
    picture.scratch.resize(static_cast<std::size_t>(rows) * row_bytes(from));
    const std::span bytes(reinterpret_cast<std::uint8_t *>(picture.scratch.data()),
                          picture.scratch.size());
    errno = 0;
    if (!movie::read_at(STDIN_FILENO, place, bytes)) {
        (void)fail("frame " + std::to_string(frame) + " cannot be read" +
                       (errno != 0 ? std::string(": ") + std::strerror(errno) : ""),
                   fault);
        return -1;
    }
    unpack_pixels(from.format, picture.scratch, from.width, rows, words);
    return 0;
}

// Makes the whole picture at a position by `unpack`.
template <typename unpacking>
read_result unpack_whole(const raw_stream &from, image_buffer &picture, unpacking unpack) {
    picture.width = from.width;
    picture.height = from.height;
    picture.has_more = false;
    picture.words.resize(static_cast<std::size_t>(from.width) *
                         static_cast<std::size_t>(from.height));
    return unpack(picture, 0, from.height, picture.words) == 0 ? read_result::got
                                                               : read_result::failed;
}

void install_stream(const std::shared_ptr<raw_stream> &from, frame_source &source) {
    source.fetch = [from](std::int64_t position, image_buffer &picture, std::string *why) {
        return fetch_frame(*from, position, picture, why);
    };
    source.unpack = [from](std::int64_t, image_buffer &picture, int top, int rows,
                           std::span<std::uint32_t> words, std::string *) {
        return unpack_fetched(*from, picture, top, rows, words);
    };
    source.read = [from](std::int64_t position, image_buffer &picture, std::string *why) {
        const read_result result = fetch_frame(*from, position, picture, why);
        if (result != read_result::got)
            return result;
        return unpack_whole(*from, picture,
                            [&](auto &&...part) { return unpack_fetched(*from, part...); });
    };
    source.cancel = [from] { (void)::eventfd_write(from->cancelled, 1); };
}

void install_file(const std::shared_ptr<raw_stream> &from, frame_source &source) {
    source.any_order = true;
    source.unpack = [from](std::int64_t position, image_buffer &picture, int top, int rows,
                           std::span<std::uint32_t> words, std::string *why) {
        return unpack_from_file(*from, position, picture, top, rows, words, why);
    };
    source.read = [from](std::int64_t position, image_buffer &picture, std::string *why) {
        if (position >= from->chosen.count)
            return read_result::end;
        return unpack_whole(*from, picture, [&](auto &&...part) {
            return unpack_from_file(*from, position, part..., why);
        });
    };
}

// Finds out what there is. A file's frames can be counted, and read in any order; a pipe's come.
// Returns 0, or -1 with the reason in *fault.
int examine_input(const source_options &options, raw_stream &from, frame_source &source,
                  std::string *fault) {
    struct stat status {};
    const off_t start = ::lseek(STDIN_FILENO, 0, SEEK_CUR);
    if (start < 0 || ::fstat(STDIN_FILENO, &status) != 0 || !S_ISREG(status.st_mode)) {
        from.cancelled = ::eventfd(0, EFD_CLOEXEC);
        if (from.cancelled >= 0)
            return choose_positions(options, -1, source, from.chosen, fault);
        (void)fail(std::strerror(errno), fault);
        return -1;
    }
    from.is_file = true;
    from.file_start = start;
    const auto bytes = static_cast<std::size_t>(std::max<off_t>(status.st_size - start, 0));
    const auto frames = static_cast<std::int64_t>(bytes / from.frame_bytes);
    if (options.frames.has_value())
        return choose_positions(options, frames, source, from.chosen, fault);
    *fault = describe_end(from, frames, bytes % from.frame_bytes);
    if (fault->empty())
        return choose_positions(options, frames, source, from.chosen, fault);
    *fault = standard_input_name + (": " + *fault);
    return -1;
}

} // namespace

int open_raw_pixels(const source_options &options, frame_source &source, std::string *fault) {
    source.description = standard_input_name;
    if (std::min(options.width, options.height) < 1 ||
        std::max(options.width, options.height) > image_max_side) {
        *fault = source.description + ": pictures of " + std::to_string(options.width) + "x" +
                 std::to_string(options.height) + " pixels are not possible; a side has 1 to " +
                 std::to_string(image_max_side);
        return -1;
    }
    const auto from = std::make_shared<raw_stream>();
    from->format = options.standard_input;
    from->width = options.width;
    from->height = options.height;
    from->frame_bytes = bytes_per_pixel(options.standard_input) *
                        static_cast<std::size_t>(options.width) *
                        static_cast<std::size_t>(options.height);
    if (examine_input(options, *from, source, fault) != 0)
        return -1;
    source.width = options.width;
    source.height = options.height;
    source.state = from;
    if (from->is_file)
        install_file(from, source);
    else
        install_stream(from, source);
    return 0;
}

} // namespace reel
