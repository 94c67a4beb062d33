// Menus in use: by mouse and keyboard, and how they close whatever happens.
#include "tests/toolkit/widgets/menu_fixture.h"

#include <random>

namespace toolkit {

namespace {

using enum pulldown_kind;
using calls = std::vector<word>;

struct open_menus : menu_fixture {};

TEST_F(open_menus, mouse_and_keys_choose) {
    struct {
        const char *script;
        calls chosen;
        std::size_t open; // pulldowns, in the end
    } const cases[] = {
        {"File press Open release", {1}, 0},
        {"File press release Open press release", {1}, 0},
        {"File press Open panel release", {}, 0},
        {"File press release outside press release", {}, 0},
        {"File press release", {}, 1},
        {"File press release press release", {}, 0},
        {"File press release outside Quit press release", {3}, 0},
        {"File press release outside right_press right_release", {}, 0},
        {"File press Gone release", {}, 1}, // not active: all stays
        {"File press Gone release Quit press release", {3}, 0},
        {"File press Play Loop release", {5}, 0}, // over to the neighbour
        {"File press release Play File Open press release", {1}, 0},
        {"Play press Normal release", {4}, 0}, // on already: it is called all the same
        {"Play press Buffer release", {6}, 0},
        {"Play press Rate> Film release", {7}, 0},
        {"Play press Rate release", {}, 2}, // a click on a cascade opens it
        {"Play press Rate> Loop", {}, 1},   // another choice closes it
        {"Play press Rate> Tape release Play press release", {8}, 1},
        {"File press release Escape", {}, 0},
        {"File press release Down Return", {1}, 0},
        {"File press release Down Down Return", {3}, 0}, // over the one that is not active
        {"File press release Up Return", {3}, 0},
        {"File press release Up Down Return", {1}, 0}, // around
        {"File press release Return", {}, 1},
        {"File press release Right Return", {4}, 0},
        {"File press release Left Return", {4}, 0},
        {"Play press release Up Right Down Return", {8}, 0},
        {"Play press release Up Return Return", {7}, 0},
        {"Play press release Up Right Left", {}, 1},
        {"Play press release Up Right Escape", {}, 1},
        {"Play press release Up Right Escape Escape", {}, 0},
        {"File press release Down Quit Return", {3}, 0}, // the pointer takes over
    };
    fill_bar();
    for (const auto &each : cases) {
        SCOPED_TRACE(each.script);
        called.clear();
        act(each.script);
        EXPECT_EQ(called, each.chosen);
        EXPECT_EQ(popups(), each.open);
        closePullDowns();
        press(false);
        expect_no_menu();
        act("panel");
        updateWidgetValue(find("Normal"), 1);
    }
}

TEST_F(open_menus, nothing_stays_behind) {
    struct {
        const char *name;
        std::function<void()> what;
    } const ends[] = {
        {"input lost", [&] { happen(display::event_kind::focus_out, window_on_display()); }},
        {"icon", [&] { happen(display::event_kind::iconify, window_on_display()); }},
        {"close box", [&] { happen(display::event_kind::close, window_on_display()); }},
        {"window destroyed", [&] { destroyWidget(window); }},
        {"window pushed", [&] { demon_push_message(window); }},
        {"window hidden", [&] { demon_visibility_message(window, false); }},
        {"bar destroyed", [&] { destroyWidget(bar); }},
        {"bar taken out", [&] { deleteWidget(bar); }},
        {"pulldown deleted", [&] { deletePullDown(play); }},
        {"sub-pulldown deleted", [&] { deletePullDown(rates); }},
        {"called off", [&] { closePullDowns(); }},
    };
    const std::string dragged = "Play press Rate>", clicked = "Play press release Rate>";
    for (const auto &end : ends)
        for (const auto &script : {dragged, clicked, dragged + " Film"})
            for (const bool refuse : {false, true}) {
                SCOPED_TRACE(end.name + (" after " + script));
                display::memory::refuse_grab(refuse);
                fill_bar();
                act(script);
                ASSERT_EQ(popups(), 2U);
                end.what();
                press(false);
                expect_no_menu();
                EXPECT_EQ(called, calls{});
                destroy_all_iris_windows();
                make_window(300, 500);
            }
}

TEST_F(open_menus, the_keyboard_may_move_within_the_menu) {
    fill_bar();
    act("Play press");
    happen(display::event_kind::focus_in, window_on_display());
    EXPECT_EQ(popups(), 1U);
    display::event e;
    e.kind = display::event_kind::focus_out; // to where the next event says
    e.window = window_on_display();
    display::memory::push(e);
    happen(display::event_kind::focus_in, window_on_display());
    EXPECT_EQ(popups(), 1U);
    iris_window_demon *other =
        create_iris_window_demon(nullptr, 900, 100, 100, 100, "other", nullptr, 0);
    display::memory::push(e);
    happen(display::event_kind::focus_in, display::memory::windows().back());
    EXPECT_EQ(popups(), 0U);
    demon_destroy_message(other);
}

// What closes a menu does nothing else, neither its press nor its release.
TEST_F(open_menus, the_click_that_closes_reaches_nobody) {
    fill_bar();
    static std::string noted;
    noted.clear();
    generic_demon *under = create_generic_demon(nullptr, 40, 40, nullptr);
    set_demon(under, window, 380, 30);
    add_demon(under, window);
    under->on.b1_down = [](demon *, object *, demon_message *) { noted += 'd'; };
    under->on.b1_up = [](demon *, object *, demon_message *) { noted += 'u'; };
    under->on.box_in = [](demon *, object *, demon_message *) { noted += 'i'; };
    window->on.keystroke = [](demon *, object *, demon_message *) { noted += 'k'; };
    act("File press release panel press");
    EXPECT_EQ(popups(), 0U);
    EXPECT_EQ(noted, "") << "nor does the pointer light what is beside an open menu";
    move_to(window->box.x + 401, window->box.y + 50);
    act("release");
    EXPECT_EQ(noted, "i");
    noted.clear();
    act("File press release Down Escape");
    EXPECT_EQ(noted, "") << "Escape is a character when it is released, too";
    expect_no_menu();
    noted.clear();
    act("File panel press release");
    EXPECT_EQ(noted, "idu");
}

TEST_F(open_menus, a_double_click_is_two_clicks) {
    fill_bar();
    act("File");
    for (const bool pressed : {true, false, true, false})
        display::memory::push_button(display::button_left, pressed);
    run();
    expect_no_menu();
    act("File press release");
    EXPECT_EQ(popups(), 1U);
}

TEST_F(open_menus, pulldowns_stay_on_the_screen) {
    struct {
        int x, y;
    } const places[] = {{300, 500}, {1160, 500}, {1160, 0}, {0, 0}};
    destroyWidget(window);
    for (const auto &place : places) {
        make_window(place.x, place.y, 120, 60); // smaller than what opens
        fill_bar();
        setPullDownChoiceLabel(find("Film"), "Film, with a name that is long enough for anybody");
        for (int i = 0; i < 6; ++i)
            add(play, "more");
        act("Play press");
        move_to(find("Rate")->box.x + find("Rate")->box.width - 10, find("Rate")->box.y + 12);
        ASSERT_EQ(popups(), 2U);
        for (const display::window_id id : display::memory::windows()) {
            const display::rectangle area = display::memory::facts(id).area;
            EXPECT_GE(area.x, 0);
            EXPECT_GE(area.y, 0);
            EXPECT_LE(area.x + area.width, screen_width);
            EXPECT_LE(area.y + area.height, screen_height);
        }
        const screen_box &entry = find("Rate")->box, &sub = rates->box;
        const bool to_right = entry.x + entry.width + sub.width <= screen_width;
        EXPECT_EQ(sub.x, to_right ? entry.x + entry.width : entry.x + entry.width - sub.width - 10);
        EXPECT_EQ(sub.y, std::max(entry.y + entry.height - sub.height, 0));
        destroyWidget(window);
    }
}

// A hook that is told that the pointer leaves a cascade may close the menu that is about to grow.
TEST_F(open_menus, hooks_may_close_what_is_opening) {
    destroyWidget(window);
    make_window(1160, 500, 120, 60);
    fill_bar();
    setPullDownChoiceLabel(find("Film"), "Film, with a name that is long enough for anybody");
    act("Play press");
    const screen_box &entry = find("Rate")->box;
    move_to(find("Play")->box.x + 10, entry.y + 12); // straight down, past no other switch
    static int told;
    told = 0;
    setWidgetBoxOutFunction([](word) {
        ++told;
        closePullDowns();
    });
    move_to(entry.x + entry.width - 20, entry.y + 12); // where the sub-pulldown comes up
    setWidgetBoxOutFunction(nullptr);
    EXPECT_GT(told, 0);
    press(false);
    expect_no_menu();
}

TEST_F(open_menus, a_choice_is_disabled_as_every_widget_is) {
    fill_bar();
    setEnabledWidget(find("Quit"), false);
    act("File press Quit release");
    act("Up Return"); // the one above it
    EXPECT_EQ(called, calls{1});
    setEnabledWidget(find("Quit"), true);
    called.clear();
    act("File press Quit release");
    EXPECT_EQ(called, calls{3});
}

// A choice's function may do away with all that has led to it.
TEST_F(open_menus, functions_may_destroy_their_menu) {
    struct {
        const char *name;
        std::function<void(demon *choice)> what;
    } const ends[] = {
        {"choice", [](demon *c) { destroyWidget(c); }},
        {"pulldown", [](demon *c) { destroyWidget(c->parent.get()); }},
        {"menu", [&](demon *) { deletePullDown(play); }},
        {"bar", [&](demon *) { destroyWidget(bar); }},
        {"window", [&](demon *) { destroyWidget(window); }},
        {"loop", [&](demon *) { run(); }}, // a dialog's
    };
    struct {
        const char *label, *way_there;
        int ways; // by hand, by key, by the program in two ways
    } const kinds[] = {{"Loop", "Play press Rate>", 4},
                       {"Buffer", "Play press Rate>", 4},
                       {"Film", "Play press Rate>", 4},
                       {"Open", "File press", 2},
                       {"Sizes", "File press", 2}};
    for (const auto &end : ends)
        for (const auto &kind : kinds)
            for (int way = 0; way < kind.ways; ++way) {
                SCOPED_TRACE(testing::Message() << end.name << " " << kind.label << " " << way);
                fill_bar();
                demon *sizes = addSubPullDown();
                add(sizes, "Small");
                addPullDownChoice(file, nullptr, "Sizes", false, pulldown_kind::cascade, 0, 0,
                                  nullptr, note_call, 20, sizes, false, true);
                pulldown_choice *choice = find_choice(kind.label);
                choice->show_in_switch = demon_on;
                also = [&] {
                    EXPECT_EQ(popups(), 0U) << "closed before the function is called";
                    end.what(choice);
                };
                const std::string open = std::string(kind.way_there) + " " + kind.label;
                if (way == 0)
                    act(open + " release");
                else if (way == 1)
                    act(open + " Return");
                else if (way == 2)
                    pulldown_choice_toggle(choice);
                else
                    setWidgetValue(choice, 1);
                EXPECT_EQ(called.size(), 1U);
                press(false);
                expect_no_menu();
                destroy_all_iris_windows();
                make_window(300, 500);
            }
}

TEST_F(open_menus, what_is_open_changes_at_once) {
    fill_bar();
    act("Play press release");
    const auto shown = [] { return display::memory::picture(display::memory::windows().back()); };
    struct {
        const char *name;
        std::function<void()> change;
    } const changes[] = {
        {"deactivated", [&] { deactivatePullDownChoice(find("Loop")); }},
        {"activated", [&] { activatePullDownChoice(find("Loop")); }},
        {"switched on", [&] { updateWidgetValue(find("Buffer"), 1); }},
        {"radio", [&] { updateWidgetValue(find("Loop"), 1); }},
        {"selected", [&] { act("Down"); }},
        {"label", [&] { setPullDownChoiceLabel(find("Loop"), "Loops, and so on and so forth"); }},
        {"more", [&] { add(play, "More"); }},
        {"less", [&] { removePullDownChoice(find("More")); }},
    };
    auto before = shown();
    const int top = as_pulldown(play)->box.y + as_pulldown(play)->box.height;
    for (const auto &each : changes) {
        each.change();
        run();
        const auto now = shown();
        EXPECT_NE(now.pixels, before.pixels) << each.name;
        EXPECT_EQ(now.height, as_pulldown(play)->count * 30) << each.name;
        EXPECT_EQ(as_pulldown(play)->box.y + now.height, top) << each.name;
        before = now;
    }
    for (const char *label : {"Normal", "Loops, and so on and so forth", "Buffer", "Rate"})
        removePullDownChoice(find(label));
    expect_no_menu();
}

TEST_F(open_menus, a_choice_may_show_in_its_switch) {
    demon *mode = addArrowPullDown(bar, "Normal", 0);
    for (const char *label : {"One", "Two"})
        as_pulldown_choice(add(mode, label, radio))->show_in_switch = demon_on;
    demon *next = addBevelledPullDown(bar, "Next", 0);
    act("Normal press Two release");
    EXPECT_STREQ(as_pulldown_switch(mode)->label.data(), "Two");
    EXPECT_EQ(next->box.x, mode->box.x + mode->box.width);
    updateWidgetValue(find_choice("One"), 1);
    EXPECT_STREQ(as_pulldown_switch(mode)->label.data(), "One");
    deactivatePullDownChoice(find_choice("Two"));
    act("One press Two release");
    EXPECT_STREQ(as_pulldown_switch(mode)->label.data(), "One");
}

// Whatever is done by hand, keyboard, desktop and program, in whatever order.
TEST_F(open_menus, random_use_leaves_nothing_behind) {
    const auto is_label = [](const std::string &w) {
        constexpr std::string_view labels = "File Play Open Gone Loop Buffer Rate> Film Tape";
        return labels.find(w) != std::string_view::npos;
    };
    constexpr std::array words = {
        "press",  "release", "press", "release", "File", "Play", "panel",      "outside", "Escape",
        "Return", "Left",    "Right", "Up",      "Down", "Open", "Gone",       "Loop",    "Buffer",
        "Rate",   "Rate>",   "Film",  "Tape",    "Up",   "Down", "right_press"};
    fill_bar();
    const std::array<std::function<void(pulldown_choice *)>, 6> deeds = {
        [](pulldown_choice *c) { deactivatePullDownChoice(c); },
        [](pulldown_choice *c) { activatePullDownChoice(c); },
        [](pulldown_choice *c) { setPullDownChoiceRow(c, 1); },
        [](pulldown_choice *c) { destroyWidget(c); },
        [](pulldown_choice *c) { removePullDownChoice(c); },
        [&](pulldown_choice *c) { appendPullDownChoice(file, c); }};
    for (unsigned seed = 1; seed <= 8; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        for (int i = 0; i < 150; ++i) {
            const std::string word = words[random() % words.size()];
            const std::string label = word == "Rate>" ? "Rate" : word;
            const auto deed = deeds[random() % deeds.size()];
            if (random() % 8 == 0)
                also = [&deed, &label] {
                    if (pulldown_choice *c = find_choice(label))
                        deed(c);
                };
            if (!is_label(word) || find(label) != nullptr)
                act(word);
            also = nullptr;
            if (pulldown_choice *c = find_choice(label); c != nullptr && random() % 8 == 0)
                deed(c);
        }
        closePullDowns();
        press(false);
        expect_no_menu();
        destroy_all_iris_windows();
        make_window(300, 500);
        fill_bar();
    }
}

} // namespace

} // namespace toolkit
