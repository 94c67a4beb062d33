#include "tools/reel/preview.h"

#include "tools/reel/encode.h"
#include "tools/reel/frame_watch.h"
#include "tools/reel/kept_movie.h"
#include "tools/reel/picture_edit.h"
#include "tools/reel/preview_loader.h"
#include "tools/reel/preview_view.h"
#include "tools/reel/progress.h"
#include "tools/reel/renderer_range.h"
#include "tools/reel/report.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <map>
#include <poll.h>
#include <set>
#include <sys/signalfd.h>
#include <unistd.h>

namespace reel {

namespace {

constexpr std::size_t most_asked = 2; // frames at a time in the loader
constexpr int player_limit_ms = 5000; // for the last frame, or for the player to end
constexpr int reader_limit_ms = 1000; // for who reads our messages to take one
constexpr int signal_status = 128;    // exit status of who ended by a signal, and its number
constexpr int line_period_ms = 1000;  // of the line on the terminal: the time to go changes

struct preview_run {
    const preview_options &options;
    frame_selection range;
    int rate = 0;
    watched_frames frames;
    frame_watch watch;
    renderer_process renderer;
    frame_source source; // of pixels
    preview_loader loader;
    preview_view view;
    kept_movie kept;
    progress meter; // while there is no window
    bool has_window = false;
    std::map<std::int64_t, std::string> candidates; // paths of frames to be read
    std::multiset<std::int64_t> asked;              // frames that the loader has
    std::set<std::int64_t> have;
    bool has_picture = false;
    bool is_input_over = false; // nothing more is written
    bool is_cancelled = false;
    bool has_kept_failed = false;
    bool has_told_outside = false;
    bool has_told_frames = false; // which files of a folder are frames
    bool has_told_size = false;
    std::chrono::steady_clock::time_point paused_at; // the clock's begin: not paused
    int signal = 0;                                  // that asked us to end
    int signal_fd = -1;

