// Window demons: opening, closing, following; and what handlers may do to them.
#include "tests/toolkit/demons/window_demon_fixture.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/graphics/window_calls.h"

#include <set>

namespace toolkit {

TEST_F(window_demons, each_kind_opens_and_closes_in_its_way) {
    for (const kind which : kinds)
        for (const bool by_close_box : {false, true}) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(which) << by_close_box);
            noted.clear();
            iris_window_demon *d = make(which);
            const demon_ref kept = refer_to_demon(d), kept_kid = refer_to_demon(kid);
            EXPECT_EQ(windows_open(), which == kind::pushed ? 0U : 1U);
            demon_pop_message(d);
            EXPECT_EQ(windows_open(), 1U) << "popped already: no second window";
            d->push_on_leave = by_close_box ? demon_on : 0; // its push makes it leave
            check(d);
            EXPECT_EQ(display::memory::facts(on_display(d)).title, "test");
            if (by_close_box)
                happen(display::event_kind::close, on_display(d));
            else
                demon_destroy_message(d);
            EXPECT_EQ(windows_open(), 0U);
            if (which == kind::plain) {
                EXPECT_EQ(kept.get(), nullptr);
                EXPECT_EQ(kept_kid.get(), nullptr);
                EXPECT_EQ(noted, "!");
                continue;
            }
            ASSERT_EQ(kept.get(), d);
            EXPECT_EQ(d->list, demon_list::pop);
            check(d);
            demon_push_message(d); // once more
            check(d);
            const int other = make_shown(kind::plain, 500, 200)->window; // takes the id
            popup_iris_window_no_draw(d, nullptr);
            EXPECT_NE(d->window, other);
            EXPECT_EQ(windows_open(), 2U);
            check(d);
            EXPECT_EQ(noted, "");
            destroy_all_iris_windows();
            EXPECT_EQ(windows_open(), 0U);
            EXPECT_EQ(kept.get(), nullptr);
            EXPECT_EQ(noted.size(), 2U);
        }
}

TEST_F(window_demons, ids_are_used_again_while_their_first_owner_closes) {
    iris_window_demon *d = make_shown(kind::popped), *other = nullptr;
    kid->on.box_out = note<'o', demon_box_out>;
    point_at(112, 215);
    const int id = d->window;
    also = [&] { other = make_shown(kind::popped, 500, 200); };
    happen(display::event_kind::close, on_display(d));
    EXPECT_EQ(noted, "o");
    EXPECT_EQ(other->window, id);
    check(other);
    check(d);
    EXPECT_EQ(windows_open(), 1U);
}

TEST_F(window_demons, titles_and_places_are_taken_as_they_are) {
    const std::string title(62, 'x');
    const auto *d = create_iris_window_demon(nullptr, -50, 1000, 100, 80,
                                             (title + "\xC3\xA4 and more").c_str(), nullptr, 0);
    EXPECT_EQ(display::memory::facts(on_display(d)).title, title + "\xC3\xA4");
    EXPECT_EQ(d->box, (screen_box{0, 944, 100, 80})) << "moved onto the screen";
    const auto *bare = create_iris_window_demon(nullptr, 300, 300, 100, 80, "", nullptr, 0);
    EXPECT_EQ(display::memory::facts(on_display(bare)).kind, display::window_kind::popup);
}

TEST_F(window_demons, windows_that_do_not_open_leave_pushed_demons) {
    display::memory::refuse_open(true);
    iris_window_demon *d = make(kind::plain);
    EXPECT_EQ(d->window, no_window);
    EXPECT_EQ(d->popped, 0);
    display::memory::refuse_open(false);
    demon_pop_message(d);
    check(d);
    demon_destroy_message(d);
    EXPECT_EQ(noted, "!");

    setTarnBatchMode(1);
    d = make(kind::popped);
    EXPECT_EQ(d->window, batch_mode_window);
    demon_draw_message(d);
    demon_destroy_message(d);
    EXPECT_EQ(d->window, no_window);
    EXPECT_EQ(windows_open(), 0U);
}

