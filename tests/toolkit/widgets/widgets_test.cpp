// The widget calls.
#include "tests/toolkit/widgets/widgets_fixture.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/run_modes.h"
#include "toolkit/graphics/spaces.h"

#include <array>

namespace toolkit {

using widgets_test = widgets_fixture;

namespace {

struct graphics_state {
    int window = no_window;
    gl_viewport viewport;
    int screenspace = 0;
    double left = 0, top = 0;
    bool operator==(const graphics_state &) const = default;
};
graphics_state state_now() {
    const gl_matrix m = gl_get_matrix();
    return {gl_get_win(), gl_get_viewport(), gl_inq_screenspace(), m.left, m.top};
}

} // namespace

// Every kind of call, from an application's own coordinates and from the screen's, in another
// window than the widget's.
TEST_F(widgets_test, calls_leave_window_viewport_and_matrix) {
    static demon *button, *slider, *group, *other;
    button = addButton(window, 10, 10, 80, 20, "b", nullptr, 0);
    slider = addSlider(window, 10, 50, 80, 20, 0, 9, 0, nullptr, 0);
    group = create_demon(nullptr, 10, 10, nullptr);
    other = addWindow(600, 100, 200, 150, "other", nullptr, 0);
    using action = void (*)();
    const std::array<action, 18> calls = {
        [] { drawWidget(button); },
        [] { setWidgetValue(slider, 3); },
        [] { updateWidgetValue(slider, 5); },
        [] { highlightWidget(button), dehighlightWidget(button); },
        [] { eraseWidget(button); },
        [] { setEnabledWidget(button, false), setEnabledWidget(button, true); },
        [] { setVisibilityWidget(button, false), setVisibilityWidget(button, true); },
        [] { setLabelWidget(button, "other"); },
        [] { setRangeSlider(slider, 0, 4); },
        [] {
            setBoxWidget(getTopWidget(button), {110, 200, 380, 300});
        },
        [] { positionWidgetAbs(getTopWidget(button), 100, 210); },
        [] { setWindowTitle(getTopWidget(button), "new"); },
        [] { pushWidget(getTopWidget(button)); },
        [] { popWidget(getTopWidget(button)); },
        [] { addWidget(group, other), deleteWidget(group); },
        [] { pushWidget(addPushedWindow(0, 0, 50, 50, "pushed", nullptr, 0)); },
        [] { pushWidget(addSubWindow(other, 0, 0, 50, 50, "sub")); },
        [] { destroyWidget(button); }};
    for (std::size_t i = 0; i < calls.size(); ++i)
        for (const bool is_application : {true, false}) {
            if (i + 1 == calls.size() && is_application)
                continue;
            gl_set_win(other->window);
            if (is_application) {
                gl_put_viewport({10, 99, 20, 79});
                gl_put_matrix({gl::coordinate_space::ortho, 0, 10, 0, 20});
            }
            const graphics_state before = state_now();
            calls[i]();
            EXPECT_EQ(state_now(), before) << i << (is_application ? " application" : " screen");
        }
}

TEST_F(widgets_test, brackets_nest_and_survive_what_happens_between) {
    putGraphics(); // without any
    const demon *other = addWindow(600, 100, 200, 150, "other", nullptr, 0);
    gl_win_set(other->window);
    gl_put_matrix({gl::coordinate_space::ortho, 0, 10, 0, 20});
    const graphics_state before = state_now();
    getGraphics();
    gl_set_win(other->window);
    getGraphics();
    gl_set_win(window->window);
    putGraphics();
    EXPECT_EQ(gl_get_win(), other->window);
    EXPECT_NE(gl_inq_screenspace(), 0);
    putGraphics();
    EXPECT_EQ(state_now(), before);

    getGraphics();
    gl_win_close(other->window);
    static_cast<void>(addWindow(0, 0, 100, 100, "in its place", nullptr, 0));
    putGraphics();
    EXPECT_EQ(gl_get_win(), no_window) << "the new window has got the old id";
}

TEST_F(widgets_test, batch_mode_draws_nothing) {
    static int drawn;
    drawn = 0;
    demon *d = addButton(window, 10, 10, 80, 20, "b", note, 'b');
    setWidgetDrawFunction(d, [](display_object *) { ++drawn; });
    setTarnBatchMode(1);
    gl_win_set(no_window);
    drawWidget(d);
    setLabelWidget(d, "other");
    setEnabledWidget(d, false);
    EXPECT_EQ(drawn, 0);
    EXPECT_EQ(gl_get_win(), no_window);
    highlightWidget(d);
    EXPECT_NE(d->hilited, 0) << "drawing alone is left out";
    drawn = 0;
    setTarnBatchMode(0);
    drawWidget(d);
    EXPECT_EQ(drawn, 1);
    for (demon *nobody : {static_cast<demon *>(nullptr)}) { // null is harmless everywhere
        drawWidget(nobody), setWidgetValue(nobody, 1), updateWidgetValue(nobody, 1);
        destroyWidget(nobody), setEnabledWidget(nobody, true), setBoxWidget(nobody, {});
        addWidget(nobody, window), deleteWidget(nobody), popWidget(nobody), pushWidget(nobody);
        setWindowTitle(nobody, "x"), setLabelWidget(nobody, "x"), setWindow(nobody);
        positionWidgetRel(nobody, window, 1, 1), setHelpWidget(nobody, "x");
        EXPECT_EQ(getTopWidget(nobody), nullptr);
    }
}

TEST_F(widgets_test, places_are_the_design_s_on_every_screen) {
    demon *panel = create_demon(nullptr, 200, 100, nullptr);
    positionWidgetRel(panel, window, 30, 40);
    addWidget(panel, window);
    demon *d = addButton(panel, 5, 7, 80, 20, "b", note, 'b');
    EXPECT_EQ(getBoxWidget(d), (screen_box{5, 7, 80, 20}));
    EXPECT_EQ(d->box, (screen_box{135, 247, 80, 20}));
    EXPECT_EQ(d->window, window->window);
    setBoxWidget(panel, {50, 60, 150, 90});
    EXPECT_EQ(d->box, (screen_box{155, 267, 80, 20})) << "moved along";
    EXPECT_EQ(panel->box, (screen_box{150, 260, 150, 90}));
    positionWidgetAbs(panel, 110, 210);
    EXPECT_EQ(getBoxWidget(panel), (screen_box{10, 10, 150, 90}));
    EXPECT_EQ(getParentWidget(d), panel);
    EXPECT_EQ(getTopWidget(d), window);

    setBoxWidgetScreen(window, {80, 150, 300, 250});
    EXPECT_EQ(display::memory::facts(on_display).area, (display::rectangle{80, 624, 300, 250}));
    EXPECT_EQ(getBoxWidget(d), (screen_box{5, 7, 80, 20}));

    system_terminate();
    setenv("PLAYER_SCREEN", "1000x700", 1);
    system_init();
    unsetenv("PLAYER_SCREEN");
    demon *small = addWindow(100, 100, 400, 300, "small", nullptr, 0);
    for (int length = -40; length < 300; ++length) {
        demon *b = addButton(small, length, length, 40 + length, 40 + length, "b", nullptr, 0);
        const screen_box on_screen = b->box;
        setBoxWidget(b, getBoxWidget(b));
        EXPECT_EQ(b->box, on_screen) << length;
        destroyWidget(b);
    }
}

// What a widget was told stays, whatever its window does.
TEST_F(widgets_test, states_outlive_their_windows_closing) {
    demon *tool = addPushedWindow(100, 100, 300, 200, "tool", nullptr, 0);
    demon *hidden = addButton(tool, 10, 10, 80, 20, "hidden", note, 'h');
    demon *disabled = addButton(tool, 10, 50, 80, 20, "disabled", note, 'd');
    demon *plain = addButton(tool, 10, 90, 80, 20, "plain", note, 'p');
    setVisibilityWidget(hidden, false);
    setEnabledWidget(disabled, false);
    for (int i = 0; i < 2; ++i) {
        EXPECT_FALSE(isPoppedWidget(tool));
        popWidget(tool);
        EXPECT_TRUE(isPoppedWidget(tool));
        EXPECT_FALSE(getVisibilityWidget(hidden));
        EXPECT_FALSE(getEnabledWidget(disabled));
        EXPECT_TRUE(getVisibilityWidget(plain) && getEnabledWidget(plain));
        EXPECT_EQ(plain->window, tool->window);
        pushWidget(tool);
        EXPECT_EQ(plain->window, no_window);
    }
    setVisibilityWidget(hidden, true);
    EXPECT_FALSE(getVisibilityWidget(hidden)) << "its window is closed";
    popWidget(tool);
    EXPECT_TRUE(getVisibilityWidget(hidden));
    setEnabledWidget(tool, false);
    setEnabledWidget(disabled, true);
    EXPECT_FALSE(getEnabledWidget(disabled)) << "nothing in the window is";
    setEnabledWidget(tool, true);
    EXPECT_TRUE(getEnabledWidget(disabled));
    setStuffWidget(plain, 77);
    EXPECT_EQ(getStuffWidget(plain), 77);
}

TEST_F(widgets_test, windows_close_as_they_are_told) {
    const auto close = [this] { send(display::event_kind::close); };
    setNoDestroyWindow(window, true);
    EXPECT_EQ(after(close), "");
    setNoDestroyWindow(window, false);
    setConfirmDestroyWindow(window, true);
    setQuitFunction(
        [](word argument) {
            note(argument);
            return noted.size() == 1 ? quit_refused : 0;
        },
        'q');
    EXPECT_EQ(after(close), "q");
    noted.clear();
    close();
    close();
    run();
    EXPECT_EQ(noted, "qq!");
    setQuitFunction(nullptr, 0);
    EXPECT_TRUE(display::memory::windows().empty());

    window = addWindow(100, 200, 400, 300, "again", note, 'x');
    setDestroyFunctionWindow(window, note, 'y');
    noted.clear();
    destroyWidget(window);
    EXPECT_EQ(noted, "y");
}

TEST_F(widgets_test, sub_windows_belong_to_their_parents) {
    demon *sub = addSubWindow(window, 20, 30, 100, 80, "sub");
    EXPECT_EQ(sub->box, (screen_box{120, 230, 100, 80}));
    EXPECT_TRUE(isPoppedWidget(sub));
    gl_win_close(sub->window);
    EXPECT_FALSE(isPoppedWidget(sub));
    popWidget(sub);
    EXPECT_TRUE(isPoppedWidget(sub));
    const demon_ref kept = refer_to_demon(sub);

    destroyWidget(window);
    EXPECT_EQ(kept.get(), nullptr);
    EXPECT_TRUE(display::memory::windows().empty());
}

TEST_F(widgets_test, questions_go_before_they_are_answered) {
    for (const char answer : {'y', 'n', '!'}) {
        open_window();
        demon *question = addYesNoTitleSubWindow(
            window, 0, 0, 240, 120, "Really?", note, [](word) { note('n'); }, 'y');
        EXPECT_STREQ(getWindowTitle(question), "Really?");
        popWidget(question); // is popped
        drawWidget(question);
        on_display = display::memory::windows().back();
        noted.clear();
        if (answer != '!')
            also = [&] { EXPECT_FALSE(isPoppedWidget(question)); };
        if (answer == '!')
            destroyWidget(window);
        else
            click(answer == 'y' ? 100 : 190, 22), run();
        EXPECT_EQ(noted, std::string(1, answer));
        also = nullptr;
    }
    EXPECT_TRUE(display::memory::windows().empty()) << "closed with its parent";
}

TEST_F(widgets_test, windows_have_titles_grounds_and_handlers) {
    setWindowTitle(window, "another title");
    EXPECT_EQ(display::memory::facts(on_display).title, "another title");
    EXPECT_STREQ(getWindowTitle(window), "another title");
    setWindowColor(window, colour_accent);
    demon *label = addLabel(window, 50, 50, 80, 20, "", font_slot_bold, label_place::left);
    drawWidget(window);
    const auto ground = picture({5, 5, 1, 1});
    EXPECT_EQ(picture({60, 60, 1, 1}), ground) << "the label stands on it";
    static_cast<void>(label);
    const auto handler = [](demon *, object *, demon_message *m) {
        note(static_cast<word>('0' + (m->code - msg_left_up)));
    };
    setB1UpFunctionWindow(window, handler);
    setB1DownFunctionWindow(window, handler);
    setB1DoubleClickFunctionWindow(window, [](demon *, object *, demon_message *) { note('D'); });
    EXPECT_EQ(after([&] {
                  click(200, 200);
                  press();
                  release();
              }),
              "10D0");
    setPushFunctionWindow(window, [](demon *, object *, demon_message *) { note('p'); });
    pushWidget(window);
    EXPECT_TRUE(isPoppedWidget(window));
    setPushFunctionWindow(window, nullptr);
    pushWidget(window);
    EXPECT_FALSE(isPoppedWidget(window));
    EXPECT_GT(getStringWidth(font_slot_bold, "wide"), getStringWidth(font_slot_bold, "w"));
}

TEST_F(widgets_test, help_goes_by_hooks) {
    static std::string told;
    static int ids;
    told.clear();
    ids = 0;
    demon *d = addButton(window, 20, 20, 120, 30, "b", nullptr, 0);
    demon *e = addButton(window, 20, 80, 120, 30, "e", note, 'e');
    drawWidget(window);
    setHelpWidget(d, "text");
    reuseHelpWidget(d, "text");
    EXPECT_EQ(d->flags & flag_help, 0) << "there is no hook";
    setWidgetHelpIdFunction([](const char *) -> word { return ++ids; });
    setWidgetHelpDisplayFunction([](word id) { told += "d" + std::to_string(id); });
    setWidgetHelpClearFunction([](demon *) { told += "c"; });
    setWidgetBoxInFunction([](word id) { told += "i" + std::to_string(id); });
    setWidgetBoxOutFunction([](word id) { told += "o" + std::to_string(id); });
    setWidgetB1UpFunction([](word id) { told += "u" + std::to_string(id); });
    setHelpWidget(d, "text");
    reuseHelpWidget(e, "text");
    EXPECT_EQ(static_cast<generic_demon *>(e)->help_id, 1);
    reuseHelpWidget(e, "another text");
    EXPECT_EQ(static_cast<generic_demon *>(e)->help_id, 2);
    setHelpWidget(e, "text");
    EXPECT_EQ(ids, 3) << "only reuse shares ids";

    const auto told_by = [&](std::uint16_t flag) {
        told.clear();
        setHelp(flag);
        click(30, 30);
        move(300, 200);
        run();
        return told;
    };
    EXPECT_EQ(told_by(0), "i1u1o1");
    EXPECT_EQ(told_by(1), "d1u1c");
    std::uint16_t flag = 0;
    getHelp(&flag);
    EXPECT_EQ(flag, 1);

    setWidgetHelpDisplayFunction([](word) { also(); });
    also = [&] { destroyWidget(d); };
    move(30, 30);
    run();
    EXPECT_EQ(told_by(0), "");
    setHelp(0);
    setWidgetB1UpFunction([](word) { also(); });
    also = [&] { destroyWidget(e); };
    EXPECT_EQ(after([&] { click(30, 90); }), "");
    setWidgetHelpIdFunction(nullptr);
    setWidgetHelpDisplayFunction(nullptr), setWidgetHelpClearFunction(nullptr);
    setWidgetBoxInFunction(nullptr), setWidgetBoxOutFunction(nullptr);
    setWidgetB1UpFunction(nullptr);
}

} // namespace toolkit
