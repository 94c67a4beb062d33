// The text that is cut, copied and pasted: the desktop's clipboard.
//
//   set_clipboard_text("shot_012");
//   request_clipboard_text(clipboard_source::clipboard, field, insert_it);
//
// What comes from elsewhere has been made fit for a line of text: bytes that are no UTF-8 show as
// such (U+FFFD), line ends and other control characters are blanks, and those at its end are left
// out.
#pragma once

#include "toolkit/demons/demons.h"

#include <string>
#include <string_view>

namespace toolkit {

void set_clipboard_text(std::string_view text); // UTF-8

// clipboard: what was cut or copied last. selection: what is selected somewhere, which the middle
// button pastes.
enum class clipboard_source { clipboard, selection };

// Asks for a text; `call` is given it, while the receiver lives. At once, when this program has
// offered it; else from the event loop, a moment later, or never, when there is none or who has it
// does not answer within a second. Another request takes the place of one that is not answered yet.
using clipboard_call = void (*)(demon *receiver, std::string_view text);
void request_clipboard_text(clipboard_source source, demon *receiver, clipboard_call call);

// The text as it would be pasted.
[[nodiscard]] std::string make_line_of_text(std::string_view text);

} // namespace toolkit
