// Random hands on the Player Tool, session after session: films of all kinds are dropped, opened,
// played, scrubbed, zoomed and saved. Every now and then the hands stop, and what is shown must be
// what is there. After a session nothing of it may be left, and memory stays level over all of them.
//
//   PLAYER_RANDOM_MINUTES=30 random_player     instead of a few seconds
//   PLAYER_RANDOM_SEED=17 random_player        from the session of this seed on
#include "platform/gl/input.h"
#include "platform/gl/queue.h"
#include "player/play_file.h"
#include "player/player_loop.h"
#include "player/player_window.h"
#include "player/start_up.h"
#include "tests/player/player_fixture.h"
#include "tests/support/random_hands.h"
#include "toolkit/demons/cursor_filters.h"
#include "toolkit/dialogs/dialogs.h"
#include "toolkit/events/timers.h"
#include "toolkit/widgets/directory_demon.h"

#include <chrono>
#include <malloc.h>
#include <optional>
#ifdef KNOWS_DEATH // slow, and keeps what was freed for a while
constexpr unsigned usual_sessions = 30;
constexpr double most_growth_kb = 200'000;
extern "C" std::size_t __sanitizer_get_current_allocated_bytes(); // NOLINT: not every header has it
#else
constexpr unsigned usual_sessions = 150;
constexpr double most_growth_kb = 1024; // of what is resident, from the first half to the second
#endif

