#include "platform/display/x11_texts.h"

#include "platform/clock/program_clock.h"
#include "platform/display/x11_connection.h"
#include "platform/display/x11_queue.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <utility>

namespace display::x11 {
namespace {

constexpr int type_bits = 0x7f;
constexpr std::uint8_t format_bytes = 8;
constexpr std::uint8_t format_words = 32;

struct own_text {
    std::string text;
    xcb_timestamp_t since = XCB_CURRENT_TIME;
    bool is_offered = false;
};

// The one request that may be under way.
struct text_request {
    xcb_window_t window = XCB_WINDOW_NONE;
    text_offer which = text_offer::clipboard;
    xcb_atom_t target = XCB_ATOM_NONE;
    std::int64_t patience_ends = 0;
    bool is_in_parts = false;
    std::string text;
};

struct text_state {
    xcb_window_t owner = XCB_WINDOW_NONE;
    xcb_timestamp_t input_time = XCB_CURRENT_TIME;
    std::array<own_text, text_offer_count> own;
    text_request request;
    std::string pasted;
};
text_state state;

own_text &own_of(text_offer which) {
    return state.own[static_cast<std::size_t>(which)];
}

xcb_atom_t selection_of(text_offer which) {
    return which == text_offer::clipboard ? number_of(atom::clipboard)
                                          : xcb_atom_t{XCB_ATOM_PRIMARY};
}

// Null for selections of other kinds.
own_text *offered_as(xcb_atom_t selection) {
    for (const text_offer which : {text_offer::clipboard, text_offer::selection}) {
        if (selection == selection_of(which)) {
            return &own_of(which);
        }
    }
    return nullptr;
}

// A window that is never shown.
xcb_window_t make_window() {
    const xcb_window_t window = xcb_generate_id(xserver.xcb);
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(xserver.xcb, XCB_COPY_FROM_PARENT, window, xserver.screen->root, 0, 0, 1, 1,
                      0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                      &events);
    return window;
}

// ---- our own text

bool put_bytes(const xcb_selection_request_event_t *x, xcb_atom_t property, std::string_view text) {
    constexpr std::size_t around = 64; // of the request that carries them
    const std::size_t room = std::size_t{xcb_get_maximum_request_length(xserver.xcb)} * 4;
    if (text.size() + around > room) {
        return false;
    }
    xcb_change_property(xserver.xcb, XCB_PROP_MODE_REPLACE, x->requestor, property, x->target,
                        format_bytes, static_cast<std::uint32_t>(text.size()), text.data());
    return true;
}

template <std::size_t count>
bool put_words(const xcb_selection_request_event_t *x, xcb_atom_t property, xcb_atom_t type,
               const std::array<std::uint32_t, count> &words) {
    xcb_change_property(xserver.xcb, XCB_PROP_MODE_REPLACE, x->requestor, property, type,
                        format_words, count, words.data());
    return true;
}

// Stores what is asked for with who asks. False when we don't have it.
bool put_answer(const xcb_selection_request_event_t *x, xcb_atom_t property) {
    const own_text *own = offered_as(x->selection);
    if (own == nullptr || !own->is_offered) {
        return false;
    }
    const xcb_atom_t utf8 = number_of(atom::utf8_string);
    const xcb_atom_t plain = number_of(atom::text_plain_utf8);
    const xcb_atom_t targets = number_of(atom::targets);
    const xcb_atom_t timestamp = number_of(atom::timestamp);
    if (x->target == targets) {
        return put_words(
            x, property, XCB_ATOM_ATOM,
            std::array<std::uint32_t, 5>{targets, timestamp, utf8, plain, XCB_ATOM_STRING});
    }
    if (x->target == timestamp) {
        return put_words(x, property, XCB_ATOM_INTEGER, std::array<std::uint32_t, 1>{own->since});
    }
    if (x->target == utf8 || x->target == plain) {
        return put_bytes(x, property, own->text);
    }
    return x->target == XCB_ATOM_STRING && put_bytes(x, property, to_latin_1(own->text));
}

void answer(const xcb_selection_request_event_t *x) {
    const xcb_atom_t property = x->property != XCB_ATOM_NONE ? x->property : x->target;
    xcb_selection_notify_event_t e{};
    e.response_type = XCB_SELECTION_NOTIFY;
    e.time = x->time;
    e.requestor = x->requestor;
    e.selection = x->selection;
    e.target = x->target;
    e.property = put_answer(x, property) ? property : xcb_atom_t{XCB_ATOM_NONE};
    std::array<char, 32> wire{}; // every event has this size there
    std::memcpy(wire.data(), &e, sizeof e);
    xcb_send_event(xserver.xcb, 0, x->requestor, 0, wire.data());
}

void lose(const xcb_selection_clear_event_t *x) {
    own_text *own = offered_as(x->selection);
    const bool is_older =
        own != nullptr && static_cast<std::int32_t>(x->time - own->since) < 0; // we have it again
    if (own != nullptr && !is_older) {
        *own = {};
    }
}

// ---- the text of another program

void end_request() {
    if (state.request.window != XCB_WINDOW_NONE) {
        xcb_destroy_window(xserver.xcb, state.request.window);
    }
    state.request = {};
}

void renew_patience() {
    state.request.patience_ends = program_clock::now_us() + paste_patience_us;
}

void ask(xcb_atom_t target) {
    state.request.target = target;
    xcb_convert_selection(xserver.xcb, state.request.window, selection_of(state.request.which),
                          target, number_of(atom::pasted), XCB_CURRENT_TIME);
}

void finish_request() {
    std::string text = std::move(state.request.text);
    if (state.request.target == XCB_ATOM_STRING) {
        text = from_latin_1(text);
    }
    end_request();
    if (!text.empty()) {
        push_paste(std::move(text));
    }
}

// Takes what the owner has stored. Returns the type of that; none: it is not there.
xcb_atom_t take_stored() {
    text_request &request = state.request;
    constexpr std::uint32_t most_words = longest_paste / 4;
    const xcb_atom_t property = number_of(atom::pasted);
    const auto r = await<xcb_get_property_reply>(xcb_get_property(
        xserver.xcb, 0, request.window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, most_words));
    xcb_delete_property(xserver.xcb, request.window, property);
    if (!r) {
        return XCB_ATOM_NONE;
    }
    const bool is_text = r->format == format_bytes;
    const auto stored = static_cast<std::size_t>(xcb_get_property_value_length(r.get()));
    const std::size_t taken = std::min(stored, longest_paste - request.text.size());
    if (is_text) {
        request.text.append(static_cast<const char *>(xcb_get_property_value(r.get())), taken);
    }
    return is_text && stored == 0 ? xcb_atom_t{XCB_ATOM_NONE} : r->type;
}

void take_answer(const xcb_selection_notify_event_t *x) {
    if (x->property == XCB_ATOM_NONE) {
        if (state.request.target == XCB_ATOM_STRING) {
            end_request();
        } else {
            ask(XCB_ATOM_STRING);
        }
    } else if (take_stored() == number_of(atom::incr)) {
        state.request.is_in_parts = true;
        renew_patience();
    } else {
        finish_request();
    }
}

void take_part() {
    if (take_stored() == XCB_ATOM_NONE) {
        finish_request();
    } else {
        renew_patience();
    }
}

// An event of the request's window.
void go_on(const xcb_generic_event_t *e) {
    if (program_clock::now_us() > state.request.patience_ends) {
        end_request();
        return;
    }
    if ((e->response_type & type_bits) == XCB_SELECTION_NOTIFY) {
        take_answer(reinterpret_cast<const xcb_selection_notify_event_t *>(e));
        return;
    }
    const auto *x = reinterpret_cast<const xcb_property_notify_event_t *>(e);
    if (state.request.is_in_parts && x->state == XCB_PROPERTY_NEW_VALUE &&
        x->atom == number_of(atom::pasted)) {
        take_part();
    }
}

bool is_of_request(const xcb_generic_event_t *e) {
    xcb_window_t window = XCB_WINDOW_NONE;
    if ((e->response_type & type_bits) == XCB_SELECTION_NOTIFY) {
        window = reinterpret_cast<const xcb_selection_notify_event_t *>(e)->requestor;
    } else if ((e->response_type & type_bits) == XCB_PROPERTY_NOTIFY) {
        window = reinterpret_cast<const xcb_property_notify_event_t *>(e)->window;
    }
    return window != XCB_WINDOW_NONE && window == state.request.window;
}

bool take_event_of_texts(const xcb_generic_event_t *e) {
    switch (e->response_type & type_bits) {
    case XCB_SELECTION_REQUEST:
        answer(reinterpret_cast<const xcb_selection_request_event_t *>(e));
        return true;
    case XCB_SELECTION_CLEAR:
        lose(reinterpret_cast<const xcb_selection_clear_event_t *>(e));
        return true;
    default:
        break;
    }
    if (!is_of_request(e)) {
        return false;
    }
    go_on(e);
    return true;
}

} // namespace

void offer_text(text_offer which, std::string_view text) {
    if (xserver.lost || text.size() > longest_paste) {
        return;
    }
    own_text &own = own_of(which);
    try {
        own.text = text;
    } catch (const std::bad_alloc &) {
        return;
    }
    if (state.owner == XCB_WINDOW_NONE) {
        state.owner = make_window();
    }
    own.since = state.input_time;
    xcb_set_selection_owner(xserver.xcb, state.owner, selection_of(which), own.since);
    const auto r = await<xcb_get_selection_owner_reply>(
        xcb_get_selection_owner(xserver.xcb, selection_of(which)));
    own.is_offered = r && r->owner == state.owner;
}

bool request_text(text_offer which) {
    if (xserver.lost) {
        return false;
    }
    end_request();
    forget_paste();
    if (own_of(which).is_offered) {
        try {
            state.pasted = own_of(which).text;
            return true;
        } catch (const std::bad_alloc &) {
            return false;
        }
    }
    state.request.window = make_window();
    state.request.which = which;
    renew_patience();
    ask(number_of(atom::utf8_string));
    return false;
}

const std::string &newest_paste() {
    return state.pasted;
}

void keep_paste(std::string text) {
    state.pasted = std::move(text);
}

void note_input_time(xcb_timestamp_t time) {
    state.input_time = time;
}

bool take_text_event(const xcb_generic_event_t *e) {
    try {
        return take_event_of_texts(e);
    } catch (const std::bad_alloc &) { // a text that is too long for us
        end_request();
        return true;
    }
}

void forget_texts() {
    state = {};
}

std::string from_latin_1(std::string_view text) {
    constexpr unsigned low_bits = 6;
    constexpr unsigned char first_beyond_ascii = 0x80;
    std::string out;
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if (code < first_beyond_ascii) {
            out += c;
            continue;
        }
        out += static_cast<char>(0xC0U | (code >> low_bits));
        out += static_cast<char>(0x80U | (code & 0x3FU));
    }
    return out;
}

std::string to_latin_1(std::string_view text) {
    constexpr unsigned low_bits = 6;
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto lead = static_cast<unsigned char>(text[i]);
        if (lead < 0x80U) {
            out += text[i];
            continue;
        }
        const bool is_latin = (lead == 0xC2U || lead == 0xC3U) && i + 1 < text.size();
        const unsigned low = is_latin ? static_cast<unsigned char>(text[i + 1]) & 0x3FU : 0;
        out += is_latin ? static_cast<char>(((lead & 0x03U) << low_bits) | low) : '?';
        while (i + 1 < text.size() && (static_cast<unsigned char>(text[i + 1]) & 0xC0U) == 0x80U) {
            ++i;
        }
    }
    return out;
}

} // namespace display::x11
