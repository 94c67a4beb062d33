#include "tools/reel/command_line.h"

#include "tools/reel/commands.h"
#include "tools/reel/output_file.h"
#include "tools/reel/report.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <new>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>

namespace reel {

namespace {

using program_words = std::vector<std::string>;

struct command {
    const char *name;
    const char *purpose;
    std::function<command_runner(CLI::App &app)> describe;
};

std::vector<command> list_commands(const program_words &renderer) {
    return {
        {"encode", "Make a movie from images, a video, raw pixels or another movie",
         describe_encode},
        {"decode", "Write a movie as images or as a video", describe_decode},
        {"join", "Make one movie of several, without compressing again", describe_join},
        {"cut", "Take frames out of a movie, without compressing again", describe_cut},
        {"compare", "Tell how much two movies differ", describe_compare},
        {"sheet", "Make a contact sheet of a movie", describe_sheet},
        {"info", "Tell what movies are like", describe_info},
        {"preview", "Watch a renderer's frames in the player while they are made",
         [&renderer](CLI::App &app) { return describe_preview(app, renderer); }},
        {"verify", "Decode every frame and say what is wrong", describe_verify},
    };
}

// Gives the standard streams a number each, where whoever started the program closed them: the next
// file to be opened would have it, and messages would go into a movie. What is written there fails,
// as before; standard input is empty.
void hold_closed_streams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) >= 0)
            continue;
        const int file = ::open("/dev/null", O_RDONLY);
        if (file < 0 || file == stream)
            continue;
        (void)::dup2(file, stream);
        ::close(file);
    }
}

// Takes a renderer's command, after "--", off the words: nothing is to be read into them. (Parsed as
// ours, "[out]" would be taken for a list.)
program_words take_renderer(int *argc, char **argv) {
    const std::string_view mark = "--";
    char **const end = argv + *argc;
    if (*argc < 2 || argv[1] != std::string_view("preview"))
        return {};
    char **const found = std::find(argv + 2, end, mark);
    *argc = static_cast<int>(found - argv);
    return {std::min(found + 1, end), end};
}

int do_command(int argc, char **argv) {
    const program_words renderer = take_renderer(&argc, argv);
    CLI::App app("Makes movies for the Player Tool, and looks into them.", "reel");
    app.set_version_flag("--version", "reel " REEL_VERSION);
    app.require_subcommand(1);
    app.footer("reel COMMAND --help tells more, with an example.");
    std::vector<std::pair<const CLI::App *, command_runner>> runners;
    for (const command &each : list_commands(renderer)) {
        CLI::App &described = *app.add_subcommand(each.name, each.purpose);
        runners.emplace_back(&described, each.describe(described));
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &request) { // help or version
        return app.exit(request);
    } catch (const CLI::ParseError &error) {
        const auto chosen = app.get_subcommands();
        report("%s (%s --help tells more)", error.what(),
               chosen.empty() ? "reel" : ("reel " + chosen[0]->get_name()).c_str());
        return exit_misused;
    }
    for (const auto &[described, run] : runners)
        if (described->parsed())
            return run();
    return exit_misused;
}

} // namespace

int run_command_line(int argc, char **argv) {
    hold_closed_streams();
    catch_signals();
    int status = exit_failed;
    try {
        status = do_command(argc, argv);
    } catch (const std::bad_alloc &) {
        report("there is not enough memory");
    } catch (const std::exception &error) {
        report("%s", error.what());
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        report("standard output cannot be written");
        return exit_failed;
    }
    return status;
}

} // namespace reel
