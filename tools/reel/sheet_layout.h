// Where the pictures of a contact sheet stand.
//
//   sheet_layout layout;
//   sheet_wishes wishes = {.pictures = 240, .picture_width = 1920, .picture_height = 1080};
//   if (lay_out_sheet(wishes, layout, &fault) == 0)
//       for (int i = 0; i < layout.count; ++i)
//           ... place_of_cell(layout, i) ...     // of picture position_of_cell(layout, 240, i)
#pragma once

#include <cstdint>
#include <string>

namespace reel {

inline constexpr int max_sheet_columns = 200;
inline constexpr int max_sheet_count = 5000;
inline constexpr int min_sheet_width = 32;
inline constexpr int max_sheet_width = 32767;

struct sheet_wishes {
    std::int64_t pictures = 0; // that there are to choose from, 1 or more
    int picture_width = 0;     // pixels, of the first one
    int picture_height = 0;
    int count = 0;   // cells, 1 .. max_sheet_count; 0: as many as can be seen well
    int columns = 0; // 1 .. max_sheet_columns; 0: for a sheet in the shape of a page
    int width = 0;   // pixels of the sheet, min_sheet_width .. max_sheet_width; 0: a good one
};

struct sheet_layout {
    int count = 0;
    int columns = 0;
    int rows = 0;
    int scale = 1;     // of what is written
    int gap = 0;       // pixels between cells and around them
    int left = 0;      // pixels before the first column; `gap`, and what the division left over
    int box_width = 0; // pixels that a picture has
    int box_height = 0;
    int label_height = 0; // pixels below the picture
    int width = 0;        // of the sheet
    int height = 0;
};

// Returns 0, or -1 with the reason in *fault: there is no room for so many columns, or the sheet
// would be too high for an image.
[[nodiscard]] int lay_out_sheet(const sheet_wishes &wishes, sheet_layout &layout,
                                std::string *fault);

// The lower left corner of a picture's box, from that of the sheet.
struct cell_place {
    int x = 0;
    int y = 0;
};
[[nodiscard]] cell_place place_of_cell(const sheet_layout &layout, int cell);

// Which of the pictures a cell shows: spread evenly, with the first and the last.
[[nodiscard]] std::int64_t position_of_cell(const sheet_layout &layout, std::int64_t pictures,
                                            int cell);

} // namespace reel
