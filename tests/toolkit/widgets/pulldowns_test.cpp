// What menus are made of: rows, sizes, values, owners.
#include "tests/toolkit/widgets/menu_fixture.h"
#include "toolkit/widgets/directory_demon.h"

namespace toolkit {

namespace {

using enum pulldown_kind;

struct pulldowns : menu_fixture {
    // The labels by row; "?" where a row has not exactly one choice.
    static std::string rows_of(demon *pulldown) {
        const toolkit::pulldown *p = as_pulldown(pulldown);
        std::string all;
        for (int row = 1; row <= p->count; ++row) {
            std::string here;
            for (demon *kid = p->kids; kid != nullptr; kid = kid->next)
                if (as_pulldown_choice(kid)->row == row) {
                    here += as_pulldown_choice(kid)->label.data();
                    EXPECT_EQ(kid->box.y, p->box.y + (p->count - row) * 30);
                    EXPECT_EQ(kid->box.width, p->box.width);
                }
            all += here.size() == 1 ? here : "?";
        }
        EXPECT_EQ(p->box.height, p->count * 30);
        return all;
    }
    static int value_of(demon *choice) {
        widget_value value(7);
        getWidgetValue(choice, &value);
        return static_cast<int>(value.number);
    }
};

TEST_F(pulldowns, choices_keep_rows_whatever_comes_and_goes) {
    demon *menu = addPullDown(bar, "Menu", 0);
    demon *a = add(menu, "a"), *b = add(menu, "b"), *c = add(menu, "c");
    demon *d = addPullDownChoice(menu, a, "d", false, command, 0, 0, nullptr, nullptr, 0, nullptr,
                                 false, true);
    EXPECT_EQ(rows_of(menu), "adbc");
    struct {
        std::function<void()> step;
        const char *rows;
    } const steps[] = {{[&] { setPullDownChoiceRow(a, 3); }, "dbac"},
                       {[&] { setPullDownChoiceRow(c, -5); }, "cdba"},
                       {[&] { setPullDownChoiceRow(c, 99); }, "dbac"},
                       {[&] { removePullDownChoice(b); }, "dac"},
                       {[&] { removePullDownChoice(b); }, "dac"},
                       {[&] { appendPullDownChoice(menu, b); }, "dacb"},
                       {[&] { insertPullDownChoice(menu, d, b); }, "dbac"},
                       {[&] { insertPullDownChoice(menu, b, b); }, "dacb"},
                       {[&] { deletePullDownChoice(a); }, "dcb"},
                       {[&] { destroyWidget(d); }, "cb"}};
    for (const auto &each : steps) {
        each.step();
        EXPECT_EQ(rows_of(menu), each.rows);
    }
    demon *other = addPullDown(bar, "Other", 0);
    appendPullDownChoice(other, c);
    EXPECT_EQ(rows_of(menu) + "," + rows_of(other), "b,c");
}

TEST_F(pulldowns, sizes_follow_the_texts) {
    demon *menu = addPullDown(bar, "Menu", 0);
    demon *next = addPullDown(bar, "Next", 0);
    demon *choice = addPullDownChoice(menu, nullptr, "Save", false, command, 0, 0, "Ctrl+S",
                                      nullptr, 0, nullptr, false, true);
    const toolkit::pulldown *p = as_pulldown(menu);
    EXPECT_EQ(p->box.width, getStringWidth(9, "Save") + getStringWidth(9, "Ctrl+S") + 50);
    EXPECT_EQ(p->widest_key_text, getStringWidth(9, "Ctrl+S"));
    setPullDownChoiceLabel(choice, "Save under another name");
    EXPECT_EQ(choice->box.width,
              getStringWidth(9, "Save under another name") + getStringWidth(9, "Ctrl+S") + 50);
    const int gap = next->box.x - menu->box.x - menu->box.width;
    setPullDownSwitchLabel(menu, "A longer title");
    EXPECT_EQ(next->box.x - menu->box.x - menu->box.width, gap);
    deletePullDown(menu);
    EXPECT_EQ(next->box.x, bar->box.x + 4) << "moves up";
    testing::internal::CaptureStdout();
    EXPECT_EQ(addPullDown(nullptr, "Menu", 0), nullptr);
    EXPECT_EQ(addPullDown(window, "Menu", 0), nullptr) << "is no bar";
    const std::string told = "Must create menu bar before adding pulldowns\n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), told + told);
}

TEST_F(pulldowns, values_call_functions_only_when_they_are_set_and_change) {
    fill_bar();
    demon *normal = find("Normal"), *loop = find("Loop"), *buffer = find("Buffer");
    struct {
        demon *choice;
        int value;
        bool is_update;
        std::vector<word> calls;
        int normal, loop, buffer;
    } const cases[] = {{loop, 1, true, {}, 0, 1, 0},         {loop, 1, false, {}, 0, 1, 0},
                       {normal, 5, false, {4}, 1, 0, 0},     {buffer, 1, false, {6}, 1, 0, 1},
                       {buffer, 0, true, {}, 1, 0, 0},       {normal, 0, false, {4}, 0, 0, 0},
                       {find("Open"), 1, false, {}, 0, 0, 0}};
    for (const auto &each : cases) {
        called.clear();
        (each.is_update ? updateWidgetValue : setWidgetValue)(each.choice, each.value);
        EXPECT_EQ(called, each.calls);
        EXPECT_EQ(value_of(normal), each.normal);
        EXPECT_EQ(value_of(loop), each.loop);
        EXPECT_EQ(value_of(buffer), each.buffer);
        EXPECT_EQ(value_of(find("Open")), 0);
    }
}

TEST_F(pulldowns, shortcuts_do_what_choosing_does_and_go_with_their_choice) {
    demon *menu = addPullDown(bar, "Menu", 0);
    const auto bind = [&](pulldown_kind kind, int typed, std::uint32_t modifiers, word argument) {
        return addPullDownChoice(menu, nullptr, "x", false, kind, typed, modifiers, nullptr,
                                 note_call, argument, nullptr, false, true);
    };
    demon *toggle_choice = bind(toggle, 'd', alias_ctrl, 1);
    demon *plain = bind(command, 'S', alias_ctrl, 2);
    bind(command, '+', 0, 3);
    bind(command, 'V', alias_all, 4);
    struct {
        std::vector<int> held;
        int typed;
        std::vector<word> calls;
    } const cases[] = {
        {{display::key_control_left}, 'd', {1}},
        {{}, 'd', {}},
        {{display::key_control_left}, 's', {2}},
        {{display::key_control_left, display::key_shift_left}, 's', {2}},
        {{display::key_control_left, display::key_alt_left}, 's', {}},
        {{display::key_shift_left}, '=', {3}},
        {{display::key_control_left, display::key_alt_left, display::key_shift_left}, 'v', {4}},
        {{display::key_alt_left, display::key_shift_left}, 'v', {}}};
    const auto type = [&](const std::vector<int> &held, int typed) {
        called.clear();
        for (const int code : held)
            display::memory::push_key(code, true);
        key(typed);
        for (const int code : held)
            display::memory::push_key(code, false);
        run();
        return called;
    };
    for (const auto &each : cases)
        EXPECT_EQ(type(each.held, each.typed), each.calls) << static_cast<char>(each.typed);
    EXPECT_EQ(value_of(toggle_choice), 1);
    deactivatePullDownChoice(plain);
    EXPECT_EQ(type({display::key_control_left}, 's'), std::vector<word>{2}) << "stays bound";
    aliasKeystroke('S', alias_ctrl, note_call, 5); // somebody else's now
    deletePullDownChoice(plain);
    EXPECT_EQ(type({display::key_control_left}, 's'), std::vector<word>{5});
    deletePullDown(menu);
    EXPECT_EQ(type({display::key_control_left}, 'd'), std::vector<word>{});
}

TEST_F(pulldowns, a_sub_pulldown_has_one_owner_and_no_circle) {
    fill_bar();
    demon *second = add(file, "Second", cascade, false, true, rates);
    EXPECT_EQ(as_pulldown_choice(second)->sub_pulldown.get(), nullptr) << "rates has an owner";
    demon *deeper = addSubPullDown();
    demon *opener = add(rates, "Deeper", cascade, false, true, deeper);
    EXPECT_EQ(as_pulldown_choice(opener)->sub_pulldown.get(), deeper);
    EXPECT_EQ(
        as_pulldown_choice(add(deeper, "Round", cascade, false, true, rates))->sub_pulldown.get(),
        nullptr);
    demon *self = addSubPullDown();
    EXPECT_EQ(as_pulldown_choice(add(self, "Self", cascade, false, true, self))->sub_pulldown.get(),
              nullptr);
    insertPullDownChoice(deeper, nullptr, find("Rate")); // holds itself then
    EXPECT_EQ(as_pulldown(play)->count, 4);
    const demon_ref kept = refer_to_demon(deeper);
    deletePullDownChoice(find("Rate"));
    EXPECT_EQ(kept.get(), nullptr) << "all that hangs on it goes";
    EXPECT_EQ(find_choice("Film"), nullptr);
}

std::vector<std::pair<char, word>> hooked;

TEST_F(pulldowns, help_hooks_are_told_where_the_pointer_is) {
    hooked.clear();
    setWidgetBoxInFunction([](word id) { hooked.emplace_back('i', id); });
    setWidgetBoxOutFunction([](word id) { hooked.emplace_back('o', id); });
    setWidgetHelpDisplayFunction([](word id) { hooked.emplace_back('d', id); });
    setWidgetHelpClearFunction([](demon *) { hooked.emplace_back('c', 0); });
    setHelp(1);
    demon *menu = addPullDown(bar, "Menu", 40);
    add(menu, "a");
    setHelp(0);
    demon *plain = addPullDown(bar, "Plain", 50);
    EXPECT_EQ(as_pulldown_switch(plain)->help_id, 0);
    using list = std::vector<std::pair<char, word>>;
    act("Menu panel");
    EXPECT_EQ(hooked, (list{{'i', 40}, {'o', 40}}));
    hooked.clear();
    setHelp(1);
    act("Menu press a outside");
    EXPECT_EQ(hooked, (list{{'d', 40}, {'c', 0}, {'d', 1}, {'c', 0}}));
    setWidgetBoxInFunction(nullptr);
    setWidgetBoxOutFunction(nullptr);
    setWidgetHelpDisplayFunction(nullptr);
    setWidgetHelpClearFunction(nullptr);
}

TEST_F(pulldowns, a_file_tool_opens_in_a_window_of_its_own) {
    demon *menu = addPullDown(bar, "Menu", 0);
    const file_tool_settings settings = {.x = 300, .y = 300, .width = 200, .height = 150};
    demon *choice = menu;
    setHelp(1);
    const demon_ref tool = refer_to_demon(addFileToolPullDownChoice(
        menu, nullptr, "Open...", false, 'o', alias_ctrl, "Ctrl+O", 60, true, &choice, settings));
    EXPECT_NE(as_directory_demon(tool.get()), nullptr);
    EXPECT_EQ(as_pulldown_choice(choice)->help_id, 60);
    EXPECT_EQ(as_pulldown_choice(choice)->active, demon_on);
    std::uint16_t help = 0;
    getHelp(&help);
    EXPECT_EQ(help, 1);
    const auto is_open = [&] { return tool.get()->parent.get()->popped != 0; };
    EXPECT_FALSE(is_open());
    for (int times = 0; times < 2; ++times) {
        move_to(menu->box.x + 5, menu->box.y + 5);
        press(true);
        move_to(choice->box.x + 5, choice->box.y + 5);
        press(false);
        EXPECT_TRUE(is_open());
        demon_destroy_message(tool.get()->parent.get()); // as its close box does
        ASSERT_NE(tool.get(), nullptr);
        EXPECT_FALSE(is_open());
    }
    deletePullDownChoice(choice);
    EXPECT_EQ(tool.get(), nullptr);
}

} // namespace

} // namespace toolkit
