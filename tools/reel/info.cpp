#include "tools/reel/info.h"

#include "tools/reel/bars.h"
#include "tools/reel/json.h"
#include "tools/reel/reel_file.h"
#include "tools/reel/report.h"

#include <cstdio>
#include <limits>

namespace reel {

namespace {

constexpr double bytes_per_megabyte = 1e6;
constexpr std::size_t json_part = std::size_t{1} << 16; // bytes that are written at once

// What is told about a movie.
struct summary {
    double seconds = 0; // 0 when the rate says nothing
    std::vector<frame_range> missing;
    std::vector<frame_range> repeated;
    std::vector<frame_range> damaged;
    std::int64_t pictures = 0;   // frames with data of their own
    std::int64_t data_bytes = 0; // of them
    int smallest = -1;           // a frame; -1: there are no pictures
    int largest = -1;
    std::int64_t measured = 0; // pictures whose size tells their detailed blocks
    std::int64_t detailed = 0; // blocks in them
};

void add_picture(const reel_file &file, int index, summary &told) {
    const auto bytes = [&](int frame) { return file.frames[static_cast<std::size_t>(frame)].size; };
    ++told.pictures;
    told.data_bytes += bytes(index);
    if (told.smallest < 0 || bytes(index) < bytes(told.smallest))
        told.smallest = index;
    if (told.largest < 0 || bytes(index) > bytes(told.largest))
        told.largest = index;
    const std::int64_t detailed =
        detailed_blocks_of(*file.film, file.frames[static_cast<std::size_t>(index)]);
    if (detailed >= 0) {
        ++told.measured;
        told.detailed += detailed;
    }
}

summary summarise(const reel_file &file) {
    summary told;
    const movie::vf_movie &film = *file.film;
    if (film.rate > 0)
        told.seconds = static_cast<double>(film.count) / film.rate;
    told.missing = frames_in_state(file, frame_state::missing);
    told.repeated = frames_in_state(file, frame_state::repeat);
    for (std::size_t i = 0; i < file.frames.size(); ++i) {
        if (is_damaged(file.frames[i].state))
            add_to_ranges(told.damaged, static_cast<std::int64_t>(i));
        else if (file.frames[i].state == frame_state::picture)
            add_picture(file, static_cast<int>(i), told);
    }
    return told;
}

double nothing() {
    return std::numeric_limits<double>::quiet_NaN();
}

// Of a picture; not a number when there is none.
double mean_bytes(const summary &told) {
    return told.pictures > 0
               ? static_cast<double>(told.data_bytes) / static_cast<double>(told.pictures)
               : nothing();
}

// What playing reads in a second: a repeat reads nothing.
double megabytes_per_second(const summary &told) {
    return told.seconds > 0
               ? static_cast<double>(told.data_bytes) / told.seconds / bytes_per_megabyte
               : nothing();
}

// 0 to 1.
double detailed_share(const reel_file &file, std::int64_t detailed, std::int64_t pictures) {
    const std::int64_t blocks = pictures * blocks_of(*file.film);
    return blocks > 0 && detailed >= 0 ? static_cast<double>(detailed) / static_cast<double>(blocks)
                                       : nothing();
}

const char *state_name(frame_state state) {
    switch (state) {
    case frame_state::picture:
        return "picture";
    case frame_state::repeat:
        return "repeat";
    case frame_state::missing:
        return "missing";
    default:
        return "damaged";
    }
}

// The frames that a list has: `all` or those that are asked for.
template <typename procedure>
void for_each_listed(const info_options &options, const reel_file &file, procedure tell) {
    if (!options.list && !options.frames)
        return;
    for (std::size_t i = 0; i < file.frames.size(); ++i)
        if (!options.frames || is_selected(*options.frames, static_cast<std::int64_t>(i)))
            tell(static_cast<int>(i), file.frames[i]);
}

// ---- text

void print_ranges(const char *label, const std::vector<frame_range> &ranges) {
    const auto count = static_cast<long long>(count_in_ranges(ranges));
    std::printf("  %-10s %lld", label, count);
    if (count > 0)
        std::printf(" (%s)", format_ranges(ranges).c_str());
    std::putchar('\n');
}

void print_sizes(const reel_file &file, const summary &told) {
    if (told.pictures == 0)
        return;
    const auto size_of = [&](int frame) {
        return static_cast<long long>(file.frames[static_cast<std::size_t>(frame)].size);
    };
    std::printf(
        "  %-10s %lld bytes at least (frame %d), %.0f on average, %lld at most (frame %d)\n",
        "picture", size_of(told.smallest), told.smallest, mean_bytes(told), size_of(told.largest),
        told.largest);
    if (told.seconds > 0)
        std::printf("  %-10s %.2f MB/s\n", "data rate", megabytes_per_second(told));
    if (told.measured > 0 && blocks_of(*file.film) > 0)
        std::printf("  %-10s %.1f %% of the blocks\n", "detailed",
                    100 * detailed_share(file, told.detailed, told.measured));
    if (told.measured < told.pictures)
        std::printf("  %-10s %lld pictures have a size that none of the movie's can have\n", "",
                    static_cast<long long>(told.pictures - told.measured));
}

void print_bars(const reel_file &file) {
    if (file.frames.size() < 2)
        return;
    std::vector<double> sizes;
    sizes.reserve(file.frames.size());
    for (const frame_entry &frame : file.frames)
        sizes.push_back(frame.state == frame_state::picture  ? static_cast<double>(frame.size)
                        : frame.state == frame_state::repeat ? 0
                                                             : nothing());
    std::printf("  %-10s |%s|\n", "sizes",
                draw_bars(sizes, bar_kind::levels, has_block_characters()).c_str());
}

void print_list(const info_options &options, const reel_file &file) {
    bool begun = false;
    for_each_listed(options, file, [&](int index, const frame_entry &frame) {
        if (!begun)
            std::printf("  %8s  %-8s %10s %9s %11s\n", "frame", "state", "bytes", "detailed",
                        "offset");
        begun = true;
        const std::int64_t detailed = detailed_blocks_of(*file.film, frame);
        char share[16] = "-";
        if (detailed >= 0 && blocks_of(*file.film) > 0)
            std::snprintf(share, sizeof share, "%.1f %%", 100 * detailed_share(file, detailed, 1));
        std::printf("  %8d  %-8s %10lld %9s %11lld\n", index, state_name(frame.state),
                    static_cast<long long>(frame.size), share,
                    static_cast<long long>(frame.offset));
    });
}

void print_text(const info_options &options, const std::string &name, const reel_file &file) {
    const movie::vf_movie &film = *file.film;
    const summary told = summarise(file);
    std::printf("%s\n", name.c_str());
    std::printf("  %-10s %dx%d\n", "size", film.width, film.height);
    std::printf("  %-10s %d\n", "frames", film.count);
    std::printf("  %-10s %d frames/s\n", "rate", film.rate);
    if (film.rate > 0)
        std::printf("  %-10s %.2f s\n", "duration", told.seconds);
    std::printf("  %-10s %d\n", "threshold", film.threshold);
    std::printf("  %-10s %lld\n", "bytes", static_cast<long long>(file.bytes));
    print_sizes(file, told);
    print_ranges("repeated", told.repeated);
    print_ranges("missing", told.missing);
    print_ranges("damaged", told.damaged);
    print_bars(file);
    print_list(options, file);
}

// ---- JSON

// "name": how many, "name_frames": [[first, last], ...]
void add_ranges(json_text &json, const std::string &name, const std::vector<frame_range> &ranges) {
    name_json(json, name);
    add_json(json, count_in_ranges(ranges));
    name_json(json, name + "_frames");
    open_json(json, '[');
    for (const frame_range &range : ranges) {
        open_json(json, '[');
        add_json(json, range.first);
        add_json(json, range.last);
        close_json(json, ']');
    }
    close_json(json, ']');
}

// {"bytes": 120, "frame": 7}, or null
void add_extreme(json_text &json, const char *name, const reel_file &file, int frame) {
    name_json(json, name);
    if (frame < 0) {
        add_json_null(json);
        return;
    }
    open_json(json, '{');
    name_json(json, "bytes"), add_json(json, file.frames[static_cast<std::size_t>(frame)].size);
    name_json(json, "frame"), add_json(json, frame);
    close_json(json, '}');
}

void add_summary(json_text &json, const reel_file &file) {
    const movie::vf_movie &film = *file.film;
    const summary told = summarise(file);
    name_json(json, "width"), add_json(json, film.width);
    name_json(json, "height"), add_json(json, film.height);
    name_json(json, "frames"), add_json(json, film.count);
    name_json(json, "rate"), add_json(json, film.rate);
    name_json(json, "threshold"), add_json(json, film.threshold);
    name_json(json, "seconds"), add_json(json, film.rate > 0 ? told.seconds : nothing(), 6);
    name_json(json, "bytes"), add_json(json, file.bytes);
    name_json(json, "pictures"), add_json(json, told.pictures);
    name_json(json, "picture_bytes"), add_json(json, told.data_bytes);
    name_json(json, "picture_mean_bytes"), add_json(json, mean_bytes(told), 1);
    add_extreme(json, "smallest", file, told.smallest);
    add_extreme(json, "largest", file, told.largest);
    name_json(json, "megabytes_per_second"), add_json(json, megabytes_per_second(told), 6);
    name_json(json, "detailed_share");
    add_json(json, detailed_share(file, told.detailed, told.measured), 6);
    name_json(json, "odd_sized_pictures"), add_json(json, told.pictures - told.measured);
    add_ranges(json, "repeated", told.repeated);
    add_ranges(json, "missing", told.missing);
    add_ranges(json, "damaged", told.damaged);
}

void write_out(json_text &json) {
    std::fputs(json.text.c_str(), stdout);
    json.text.clear();
}

void add_list(json_text &json, const info_options &options, const reel_file &file) {
    name_json(json, "frame_list");
    open_json(json, '[');
    for_each_listed(options, file, [&](int index, const frame_entry &frame) {
        const std::string fault = describe_fault(file, index);
        open_json(json, '{');
        name_json(json, "frame"), add_json(json, index);
        name_json(json, "state"), add_json(json, state_name(frame.state));
        name_json(json, "bytes"), add_json(json, frame.size);
        name_json(json, "detailed_share");
        add_json(json, detailed_share(file, detailed_blocks_of(*file.film, frame), 1), 6);
        name_json(json, "offset"), add_json(json, frame.offset);
        name_json(json, "fault");
        if (fault.empty())
            add_json_null(json);
        else
            add_json(json, fault);
        close_json(json, '}');
        if (json.text.size() > json_part)
            write_out(json);
    });
    close_json(json, ']');
}

} // namespace

int run_info(const info_options &options) {
    int status = exit_good;
    json_text json;
    open_json(json, '[');
    for (const std::string &name : options.files) {
        reel_file file;
        const bool opened = open_reel(name, file) == 0;
        if (!opened)
            status = exit_failed;
        if (options.json) {
            break_json(json);
            open_json(json, '{');
            name_json(json, "file"), add_json(json, name);
            name_json(json, "opened"), add_json(json, opened);
            if (opened)
                add_summary(json, file);
            if (opened && (options.list || options.frames))
                add_list(json, options, file);
            close_json(json, '}');
            write_out(json);
        } else if (opened) {
            print_text(options, name, file);
        }
    }
    close_json(json, ']');
    if (options.json)
        std::printf("%s\n", json.text.c_str());
    return status;
}

} // namespace reel
