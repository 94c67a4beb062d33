#include "tests/platform/display/x11_observer.h"

#include "platform/display/surfaces.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <string_view>
#include <xcb/xtest.h>

namespace {
template <class reply> display::malloced<reply> own(reply *r) {
    return display::malloced<reply>(r);
}
std::chrono::steady_clock::time_point patience_end() {
    return std::chrono::steady_clock::now() + std::chrono::seconds(20);
}
} // namespace

x11_observer::x11_observer(const std::string &display_name)
    : c_(xcb_connect(display_name.c_str(), nullptr)) {
    root_ = xcb_setup_roots_iterator(xcb_get_setup(c_)).data->root;
}

x11_observer::~x11_observer() {
    xcb_disconnect(c_);
}

std::vector<std::uint32_t> x11_observer::look(display::rectangle area) {
    const auto image = own(xcb_get_image_reply(
        c_,
        xcb_get_image(c_, XCB_IMAGE_FORMAT_Z_PIXMAP, root_, static_cast<std::int16_t>(area.x),
                      static_cast<std::int16_t>(area.y), static_cast<std::uint16_t>(area.width),
                      static_cast<std::uint16_t>(area.height), ~0U),
        nullptr));
    if (!image) {
        return {};
    }
    std::vector<std::uint32_t> words(static_cast<std::size_t>(area.width * area.height));
    std::memcpy(words.data(), xcb_get_image_data(image.get()), words.size() * 4);
    for (std::uint32_t &word : words) {
        word &= 0xffffff;
    }
    return words;
}

void x11_observer::press_key(int keycode, bool down) {
    xcb_test_fake_input(c_, down ? XCB_KEY_PRESS : XCB_KEY_RELEASE,
                        static_cast<std::uint8_t>(keycode), 0, root_, 0, 0, 0);
    xcb_flush(c_);
}

void x11_observer::stop_repeats() {
    const std::uint32_t off = XCB_AUTO_REPEAT_MODE_OFF;
    xcb_change_keyboard_control(c_, XCB_KB_AUTO_REPEAT_MODE, &off);
    xcb_flush(c_);
}

void x11_observer::press_button(int button, bool down) {
    xcb_test_fake_input(c_, down ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE,
                        static_cast<std::uint8_t>(button), 0, root_, 0, 0, 0);
    xcb_flush(c_);
}

void x11_observer::move_pointer(display::point to) {
    xcb_test_fake_input(c_, XCB_MOTION_NOTIFY, 0, 0, root_, static_cast<std::int16_t>(to.x),
                        static_cast<std::int16_t>(to.y), 0);
    xcb_flush(c_);
}

xcb_atom_t x11_observer::atom(const char *name) {
    const auto length = static_cast<std::uint16_t>(std::strlen(name));
    return own(xcb_intern_atom_reply(c_, xcb_intern_atom(c_, 0, length, name), nullptr))->atom;
}

xcb_window_t x11_observer::find_below(xcb_window_t from, const char *title) {
    const auto name = own(xcb_get_property_reply(
        c_, xcb_get_property(c_, 0, from, atom("_NET_WM_NAME"), XCB_GET_PROPERTY_TYPE_ANY, 0, 99),
        nullptr));
    if (name && std::string_view(static_cast<char *>(xcb_get_property_value(name.get())),
                                 name->value_len) == title) {
        return from;
    }
    const auto tree = own(xcb_query_tree_reply(c_, xcb_query_tree(c_, from), nullptr));
    for (int i = 0; tree && i < xcb_query_tree_children_length(tree.get()); ++i) {
        if (const xcb_window_t w = find_below(xcb_query_tree_children(tree.get())[i], title)) {
            return w;
        }
    }
    return 0;
}

void x11_observer::send(xcb_window_t to, const char *type, const std::vector<std::uint32_t> &words,
                        bool to_root) {
    xcb_client_message_event_t e{};
    e.response_type = XCB_CLIENT_MESSAGE;
    e.format = 32;
    e.window = to;
    e.type = atom(type);
    std::copy(words.begin(), words.end(), e.data.data32);
    const std::uint32_t mask =
        to_root ? XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY : 0U;
    xcb_send_event(c_, 0, to_root ? root_ : to, mask, reinterpret_cast<const char *>(&e));
    xcb_flush(c_);
}

xcb_window_t x11_observer::make_window() {
    const xcb_window_t made = xcb_generate_id(c_);
    xcb_create_window(c_, 0, made, root_, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY, 0, 0,
                      nullptr);
    return made;
}

