// Random hands on every page of the gallery: they press, drag, type, close windows, answer dialogs
// or leave them. Again and again a page is opened, used, and closed; then nothing of it may be left.
//
//   GALLERY_EVENTS=1000000 random_gallery        instead of 100 000
//   random_gallery --gtest_filter='*/menus_3'    one page by one seed: always the same events
#include "tests/examples/gallery_fixture.h"
#include "tests/support/random_hands.h"
#include "toolkit/dialogs/dialogs.h"
#include "toolkit/events/cursor_control.h"
#include "toolkit/events/timers.h"
#include "toolkit/widgets/widgets.h"

#include <array>
#include <fstream>
#include <string_view>

namespace gallery {

namespace {

namespace fs = std::filesystem;
using namespace random_hands;

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
constexpr std::array<std::string_view, 8> typed_words = {"sub", "..",  "150",      "beta.reel",
                                                         "x",   "new", "sub/deep", "-7"};

// ---- a visit: the hands go on whenever a loop, of whatever depth, has nothing more to do

enum class stage { playing, answering, closing, trying_keys };
stage now_doing = stage::playing;
long visit_ends = 0; // number of the event
int goodbyes_left = 0;
std::string left_behind;

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
    keep_alive();
    if (now_doing == stage::playing && event_number < visit_ends && any_window() != 0)
        return act(usual_doings);
    if (now_doing != stage::playing)
        return say_goodbye();
    now_doing = stage::answering;
    let_go();
}

class random_gallery : public gallery_fixture,
                       public testing::WithParamInterface<std::tuple<page, unsigned>> {
protected:
    random_gallery() {
        left_behind.clear();
        home = fs::current_path();
        fs::current_path(directory); // where file tools begin, and the dialogs' "~"
        setenv("HOME", directory.c_str(), 1);
        fs::create_directories(directory + "/sub/deeper");
        for (const char *name : {"alpha.reel", "beta.reel", "sub/deep.reel", ".hidden"})
            std::ofstream(directory + "/" + name) << name;
        fs::create_symlink("nowhere", directory + "/dead.reel");
        open_display([] {}, nullptr);
        begin(std::get<0>(GetParam()).name, std::get<1>(GetParam()));
        words = typed_words;
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
        ASSERT_EQ(faults, "") << used << ", seed " << seed << ", the visit from event " << begun
                              << " to " << event_number;
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
