// Icon files: bytes to pixels and back. For bitmaps.cpp.
#pragma once

#include "toolkit/graphics/bitmaps.h"

#include <memory>
#include <string>

namespace toolkit {

enum class icon_reading { read, no_file, faulty };

// Reads a file into *bitmap, if it holds an icon. Of a faulty one the reason is reported.
[[nodiscard]] icon_reading read_icon_file(const std::string &path,
                                          std::unique_ptr<bitmap_record> *bitmap);

// Writes a bitmap; see gl_save_icon_to_file.
[[nodiscard]] int write_icon_file(const std::string &path, const bitmap_record &bitmap);

// True when both sides are in range and there are as many pixels as they say.
[[nodiscard]] bool is_whole(const bitmap_record &bitmap);

} // namespace toolkit
