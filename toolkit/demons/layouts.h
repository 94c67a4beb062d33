// Layout files: where the user has put the demons, as text.
//
//   write_layout("desk");                          // desk.lyo: all demons below the demon god
//   ...
//   read_layout("desk");                           // moves and sizes those that it names
//
// A block per demon, the blocks of its children (kids, then pop list) within, four blanks a level:
//
//   BEGIN pulldown class 3
//       TYPE -1
//       POSITION 10 20
//       SIZE 200 100
//   END
//
// POSITION is the box's origin from the parent's, SIZE its width and height, both in pixels; the
// name is the rest of its line. Demons without a name get one (auto_name_demon) when a file is
// written or read. A child of the demon god has depth 0; the god itself has no block.
//
// Reading believes nothing: what is no demon's name is skipped, numbers are cut to what boxes hold,
// the first word that is no keyword ends it, without a message. Memory and stack do not grow with
// the file.
#pragma once

#include "toolkit/demons/demons.h"

#include <array>
#include <cstddef>
#include <cstdio>

namespace toolkit {

// --- writing -------------------------------------------------------------------------------------

// Writes NAME.lyo, through a file beside it that then takes its place: what was there stays until
// the new one is complete. One message on standard error when that fails, and the old file is as it
// was. Nothing without a demon god.
void write_layout(const char *name);

// The blocks of a chain of siblings, up to one without parent.
void write_demon_layout(std::FILE *file, demon *first);

void print_indents(std::FILE *file, int depth); // four blanks each; none for 0 and less

// --- reading -------------------------------------------------------------------------------------

// Applies NAME.lyo and draws all windows again. Nothing when it can not be opened or is no regular
// file.
void read_layout(const char *name);

// A word or a name with its closing zero; what is longer is cut and matches nothing.
inline constexpr std::size_t layout_text_size = 256;
using layout_text = std::array<char, layout_text_size>;

enum class layout_keyword { none, begin, end, type, size, position };

// A file on its way through the reader. Start with the file alone.
struct layout_reader {
    std::FILE *file = nullptr;
    std::array<char, layout_text_size> piece = {}; // of the file, read ahead
    std::size_t at = 0;                            // what comes next in it
    std::size_t read = 0;                          // characters in it
    demon_ref current = {};                        // whose block it is in
    layout_keyword pending = layout_keyword::none; // met where a value was expected
};

// The next word, on this line or a later one; false at the end of the file.
bool get_word(layout_reader &reader, layout_text &text);

// The rest of the line, from its first character that is no blank or tab; false when it is empty.
bool get_string(layout_reader &reader, layout_text &text);

// A name (get_string) or a number (get_word, as far as it is one; else 0). False when there is none
// or a keyword stands there, which is then pending.
enum class layout_value { name, number };
struct layout_token {
    layout_text text = {};
    int number = 0;
};
bool get_token(layout_reader &reader, layout_value kind, layout_token &token);

// The next keyword with its values, applied. False when the reading ends.
bool get_keyword(layout_reader &reader);

} // namespace toolkit
