#include "platform/clock/program_clock.h"
#include "platform/display/display.h"
#include "platform/display/x11_connection.h"
#include "platform/display/x11_drop.h"
#include "tests/platform/display/x11_observer.h"
#include "tests/support/virtual_server.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <poll.h>
#include <unistd.h>
#include <utility>

namespace {

using display::event_kind;
using display::longest_paste;
using display::rectangle;
using display::window_id;
using display::window_kind;
using display::window_state;
using display::x11::frame_way;

constexpr std::int64_t patience_us = 20'000'000;
constexpr int patience_ms = 20'000;

bool is_readable(int timeout_ms) {
    pollfd p{display::server().fd(), POLLIN, 0};
    return poll(&p, 1, timeout_ms) == 1;
}

class x11_display : public testing::Test {
protected:
    void start(const virtual_server::options &wanted, const char *shm = "",
               const char *scale = "") {
        setenv("PLAYER_X11_SHM", shm, 1);
        setenv("PLAYER_SCALE", scale, 1);
        server.emplace(wanted);
        ASSERT_TRUE(server->is_running());
        server->make_current();
        d = &display::server();
        observer.emplace(server->name());
    }
    void TearDown() override {
        display::shut_down();
        observer.reset();
    }

    // Waits for an event; false when it does not come. What comes before is counted and dropped.
    bool await(event_kind kind, std::int64_t timeout_us = patience_us) {
        const std::int64_t end = program_clock::now_us() + timeout_us;
        for (;;) {
            while (d->next(&last)) {
                if (last.kind == kind) {
                    return true;
                }
            }
            const std::int64_t left = end - program_clock::now_us();
            if (left <= 0) {
                return false;
            }
            d->wait(left);
        }
    }

