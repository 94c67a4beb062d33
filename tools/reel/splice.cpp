#include "tools/reel/splice.h"

#include "tools/reel/movie_writer.h"
#include "tools/reel/progress.h"
#include "tools/reel/reel_file.h"
#include "tools/reel/report.h"

#include <algorithm>
#include <cstdio>
#include <sys/stat.h>

namespace reel {

namespace {

constexpr std::int64_t table_entry_bytes = 4;

enum class frame_kind {
    shown,   // by the data of its source
    missing, // not written, or it repeats one that is not
    damaged,
};

std::vector<frame_kind> judge_frames(const reel_file &movie) {
    std::vector<frame_kind> kinds;
    kinds.reserve(movie.frames.size());
    for (const frame_entry &frame : movie.frames) {
        frame_kind kind = frame_kind::damaged;
        if (frame.state == frame_state::picture)
            kind = frame_kind::shown;
        else if (frame.state == frame_state::missing)
            kind = frame_kind::missing;
        else if (frame.state == frame_state::repeat && !kinds.empty())
            kind = kinds.back();
        kinds.push_back(kind);
    }
    return kinds;
}

// A part, looked at. Only one is open at a time: there may be more than a process may open.
struct open_part {
    reel_file movie;
    std::string name;
    std::vector<frame_kind> kinds;
    frame_selection chosen;
    std::vector<frame_range> missing; // frames that go without a picture
    std::vector<frame_range> damaged;
};

int open_splice_part(const splice_part &wanted, open_part &part) {
    part.name = wanted.file;
    if (open_reel(wanted.file, part.movie) != 0)
        return -1;
    const auto count = static_cast<std::int64_t>(part.movie.frames.size());
    part.kinds = judge_frames(part.movie);
    part.chosen = wanted.frames.value_or(frame_selection{{0, count - 1}, 1});
    if (count > 0 && part.chosen.range.first >= 0 && part.chosen.range.last < count)
        return 0;
    if (count == 0 && !wanted.frames.has_value())
        return 0; // nothing to take
    if (count == 0)
        report("%s: there are no frames in it", part.name.c_str());
    else
        report("%s: there are frames 0-%lld only", part.name.c_str(),
               static_cast<long long>(count - 1));
    return -1;
}

// Calls take(index) for each chosen frame until one returns other than 0; returns that, or 0.
template <typename procedure> int for_each_frame(const open_part &part, procedure take) {
    const frame_range &range = part.chosen.range;
    for (std::int64_t i = range.first; i <= range.last; i += part.chosen.step)
        if (const int result = take(static_cast<int>(i)); result != 0)
            return result;
    return 0;
}

// ---- Before anything is written ----------------------------------------------------------------

// What the result will be.
struct splice_plan {
    movie_settings settings; // the first part's
    std::int64_t bytes = movie::vf_header_bytes;
};

// Bytes of a picture's data that readers use.
std::int64_t used_bytes(const reel_file &movie, int source) {
    return std::min(movie.frames[static_cast<std::size_t>(source)].size,
                    static_cast<std::int64_t>(movie::vf_max_data_bytes(*movie.film)));
}

void count_frames(const open_part &part, splice_plan &plan) {
    int newest = -1; // source
    (void)for_each_frame(part, [&](int index) {
        const auto place = static_cast<std::size_t>(index);
        const bool shown = part.kinds[place] == frame_kind::shown;
        const int source = shown ? part.movie.frames[place].source : -1;
        plan.bytes += table_entry_bytes + (shown ? movie::vf_chunk_bytes : 0);
        plan.bytes += shown && source != newest ? used_bytes(part.movie, source) : 0;
        newest = source;
        ++plan.settings.count;
        return 0;
    });
}

// Says which frame is damaged and how, unless damage is allowed. Returns 0 or -1.
int refuse_damage(const open_part &part, const splice_options &options) {
    if (options.keep_going)
        return 0;
    return for_each_frame(part, [&part](int index) {
        if (part.kinds[static_cast<std::size_t>(index)] != frame_kind::damaged)
            return 0;
        report("%s: frame %d is damaged: %s (--keep-going makes it a missing frame)",
               part.name.c_str(), index, describe_fault(part.movie, index).c_str());
        return -1;
    });
}

// Compares a part with the first one. Returns 0, or -1 after a report.
int compare_part(const open_part &part, const std::string &first, const splice_options &options,
                 const movie_settings &settings) {
    const movie::vf_movie &film = *part.movie.film;
    if (coded_side(film.width) != settings.width || coded_side(film.height) != settings.height) {
        report("%s: it is %dx%d, but %s is %dx%d", part.name.c_str(), film.width, film.height,
               first.c_str(), settings.width, settings.height);
        return -1;
    }
    if (film.rate != settings.rate && !options.rate.has_value())
        report_note("%s: it has %d frames/s; the result gets those of %s, %d (--fps sets others)",
                    part.name.c_str(), film.rate, first.c_str(), settings.rate);
    if (film.threshold != settings.threshold)
        report_note("%s: its threshold is %d; the result tells that of %s, %d", part.name.c_str(),
                    film.threshold, first.c_str(), settings.threshold);
    return 0;
}

int plan_splice(const std::vector<splice_part> &parts, const splice_options &options,
                splice_plan &plan) {
    for (const splice_part &wanted : parts) {
        open_part part;
        if (open_splice_part(wanted, part) != 0)
            return -1;
        const movie::vf_movie &film = *part.movie.film;
        if (&wanted == &parts.front())
            plan.settings = {coded_side(film.width), coded_side(film.height), film.rate,
                             film.threshold, 0};
        if (compare_part(part, parts.front().file, options, plan.settings) != 0 ||
            refuse_damage(part, options) != 0)
            return -1;
        count_frames(part, plan);
    }
    plan.settings.rate = options.rate.value_or(plan.settings.rate);
    if (plan.settings.count == 0) {
        report("%s: there are no frames for it", options.output.c_str());
        return -1;
    }
    if (plan.bytes <= movie::vf_max_file_bytes)
        return 0;
    report("%s: it would need %lld bytes; a movie file can have %lld", options.output.c_str(),
           static_cast<long long>(plan.bytes), static_cast<long long>(movie::vf_max_file_bytes));
    return -1;
}

// ---- Copying -----------------------------------------------------------------------------------

// A result under construction.
struct splice_job {
    movie_writer writer;
    frame_buffer buffer;
    int source = -1;                       // of the part's data in the buffer; -1: none
    frame_fault fault = frame_fault::none; // of that data
    bool fresh = false;                    // it is what the newest frame of the result shows
    progress meter;
    std::int64_t without_picture = 0; // frames
};

// Reads a picture's data, and decodes it: what is damaged comes to light here, not at a showing.
void read_source(const open_part &part, int source, splice_job &job) {
    if (job.source == source)
        return;
    job.fault = decode_frame(part.movie, source, job.buffer);
    job.source = source;
    job.fresh = false;
}

int add_gap(int index, std::vector<frame_range> &ranges, splice_job &job) {
    add_to_ranges(ranges, index);
    job.fresh = false;
    ++job.without_picture;
    return add_missing_frame(job.writer);
}

// Copies one frame. Returns 0, or -1 after a report.
int copy_frame(open_part &part, int index, const splice_options &options, splice_job &job) {
    const auto place = static_cast<std::size_t>(index);
    if (part.kinds[place] == frame_kind::missing)
        return add_gap(index, part.missing, job);
    if (part.kinds[place] == frame_kind::damaged)
        return add_gap(index, part.damaged, job);
    const int source = part.movie.frames[place].source;
    read_source(part, source, job);
    if (job.fault != frame_fault::none && options.keep_going)
        return add_gap(index, part.damaged, job);
    if (job.fault != frame_fault::none) {
        clear_progress(job.meter);
        report("%s: frame %d is damaged: the data of frame %d cannot be %s (--keep-going makes it "
               "a missing frame)",
               part.name.c_str(), index, source,
               job.fault == frame_fault::unreadable ? "read" : "decoded");
        return -1;
    }
    const bool repeats = job.fresh;
    job.fresh = true;
    if (add_frame(job.writer, repeats ? std::span<const std::uint8_t>() : job.buffer.packed) == 0)
        return 0;
    leave_progress(job.meter); // the report stands below it
    return -1;
}

void note_gaps(const open_part &part, splice_job &job) {
    clear_progress(job.meter);
    if (!part.missing.empty())
        report_note("%s: %s: missing, and so in the result", part.name.c_str(),
                    format_ranges(part.missing).c_str());
    if (!part.damaged.empty())
        report_note("%s: %s: damaged, so missing in the result", part.name.c_str(),
                    format_ranges(part.damaged).c_str());
}

// Copies a part's frames; it is looked at once more, as it is now. Returns 0, or -1 after a report.
int copy_part(const splice_part &wanted, const splice_options &options, splice_job &job) {
    open_part part;
    if (open_splice_part(wanted, part) != 0)
        return -1;
    const movie::vf_movie &film = *part.movie.film;
    if (coded_side(film.width) != job.writer.film.width ||
        coded_side(film.height) != job.writer.film.height) {
        report("%s: it has changed while it was read", part.name.c_str());
        return -1;
    }
    if (refuse_damage(part, options) != 0)
        return -1;
    job.source = -1;
    const int result = for_each_frame(part, [&](int index) {
        if (copy_frame(part, index, options, job) != 0)
            return -1;
        step_progress(job.meter);
        return 0;
    });
    if (result == 0)
        note_gaps(part, job);
    return result;
}

void announce_result(const splice_options &options, const splice_job &job) {
    struct stat status {};
    (void)::stat(options.output.c_str(), &status);
    std::fprintf(stderr,
                 "reel: %s: %d frames (%d repeated, %lld without picture), %dx%d, %d frames/s, "
                 "%.2f MB, in %.1f s\n",
                 options.output.c_str(), job.writer.count, job.writer.repeats,
                 static_cast<long long>(job.without_picture), job.writer.film.width,
                 job.writer.film.height, job.writer.film.rate,
                 static_cast<double>(status.st_size) / 1e6, progress_seconds(job.meter));
}

} // namespace

int run_splice(const std::vector<splice_part> &parts, const splice_options &options) {
    splice_plan plan;
    splice_job job;
    if (check_replaced(options.output) != 0 || plan_splice(parts, options, plan) != 0 ||
        start_movie(options.output, plan.settings, job.writer) != 0)
        return exit_failed;
    job.meter = start_progress(options.verb, plan.settings.count);
    for (const splice_part &wanted : parts)
        if (copy_part(wanted, options, job) != 0) {
            clear_progress(job.meter);
            return exit_failed;
        }
    clear_progress(job.meter);
    if (finish_movie(job.writer) != 0)
        return exit_failed;
    announce_result(options, job);
    return exit_good;
}

} // namespace reel
