// The reel command: movies from image files, and back.
#include "tools/reel/decode.h"
#include "tools/reel/encode.h"
#include "tools/reel/info.h"
#include "tools/reel/output_file.h"
#include "tools/reel/report.h"
#include "tools/reel/verify.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <cstdio>
#include <exception>
#include <new>
#include <string>

namespace {

// What the commands are asked to do; each describes and fills its own.
struct command_options {
    reel::encode_options encode;
    reel::info_options info;
    reel::verify_options verify;
    reel::decode_options decode;
};

void add_frames_option(CLI::App &app, std::optional<reel::frame_range> &frames,
                       const char *meaning) {
    const auto read = [&frames](const std::string &text) {
        reel::frame_range range;
        if (reel::parse_frame_range(text, &range) != 0)
            throw CLI::ValidationError("--frames", "\"" + text +
                                                       "\" is not A-B or A, with A "
                                                       "not above B");
        frames = range;
    };
    app.add_option_function<std::string>("--frames", read, meaning)->type_name("A-B");
}

// Accepts whole numbers from lowest to highest.
CLI::Validator whole_number(int lowest, int highest) {
    const auto fault_of = [lowest, highest](const std::string &text) -> std::string {
        int value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error == std::errc() && end == text.data() + text.size() && value >= lowest &&
            value <= highest)
            return "";
        return "\"" + text + "\" is not a whole number from " + std::to_string(lowest) + " to " +
               std::to_string(highest);
    };
    return {fault_of, std::to_string(lowest) + " to " + std::to_string(highest)};
}

void describe_encode(CLI::App &app, command_options &options) {
    reel::encode_options &encode = options.encode;
    app.add_option("input", encode.inputs,
                   "Image files, a folder, one frame of a numbered sequence, or a pattern "
                   "(shot.####.exr, shot.%04d.png, shot.@@@@.tif)")
        ->required()
        ->type_name("INPUT");
    app.add_option("-o,--output", encode.output, "The movie to make")
        ->required()
        ->type_name("OUT.reel");
    app.add_option("--fps", encode.rate, "Frames per second")
        ->check(whole_number(1, reel::max_rate))
        ->capture_default_str();
    app.add_option("--threshold", encode.threshold,
                   "Luminance spread, 0 to 255, above which a block is stored in detail; "
                   "-1: every block")
        ->check(whole_number(reel::min_threshold, reel::max_threshold))
        ->capture_default_str();
    add_frames_option(app, encode.frames,
                      "Only these frames: the numbers in the names of a sequence, else positions "
                      "from 0");
    app.footer("Example:\n  reel encode --fps 25 -o shot.reel frames/shot.####.exr");
}

void describe_info(CLI::App &app, command_options &options) {
    app.add_option("file", options.info.files, "Movies")->required()->type_name("FILE");
    app.add_flag("--json", options.info.json, "Write a JSON array, an object for each movie");
    app.footer("Example:\n  reel info shot.reel");
}

void describe_verify(CLI::App &app, command_options &options) {
    app.add_option("file", options.verify.files, "Movies")->required()->type_name("FILE");
    app.footer("Example:\n  reel verify *.reel");
}

void describe_decode(CLI::App &app, command_options &options) {
    reel::decode_options &decode = options.decode;
    app.add_option("file", decode.file, "The movie")->required()->type_name("FILE");
    app.add_option("-o,--output", decode.output,
                   "Image files to write, with a place for the frame number (####, %04d, @@@@); "
                   "the extension tells the format")
        ->required()
        ->type_name("PATTERN");
    add_frames_option(app, decode.frames, "Only these frames, counted from 0");
    app.footer("Example:\n  reel decode shot.reel -o frames/shot.####.png --frames 0-23");
}

struct command {
    const char *name;
    const char *purpose;
    void (*describe)(CLI::App &app, command_options &options);
    int (*run)(const command_options &options);
};

constexpr command commands[] = {
    {"encode", "Make a movie from image files", describe_encode,
     [](const command_options &options) { return reel::run_encode(options.encode); }},
    {"info", "Tell what movies are like", describe_info,
     [](const command_options &options) { return reel::run_info(options.info); }},
    {"verify", "Decode every frame and say what is wrong", describe_verify,
     [](const command_options &options) { return reel::run_verify(options.verify); }},
    {"decode", "Write the frames of a movie as image files", describe_decode,
     [](const command_options &options) { return reel::run_decode(options.decode); }},
};

int run_command_line(int argc, char **argv) {
    CLI::App app("Makes movies for the Player Tool from image files, and looks into them.", "reel");
    command_options options;
    app.set_version_flag("--version", "reel " REEL_VERSION);
    app.require_subcommand(1);
    app.footer("reel COMMAND --help tells more, with an example.");
    for (const command &each : commands)
        each.describe(*app.add_subcommand(each.name, each.purpose), options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &request) { // help or version
        return app.exit(request);
    } catch (const CLI::ParseError &error) {
        const auto chosen = app.get_subcommands();
        reel::report("%s (%s --help tells more)", error.what(),
                     chosen.empty() ? "reel" : ("reel " + chosen[0]->get_name()).c_str());
        return reel::exit_misused;
    }
    for (const command &each : commands)
        if (app.got_subcommand(each.name))
            return each.run(options);
    return reel::exit_misused;
}

} // namespace

int main(int argc, char **argv) {
    reel::catch_signals();
    int status = reel::exit_failed;
    try {
        status = run_command_line(argc, argv);
    } catch (const std::bad_alloc &) {
        reel::report("there is not enough memory");
    } catch (const std::exception &error) {
        reel::report("%s", error.what());
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        reel::report("standard output cannot be written");
        return reel::exit_failed;
    }
    return status;
}
