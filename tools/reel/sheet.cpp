#include "tools/reel/sheet.h"

#include "tools/reel/digits.h"
#include "tools/reel/frame_source.h"
#include "tools/reel/painting.h"
#include "tools/reel/picture_file.h"
#include "tools/reel/picture_walk.h"
#include "tools/reel/progress.h"
#include "tools/reel/report.h"
#include "tools/reel/sheet_layout.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <mutex>

namespace reel {

namespace {

// Greys without tint: the eye is to judge the pictures' colours.
constexpr std::uint32_t ground = 0x262626;
constexpr std::uint32_t empty_ground = 0x1C1C1C;
constexpr std::uint32_t empty_lines = 0x5C5C5C;
constexpr std::uint32_t number_colour = 0xE0E0E0;
constexpr std::uint32_t time_colour = 0x8C8C8C;
constexpr int label_distance = 5; // pixels below the picture and between numbers, at scale 1
constexpr int label_space = 12;   // between number and time, at scale 1

struct sheet_work {
    frame_source source;
    std::int64_t pictures = 0; // that the source has
    sheet_layout layout;
    image_buffer sheet;
    std::map<std::int64_t, int> cells; // by position
    std::mutex guard;                  // of all below
    int shown = 0;
    lost_frames lost;
    progress meter;
};

std::int64_t number_of(const frame_source &source, std::int64_t position) {
    return source.first_number + position * source.number_step;
}

// ---- drawing

// "00:01:12:07": hours, minutes, seconds and frames.
std::string format_time(std::int64_t number, int rate) {
    const auto seconds = static_cast<long long>(number / rate);
    char text[64];
    std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld:%02lld", seconds / 3600,
                  seconds / 60 % 60, seconds % 60, static_cast<long long>(number % rate));
    return text;
}

void draw_label(sheet_work &work, int cell, std::int64_t position) {
    const sheet_layout &layout = work.layout;
    const cell_place at = place_of_cell(layout, cell);
    const int y = at.y - (label_distance + digits_height) * layout.scale;
    const std::int64_t number = number_of(work.source, position);
    const std::string text = std::to_string(number);
    if (digits_width(text, layout.scale) + label_distance * layout.scale >
        layout.box_width + layout.gap)
        return; // numbers that run into each other tell nothing
    draw_digits(work.sheet, at.x, y, text, layout.scale, number_colour);
    if (!work.source.rate || number < 0)
        return;
    const std::string time = format_time(number, nearest_rate(*work.source.rate));
    const int width = digits_width(time, layout.scale);
    if (digits_width(text, layout.scale) + label_space * layout.scale + width <= layout.box_width)
        draw_digits(work.sheet, at.x + layout.box_width - width, y, time, layout.scale,
                    time_colour);
}

// A frame with a cross in it.
void draw_empty_box(sheet_work &work, int cell) {
    const sheet_layout &layout = work.layout;
    const cell_place at = place_of_cell(layout, cell);
    const int right = at.x + layout.box_width - 1;
    const int top = at.y + layout.box_height - 1;
    fill_rectangle(work.sheet, at.x, at.y, layout.box_width, layout.box_height, empty_lines);
    fill_rectangle(work.sheet, at.x + layout.scale, at.y + layout.scale,
                   layout.box_width - 2 * layout.scale, layout.box_height - 2 * layout.scale,
                   empty_ground);
    for (int i = 0; i < layout.scale; ++i) {
        draw_line(work.sheet, at.x + i, at.y, right - (layout.scale - 1 - i), top, empty_lines);
        draw_line(work.sheet, at.x + i, top, right - (layout.scale - 1 - i), at.y, empty_lines);
    }
}

// Makes a picture as large as the box allows, in its own shape.
void fit_picture(const image_buffer &picture, const sheet_layout &layout, image_buffer &made) {
    const double ratio = std::min(static_cast<double>(layout.box_width) / picture.width,
                                  static_cast<double>(layout.box_height) / picture.height);
    const auto side = [ratio](int pixels, int box) {
        return std::clamp(static_cast<int>(std::lround(pixels * ratio)), 1, box);
    };
    resample_picture(picture, side(picture.width, layout.box_width),
                     side(picture.height, layout.box_height), made);
}

// Cells are apart, so that several may be drawn at once.
int show_picture(sheet_work &work, picture_set &at) {
    const int cell = work.cells.at(at.position);
    std::string fault = at.faults[0];
    if (fault.empty() && (at.pictures[0].width < 1 || at.pictures[0].height < 1))
        fault = work.source.name_of(at.position) + ": there are no pixels in it";
    if (fault.empty()) {
        image_buffer small;
        fit_picture(at.pictures[0], work.layout, small);
        const cell_place place = place_of_cell(work.layout, cell);
        fill_rectangle(work.sheet, place.x, place.y, work.layout.box_width, work.layout.box_height,
                       ground);
        copy_picture(small, place.x + (work.layout.box_width - small.width) / 2,
                     place.y + (work.layout.box_height - small.height) / 2, work.sheet);
    }
    const std::lock_guard lock(work.guard);
    if (fault.empty())
        ++work.shown;
    else
        add_lost_frame(work.lost, number_of(work.source, at.position), fault);
    step_progress(work.meter);
    return 0;
}

// ---- before

int open_input(const sheet_options &options, frame_source &source) {
    std::string fault;
    source = {};
    if (open_source(options.inputs, {.frames = options.frames}, source, &fault) != 0) {
        report_source_fault(fault);
        return -1;
    }
    read_by_own_codec(source);
    return 0;
}

// Counts the pictures of a source that does not know, by reading them. The source is read up then.
// Returns 0, or -1 after a report.
int count_pictures(sheet_work &work) {
    progress meter = start_progress("counting", work.source.expected);
    image_buffer picture;
    std::string fault;
    read_result result = read_result::got;
    while ((result = work.source.read(work.pictures, picture, &fault)) == read_result::got) {
        ++work.pictures;
        step_progress(meter);
    }
    clear_progress(meter);
    if (result == read_result::failed)
        report_source_fault(fault);
    return result == read_result::end ? 0 : -1;
}

// Learns the shape of the pictures from the first that can be read. A source that is read in order
// has to be opened again. Returns 0, or -1 after a report.
int look_at_first(sheet_work &work, image_buffer &picture) {
    std::string fault;
    for (std::int64_t i = 0; i < work.pictures; ++i) {
        if (work.source.read(i, picture, &fault) == read_result::got && picture.width > 0 &&
            picture.height > 0)
            return 0;
        if (!work.source.any_order)
            break;
    }
    if (!fault.empty())
        report_source_fault(fault);
    report("%s: there is no picture that can be shown", work.source.description.c_str());
    return -1;
}

// Opens the input and learns how many pictures of what size there are.
int prepare_source(const sheet_options &options, sheet_work &work, image_buffer &first) {
    if (open_input(options, work.source) != 0)
        return -1;
    for (const std::string &note : work.source.notes)
        report_note("%s", note.c_str());
    work.pictures = std::max<std::int64_t>(work.source.count, 0);
    if (work.source.count < 0 &&
        (count_pictures(work) != 0 || open_input(options, work.source) != 0))
        return -1;
    if (look_at_first(work, first) != 0)
        return -1;
    return work.source.any_order ? 0 : open_input(options, work.source);
}

int lay_out(const sheet_options &options, const image_buffer &first, sheet_work &work) {
    const sheet_wishes wishes = {work.pictures, first.width,     first.height,
                                 options.count, options.columns, options.width};
    std::string fault;
    if (lay_out_sheet(wishes, work.layout, &fault) != 0) {
        report("%s: %s", options.output.c_str(), fault.c_str());
        return -1;
    }
    work.sheet = make_picture(work.layout.width, work.layout.height, ground);
    for (int cell = 0; cell < work.layout.count; ++cell) {
        const std::int64_t position = position_of_cell(work.layout, work.pictures, cell);
        work.cells[position] = cell;
        draw_empty_box(work, cell);
        draw_label(work, cell, position);
    }
    return 0;
}

} // namespace

int run_sheet(const sheet_options &options) {
    sheet_work work;
    image_buffer first;
    if (check_picture_file(options.output, options.inputs) != 0 ||
        prepare_source(options, work, first) != 0 || lay_out(options, first, work) != 0)
        return exit_failed;
    picture_walk walk;
    walk.last = work.pictures - 1;
    walk.wanted = [&](std::int64_t position) { return work.cells.contains(position); };
    walk.visit = [&](int, picture_set &at) { return show_picture(work, at); };
    work.meter = start_progress("reading", work.layout.count);
    frame_source *const sources[] = {&work.source};
    std::string fault;
    const int walked = walk_pictures(sources, walk, &fault);
    clear_progress(work.meter);
    if (walked != 0) {
        report_source_fault(fault);
        return exit_failed;
    }
    report_lost_frames(work.lost);
    if (write_picture_file(options.output, work.sheet) != 0)
        return exit_failed;
    std::fprintf(stderr, "reel: %s: %d of %lld frames, %dx%d pixels\n", options.output.c_str(),
                 work.shown, static_cast<long long>(work.pictures), work.sheet.width,
                 work.sheet.height);
    return work.shown == work.layout.count ? exit_good : exit_failed;
}

} // namespace reel
