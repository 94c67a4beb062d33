// Texts that programs give each other: the desktop's clipboard, and what is selected somewhere.
//
//   gl::offer_text(gl::text_offer::clipboard, "shot_012");
//   gl::qdevice(gl::PASTED);
//   if (gl::request_text(gl::text_offer::clipboard))
//       insert(gl::pasted_text());                 // our own text
//   ...                                            // PASTED came through the queue:
//   insert(gl::pasted_text());
//
// Another program is never waited for: what it has not brought in a second does not come.
#pragma once

#include <string>
#include <string_view>

namespace gl {

enum class text_offer { clipboard, selection };

// Offers a UTF-8 text until another program offers one. Texts beyond a megabyte are not offered.
void offer_text(text_offer which, std::string_view text);

// Asks for what is offered. True: it is our own text, and there already. Else PASTED is entered in
// the queue when it has come, if it comes. Only the newest request counts.
[[nodiscard]] bool request_text(text_offer which);

// The text that came last, of any bytes, a megabyte at most. Good until the queue is looked at.
[[nodiscard]] const std::string &pasted_text();

} // namespace gl
