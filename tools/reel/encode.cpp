#include "tools/reel/encode.h"

#include "tools/reel/frame_list.h"
#include "tools/reel/image_io.h"
#include "tools/reel/movie_writer.h"
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

std::string size_text(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

// A movie under construction from images of one size.
struct encoding {
    movie_writer writer;
    int width = 0;  // of the images
    int height = 0; // of the images
    std::vector<std::uint8_t> packed;
};

// Creates the movie for images of this size.
int start_encoding(const encode_options &options, std::size_t count, const image_buffer &image,
                   encoding &work) {
    work.width = image.width;
    work.height = image.height;
    work.packed.resize(movie::ir1_worst_case(image.width, image.height));
    return start_movie(options.output,
                       {image.width, image.height, options.rate, options.threshold,
                        static_cast<std::int64_t>(count)},
                       work.writer);
}

// Appends a picture. Returns 0, or -1 after a report.
int add_picture(encoding &work, const image_buffer &image, progress &meter) {
    const std::int64_t size = movie::IR1_compress(image.words, image.width, image.height,
                                                  work.packed, work.writer.film.threshold);
    if (size < 0) {
        clear_progress(meter);
        report("%s: frame %d cannot be compressed", work.writer.film.name.c_str(),
               work.writer.count);
        return -1;
    }
    return add_frame(
        work.writer,
        std::span<const std::uint8_t>(work.packed).first(static_cast<std::size_t>(size)));
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
                 encoding &work, progress &meter) {
    image_buffer image;
    for (const frame_file &file : list.files) {
        if (read_image(images, file, image, meter) != 0)
            return -1;
        if (work.writer.count == 0 &&
            (announce(list, image) != 0 ||
             start_encoding(options, list.files.size(), image, work) != 0))
            return -1;
        if (image.width != work.width || image.height != work.height) {
            clear_progress(meter);
            report("%s (frame %lld): it is %s, but the frames before it are %s", file.path.c_str(),
                   static_cast<long long>(file.number),
                   size_text(image.width, image.height).c_str(),
                   size_text(work.width, work.height).c_str());
            return -1;
        }
        if (add_picture(work, image, meter) != 0)
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
    encoding work;
    progress meter = start_progress("encoding", static_cast<std::int64_t>(list.files.size()));
    const int result = encode_files(options, *images, list, work, meter);
    clear_progress(meter);
    if (result != 0 || finish_movie(work.writer) != 0)
        return exit_failed;
    announce_result(options, work.writer, meter);
    return exit_good;
}

} // namespace reel
