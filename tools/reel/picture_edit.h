// What may be done to pictures on their way: part of them cut out, then another size.
//
//   picture_edit edit;
//   parse_crop("640x480+100+0", &edit.crop);              // a part, from the top left
//   parse_size("320x0", &edit.size);                      // then scaled; 0: as the shape says
//   edit_plan plan;
//   std::string fault;
//   if (plan_edit(edit, 1920, 1080, plan, &fault) == 0)   // once for pictures of one size
//       apply_edit(plan, picture, spare, &fault);         // each of them
#pragma once

#include "tools/reel/image_io.h"
#include "tools/reel/video_io.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace reel {

// A part of a picture, in pixels from its top left corner.
struct crop_area {
    int width = 0;
    int height = 0;
    int left = 0;
    int top = 0;
};

// In pixels. A side of 0 or -1 follows from the other one and the picture's shape.
struct picture_size {
    int width = 0;
    int height = 0;
};

struct picture_edit {
    std::optional<crop_area> crop;
    std::optional<picture_size> size; // after cropping
    std::optional<double> scale;      // likewise, instead of size: 0.5 is half as wide and high
};

// Reads "WxH+X+Y", "WxH" and "50%" or "0.5". Each returns 0, or -1 when the text is anything else
// or names no picture at all: a part without pixels, both sides of a size left open, a scale of 0.
[[nodiscard]] int parse_crop(std::string_view text, std::optional<crop_area> *crop);
[[nodiscard]] int parse_size(std::string_view text, std::optional<picture_size> *size);
[[nodiscard]] int parse_scale(std::string_view text, std::optional<double> *scale);

// An edit worked out for pictures of one size.
struct edit_plan {
    int width = 0; // of the pictures that come
    int height = 0;
    std::optional<crop_area> crop; // none: the whole picture
    int made_width = 0;            // of the pictures that are made
    int made_height = 0;
    const video_module *scaler = nullptr; // null: the size stays
};

// Works out an edit for pictures of width x height pixels. Sides that follow from the shape or
// from a scale become the nearest multiple of 4, so that a movie keeps all of the picture. Returns
// 0, or -1 with the reason in *fault (empty when it has been reported already): a part outside the
// picture, or a size that a movie cannot have.
[[nodiscard]] int plan_edit(const picture_edit &edit, int width, int height, edit_plan &plan,
                            std::string *fault);

// Edits a picture of the plan's size in its place.
//   spare  memory kept from one picture to the next, for each thread its own
// Returns 0, or -1 with the reason in *fault.
[[nodiscard]] int apply_edit(const edit_plan &plan, image_buffer &picture,
                             std::vector<std::uint32_t> &spare, std::string *fault);

// "640x480"
[[nodiscard]] std::string size_text(int width, int height);

} // namespace reel
