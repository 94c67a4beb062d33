#include "tools/reel/encode.h"

#include "movie/vf.h"
#include "tools/reel/frame_list.h"
#include "tools/reel/image_io.h"
#include "tools/reel/output_file.h"
#include "tools/reel/progress.h"
#include "tools/reel/reel_file.h"
#include "tools/reel/report.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>

namespace reel {

namespace {

static_assert(image_max_side == movie::ir1_max_dimension);

// A movie under construction.
struct movie_writer {
    output_file file;
    movie::vf_movie film;
    int source_width = 0;  // of the images
    int source_height = 0; // of the images
    int count = 0;         // frames so far
    int repeats = 0;       // of them stored without data
    std::vector<std::uint8_t> packed;
    std::vector<std::uint8_t> newest; // the data of the picture that a repeat would repeat
};

std::string size_text(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

// An existing file gives way to a movie only when it is one: a forgotten -o must not cost an
// image.
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
    std::array<unsigned char, 4> head{};
    const std::size_t n = std::fread(head.data(), 1, head.size(), file.get());
    const std::uint32_t word = std::uint32_t{head[0]} << 24 | std::uint32_t{head[1]} << 16 |
                               std::uint32_t{head[2]} << 8 | head[3];
    if (n == 0 || word == movie::vf_magic)
        return 0;
    report("%s: it exists and is no movie, so it is not replaced", name.c_str());
    return -1;
}

// Creates the movie for images of this size.
int start_movie(const encode_options &options, std::size_t count, const image_buffer &image,
                movie_writer &writer) {
    if (start_output(options.output, writer.file) != 0)
        return -1;
    movie::vf_movie &film = writer.film;
    writer.source_width = image.width;
    writer.source_height = image.height;
    film.magic = movie::vf_magic;
    film.count = static_cast<std::int32_t>(count);
    film.width = coded_side(image.width);
    film.height = coded_side(image.height);
    film.rate = options.rate;
    film.threshold = options.threshold;
    film.offsets.resize(count);
    if (movie::VFopenWrite(film, writer.file.temporary.c_str()) != 0)
        return -1;
    film.name = options.output; // for messages: the temporary name means nothing to the user
    writer.packed.resize(movie::ir1_worst_case(image.width, image.height));
    return 0;
}

// Appends a picture. Returns 0, or -1 after a report.
int add_picture(movie_writer &writer, const image_buffer &image, progress &meter) {
    const std::int64_t size = movie::IR1_compress(image.words, image.width, image.height,
                                                  writer.packed, writer.film.threshold);
    if (size < 0) {
        clear_progress(meter);
        report("%s: frame %d cannot be compressed", writer.film.name.c_str(), writer.count);
        return -1;
    }
    auto data = std::span<const std::uint8_t>(writer.packed).first(static_cast<std::size_t>(size));
    if (std::equal(data.begin(), data.end(), writer.newest.begin(), writer.newest.end())) {
        data = {};
        ++writer.repeats;
    } else {
        writer.newest.assign(data.begin(), data.end());
    }
    return movie::VFappend(writer.film, writer.count++, data);
}

void note_size(const image_buffer &image) {
    const int width = coded_side(image.width);
    const int height = coded_side(image.height);
    if (width == image.width && height == image.height)
        return;
    report_note("%s becomes %s, multiples of %d: left out are %d pixels at the right and %d at the "
                "top",
                size_text(image.width, image.height).c_str(), size_text(width, height).c_str(),
                movie::ir1_block_size, image.width - width, image.height - height);
}

// What is said once, when the first image is known.
int announce(const frame_list &list, const image_buffer &image) {
    const std::int64_t first = list.files.front().number;
    const std::int64_t last = list.files.back().number;
    if (image.width < movie::ir1_block_size || image.height < movie::ir1_block_size) {
        report("%s: it is %s pixels; a movie has at least %dx%d", list.files.front().path.c_str(),
               size_text(image.width, image.height).c_str(), movie::ir1_block_size,
               movie::ir1_block_size);
        return -1;
    }
    std::fprintf(stderr, "reel: %s: %zu %s, frames %lld to %lld, %s\n", list.description.c_str(),
                 list.files.size(), list.files.size() == 1 ? "image" : "images",
                 static_cast<long long>(first), static_cast<long long>(last),
                 size_text(image.width, image.height).c_str());
    for (const std::string &note : list.notes)
        report_note("%s", note.c_str());
    if (image.has_more)
        report_note("%s: it holds several pictures; the first one of each file is used",
                    list.files.front().path.c_str());
    note_size(image);
    return 0;
}

int read_image(const image_module &images, const frame_file &file, image_buffer &image,
               progress &meter) {
    std::string fault;
    if (images.read(file.path.c_str(), &image, &fault) == 0)
        return 0;
    clear_progress(meter);
    report("%s (frame %lld): %s", file.path.c_str(), static_cast<long long>(file.number),
           fault.c_str());
    return -1;
}

// Encodes all images. Returns 0, or -1 after a report.
int encode_files(const encode_options &options, const image_module &images, const frame_list &list,
                 movie_writer &writer, progress &meter) {
    image_buffer image;
    for (const frame_file &file : list.files) {
        if (read_image(images, file, image, meter) != 0)
            return -1;
        if (writer.count == 0 && (announce(list, image) != 0 ||
                                  start_movie(options, list.files.size(), image, writer) != 0))
            return -1;
        if (image.width != writer.source_width || image.height != writer.source_height) {
            clear_progress(meter);
            report("%s (frame %lld): it is %s, but the frames before it are %s", file.path.c_str(),
                   static_cast<long long>(file.number),
                   size_text(image.width, image.height).c_str(),
                   size_text(writer.source_width, writer.source_height).c_str());
            return -1;
        }
        if (add_picture(writer, image, meter) != 0)
            return -1;
        step_progress(meter);
    }
    return 0;
}

void announce_result(const encode_options &options, const movie_writer &writer,
                     const progress &meter) {
    struct stat status {};
    (void)::stat(options.output.c_str(), &status);
    const double seconds = progress_seconds(meter);
    std::fprintf(
        stderr,
        "reel: %s: %d frames (%d repeated), %s, %d frames/s, %.2f MB, in %.1f s (%.1f frames/s)\n",
        options.output.c_str(), writer.count, writer.repeats,
        size_text(writer.film.width, writer.film.height).c_str(), writer.film.rate,
        static_cast<double>(status.st_size) / 1e6, seconds,
        seconds > 0 ? writer.count / seconds : 0);
}

} // namespace

int run_encode(const encode_options &options) {
    const image_module *images = load_image_module();
    if (images == nullptr || check_replaced(options.output) != 0)
        return exit_failed;
    frame_list list;
    std::string fault;
    if (find_frames(options.inputs, images->extensions(),
                    options.frames.has_value() ? &*options.frames : nullptr, list, &fault) != 0) {
        report("%s", fault.c_str());
        return exit_failed;
    }
    movie_writer writer;
    progress meter = start_progress("encoding", static_cast<std::int64_t>(list.files.size()));
    const int result = encode_files(options, *images, list, writer, meter);
    clear_progress(meter);
    if (result != 0 || finish_output(writer.file, true) != 0)
        return exit_failed;
    announce_result(options, writer, meter);
    return exit_good;
}

} // namespace reel
