// Fonts and text: the calls of the font manager.
//
//   fm::fmfonthandle face = fm::fmfindfont("Helvetica-Bold");   // no_font: the system has none
//   fm::fmfonthandle bold = fm::fmscalefont(face, 10.0F);
//   fm::fmsetfont(bold);
//   gl::cmov2i(10, 20);
//   fm::fmprstr("Load Play File...");                           // baseline at y = 20
//
// Sizes are in points of 1/72 inch on a page of 96 pixels to the inch, whole pixels to the em:
// 8, 10 and 12 points are 11, 13 and 16 pixels. That is the size that 1280 x 1024 layouts with rows
// of 30 pixels are drawn for. All metrics are whole pixels and do not depend on the window.
//
// Text is UTF-8. Every byte that is not part of valid UTF-8, and every control character, shows as
// the replacement character. What the face has no picture of is taken from another installed
// face; what none has is drawn as a box. Letters stand one after the other from left to right.
//
// Text goes into the current window of platform/gl, in its current colour, from the character
// position on, which moves behind it: anti-aliased in RGB windows, without shades where pixels are
// indices. Write mask and box hold.
#pragma once

#include <string>
#include <string_view>

namespace fm {

// A font, or none. Handles stay good until fmexit; any other number is treated as no_font.
using fmfonthandle = int;
inline constexpr fmfonthandle no_font = 0;

inline constexpr float max_points = 1000.0F;
inline constexpr int max_fonts = 256; // handles given out at a time

// Reads which fonts are installed. Done by the first fmfindfont if nobody did it before.
void fminit();

// Gives everything back: handles end, caches are emptied. fminit may follow.
void fmexit();

// Finds the face of this name, at a size of one point: first an installed face with exactly this
// PostScript or full name; else, when it is one of the 35 classic PostScript names, the installed
// face that is made to its widths (base_faces.h). Nothing else is ever taken in its place.
// Returns no_font when there is none that can be read. Asking again gives the same handle.
[[nodiscard]] fmfonthandle fmfindfont(std::string_view name);

// The same face at `points` times the size of `font`. Brought to 1 pixel at least, to max_points
// at most; the same face at the same size in pixels has one handle. no_font gives no_font, as does
// a size that is not a number above 0 and a table with max_fonts in it.
[[nodiscard]] fmfonthandle fmscalefont(fmfonthandle font, float points);

// Sets the font that fmprstr draws with; no_font: nothing is drawn.
void fmsetfont(fmfonthandle font);
[[nodiscard]] fmfonthandle fmgetfont();

// Draws and returns the width that the character position moved by.
int fmprstr(std::string_view text);

// What fmprstr would return with this font. Letters are moved by a pixel where rounding has left
// them too close or too wide, so a text can be a pixel wider or narrower than the sum of its parts.
[[nodiscard]] int fmgetstrwidth(fmfonthandle font, std::string_view text);

// The pixels that a text may touch, around the character position: left <= x < right and
// bottom <= y < top. All 0 for a text that draws nothing.
struct text_box {
    int left = 0;
    int right = 0;
    int bottom = 0;
    int top = 0;
    int width = 0; // as fmgetstrwidth
};
[[nodiscard]] text_box fmgetstrbox(fmfonthandle font, std::string_view text);

struct fmfontinfo {
    int yorig = 0;  // from the bottom of a line up to the baseline
    int height = 0; // of a line: holds accented capitals and descenders of the face
    int xsize = 0;  // the widest letter's
    int pixels = 0; // to the em
    bool fixed_width = false;
};
// Returns 0, or -1 for no_font; *info is then empty.
int fmgetfontinfo(fmfonthandle font, fmfontinfo *info);

// The PostScript name of the face that is drawn; empty for no_font.
[[nodiscard]] std::string fmgetfacename(fmfonthandle font);

} // namespace fm
