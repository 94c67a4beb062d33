#include "tools/reel/encode.h"

#include "movie/ir1.h"
#include "tools/reel/encode_pipeline.h"
#include "tools/reel/movie_writer.h"
#include "tools/reel/progress.h"
#include "tools/reel/reel_file.h"
#include "tools/reel/report.h"

#include <algorithm>
#include <cstdio>
#include <sys/stat.h>

namespace reel {

namespace {

static_assert(image_max_side == movie::ir1_max_dimension);

// A movie under construction.
struct encoding {
    const encode_options *options = nullptr;
    frame_source source;
    movie_writer writer;
    progress meter;
};

bool has_edit(const encode_options &options) {
    return options.edit.crop.has_value() || options.edit.size.has_value() ||
           options.edit.scale.has_value();
}

// ---- what is said

std::string count_text(std::int64_t count, const char *unit) {
    return std::to_string(count) + " " + unit + (count == 1 ? "" : "s");
}

// What is said once, when the pictures' size is known.
void announce_source(const frame_source &source, int width, int height) {
    std::string line = source.description + ": ";
    if (source.count > 0)
        line += count_text(source.count, source.unit) + ", frames " +
                std::to_string(source.first_number) + " to " +
                std::to_string(source.first_number + (source.count - 1) * source.number_step) +
                ", ";
    std::fprintf(stderr, "reel: %s%s\n", line.c_str(), size_text(width, height).c_str());
    for (const std::string &note : source.notes)
        report_note("%s", note.c_str());
}

void note_size(int made_width, int made_height) {
    const int width = coded_side(made_width);
    const int height = coded_side(made_height);
    if (width == made_width && height == made_height)
        return;
    report_note("%s becomes %s, multiples of %d: left out are %d pixels at the right and %d at the "
                "top",
                size_text(made_width, made_height).c_str(), size_text(width, height).c_str(),
                movie::ir1_block_size, made_width - width, made_height - height);
}

// The movie's rate, with a word about one that is not the source's own.
int choose_rate(const encode_options &options, const frame_source &source) {
    if (options.rate.has_value())
        return *options.rate;
    if (!source.rate.has_value())
        return default_rate;
    const frame_rate own = *source.rate;
    const int rate = nearest_rate(own);
    if (std::int64_t{rate} * own.denominator != own.numerator)
        report_note("%s: its %.5g frames per second become %d", source.description.c_str(),
                    static_cast<double>(own.numerator) / own.denominator, rate);
    return rate;
}

void announce_result(encoding &work) {
    struct stat status {};
    (void)::stat(work.options->output.c_str(), &status);
    const movie_writer &writer = work.writer;
    const double seconds = progress_seconds(work.meter);
    std::fprintf(
        stderr, "reel: %s: %s (%d repeated), %s, %d frames/s, %.2f MB, in %.1f s (%.1f frames/s)\n",
        work.options->output.c_str(), count_text(writer.count, "frame").c_str(), writer.repeats,
        size_text(writer.film.width, writer.film.height).c_str(), writer.film.rate,
        static_cast<double>(status.st_size) / 1e6, seconds,
        seconds > 0 ? writer.count / seconds : 0);
}

// ---- work

int fail(encoding &work, const std::string &fault) {
    clear_progress(work.meter);
    report_source_fault(fault);
    return -1;
}

int start_encoding(encoding &work, int width, int height, int threshold) {
    const frame_source &source = work.source;
    return start_movie(work.options->output,
                       {width, height, choose_rate(*work.options, source), threshold,
                        source.count >= 0 ? source.count : source.expected},
                       work.writer);
}

int add_stream(encoding &work, std::span<const std::uint8_t> stream) {
    if (add_frame(work.writer, stream) != 0) {
        leave_progress(work.meter); // the report stands below it
        return -1;
    }
    step_progress(work.meter);
    return 0;
}

// Encodes all pictures. Returns 0, or -1 after a report.
int encode_pictures(encoding &work) {
    std::string fault;
    image_buffer first;
    const read_result result = work.source.read(0, first, &fault);
    if (result == read_result::end)
        fault = work.source.description + ": there are no pictures in it";
    if (result != read_result::got)
        return fail(work, fault);
    edit_plan plan;
    if (plan_edit(work.options->edit, first.width, first.height, plan, &fault) != 0)
        return fail(work, fault.empty() ? fault : work.source.name_of(0) + ": " + fault);
    announce_source(work.source, first.width, first.height);
    if (first.has_more)
        report_note("%s: it holds several pictures; the first one of each file is used",
                    work.source.name_of(0).c_str());
    note_size(plan.made_width, plan.made_height);
    const int threshold = work.options->threshold.value_or(default_threshold);
    if (start_encoding(work, plan.made_width, plan.made_height, threshold) != 0)
        return -1;
    const auto add = [&](std::span<const std::uint8_t> stream) { return add_stream(work, stream); };
    const pipeline_settings settings = {&work.source, &plan, threshold, work.options->threads};
    return run_pipeline(settings, std::move(first), add, &fault) == 0 ? 0 : fail(work, fault);
}

// Copies pictures that are coded already. Returns 0, or -1 after a report.
int copy_streams(encoding &work) {
    const frame_source &source = work.source;
    std::vector<std::uint8_t> stream;
    std::string fault;
    for (std::int64_t position = 0;; ++position) {
        const read_result result = source.read_stream(position, stream, &fault);
        if (result == read_result::end && position > 0)
            return 0;
        if (result == read_result::end)
            fault = source.description + ": there are no pictures in it";
        if (result != read_result::got)
            return fail(work, fault);
        if (position == 0) {
            announce_source(source, source.width, source.height);
            note_size(source.width, source.height);
            if (start_encoding(work, source.width, source.height,
                               source.threshold.value_or(default_threshold)) != 0)
                return -1;
        }
        if (add_stream(work, stream) != 0)
            return -1;
    }
}

} // namespace

int run_encode(const encode_options &options) {
    encoding work;
    work.options = &options;
    std::string fault;
    if (check_replaced(options.output) != 0)
        return exit_failed;
    if (open_source(options.inputs, options.source, work.source, &fault) != 0) {
        report_source_fault(fault);
        return exit_failed;
    }
    const bool copied =
        work.source.read_stream && !has_edit(options) && !options.threshold.has_value();
    work.meter = start_progress("encoding",
                                work.source.count >= 0 ? work.source.count : work.source.expected);
    const int result = copied ? copy_streams(work) : encode_pictures(work);
    clear_progress(work.meter);
    if (result != 0 || finish_movie(work.writer) != 0)
        return exit_failed;
    announce_result(work);
    return exit_good;
}

} // namespace reel
