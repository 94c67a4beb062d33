#include "tools/reel/commands.h"
#include "tools/reel/encode.h"
#include "tools/reel/report.h"

#include <memory>

namespace reel {

namespace {

constexpr int most_command_threads = 64;

// The command line as it is given.
struct encode_words {
    encode_options options;
    bool standard_input = false;
    raw_format format = raw_format::none;
    std::optional<picture_size> size;
    int rate = 0;
    int threshold = 0;
};

bool is_raw(const encode_words &words) {
    return words.standard_input && words.format != raw_format::y4m;
}

// What is wrong with the options together; null when nothing is.
const char *find_conflict(const encode_words &words) {
    const bool has_inputs = !words.options.inputs.empty();
    if (!words.standard_input && words.format != raw_format::none)
        return "--format needs --stdin";
    if (!words.standard_input && !has_inputs)
        return "input is required";
    if (words.standard_input && has_inputs)
        return "--stdin takes the place of input files";
    if (words.standard_input && words.format == raw_format::none)
        return "--stdin needs --format";
    if (is_raw(words) &&
        (!words.size.has_value() || words.size->width < 1 || words.size->height < 1))
        return "raw pixels need --size WxH, the size that they come in";
    if (!is_raw(words) && words.size.has_value() && words.options.edit.scale.has_value())
        return "--size and --scale exclude each other";
    return nullptr;
}

int run_words(encode_words &words) {
    if (const char *conflict = find_conflict(words)) {
        report("%s (reel encode --help tells more)", conflict);
        return exit_misused;
    }
    encode_options &options = words.options;
    options.source.standard_input = words.format;
    if (is_raw(words)) {
        options.source.width = words.size->width;
        options.source.height = words.size->height;
    } else {
        options.edit.size = words.size;
    }
    return run_encode(options);
}

// An option whose text `parse` reads into `value`.
template <typename parsed>
CLI::Option &add_text_option(CLI::App &app, const std::string &name, std::optional<parsed> &value,
                             int (*parse)(std::string_view text, std::optional<parsed> *value),
                             const char *form, const std::string &meaning) {
    const auto read = [&value, parse, name, form](const std::string &text) {
        if (parse(text, &value) != 0)
            throw CLI::ValidationError(name, "\"" + text + "\" is not " + form);
    };
    return *app.add_option_function<std::string>(name, read, meaning);
}

void add_picture_options(CLI::App &app, encode_words &words) {
    picture_edit &edit = words.options.edit;
    add_text_option(app, "--crop", edit.crop, parse_crop,
                    "WxH+X+Y, a width, a height and the part's left and top edge",
                    "Only this part of the pictures: a width and a height, and how far its corner "
                    "is from their top left one. Cut before scaling")
        .type_name("WxH+X+Y");
    add_text_option(app, "--size", words.size, parse_size, "WxH, with one side above 0",
                    "Scale the pictures to this size. A side of 0 follows from the other one, as "
                    "the nearest multiple of 4. With --stdin and raw pixels: the size that they "
                    "come in")
        .type_name("WxH");
    add_text_option(app, "--scale", edit.scale, parse_scale, "a percentage or a factor above 0",
                    "Scale the pictures by a percentage or a factor (50%, 0.5); their sides become "
                    "the nearest multiples of 4")
        .type_name("FACTOR");
    app.add_flag("--raw", words.options.source.raw_values,
                 "Take the values of linear files (EXR, HDR) as they are, instead of turning light "
                 "into display colours");
}

void add_movie_options(CLI::App &app, encode_words &words) {
    encode_options &options = words.options;
    app.add_option("-o,--output", options.output, "The movie to make")
        ->required()
        ->type_name("OUT.reel");
    app.add_option_function<int>(
           "--fps", [&options](int rate) { options.rate = rate; },
           "Frames per second (default: the video's, rounded, else " +
               std::to_string(default_rate) + ")")
        ->check(whole_number(1, max_rate));
    app.add_option_function<int>(
           "--threshold", [&options](int threshold) { options.threshold = threshold; },
           "Luminance spread, 0 to 255, above which a block is stored in detail; -1: every block "
           "(default: " +
               std::to_string(default_threshold) + ")")
        ->check(whole_number(min_threshold, max_threshold));
    app.add_option("--threads", options.threads,
                   "Compress on so many threads (default: as many as there are processors)")
        ->check(whole_number(1, most_command_threads));
}

} // namespace

command_runner describe_encode(CLI::App &app) {
    const auto words = std::make_shared<encode_words>();
    app.add_option("input", words->options.inputs,
                   "Image files, a folder, one frame of a numbered sequence, a pattern "
                   "(shot.####.exr, shot.%04d.png, shot.@@@@.tif), a video or a movie")
        ->type_name("INPUT");
    add_movie_options(app, *words);
    add_frames_option(app, words->options.source.frames,
                      "Only these frames: the numbers in the names of a sequence, else positions "
                      "from 0");
    add_picture_options(app, *words);
    app.add_flag("--stdin", words->standard_input,
                 "Read pixels from standard input: frame after frame, rows from the top down, "
                 "nothing between them");
    add_format_option(app, words->format,
                      "What comes on standard input; y4m tells its own size and rate");
    app.footer("Example:\n"
               "  reel encode --fps 25 -o shot.reel frames/shot.####.exr\n"
               "  reel encode --size 1280x0 -o film.reel film.mp4\n"
               "  render | reel encode --stdin --size 1920x1080 --format rgba -o shot.reel\n"
               "\n"
               "What is compressed as a movie already (another movie, an AVI from reel decode) is\n"
               "copied without change unless --size, --scale, --crop or --threshold asks for one.");
    return [words] { return run_words(*words); };
}

} // namespace reel
