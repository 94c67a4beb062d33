#include "tools/reel/frame_source.h"

#include "movie/file_io.h"
#include "movie/vf.h"
#include "tools/reel/encode.h"
#include "tools/reel/report.h"
#include "tools/reel/sources.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace reel {

namespace {

// A file by a name, so that it can be looked into; all else comes as it is (a socket has no name).
constexpr const char *standard_input_file = "/dev/stdin";
constexpr const char *standard_input_stream = "-";
constexpr int pipe_bytes = 1 << 20;

enum class file_kind { movie, video, unclear };

// What stands at a place of files that hold moving pictures.
struct signature {
    std::size_t place;
    std::string_view bytes;
};
constexpr signature video_signatures[] = {
    {4, "ftyp"},       {4, "moov"},     {4, "mdat"},
    {4, "wide"},       {8, "AVI LIST"}, {0, "\x1A\x45\xDF\xA3"},
    {0, "YUV4MPEG2 "},
};

// Of the family of MP4 by their "ftyp", but still images.
constexpr std::string_view image_brands[] = {"heic", "heix", "mif1", "avif", "crx "};
constexpr std::size_t brand_place = 8;

// Tells what a file is by its first bytes.
file_kind look_at_head(const std::string &path) {
    std::array<char, 32> head{};
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
        return file_kind::unclear;
    const ssize_t n = ::read(file, head.data(), head.size());
    ::close(file);
    const std::string_view text(head.data(), n > 0 ? static_cast<std::size_t>(n) : 0);
    if (text.size() >= 4 &&
        movie::get_unsigned(reinterpret_cast<const std::uint8_t *>(text.data())) == movie::vf_magic)
        return file_kind::movie;
    const auto has = [&](std::size_t place, std::string_view bytes) {
        return text.size() >= place + bytes.size() && text.substr(place, bytes.size()) == bytes;
    };
    if (std::any_of(std::begin(image_brands), std::end(image_brands),
                    [&](std::string_view brand) { return has(brand_place, brand); }))
        return file_kind::unclear;
    return std::any_of(std::begin(video_signatures), std::end(video_signatures),
                       [&](const signature &each) { return has(each.place, each.bytes); })
               ? file_kind::video
               : file_kind::unclear;
}

bool has_image_extension(const image_module &images, const std::string &path) {
    const std::size_t dot = path.rfind('.');
    std::string extension = dot == std::string::npos ? "" : path.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const std::vector<std::string> known = images.extensions();
    return std::find(known.begin(), known.end(), extension) != known.end();
}

// A regular file with something in it, which alone can be a movie or a video.
bool is_filled_file(const std::string &path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0 &&
           ::access(path.c_str(), R_OK) == 0;
}

int open_standard_input(const source_options &options, frame_source &source, std::string *fault) {
    if (::isatty(STDIN_FILENO) == 1) {
        *fault = standard_input_name;
        *fault += ": it is a terminal; the pixels have to come from a file or a program";
        return -1;
    }
    // What comes fast comes in large pieces; a pipe that cannot be larger is slower only.
    (void)::fcntl(STDIN_FILENO, F_SETPIPE_SZ, pipe_bytes);
    if (options.standard_input != raw_format::y4m)
        return open_raw_pixels(options, source, fault);
    return open_video(is_filled_file(standard_input_file) ? standard_input_file
                                                          : standard_input_stream,
                      options, source, fault);
}

} // namespace

int nearest_rate(frame_rate rate) {
    if (rate.numerator <= 0 || rate.denominator <= 0)
        return default_rate;
    const std::int64_t nearest = (2 * std::int64_t{rate.numerator} + rate.denominator) /
                                 (2 * std::int64_t{rate.denominator});
    return static_cast<int>(std::clamp<std::int64_t>(nearest, 1, max_rate));
}

std::string name_frame(const std::string &description, std::int64_t number) {
    return description + " (frame " + std::to_string(number) + ")";
}

int choose_positions(const source_options &options, std::int64_t total, frame_source &source,
                     chosen_frames &chosen, std::string *fault) {
    chosen = {0, 1, total};
    if (options.frames.has_value())
        chosen = {options.frames->range.first, options.frames->step,
                  count_selected(*options.frames)};
    source.count = chosen.count;
    source.first_number = chosen.first;
    source.number_step = chosen.step;
    source.name_of = [name = source.description, chosen](std::int64_t position) {
        return name_frame(name, frame_of(chosen, position));
    };
    if (!options.frames.has_value() ||
        (chosen.first >= 0 && (total < 0 || frame_of(chosen, chosen.count - 1) < total)))
        return 0;
    *fault = source.description + ": " +
             (total < 0    ? std::string("frames count from 0")
              : total == 0 ? std::string("there are no frames in it")
                           : "there are frames 0-" + std::to_string(total - 1) + " only");
    return -1;
}

int open_source(const std::vector<std::string> &inputs, const source_options &options,
                frame_source &source, std::string *fault) {
    if (options.standard_input != raw_format::none)
        return open_standard_input(options, source, fault);
    if (inputs.size() != 1 || !is_filled_file(inputs[0]))
        return open_images(inputs, options, source, fault);
    const std::string &path = inputs[0];
    switch (look_at_head(path)) {
    case file_kind::movie:
        return open_movie(path, options, source, fault);
    case file_kind::video:
        return open_video(path, options, source, fault);
    case file_kind::unclear:
        break;
    }
    const image_module *images = load_image_module();
    if (images == nullptr) {
        fault->clear();
        return -1;
    }
    if (has_image_extension(*images, path) || images->can_read(path.c_str()))
        return open_images(inputs, options, source, fault);
    return open_video(path, options, source, fault);
}

void report_source_fault(const std::string &fault) {
    if (!fault.empty())
        report("%s", fault.c_str());
}

} // namespace reel