    // Lets the server and a window manager come to rest, as a rule: they may need longer.
    void come_to_rest() { (void)await(event_kind::none, 150'000); }

    // Takes what the server has to say of all that was asked of it.
    void catch_up() {
        (void)d->pointer(); // a round trip
        (void)await(event_kind::none, 10'000);
    }

    // Whether a window is where it should be, once it has come to rest.
    bool rests_at(window_id w, rectangle area) {
        const std::int64_t end = program_clock::now_us() + patience_us;
        do {
            come_to_rest();
        } while (d->geometry(w) != area && program_clock::now_us() < end);
        return d->geometry(w) == area;
    }

    window_id open(rectangle area, window_kind kind = window_kind::normal) {
        const window_id w = d->open("the window", area, kind, 0);
        EXPECT_TRUE(await(event_kind::redraw));
        come_to_rest();
        return w;
    }

    void fill(window_id w, std::uint32_t seed) {
        const display::surface s = d->frame(w, 0);
        for (int y = 0; y < s.height; ++y) {
            for (int x = 0; x < s.width; ++x) {
                s.pixels[std::ptrdiff_t{y} * s.stride + x] = pattern(x, y, seed);
            }
        }
    }
    static std::uint32_t pattern(int x, int y, std::uint32_t seed) {
        return (static_cast<std::uint32_t>(y * 4096 + x) * 2654435761U + seed) & 0xffffff;
    }

    // How many device pixels of the screen differ: the pattern inside shown, black elsewhere.
    std::size_t count_wrong(rectangle window, rectangle shown, std::uint32_t seed, int k) {
        (void)d->pointer(); // a round trip: all presents have arrived
        const auto seen =
            observer->look({window.x * k, window.y * k, window.width * k, window.height * k});
        std::size_t wrong = seen.empty() ? 1 : 0;
        for (std::size_t i = 0; i < seen.size(); ++i) {
            const int x = static_cast<int>(i) % (window.width * k) / k;
            const int y = static_cast<int>(i) / (window.width * k) / k;
            const bool inside = display::intersect(shown, {x, y, 1, 1}).width > 0;
            wrong += seen[i] != (inside ? pattern(x, y, seed) : 0) ? 1U : 0U;
        }
        return wrong;
    }

    std::optional<virtual_server> server;
    std::optional<x11_observer> observer;
    const display::driver *d = nullptr;
    display::event last;
};

// Every System V segment that we made is marked to go with its last user.
bool leaves_segments() {
    constexpr unsigned marked = 01000;
    std::ifstream table("/proc/sysvipc/shm");
    std::string line;
    std::getline(table, line);
    long key = 0, id = 0, size = 0, creator = 0;
    unsigned mode = 0;
    while (table >> key >> id >> std::oct >> mode >> std::dec >> size >> creator) {
        if (creator == getpid() && (mode & marked) == 0) {
            return true;
        }
        std::getline(table, line);
    }
    return false;
}

struct way_case {
    const char *shm;
    frame_way way;
    int scale;
};
class x11_pictures : public x11_display, public testing::WithParamInterface<way_case> {};

TEST_P(x11_pictures, arrive_exactly) {
    const auto &[shm, way, k] = GetParam();
    start({}, shm, k == 1 ? "" : "2");
    ASSERT_EQ(d->scale(), k);
    const rectangle area{31, 40, 1000 / k, 901 / k};
    const window_id w = open(area);
    EXPECT_EQ(display::x11::xserver.way, way);
    EXPECT_FALSE(leaves_segments());
    EXPECT_EQ(d->geometry(w), area);
    fill(w, 1);
    d->present(w, 0, {-5, 17, 333, 58});
    EXPECT_EQ(count_wrong(area, {0, 17, 328, 58}, 1, k), 0U);
    d->present(w, 0, {0, 0, 9999, 9999});
    EXPECT_EQ(count_wrong(area, {0, 0, area.width, area.height}, 1, k), 0U);

    // A growing window keeps its picture at the bottom left.
    const rectangle bigger{10, 20, area.width + 40, area.height + 30};
    d->configure(w, bigger);
    EXPECT_EQ(d->frame(w, 0).width, area.width);
    ASSERT_TRUE(await(event_kind::geometry));
    EXPECT_EQ(last.area, bigger);
    const display::surface s = d->frame(w, 0);
    ASSERT_EQ(s.width, bigger.width);
    EXPECT_EQ(s.pixels[std::ptrdiff_t{29} * s.stride], 0U);
    EXPECT_EQ(s.pixels[std::ptrdiff_t{30} * s.stride + 7], pattern(7, 0, 1));
    EXPECT_TRUE(await(event_kind::redraw));
    fill(w, 2);
    d->present(w, 0, {0, 0, s.width, s.height});
    EXPECT_EQ(count_wrong(bigger, {0, 0, s.width, s.height}, 2, k), 0U);
    d->close(w);
    EXPECT_EQ(d->frame(w, 0).pixels, nullptr);
}
INSTANTIATE_TEST_SUITE_P(all_ways, x11_pictures,
                         testing::Values(way_case{"", frame_way::passed_memory, 1},
                                         way_case{"sysv", frame_way::keyed_memory, 1},
                                         way_case{"off", frame_way::put_image, 1},
                                         way_case{"", frame_way::passed_memory, 2},
                                         way_case{"off", frame_way::put_image, 2}));

struct key_case {
    int keycode; // of the kernel's numbering + 8, as all servers have it
    int code;
    std::uint32_t character;
};

TEST_F(x11_display, keys_have_their_codes_on_every_layout) {
    start({});
    open({0, 0, 400, 400});
    observer->stop_repeats();
    observer->move_pointer({50, 50});
    const auto expect_keys = [&](std::initializer_list<key_case> cases) {
        for (const key_case &k : cases) {
            observer->press_key(k.keycode, true);
            ASSERT_TRUE(await(event_kind::key)) << k.keycode;
            EXPECT_TRUE(last.pressed);
            EXPECT_EQ(last.code, k.code) << k.keycode;
            EXPECT_EQ(last.character, k.character) << k.keycode;
            observer->press_key(k.keycode, false);
            ASSERT_TRUE(await(event_kind::key)) << k.keycode;
            EXPECT_FALSE(last.pressed) << k.keycode;
            EXPECT_EQ(last.code, k.code);
        }
    };
    using namespace display;
    expect_keys({{24, 'q', 'q'},
                 {52, 'z', 'z'},
                 {29, 'y', 'y'},
                 {10, '1', '1'},
                 {34, '[', '['},
                 {9, key_escape, 0x1b},
                 {36, key_return, '\r'},
                 {79, key_pad_0 + 7, 0},
                 {90, key_pad_0, 0},
                 {91, key_pad_decimal, 0},
                 {104, key_pad_enter, '\r'},
                 {67, key_f1, 0},
                 {111, key_up, 0},
                 {108, key_alt_right, 0},
                 {65, ' ', ' '}});
    observer->press_key(50, true); // shift
    ASSERT_TRUE(await(event_kind::key));
    EXPECT_EQ(last.code, key_shift_left);
    expect_keys({{24, 'q', 'Q'}, {10, '1', '!'}, {23, key_tab, 0}});
    observer->press_key(50, false);
    ASSERT_TRUE(await(event_kind::key));
    expect_keys({{77, key_num_lock, 0}, {79, key_pad_0 + 7, '7'}, {91, key_pad_decimal, '.'}});
    observer->press_key(37, true); // control
    ASSERT_TRUE(await(event_kind::key));
    expect_keys({{38, 'a', 1}});
    observer->press_key(37, false);
    const std::string german = "setxkbmap -display " + server->name() + " de 2>&1";
    ASSERT_EQ(std::system(german.c_str()), 0) << "needs x11-xkb-utils";
    come_to_rest();
    expect_keys({{29, 'z', 'z'},
                 {52, 'y', 'y'},
                 {34, '[', 0xfc},
                 {20, '-', 0xdf},
                 {47, ';', 0xf6},
                 {61, '-', '-'},
                 {108, key_alt_right, 0}});
    // A symbol that no key has: the sender borrows one, which changes the keyboard for a moment.
    const std::string borrow = "DISPLAY=" + server->name() + " xdotool key --delay 200 U20AC &";
    ASSERT_EQ(std::system(borrow.c_str()), 0);
    ASSERT_TRUE(await(event_kind::key)) << "needs xdotool";
    EXPECT_EQ(last.character, 0x20acU);
}

TEST_F(x11_display, the_pointer_and_its_buttons) {
    start({}, "", "2");
    const window_id w = open({100, 100, 200, 100});
    observer->move_pointer({240, 260});
    ASSERT_TRUE(await(event_kind::enter));
    EXPECT_EQ(last.pointer, (display::point{120, 130}));
    for (int code = display::button_left; code <= display::wheel_right; ++code) {
        for (const bool down : {true, false}) {
            observer->press_button(code, down);
            ASSERT_TRUE(await(event_kind::button));
            EXPECT_EQ(last.code, code);
            EXPECT_EQ(last.pressed, down);
            EXPECT_EQ(last.window, w);
            EXPECT_EQ(last.pointer, (display::point{120, 130}));
        }
    }
    d->warp({10, 20});
    EXPECT_EQ(d->pointer(), (display::point{10, 20}));
    ASSERT_TRUE(await(event_kind::leave));
    // A press outside is seen by nobody, unless the pointer is grabbed.
    observer->press_button(1, true);
    observer->press_button(1, false);
    EXPECT_FALSE(await(event_kind::button, 100'000));
    ASSERT_TRUE(d->grab(w, true));
    observer->press_button(1, true);
    ASSERT_TRUE(await(event_kind::button));
    EXPECT_EQ(last.window, w);
    EXPECT_EQ(last.pointer, (display::point{10, 20}));
    d->grab(w, false);
}

TEST_F(x11_display, works_without_a_window_manager) {
    start({});
    const window_id w = open({200, 150, 100, 100});
    const window_id menu = open({250, 200, 50, 60}, window_kind::popup);
    EXPECT_EQ(d->geometry(menu), (rectangle{250, 200, 50, 60}));
    EXPECT_EQ(d->open("w", {0, 0, 32768, 10}, window_kind::normal, 0), 0);
    d->set_state(w, window_state::iconic);
    EXPECT_TRUE(await(event_kind::iconify));
    d->set_state(w, window_state::shown);
    EXPECT_TRUE(await(event_kind::deiconify));
    EXPECT_TRUE(await(event_kind::redraw));
    for (const bool defined : {false, true}) {
        for (std::size_t shape = 0; shape < display::cursor_shape_count; ++shape) {
            const auto s = static_cast<display::cursor_shape>(shape);
            if (defined) {
                d->define_cursor(s, {{0x8001, 0xffff}, {0x7fff}, {8, 15}});
            }
            d->set_cursor(w, s);
        }
    }
    EXPECT_EQ(d->geometry(w), (rectangle{200, 150, 100, 100}));
    EXPECT_EQ(d->window_at({199, 150}), 0);
    EXPECT_EQ(d->window_at({200, 150}), w);
    EXPECT_EQ(d->window_at({299, 249}), menu); // opened later; w came back below it
    d->set_state(w, window_state::raised);
    EXPECT_EQ(d->window_at({299, 249}), w);
    EXPECT_EQ(d->window_at({299, 255}), menu);
}

TEST_F(x11_display, works_with_a_window_manager) {
    start({.window_manager = true});
    const rectangle area{300, 200, 320, 240};
    const window_id w = open(area);
    EXPECT_TRUE(rests_at(w, area));
    fill(w, 3);
    std::size_t wrong = 1;
    for (int tries = 0; wrong != 0 && tries < 20; ++tries) { // the frame may come late
        d->present(w, 0, {0, 0, 320, 240});
        wrong = count_wrong(area, {0, 0, 320, 240}, 3, 1);
        come_to_rest();
    }
    EXPECT_EQ(wrong, 0U);
    for (int round = 0; round < 2; ++round) { // no drift by the frame
        d->set_state(w, window_state::hidden);
        come_to_rest();
        d->set_state(w, window_state::shown);
        EXPECT_TRUE(await(event_kind::redraw));
        EXPECT_TRUE(rests_at(w, area));
    }
    EXPECT_EQ(d->window_at({area.x, area.y}), w); // inside the manager's frame
    EXPECT_EQ(d->window_at({area.x, area.y - 1}), 0);
    const rectangle moved{111, 222, 333, 144};
    d->configure(w, moved);
    ASSERT_TRUE(await(event_kind::geometry));
    EXPECT_TRUE(rests_at(w, moved));

    const xcb_window_t theirs = observer->find("the window");
    ASSERT_NE(theirs, 0U);
    observer->send(theirs, "WM_CHANGE_STATE", {3}, true); // by the user
    EXPECT_TRUE(await(event_kind::iconify));
    d->set_state(w, window_state::shown);
    EXPECT_TRUE(await(event_kind::deiconify));
    d->set_state(w, window_state::iconic); // by the program
    EXPECT_TRUE(await(event_kind::iconify));
    observer->send(theirs, "_NET_ACTIVE_WINDOW", {2}, true);
    EXPECT_TRUE(await(event_kind::deiconify));
    EXPECT_TRUE(rests_at(w, moved));
    observer->send(theirs, "_NET_CLOSE_WINDOW", {0, 2}, true);
    ASSERT_TRUE(await(event_kind::close));
    EXPECT_EQ(last.window, w);
}

TEST_F(x11_display, the_descriptor_wakes_at_once_and_rests_when_idle) {
    start({});
    const window_id w = open({0, 0, 100, 100});
    observer->move_pointer({50, 50});
    (void)observer->look({0, 0, 1, 1}); // a round trip: the pointer has moved
    catch_up();
    for (int round = 0; round < 20; ++round) {
        ASSERT_FALSE(is_readable(0));
        observer->press_button(1, round % 2 == 0);
        (void)observer->look({0, 0, 1, 1});    // a round trip: the press is in our socket ...
        d->present(w, 0, {0, 0, 100, 100});    // ... and may be read by the present
        ASSERT_TRUE(is_readable(patience_ms)); // nothing else would wake it
        ASSERT_TRUE(await(event_kind::button));
        catch_up();
    }
    EXPECT_FALSE(is_readable(300));
    const std::int64_t due = program_clock::now_us() + 30'000;
    d->set_tick(due);
    EXPECT_TRUE(is_readable(patience_ms));
    EXPECT_GE(program_clock::now_us(), due);
    EXPECT_TRUE(await(event_kind::tick, 0));
    EXPECT_FALSE(is_readable(0));
}

TEST_F(x11_display, texts_are_given_to_other_programs) {
    start({});
    const auto ask = [this](const char *target) {
        return observer->ask_text(target, [] {
            display::server().wait(10'000);
            display::server().pointer();
        });
    };
    d->offer_text(display::text_offer::clipboard, "caf\xc3\xa9 \xe2\x82\xac");
    EXPECT_EQ(ask("UTF8_STRING"), "caf\xc3\xa9 \xe2\x82\xac");
    EXPECT_EQ(ask("STRING"), "caf\xe9 ?");
    EXPECT_EQ(ask("TARGETS").size(), 5 * sizeof(xcb_atom_t));
    EXPECT_EQ(ask("image/png"), "-");
    EXPECT_TRUE(d->request_text(display::text_offer::clipboard)) << "our own";
    EXPECT_EQ(d->pasted_text(), "caf\xc3\xa9 \xe2\x82\xac");
    EXPECT_FALSE(d->request_text(display::text_offer::selection));
    EXPECT_FALSE(await(event_kind::paste, 50'000)) << "nobody offers one";
}

TEST_F(x11_display, texts_of_other_programs_come_as_events) {
    start({});
    using service = x11_observer::service;
    const std::string long_text(200'001, 'l');
    const struct {
        service how;
        std::string text, comes;
    } rows[] = {
        {service::whole, "caf\xc3\xa9", "caf\xc3\xa9"},
        {service::latin_1, "caf\xe9", "caf\xc3\xa9"},
        {service::parts, long_text, long_text},
        {service::parts, std::string(longest_paste + 5, 'x'), std::string(longest_paste, 'x')},
        {service::none, "hung", ""},
        {service::whole, "again", "again"},
    };
    for (const auto &row : rows) {
        d->offer_text(display::text_offer::clipboard, "own");
        const std::int64_t until = program_clock::now_us() + 300'000;
        bool asked = false;
        bool came = false;
        observer->serve_text(row.text, row.how, [&] {
            const bool was_asked = std::exchange(asked, true);
            bool is_own = !was_asked; // until the news that the text is another's has come
            while (is_own && program_clock::now_us() < until + patience_us) {
                (void)d->pointer();
                is_own = d->request_text(display::text_offer::clipboard);
            }
            EXPECT_FALSE(is_own);
            came = await(event_kind::paste, 1000);
            return came || (row.comes.empty() && program_clock::now_us() > until) ||
                   program_clock::now_us() > until + patience_us;
        });
        EXPECT_EQ(came, !row.comes.empty());
        if (came) {
            EXPECT_TRUE(d->pasted_text() == row.comes) << d->pasted_text().size();
        }
    }
}

TEST_F(x11_display, files_are_dropped) {
    start({});
    const window_id w = open({0, 0, 100, 100});
    EXPECT_TRUE(
        observer->drop(observer->find("the window"), "file:///tmp/a%20b\r\nfile:///c\r\n", [] {
            display::server().wait(10'000);
            display::server().pointer(); // takes in what came, leaves it queued
        }));
    for (const char *path : {"/tmp/a b", "/c"}) {
        ASSERT_TRUE(await(event_kind::drop));
        EXPECT_EQ(last.window, w);
        EXPECT_EQ(last.pointer, (display::point{70, 80}));
        EXPECT_EQ(d->dropped_path(), path);
    }
    using paths = std::vector<std::string>;
    const std::pair<const char *, paths> lists[] = {
        {"", {}},
        {"# file:///x\r\nhttp://a/b\r\nfile://elsewhere.invalid/x\r\nfile:relative", {}},
        {"file:/a\nfile://localhost/%C3%BC%2f", {"/a", "/\xc3\xbc/"}},
        {"file:///a%00b\r\nfile:///a%4\r\nfile:///a%zz\r\nfile:///%41", {"/A"}},
    };
    for (const auto &[text, expected] : lists) {
        EXPECT_EQ(display::x11::read_uri_list(text), expected) << text;
    }
}

TEST_F(x11_display, a_server_that_dies_is_an_event) {
    for (const char *shm : {"", "off"}) {
        start({}, shm);
        const window_id w = open({0, 0, 500, 400});
        server->kill_server();
        for (int i = 0; i < 20; ++i) { // writes into the closed connection too
            d->present(w, 0, {0, 0, 500, 400});
        }
        EXPECT_TRUE(is_readable(patience_ms));
        ASSERT_TRUE(await(event_kind::lost));
        fill(w, 1);
        d->set_title(w, "gone");
        d->set_state(w, window_state::iconic);
        EXPECT_NE(d->frame(w, 1).pixels, nullptr);
        EXPECT_EQ(d->geometry(w), rectangle{});
        EXPECT_EQ(d->open("more", {0, 0, 10, 10}, window_kind::normal, 0), 0);
        EXPECT_FALSE(await(event_kind::lost, 10'000));
        EXPECT_FALSE(is_readable(0));
        display::shut_down();
    }
}

TEST(x11_display_death, without_a_usable_server_the_program_ends) {
    setenv("PLAYER_SCALE", "", 1);
    setenv("DISPLAY", ":9999", 1);
    EXPECT_EXIT((void)display::server(), testing::ExitedWithCode(1), "DISPLAY names, \":9999\"");
    unsetenv("DISPLAY");
    EXPECT_EXIT((void)display::server(), testing::ExitedWithCode(1), "DISPLAY is not set");
    const virtual_server few_colours({.screen = "640x480x16"});
    ASSERT_TRUE(few_colours.is_running());
    few_colours.make_current();
    EXPECT_EXIT((void)display::server(), testing::ExitedWithCode(1), "depth 16.*TrueColor");
    const virtual_server usable({});
    usable.make_current();
    setenv("PLAYER_SCALE", "9", 1);
    EXPECT_EXIT((void)display::server(), testing::ExitedWithCode(1), "PLAYER_SCALE is \"9\"");
}

} // namespace
