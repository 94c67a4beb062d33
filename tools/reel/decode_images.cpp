// Frames as image files, several at a time: which one is complete first makes no difference.
#include "tools/reel/decode_work.h"
#include "tools/reel/image_io.h"
#include "tools/reel/output_file.h"
#include "tools/reel/parallel.h"
#include "tools/reel/progress.h"
#include "tools/reel/report.h"

#include <algorithm>
#include <exception>
#include <mutex>

namespace reel {

namespace {

static_assert(max_workers <= max_open_outputs);

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

// Reports the file that ends the run: of several that fail at once the first one.
void report_failure(image_writing &work, const std::string &path, const std::string &fault) {
    const std::lock_guard hold(work.mutex);
    clear_progress(work.meter);
    if (!work.failed)
        report("%s: %s", path.c_str(), fault.c_str());
    work.failed = true;
}

// Creates the file. Returns 0, or -1 after a report, which may have been another thread's.
int start_image(image_writing &work, const std::string &path, output_file &file) {
    const std::lock_guard hold(work.mutex);
    if (work.failed)
        return -1;
    work.failed = start_output(path, file) != 0;
    if (work.failed)
        leave_progress(work.meter);
    return work.failed ? -1 : 0;
}

std::string image_path(const image_writing &work, int index) {
    return work.numbered ? format_frame_path(work.pattern, index) : work.job.options.output;
}

// Whether an image would replace the movie. Looked at before anything is written.
bool would_replace_movie(const image_writing &work) {
    for (std::int64_t place = 0; place < count_selected(work.job.chosen); ++place)
        if (is_the_movie(work.job, image_path(work, frame_at(work.job, place))))
            return true;
    return false;
}

// Writes a picture under its name. Returns 0, or -1 after a report.
int write_image(image_writing &work, const shown_frame &shown, const std::string &path) {
    output_file file;
    if (start_image(work, path, file) != 0)
        return -1;
    std::string fault;
    if (work.images.write(file.temporary.c_str(), shown.buffer.words, work.job.width,
                          work.job.height, &fault) != 0) {
        report_failure(work, path, fault);
        return -1;
    }
    if (finish_output(file, false) == 0)
        return 0;
    const std::lock_guard hold(work.mutex);
    leave_progress(work.meter);
    work.failed = true;
    return -1;
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
        clear_progress(work.meter);
        report("%s: frame %d is left out: %s", work.job.options.file.c_str(), index, fault.c_str());
        ++work.left_out;
    }
    if (written)
        step_progress(work.meter);
}

void write_frames(image_writing &work) {
    shown_frame shown;
    for (int index = 0; take_frame(work, &index);) {
        const std::string fault = show_frame(work.job.movie, index, shown);
        const bool written =
            !fault.empty() || write_image(work, shown, image_path(work, index)) == 0;
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
    report_failure(work, work.job.options.output, fault);
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
    if (would_replace_movie(work)) {
        clear_progress(work.meter);
        return exit_failed;
    }
    run_parallel(static_cast<int>(std::min<std::int64_t>(wanted, max_workers)),
                 [&](int) { run_thread(work); });
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
