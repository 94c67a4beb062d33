#include "toolkit/graphics/fonts.h"

#include "platform/gl/screen.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace toolkit {

namespace {

std::array<font_record, font_slot_count> fonts_info;
std::int16_t current_font = 0;

constexpr std::array<const char *, font_role_count> role_names{"small", "normal 1", "normal 2",
                                                               "bold", "bold italic"};

struct default_face {
    std::string_view name;
    float points;
};
using default_faces = std::array<default_face, font_role_count>; // in the order of the roles

constexpr default_faces full_screen_faces{{{"Helvetica", 8.0F},
                                           {"Helvetica", 10.0F},
                                           {"Helvetica", 10.0F},
                                           {"Helvetica-Bold", 10.0F},
                                           {"Times-BoldItalic", 12.0F}}};
constexpr default_faces small_screen_faces{{{"Helvetica", 8.0F},
                                            {"Helvetica", 10.0F},
                                            {"Helvetica", 10.0F},
                                            {"Helvetica-Bold", 10.0F},
                                            {"Palatino-BoldItalic", 10.0F}}};

bool is_small_screen() {
    return gl::getgdesc(gl::GD_XPMAX) < full_screen_width ||
           gl::getgdesc(gl::GD_YPMAX) < full_screen_height;
}

font_record *record_of(int slot) {
    if (slot < 0 || slot >= font_slot_count)
        return nullptr;
    return &fonts_info[static_cast<std::size_t>(slot)];
}

const char *role_name_of(int slot) {
    const auto at = std::find(font_role_slots.begin(), font_role_slots.end(), slot);
    return at == font_role_slots.end()
               ? "-"
               : role_names[static_cast<std::size_t>(at - font_role_slots.begin())];
}

const font_record *loaded_record(int slot) {
    const font_record *record = record_of(slot);
    return record != nullptr && record->loaded == font_loaded ? record : nullptr;
}

} // namespace

void gl_init_font_table() {
    fonts_info = {};
    current_font = 0;
    fm::fminit();
    const font_names *chosen = gl_inq_font_names_table();
    const default_faces &defaults = is_small_screen() ? small_screen_faces : full_screen_faces;
    for (std::size_t role = 0; role < font_role_slots.size(); role++) {
        if (chosen != nullptr)
            gl_load_font((*chosen)[role].name, font_role_slots[role], (*chosen)[role].size);
        else
            gl_load_font(defaults[role].name, font_role_slots[role], defaults[role].points);
    }
}

void gl_free_font_table() {
    fonts_info = {};
    current_font = 0;
    fm::fmexit();
}

void gl_load_font(std::string_view name, int slot, float points) {
    font_record *record = record_of(slot);
    if (record == nullptr)
        return;
    *record = {};
    name.copy(record->name.data(), max_font_name);
    record->handle = fm::fmscalefont(fm::fmfindfont(record->name.data()), points);
    if (record->handle == fm::no_font) {
        std::fprintf(stderr, "Exit: unable to load fmfont %s\n", record->name.data());
        std::exit(0);
    }
    fm::fmfontinfo info;
    fm::fmgetfontinfo(record->handle, &info);
    record->baseline_offset = info.yorig;
    record->height = info.height;
    record->draw = gl_fmprstr;
    record->select = gl_select_fm_font;
    record->size = gl_inquire_fm_font_size;
    record->loaded = font_loaded;
    record->points = points;
}

void gl_select_font(int slot) {
    if (const font_record *record = loaded_record(slot)) {
        record->select(slot);
        current_font = static_cast<std::int16_t>(slot);
    }
}

void gl_select_fm_font(int slot) {
    if (const font_record *record = loaded_record(slot))
        fm::fmsetfont(record->handle);
}

int gl_inq_current_font() {
    return current_font;
}

const font_record *gl_inquire_font(int slot) {
    return record_of(slot);
}

void gl_fmprstr(std::string_view text) {
    fm::fmprstr(text);
}

int gl_inquire_fm_font_size(std::string_view text, text_size *size, int slot) {
    *size = {};
    const font_record *record = loaded_record(slot);
    if (record == nullptr)
        return 0;
    gl_select_fm_font(slot);
    *size = {fm::fmgetstrwidth(record->handle, text), record->height};
    return size->width;
}

std::string gl_describe_font_table() {
    std::string all;
    for (int slot = 0; slot < font_slot_count; slot++) {
        const font_record *record = loaded_record(slot);
        if (record == nullptr)
            continue;
        fm::fmfontinfo info;
        fm::fmgetfontinfo(record->handle, &info);
        std::array<char, 256> line{};
        std::snprintf(line.data(), line.size(),
                      "%2d %-11s %-19s %4.1f points %3d pixels %-22.99s baseline %d height %d\n",
                      slot, role_name_of(slot), record->name.data(),
                      static_cast<double>(record->points), info.pixels,
                      fm::fmgetfacename(record->handle).c_str(), record->baseline_offset,
                      record->height);
        all += line.data();
    }
    return all;
}

} // namespace toolkit