    explicit preview_run(const preview_options &given) : options(given) {}
    preview_run(const preview_run &) = delete;
    preview_run &operator=(const preview_run &) = delete;
    ~preview_run() {
        if (signal_fd >= 0)
            close(signal_fd);
    }
    [[nodiscard]] bool has_renderer() const { return !options.command.empty(); }
    [[nodiscard]] bool has_pixels() const {
        return options.pixels.standard_input != raw_format::none;
    }
    [[nodiscard]] bool is_ending() const { return is_cancelled || signal != 0; }
    [[nodiscard]] bool is_watching() const { return !has_pixels() && !is_input_over; }
    // Whether progress is a line on the terminal.
    [[nodiscard]] bool has_line() const {
        return meter.terminal && !has_window && meter.done > 0 && meter.done < meter.total;
    }
};

// --- what is to come -----------------------------------------------------------------------------

std::string range_text(const frame_selection &range) {
    std::string text = std::to_string(range.range.first) + "-" + std::to_string(range.range.last);
    if (range.step != 1)
        text += "x" + std::to_string(range.step);
    return text;
}

int find_range(preview_run &run) {
    std::string how = "--frames";
    if (run.options.frames.has_value()) {
        run.range = *run.options.frames;
    } else if (!run.has_renderer() ||
               read_renderer_range(run.options.command, &run.range, &how) != 0) {
        report("it is not known which frames there will be: --frames A-B tells");
        return -1;
    }
    const std::string what = run.has_pixels() ? "standard input" : run.frames.description;
    report("preview of %s, frames %s (%lld, from %s)", what.c_str(), range_text(run.range).c_str(),
           static_cast<long long>(count_selected(run.range)), how.c_str());
    return 0;
}

// May wait for what tells the pixels' size.
int open_pixels(preview_run &run, std::string *fault) {
    if (open_source({}, run.options.pixels, run.source, fault) != 0)
        return -1;
    if (run.source.rate.has_value() && !run.options.rate.has_value())
        run.rate = nearest_rate(*run.source.rate);
    return 0;
}

// Who joins a rendering late may wait for them for ever.
void tell_old_frames(const preview_run &run) {
    const auto old = std::count_if(run.watch.files.begin(), run.watch.files.end(),
                                   [](const auto &entry) { return entry.second.is_old; });
    if (old > 0)
        report_note("files from before: %lld; they count when they are written again, or with "
                    "--keep-old",
                    static_cast<long long>(old));
}

int open_input(preview_run &run, std::string *fault) {
    if (run.has_pixels())
        return start_loader(run.loader, nullptr, &run.source, fault);
    const image_module *images = load_image_module();
    if (images == nullptr)
        return -1;
    watch_options options;
    options.extensions = images->extensions();
    options.keep_old = run.options.keep_old;
    if (start_watch(run.frames, options, run.watch, fault) != 0)
        return -1;
    tell_old_frames(run);
    return start_loader(run.loader, images, nullptr, fault);
}

// Our own signals come through a descriptor from here on, even those that are ignored; before any
// thread is started. Whoever has us ignore a hang-up (nohup) wants the rendering to go on. Interrupts
// are ignored by all that a script starts in the background: one that comes is meant.
int take_signals(preview_run &run, std::string *fault) {
    sigset_t taken;
    sigemptyset(&taken);
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&taken, number);
    struct sigaction hang_up {};
    if (sigaction(SIGHUP, nullptr, &hang_up) == 0 && hang_up.sa_handler == SIG_IGN)
        sigdelset(&taken, SIGHUP);
    sigprocmask(SIG_BLOCK, &taken, nullptr);
    run.signal_fd = signalfd(-1, &taken, SFD_CLOEXEC | SFD_NONBLOCK);
    if (run.signal_fd < 0)
        *fault = std::strerror(errno);
    return run.signal_fd < 0 ? -1 : 0;
}

int start_run(preview_run &run) {
    std::string fault;
    // Who stops reading our messages neither ends the rendering nor holds it up.
    std::signal(SIGPIPE, SIG_IGN);
    limit_report_wait(reader_limit_ms);
    run.rate = run.options.rate.value_or(default_rate);
    if (!run.has_pixels() && understand_frames(run.options.input, run.frames, &fault) != 0) {
        report("%s", fault.c_str());
        return exit_misused;
    }
    if (find_range(run) != 0)
        return exit_misused;
    if (!run.options.output.empty() && claim_kept_movie(run.options.output, run.kept) != 0)
        return exit_failed;
    if ((run.has_pixels() && open_pixels(run, &fault) != 0) || take_signals(run, &fault) != 0 ||
        open_input(run, &fault) != 0) {
        report_source_fault(fault);
        return exit_failed;
    }
    run.renderer.grace = run.options.grace;
    if (run.has_renderer() && start_renderer(run.options.command, run.renderer, &fault) != 0) {
        report("%s", fault.c_str());
        return exit_failed;
    }
    run.meter = start_progress("rendering", count_selected(run.range));
    return exit_good;
}

// --- frames --------------------------------------------------------------------------------------

std::int64_t index_of(const preview_run &run, std::int64_t number) {
    return (number - run.range.range.first) / run.range.step;
}

// What a folder's first frame has told, and what is left out of it.
void tell_notes(preview_run &run) {
    if (run.frames.is_folder && run.watch.frames.known && !run.has_told_frames) {
        run.has_told_frames = true;
        run.watch.notes.insert(run.watch.notes.begin(),
                               "the frames are " + run.watch.frames.description);
    }
    for (const std::string &note : run.watch.notes)
        report_note("%s", note.c_str());
    run.watch.notes.clear();
}

void add_candidates(preview_run &run, const std::vector<frame_file> &files) {
    tell_notes(run);
    for (const frame_file &file : files) {
        if (is_selected(run.range, file.number)) {
            run.candidates[file.number] = file.path;
        } else if (!run.has_told_outside) {
            run.has_told_outside = true;
            report_note("%s: its frame is not one of %s", file.path.c_str(),
                        range_text(run.range).c_str());
        }
    }
}

void ask_frames(preview_run &run) {
    while (!run.is_ending() && has_view_room(run.view) && count_asked(run.loader) < most_asked) {
        if (run.has_pixels()) {
            const auto next = static_cast<std::int64_t>(run.have.size() + count_asked(run.loader));
            if (run.is_input_over || next >= count_selected(run.range))
                return;
            ask_frame(run.loader, {run.range.range.first + next * run.range.step, ""});
        } else if (!run.candidates.empty()) {
            const auto first = run.candidates.begin();
            run.asked.insert(first->first);
            ask_frame(run.loader, {first->first, first->second});
            run.candidates.erase(first);
        } else {
            return;
        }
    }
}

// With the first picture its size is known: the window opens, and the movie begins.
void begin_showing(preview_run &run, const image_buffer &picture) {
    run.has_picture = true;
    const preview_options &options = run.options;
    if (!options.output.empty())
        run.has_kept_failed = start_kept_movie({picture.width, picture.height, run.rate,
                                                options.threshold, count_selected(run.range)},
                                               run.kept) != 0;
    if (options.without_window)
        return;
    const view_settings settings{options.is_render, run.range, run.rate, options.threshold,
                                 options.player};
    run.has_window = open_view(run.view, settings, picture.width, picture.height) == 0;
    if (!run.has_window)
        report_note("there is no window (%s); the rendering goes on", run.view.text.c_str());
}

// The window shows it, or else a line.
void count_frame(preview_run &run) {
    if (run.has_window)
        ++run.meter.done;
    else
        step_progress(run.meter);
}

void take_picture(preview_run &run, loaded_frame &frame) {
    image_buffer &picture = frame.picture;
    if (!run.has_picture)
        begin_showing(run, picture);
    if (frame.own_width != picture.width || frame.own_height != picture.height) {
        if (!run.has_told_size)
            report_note("frame %lld has %s pixels; such frames are fitted into %s",
                        static_cast<long long>(frame.number),
                        size_text(frame.own_width, frame.own_height).c_str(),
                        size_text(picture.width, picture.height).c_str());
        run.has_told_size = true;
    }
    if (run.have.insert(frame.number).second)
        count_frame(run);
    if (run.kept.is_open && keep_frame(run.kept, index_of(run, frame.number), picture.words) != 0)
        run.has_kept_failed = true;
    show_frame(run.view, frame.number, std::move(picture.words));
}

// Whether a newer version of a frame is on its way.
bool is_replaced(const preview_run &run, std::int64_t number) {
    return run.candidates.contains(number) || run.asked.contains(number);
}

void take_frames(preview_run &run) {
    loaded_frame frame;
    while (take_loaded(run.loader, frame)) {
        if (const auto asked = run.asked.find(frame.number); asked != run.asked.end())
            run.asked.erase(asked);
        if (frame.result == read_result::got) {
            take_picture(run, frame);
        } else if (run.has_pixels()) {
            // What was asked for after it fails for the same reason.
            if (frame.result == read_result::failed && !run.is_input_over)
                report_source_fault(frame.fault);
            run.is_input_over = true;
        } else if (is_replaced(run, frame.number)) {
            continue;
        } else if (run.is_input_over) {
            report("%s: %s", frame.path.c_str(), frame.fault.c_str());
        } else {
            retry_frame(run.watch, frame.number);
        }
    }
}

// --- the user ------------------------------------------------------------------------------------

void pause(preview_run &run) {
    run.paused_at = std::chrono::steady_clock::now();
    pause_renderer(run.renderer);
}

// The time to go leaves the pause out of account.
void resume(preview_run &run) {
    if (run.paused_at != std::chrono::steady_clock::time_point())
        run.meter.started += std::chrono::steady_clock::now() - run.paused_at;
    run.paused_at = {};
    continue_renderer(run.renderer);
}

void lose_window(preview_run &run) {
    run.has_window = false;
    resume(run);
}

void heed_user(preview_run &run) {
    if (run.is_ending()) // which is told again and again
        return;
    switch (look_at_view(run.view)) {
    case view_news::none:
        break;
    case view_news::paused:
        report_note(run.has_renderer() ? "paused: the renderer is stopped"
                                       : "paused: what renders is not ours to stop");
        pause(run);
        break;
    case view_news::resumed:
        report_note("the rendering goes on");
        resume(run);
        break;
    case view_news::cancelled:
        report_note("cancelled");
        run.is_cancelled = true;
        end_renderer(run.renderer);
        break;
    case view_news::closed:
    case view_news::lost:
        report_note("the window is gone (%s); the rendering goes on", run.view.text.c_str());
        lose_window(run);
        break;
    case view_news::finished:
        lose_window(run);
        break;
    }
}

void take_own_signals(preview_run &run) {
    signalfd_siginfo info{};
    while (read(run.signal_fd, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
        if (run.has_renderer() && !run.is_ending())
            report_note("the renderer is asked to end; once more does not wait for it");
        run.signal = static_cast<int>(info.ssi_signo);
        end_renderer(run.renderer);
    }
}

// --- the loop ------------------------------------------------------------------------------------

bool is_renderer_done(const preview_run &run) {
    const auto &fds = run.renderer.output_fds;
    return !run.renderer.is_running && fds[0] < 0 && fds[1] < 0;
}

bool has_nothing_left(preview_run &run) {
    return run.candidates.empty() && count_asked(run.loader) == 0;
}

// Notes that nothing more will be written.
void note_end_of_input(preview_run &run) {
    if (run.is_input_over)
        return;
    const bool has_all = run.have.size() == static_cast<std::size_t>(count_selected(run.range));
    if (run.has_renderer() ? !is_renderer_done(run) : !has_all)
        return;
    run.is_input_over = true;
    if (!run.has_pixels())
        add_candidates(run, last_frames(run.watch));
}

bool is_finished(preview_run &run) {
    if (run.is_ending())
        return !run.has_renderer() || is_renderer_done(run);
    if (!run.is_input_over || !has_nothing_left(run))
        return false;
    show_last_frame(run.view);
    return is_view_idle(run.view);
}

int shorter(int a, int b) {
    return a < 0 ? b : b < 0 ? a : std::min(a, b);
}

void wait_for_news(preview_run &run) {
    std::array<pollfd, 6> sources{};
    std::size_t count = 0;
    const int watch_fd = run.is_watching() ? run.watch.fd : -1;
    for (const int fd : {run.signal_fd, run.loader.fd, watch_fd, run.renderer.process_fd,
                         run.renderer.output_fds[0], run.renderer.output_fds[1]})
        sources[count++] = {fd, POLLIN, 0};
    int limit = view_wait_ms(run.view);
    if (run.is_watching())
        limit = shorter(limit, watch_wait_ms(run.watch));
    if (run.has_line())
        limit = shorter(limit, line_period_ms);
    if (run.has_renderer())
        limit = shorter(limit, renderer_wait_ms(run.renderer));
    poll(sources.data(), count, limit);
}

void run_loop(preview_run &run) {
    while (!is_finished(run)) {
        ask_frames(run);
        wait_for_news(run);
        clear_progress(run.meter); // what is said and passed on now stands above it
        take_own_signals(run);
        if (run.has_renderer())
            service_renderer(run.renderer);
        if (run.is_watching())
            add_candidates(run, changed_frames(run.watch));
        take_frames(run);
        heed_user(run);
        note_end_of_input(run);
        if (run.has_line() && !run.meter.visible)
            show_progress(run.meter);
    }
}

// --- the end -------------------------------------------------------------------------------------

void report_failed_renderer(const preview_run &run) {
    report("the renderer ended with status %d%s", run.renderer.exit_status,
           run.renderer.last_lines.empty() ? "" : "; its last lines:");
    for (const std::string &line : run.renderer.last_lines)
        std::fprintf(stderr, "    %s\n", line.c_str());
}

int exit_status(const preview_run &run) {
    if (run.is_cancelled)
        return exit_cancelled;
    if (run.signal != 0)
        return signal_status + run.signal;
    if (run.has_renderer() && run.renderer.exit_status != 0) {
        report_failed_renderer(run);
        return run.renderer.exit_status;
    }
    const std::vector<frame_range> missing = find_missing(run.range, run.have);
    if (!missing.empty()) {
        report("missing: %s", format_ranges(missing).c_str());
        return exit_missing;
    }
    return run.has_kept_failed ? exit_failed : exit_good;
}

int finish_run(preview_run &run) {
    clear_progress(run.meter);
    if (run.is_ending())
        end_view(run.view, player_limit_ms);
    else
        close_view(run.view, player_limit_ms);
    if (!run.has_pixels())
        stop_watch(run.watch);
    stop_loader(run.loader);
    if (run.kept.is_open && finish_kept_movie(run.kept) != 0)
        run.has_kept_failed = true;
    if (run.has_renderer()) {
        for (const pid_t process : surviving_processes(run.renderer))
            report_note("process %d of the renderer is still there", static_cast<int>(process));
        finish_renderer(run.renderer);
    }
    return exit_status(run);
}

} // namespace

int run_preview(const preview_options &options) {
    preview_run run(options);
    const int status = start_run(run);
    if (status != exit_good)
        return status;
    run_loop(run);
    return finish_run(run);
}

} // namespace reel
