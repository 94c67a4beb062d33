// Another program on the same X server: looks at the screen, and does what hands would do.
#pragma once

#include "platform/display/display.h"

#include <functional>
#include <string>
#include <vector>
#include <xcb/xcb.h>

class x11_observer {
public:
    explicit x11_observer(const std::string &display_name);
    x11_observer(const x11_observer &) = delete;
    x11_observer &operator=(const x11_observer &) = delete;
    ~x11_observer();

    // Words 0x00RRGGBB of the screen, in device pixels.
    [[nodiscard]] std::vector<std::uint32_t> look(display::rectangle area);

    void press_key(int keycode, bool down);
    // Keys are pressed once, however long they are held.
    void stop_repeats();
    void press_button(int button, bool down);
    void move_pointer(display::point to);

    // The window with this title, wherever it hangs in the tree; 0: none.
    [[nodiscard]] xcb_window_t find(const char *title) { return find_below(root_, title); }
    // A client message, as window managers and other programs send them.
    void send(xcb_window_t to, const char *type, const std::vector<std::uint32_t> &words,
              bool to_root = false);
    [[nodiscard]] xcb_atom_t atom(const char *name);

    // Drops a text/uri-list on a window and plays the other side until the target has finished.
    // Returns whether the target said that it took it.
    bool drop(xcb_window_t target, const std::string &list, void (*let_target_work)());

    // Owns CLIPBOARD with a text and answers who asks for it until `done`: whole, in parts, in
    // Latin-1 only, or not at all.
    enum class service { whole, parts, latin_1, none };
    void serve_text(const std::string &text, service how, const std::function<bool()> &done);

    // What the owner of CLIPBOARD gives as this target; "-" when it refuses or is none.
    [[nodiscard]] std::string ask_text(const char *target, void (*let_owner_work)());

private:
    void answer(const xcb_selection_request_event_t &ask, const std::string &text, service how);
    xcb_window_t make_window();
    xcb_window_t find_below(xcb_window_t from, const char *title);

    xcb_connection_t *c_;
    xcb_window_t root_ = 0;
};
