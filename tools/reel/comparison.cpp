#include "tools/reel/comparison.h"

#include "tools/reel/bars.h"
#include "tools/reel/json.h"

#include <algorithm>
#include <cstdio>

namespace reel {

namespace {

double frame_psnr(const picture_difference &difference) {
    return psnr(difference.squared_error, difference.samples);
}

std::string format_psnr(const picture_difference &difference) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f dB", frame_psnr(difference));
    return difference.squared_error == 0 ? "identical" : text;
}

std::int64_t count_identical(const comparison &found) {
    return std::count_if(found.frames.begin(), found.frames.end(),
                         [](const auto &frame) { return frame.difference.squared_error == 0; });
}

double differing_percent(const picture_difference &difference) {
    const double pixels = static_cast<double>(difference.samples) / 3;
    return pixels > 0 ? 100 * static_cast<double>(difference.pixels) / pixels : 0;
}

// The error of each frame: the bars are high where the pictures differ.
void print_bars(const comparison &found) {
    std::vector<double> errors;
    double greatest = 0;
    for (const compared_frame &frame : found.frames) {
        errors.push_back(
            root_mean_square(frame.difference.squared_error, frame.difference.samples));
        greatest = std::max(greatest, errors.back());
    }
    if (errors.size() > 1 && greatest > 0)
        std::printf("  %-10s |%s| highest: %.2f of 255 (root mean square)\n", "error",
                    draw_bars(errors, bar_kind::peaks, has_block_characters()).c_str(), greatest);
}

void print_list(const comparison &found) {
    std::printf("  %8s  %10s %18s %8s\n", "frame", "PSNR", "pixels differ", "greatest");
    for (const compared_frame &frame : found.frames)
        std::printf("  %8lld  %10s %9lld (%4.1f %%) %8d\n", static_cast<long long>(frame.number),
                    format_psnr(frame.difference).c_str(),
                    static_cast<long long>(frame.difference.pixels),
                    differing_percent(frame.difference), frame.difference.greatest);
}

void add_count(json_text &json, const char *name, std::int64_t count) {
    name_json(json, name);
    if (count < 0)
        add_json_null(json);
    else
        add_json(json, count);
}

// The figures of one frame, or of all of them.
void add_difference(json_text &json, const picture_difference &difference) {
    name_json(json, "identical"), add_json(json, difference.squared_error == 0);
    name_json(json, "psnr"), add_json(json, frame_psnr(difference), 4);
    name_json(json, "squared_error");
    add_json(json, difference.squared_error);
    name_json(json, "differing_pixels"), add_json(json, difference.pixels);
    name_json(json, "greatest_difference"), add_json(json, difference.greatest);
}

} // namespace

picture_difference add_up(const comparison &found) {
    picture_difference sum;
    for (const compared_frame &frame : found.frames) {
        sum.samples += frame.difference.samples;
        sum.squared_error += frame.difference.squared_error;
        sum.pixels += frame.difference.pixels;
        sum.greatest = std::max(sum.greatest, frame.difference.greatest);
    }
    return sum;
}

std::size_t find_worst(const comparison &found) {
    const auto worst = std::max_element(
        found.frames.begin(), found.frames.end(), [](const auto &one, const auto &other) {
            return one.difference.squared_error < other.difference.squared_error;
        });
    return static_cast<std::size_t>(worst - found.frames.begin());
}

void print_comparison(const comparison &found, bool list) {
    const picture_difference all = add_up(found);
    std::printf("%s\n%s\n", found.a.c_str(), found.b.c_str());
    std::printf("  %-10s %dx%d\n", "size", found.part.width, found.part.height);
    std::printf("  %-10s %zu compared, %lld identical\n", "frames", found.frames.size(),
                static_cast<long long>(count_identical(found)));
    std::printf("  %-10s %s\n", "PSNR", format_psnr(all).c_str());
    if (all.squared_error != 0) {
        const compared_frame &worst = found.frames[find_worst(found)];
        std::printf("  %-10s frame %lld, %s\n", "worst", static_cast<long long>(worst.number),
                    format_psnr(worst.difference).c_str());
        std::printf("  %-10s %lld pixels (%.2f %%), by %d of 255 at most\n", "different",
                    static_cast<long long>(all.pixels), differing_percent(all), all.greatest);
    }
    print_bars(found);
    if (list)
        print_list(found);
}

void print_comparison_as_json(const comparison &found) {
    json_text json;
    open_json(json, '{');
    name_json(json, "a"), add_json(json, found.a);
    name_json(json, "b"), add_json(json, found.b);
    name_json(json, "width"), add_json(json, found.part.width);
    name_json(json, "height"), add_json(json, found.part.height);
    add_count(json, "a_frames", found.a_count);
    add_count(json, "b_frames", found.b_count);
    name_json(json, "frames"), add_json(json, found.frames.size());
    name_json(json, "left_out"), add_json(json, found.left_out);
    name_json(json, "identical_frames"), add_json(json, count_identical(found));
    add_difference(json, add_up(found));
    name_json(json, "worst_frame");
    add_json(json, found.frames[find_worst(found)].number);
    name_json(json, "frame_list");
    open_json(json, '[');
    for (const compared_frame &frame : found.frames) {
        break_json(json);
        open_json(json, '{');
        name_json(json, "frame"), add_json(json, frame.number);
        add_difference(json, frame.difference);
        close_json(json, '}');
    }
    close_json(json, ']');
    close_json(json, '}');
    std::printf("%s\n", json.text.c_str());
}

} // namespace reel
