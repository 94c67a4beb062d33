// The reel command: movies from images and videos, and back.
#include "tools/reel/commands.h"
#include "tools/reel/output_file.h"
#include "tools/reel/report.h"

#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <new>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

struct command {
    const char *name;
    const char *purpose;
    reel::command_runner (*describe)(CLI::App &app);
};

constexpr command commands[] = {
    {"encode", "Make a movie from images, a video, raw pixels or another movie",
     reel::describe_encode},
    {"decode", "Write a movie as images or as a video", reel::describe_decode},
    {"join", "Make one movie of several, without compressing again", reel::describe_join},
    {"cut", "Take frames out of a movie, without compressing again", reel::describe_cut},
    {"compare", "Tell how much two movies differ", reel::describe_compare},
    {"sheet", "Make a contact sheet of a movie", reel::describe_sheet},
    {"info", "Tell what movies are like", reel::describe_info},
    {"verify", "Decode every frame and say what is wrong", reel::describe_verify},
};

// Gives the streams that messages go to a number each, where whoever started the program closed
// them: the next file to be opened would have it, and the messages would go into a movie. What is
// written there fails, as before.
void hold_closed_streams() {
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) >= 0)
            continue;
        const int file = ::open("/dev/null", O_RDONLY);
        if (file < 0 || file == stream)
            continue;
        (void)::dup2(file, stream);
        ::close(file);
    }
}

int run_command_line(int argc, char **argv) {
    CLI::App app("Makes movies for the Player Tool, and looks into them.", "reel");
    app.set_version_flag("--version", "reel " REEL_VERSION);
    app.require_subcommand(1);
    app.footer("reel COMMAND --help tells more, with an example.");
    std::vector<std::pair<const CLI::App *, reel::command_runner>> runners;
    for (const command &each : commands) {
        CLI::App &described = *app.add_subcommand(each.name, each.purpose);
        runners.emplace_back(&described, each.describe(described));
    }
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
    for (const auto &[described, run] : runners)
        if (described->parsed())
            return run();
    return reel::exit_misused;
}

} // namespace

int main(int argc, char **argv) {
    hold_closed_streams();
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
