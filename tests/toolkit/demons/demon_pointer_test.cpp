// The pointer's way through the tree, cursors, and demons that come up and go.
#include "tests/toolkit/demons/noting_demons.h"
#include "toolkit/demons/demon_cursors.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"

namespace toolkit {

TEST_F(demons, the_first_one_that_contains_the_point_is_picked) {
    demon *under = named("under", root, {110, 210, 30, 30});
    demon *over = named("over", root, {120, 220, 30, 30});
    struct {
        screen_point at;
        demon *picked;
    } const cases[] = {{{110, 210}, under}, {{109, 210}, nullptr}, {{110, 209}, nullptr},
                       {{119, 219}, under}, {{120, 220}, over},    {{139, 239}, over},
                       {{149, 249}, over},  {{150, 249}, nullptr}, {{149, 250}, nullptr}};
    for (const auto &c : cases)
        EXPECT_EQ(demon_pick_message(root->kids, root, c.at), c.picked) << c.at.x << " " << c.at.y;
    EXPECT_EQ(demon_pick_message(over, over, {110, 210}), nullptr) << "asked about itself alone";
    EXPECT_EQ(demon_pick_message(nullptr, root, {110, 210}), nullptr);
    lock_me(under);
    EXPECT_EQ(demon_pick_message(root->kids, root, nowhere), under);
    EXPECT_EQ(demon_pick_message(root->kids, root, {125, 225}), over) << "it comes before";
    EXPECT_EQ(window->locked, demon_on);
    unlock_me(under);
    EXPECT_EQ(demon_pick_message(root->kids, root, nowhere), nullptr);
    EXPECT_EQ(window->locked, 0);
    add_pop_demon(over, root);
    EXPECT_EQ(demon_pick_message(root->kids, root, {125, 225}), under);
    demon_pop_message(over);
    EXPECT_EQ(demon_pick_message(root->kids, root, {125, 225}), over);
}

TEST_F(demons, a_lock_goes_where_its_demon_goes) {
    demon *a = named("a", root, area);
    demon *b = named("b", root, area);
    demon *dragged = named("dragged", a, area);
    lock_me(dragged);
    add_demon(dragged, b);
    EXPECT_EQ(a->locked, 0);
    EXPECT_EQ(b->locked, demon_on);
    EXPECT_EQ(window->locked, demon_on) << "above both";
    lock_me(a);
    demon_destroy_message(dragged);
    EXPECT_EQ(b->locked, 0);
    EXPECT_EQ(root->locked, demon_on) << "a holds it";
    demon_destroy_message(a);
    EXPECT_EQ(window->locked, 0);
}

// One level after the other: in (<), out (>), moved (.), a cursor drawn (+) and erased (-).
TEST_F(demons, the_pointer_is_tracked_from_demon_to_demon) {
    demon *a = named("a", root, {110, 210, 40, 40});
    demon *b = named("b", root, {160, 210, 40, 40});
    demon *inner = named("i", a, {120, 220, 10, 10});
    root->cursor_draw = a->cursor_draw = note_cursor;
    root->cursor_erase = a->cursor_erase = note_cursor_gone;
    struct {
        screen_point at;
        const char *seen;
        demon *in_root, *in_a;
    } const steps[] = {
        {{105, 205}, "root. root+", nullptr, nullptr},
        {{106, 205}, "root. root- root+", nullptr, nullptr},
        {{112, 212}, "root. root- a< a+ a. a- a+", a, nullptr},
        {{113, 212}, "root. a. a- a+", a, nullptr},
        {{125, 225}, "root. a. a- i< i.", a, inner},
        {{126, 225}, "root. a. i.", a, inner},
        {{112, 212}, "root. a. i> a+", a, nullptr},
        {{125, 225}, "root. a. a- i< i.", a, inner},
        {{165, 215}, "root. a> i> b<", b, nullptr},
        {{166, 215}, "root. b.", b, nullptr},
        {{125, 225}, "root. b> a< a+ a. a- i< i.", a, inner}, // all that it is in, by one move
        {{165, 215}, "root. a> i> b<", b, nullptr},
        {{105, 205}, "root. b> root+", nullptr, nullptr},
    };
    for (const auto &s : steps) {
        point_at(root, s.at);
        EXPECT_EQ(take_notes(), s.seen) << s.at.x << " " << s.at.y;
        EXPECT_EQ(root->box_in_child, s.in_root);
        EXPECT_EQ(a->box_in_child, s.in_a);
        EXPECT_EQ(root->cursor.x, s.at.x);
    }
    point_at(root, {125, 225});
    take_notes();
    demon_box_in_message(root, {125, 225});
    EXPECT_EQ(take_notes(), "root< a< i<");
    lock_me(inner);
    point_at(root, nowhere);
    EXPECT_EQ(take_notes().substr(0, 8), "root. a.");
    EXPECT_EQ(a->box_in_child, inner) << "locked";
    unlock_me(inner);
    send(root, msg_box_out);
    EXPECT_EQ(take_notes(), "root> a> i>");
    EXPECT_EQ(root->box_in_child, nullptr);
    EXPECT_EQ(a->box_in_child, nullptr);
}

TEST_F(demons, input_and_ticks_follow_the_pointer) {
    named("a", root, {110, 210, 40, 40});
    demon *b = named("b", root, {160, 210, 40, 40});
    point_at(root, {112, 212});
    take_notes();
    send(root, msg_left_down);
    EXPECT_EQ(take_notes(), "root! a!");
    send(root, msg_left_down, demon_on);
    EXPECT_EQ(take_notes(), "root! b! a!");
    demon_enable_input_message(b, false);
    send(root, msg_left_down, demon_on);
    EXPECT_EQ(take_notes(), "root! b!") << "what takes no input passes none on";
    send(root, msg_none);
    EXPECT_EQ(take_notes(), "root~ a~");
    demon_enable_input_message(root, false);
    send(root, msg_left_down);
    EXPECT_EQ(take_notes(), "root!");
}

TEST_F(demons, a_blinking_cursor_changes_with_each_period) {
    root->cursor_draw = note_cursor;
    root->cursor_erase = note_cursor_gone;
    root->blink = demon_on;
    root->blink_period = 2;
    for (const char *seen :
         {"root~ root+", "root~", "root~", "root~ root-", "root~", "root~", "root~ root+"}) {
        send(root, msg_none);
        EXPECT_EQ(take_notes(), seen);
    }
    demon_visibility_message(root, false);
    for (int i = 0; i < 4; ++i)
        send(root, msg_none);
    EXPECT_EQ(take_notes(), "root~ root~ root~ root~");
}

TEST_F(demons, own_cursors_know_where_they_are_and_were) {
    for (const auto routine : {x_cursor, note_cursor, nullcur}) {
        const bool follows = routine != nullcur;
        demon *d = named("d", root, area);
        d->cursor_draw = routine;
        d->cursor_erase = note_cursor_gone;
        demon_cursor(d, {1, 2}, cursor_mode::entered);
        demon_cursor(d, {3, 4}, cursor_mode::moved);
        EXPECT_EQ(d->cursor.x, follows ? 3 : 0);
        EXPECT_EQ(d->previous_cursor.y, follows ? 2 : 0);
        EXPECT_EQ(d->cursor_shown, routine == note_cursor ? demon_on : 0);
        demon_cursor(d, {5, 6}, cursor_mode::left);
        EXPECT_EQ(d->cursor.x, follows ? 3 : 0);
        EXPECT_EQ(d->cursor_shown, 0);
        demon_cursor(d, {5, 6}, cursor_mode::left);
        EXPECT_EQ(take_notes(), routine == note_cursor ? "d+ d- d+ d-" : "");
    }
}

TEST_F(demons, cross_hairs_leave_the_picture_as_it_was) {
    gl_set_win(window->window);
    const auto before = picture();
    demon *d = make(root, {120, 220, 60, 40});
    d->cursor_draw = xhair_cursor;
    d->cursor_erase = erase_xhair_cursor;
    for (const auto mode : {cursor_mode::entered, cursor_mode::moved, cursor_mode::left})
        demon_cursor(d, {130, 230}, mode);
    d->cursor_draw = big_x_cursor;
    d->cursor_erase = erase_big_x_cursor;
    demon_cursor(d, {130, 230}, cursor_mode::entered);
    demon_cursor(d, {150, 230}, cursor_mode::left);
    EXPECT_EQ(picture(), before);
}

TEST_F(demons, a_popped_demon_gives_back_what_it_covered) {
    demon *touched = make(root, {110, 210, 20, 20});
    demon *apart = make(root, {200, 300, 20, 20});
    demon *menu = make(nullptr, {120, 220, 60, 60});
    demon *item = make(menu, {130, 230, 20, 10});
    add_pop_demon(menu, root);
    demon_draw_message(window);
    gl_set_win(window->window);
    gl_set_draw_value(colour_accent);
    gl_draw_line(100, 200, 290, 340);
    const auto before = picture();
    for (int round = 0; round < 2; ++round) {
        gl::ortho2(0, 10, 0, 10); // an application's own coordinates
        demon_pop_message(menu);
        demon_pop_message(menu); // is popped
        EXPECT_NE(picture(), before);
        EXPECT_EQ(root->kids, menu);
        EXPECT_EQ(root->pop_list, nullptr);
        EXPECT_EQ(menu->popped, demon_on);
        EXPECT_TRUE(demon_is_visible(item));
        EXPECT_EQ(item->window, window->window);
        EXPECT_EQ(touched->overlap_count, 1);
        EXPECT_EQ(apart->overlap_count, 0);
        demon_push_message(menu);
        demon_push_message(menu); // no longer there: no count changes, no picture
        EXPECT_EQ(picture(), before);
        EXPECT_EQ(root->kids, apart);
        EXPECT_EQ(root->pop_list, menu);
        EXPECT_FALSE(demon_is_visible(item));
        EXPECT_FALSE(demon_is_enabled(item));
        EXPECT_EQ(menu->saved, nullptr);
        EXPECT_EQ(touched->overlap_count, 0);
    }
    demon_pop_message(menu);
    demon_destroy_message(menu);
    EXPECT_EQ(touched->overlap_count, 0) << "nothing covers it";
    demon *lonely = make(nullptr, area);
    demon_pop_message(lonely);
    demon_push_message(lonely);
    EXPECT_EQ(lonely->popped, 0);
}

TEST_F(demons, pushing_a_menu_pushes_its_submenu_and_leaves_its_items) {
    demon *menu = named("menu", nullptr, {120, 220, 60, 60});
    demon *item = named("item", menu, {125, 225, 20, 10});
    demon *submenu = named("sub", nullptr, {150, 230, 80, 40});
    add_pop_demon(submenu, menu);
    add_pop_demon(menu, root);
    demon_pop_message(menu);
    demon_pop_message(submenu);
    point_at(root, {126, 226});
    take_notes();
    demon_push_message(menu);
    EXPECT_EQ(take_notes(), "sub> menu> item>");
    EXPECT_EQ(chain(menu->pop_list), (std::vector{submenu}));
    EXPECT_EQ(chain(menu->kids), (std::vector{item}));
    EXPECT_EQ(root->box_in_child, nullptr);

    menu->push_on_leave = demon_on;
    demon_pop_message(menu);
    point_at(root, {126, 226});
    EXPECT_EQ(menu->box_in_child, item);
    take_notes();
    point_at(root, {105, 205});
    EXPECT_EQ(take_notes(), "root. menu> menu> item>");
    EXPECT_EQ(menu->list, demon_list::pop);
    EXPECT_EQ(menu->box_in_child, nullptr);
}

namespace {

demon *meddled_with = nullptr;
void pop_and_push(display_object *, screen_point) {
    demon_pop_message(meddled_with);
    demon_push_message(meddled_with);
}

} // namespace

TEST_F(demons, a_pop_or_push_is_not_begun_within_another) {
    demon *beside = make(root, {110, 210, 40, 40});
    demon *menu = make(nullptr, {120, 220, 60, 60});
    add_pop_demon(menu, root);
    demon_draw_message(window);
    gl_set_win(window->window);
    const auto before = picture();
    meddled_with = menu;
    for (demon *meddler : {beside, menu}) {
        meddler->cursor_draw = note_cursor;
        meddler->cursor_erase = pop_and_push; // when the pointer leaves it
        beside->cursor_shown = demon_on;
        demon_pop_message(menu);
        EXPECT_EQ(menu->popped, demon_on);
        EXPECT_EQ(beside->overlap_count, 1);
        menu->cursor_shown = demon_on;
        demon_push_message(menu);
        EXPECT_EQ(chain(root->pop_list), (std::vector{menu}));
        EXPECT_EQ(beside->overlap_count, 0);
        EXPECT_EQ(picture(), before);
    }
}

} // namespace toolkit
