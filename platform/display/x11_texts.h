// Texts offered to other programs and asked of them: the server's selections CLIPBOARD and PRIMARY.
//
// Who is asked answers by events: nothing here waits for another program. Each request has a window
// of its own, so that what comes too late finds nobody. Texts come as UTF8_STRING, else as STRING,
// whole or in parts.
#pragma once

#include "platform/display/display.h"

#include <string>
#include <string_view>
#include <xcb/xcb.h>

namespace display::x11 {

void offer_text(text_offer which, std::string_view text);
[[nodiscard]] bool request_text(text_offer which);
[[nodiscard]] const std::string &newest_paste();

// The text of a paste event that has been taken out of the queue.
void keep_paste(std::string text);

// When the user last pressed something, by the server's clock: what is offered is offered since.
void note_input_time(xcb_timestamp_t time);

// True when e was about these texts: nobody else wants it.
[[nodiscard]] bool take_text_event(const xcb_generic_event_t *e);

void forget_texts();

// Latin-1 and UTF-8. What the other has not becomes "?".
[[nodiscard]] std::string from_latin_1(std::string_view text);
[[nodiscard]] std::string to_latin_1(std::string_view text);

} // namespace display::x11
