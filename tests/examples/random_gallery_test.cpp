// Random hands on every page of the gallery: they press, drag, type, close windows, answer dialogs
// or leave them. Again and again a page is opened, used, and closed; then nothing of it may be left.
//
//   GALLERY_EVENTS=1000000 random_gallery        instead of 100 000
//   random_gallery --gtest_filter='*/menus_3'    one page by one seed: always the same events
#include "tests/examples/gallery_fixture.h"
#include "toolkit/demons/event_filters.h"
#include "toolkit/demons/keystroke_aliases.h"
#include "toolkit/dialogs/dialogs.h"
#include "toolkit/events/cursor_control.h"
#include "toolkit/events/timers.h"
#include "toolkit/widgets/widgets.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <random>
#include <string_view>

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

namespace gallery {

namespace {

namespace fs = std::filesystem;
using display::event_kind;

// ---- what is used, and how much

demon *open_page(const screen_box &box, const char *title, void (*fill)(demon *)) {
    demon *window = addWindow(
        box.x, box.y, box.width, box.height, title, [](word) { quit_dispatch(); }, 0);
    fill(window);
    drawWidget(window);
    return window;
}
void open_controls() {
    open_page(controls_window, controls_title, add_controls);
}
void open_menus() {
    open_page(fields_window, fields_title, add_fields);
    open_page(menus_window, menus_title, add_menus);
}
void open_fields() {
    open_page(fields_window, fields_title, add_fields);
}
void open_files() {
    open_page(files_window, files_title, add_files);
}
void open_dialogs() {
    open_page(fields_window, fields_title, add_fields);
    setConfirmDestroyWindow(open_page(dialogs_window, dialogs_title, add_dialogs), true);
}

struct page {
    const char *name;
    void (*open)();
    int share; // of a hundred events
};
constexpr std::array pages = {
    page{"windows", open_windows, 25}, page{"controls", open_controls, 10},
    page{"menus", open_menus, 20},     page{"fields", open_fields, 15},
    page{"files", open_files, 15},     page{"dialogs", open_dialogs, 15}};
constexpr std::array seeds = {1U, 2U, 3U, 5U};
constexpr long events_in_total = 100'000;
constexpr int shortest_visit = 100, longest_visit = 1500; // events until a page is closed
constexpr int longest_goodbye = 300;                      // doings until it must be gone
constexpr unsigned longest_silence_s = 60;                // of a loop that never ends

// ---- dice

const char *page_name = "";
unsigned seed = 0;
long event_number = 0;
std::minstd_rand dice;

void say_where() {
    std::fprintf(stderr, "random gallery: %s, seed %u, event %ld\n", page_name, seed, event_number);
}
void give_up(int) {
    say_where();
    std::abort();
}

int roll(int sides) {
    return static_cast<int>(dice() >> 8) % sides;
}
bool one_in(int n) {
    return roll(n) == 0;
}
template <typename list> auto any_of_list(const list &all) {
    return all[static_cast<std::size_t>(roll(static_cast<int>(std::size(all))))];
}

// ---- hands

constexpr int screen_width = 1280, screen_height = 1024;
std::int64_t due_us = 0; // when the last of what was sent comes
// The window of keys and buttons: none, since a window that is closed takes what waits for it along.
constexpr display::window_id whichever = 0;
display::point hand; // where it is, from the top left
std::array<bool, display::button_right + 1> is_down{};
std::array<int, 4> held_modifiers{}; // 0: none

void send(event_kind kind, display::window_id window, int code = 0, bool pressed = false,
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
display::window_id any_window() {
    const auto all = display::memory::windows();
    return all.empty() ? 0 : any_of_list(all);
}

// Some demon that is seen, the newest window's sooner than others.
const display_object *any_demon() {
    const demon *at = inq_demon_god();
    while (at != nullptr) {
        std::array<const demon *, 64> kids{};
        std::size_t count = 0;
        for (const demon *kid = at->kids; kid != nullptr && count < kids.size(); kid = kid->next)
            if ((kid->flags & flag_visible) != 0)
                kids[count++] = kid;
        const bool is_god = at == inq_demon_god();
        if (count == 0 || (!is_god && one_in(5)))
            break;
        at = is_god && one_in(3) ? kids[0] : kids[static_cast<std::size_t>(roll(int(count)))];
    }
    return at;
}
display::point any_place() {
    const display_object *d = any_demon();
    if (d == nullptr || one_in(12))
        return {roll(screen_width + 40) - 20, roll(screen_height + 40) - 20};
    const screen_box &box = d->box;
    const bool is_middle = one_in(3);
    const int x = is_middle ? box.width / 2 : roll(box.width + 2) - 1;
    const int y = is_middle ? box.height / 2 : roll(box.height + 2) - 1;
    return {box.x + x, screen_height - 1 - box.y - y};
}
void move_to(display::point to) {
    for (int parts = 1 + roll(3); parts > 0; --parts) {
        hand = {to.x + (hand.x - to.x) * (parts - 1) / 3, to.y + (hand.y - to.y) * (parts - 1) / 3};
        send(event_kind::motion, whichever);
    }
}
void press(int button, bool pressed) {
    if (button <= display::button_right)
        is_down[static_cast<std::size_t>(button)] = pressed;
    send(event_kind::button, whichever, button, pressed);
}
void click(int button, int times) {
    for (; times > 0; --times) {
        press(button, true);
        press(button, false);
    }
}
void click_somewhere() {
    move_to(any_place());
    click(one_in(12) ? 2 + roll(2) : display::button_left, one_in(5) ? 2 : 1);
}
void drag() {
    move_to(any_place());
    press(display::button_left, true);
    for (int moves = 1 + roll(4); moves > 0; --moves)
        move_to(any_place());
    if (!one_in(8))
        press(display::button_left, false);
}
void tap(int code) {
    send(event_kind::key, whichever, code, true);
    send(event_kind::key, whichever, code, false);
}
int any_editing_key() {
    static constexpr std::array keys = {
        display::key_left,      display::key_right,  display::key_up,     display::key_down,
        display::key_home,      display::key_end,    display::key_tab,    display::key_page_up,
        display::key_page_down, display::key_delete, display::key_insert, display::key_backspace,
        display::key_backspace, display::key_f1,     display::key_pause,  display::key_caps_lock};
    return any_of_list(keys);
}
void type() {
    static constexpr std::array<std::string_view, 8> texts = {"sub", "..",  "150",      "beta.reel",
                                                              "x",   "new", "sub/deep", "-7"};
    for (const char c : any_of_list(texts))
        tap(c);
    for (int more = roll(4); more > 0; --more)
        tap(' ' + roll('~' - ' '));
}
void hold_modifier(std::size_t number) {
    static constexpr std::array codes = {display::key_control_left, display::key_shift_left,
                                         display::key_alt_left, display::key_control_right};
    int &held = held_modifiers[number];
    send(event_kind::key, whichever, codes[number], held == 0);
    held = held == 0 ? codes[number] : 0;
}
// Shortcuts, most of all.
void type_with_modifier() {
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
void meddle() {
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
        send(any_of_list(kinds), window, 0, false,
             {roll(screen_width), roll(screen_height), 1 + roll(900), 1 + roll(700)});
        if (one_in(2)) // soon back from an icon
            send(event_kind::deiconify, window);
    }
}

constexpr struct {
    int weight; // of a hundred
    void (*act)();
} doings[] = {
    {45, click_somewhere},
    {9, drag},
    {9, [] { move_to(any_place()); }},
    {5, [] { click(display::wheel_up + roll(4), 1 + roll(4)); }},
    {7, type},
    {7, [] { tap(any_editing_key()); }},
    {8, type_with_modifier},
    {3, [] { tap(display::key_return); }},
    {1, [] { tap(display::key_escape); }},
    {2, [] { press(1 + roll(3), one_in(2)); }}, // and hold it, maybe
    {4, meddle},
};

void do_anything() {
    int left = roll(100);
    for (const auto &doing : doings)
        if ((left -= doing.weight) < 0)
            return doing.act();
}

void let_go() {
    for (int button = display::button_left; button <= display::button_right; ++button)
        if (is_down[static_cast<std::size_t>(button)])
            press(button, false);
    for (std::size_t number = 0; number < held_modifiers.size(); ++number)
        if (held_modifiers[number] != 0)
            hold_modifier(number);
    display::memory::refuse_open(false);
    display::memory::refuse_grab(false);
}

// ---- a visit: the hands go on whenever a loop, of whatever depth, has nothing more to do

enum class stage { playing, answering, closing, trying_keys };
stage now_doing = stage::playing;
long visit_ends = 0; // number of the event
int goodbyes_left = 0;
std::string left_behind;

bool is_asked() { // or in a menu, which Escape ends as well
    return inq_event_filters() != 0;
}
void answer(bool yes) {
    tap(yes ? display::key_return : display::key_escape);
}

// Dialogs first; then all windows are closed, as a user would. Nothing may hold the arrow keys then.
void say_goodbye() {
    if (--goodbyes_left == 0) {
        for (const display::window_id each : display::memory::windows())
            left_behind.append(display::memory::facts(each).title).append(", ");
        left_behind += "can't be closed";
        return quit_dispatch();
    }
    if (is_asked())
        return answer(now_doing == stage::closing && goodbyes_left % 3 != 0);
    screen_point at;
    gl_get_valuator(&at.x, &at.y);
    if (now_doing == stage::answering)
        return bump();
    if (now_doing == stage::trying_keys) {
        if (at.x != 401)
            left_behind = "the arrow keys are taken";
        return bump();
    }
    if (any_window() != 0)
        return send(event_kind::close, display::memory::windows().back());
    now_doing = stage::trying_keys;
    gl_set_valuator(400, 400);
    tap(display::key_right);
}

void go_on() {
    if (program_clock::now_us() < due_us)
        return; // the hands are busy
    due_us = program_clock::now_us();
    alarm(longest_silence_s);
    if (now_doing == stage::playing && event_number < visit_ends && any_window() != 0)
        return do_anything();
    if (now_doing != stage::playing)
        return say_goodbye();
    now_doing = stage::answering;
    let_go();
}

// What there is: objects of each class, windows, descriptors ...
using census = std::map<std::string, long>;
census count_all() {
    census all;
    for (const object_class *cls = inq_first_class(); cls != nullptr; cls = cls->next)
        for (const object_set *set = cls->first_set; set != nullptr; set = set->next)
            if (set->count != 0)
                all[cls->name.data()] += set->count;
    for (const auto &record : wid_list)
        all["windows in the table"] += record->demon != nullptr ? 1 : 0;
    all["windows on the display"] = static_cast<long>(display::memory::windows().size());
    all["event filters"] = static_cast<long>(inq_event_filters());
    all["descriptors"] = std::distance(fs::directory_iterator("/proc/self/fd"), {});
    return all;
}
std::string difference(const census &before, census now) {
    std::string text;
    for (const auto &[what, count] : before)
        now[what] -= count;
    for (const auto &[what, count] : now)
        if (count != 0)
            text.append(what).append(": ").append(std::to_string(count)).append(" too many\n");
    return text;
}

class random_gallery : public gallery_fixture,
                       public testing::WithParamInterface<std::tuple<page, unsigned>> {
protected:
    random_gallery() {
        page_name = std::get<0>(GetParam()).name;
        seed = std::get<1>(GetParam());
        dice.seed(seed);
        event_number = 0;
        left_behind.clear();
        gallery::due_us = 0;
        std::signal(SIGALRM, give_up);
#ifdef KNOWS_DEATH
        __sanitizer_set_death_callback(say_where);
#else
        std::signal(SIGSEGV, give_up);
#endif
        home = fs::current_path();
        fs::current_path(directory); // where file tools begin, and the dialogs' "~"
        setenv("HOME", directory.c_str(), 1);
        fs::create_directories(directory + "/sub/deeper");
        for (const char *name : {"alpha.reel", "beta.reel", "sub/deep.reel", ".hidden"})
            std::ofstream(directory + "/" + name) << name;
        fs::create_symlink("nowhere", directory + "/dead.reel");
        open_display([] {}, nullptr);
        start_again();
    }
    ~random_gallery() override {
        alarm(0);
        gl::unqdevice(gl::TIMER2);
        timer2_function = nullptr;
        fs::current_path(home);
    }

    // As a program begins: after the quit flag.
    static void start_again() {
        set_dispatch_hooks({.getGraphics = getGraphics});
        init_dialogs();
        enable_timer2_events(go_on, 1);
        cursor_filter = [](screen_point in, screen_point *out) {
            program_clock::advance_process_us(200'000);
            *out = in;
        };
    }
    void visit(long events) const {
        std::get<0>(GetParam()).open();
        now_doing = stage::playing;
        visit_ends = event_number + events;
        goodbyes_left = longest_goodbye;
        main_event_loop();
        start_again();
        let_go();
        now_doing = stage::closing;
        while (now_doing == stage::closing && left_behind.empty()) { // each window may end it
            main_event_loop();
            start_again();
        }
        if (demon *shelf = find(name_tray_shelf)) // the tray lives on when it is closed
            iris_demon_destroy(getTopWidget(shelf), nullptr, nullptr);
    }
    std::map<std::string, std::uintmax_t> files() const {
        std::map<std::string, std::uintmax_t> found;
        for (const fs::directory_entry &each : fs::recursive_directory_iterator(directory))
            found[each.path()] = each.is_regular_file() ? each.file_size() : 0;
        return found;
    }

private:
    fs::path home;
};

} // namespace

TEST_P(random_gallery, nothing_is_left_of_any_use) {
    const char *asked = std::getenv("GALLERY_EVENTS");
    const long total = asked != nullptr ? std::atol(asked) : events_in_total;
    const long events =
        total * std::get<0>(GetParam()).share / 100 / static_cast<long>(seeds.size());
    const auto files_before = files();
    visit(0); // makes what is made once
    const census before = count_all();
    while (event_number < events) {
        const long begun = event_number;
        visit(shortest_visit + roll(longest_visit - shortest_visit));
        const std::string faults = left_behind + difference(before, count_all());
        ASSERT_EQ(faults, "") << page_name << ", seed " << seed << ", the visit from event "
                              << begun << " to " << event_number;
    }
    EXPECT_EQ(files(), files_before);
}

INSTANTIATE_TEST_SUITE_P(pages, random_gallery,
                         testing::Combine(testing::ValuesIn(pages), testing::ValuesIn(seeds)),
                         [](const auto &row) {
                             return std::string(std::get<0>(row.param).name)
                                 .append("_")
                                 .append(std::to_string(std::get<1>(row.param)));
                         });

} // namespace gallery
