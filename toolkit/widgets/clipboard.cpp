#include "toolkit/widgets/clipboard.h"

#include "platform/fonts/utf8.h"
#include "platform/gl/clipboard.h"
#include "toolkit/events/event_input.h"

#include <new>
#include <utility>

namespace toolkit {

namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";
constexpr unsigned char first_printable = ' ';
constexpr unsigned char delete_character = 127;

struct clipboard_request {
    demon_ref receiver = {};
    clipboard_call call = nullptr;
};
clipboard_request waiting;

bool is_control(char c) {
    const auto code = static_cast<unsigned char>(c);
    return code < first_printable || code == delete_character;
}

void answer_request() {
    const clipboard_request asked = std::exchange(waiting, {});
    demon *receiver = asked.receiver.get();
    if (receiver == nullptr || asked.call == nullptr)
        return;
    try {
        asked.call(receiver, make_line_of_text(gl::pasted_text()));
    } catch (const std::bad_alloc &) {
        return; // nothing is pasted
    }
}

} // namespace

void set_clipboard_text(std::string_view text) {
    gl::offer_text(gl::text_offer::clipboard, text);
}

void request_clipboard_text(clipboard_source source, demon *receiver, clipboard_call call) {
    waiting = {refer_to_demon(receiver), call};
    set_paste_call(answer_request);
    const bool is_there =
        gl::request_text(source == clipboard_source::clipboard ? gl::text_offer::clipboard
                                                               : gl::text_offer::selection);
    if (is_there)
        answer_request();
}

std::string make_line_of_text(std::string_view text) {
    while (!text.empty() && is_control(text.back()))
        text.remove_suffix(1);
    std::string line;
    line.reserve(text.size());
    while (!text.empty()) {
        const bool is_one_line_end = text.starts_with("\r\n");
        const std::string_view before = text;
        if (is_control(text.front())) {
            text.remove_prefix(is_one_line_end ? 2 : 1);
            line += ' ';
        } else if (fm::next_letter(&text) == fm::replacement_letter) {
            line += replacement; // also of one that was there
        } else {
            line += before.substr(0, before.size() - text.size());
        }
    }
    return line;
}

} // namespace toolkit
