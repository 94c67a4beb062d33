// The controls, used by hands.
#include "tests/toolkit/widgets/widgets_fixture.h"

#include <array>
#include <cmath>
#include <set>

namespace toolkit {

namespace {

constexpr std::array<std::string_view, 3> three = {"one", "two", "three"};
constexpr screen_box place = {20, 20, 120, 30};
constexpr int inside_x = 30, inside_y = 35;
constexpr int outside_x = 200, outside_y = 100;

// One of each kind that is clicked, at the place; a click at its beginning changes it.
struct clicked_kind {
    const char *name;
    demon *(*add)(demon *parent);
    std::string_view noted; // by a click
    float value;            // after it
};
template <widget_function function> constexpr std::array<clicked_kind, 6> clicked_kinds() {
    return {
        {{"button",
          [](demon *p) {
              return addButton(p, place.x, place.y, place.width, place.height, "b", function, 'b');
          },
          "b", 0},
         {"picture button",
          [](demon *p) {
              return add_toggleswitch_menu(p, place.x, place.y, place.width, place.height, "",
                                           {"stop", "stop.hilite", "stop.pressed"}, function, 'b');
          },
          "b", 0},
         {"switch",
          [](demon *p) {
              return addToggleSwitch(p, place.x, place.y, place.width, place.height, "s", 0,
                                     function, 'b');
          },
          "b", 1},
         {"one of",
          [](demon *p) {
              return addOneOf(p, place.x, place.y, place.width, place.height, three, 1, function,
                              'b');
          },
          "b", 0},
         {"radio",
          [](demon *p) {
              return addRadio(p, place.x, place.y, place.width, place.height, three, 0, function,
                              'b');
          },
          "b", 1},
         {"slider",
          [](demon *p) {
              return addSlider(p, place.x, place.y, place.width, place.height, 0, 106, 50, function,
                               'b');
          },
          "b", 3}}};
}

} // namespace

class controls_test : public widgets_fixture {
protected:
    static constexpr std::array<clicked_kind, 6> kinds = clicked_kinds<note>();
};

// Pressed, dragged, let go: inside, elsewhere, disabled, taken out, destroyed meanwhile.
TEST_F(controls_test, act_when_let_go_over_them) {
    for (const clicked_kind &kind : kinds) {
        SCOPED_TRACE(kind.name);
        const bool is_slider = kind.name == std::string_view("slider");
        demon *d = kind.add(window);
        drawWidget(window);
        const float before = number_of(d);

        EXPECT_EQ(after([&] { click(inside_x, inside_y); }), kind.noted);
        EXPECT_EQ(number_of(d), kind.value);
        updateWidgetValue(d, before);
        EXPECT_EQ(noted, kind.noted) << "updates tell nobody";
        EXPECT_EQ(number_of(d), before);
        setWidgetValue(d, before);
        EXPECT_EQ(noted, kind.noted) << "nothing has changed";

        if (!is_slider) {
            EXPECT_EQ(after([&] {
                          move(inside_x, inside_y);
                          press();
                          move(outside_x, outside_y);
                          release();
                          move(inside_x, inside_y);
                          release();
                      }),
                      "");
            EXPECT_EQ(after([&] {
                          move(inside_x, inside_y);
                          press();
                          move(outside_x, outside_y);
                          move(inside_x, inside_y);
                          release();
                      }),
                      kind.noted)
                << "back again";
            updateWidgetValue(d, before);
        }
        EXPECT_EQ(inq_event_filters(), 0U);

        setEnabledWidget(d, false);
        EXPECT_EQ(after([&] { click(inside_x, inside_y); }), "");
        EXPECT_EQ(number_of(d), before);
        setEnabledWidget(d, true);
        EXPECT_EQ(after([&] { click(inside_x, inside_y); }), kind.noted);
        updateWidgetValue(d, before);

        // Pressed, it is taken away in one of several ways; what is under the pointer then works.
        using action = void (*)(demon *);
        const std::array<action, 5> ways = {[](demon *w) { setEnabledWidget(w, false); },
                                            [](demon *w) { deleteWidget(w); },
                                            [](demon *w) { setVisibilityWidget(w, false); },
                                            [](demon *w) {
                                                setBoxWidget(w, {300, 200, 50, 20});
                                            },
                                            [](demon *w) { destroyWidget(w); }};
        demon *other = addButton(window, 300, 100, 50, 50, "other", note, 'o');
        for (const action take_away : ways) {
            EXPECT_EQ(after([&] {
                          move(inside_x, inside_y);
                          press();
                          run();
                          noted.clear();
                          take_away(d);
                          release();
                          click(310, 110);
                      }),
                      "o");
            EXPECT_EQ(inq_event_filters(), 0U);
            if (take_away == ways.back())
                break;
            addWidget(d, window);
            setVisibilityWidget(d, true);
            setEnabledWidget(d, true);
            setBoxWidget(d, place);
            updateWidgetValue(d, before);
            EXPECT_EQ(after([&] { click(inside_x, inside_y); }), kind.noted) << "as good as new";
            updateWidgetValue(d, before);
        }
        destroyWidget(other);
    }
}

// The function destroys its widget, what it is in, or its window, or ends it all: after a click, and
// within a call that changes the value.
TEST_F(controls_test, functions_may_destroy_anything) {
    static demon_ref target, panel, top;
    const struct {
        const char *name;
        std::function<void()> use;
        bool sliders_alone;
    } ways[] = {
        {"click", [&] { click(inside_x, inside_y), run(); }, false},
        {"value", [&] { setWidgetValue(target.get(), number_of(target.get()) == 0 ? 1 : 0); },
         false},
        {"wheel", [&] { move(inside_x, inside_y), wheel(display::wheel_up), run(); }, true},
        {"drag",
         [&] {
             move(place.x + 56, inside_y); // the knob
             press();
             move(outside_x, outside_y);
             release(), run();
         },
         true},
    };
    using action = void (*)();
    for (const action end :
         {+[] { destroyWidget(target.get()); }, +[] { destroyWidget(panel.get()); },
          +[] { destroyWidget(top.get()); }, +[] { pushWidget(top.get()); },
          +[] { gl_win_close(top.get()->window); }, +[] { system_terminate(); }})
        for (const clicked_kind &kind : kinds)
            for (const auto &way : ways) {
                if (way.sliders_alone && kind.name != std::string_view("slider"))
                    continue;
                SCOPED_TRACE(testing::Message() << kind.name << " " << way.name);
                open_window();
                demon *holder = create_demon(nullptr, 400, 300, nullptr);
                positionWidgetRel(holder, window, 0, 0);
                addWidget(holder, window);
                demon *d = kind.add(holder);
                drawWidget(window);
                target = refer_to_demon(d);
                panel = refer_to_demon(holder);
                top = refer_to_demon(window);
                noted.clear();
                also = end;
                way.use();
                const bool has_value = kind.name != std::string_view("button") &&
                                       kind.name != std::string_view("picture button");
                const bool is_told = has_value || way.name != std::string_view("value");
                EXPECT_EQ(noted.substr(0, 1), is_told ? "b" : "");
                EXPECT_EQ(inq_event_filters(), 0U);
                also = nullptr;
                destroyWidget(top.get());
            }
}

// In RGB windows and in those of the colour map.
TEST_F(controls_test, look_their_states) {
    const auto look_now = [&] {
        run();
        return picture(place);
    };
    for (const bool by_index : {false, true}) {
        gl_set_win_color_mode(window->window, by_index);
        for (const clicked_kind &kind : kinds) {
            SCOPED_TRACE(kind.name + std::string(by_index ? " by index" : ""));
            demon *d = kind.add(window);
            drawWidget(window);
            move(0, 0);
            const auto normal = look_now();
            std::set<std::vector<std::uint32_t>> looks = {normal};
            move(place.x + 55, inside_y); // on a slider's knob too
            looks.insert(look_now());
            press();
            looks.insert(look_now());
            move(place.x + 55, outside_y); // a slider goes on
            release();
            EXPECT_EQ(look_now(), normal);
            setEnabledWidget(d, false);
            looks.insert(look_now());
            EXPECT_EQ(looks.size(), 4U);
            setEnabledWidget(d, true);
            EXPECT_EQ(look_now(), normal);
            destroyWidget(d);
        }
    }
}

TEST_F(controls_test, double_clicks_count_twice) {
    demon *d = addButton(window, place.x, place.y, place.width, place.height, "b", note, 'b');
    drawWidget(window);
    EXPECT_EQ(after([&] {
                  click(inside_x, inside_y);
                  press();
                  release();
              }),
              "bb");
    destroyWidget(d);
}

// A dialog that comes up while a button is held takes the release; the button forgets it.
TEST_F(controls_test, forget_releases_that_others_took) {
    static_cast<void>(addButton(window, 20, 20, 120, 30, "b", note, 'b'));
    static_cast<void>(addButton(window, 300, 100, 50, 50, "other", note, 'o'));
    generic_demon *dialog = create_generic_demon(nullptr, 1, 1, nullptr);
    demon_enable_input_message(dialog, true);
    drawWidget(window);
    move(inside_x, inside_y);
    press();
    run();
    const std::size_t filters = inq_event_filters();
    push_event_filter(dialog, total_filter_mask);
    dialog->on.keystroke = [](demon *, object *, demon_message *) { bump(); };
    release();
    run();
    pop_event_filters_to(filters);
    EXPECT_EQ(after([&] { click(310, 110); }), "o");
    EXPECT_EQ(inq_event_filters(), 0U);
    destroyWidget(dialog);
}

TEST_F(controls_test, sliders_follow_the_hand) {
    struct {
        screen_box box; // the knob is 14 long
        int x, y;       // where it is pressed, and let go
        int to_x, to_y;
        float value; // of 0 .. 100, at first 50
    } const rows[] = {
        {{20, 20, 114, 20}, 77, 30, 77, 30, 50},   // the knob
        {{20, 20, 114, 20}, 72, 30, 82, 90, 60},   // moves as far as the hand
        {{20, 20, 114, 20}, 37, 30, 37, 30, 10},   // the trough: there
        {{20, 20, 114, 20}, 37, 30, 57, 30, 30},   // and on
        {{20, 20, 114, 20}, 37, 30, 390, 30, 100}, // not beyond the end
        {{20, 20, 114, 20}, 131, 30, 2, 30, 0},    // nor the beginning
        {{20, 20, 20, 114}, 30, 37, 30, 37, 10},   // upright: from below
        {{20, 20, 20, 114}, 30, 77, 30, 290, 100}, //
        {{20, 20, 10, 8}, 25, 24, 390, 24, 50},    // no room to move
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(&row - rows);
        demon *d = addSlider(window, row.box.x, row.box.y, row.box.width, row.box.height, 0, 100,
                             50, note, 'v');
        drawWidget(window);
        after([&] {
            move(row.x, row.y);
            press();
            if (row.x != row.to_x || row.y != row.to_y)
                move(row.to_x, row.to_y);
            release();
            move(390, 290);
        });
        EXPECT_EQ(number_of(d), row.value);
        EXPECT_EQ(noted.empty(), row.value == 50);
        destroyWidget(d);
    }
}

// Of more values than pixels, the ends can be had from everywhere, and a mere press changes nothing.
TEST_F(controls_test, sliders_reach_their_ends) {
    constexpr float last = 99'999, near_last = last - 50;
    demon *d = addSlider(window, 20, 20, 114, 20, 0, last, 0, note, 'v');
    drawWidget(window);
    struct {
        float value;
        int from, to; // the knob is pressed, and let go there
        float reached;
    } const rows[] = {{near_last, 127, 127, near_last},
                      {near_last, 127, 390, last},
                      {50, 27, 27, 50},
                      {50, 27, 2, 0}};
    for (const auto &row : rows) {
        updateWidgetValue(d, row.value);
        after([&] {
            move(row.from, 30);
            press();
            if (row.to != row.from)
                move(row.to, 30);
            release();
        });
        EXPECT_EQ(number_of(d), row.reached) << &row - rows;
    }
}

TEST_F(controls_test, sliders_step_by_the_wheel_and_keep_their_range) {
    demon *d = addSlider(window, 20, 20, 200, 20, 1, 10, 9, note, 'v');
    drawWidget(window);
    EXPECT_EQ(after([&] {
                  move(100, 30);
                  wheel(display::wheel_up);
                  wheel(display::wheel_up);
              }),
              "v")
        << "10 is the end";
    EXPECT_EQ(number_of(d), 10);
    EXPECT_EQ(after([&] { wheel(display::wheel_down); }), "v");
    EXPECT_EQ(number_of(d), 9);
    EXPECT_EQ(after([&] {
                  move(300, 200);
                  wheel(display::wheel_down);
              }),
              "")
        << "not over it";
    struct {
        float minimum, maximum, value, expected;
    } const rows[] = {{0, 5, 9, 5},   {2, 8, 0, 2},          {7, 3, 1, 7},          {0, 5, NAN, 0},
                      {NAN, 5, 4, 4}, {-5, INFINITY, 3, -5}, {-3e38F, 3e38F, 1, 1}, {4, 4, 4, 4}};
    for (const auto &row : rows) {
        setRangeSlider(d, row.minimum, row.maximum);
        updateWidgetValue(d, row.value);
        EXPECT_EQ(number_of(d), row.expected) << &row - rows;
        drawWidget(d);
    }
    setRangeSlider(window, 0, 1); // no slider
}

TEST_F(controls_test, groups_have_one_choice_on) {
    demon *groups[] = {addOneOf(window, 20, 20, 300, 30, three, 7, note, 'g'),
                       addRadio(window, 20, 100, 300, 90, three, -7, note, 'g')};
    drawWidget(window);
    EXPECT_EQ(number_of(groups[0]), 2) << "the nearest there is";
    EXPECT_EQ(number_of(groups[1]), 0);
    struct {
        demon *group;
        int x, y;
        float value;
        const char *noted;
    } const rows[] = {{groups[0], 30, 30, 0, "g"},  {groups[0], 30, 30, 0, ""},
                      {groups[0], 170, 30, 1, "g"}, {groups[0], 310, 30, 2, "g"},
                      {groups[1], 30, 180, 0, ""},  {groups[1], 30, 145, 1, "g"},
                      {groups[1], 200, 105, 2, "g"}};
    for (const auto &row : rows) {
        EXPECT_EQ(after([&] { click(row.x, row.y); }), row.noted) << &row - rows;
        EXPECT_EQ(number_of(row.group), row.value) << &row - rows;
    }
    setBoxWidget(groups[0], {20, 20, 90, 30});
    EXPECT_EQ(after([&] { click(60, 30); }), "g");
    EXPECT_EQ(number_of(groups[0]), 1) << "its choices have moved along";
    demon *none = addOneOf(window, 20, 60, 90, 30, {}, 1, note, 'n');
    setWidgetValue(none, 1);
    EXPECT_EQ(after([&] { click(30, 70); }), "");
    EXPECT_EQ(number_of(none), 0);
}

TEST_F(controls_test, labels_and_pictures_are_shown_at_once) {
    demon *widgets[] = {
        addButton(window, 20, 20, 120, 30, "one", note, 'b'),
        addToggleSwitch(window, 20, 20, 120, 30, "one", 1, note, 's'),
        addLabel(window, 20, 20, 120, 30, "one", font_slot_bold, label_place::middle),
        add_toggleswitch_menu(window, 20, 20, 120, 30, "one", {"no such icon", "", ""}, note, 'p')};
    for (demon *d : widgets) {
        drawWidget(d);
        const auto before = picture(place);
        setLabelWidget(d, "another");
        EXPECT_EQ(text_of(d), "another");
        EXPECT_NE(picture(place), before);
        setLabelWidget(d, "one");
        EXPECT_EQ(picture(place), before);
        setLabelWidget(d, std::string(5000, 'x'));
        setVisibilityWidget(d, false);
        setLabelWidget(d, "two");
        EXPECT_NE(text_of(d).size(), 0U);
        destroyWidget(d);
    }
    demon *d = add_toggleswitch_menu(window, 20, 20, 120, 30, "", {"play", "", ""}, note, 'p');
    drawWidget(d);
    const auto play = picture(place);
    setIconsToggleSwitch(d, {"stop", "", ""});
    EXPECT_NE(picture(place), play);
    setIconsToggleSwitch(window, {"stop", "", ""});
    demon *label = addLabel(window, 20, 80, 120, 30, "x", font_slot_bold, label_place::left);
    updateWidgetValue(label, "moved");
    EXPECT_EQ(text_of(label), "moved");
    EXPECT_EQ(after([&] { click(30, 90); }), "");
}

} // namespace toolkit
