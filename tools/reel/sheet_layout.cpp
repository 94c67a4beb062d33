#include "tools/reel/sheet_layout.h"

#include "tools/reel/digits.h"

#include <algorithm>
#include <cmath>

namespace reel {

namespace {

constexpr int fewest_cells = 24; // of a sheet that shows some of many
constexpr int most_cells = 30;
constexpr int default_width = 1600; // pixels
constexpr double page_shape = 1.6;  // width by height
constexpr double empty_cell_cost = 0.05;
constexpr double label_share = 0.08;     // of a cell's width, about; for the shape only
constexpr int box_width_per_scale = 260; // from twice this on, labels are twice as large, and so on
constexpr int max_scale = 4;
constexpr int gap_at_scale = 8;       // pixels
constexpr int label_margin = 5;       // above and below, at scale 1
constexpr int smallest_box_width = 8; // pixels

// How far a sheet is from what it should look like.
double judge_shape(const sheet_wishes &wishes, int columns, int count) {
    const int rows = (count + columns - 1) / columns;
    const double cell_height =
        static_cast<double>(wishes.picture_height) / static_cast<double>(wishes.picture_width) +
        label_share;
    const double shape = columns / (rows * cell_height);
    return std::abs(std::log(shape / page_shape)) + empty_cell_cost * (columns * rows - count);
}

// Chooses count and columns, as far as they are not given.
void choose_grid(const sheet_wishes &wishes, sheet_layout &layout) {
    int fewest = wishes.count;
    int most = wishes.count;
    if (wishes.count == 0) {
        const bool all = wishes.pictures <= most_cells;
        fewest = all ? static_cast<int>(wishes.pictures) : std::max(fewest_cells, wishes.columns);
        most = all ? fewest : std::max(most_cells, wishes.columns);
    }
    if (wishes.pictures < most)
        fewest = most = static_cast<int>(wishes.pictures);
    double best = -1;
    for (int count = fewest; count <= most; ++count) {
        const int first = wishes.columns > 0 ? wishes.columns : 1;
        const int last = wishes.columns > 0 ? wishes.columns : std::min(count, max_sheet_columns);
        for (int columns = first; columns <= last; ++columns) {
            const double cost = judge_shape(wishes, columns, count);
            if (best >= 0 && cost >= best)
                continue;
            best = cost;
            layout.count = count;
            layout.columns = columns;
        }
    }
    layout.rows = (layout.count + layout.columns - 1) / layout.columns;
}

} // namespace

int lay_out_sheet(const sheet_wishes &wishes, sheet_layout &layout, std::string *fault) {
    choose_grid(wishes, layout);
    const int wanted = wishes.width > 0 ? wishes.width : default_width;
    layout.scale = std::clamp(wanted / layout.columns / box_width_per_scale, 1, max_scale);
    layout.gap = gap_at_scale * layout.scale;
    layout.box_width = (wanted - layout.gap * (layout.columns + 1)) / layout.columns;
    if (layout.box_width < smallest_box_width) {
        *fault = std::to_string(layout.columns) + " columns need a sheet of more than " +
                 std::to_string(wanted) + " pixels";
        return -1;
    }
    // Left to us, a small picture is as wide as a whole number of times itself.
    if (wishes.width == 0 && wishes.picture_width < layout.box_width)
        layout.box_width -= layout.box_width % wishes.picture_width;
    layout.box_height =
        std::max(1, static_cast<int>(std::lround(static_cast<double>(layout.box_width) *
                                                 wishes.picture_height / wishes.picture_width)));
    layout.label_height = (digits_height + 2 * label_margin) * layout.scale;
    const int used = layout.columns * (layout.box_width + layout.gap) + layout.gap;
    layout.width = wishes.width > 0 ? wishes.width : used;
    layout.left = layout.gap + (layout.width - used) / 2;
    const std::int64_t height =
        std::int64_t{layout.rows} * (std::int64_t{layout.box_height} + layout.label_height) +
        layout.gap;
    if (height > max_sheet_width) {
        *fault = "the sheet would be " + std::to_string(height) +
                 " pixels high; fewer frames or more columns would help";
        return -1;
    }
    layout.height = static_cast<int>(height);
    return 0;
}

cell_place place_of_cell(const sheet_layout &layout, int cell) {
    const int column = cell % layout.columns;
    const int row = cell / layout.columns; // from the top
    return {layout.left + column * (layout.box_width + layout.gap),
            layout.height - layout.gap - layout.box_height -
                row * (layout.box_height + layout.label_height)};
}

std::int64_t position_of_cell(const sheet_layout &layout, std::int64_t pictures, int cell) {
    const std::int64_t steps = layout.count - 1;
    return steps > 0 ? (cell * (pictures - 1) + steps / 2) / steps : 0;
}

} // namespace reel
