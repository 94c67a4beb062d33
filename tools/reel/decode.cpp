#include "tools/reel/decode.h"

#include "tools/reel/image_io.h"
#include "tools/reel/output_file.h"
#include "tools/reel/progress.h"
#include "tools/reel/reel_file.h"
#include "tools/reel/report.h"

#include <cstdio>
#include <sys/stat.h>

namespace reel {

namespace {

// A movie being written out.
struct image_writer {
    const reel_file *movie = nullptr;
    const image_module *images = nullptr;
    std::string movie_name;
    frame_buffer buffer;
    int decoded = -1; // the frame in the buffer
    frame_fault decoded_fault = frame_fault::none;
    std::int64_t left_out = 0; // frames
};

// Makes the buffer hold the picture that a frame shows. Returns 0, or -1 after a report.
int show_frame(image_writer &writer, int index, progress &meter) {
    const int source = writer.movie->frames[static_cast<std::size_t>(index)].source;
    std::string what = describe_fault(*writer.movie, index);
    if (what.empty() && source != writer.decoded) {
        writer.decoded_fault = decode_frame(*writer.movie, source, writer.buffer);
        writer.decoded = source;
    }
    if (what.empty() && writer.decoded_fault != frame_fault::none)
        what = "its data is damaged";
    if (what.empty())
        return 0;
    clear_progress(meter);
    report("%s: frame %d is left out: %s", writer.movie_name.c_str(), index, what.c_str());
    ++writer.left_out;
    return -1;
}

bool is_same_file(const movie::vf_movie &film, const std::string &path) {
    struct stat own {};
    struct stat other {};
    return ::fstat(::fileno(film.stream.get()), &own) == 0 && ::stat(path.c_str(), &other) == 0 &&
           own.st_dev == other.st_dev && own.st_ino == other.st_ino;
}

// Writes the picture in the buffer under its name. Returns 0, or -1 after a report.
int write_image(const image_writer &writer, const std::string &path, progress &meter) {
    if (is_same_file(*writer.movie->film, path)) {
        clear_progress(meter);
        report("%s: it is the movie itself, so it is not replaced", path.c_str());
        return -1;
    }
    output_file file;
    if (start_output(path, file) != 0)
        return -1;
    std::string fault;
    const movie::vf_movie &film = *writer.movie->film;
    if (writer.images->write(file.temporary.c_str(), writer.buffer.words, coded_side(film.width),
                             coded_side(film.height), &fault) != 0) {
        clear_progress(meter);
        report("%s: %s", path.c_str(), fault.c_str());
        return -1;
    }
    return finish_output(file, false);
}

// The path of a frame; `output` itself when it has no place for a number.
struct output_names {
    frame_pattern pattern;
    bool numbered = false;
    std::string single;
};

// Works out names and frames. Returns 0, or an exit status after a report.
int plan_output(const decode_options &options, const reel_file &movie, output_names *names,
                frame_selection *chosen) {
    const pattern_kind kind = parse_pattern(options.output, &names->pattern);
    const auto count = static_cast<std::int64_t>(movie.frames.size());
    *chosen = options.frames.value_or(frame_selection{{0, count - 1}, 1});
    const frame_range &range = chosen->range;
    names->numbered = kind == pattern_kind::pattern;
    names->single = options.output;
    if (kind == pattern_kind::unclear) {
        report("%s: there is more than one place for a frame number", options.output.c_str());
        return exit_misused;
    }
    if (count == 0) {
        report("%s: there are no frames in it", options.file.c_str());
        return exit_failed;
    }
    if (range.first < 0 || range.last >= count) {
        report("%s: there are frames 0-%lld only", options.file.c_str(),
               static_cast<long long>(count - 1));
        return exit_failed;
    }
    if (!names->numbered && count_selected(*chosen) > 1) {
        report("%s: several frames need a place for their number, such as name.####.png",
               options.output.c_str());
        return exit_misused;
    }
    return exit_good;
}

int decode_frames(image_writer &writer, const output_names &names, const frame_selection &chosen) {
    progress meter = start_progress("decoding", count_selected(chosen));
    for (std::int64_t number = chosen.range.first; number <= chosen.range.last;
         number += chosen.step) {
        if (show_frame(writer, static_cast<int>(number), meter) == 0 &&
            write_image(writer,
                        names.numbered ? format_frame_path(names.pattern, number) : names.single,
                        meter) != 0)
            return -1;
        step_progress(meter);
    }
    clear_progress(meter);
    const double seconds = progress_seconds(meter);
    std::fprintf(stderr, "reel: %s: %lld images in %.1f s (%.1f frames/s), %lld left out\n",
                 names.single.c_str(), static_cast<long long>(meter.done - writer.left_out),
                 seconds, seconds > 0 ? static_cast<double>(meter.done) / seconds : 0,
                 static_cast<long long>(writer.left_out));
    return writer.left_out == 0 ? 0 : -1;
}

} // namespace

int run_decode(const decode_options &options) {
    reel_file movie;
    output_names names;
    frame_selection chosen;
    if (open_reel(options.file, movie) != 0)
        return exit_failed;
    if (const int status = plan_output(options, movie, &names, &chosen); status != exit_good)
        return status;
    if (coded_side(movie.film->width) == 0 || coded_side(movie.film->height) == 0) {
        report("%s: its pictures have no pixels", options.file.c_str());
        return exit_failed;
    }
    image_writer writer;
    writer.movie = &movie;
    writer.movie_name = options.file;
    writer.images = load_image_module();
    if (writer.images == nullptr)
        return exit_failed;
    std::string fault;
    if (writer.images->check_writer(options.output.c_str(), &fault) != 0) {
        report("%s: %s", options.output.c_str(), fault.c_str());
        return exit_failed;
    }
    return decode_frames(writer, names, chosen) == 0 ? exit_good : exit_failed;
}

} // namespace reel