TEST_F(window_demons, the_owner_bits_are_for_the_user_alone) {
    iris_window_demon *d = make_shown(kind::plain);
    const demon_ref kept = refer_to_demon(d);
    d->flags |= flag_stays_open;
    happen(display::event_kind::close, on_display(d));
    EXPECT_EQ(windows_open(), 1U);
    demon_push_message(d);
    check(d);
    EXPECT_EQ(windows_open(), 0U);
    demon_pop_message(d);
    d->flags |= flag_stays_open;
    demon_destroy_message(d);
    EXPECT_EQ(windows_open(), 0U);
    EXPECT_EQ(kept.get(), nullptr);
}

// The callback is told once, whatever it does to its window.
TEST_F(window_demons, callbacks_are_told_once) {
    using action = void (*)(demon *);
    for (const action what : {demon_destroy_message, demon_pop_message,
                              +[](demon *) { dereference_object_callbacks(nullptr); },
                              +[](demon *) { delete_set(Iris_Window_Demon_Set); },
                              +[](demon *) { system_terminate(); }})
        for (const bool by_close_box : {false, true}) {
            system_init();
            noted.clear();
            iris_window_demon *d = make_shown(kind::plain);
            const demon_ref kept = refer_to_demon(d);
            also = [&] { what(d); };
            if (by_close_box)
                happen(display::event_kind::close, on_display(d));
            else
                demon_destroy_message(d);
            EXPECT_EQ(noted, "!");
            EXPECT_EQ(kept.get(), nullptr);
            EXPECT_EQ(windows_open(), 0U);
            EXPECT_EQ(num_objects_set(Callback_Set), 0);
        }
}

TEST_F(window_demons, the_pointer_is_in_the_window_that_is_seen) {
    const auto noting = [](generic_demon *d, demon_handler in, demon_handler out) {
        d->on.box_in = in;
        d->on.box_out = out;
    };
    iris_window_demon *below = make_shown(kind::plain, 100, 200);
    noting(below, note<'a', iris_demon_box_in>, note<'A', iris_demon_box_out>);
    noting(kid, note<'k', demon_box_in>, note<'K', demon_box_out>);
    iris_window_demon *above = make_shown(kind::popped, 120, 220);
    noting(above, note<'b', iris_demon_box_in>, note<'B', iris_demon_box_out>);
    const auto after = [](const std::function<void()> &step) {
        noted.clear();
        step();
        return noted;
    };
    EXPECT_EQ(after([] { point_at(112, 215); }), "ak");
    EXPECT_EQ(gl_get_win(), below->window);
    EXPECT_EQ(after([] { point_at(125, 225); }), "AKb") << "the kid is there, but covered";
    EXPECT_EQ(after([&] { demon_pop_message(below); }), "") << "raised";
    EXPECT_EQ(after([] { point_at(125, 225); }), "Bak") << "what is in it, by the same move";
    happen(display::event_kind::iconify, on_display(below));
    EXPECT_EQ(after([] { point_at(125, 225); }), "AKb");
    lock_me(below);
    EXPECT_EQ(after([] { point_at(900, 900); }), "Ba") << "a locked window keeps the pointer";
    unlock_me(below);
    EXPECT_EQ(after([] { point_at(900, 900); }), "A");
    demon_push_message(above);
    point_at(125, 225);
    EXPECT_EQ(inq_demon_god()->box_in_child, nullptr) << "one is an icon, one is closed";
}

TEST_F(window_demons, the_tree_follows_its_window) {
    for (const bool by_pointer : {false, true}) {
        iris_window_demon *d = make_shown(kind::popped, 100, 200);
        display_object *client = create_display_object(nullptr);
        kid->client = refer_to(client);
        iris_window_demon *inner = make(kind::pushed, 130, 230); // waits in the first one's list
        demon *inner_kid = inner->kids;
        add_pop_demon(inner, d);
        const auto area = display::memory::facts(on_display(d)).area;
        happen(display::event_kind::geometry, on_display(d),
               {area.x + 40, area.y - 25, area.width, area.height});
        if (by_pointer)
            point_at(900, 900);
        else
            demon_draw_message(d);
        EXPECT_EQ(d->box, (screen_box{140, 225, 200, 100}));
        EXPECT_EQ(d->kids->kids->box, (screen_box{155, 240, 10, 10}));
        EXPECT_EQ(inner->box, (screen_box{170, 255, 200, 100}));
        EXPECT_EQ(client->box, (screen_box{40, 25, 10, 10}));
        EXPECT_EQ(inner->window, no_window) << "windows have ids of their own";
        EXPECT_EQ(inner_kid->window, no_window);
        popup_iris_window(inner, d);
        EXPECT_EQ(inner->parent.get(), d);
        EXPECT_EQ(gl_get_wid_demon(inner->window), inner);
        demon_push_message(d); // the window in it has one of its own, and stays open
        EXPECT_EQ(windows_open(), 1U);
        EXPECT_EQ(inner_kid->window, inner->window);
        const demon_ref last_kid = refer_to_demon(d->kids->next);
        d->on.destroy = iris_demon_destroy;
        demon_destroy_message(d);
        EXPECT_EQ(last_kid.get(), nullptr) << "behind the inner one, which is pushed only";
        EXPECT_EQ(inner->window, no_window);
        popup_iris_window(inner, nullptr);
        check(inner);
        destroy_all_iris_windows();
        EXPECT_EQ(windows_open(), 0U);
    }
}

