#include "platform/display/x11_drop.h"

#include "platform/display/x11_connection.h"
#include "platform/display/x11_queue.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <unistd.h>

namespace display::x11 {
namespace {

constexpr std::uint32_t protocol_version = 5;
constexpr std::uint32_t longest_list = 1 << 20; // bytes

// The one drop that may be under way.
struct drop_state {
    xcb_window_t source = XCB_WINDOW_NONE;
    bool has_files = false;
    point pointer;
};
drop_state current;

bool offers_files(const xcb_client_message_event_t *e) {
    const xcb_atom_t wanted = number_of(atom::text_uri_list);
    const std::uint32_t *words = e->data.data32;
    constexpr std::uint32_t more_than_three = 1;
    if ((words[1] & more_than_three) == 0) {
        return words[2] == wanted || words[3] == wanted || words[4] == wanted;
    }
    const std::string list =
        read_property(current.source, number_of(atom::xdnd_type_list), XCB_ATOM_ATOM, longest_list);
    for (std::size_t at = 0; at + sizeof wanted <= list.size(); at += sizeof wanted) {
        if (std::memcmp(list.data() + at, &wanted, sizeof wanted) == 0) {
            return true;
        }
    }
    return false;
}

void answer(xcb_window_t target, atom what, bool yes) {
    const std::uint32_t action =
        yes ? number_of(atom::xdnd_action_copy) : std::uint32_t{XCB_ATOM_NONE};
    if (what == atom::xdnd_status) {
        send_message(current.source, current.source, what, {target, yes, 0, 0, action}, 0);
    } else {
        send_message(current.source, current.source, what, {target, yes, action, 0, 0}, 0);
    }
}

// Empty when an escape is broken or stands for a zero byte.
std::string decode(std::string_view text) {
    constexpr std::size_t digits = 2;
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            out += text[i];
            continue;
        }
        const std::string_view code = text.substr(i + 1, digits);
        unsigned value = 0;
        const auto read = std::from_chars(code.data(), code.data() + code.size(), value, 16);
        if (code.size() != digits || read.ptr != code.data() + digits || value == 0) {
            return {};
        }
        out += static_cast<char>(value);
        i += digits;
    }
    return out;
}

bool is_this_host(std::string_view host) {
    char own[256] = "";
    return host.empty() || host == "localhost" ||
           (gethostname(own, sizeof own - 1) == 0 && host == own);
}

// The path of one line, or empty.
std::string read_uri(std::string_view uri) {
    constexpr std::string_view scheme = "file:";
    constexpr std::string_view authority = "//";
    if (!uri.starts_with(scheme)) {
        return {};
    }
    uri.remove_prefix(scheme.size());
    if (uri.starts_with(authority)) {
        uri.remove_prefix(authority.size());
        const std::size_t end = std::min(uri.find('/'), uri.size());
        if (!is_this_host(uri.substr(0, end))) {
            return {};
        }
        uri.remove_prefix(end);
    }
    return uri.starts_with('/') ? decode(uri) : std::string{};
}

} // namespace

void accept_drops(xcb_window_t window) {
    const std::uint32_t version = protocol_version;
    xcb_change_property(xserver.xcb, XCB_PROP_MODE_REPLACE, window, number_of(atom::xdnd_aware),
                        XCB_ATOM_ATOM, 32, 1, &version);
}

bool take_drop_message(const xcb_client_message_event_t *e, window_id target) {
    const std::uint32_t *words = e->data.data32;
    if (e->type == number_of(atom::xdnd_enter)) {
        current = {words[0], false, {}};
        current.has_files = offers_files(e);
        return true;
    }
    const bool ours = words[0] == current.source && target != 0;
    if (e->type == number_of(atom::xdnd_position)) {
        if (ours) {
            constexpr int x_shift = 16;
            constexpr std::uint32_t y_mask = 0xffff;
            current.pointer = {round_down(static_cast<int>(words[2] >> x_shift)),
                               round_down(static_cast<int>(words[2] & y_mask))};
            answer(e->window, atom::xdnd_status, current.has_files);
        }
        return true;
    }
    if (e->type == number_of(atom::xdnd_drop)) {
        if (ours && current.has_files) {
            xcb_convert_selection(xserver.xcb, e->window, number_of(atom::xdnd_selection),
                                  number_of(atom::text_uri_list), number_of(atom::xdnd_selection),
                                  words[2]);
        } else if (ours) {
            answer(e->window, atom::xdnd_finished, false);
        }
        return true;
    }
    return false;
}

void take_dropped_selection(const xcb_selection_notify_event_t *e, window_id target) {
    if (e->selection != number_of(atom::xdnd_selection) || current.source == XCB_WINDOW_NONE) {
        return;
    }
    std::vector<std::string> paths;
    if (e->property != XCB_ATOM_NONE) {
        paths = read_uri_list(
            read_property(e->requestor, e->property, number_of(atom::text_uri_list), longest_list));
        xcb_delete_property(xserver.xcb, e->requestor, e->property);
    }
    answer(e->requestor, atom::xdnd_finished, !paths.empty());
    for (std::string &path : paths) {
        push_drop(target, current.pointer, std::move(path));
    }
    forget_drop();
}

void forget_drop() {
    current = {};
}

std::vector<std::string> read_uri_list(std::string_view text) {
    std::vector<std::string> paths;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
        std::string path = read_uri(text.substr(0, end)); // comments are no URIs either
        if (!path.empty()) {
            paths.push_back(std::move(path));
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return paths;
}

} // namespace display::x11
