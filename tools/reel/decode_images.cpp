// Frames as image files, several at a time: which one is complete first makes no difference.
#include "tools/reel/decode_work.h"
#include "tools/reel/image_io.h"
#include "tools/reel/output_file.h"
#include "tools/reel/progress.h"
#include "tools/reel/report.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace reel {

namespace {

constexpr unsigned max_threads = 16; // each holds a picture in memory, and an open output

// What the threads share. What is not const is used under the mutex only.
struct image_writing {
    const decode_job &job;
    const image_module &images;
    const frame_pattern pattern;
    const bool numbered; // else there is one image, of the output's name
    std::mutex mutex;
    progress meter;
    std::int64_t next = 0;     // the position that the next thread takes
    std::int64_t left_out = 0; // frames
    bool failed = false;       // nothing further is written
};

// Says something between the lines of progress. By a holder of the mutex.
template <typename saying> void interrupt(image_writing &work, saying say) {
    clear_progress(work.meter);
    say();
}

// Creates the file. Returns 0, or -1 after a report.
int start_image(image_writing &work, const std::string &path, output_file &file) {
    const std::lock_guard hold(work.mutex);
    if (is_the_movie(work.job, path) || start_output(path, file) != 0) {
        leave_progress(work.meter);
        return -1;
    }
    return 0;
}

// Writes a picture under its name. Returns 0, or -1 after a report.
int write_image(image_writing &work, const shown_frame &shown, const std::string &path) {
    output_file file;
    if (start_image(work, path, file) != 0)
        return -1;
    std::string fault;
    if (work.images.write(file.temporary.c_str(), shown.buffer.words, work.job.width,
                          work.job.height, &fault) != 0) {
        const std::lock_guard hold(work.mutex);
        interrupt(work, [&] { report("%s: %s", path.c_str(), fault.c_str()); });
        return -1;
    }
    return finish_output(file, false);
}

// Takes the next frame. Returns false when there is none, or no use in it.
bool take_frame(image_writing &work, int *index) {
    const std::lock_guard hold(work.mutex);
    if (work.failed || work.next >= count_selected(work.job.chosen))
        return false;
    *index = frame_at(work.job, work.next++);
    return true;
}

void note_frame(image_writing &work, int index, const std::string &fault, bool written) {
    const std::lock_guard hold(work.mutex);
    if (!fault.empty()) {
        interrupt(work, [&] {
            report("%s: frame %d is left out: %s", work.job.options.file.c_str(), index,
                   fault.c_str());
        });
        ++work.left_out;
    }
    work.failed = work.failed || !written;
    if (written)
        step_progress(work.meter);
}

void write_frames(image_writing &work) {
    shown_frame shown;
    for (int index = 0; take_frame(work, &index);) {
        const std::string fault = show_frame(work.job.movie, index, shown);
        const bool written =
            !fault.empty() || write_image(work, shown,
                                          work.numbered ? format_frame_path(work.pattern, index)
                                                        : work.job.options.output) == 0;
        note_frame(work, index, fault, written);
    }
}

// A thread's work, which lets no exception out.
void run_thread(image_writing &work) {
    const char *fault = "there is not enough memory";
    try {
        write_frames(work);
        return;
    } catch (const std::bad_alloc &) {
    } catch (const std::exception &) {
        fault = "it cannot be written";
    }
    const std::lock_guard hold(work.mutex);
    interrupt(work, [&] { report("%s: %s", work.job.options.output.c_str(), fault); });
    work.failed = true;
}

void run_threads(image_writing &work) {
    const auto most =
        static_cast<unsigned>(std::min<std::int64_t>(count_selected(work.job.chosen), max_threads));
    const unsigned count = std::clamp(std::thread::hardware_concurrency(), 1U, most);
    std::vector<std::jthread> threads;
    for (unsigned i = 1; i < count; ++i)
        threads.emplace_back(run_thread, std::ref(work));
    run_thread(work);
}

} // namespace

int decode_to_images(const decode_job &job) {
    frame_pattern pattern;
    const char *output = job.options.output.c_str();
    const pattern_kind kind = parse_pattern(job.options.output, &pattern);
    const std::int64_t wanted = count_selected(job.chosen);
    if (kind == pattern_kind::unclear) {
        report("%s: there is more than one place for a frame number", output);
        return exit_misused;
    }
    if (kind == pattern_kind::plain && wanted > 1) {
        report("%s: several frames need a place for their number, such as name.####.png", output);
        return exit_misused;
    }
    const image_module *images = load_image_module();
    std::string fault;
    if (images == nullptr)
        return exit_failed;
    if (images->check_writer(output, &fault) != 0) {
        report("%s: %s", output, fault.c_str());
        return exit_failed;
    }
    image_writing work{job,     *images,
                       pattern, kind == pattern_kind::pattern,
                       {},      start_progress("decoding", wanted)};
    run_threads(work);
    clear_progress(work.meter);
    if (work.failed)
        return exit_failed;
    const double seconds = progress_seconds(work.meter);
    std::fprintf(stderr, "reel: %s: %lld images in %.1f s (%.1f frames/s), %lld left out\n", output,
                 static_cast<long long>(wanted - work.left_out), seconds,
                 seconds > 0 ? static_cast<double>(wanted) / seconds : 0,
                 static_cast<long long>(work.left_out));
    return work.left_out == 0 ? exit_good : exit_failed;
}

} // namespace reel