// --- handlers that do things to the window that they are in

TEST_F(window_demons, handlers_may_do_anything_to_their_window) {
    using action = void (*)(demon *);
    struct step {
        const char *name;
        void (*send)(demon *window);
    };
    const step steps[] = {
        {"draw", demon_draw_message},
        {"refresh", [](demon *) { gl_refresh(all_windows); }},
        {"enter", [](demon *) { point_at(112, 215); }},
        {"leave", [](demon *) { point_at(112, 215), point_at(900, 900); }},
        {"type",
         [](demon *) {
             point_at(112, 215);
             send(inq_demon_god(), msg_key, {}, 'x');
         }},
        {"push", demon_push_message},
        {"raise", [](demon *d) { demon_push_message(d), demon_pop_message(d); }},
        {"destroy", demon_destroy_message},
    };
    const action actions[] = {
        demon_destroy_message,
        demon_push_message,
        [](demon *d) { demon_push_message(d), demon_pop_message(d); },
        [](demon *d) { demon_push_message(d), demon_destroy_message(d); },
        [](demon *d) { gl_win_close(d->window); },
        [](demon *d) { iris_demon_new_window(d); },
        [](demon *d) { demon_move_message(d, 7, 7); },
        [](demon *d) { demon_destroy_message(d->kids); },
        [](demon *) { destroy_all_iris_windows(); },
    };
    const auto script = [](generic_demon *d) {
        d->on.draw = note<'d', demon_draw>;
        d->on.pick = note<'p', demon_pick>;
        d->on.box_in = note<'i', demon_box_in>;
        d->on.box_out = note<'o', demon_box_out>;
        d->on.loc_move = note<'m', demon_loc_move>;
        d->on.keystroke = note<'k', demon_generic>;
        d->on.destroy = note<'x', demon_destroy>;
    };
    int acted = 0;
    for (const kind which : kinds)
        for (const step &s : steps)
            for (std::size_t what = 0; what < std::size(actions); ++what)
                for (int skipped = 0; skipped < 3; ++skipped) { // by a later handler
                    SCOPED_TRACE(testing::Message() << s.name << " " << what << " " << skipped);
                    iris_window_demon *d = make_shown(which);
                    script(kid);
                    iris_window_demon *other = make_shown(kind::popped, 110, 210);
                    demon_pop_message(d);
                    const demon_ref kept = refer_to_demon(d), kept_other = refer_to_demon(other);
                    std::function<void(int)> arm = [&](int left) {
                        also = [&, left] {
                            if (left > 0)
                                return arm(left - 1);
                            ++acted;
                            if (kept.get() != nullptr)
                                actions[what](d);
                        };
                    };
                    arm(skipped);
                    s.send(d);
                    also = nullptr;
                    std::size_t expected = 0;
                    for (auto *left : {kept.get(), kept_other.get()})
                        if (left != nullptr) {
                            check(static_cast<iris_window_demon *>(left));
                            expected += left->window != no_window ? 1U : 0U;
                        }
                    EXPECT_EQ(windows_open(), expected);
                    destroy_all_iris_windows();
                    ASSERT_EQ(windows_open(), 0U);
                    ASSERT_EQ(inq_demon_god()->kids, nullptr);
                    ASSERT_EQ(inq_demon_god()->pop_list, nullptr);
                }
    EXPECT_GT(acted, 200);
}

