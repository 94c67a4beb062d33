#include "platform/fonts/faces.h"

#include <memory>
#include <utility>
#include <vector>

namespace fm {
namespace {

struct library_closer {
    void operator()(FT_Library library) const { FT_Done_FreeType(library); }
};
struct face_closer {
    void operator()(FT_Face face) const { FT_Done_Face(face); }
};
using face_owner = std::unique_ptr<FT_FaceRec_, face_closer>;

struct open_file {
    font_file file;
    face_owner record;          // null: FreeType could not read it
    std::vector<int> stand_ins; // faces that have had letters which this one lacks
};

// Faces are closed before the library: members go in reverse order.
struct all_faces {
    std::unique_ptr<FT_LibraryRec_, library_closer> library;
    std::vector<open_file> files;
    int stand_ins = 0;
};
all_faces faces;

int find_open(const font_file &file) {
    for (std::size_t i = 0; i < faces.files.size(); i++)
        if (faces.files[i].file.path == file.path && faces.files[i].file.index == file.index)
            return static_cast<int>(i);
    return -1;
}

// Opens the file, or notes that it is no good, so that it is tried once only.
int open_new(const font_file &file) {
    if (!faces.library) {
        FT_Library library = nullptr;
        if (FT_Init_FreeType(&library) != 0)
            return -1;
        faces.library.reset(library);
    }
    FT_Face record = nullptr;
    if (FT_New_Face(faces.library.get(), file.path.c_str(), file.index, &record) != 0)
        record = nullptr;
    face_owner owner(record);
    if (record != nullptr && (FT_IS_SCALABLE(record) == 0 || record->units_per_EM == 0))
        owner.reset();
    faces.files.push_back({file, std::move(owner), {}});
    return static_cast<int>(faces.files.size()) - 1;
}

int usable_or_none(int face) {
    return face >= 0 && faces.files[static_cast<std::size_t>(face)].record ? face : -1;
}

int open_stand_in(const font_file &file) {
    const int open = find_open(file);
    if (open >= 0 || faces.stand_ins >= max_stand_ins)
        return usable_or_none(open);
    faces.stand_ins++;
    return usable_or_none(open_new(file));
}

} // namespace

int open_face(const font_file &file) {
    int face = find_open(file);
    if (face < 0 && static_cast<int>(faces.files.size()) - faces.stand_ins < max_named_faces)
        face = open_new(file);
    return usable_or_none(face);
}

void close_faces() {
    faces.files.clear();
    faces.library.reset();
    faces.stand_ins = 0;
}

FT_Face face_record(int face) {
    return faces.files[static_cast<std::size_t>(face)].record.get();
}

const font_file &face_file(int face) {
    return faces.files[static_cast<std::size_t>(face)].file;
}

bool find_letter(int face, char32_t letter, letter_place *place) {
    *place = {face, FT_Get_Char_Index(face_record(face), letter)};
    if (place->index != 0)
        return true;
    // The faces that have helped before come first: that is quick, and a letter's face never
    // changes, as new ones come last.
    for (const int other : faces.files[static_cast<std::size_t>(face)].stand_ins) {
        *place = {other, FT_Get_Char_Index(face_record(other), letter)};
        if (place->index != 0)
            return true;
    }
    font_file file;
    if (!find_file_with(letter, face_file(face), &file))
        return false;
    const int other = open_stand_in(file);
    if (other < 0)
        return false;
    *place = {other, FT_Get_Char_Index(face_record(other), letter)};
    if (place->index == 0)
        return false;
    faces.files[static_cast<std::size_t>(face)].stand_ins.push_back(other);
    return true;
}

bool load_outline(const letter_place &place, int pixels) {
    constexpr FT_Int32 fitted = FT_LOAD_TARGET_NORMAL | FT_LOAD_FORCE_AUTOHINT | FT_LOAD_NO_BITMAP;
    FT_Face record = face_record(place.face);
    return FT_Set_Pixel_Sizes(record, 0, static_cast<FT_UInt>(pixels)) == 0 &&
           FT_Load_Glyph(record, place.index, fitted) == 0 &&
           record->glyph->format == FT_GLYPH_FORMAT_OUTLINE;
}

} // namespace fm
