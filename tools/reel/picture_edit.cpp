#include "tools/reel/picture_edit.h"

#include "movie/ir1.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace reel {

namespace {

constexpr double largest_scale = 1000;

// Takes a whole number off the front of a text.
bool take_number(std::string_view &text, int *number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *number);
    if (error != std::errc())
        return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

bool take_mark(std::string_view &text, char mark) {
    if (text.empty() || text.front() != mark)
        return false;
    text.remove_prefix(1);
    return true;
}

bool take_size(std::string_view &text, int *width, int *height) {
    return take_number(text, width) && take_mark(text, 'x') && take_number(text, height);
}

// A length in proportion, as the nearest multiple of 4.
int proportional(double length) {
    constexpr int unit = movie::ir1_block_size;
    const double units = std::round(length / unit);
    return std::max(unit, static_cast<int>(std::min(units, double{image_max_side})) * unit);
}

// The size that a picture of width x height is to have.
picture_size wanted_size(const picture_edit &edit, int width, int height) {
    if (edit.scale.has_value() && *edit.scale != 1)
        return {proportional(width * *edit.scale), proportional(height * *edit.scale)};
    if (!edit.size.has_value())
        return {width, height};
    picture_size size = *edit.size;
    if (size.width <= 0)
        size.width = proportional(double(width) * size.height / height);
    if (size.height <= 0)
        size.height = proportional(double(height) * size.width / width);
    return size;
}

void crop_picture(const crop_area &crop, image_buffer &picture) {
    // Rows are bottom-up and only move towards the front.
    const auto columns = static_cast<std::size_t>(picture.width);
    const auto first = static_cast<std::size_t>(picture.height - crop.top - crop.height);
    const auto width = static_cast<std::size_t>(crop.width);
    const auto height = static_cast<std::size_t>(crop.height);
    for (std::size_t y = 0; y < height; ++y) {
        const std::uint32_t *row = picture.words.data() + (first + y) * columns + crop.left;
        std::copy(row, row + width, picture.words.data() + y * width);
    }
    picture.words.resize(width * height);
    picture.width = crop.width;
    picture.height = crop.height;
}

} // namespace

std::string size_text(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

int parse_crop(std::string_view text, std::optional<crop_area> *crop) {
    crop_area area;
    if (!take_size(text, &area.width, &area.height) || !take_mark(text, '+') ||
        !take_number(text, &area.left) || !take_mark(text, '+') || !take_number(text, &area.top) ||
        !text.empty() || std::min(area.width, area.height) < 1 || std::min(area.left, area.top) < 0)
        return -1;
    *crop = area;
    return 0;
}

int parse_size(std::string_view text, std::optional<picture_size> *size) {
    picture_size wanted;
    if (!take_size(text, &wanted.width, &wanted.height) || !text.empty() ||
        std::min(wanted.width, wanted.height) < -1 || std::max(wanted.width, wanted.height) < 1)
        return -1;
    *size = wanted;
    return 0;
}

int parse_scale(std::string_view text, std::optional<double> *scale) {
    const bool percent = text.ends_with('%');
    if (percent)
        text.remove_suffix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    value = percent ? value / 100 : value;
    if (error != std::errc() || end != text.data() + text.size() || !(value > 0) ||
        value > largest_scale)
        return -1;
    *scale = value;
    return 0;
}

int plan_edit(const picture_edit &edit, int width, int height, edit_plan &plan,
              std::string *fault) {
    fault->clear();
    plan.width = width;
    plan.height = height;
    plan.crop = edit.crop;
    const crop_area part = edit.crop.value_or(crop_area{width, height, 0, 0});
    // In this order nothing overflows: all are positive.
    if (part.width > width || part.left > width - part.width || part.height > height ||
        part.top > height - part.height) {
        *fault = "the part " + size_text(part.width, part.height) + "+" +
                 std::to_string(part.left) + "+" + std::to_string(part.top) +
                 " is not inside the picture of " + size_text(width, height);
        return -1;
    }
    const picture_size size = wanted_size(edit, part.width, part.height);
    plan.made_width = size.width;
    plan.made_height = size.height;
    if (std::min(size.width, size.height) < movie::ir1_block_size ||
        std::max(size.width, size.height) > image_max_side) {
        *fault = "it is " + size_text(size.width, size.height) + " pixels; a movie has " +
                 size_text(movie::ir1_block_size, movie::ir1_block_size) + " to " +
                 size_text(image_max_side, image_max_side);
        return -1;
    }
    if (size.width == part.width && size.height == part.height)
        return 0;
    plan.scaler = load_video_module();
    return plan.scaler != nullptr ? 0 : -1;
}

int apply_edit(const edit_plan &plan, image_buffer &picture, std::vector<std::uint32_t> &spare,
               std::string *fault) {
    if (plan.crop.has_value())
        crop_picture(*plan.crop, picture);
    if (plan.scaler == nullptr)
        return 0;
    if (plan.scaler->resize(picture.words, picture.width, picture.height, plan.made_width,
                            plan.made_height, &spare, fault) != 0)
        return -1;
    picture.words.swap(spare);
    picture.width = plan.made_width;
    picture.height = plan.made_height;
    return 0;
}

} // namespace reel