namespace {

namespace fs = std::filesystem;
using namespace player;
using namespace random_hands;
using player_test::movie_plan;
using toolkit::demon_ref;
using toolkit::screen_box;

constexpr unsigned first_sessions = 3;     // make what is made once
constexpr int looks_of_session = 12;       // stops to look at what is shown
constexpr int longest_way_to_rest = 300;   // doings until it must have come
constexpr double most_growth_of_heap = 32; // of what is allocated, kilobytes

// ---- films

const std::vector<std::pair<const char *, movie_plan>> plans = {
    {"tiny.reel", {.frames = 30, .width = 4, .height = 4}},
    {"small.reel", {.frames = 2000, .rate = 30, .width = 64, .height = 48}},
    {"plain.reel", {.frames = 24, .rate = 24, .width = 320, .height = 240}},
    {"wide.reel", {.frames = 12, .rate = 12, .width = 1000, .height = 190}},
    {"one.reel", {.width = 64, .height = 48}},
    {"none.reel", {.frames = 0}},
    {"gaps.reel", {.frames = 20, .missing = {0, 2, 3, 7, 19}}},
    {"lost.reel", {.frames = 5, .missing = {0, 1, 2, 3, 4}}},
    {"still.reel", {.frames = 40, .width = 160, .height = 120}}, // most frames repeat
    {"torn.reel", {.frames = 12, .rate = -1, .width = 64, .height = 48}}};
constexpr std::array others = {"empty.reel", "cut.reel", "note.txt", "folder", "gone.reel"};
constexpr std::array<std::string_view, 12> typed_words = {
    "copy1",     "copy2.reel", "note.txt", "wide.reel", "torn", "small.reel",
    "gaps.reel", "7",          "120",      "1;5",       "0",    "99999"};
std::string film_folder; // where the hands are

std::string any_film() {
    return film_folder + (one_in(6) ? any_of_list(others) : any_of_list(plans).first);
}

// A picture that ends before it is whole.
std::vector<std::uint8_t> torn_picture(int width, int height) {
    std::minstd_rand noise;
    std::vector<std::uint32_t> image(static_cast<std::size_t>(width * height));
    std::ranges::generate(image, [&] { return static_cast<std::uint32_t>(noise()); });
    std::vector<std::uint8_t> packed(movie::ir1_worst_case(width, height));
    const auto size = movie::IR1_compress(image, width, height, packed, 0);
    packed.resize(static_cast<std::size_t>(size) * 3 / 4);
    return packed;
}
// Each film has colours of its own.
movie_plan make_film(std::size_t number) {
    auto [name, plan] = plans[number];
    const int height = plan.height - plan.height % movie::ir1_block_size;
    const auto blue = static_cast<std::uint32_t>(number * 2 + 1) << 19;
    const bool is_still = name == std::string_view("still.reel");
    for (int i = 0; i < plan.frames; ++i)
        if (!is_still || i % 5 == 0)
            plan.data[i] = player_test::packed_picture(player_test::frame_colour(i) | blue,
                                                       plan.width, height);
        else
            plan.data[i].clear();
    if (name == std::string_view("torn.reel")) {
        plan.data[3] = {1, 2, 3};
        plan.data[6] = plan.data[11] = torn_picture(plan.width, height);
    }
    return plan;
}

// ---- what is done to a player, beside what is done anywhere

display::window_id main_window = 0;
std::vector<demon_ref> menu_way; // through a menu; the next click is at its end

screen_box box_of(const demon_ref &widget) {
    const toolkit::demon *d = widget.get();
    return d != nullptr ? d->box : screen_box{};
}
void click_on(const demon_ref &widget) {
    move_to(middle_of(box_of(widget)));
    click(display::button_left);
}
void scrub() {
    const screen_box box = box_of(player_tool.slider);
    move_to(middle_of(box));
    press(display::button_left, true);
    for (int moves = 1 + roll(6); moves > 0; --moves)
        move_to(place_in(box, roll(box.width + 20) - 10, box.height / 2));
    if (!one_in(10))
        press(display::button_left, false);
}
void tap_with(std::size_t modifier, int code) {
    hold_modifier(modifier);
    tap(code);
    hold_modifier(modifier);
}
void type_time() {
    click_on(player_tool.time);
    tap_with(hand_control, 'a');
    type_text(any_of_list(typed_words));
    tap(display::key_return);
}
void choose_in_menu() {
    const player_widgets &all = player_tool;
    const std::array choices = {&all.open,     &all.save_as,   &all.modes[1],      &all.modes[2],
                                &all.zoom_up,  &all.zoom_down, &all.restore,       &all.rates[0],
                                &all.rates[3], &all.rates[4],  &all.double_buffer, &all.modes[0]};
    menu_way.clear();
    toolkit::demon *at = any_of_list(choices)->get();
    while (at != nullptr) {
        menu_way.push_back(toolkit::refer_to_demon(at));
        const toolkit::pulldown *menu = toolkit::as_pulldown(at->parent.get());
        at = menu != nullptr ? menu->owner.get() : nullptr;
    }
}
void use_file_tool() {
    tap_with(hand_control, one_in(2) ? 's' : 'o');
    tap(display::key_tab);
    type_text(any_of_list(typed_words));
    tap(display::key_return);
    if (one_in(2))
        tap(display::key_return); // to whatever is asked
}

constexpr std::array<int, 11> player_keys = {
    ' ', ' ', ',', '.', 'r', 'l', 'l', '-', '0', display::key_home, display::key_end};
constexpr std::array player_doings = {
    doing{22, [] { click_on(any_of_list(player_tool.buttons)); }},
    doing{12, scrub},
    doing{6, type_time},
    doing{14, [] { tap(any_of_list(player_keys)); }},
    doing{4, [] { tap_with(hand_shift, '='); }}, // zooms up
    doing{12, choose_in_menu},
    doing{6, [] { display::memory::push_drop(main_window, any_film().c_str()); }},
    doing{5, use_file_tool},
    doing{18, [] { due_us += 100'000 + roll(40) * 100'000; }}, // look on
    doing{1, [] { tap_with(hand_control, 'q'); }},
};

void do_anything() {
    if (!menu_way.empty()) {
        click_on(menu_way.back());
        return menu_way.pop_back();
    }
    if (one_in(3))
        return act(usual_doings);
    act(player_doings);
}

// ---- what must hold

std::string faults;

void expect(bool holds, const char *what) {
    if (!holds)
        faults.append(what).append("; ");
}
void check_record() {
    const play_args &args = playback;
    expect(args.zoom >= 1, "zoom");
    expect(args.mode >= mode_normal && args.mode <= mode_swing, "mode");
    expect(args.count >= 0 && args.current >= args.first &&
               args.current < args.first + std::max(args.count, 1),
           "current");
}
// The colour of the frame as the file has it, 0xAABBGGRR; nothing when it is not whole.
std::optional<std::uint32_t> colour_in_file(int frame) {
    const std::string path =
        "/proc/self/fd/" + std::to_string(fileno(open_movie.film->stream.get()));
    const movie::vf_owner film = movie::VFopen(path.c_str(), "r");
    movie::vf_frame where;
    if (!film)
        return {};
    std::vector<std::uint8_t> packed(movie::vf_max_data_bytes(*film));
    if (movie::VFfetchframe(*film, frame, -1, packed, &where) != movie::vf_find::found)
        return {};
    packed.resize(static_cast<std::size_t>(where.size));
    std::vector<std::uint32_t> image(playback.pixels.count);
    if (movie::IR1_decompress(*movie::vf_current_table(), packed, image) != 0)
        return {};
    return image[0];
}
// Whether the window shows one colour in a box, to its edges.
bool is_shown(const screen_box &box, std::uint32_t colour) {
    const auto shown = display::memory::picture(main_window);
    const std::uint32_t rgb = (colour & 0xFF) << 16 | (colour & 0xFF00) | (colour >> 16 & 0xFF);
    bool is_right = true;
    for (const int x : {0, box.width / 2, box.width - 1})
        for (const int y : {0, box.height / 2, box.height - 1}) {
            const int row = shown.height - 1 - box.y - y;
            const auto place = static_cast<std::size_t>(row * shown.width + box.x + x);
            is_right = is_right && shown.pixels[place] == rgb;
        }
    return is_right;
}
void look() {
    const auto is_within = [](const display::rectangle &in, int width, int height) {
        return in.x >= 0 && in.y >= 0 && in.x + in.width <= width && in.y + in.height <= height;
    };
    const display::rectangle area = display::memory::facts(main_window).area;
    expect(is_within(area, screen_width, screen_height), "the window is not on the screen");
    toolkit::widget_value slider;
    toolkit::getWidgetValue(player_tool.slider.get(), &slider);
    expect(static_cast<int>(slider.number) == playback.current, "the slider"); // also in between
    screen_box picture = box_of(player_tool.picture);
    picture.x = static_cast<std::int16_t>(playback.image_x);
    picture.y = static_cast<std::int16_t>(playback.image_y);
    constexpr int edges = 20, other_parts = 225; // of the window, around the picture
    if (area.width <= edges || area.height <= other_parts)
        return;
    const bool is_inside =
        is_within({picture.x, picture.y, picture.width, picture.height}, area.width, area.height);
    expect(is_inside, "the picture is not in the window");
    if (!is_inside || open_movie.film == nullptr)
        return;
    const auto colour = colour_in_file(playback.current - playback.first);
    expect(!colour || is_shown(picture, *colour), "another picture is shown");
}

// ---- a session: the hands go on whenever a loop, of whatever depth, has nothing more to do

long look_at = 0; // number of the event
int looks_left = 0;
int patience = 0;
bool is_settling = false, is_at_rest = false;

void enjoy() {
    is_settling = is_at_rest = false;
    patience = longest_way_to_rest;
    look_at = event_number + 20 + roll(120);
}
// One step towards a player that stands still, with nothing before it.
void settle() {
    const bool was_at_rest = std::exchange(is_at_rest, false);
    if (!std::exchange(is_settling, true))
        return let_go();
    if (state.playing)
        return tap(' ');
    if (is_asked() && patience % 4 == 1) // a control that a dialog has kept from being let go
        return click(display::button_left);
    if (is_asked())
        return tap(patience % 4 == 0 ? display::key_return : display::key_escape);
    if (display::memory::facts(main_window).state == display::window_state::iconic)
        return send(event_kind::deiconify, main_window);
    is_at_rest = true;
    due_us += was_at_rest ? 0 : 300'000;
    if (!was_at_rest)
        return;
    look();
    state.leave_loop = --looks_left == 0;
    enjoy();
}
void go_on() {
    if (program_clock::now_us() < due_us || state.leave_loop)
        return; // the hands are busy, or gone
    due_us = program_clock::now_us();
    keep_alive();
    check_record();
    const bool is_time_to_look = event_number >= look_at || state.quit_requested;
    expect(!is_time_to_look || --patience > 0, "it does not come to rest");
    if (!faults.empty()) {
        state.leave_loop = true;
        toolkit::quit_dispatch(); // dialogs
    } else if (is_time_to_look) {
        settle();
    } else {
        do_anything();
    }
}

// Nowhere else is anything written.
void save_inside(toolkit::word) {
    toolkit::widget_value chosen;
    toolkit::getWidgetValue(player_tool.save_file_tool.get(), &chosen);
    if (fs::path(chosen.text).lexically_normal().string().starts_with(film_folder))
        save_play_file(playback, open_movie);
}
void watch_player() {
    main_window = display::memory::windows().back();
    toolkit::as_directory_demon(player_tool.save_file_tool.get())->callback = save_inside;
    static decltype(view.take_device) window_takes;
    window_takes = view.take_device;
    view.take_device = [](gl::device d, short value) { // ticks come here while a film plays
        d == gl::TIMER2 ? go_on() : window_takes(d, value);
    };
    toolkit::enable_timer2_events(go_on, 1);
    toolkit::cursor_filter = [](toolkit::screen_point in, toolkit::screen_point *out) {
        program_clock::advance_process_us(200'000); // it rests soon
        *out = in;
    };
}

struct memory_use {
    double resident_kb = 0, heap_kb = 0;
};
memory_use measure_memory() {
    malloc_trim(0);
    long size = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
#ifdef KNOWS_DEATH
    const auto heap = static_cast<double>(__sanitizer_get_current_allocated_bytes());
#else
    const struct mallinfo2 info = mallinfo2();
    const auto heap = static_cast<double>(info.uordblks + info.hblkhd);
#endif
    return {static_cast<double>(resident * sysconf(_SC_PAGESIZE)) / 1024, heap / 1024};
}
struct half { // of the run, without its beginning
    memory_use average;
    double count = 0;
    void add(const memory_use &now) {
        ++count;
        average.resident_kb += (now.resident_kb - average.resident_kb) / count;
        average.heap_kb += (now.heap_kb - average.heap_kb) / count;
    }
};

class random_player : public player_test::player_fixture {
protected:
    void SetUp() override {
        player_fixture::SetUp();
        toolkit::init_dialogs();
        film_folder = folder + "/films/";
        fs::create_directories(film_folder);
        fs::create_directories(folder + "/kept/folder");
        for (std::size_t i = 0; i < plans.size(); ++i)
            write_movie(make_film(i), std::string("kept/") + plans[i].first);
        std::ofstream(folder + "/kept/cut.reel") << std::string("\x1A\x2B\x3C\x4D\0\0\0\0\0\0", 10);
        std::ofstream(folder + "/kept/note.txt") << "no movie at all";
        std::ofstream(folder + "/kept/empty.reel");
        home = fs::current_path();
        fs::current_path(film_folder);
        setenv("HOME", film_folder.c_str(), 1);
        loud = std::exchange(stderr, std::fopen("/dev/null", "w")); // damaged films are told of
    }
    void TearDown() override {
        alarm(0);
        std::fclose(std::exchange(stderr, loud));
        fs::current_path(home);
        toolkit::cursor_filter = toolkit::null_filter;
        player_fixture::TearDown();
    }

    void run_session(unsigned with_seed) {
        for (const fs::path &each : fs::directory_iterator(film_folder))
            fs::remove_all(each);
        fs::copy(folder + "/kept", film_folder, fs::copy_options::recursive);
        begin("Player Tool", with_seed);
        words = typed_words;
        is_kept_on_screen = true;
        state = {};
        ASSERT_EQ(build_player_tool(args), 0);
        watch_player();
        menu_way.clear();
        looks_left = looks_of_session;
        enjoy();
        move_to({0, 0});
        if (gl::is_caps_locked())
            tap(display::key_caps_lock);
        if (!one_in(4)) {
            state.play_file_name = any_film();
            load_play_file(args, ref);
        }
        player_event_loop(args, ref);
        end_session();
    }
    void end_session() {
        toolkit::timer2_function = nullptr;
        gl::unqdevice(gl::TIMER2);
        let_go();
        display::memory::offer_foreign_text(display::text_offer::clipboard, "");
        program_clock::sleep_until_us(due_us + 1);
        destroy_player_tool();
        clear_player();
        args = {};
        static_cast<void>(gl::qtest());
        gl::qreset();
    }
    static int number_in(const char *variable, int otherwise) {
        const char *text = std::getenv(variable);
        return text != nullptr ? std::atoi(text) : otherwise;
    }

    fs::path home;
    std::FILE *loud = nullptr;
};

TEST_F(random_player, nothing_is_left_of_any_session) {
    using seconds = std::chrono::duration<double>;
    const auto begun = std::chrono::steady_clock::now();
    const double minutes = number_in("PLAYER_RANDOM_MINUTES", 0);
    const auto first_seed = static_cast<unsigned>(number_in("PLAYER_RANDOM_SEED", 1));
    std::array<half, 2> halves;
    memory_use at_first, now;
    census before;
    long events = 0;
    unsigned sessions = 0;
    for (double done = 0; done < 1 || sessions <= first_sessions; ++sessions) {
        run_session(first_seed + sessions);
        events += event_number;
        if (sessions == 0)
            before = count_all();
        faults += difference(before, count_all());
        ASSERT_EQ(faults, "") << used << ", seed " << seed << ", event " << event_number;
        const seconds elapsed = std::chrono::steady_clock::now() - begun;
        done = minutes > 0 ? elapsed.count() / (60 * minutes) : (sessions + 1.0) / usual_sessions;
        now = measure_memory();
        if (sessions < first_sessions)
            at_first = now;
        else
            halves[done > 0.5].add(now);
    }
    const auto &[first, second] = std::pair{halves[0].average, halves[1].average};
    std::printf("%u sessions, %ld events; resident %.0f kB at first, %.0f in the first half, "
                "%.0f in the second, %.0f at last; allocated %.1f, %.1f, %.1f, %.1f kB\n",
                sessions, events, at_first.resident_kb, first.resident_kb, second.resident_kb,
                now.resident_kb, at_first.heap_kb, first.heap_kb, second.heap_kb, now.heap_kb);
    EXPECT_LT(second.heap_kb, first.heap_kb + most_growth_of_heap);
    EXPECT_LT(second.resident_kb, first.resident_kb + most_growth_kb);
}

} // namespace