bool x11_observer::drop(xcb_window_t target, const std::string &list, void (*let_target_work)()) {
    const xcb_window_t source = make_window();
    xcb_set_selection_owner(c_, source, atom("XdndSelection"), XCB_CURRENT_TIME);
    const xcb_atom_t files = atom("text/uri-list");
    send(target, "XdndEnter", {source, 5U << 24, files, 0, 0});
    send(target, "XdndPosition", {source, 0, 70U << 16 | 80, 0, atom("XdndActionCopy")});
    send(target, "XdndDrop", {source, 0, 0, 0, 0});
    for (const auto end = patience_end(); std::chrono::steady_clock::now() < end;) {
        let_target_work();
        while (const auto e = own(xcb_poll_for_event(c_))) {
            if ((e->response_type & 0x7f) == XCB_SELECTION_REQUEST) {
                const auto *ask = reinterpret_cast<xcb_selection_request_event_t *>(e.get());
                xcb_change_property(c_, XCB_PROP_MODE_REPLACE, ask->requestor, ask->property, files,
                                    8, static_cast<std::uint32_t>(list.size()), list.data());
                xcb_selection_notify_event_t done{};
                done.response_type = XCB_SELECTION_NOTIFY;
                done.requestor = ask->requestor;
                done.selection = ask->selection;
                done.target = ask->target;
                done.property = ask->property;
                xcb_send_event(c_, 0, ask->requestor, 0, reinterpret_cast<const char *>(&done));
                xcb_flush(c_);
            }
            const auto *message = reinterpret_cast<xcb_client_message_event_t *>(e.get());
            if ((e->response_type & 0x7f) == XCB_CLIENT_MESSAGE &&
                message->type == atom("XdndFinished")) {
                return message->data.data32[1] == 1;
            }
        }
    }
    return false;
}

void x11_observer::answer(const xcb_selection_request_event_t &ask, const std::string &text,
                          service how) {
    const bool is_latin = ask.target == XCB_ATOM_STRING;
    const std::uint32_t watched = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_selection_notify_event_t done{};
    done.response_type = XCB_SELECTION_NOTIFY;
    done.requestor = ask.requestor;
    done.selection = ask.selection;
    done.target = ask.target;
    if (how == service::parts) {
        const auto size = static_cast<std::uint32_t>(text.size());
        xcb_change_window_attributes(c_, ask.requestor, XCB_CW_EVENT_MASK, &watched);
        xcb_change_property(c_, XCB_PROP_MODE_REPLACE, ask.requestor, ask.property, atom("INCR"),
                            32, 1, &size);
        done.property = ask.property;
    } else if (is_latin == (how == service::latin_1)) {
        xcb_change_property(c_, XCB_PROP_MODE_REPLACE, ask.requestor, ask.property, ask.target, 8,
                            static_cast<std::uint32_t>(text.size()), text.data());
        done.property = ask.property;
    }
    std::array<char, 32> wire{};
    std::memcpy(wire.data(), &done, sizeof done);
    xcb_send_event(c_, 0, ask.requestor, 0, wire.data());
}

void x11_observer::serve_text(const std::string &text, service how,
                              const std::function<bool()> &done) {
    constexpr std::size_t part = 70'000;
    xcb_set_selection_owner(c_, make_window(), atom("CLIPBOARD"), XCB_CURRENT_TIME);
    xcb_flush(c_);
    xcb_selection_request_event_t ask{};
    std::size_t sent = 0;
    while (!done()) {
        while (const auto e = own(xcb_poll_for_event(c_))) {
            const auto *gone = reinterpret_cast<const xcb_property_notify_event_t *>(e.get());
            if ((e->response_type & 0x7f) == XCB_SELECTION_REQUEST && how != service::none) {
                ask = *reinterpret_cast<const xcb_selection_request_event_t *>(e.get());
                answer(ask, text, how);
            } else if ((e->response_type & 0x7f) == XCB_PROPERTY_NOTIFY &&
                       gone->window == ask.requestor && gone->state == XCB_PROPERTY_DELETE) {
                const std::string next = text.substr(std::min(sent, text.size()), part);
                sent += part;
                xcb_change_property(c_, XCB_PROP_MODE_REPLACE, ask.requestor, ask.property,
                                    ask.target, 8, static_cast<std::uint32_t>(next.size()),
                                    next.data());
            }
        }
        xcb_flush(c_);
    }
}

std::string x11_observer::ask_text(const char *target, void (*let_owner_work)()) {
    xcb_convert_selection(c_, make_window(), atom("CLIPBOARD"), atom(target), atom("TAKEN"),
                          XCB_CURRENT_TIME);
    xcb_flush(c_);
    for (const auto end = patience_end(); std::chrono::steady_clock::now() < end;) {
        let_owner_work();
        while (const auto e = own(xcb_poll_for_event(c_))) {
            const auto *x = reinterpret_cast<const xcb_selection_notify_event_t *>(e.get());
            if ((e->response_type & 0x7f) != XCB_SELECTION_NOTIFY)
                continue;
            if (x->property == XCB_ATOM_NONE)
                return "-";
            const auto r = own(xcb_get_property_reply(
                c_, xcb_get_property(c_, 0, x->requestor, x->property, 0, 0, 1000), nullptr));
            return {static_cast<const char *>(xcb_get_property_value(r.get())),
                    static_cast<std::size_t>(xcb_get_property_value_length(r.get()))};
        }
    }
    return "no answer";
}
