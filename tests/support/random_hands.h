// Random hands on the display that is not there: they press, drag, type and turn the wheel wherever
// there is something, close windows, and do what window managers and other programs do.
//
//   random_hands::begin("menus", 7);          // what is used, and the dice's seed
//   ...
//   void go_on() {                            // called again and again while the program runs
//       if (program_clock::now_us() >= due_us)
//           act(usual_doings);                // one thing; its events come until due_us
//   }
//   ...
//   let_go();                                 // of buttons and keys, and others interfere no more
//
// The same program and seed give the same events always. A crash, or a minute (see keep_alive) in
// which nothing comes to its end, says at which event that was.
#pragma once

#include "platform/clock/program_clock.h"
#include "platform/display/display_memory.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/demons/event_filters.h"
#include "toolkit/graphics/window_table.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <random>
#include <span>
#include <string>
#include <string_view>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#define KNOWS_DEATH 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KNOWS_DEATH 1
#endif
#endif
#ifdef KNOWS_DEATH
#include <sanitizer/common_interface_defs.h>
#endif

namespace random_hands {

using display::event_kind;

// ---- dice

inline std::string used;
inline unsigned seed = 0;
inline long event_number = 0;
inline std::minstd_rand dice;

inline constexpr unsigned longest_silence_s = 60; // of a loop that never ends

inline void say_where() {
    dprintf(STDERR_FILENO, "random hands: %s, seed %u, event %ld\n", used.c_str(), seed,
            event_number);
}
inline void give_up(int) {
    say_where();
    std::abort();
}
inline void keep_alive() {
    alarm(longest_silence_s);
}

inline int roll(int sides) {
    return static_cast<int>(dice() >> 8) % sides;
}
inline bool one_in(int n) {
    return roll(n) == 0;
}
template <typename list> auto any_of_list(const list &all) {
    return all[static_cast<std::size_t>(roll(static_cast<int>(std::size(all))))];
}

// ---- hands

inline constexpr int screen_width = 1280, screen_height = 1024;
inline std::int64_t due_us = 0; // when the last of what was sent comes
// The window of keys and buttons: none, since a window that is closed takes what waits for it along.
inline constexpr display::window_id whichever = 0;
inline display::point hand; // where it is, from the top left
inline std::array<bool, display::button_right + 1> is_down{};
inline std::array<int, 4> held_modifiers{};     // 0: none
inline std::span<const std::string_view> words; // what they type, beside anything
inline bool is_kept_on_screen = false;          // whether the user moves windows on it only

inline void begin(const std::string &what, unsigned with_seed) {
    used = what;
    seed = with_seed;
    dice.seed(seed);
    event_number = 0;
    due_us = program_clock::now_us();
    std::signal(SIGALRM, give_up);
#ifdef KNOWS_DEATH
    __sanitizer_set_death_callback(say_where);
#else
    std::signal(SIGSEGV, give_up);
#endif
}

inline void send(event_kind kind, display::window_id window, int code = 0, bool pressed = false,
                 display::rectangle area = {}) {
    display::event e;
    e.kind = kind;
    e.window = window;
    e.code = code;
    e.pressed = pressed;
    e.area = area;
    e.pointer = hand;
    due_us += one_in(60) ? 700'000 : 2'000 + roll(20) * 2'000;
    display::memory::push_at(due_us, e);
    ++event_number;
}
inline display::window_id any_window() {
    const auto all = display::memory::windows();
    return all.empty() ? 0 : any_of_list(all);
}

// Some demon that is seen, the newest window's sooner than others.
inline const toolkit::display_object *any_demon() {
    const toolkit::demon *at = toolkit::inq_demon_god();
    while (at != nullptr) {
        std::array<const toolkit::demon *, 64> kids{};
        std::size_t count = 0;
        for (const toolkit::demon *kid = at->kids; kid != nullptr && count < kids.size();
             kid = kid->next)
            if ((kid->flags & toolkit::flag_visible) != 0)
                kids[count++] = kid;
        const bool is_god = at == toolkit::inq_demon_god();
        if (count == 0 || (!is_god && one_in(5)))
            break;
        at = is_god && one_in(3) ? kids[0] : kids[static_cast<std::size_t>(roll(int(count)))];
    }
    return at;
}
// The place that is so far from a box's lower left corner.
inline display::point place_in(const toolkit::screen_box &box, int x, int y) {
    return {box.x + x, screen_height - 1 - box.y - y};
}
inline display::point middle_of(const toolkit::screen_box &box) {
    return place_in(box, box.width / 2, box.height / 2);
}
inline display::point any_place() {
    const toolkit::display_object *d = any_demon();
    if (d == nullptr || one_in(12))
        return {roll(screen_width + 40) - 20, roll(screen_height + 40) - 20};
    const toolkit::screen_box &box = d->box;
    if (one_in(3))
        return middle_of(box);
    const int x = roll(box.width + 2) - 1;
    return place_in(box, x, roll(box.height + 2) - 1);
}
inline void move_to(display::point to) {
    for (int parts = 1 + roll(3); parts > 0; --parts) {
        hand = {to.x + (hand.x - to.x) * (parts - 1) / 3, to.y + (hand.y - to.y) * (parts - 1) / 3};
        send(event_kind::motion, whichever);
    }
}
inline void press(int button, bool pressed) {
    if (button <= display::button_right)
        is_down[static_cast<std::size_t>(button)] = pressed;
    send(event_kind::button, whichever, button, pressed);
}
inline void click(int button, int times = 1) {
    for (; times > 0; --times) {
        press(button, true);
        press(button, false);
    }
}
inline void click_somewhere() {
    move_to(any_place());
    click(one_in(12) ? 2 + roll(2) : display::button_left, one_in(5) ? 2 : 1);
}
inline void drag() {
    move_to(any_place());
    press(display::button_left, true);
    for (int moves = 1 + roll(4); moves > 0; --moves)
        move_to(any_place());
    if (!one_in(8))
        press(display::button_left, false);
}
inline void tap(int code) {
    send(event_kind::key, whichever, code, true);
    send(event_kind::key, whichever, code, false);
}
inline int any_editing_key() {
    static constexpr std::array keys = {
        display::key_left,      display::key_right,  display::key_up,     display::key_down,
        display::key_home,      display::key_end,    display::key_tab,    display::key_page_up,
        display::key_page_down, display::key_delete, display::key_insert, display::key_backspace,
        display::key_backspace, display::key_f1,     display::key_pause,  display::key_caps_lock};
    return any_of_list(keys);
}
inline void type_text(std::string_view text) {
    for (const char c : text)
        tap(c);
}
inline void type() {
    type_text(any_of_list(words));
    for (int more = roll(4); more > 0; --more)
        tap(' ' + roll('~' - ' '));
}
inline constexpr std::size_t hand_control = 0, hand_shift = 1, hand_alt = 2;
// Presses it, or lets it go.
inline void hold_modifier(std::size_t number) {
    static constexpr std::array codes = {display::key_control_left, display::key_shift_left,
                                         display::key_alt_left, display::key_control_right};
    int &held = held_modifiers[number];
    send(event_kind::key, whichever, codes[number], held == 0);
    held = held == 0 ? codes[number] : 0;
}
// Shortcuts, most of all.
inline void type_with_modifier() {
    static constexpr std::string_view letters = "ocvxazk12wsoqq\t";
    const auto number = static_cast<std::size_t>(one_in(2) ? 0 : roll(held_modifiers.size()));
    hold_modifier(number);
    if (one_in(3))
        tap(any_editing_key());
    else
        tap(any_of_list(letters));
    if (!one_in(20))
        hold_modifier(number);
}

// What the window manager and other programs do.
inline display::rectangle any_area() {
    display::rectangle area{roll(screen_width), roll(screen_height), 1 + roll(900), 1 + roll(700)};
    if (is_kept_on_screen) {
        area.x = area.x * (screen_width - area.width) / screen_width;
        area.y = area.y * (screen_height - area.height) / screen_height;
    }
    return area;
}
inline void meddle() {
    static constexpr std::array kinds = {
        event_kind::iconify,  event_kind::iconify,   event_kind::deiconify, event_kind::deiconify,
        event_kind::focus_in, event_kind::focus_out, event_kind::redraw,    event_kind::geometry,
        event_kind::enter,    event_kind::leave};
    static constexpr std::array<std::string_view, 4> texts = {
        "", "12", "a longer text\nof \xC3\x84 lines", "\xFF\x80 no UTF-8"};
    switch (const display::window_id window = any_window(); roll(16)) {
    case 0:
        return send(event_kind::close, window);
    case 1:
        return display::memory::offer_foreign_text(display::text_offer::clipboard,
                                                   any_of_list(texts), one_in(4));
    case 2:
        return display::memory::refuse_open(one_in(6));
    case 3:
        return display::memory::refuse_grab(one_in(3));
    default:
        send(any_of_list(kinds), window, 0, false, any_area());
        if (one_in(2)) // soon back from an icon
            send(event_kind::deiconify, window);
    }
}

struct doing {
    int weight; // of a hundred
    void (*act)();
};
inline constexpr std::array usual_doings = {
    doing{45, click_somewhere},
    doing{9, drag},
    doing{9, [] { move_to(any_place()); }},
    doing{5, [] { click(display::wheel_up + roll(4), 1 + roll(4)); }},
    doing{7, type},
    doing{7, [] { tap(any_editing_key()); }},
    doing{8, type_with_modifier},
    doing{3, [] { tap(display::key_return); }},
    doing{1, [] { tap(display::key_escape); }},
    doing{2, [] { press(1 + roll(3), one_in(2)); }}, // and hold it, maybe
    doing{4, meddle},
};

inline void act(std::span<const doing> doings) {
    int left = roll(100);
    for (const doing &each : doings)
        if ((left -= each.weight) < 0)
            return each.act();
}

inline void let_go() {
    for (int button = display::button_left; button <= display::button_right; ++button)
        if (is_down[static_cast<std::size_t>(button)])
            press(button, false);
    for (std::size_t number = 0; number < held_modifiers.size(); ++number)
        if (held_modifiers[number] != 0)
            hold_modifier(number);
    display::memory::refuse_open(false);
    display::memory::refuse_grab(false);
}

inline bool is_asked() { // or in a menu, which Escape ends as well
    return toolkit::inq_event_filters() != 0;
}

// ---- what there is: objects of each class, windows, descriptors ...

using census = std::map<std::string, long>;
inline census count_all() {
    census all;
    for (const toolkit::object_class *cls = toolkit::inq_first_class(); cls != nullptr;
         cls = cls->next)
        for (const toolkit::object_set *set = cls->first_set; set != nullptr; set = set->next)
            if (set->count != 0)
                all[cls->name.data()] += set->count;
    for (const auto &record : toolkit::wid_list)
        all["windows in the table"] += record->demon != nullptr ? 1 : 0;
    all["windows on the display"] = static_cast<long>(display::memory::windows().size());
    all["event filters"] = static_cast<long>(toolkit::inq_event_filters());
    all["descriptors"] = std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    return all;
}
inline std::string difference(const census &before, census now) {
    std::string text;
    for (const auto &[what, count] : before)
        now[what] -= count;
    for (const auto &[what, count] : now)
        if (count != 0)
            text.append(what).append(": ").append(std::to_string(count)).append(" too many\n");
    return text;
}

} // namespace random_hands
