#include "platform/display/x11_windows.h"

#include "platform/display/x11_cursors.h"
#include "platform/display/x11_drop.h"
#include "platform/display/x11_queue.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>
#include <unistd.h>
#include <xcb/xcb_icccm.h>

namespace display::x11 {
namespace {

constexpr std::uint32_t window_events =
    XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_BUTTON_PRESS |
    XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_POINTER_MOTION | XCB_EVENT_MASK_ENTER_WINDOW |
    XCB_EVENT_MASK_LEAVE_WINDOW | XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY |
    XCB_EVENT_MASK_FOCUS_CHANGE | XCB_EVENT_MASK_PROPERTY_CHANGE;

// Of the messages to a window manager.
constexpr std::uint32_t manager_events =
    XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;

struct identity {
    std::string classes;             // instance and class, each with its terminator
    std::vector<std::uint32_t> icon; // width, height, words
};

std::vector<std::unique_ptr<window>> windows;
window_id last_id = 0; // numbers are not used again
identity desktop_identity;

void set_words(xcb_window_t xid, atom property, xcb_atom_t type,
               std::span<const std::uint32_t> words) {
    xcb_change_property(xserver.xcb, XCB_PROP_MODE_REPLACE, xid, number_of(property), type, 32,
                        static_cast<std::uint32_t>(words.size()), words.data());
}

void set_word(xcb_window_t xid, atom property, xcb_atom_t type, std::uint32_t word) {
    set_words(xid, property, type, {&word, 1});
}

void set_text(xcb_window_t xid, xcb_atom_t property, xcb_atom_t type, std::string_view text) {
    xcb_change_property(xserver.xcb, XCB_PROP_MODE_REPLACE, xid, property, type, 8,
                        static_cast<std::uint32_t>(text.size()), text.data());
}

void write_title(xcb_window_t xid, std::string_view title) {
    set_text(xid, number_of(atom::net_wm_name), number_of(atom::utf8_string), title);
    set_text(xid, XCB_ATOM_WM_NAME, number_of(atom::utf8_string), title);
}

// The place belongs to the drawing area, not to the frame around it, and is meant.
void write_size_hints(const window &w) {
    xcb_size_hints_t hints{};
    const int k = xserver.scale;
    xcb_icccm_size_hints_set_position(&hints, 1, w.wanted.x * k, w.wanted.y * k);
    xcb_icccm_size_hints_set_size(&hints, 1, w.wanted.width * k, w.wanted.height * k);
    xcb_icccm_size_hints_set_win_gravity(&hints, XCB_GRAVITY_STATIC);
    xcb_icccm_set_wm_normal_hints(xserver.xcb, w.xid, &hints);
}

void write_start_state(const window &w, xcb_icccm_wm_state_t state) {
    xcb_icccm_wm_hints_t hints{};
    xcb_icccm_wm_hints_set_input(&hints, 1);
    if (state == XCB_ICCCM_WM_STATE_ICONIC) {
        xcb_icccm_wm_hints_set_iconic(&hints);
    } else {
        xcb_icccm_wm_hints_set_normal(&hints);
    }
    xcb_icccm_set_wm_hints(xserver.xcb, w.xid, &hints);
}

void write_owner(const window &w, window_id owner) {
    if (const window *o = find_window(owner)) {
        xcb_icccm_set_wm_transient_for(xserver.xcb, w.xid, o->xid);
    }
}

atom type_of(window_kind kind) {
    switch (kind) {
    case window_kind::dialog:
        return atom::net_wm_window_type_dialog;
    case window_kind::popup:
        return atom::net_wm_window_type_popup_menu;
    case window_kind::normal:
        break;
    }
    return atom::net_wm_window_type_normal;
}

void write_properties(const window &w, const char *title, window_id owner) {
    write_title(w.xid, title);
    write_size_hints(w);
    write_owner(w, owner);
    set_word(w.xid, atom::net_wm_window_type, XCB_ATOM_ATOM, number_of(type_of(w.kind)));
    const std::uint32_t protocols[] = {number_of(atom::wm_delete_window),
                                       number_of(atom::net_wm_ping)};
    set_words(w.xid, atom::wm_protocols, XCB_ATOM_ATOM, protocols);
    set_word(w.xid, atom::net_wm_pid, XCB_ATOM_CARDINAL, static_cast<std::uint32_t>(getpid()));
    char host[256] = "";
    if (gethostname(host, sizeof host - 1) == 0) {
        set_text(w.xid, XCB_ATOM_WM_CLIENT_MACHINE, XCB_ATOM_STRING, host);
    }
    if (!desktop_identity.classes.empty()) {
        set_text(w.xid, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, desktop_identity.classes);
    }
    if (!desktop_identity.icon.empty()) {
        set_words(w.xid, atom::net_wm_icon, XCB_ATOM_CARDINAL, desktop_identity.icon);
    }
}

void create(window &w) {
    const int k = xserver.scale;
    w.xid = xcb_generate_id(xserver.xcb);
    // When the size changes, the server keeps the picture where the frames keep it.
    const std::uint32_t values[] = {xserver.screen->black_pixel, XCB_GRAVITY_SOUTH_WEST,
                                    w.kind == window_kind::popup ? 1U : 0U, window_events,
                                    find_cursor(cursor_shape::arrow)};
    xcb_create_window(xserver.xcb, XCB_COPY_FROM_PARENT, w.xid, xserver.screen->root,
                      static_cast<std::int16_t>(w.wanted.x * k),
                      static_cast<std::int16_t>(w.wanted.y * k),
                      static_cast<std::uint16_t>(w.wanted.width * k),
                      static_cast<std::uint16_t>(w.wanted.height * k), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_BIT_GRAVITY | XCB_CW_OVERRIDE_REDIRECT |
                          XCB_CW_EVENT_MASK | XCB_CW_CURSOR,
                      values);
}

void move_to(const window &w, rectangle rect) {
    const int k = xserver.scale;
    const std::uint32_t values[] = {
        static_cast<std::uint32_t>(rect.x * k), static_cast<std::uint32_t>(rect.y * k),
        static_cast<std::uint32_t>(rect.width * k), static_cast<std::uint32_t>(rect.height * k)};
    xcb_configure_window(xserver.xcb, w.xid,
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT,
                         values);
}

void restack(const window &w, std::uint32_t mode) {
    xcb_configure_window(xserver.xcb, w.xid, XCB_CONFIG_WINDOW_STACK_MODE, &mode);
}

// A window manager moves what it unmaps by its frame: the place is asserted again before mapping.
void map(window &w, xcb_icccm_wm_state_t start) {
    write_size_hints(w);
    write_start_state(w, start);
    move_to(w, w.wanted);
    if (w.kind == window_kind::popup) {
        restack(w, XCB_STACK_MODE_ABOVE);
    }
    xcb_map_window(xserver.xcb, w.xid);
    w.mapped = true;
}

void hide(window &w) {
    (void)ask_geometry(w, &w.wanted); // where it comes back
    xcb_unmap_window(xserver.xcb, w.xid);
    xcb_unmap_notify_event_t e{}; // tells a window manager that this is no icon
    e.response_type = XCB_UNMAP_NOTIFY;
    e.event = xserver.screen->root;
    e.window = w.xid;
    xcb_send_event(xserver.xcb, 0, xserver.screen->root, manager_events,
                   reinterpret_cast<const char *>(&e));
    w.mapped = false;
    w.iconic = false;
}

void set_iconic(window &w, bool iconic) {
    if (w.iconic != iconic) {
        w.iconic = iconic;
        push_window_event(iconic ? event_kind::iconify : event_kind::deiconify, w.id);
    }
}

void iconify(window &w) {
    if (w.iconic) {
        return;
    }
    if (w.kind == window_kind::popup || !has_window_manager()) {
        if (w.mapped) {
            hide(w);
        }
        set_iconic(w, true);
    } else if (!w.mapped) {
        map(w, XCB_ICCCM_WM_STATE_ICONIC); // the property tells when it is
    } else {
        send_message(xserver.screen->root, w.xid, atom::wm_change_state,
                     {XCB_ICCCM_WM_STATE_ICONIC, 0, 0, 0, 0}, manager_events);
    }
}

void show(window &w) {
    if (!w.mapped) {
        map(w, XCB_ICCCM_WM_STATE_NORMAL);
        set_iconic(w, false);
    } else if (w.iconic) {
        constexpr std::uint32_t from_program = 1;
        send_message(xserver.screen->root, w.xid, atom::net_active_window,
                     {from_program, XCB_CURRENT_TIME, 0, 0, 0}, manager_events);
        xcb_map_window(xserver.xcb, w.xid);
    }
}

} // namespace

window *find_window(window_id id) {
    const auto at =
        std::find_if(windows.begin(), windows.end(), [id](const auto &w) { return w->id == id; });
    return at == windows.end() ? nullptr : at->get();
}

window *find_window_of(xcb_window_t xid) {
    const auto at = std::find_if(windows.begin(), windows.end(),
                                 [xid](const auto &w) { return w->xid == xid; });
    return at == windows.end() ? nullptr : at->get();
}

window_id open_window(const char *title, rectangle rect, window_kind kind, window_id owner) {
    if (xserver.lost) {
        std::fputs("display: no window can be opened: the X server is gone\n", stderr);
        return 0;
    }
    if (!check_window_size(rect, xserver.scale)) {
        return 0;
    }
    auto w = std::make_unique<window>();
    w->kind = kind;
    w->area = w->wanted = clamp_window_size(rect, xserver.scale);
    if (!make_frames(&w->frames, rect.width, rect.height)) {
        return 0;
    }
    w->id = ++last_id;
    create(*w);
    write_properties(*w, title, owner);
    accept_drops(w->xid);
    windows.push_back(std::move(w));
    map(*windows.back(), XCB_ICCCM_WM_STATE_NORMAL);
    return last_id;
}

void close_window(window_id id) {
    if (const window *w = find_window(id)) {
        xcb_destroy_window(xserver.xcb, w->xid);
        forget_events(id);
        std::erase_if(windows, [w](const auto &other) { return other.get() == w; });
    }
}

void close_all_windows() {
    while (!windows.empty()) {
        close_window(windows.back()->id);
    }
}

void configure_window(window_id id, rectangle rect) {
    window *w = find_window(id);
    if (w == nullptr) {
        return;
    }
    rect = clamp_window_size(rect, xserver.scale);
    w->wanted = rect;
    move_to(*w, rect);
}

bool ask_geometry(const window &w, rectangle *out) {
    const auto place = xcb_translate_coordinates(xserver.xcb, w.xid, xserver.screen->root, 0, 0);
    const auto size = xcb_get_geometry(xserver.xcb, w.xid);
    const auto p = await<xcb_translate_coordinates_reply>(place);
    const auto s = await<xcb_get_geometry_reply>(size);
    if (!p || !s) {
        return false;
    }
    *out = {round_down(p->dst_x), round_down(p->dst_y), round_up(s->width), round_up(s->height)};
    if (!w.mapped) {
        out->x = w.wanted.x;
        out->y = w.wanted.y;
    }
    return true;
}

// Down the tree of windows, which knows the stacking order: root, a window manager's frame, ours.
window_id find_window_at(point p) {
    constexpr int deepest = 8; // far below any frame
    const auto x = static_cast<std::int16_t>(p.x * xserver.scale);
    const auto y = static_cast<std::int16_t>(p.y * xserver.scale);
    xcb_window_t at = xserver.screen->root;
    for (int i = 0; i < deepest; i++) {
        const auto r = await<xcb_translate_coordinates_reply>(
            xcb_translate_coordinates(xserver.xcb, xserver.screen->root, at, x, y));
        if (!r || r->child == XCB_WINDOW_NONE)
            return 0;
        at = r->child;
        if (const window *w = find_window_of(at))
            return w->id;
    }
    return 0;
}

void set_window_state(window_id id, window_state state) {
    window *w = find_window(id);
    if (w == nullptr) {
        return;
    }
    switch (state) {
    case window_state::hidden:
        if (w->mapped) {
            hide(*w);
        }
        w->iconic = false;
        break;
    case window_state::iconic:
        iconify(*w);
        break;
    case window_state::shown:
        show(*w);
        break;
    case window_state::raised:
        show(*w);
        restack(*w, XCB_STACK_MODE_ABOVE);
        break;
    case window_state::lowered:
        show(*w);
        restack(*w, XCB_STACK_MODE_BELOW);
        break;
    }
}

void set_window_title(window_id id, const char *title) {
    if (const window *w = find_window(id)) {
        write_title(w->xid, title);
    }
}

void set_window_cursor(window_id id, cursor_shape shape) {
    if (const window *w = find_window(id)) {
        const std::uint32_t cursor = find_cursor(shape);
        xcb_change_window_attributes(xserver.xcb, w->xid, XCB_CW_CURSOR, &cursor);
    }
}

void set_window_identity(const char *instance, const char *class_name,
                         std::span<const std::uint32_t> icon, int icon_width) {
    desktop_identity.classes = instance;
    desktop_identity.classes += '\0';
    desktop_identity.classes += class_name;
    desktop_identity.classes += '\0';
    desktop_identity.icon.clear();
    if (icon_width > 0 && !icon.empty()) {
        const auto width = static_cast<std::uint32_t>(icon_width);
        const auto height = static_cast<std::uint32_t>(icon.size()) / width;
        const auto used = static_cast<std::ptrdiff_t>(std::size_t{width} * height);
        desktop_identity.icon = {width, height};
        desktop_identity.icon.insert(desktop_identity.icon.end(), icon.begin(),
                                     icon.begin() + used);
    }
}

void note_mapped(window &w) {
    if (w.blackened) {
        w.blackened = false;
        const std::uint32_t none = XCB_BACK_PIXMAP_NONE;
        xcb_change_window_attributes(xserver.xcb, w.xid, XCB_CW_BACK_PIXMAP, &none);
    }
    push_redraw(w.id, {0, 0, w.area.width, w.area.height});
}

void note_state_property(window &w) {
    const std::uint32_t state = read_property_word(w.xid, atom::wm_state);
    if (state == XCB_ICCCM_WM_STATE_ICONIC) {
        set_iconic(w, true);
    } else if (state == XCB_ICCCM_WM_STATE_NORMAL && w.iconic) {
        set_iconic(w, false);
        push_redraw(w.id, {0, 0, w.area.width, w.area.height});
    }
}

} // namespace display::x11
