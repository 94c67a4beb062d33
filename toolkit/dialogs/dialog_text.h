// The text of a dialog: its lines, and how large the dialog is with them.
//
//   const dialog_layout layout = lay_out_dialog("Disk full.\nGo on?", slot, {.has_no = true});
//   const screen_box box = dialog_box(layout, x, y);            // around a place of the screen
//
// Pixels of the screen, from its lower left corner; nothing is scaled, since text is not.
#pragma once

#include "toolkit/graphics/screen_box.h"

#include <string>
#include <string_view>
#include <vector>

namespace toolkit {

struct dialog_contents {
    bool has_answer = false; // a field to type in
    bool has_yes = false;    // which buttons there are
    bool has_no = false;
    bool has_quit = false;
};

struct dialog_layout {
    std::vector<std::string> lines; // one at least
    int line_height = 0;
    int width = 0;
    int height = 0;
};

// Splits the text where lines end ('\n'; behind the last line it may stand or not), and lines that
// are too long for a label or for the screen between words. Other control characters become blanks.
// What the screen has no room for is left out, with an ellipsis in its place.
[[nodiscard]] dialog_layout lay_out_dialog(std::string_view text, int slot,
                                           const dialog_contents &contents);

// The dialog's box with (x, y) in its middle, moved to keep clear of the screen's edges, and of
// room for a title at the top. Of one that is larger than the screen the upper left corner is seen.
[[nodiscard]] screen_box dialog_box(const dialog_layout &layout, int x, int y);

} // namespace toolkit
