#include "toolkit/graphics/bitmaps.h"

#include "platform/gl/pixels.h"
#include "toolkit/graphics/builtin_icons.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/icon_files.h"
#include "toolkit/objects/bounded_text.h"

#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

namespace toolkit {
namespace {

constexpr std::string_view free_name = "xxx";
constexpr std::string_view usual_folder = "/usr/IRIS/qlt/icon";
constexpr std::string_view extension = ".icn";

std::array<bitmap_entry, bitmap_table_size> table;
bool was_full_reported = false;

bitmap_entry *entry_of(int index) {
    return index >= 0 && index < bitmap_table_size ? &table[static_cast<std::size_t>(index)]
                                                   : nullptr;
}

std::string_view name_of(const bitmap_entry &entry) {
    return entry.name.data();
}

std::string path_of(const bitmap_entry &entry) {
    const char *folder = std::getenv("ICON_DIR");
    std::string path(folder != nullptr ? std::string_view(folder) : usual_folder);
    return path.append("/").append(name_of(entry)).append(extension);
}

// Loads the program's own icon of the entry's name, if there is one.
void take_builtin_icon(int index) {
    if (const builtin_icon *icon = find_builtin_icon(name_of(*entry_of(index)))) {
        auto bitmap = std::make_unique<bitmap_record>();
        *bitmap = {icon->width, icon->height, {icon->pixels.begin(), icon->pixels.end()}};
        gl_save_bitmap(index, std::move(bitmap));
    }
}

} // namespace

void gl_init_bitmap_table() {
    std::int32_t place = 0;
    for (bitmap_entry &entry : table) {
        entry = {};
        entry.index = place++;
    }
    was_full_reported = false;
}

void gl_free_bitmap_table() {
    for (bitmap_entry &entry : table)
        entry.bitmap.reset();
}

int gl_ind_bitmap(std::string_view name) {
    decltype(bitmap_entry::name) wanted{};
    copy_bounded(wanted, name);
    int index = 0;
    for (bitmap_entry &entry : table) {
        const bool is_free = name_of(entry) == free_name;
        if (is_free)
            entry.name = wanted;
        if (entry.name == wanted)
            return index;
        index++;
    }
    if (!was_full_reported)
        std::fprintf(stderr, "icon %s: no place among the %d icons that there can be\n",
                     wanted.data(), bitmap_table_size);
    was_full_reported = true;
    return no_bitmap;
}

const bitmap_entry *gl_get_bitmap_entry(int index) {
    return entry_of(index);
}

const bitmap_record *gl_load_bitmap(int index) {
    const bitmap_entry *entry = entry_of(index);
    if (entry == nullptr)
        return nullptr;
    const bool is_wanted =
        entry->bitmap == nullptr && gl_inq_color_mode() != 0 && name_of(*entry) != free_name;
    if (is_wanted && (entry->is_refused || gl_read_icon_from_file(index) != 0))
        take_builtin_icon(index);
    return entry->bitmap.get();
}

void gl_draw_bitmap(int index, int x, int y) {
    constexpr int farthest = std::numeric_limits<int>::max() - max_bitmap_side;
    if (gl_inq_color_mode() == 0 || x > farthest || y > farthest)
        return;
    if (const bitmap_record *bitmap = gl_load_bitmap(index))
        gl::lrectwrite(x, y, x + bitmap->width - 1, y + bitmap->height - 1, bitmap->pixels);
}

int gl_save_bitmap(int index, std::unique_ptr<bitmap_record> bitmap) {
    bitmap_entry *entry = entry_of(index);
    if (entry == nullptr || bitmap == nullptr || !is_whole(*bitmap))
        return -1;
    entry->bitmap = std::move(bitmap);
    return 0;
}

int gl_save_icon_to_file(const bitmap_record *bitmap, std::string_view name) {
    if (bitmap == nullptr || !is_whole(*bitmap))
        return -1;
    return write_icon_file(std::string(name).append(extension), *bitmap);
}

int gl_read_icon_from_file(int index) {
    bitmap_entry *entry = entry_of(index);
    if (entry == nullptr || gl_inq_color_mode() == 0)
        return -1;
    const icon_reading result = read_icon_file(path_of(*entry), &entry->bitmap);
    entry->is_refused = result == icon_reading::faulty;
    return result == icon_reading::read ? 0 : -1;
}

} // namespace toolkit
