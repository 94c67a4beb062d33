#include "tools/reel/compare.h"

#include "tools/reel/comparison.h"
#include "tools/reel/frame_source.h"
#include "tools/reel/parallel.h"
#include "tools/reel/picture_file.h"
#include "tools/reel/picture_walk.h"
#include "tools/reel/progress.h"
#include "tools/reel/reel_file.h"
#include "tools/reel/report.h"

#include <algorithm>
#include <array>
#include <mutex>

namespace reel {

namespace {

// So that the pictures of a sequence can be compared with each other.
constexpr int gain_of_sequences = 8;

// The pictures that a worker may have to show.
struct kept_pictures {
    bool any = false;
    std::int64_t number = 0;
    std::uint64_t squared_error = 0;
    image_buffer a;
    image_buffer b;
};

struct comparing {
    const compare_options *options = nullptr;
    frame_source a;
    frame_source b;
    frame_pattern pattern; // of the output
    bool every = false;    // a picture of every frame is written
    std::array<kept_pictures, max_workers> kept;
    std::mutex guard; // of all below
    comparison found;
    lost_frames lost; // by the numbers of a
    progress meter;
};

std::string size_text(const image_buffer &picture) {
    return std::to_string(picture.width) + "x" + std::to_string(picture.height);
}

std::int64_t number_of(const comparing &work, std::int64_t position) {
    return work.a.first_number + position * work.a.number_step;
}

// Says on a line of its own that the run can not go on.
template <typename... words> int give_up(comparing &work, const char *format, words... rest) {
    clear_progress(work.meter);
    report(format, rest...);
    return -1;
}

// Finds the part that two pictures have in common, with the guard held. Returns 0, or -1 after a
// report.
int find_common_part(comparing &work, const picture_set &at, picture_part *part) {
    const image_buffer &a = at.pictures[0];
    const image_buffer &b = at.pictures[1];
    *part = {std::min(a.width, b.width), std::min(a.height, b.height)};
    if (coded_side(a.width) != coded_side(b.width) || coded_side(a.height) != coded_side(b.height))
        return give_up(work, "%s is %s, but %s is %s: pictures of other sizes cannot be compared",
                       work.a.name_of(at.position).c_str(), size_text(a).c_str(),
                       work.b.name_of(at.position).c_str(), size_text(b).c_str());
    picture_part &whole = work.found.part;
    const bool first = whole.width == 0;
    if (!first && (whole.width != part->width || whole.height != part->height))
        return give_up(work, "%s is %s, but the frames before it are %dx%d",
                       work.a.name_of(at.position).c_str(), size_text(a).c_str(), whole.width,
                       whole.height);
    whole = *part;
    if (first && (a.width != b.width || a.height != b.height)) {
        clear_progress(work.meter);
        report_note("%s and %s differ by what a movie leaves out at the right and at the top: "
                    "%dx%d pixels at the bottom left are compared",
                    size_text(a).c_str(), size_text(b).c_str(), part->width, part->height);
    }
    return 0;
}

// Writes the picture of one frame; several workers may do so at once. Returns 0, or -1 after a
// report.
int write_difference(comparing &work, const picture_part &part, const kept_pictures &shown) {
    const compare_options &options = *work.options;
    const int gain = options.gain > 0 ? options.gain
                     : work.every     ? gain_of_sequences
                                      : choose_gain(shown.a, shown.b, part);
    const std::string path =
        work.every ? format_frame_path(work.pattern, shown.number) : options.output;
    image_buffer made;
    if (paint_difference(shown.a, shown.b, part, gain, options.alone, made) != 0) {
        const std::lock_guard lock(work.guard);
        return give_up(work, "%s: it would be too large for an image", path.c_str());
    }
    if (write_picture_file(path, made) != 0) {
        const std::lock_guard lock(work.guard);
        leave_progress(work.meter); // the report stands below it
        return -1;
    }
    if (!work.every)
        std::fprintf(stderr, "reel: %s: frame %lld%sthe difference multiplied by %d\n",
                     path.c_str(), static_cast<long long>(shown.number),
                     options.alone ? ": " : " of both, and ", gain);
    return 0;
}

// Keeps the pictures that are to be shown at the end, as far as a worker knows.
void keep_pictures(const comparing &work, const compared_frame &frame, picture_set &at,
                   kept_pictures &kept) {
    const std::uint64_t error = frame.difference.squared_error;
    const bool chosen = work.options->frame ? *work.options->frame == frame.number
                        : kept.any          ? error > kept.squared_error ||
                                         (error == kept.squared_error && frame.number < kept.number)
                                   : true;
    if (!chosen)
        return;
    kept.any = true;
    kept.number = frame.number;
    kept.squared_error = error;
    std::swap(kept.a, at.pictures[0]);
    std::swap(kept.b, at.pictures[1]);
}

// A frame that one of the inputs does not have is left out.
bool is_left_out(comparing &work, const picture_set &at) {
    const std::lock_guard lock(work.guard);
    for (const std::string &fault : at.faults) {
        if (fault.empty())
            continue;
        add_lost_frame(work.lost, number_of(work, at.position), fault);
        ++work.found.left_out;
        step_progress(work.meter);
        return true;
    }
    return false;
}

int compare_pictures(comparing &work, int worker, picture_set &at) {
    if (is_left_out(work, at))
        return 0;
    compared_frame frame;
    frame.number = number_of(work, at.position);
    picture_part part;
    {
        const std::lock_guard lock(work.guard);
        if (find_common_part(work, at, &part) != 0)
            return -1;
    }
    measure_difference(at.pictures[0], at.pictures[1], part, frame.difference);
    kept_pictures &kept = work.kept[static_cast<std::size_t>(worker)];
    if (work.every)
        kept.any = false;
    if (!work.options->output.empty())
        keep_pictures(work, frame, at, kept);
    if (work.every && write_difference(work, part, kept) != 0)
        return -1;
    const std::lock_guard lock(work.guard);
    work.found.frames.push_back(frame);
    step_progress(work.meter);
    return 0;
}

// The kept pictures of the worst frame, or of the chosen one; null when there are none.
const kept_pictures *choose_kept(const comparing &work) {
    const kept_pictures *best = nullptr;
    for (const kept_pictures &kept : work.kept)
        if (kept.any && (best == nullptr || kept.squared_error > best->squared_error ||
                         (kept.squared_error == best->squared_error && kept.number < best->number)))
            best = &kept;
    return best;
}

// ---- before

int open_inputs(const compare_options &options, comparing &work) {
    std::string fault;
    for (const auto &[input, source] :
         {std::pair(&options.a, &work.a), std::pair(&options.b, &work.b)}) {
        if (open_source({*input}, {}, *source, &fault) != 0) {
            report_source_fault(fault);
            return -1;
        }
        read_by_own_codec(*source);
        for (const std::string &note : source->notes)
            report_note("%s", note.c_str());
    }
    work.found.a = work.a.description;
    work.found.b = work.b.description;
    if (work.a.first_number != work.b.first_number)
        report_note("%s counts from %lld, %s from %lld: their first frames are compared; numbers "
                    "below are those of %s",
                    work.a.description.c_str(), static_cast<long long>(work.a.first_number),
                    work.b.description.c_str(), static_cast<long long>(work.b.first_number),
                    work.a.description.c_str());
    return 0;
}

// The position of a frame number of the first input; rounded down between two.
std::int64_t position_of(const comparing &work, std::int64_t number) {
    return (number - work.a.first_number) / std::max<std::int64_t>(work.a.number_step, 1);
}

// The exit status: what is asked for makes sense, or a report.
int plan_output(const compare_options &options, comparing &work) {
    if (options.output.empty())
        return exit_good;
    const pattern_kind kind = parse_pattern(options.output, &work.pattern);
    work.every = kind == pattern_kind::pattern;
    if (kind == pattern_kind::unclear) {
        report("%s: there is more than one place for a frame number", options.output.c_str());
        return exit_misused;
    }
    if (work.every && options.frame) {
        report("%s: a place for a frame number means every frame, so --frame makes no sense",
               options.output.c_str());
        return exit_misused;
    }
    return check_picture_file(options.output, {options.a, options.b}) == 0 ? exit_good
                                                                           : exit_failed;
}

std::int64_t expected_frames(const comparing &work) {
    const auto length = [](const frame_source &source) {
        return source.count >= 0 ? source.count : source.expected;
    };
    const std::int64_t a = length(work.a);
    const std::int64_t b = length(work.b);
    const std::int64_t both = a < 0 ? b : b < 0 ? a : std::min(a, b);
    if (!work.options->frames)
        return both;
    const std::int64_t chosen = count_selected(*work.options->frames);
    return both < 0 ? chosen : std::min(both, chosen);
}

// ---- after

std::string count_text(std::int64_t count) {
    return count < 0 ? "more" : std::to_string(count);
}

// Says which frames were not compared. Returns 0 when none were left out by need.
int note_lengths(comparing &work, const picture_walk &walk) {
    comparison &found = work.found;
    found.a_count = work.a.count >= 0 ? work.a.count : walk.has_ended[0] ? walk.length : -1;
    found.b_count = work.b.count >= 0 ? work.b.count : walk.has_ended[1] ? walk.length : -1;
    if (work.options->frames) {
        const std::int64_t asked = count_selected(*work.options->frames);
        const auto lacking = static_cast<long long>(asked - found.left_out -
                                                    static_cast<std::int64_t>(found.frames.size()));
        if (lacking > 0)
            report_note("%lld of the %lld frames asked for are not in both", lacking,
                        static_cast<long long>(asked));
        return lacking > 0 ? -1 : 0;
    }
    if (found.a_count == found.b_count)
        return 0;
    report_note("%s has %s frames, %s has %s: the first %lld are compared",
                work.a.description.c_str(), count_text(found.a_count).c_str(),
                work.b.description.c_str(), count_text(found.b_count).c_str(),
                static_cast<long long>(walk.length));
    return -1;
}

// Returns 0 when the frames pass what was asked for, or -1 after a report.
int judge(const compare_options &options, const comparison &found) {
    const compared_frame &worst = found.frames[find_worst(found)];
    const picture_difference &difference = worst.difference;
    const double decibels = psnr(difference.squared_error, difference.samples);
    if (options.must_be_identical && difference.squared_error != 0) {
        report("%s and %s are not identical", found.a.c_str(), found.b.c_str());
        return -1;
    }
    if (options.least_psnr && decibels < *options.least_psnr) {
        report("frame %lld has a PSNR of %.2f dB only", static_cast<long long>(worst.number),
               decibels);
        return -1;
    }
    return 0;
}

int tell(comparing &work, const picture_walk &walk) {
    const compare_options &options = *work.options;
    comparison &found = work.found;
    std::sort(found.frames.begin(), found.frames.end(),
              [](const auto &one, const auto &other) { return one.number < other.number; });
    report_lost_frames(work.lost);
    if (found.frames.empty()) {
        report("%s and %s: there are no frames to compare", found.a.c_str(), found.b.c_str());
        return -1;
    }
    int result = note_lengths(work, walk);
    if (options.json)
        print_comparison_as_json(found);
    else
        print_comparison(found, options.list);
    if (!options.output.empty() && !work.every) {
        const kept_pictures *shown = choose_kept(work);
        if (shown == nullptr)
            report("%s: frame %lld was not compared", options.output.c_str(),
                   static_cast<long long>(*options.frame));
        if (shown == nullptr || write_difference(work, found.part, *shown) != 0)
            result = -1;
    }
    if (found.left_out > 0 || judge(options, found) != 0)
        result = -1;
    return result;
}

} // namespace

int run_compare(const compare_options &options) {
    comparing work;
    work.options = &options;
    if (const int status = plan_output(options, work); status != exit_good)
        return status;
    if (open_inputs(options, work) != 0)
        return exit_failed;
    picture_walk walk;
    if (options.frames) {
        walk.last = position_of(work, options.frames->range.last);
        walk.wanted = [&](std::int64_t position) {
            return is_selected(*options.frames, number_of(work, position));
        };
    }
    walk.visit = [&](int worker, picture_set &at) { return compare_pictures(work, worker, at); };
    work.meter = start_progress("comparing", expected_frames(work));
    frame_source *const sources[] = {&work.a, &work.b};
    std::string fault;
    const int walked = walk_pictures(sources, walk, &fault);
    clear_progress(work.meter);
    if (walked != 0) {
        report_source_fault(fault);
        return exit_failed;
    }
    return tell(work, walk) == 0 ? exit_good : exit_failed;
}

} // namespace reel
