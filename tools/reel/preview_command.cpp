#include "tools/reel/commands.h"
#include "tools/reel/encode.h"
#include "tools/reel/picture_edit.h"
#include "tools/reel/preview.h"
#include "tools/reel/report.h"

#include <memory>
#include <utility>

namespace reel {

namespace {

constexpr int most_grace_seconds = 3600;

// The command line as it is given.
struct preview_words {
    preview_options options;
    std::vector<std::string> unmarked; // what follows the frames, but no --
    bool is_watching = false;
    bool standard_input = false;
    raw_format format = raw_format::rgb24;
    std::optional<picture_size> size;
    int grace_seconds = 5;
};

// What is wrong with the words together; null when nothing is.
const char *find_preview_conflict(const preview_words &words) {
    if (words.standard_input) {
        const bool has_size =
            words.size.has_value() && words.size->width > 0 && words.size->height > 0;
        if (!words.options.input.empty() || !words.options.command.empty() || words.is_watching)
            return "--stdin takes the place of files and of a renderer's command";
        if (words.format != raw_format::y4m && !has_size)
            return "raw pixels need --size WxH, the size that they come in";
        return nullptr;
    }
    if (words.options.input.empty())
        return "which frames? Give a pattern, a folder or one frame";
    if (!words.unmarked.empty())
        return "one pattern, folder or frame stands for all frames; the renderer's command comes "
               "after --";
    if (words.is_watching && !words.options.command.empty())
        return "--watch takes no command";
    if (!words.is_watching && words.options.command.empty())
        return "what renders them? Give -- and its command, or --watch";
    return nullptr;
}

int run_preview_words(preview_words &words) {
    if (const char *conflict = find_preview_conflict(words)) {
        report("%s (reel preview --help tells more)", conflict);
        return exit_misused;
    }
    preview_options &options = words.options;
    if (words.standard_input) {
        options.pixels.standard_input = words.format;
        options.pixels.width = words.size.has_value() ? words.size->width : 0;
        options.pixels.height = words.size.has_value() ? words.size->height : 0;
    }
    options.grace.after_interrupt = std::chrono::seconds(words.grace_seconds);
    return run_preview(options);
}

void add_input_options(CLI::App &app, preview_words &words) {
    app.add_option("input", words.options.input,
                   "The frames that come: a pattern (shot####.png, shot.%04d.exr), a folder or one "
                   "frame of the sequence")
        ->type_name("FRAMES");
    // Told here, but taken off the words before they are parsed: there is none without the mark.
    app.add_option("command", words.unmarked, "The renderer's command, after --")
        ->type_name("-- COMMAND");
    app.add_flag("--watch", words.is_watching, "Start nothing: the renderer runs already");
    app.add_flag("--keep-old", words.options.keep_old,
                 "Files that are there already are frames, too");
    app.add_flag("--stdin", words.standard_input,
                 "Frames come as pixels on standard input, in the order of their numbers");
    add_format_option(
        app, words.format,
        "What comes on standard input (default: rgb24); y4m tells its own size and rate");
    app.add_option_function<std::string>(
           "--size",
           [&words](const std::string &text) {
               if (parse_size(text, &words.size) != 0)
                   throw CLI::ValidationError("--size", "\"" + text + "\" is not WxH");
           },
           "The size of raw pixels")
        ->type_name("WxH");
}

void add_window_options(CLI::App &app, preview_words &words) {
    preview_options &options = words.options;
    app.add_flag("--render", options.is_render,
                 "The window of a final render: frames are shown, there is no flip-book");
    app.add_flag("--no-window", options.without_window,
                 "No window: progress is a line on the terminal");
    app.add_option(
           "--player", options.player,
           "The player (default: what REEL_PLAYER says, the one beside reel, or along PATH)")
        ->type_name("PROGRAM");
    app.add_option_function<int>(
           "--fps", [&options](int rate) { options.rate = rate; },
           "Frames per second of the flip-book (default: " + std::to_string(default_rate) + ")")
        ->check(whole_number(1, max_rate));
    app.add_option("--threshold", options.threshold,
                   "Luminance spread, 0 to 255, above which a block is stored in detail; -1: every "
                   "block")
        ->check(whole_number(min_threshold, max_threshold))
        ->capture_default_str();
    app.add_option("-o,--output", options.output, "A movie to keep of what was rendered")
        ->type_name("OUT.reel");
    app.add_option("--grace", words.grace_seconds,
                   "Seconds that a cancelled renderer has to end by itself")
        ->check(whole_number(0, most_grace_seconds))
        ->capture_default_str();
}

} // namespace

command_runner describe_preview(CLI::App &app, std::vector<std::string> renderer) {
    const auto words = std::make_shared<preview_words>();
    words->options.command = std::move(renderer);
    words->options.threshold = default_threshold;
    add_input_options(app, *words);
    add_frames_option(app, words->options.frames,
                      "The frames that there will be (default: what the command line of Blender or "
                      "POV-Ray says)");
    add_window_options(app, *words);
    app.footer("Example:\n"
               "  reel preview --frames 1-48 'out/shot####.png' -- povray scene.ini\n"
               "  reel preview --watch 'out/####.exr' --frames 1-250\n"
               "  render | reel preview --stdin --size 640x360 --frames 1-100\n"
               "\n"
               "Exit status: the renderer's own (128 + n for signal n); 3 when its user cancelled; "
               "4 when\n"
               "it ended well but frames are missing.");
    return [words] { return run_preview_words(*words); };
}

} // namespace reel
