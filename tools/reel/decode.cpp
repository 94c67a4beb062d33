#include "tools/reel/decode.h"

#include "tools/reel/decode_work.h"
#include "tools/reel/report.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <sys/stat.h>

namespace reel {

namespace {

constexpr const char *video_extensions[] = {".mp4", ".mov", ".mkv", ".webm", ".avi"};

bool wants_video(const decode_options &options) {
    std::string extension = std::filesystem::path(options.output).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return !options.codec.empty() ||
           std::find(std::begin(video_extensions), std::end(video_extensions), extension) !=
               std::end(video_extensions);
}

// Whether one of the frames has a picture, as far as the movie's table and chunks tell.
bool has_picture(const decode_job &job) {
    for (std::int64_t position = 0; position < count_selected(job.chosen); ++position)
        if (job.movie.frames[static_cast<std::size_t>(frame_at(job, position))].source >= 0)
            return true;
    return false;
}

// Works out which frames are wanted. Returns 0, or -1 after a report.
int choose_frames(decode_job &job) {
    const auto count = static_cast<std::int64_t>(job.movie.frames.size());
    const char *name = job.options.file.c_str();
    if (count == 0) {
        report("%s: there are no frames in it", name);
        return -1;
    }
    job.chosen = job.options.frames.value_or(frame_selection{{0, count - 1}, 1});
    if (job.chosen.range.first < 0 || job.chosen.range.last >= count) {
        report("%s: there are frames 0-%lld only", name, static_cast<long long>(count - 1));
        return -1;
    }
    if (!has_picture(job)) {
        const int first = frame_at(job, 0);
        report("%s: none of the frames can be shown; frame %d: %s", name, first,
               describe_fault(job.movie, first).c_str());
        return -1;
    }
    if (job.width == 0 || job.height == 0) {
        report("%s: its pictures have no pixels", name);
        return -1;
    }
    return 0;
}

} // namespace

std::string show_frame(const reel_file &movie, int index, shown_frame &shown) {
    std::string what = describe_fault(movie, index);
    const int source = movie.frames[static_cast<std::size_t>(index)].source;
    if (!what.empty() || source == shown.source)
        return what;
    shown.source = -1;
    if (decode_frame(movie, source, shown.buffer) != frame_fault::none)
        return "its data is damaged";
    shown.source = source;
    return "";
}

bool is_the_movie(const decode_job &job, const std::string &path) {
    struct stat own {};
    struct stat other {};
    const bool same = ::fstat(::fileno(job.movie.film->stream.get()), &own) == 0 &&
                      ::stat(path.c_str(), &other) == 0 && own.st_dev == other.st_dev &&
                      own.st_ino == other.st_ino;
    if (same)
        report("%s: it is the movie itself, so it is not replaced", path.c_str());
    return same;
}

int run_decode(const decode_options &options) {
    const bool is_video = wants_video(options);
    if (!is_video && options.rate.has_value()) {
        report("%s: images have no rate; --fps is for videos", options.output.c_str());
        return exit_misused;
    }
    reel_file movie;
    if (open_reel(options.file, movie) != 0)
        return exit_failed;
    decode_job job = {
        options, movie, {}, coded_side(movie.film->width), coded_side(movie.film->height)};
    if (choose_frames(job) != 0)
        return exit_failed;
    return is_video ? decode_to_video(job) : decode_to_images(job);
}

} // namespace reel
