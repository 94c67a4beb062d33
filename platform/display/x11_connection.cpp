#include "platform/display/x11_connection.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <xcb/shm.h>

namespace display::x11 {

connection xserver;

namespace {

constexpr std::array<std::string_view, static_cast<std::size_t>(atom::count)> atom_names{
    "WM_PROTOCOLS",
    "WM_DELETE_WINDOW",
    "WM_STATE",
    "WM_CHANGE_STATE",
    "_NET_SUPPORTING_WM_CHECK",
    "_NET_WM_PING",
    "_NET_WM_PID",
    "_NET_WM_NAME",
    "_NET_WM_ICON",
    "_NET_ACTIVE_WINDOW",
    "_NET_WM_WINDOW_TYPE",
    "_NET_WM_WINDOW_TYPE_NORMAL",
    "_NET_WM_WINDOW_TYPE_DIALOG",
    "_NET_WM_WINDOW_TYPE_POPUP_MENU",
    "UTF8_STRING",
    "XdndAware",
    "XdndEnter",
    "XdndPosition",
    "XdndStatus",
    "XdndDrop",
    "XdndFinished",
    "XdndSelection",
    "XdndTypeList",
    "XdndActionCopy",
    "text/uri-list",
    "CLIPBOARD",
    "TARGETS",
    "TIMESTAMP",
    "INCR",
    "text/plain;charset=utf-8",
    "_PLAYER_PASTED",
};
static_assert(!atom_names.back().empty());

std::array<xcb_atom_t, atom_names.size()> atoms;

constexpr int largest_scale = 8;

void intern_atoms() {
    std::array<xcb_intern_atom_cookie_t, atom_names.size()> sent;
    for (std::size_t i = 0; i < sent.size(); ++i) {
        const auto length = static_cast<std::uint16_t>(atom_names[i].size());
        sent[i] = xcb_intern_atom(xserver.xcb, 0, length, atom_names[i].data());
    }
    for (std::size_t i = 0; i < sent.size(); ++i) {
        const auto r = await<xcb_intern_atom_reply>(sent[i]);
        atoms[i] = r ? r->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
    }
}

// Writing to a server that has just died must be an error, not the end of the process. A handler
// that does nothing, unlike SIG_IGN, is not inherited by the programs we start.
void survive_broken_pipes() {
    struct sigaction now {};
    if (sigaction(SIGPIPE, nullptr, &now) == 0 && now.sa_handler == SIG_DFL) {
        struct sigaction harmless {};
        harmless.sa_handler = [](int) {};
        harmless.sa_flags = SA_RESTART;
        sigaction(SIGPIPE, &harmless, nullptr);
    }
}

bool connect_to_server() {
    int screen_number = 0;
    xserver.xcb = xcb_connect(nullptr, &screen_number);
    if (xcb_connection_has_error(xserver.xcb) != 0) {
        const char *name = std::getenv("DISPLAY");
        if (name == nullptr || *name == '\0') {
            std::fprintf(stderr, "display: DISPLAY is not set, so there is no X server to show "
                                 "windows on; start one and set DISPLAY to its name, like :0\n");
        } else {
            std::fprintf(stderr,
                         "display: can't connect to the X server that DISPLAY names, \"%s\"; check "
                         "that it runs and admits this user, or set DISPLAY to another\n",
                         name);
        }
        return false;
    }
    auto at = xcb_setup_roots_iterator(xcb_get_setup(xserver.xcb));
    for (; screen_number > 0 && at.rem > 1; --screen_number) {
        xcb_screen_next(&at);
    }
    xserver.screen = at.data;
    xserver.size = {at.data->width_in_pixels, at.data->height_in_pixels};
    return true;
}

const xcb_visualtype_t *find_root_visual() {
    auto depth = xcb_screen_allowed_depths_iterator(xserver.screen);
    for (; depth.rem > 0; xcb_depth_next(&depth)) {
        auto visual = xcb_depth_visuals_iterator(depth.data);
        for (; visual.rem > 0; xcb_visualtype_next(&visual)) {
            if (visual.data->visual_id == xserver.screen->root_visual) {
                return visual.data;
            }
        }
    }
    return nullptr;
}

// True when a pixel travels as a 32-bit word in our own byte order.
bool has_our_words() {
    const xcb_setup_t *setup = xcb_get_setup(xserver.xcb);
    constexpr auto ours = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? XCB_IMAGE_ORDER_LSB_FIRST
                                                                    : XCB_IMAGE_ORDER_MSB_FIRST;
    if (setup->image_byte_order != ours) {
        return false;
    }
    auto format = xcb_setup_pixmap_formats_iterator(setup);
    for (; format.rem > 0; xcb_format_next(&format)) {
        if (format.data->depth == xserver.screen->root_depth) {
            return format.data->bits_per_pixel == 32;
        }
    }
    return false;
}

bool check_pixels() {
    const xcb_visualtype_t *v = find_root_visual();
    const int depth = xserver.screen->root_depth;
    if (v != nullptr && v->_class == XCB_VISUAL_CLASS_TRUE_COLOR && (depth == 24 || depth == 32) &&
        v->red_mask == 0xff0000 && v->green_mask == 0xff00 && v->blue_mask == 0xff &&
        has_our_words()) {
        return true;
    }
    std::fprintf(stderr,
                 "display: the screen of \"%s\" has pixels of depth %d, masks %06x %06x %06x; "
                 "needed are TrueColor ones of depth 24 or 32, masks ff0000 00ff00 0000ff, in "
                 "32-bit words of this machine's byte order\n",
                 std::getenv("DISPLAY"), depth, v != nullptr ? v->red_mask : 0,
                 v != nullptr ? v->green_mask : 0, v != nullptr ? v->blue_mask : 0);
    return false;
}

// PLAYER_X11_SHM limits it: "off" to the connection, "sysv" to keyed segments.
frame_way choose_way() {
    const char *text = std::getenv("PLAYER_X11_SHM");
    const std::string_view limit = text != nullptr ? text : "";
    const auto *extension = xcb_get_extension_data(xserver.xcb, &xcb_shm_id);
    if (limit == "off" || extension == nullptr || extension->present == 0) {
        return frame_way::put_image;
    }
    const auto v = await<xcb_shm_query_version_reply>(xcb_shm_query_version(xserver.xcb));
    if (!v) {
        return frame_way::put_image;
    }
    const bool takes_descriptors = v->major_version > 1 || v->minor_version >= 2;
    return takes_descriptors && limit != "sysv" ? frame_way::passed_memory
                                                : frame_way::keyed_memory;
}

// The dots per inch that the desktop has put among its resources; 0 when it has not.
double read_desktop_dpi() {
    constexpr std::uint32_t enough = 1 << 20;
    const std::string resources =
        read_property(xserver.screen->root, XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING, enough);
    constexpr std::string_view name = "Xft.dpi:";
    std::size_t at = resources.find(name);
    while (at != std::string::npos && at != 0 && resources[at - 1] != '\n') {
        at = resources.find(name, at + 1);
    }
    return at == std::string::npos ? 0 : std::strtod(resources.c_str() + at + name.size(), nullptr);
}

bool choose_scale() {
    const char *text = std::getenv("PLAYER_SCALE");
    if (text != nullptr && *text != '\0') {
        const char *end = text + std::strlen(text);
        const auto read = std::from_chars(text, end, xserver.scale);
        if (read.ec == std::errc{} && read.ptr == end && xserver.scale >= 1 &&
            xserver.scale <= largest_scale) {
            return true;
        }
        std::fprintf(stderr, "display: PLAYER_SCALE is \"%s\"; it may be 1 .. %d\n", text,
                     largest_scale);
        return false;
    }
    constexpr double dpi_of_one = 96;
    const double wanted = std::round(read_desktop_dpi() / dpi_of_one);
    xserver.scale = wanted >= 1 ? static_cast<int>(std::min<double>(wanted, largest_scale)) : 1;
    return true;
}

} // namespace

bool open_connection() {
    survive_broken_pipes();
    if (!connect_to_server() || !check_pixels() || !choose_scale() ||
        !xserver.waits.open(xcb_get_file_descriptor(xserver.xcb))) {
        close_connection();
        return false;
    }
    intern_atoms();
    xserver.way = choose_way();
    const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY; // the screen's size
    xcb_change_window_attributes(xserver.xcb, xserver.screen->root, XCB_CW_EVENT_MASK, &mask);
    return true;
}

void close_connection() {
    if (xserver.xcb != nullptr) {
        xcb_disconnect(xserver.xcb);
    }
    xserver = connection{};
}

xcb_atom_t number_of(atom name) {
    return atoms[static_cast<std::size_t>(name)];
}

std::string read_property(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                          std::uint32_t limit) {
    const auto r = await<xcb_get_property_reply>(
        xcb_get_property(xserver.xcb, 0, window, property, type, 0, limit / 4));
    if (!r || r->type == XCB_ATOM_NONE || (type != XCB_GET_PROPERTY_TYPE_ANY && r->type != type)) {
        return {};
    }
    const int length = xcb_get_property_value_length(r.get());
    return {static_cast<const char *>(xcb_get_property_value(r.get())),
            static_cast<std::size_t>(length)};
}

std::uint32_t read_property_word(xcb_window_t window, atom property) {
    std::uint32_t word = 0;
    const std::string bytes =
        read_property(window, number_of(property), XCB_GET_PROPERTY_TYPE_ANY, sizeof word);
    if (bytes.size() == sizeof word) {
        std::memcpy(&word, bytes.data(), sizeof word);
    }
    return word;
}

void send_message(xcb_window_t to, xcb_window_t about, atom type, const std::uint32_t (&words)[5],
                  std::uint32_t event_mask) {
    xcb_client_message_event_t e{};
    e.response_type = XCB_CLIENT_MESSAGE;
    e.format = 32;
    e.window = about;
    e.type = number_of(type);
    std::copy(std::begin(words), std::end(words), e.data.data32);
    xcb_send_event(xserver.xcb, 0, to, event_mask, reinterpret_cast<const char *>(&e));
}

bool has_window_manager() {
    const xcb_window_t check =
        read_property_word(xserver.screen->root, atom::net_supporting_wm_check);
    return check != XCB_WINDOW_NONE &&
           read_property_word(check, atom::net_supporting_wm_check) == check;
}

int round_down(int device) {
    return device >= 0 ? device / xserver.scale : -((-device + xserver.scale - 1) / xserver.scale);
}

int round_up(int device) {
    return -round_down(-device);
}

} // namespace display::x11