// A window that is not on the screen is moved there as it opens, and who hears of that acts.
TEST_F(window_demons, an_opening_window_may_be_opened_or_closed_by_others) {
    object_class *cls = derive_object_class(inq_object_class(), "hearer");
    set_method<act_on_move>(cls, msg_move);
    object_set *hearers = create_set_of<object>(1, 1, cls);
    using action = void (*)(demon *);
    for (const action what :
         {demon_pop_message, demon_push_message, +[](demon *) { destroy_all_iris_windows(); },
          +[](demon *) { delete_set(Iris_Window_Demon_Set); }})
        for (const bool again : {false, true}) {
            iris_window_demon *d = again ? make_shown(kind::popped) : make(kind::pushed);
            const demon_ref kept = refer_to_demon(d);
            d->client = refer_to(create_object(hearers));
            d->box.x = -50;
            also = [&] { what(d); };
            if (again)
                iris_demon_new_window(d);
            else
                demon_pop_message(d);
            const bool is_left = kept.get() != nullptr;
            EXPECT_EQ(windows_open(), is_left && d->window != no_window ? 1U : 0U);
            if (is_left)
                check(d);
            destroy_all_iris_windows();
            EXPECT_EQ(windows_open(), 0U);
        }
}

// --- generic demons

TEST_F(window_demons, handlers_stand_in_for_methods) {
    using on = demon_handlers;
    struct {
        std::uint32_t code;
        demon_handler on::*handler;
        bool is_input;
    } const messages[] = {{msg_left_double, &on::b1_double_click, true},
                          {msg_wheel_up, &on::wheel, true},
                          {msg_wheel_down, &on::wheel, true},
                          {msg_box_in, &on::box_in, false},
                          {msg_destroy, &on::destroy, false}};
    make_shown(kind::plain);
    for (const auto &m : messages) {
        noted.clear();
        kid->on.*m.handler = [](demon *, object *, demon_message *got) {
            noted += std::to_string(got->code);
        };
        send_message(kid, m.code); // also without a message record
        kid->flags &= static_cast<std::uint16_t>(~flag_input);
        send_message(kid, m.code);
        kid->flags |= flag_input;
        kid->on = {};
        EXPECT_EQ(noted, std::to_string(m.code) + (m.is_input ? "" : std::to_string(m.code)));
    }
    EXPECT_EQ(send_message(kid, msg_get_value, 0, 70), 0);
    kid->on.get_value = [](demon *, object *, word value) { return value + 1; };
    EXPECT_EQ(send_message(kid, msg_get_value, 0, 70), 71);
    demon_destroy_message(kid);
    EXPECT_FALSE(is_live(kid));
}

// --- from start to end, and again

TEST_F(window_demons, the_end_leaves_nothing_and_all_can_begin_again) {
    for (int round = 0; round < 3; ++round) {
        system_init();
        EXPECT_EQ(inq_demon_god()->box, (screen_box{0, 0, 1280, 1024}));
        EXPECT_TRUE(demon_is_enabled(inq_demon_god()));
        noted.clear();
        iris_window_demon *outer = make_shown(kind::popped, 100, 200, 'a');
        popup_iris_window(make(kind::plain, 110, 210, 'b'), nullptr);
        popup_iris_window(make(kind::pushed, 120, 220, 'c'), outer);
        demon_push_message(make_shown(kind::popped, 130, 230, 'd'));
        EXPECT_FALSE(make(kind::pushed, 140, 240, 'e') == nullptr);
        add_demon(create_generic_demon(nullptr, 5, 5, nullptr), inq_demon_god());
        EXPECT_NE(create_demon(nullptr, 5, 5, nullptr), nullptr);
        also = [] { system_terminate(); }; // by the first one that is told
        testing::internal::CaptureStdout();
        system_terminate();
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        EXPECT_EQ(std::set<char>(noted.begin(), noted.end()).size(), 5U) << noted;
        EXPECT_EQ(noted.size(), 5U) << noted;
        EXPECT_EQ(inq_demon_god(), nullptr);
        EXPECT_EQ(inq_first_class(), nullptr);
        EXPECT_EQ(num_wids, 0);
        system_terminate();
    }
}

} // namespace toolkit
