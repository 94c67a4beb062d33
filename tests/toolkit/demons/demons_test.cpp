// The tree of demons, and what goes down it.
#include "tests/toolkit/demons/noting_demons.h"
#include "toolkit/graphics/colour_indices.h"

namespace toolkit {

TEST_F(demons, an_adopted_child_takes_over_its_parents_state) {
    for (const bool visible : {false, true})
        for (const bool enabled : {false, true})
            for (const bool before : {false, true}) {
                demon_visibility_message(root, visible);
                demon_enable_input_message(root, enabled);
                demon *child = named("child", nullptr, area);
                demon *grandchild = named("grandchild", child, area);
                demon_visibility_message(child, before);
                demon_enable_input_message(child, before);
                add_demon(child, root);
                for (demon *d : {child, grandchild}) {
                    EXPECT_EQ(demon_is_visible(d), visible);
                    EXPECT_EQ(demon_is_enabled(d), enabled);
                }
                EXPECT_EQ(child->window, window->window);
                EXPECT_EQ(root->kids, child) << "the newest is first";
            }
}

TEST_F(demons, adding_again_changes_nothing_but_a_missing_window) {
    demon *a = named("a", root, area);
    demon *b = named("b", root, area);
    a->window = no_window;
    add_demon(a, root);
    EXPECT_EQ(chain(root->kids), (std::vector{b, a}));
    EXPECT_EQ(a->window, window->window);
    a->window = 77; // has one
    add_demon(a, root);
    EXPECT_EQ(a->window, 77);

    add_demon(a, b); // from one list into another
    EXPECT_EQ(chain(root->kids), (std::vector{b}));
    EXPECT_EQ(chain(b->kids), (std::vector{a}));
    add_pop_demon(a, root);
    EXPECT_EQ(b->kids, nullptr);
    EXPECT_EQ(chain(root->pop_list), (std::vector{a}));
    EXPECT_FALSE(demon_is_visible(a));
}

TEST_F(demons, no_demon_becomes_its_own_ancestor_or_the_child_of_what_goes) {
    demon *a = named("a", root, area);
    demon *b = named("b", a, area);
    for (demon *inner : {root, a, b}) {
        add_demon(root, inner);
        add_pop_demon(root, inner);
        if (inner != root)
            append_demon(root, inner);
        EXPECT_EQ(root->parent.get(), window);
        EXPECT_EQ(root->list, demon_list::kids);
    }
    add_demon(nullptr, root);
    add_demon(a, nullptr);
    delete_demon(nullptr);
    demon_destroy_message(a);
    demon *late = named("late", nullptr, area);
    add_demon(late, a); // a dead record still
    EXPECT_EQ(late->list, demon_list::none);
    EXPECT_EQ(root->kids, nullptr);
}

TEST_F(demons, deleting_hides_and_unlinks_but_keeps_the_parent) {
    demon *a = named("a", root, area);
    demon *b = named("b", root, area);
    point_at(root, {110, 210});
    EXPECT_EQ(root->box_in_child, b);
    delete_demon(b);
    EXPECT_EQ(root->box_in_child, nullptr);
    EXPECT_EQ(chain(root->kids), (std::vector{a}));
    EXPECT_EQ(b->parent.get(), root);
    EXPECT_FALSE(demon_is_visible(b));
    EXPECT_FALSE(demon_is_enabled(b));
    demon *c = named("c", nullptr, area);
    append_demon(c, a);
    append_demon(b, root->kids);
    append_demon(a, root->kids); // is in that chain
    EXPECT_EQ(chain(root->kids), (std::vector{a, c, b}));
    append_demon(a, c); // before that part of the chain: goes behind it
    EXPECT_EQ(chain(root->kids), (std::vector{c, b, a}));
    EXPECT_EQ(c->parent.get(), root);
    relink_demon(b);
    EXPECT_EQ(root->box_in_child, b);
    EXPECT_EQ(window->box_in_child, root);
}

TEST_F(demons, sizes_and_places_shrink_on_small_screens_only) {
    struct {
        const char *screen;
        int width, height, shown_width, shown_height;
    } const cases[] = {
        {"1280x1024", 1280, 1024, 1280, 1024},
        {"1024x768", 1280, 1024, 1024, 768},
        {"1024x768", -100, -1, -80, 0},
        {"3840x2160", 1280, 1024, 1280, 1024},
        {"640x480", 1, 3, 0, 1},
        {"1280x1024", 100000, -100000, 32767, -32768},
    };
    for (const auto &c : cases) {
        setenv("PLAYER_SCREEN", c.screen, 1);
        gl::gexit();
        const demon *d = create_demon(nullptr, c.width, c.height, nullptr);
        EXPECT_EQ(d->box.width, c.shown_width) << c.screen << " " << c.width;
        EXPECT_EQ(d->box.height, c.shown_height) << c.screen << " " << c.height;
    }
    unsetenv("PLAYER_SCREEN");
    setenv("PLAYER_SCREEN", "640x512", 1);
    gl::gexit();
    demon *panel = make(nullptr, {0, 0, 50, 50});
    demon *button = make(panel, {7, 8, 5, 5});
    demon *hidden = make(nullptr, {3, 4, 5, 5});
    add_pop_demon(hidden, button);
    give_client(button, "client");
    set_demon(panel, root, 20, -40);
    EXPECT_EQ(panel->box, (screen_box{110, 180, 50, 50}));
    EXPECT_EQ(button->box, (screen_box{117, 188, 5, 5}));
    EXPECT_EQ(hidden->box, (screen_box{113, 184, 5, 5}));
    EXPECT_EQ(take_notes(), "client[110,180]");
    set_demon(panel, nullptr, 1, 1);
    set_demon(nullptr, root, 1, 1);
    set_demon(panel, root, INT32_MAX, INT32_MIN);
    EXPECT_EQ(panel->box.x, 32767);
    EXPECT_EQ(panel->box.y, 180 - 32768) << "one message moves by 16 bits";
    unsetenv("PLAYER_SCREEN");
}

TEST_F(demons, a_set_for_other_objects_gives_no_demon) {
    EXPECT_EQ(create_demon(clients, 10, 10, nullptr), nullptr);
    object_class *plain = derive_object_class(inq_display_object_class(), "plain");
    EXPECT_EQ(create_demon(create_set_of<demon>(1, 1, plain), 10, 10, nullptr), nullptr);
    EXPECT_EQ(num_objects_set(clients), 0);
}

TEST_F(demons, drawing_goes_down_and_along_and_to_popped_ones_last) {
    demon *c = named("c", root, area);
    demon *b = named("b", root, area);
    demon *a = named("a", root, area);
    named("a1", a, area);
    named("c1", c, area);
    demon_draw_message(a);
    EXPECT_EQ(take_notes(), "a* a1*");
    demon_draw_message(root);
    EXPECT_EQ(take_notes(), "root* a* a1* b* c* c1*");
    a->popped = demon_on;
    demon_draw_message(root);
    EXPECT_EQ(take_notes(), "root* b* c* c1* a* a1*");
    a->popped = 0;
    demon_visibility_message(a, false);
    send(a, msg_draw, demon_on);
    EXPECT_EQ(take_notes(), "b* c* c1*");
    give_client(b, "client");
    demon_draw_message(b);
    EXPECT_EQ(take_notes(), "client[20:0] client[19:0]");
    set_demon_fill_color(b, colour_accent);
    b->client = {};
    demon_draw_message(b);
    gl_set_win(window->window);
    EXPECT_EQ(pixel(150, 250), pixel_of(colour_accent));
}

TEST_F(demons, states_are_broadcast_to_what_is_inside) {
    demon *b = named("b", root, area);
    demon *a = named("a", root, area);
    demon *a1 = named("a1", a, area);
    give_client(a, "client");
    demon_visibility_message(a, false);
    demon_enable_input_message(a, false);
    EXPECT_EQ(take_notes(), "client[27:0]") << "input is no client's business";
    EXPECT_FALSE(demon_is_visible(a1));
    EXPECT_FALSE(demon_is_enabled(a1));
    EXPECT_TRUE(demon_is_visible(b));
    EXPECT_TRUE(demon_is_enabled(b));
    send(a, msg_set_visibility, demon_on, 1);
    EXPECT_EQ(take_notes(), "client[27:255]");
    send(a, msg_set_enable_input, demon_on, 0);
    EXPECT_FALSE(demon_is_enabled(b)) << "siblings too, when asked for";
}

TEST_F(demons, highlighting_is_drawn_once) {
    demon *b = named("b", root, area);
    demon *a = named("a", root, area);
    demon *a1 = named("a1", a, area);
    a->hilite = a1->hilite = b->hilite = note_draw;
    a->dehilite = note_draw;
    demon_hilite_message(a);
    EXPECT_EQ(take_notes(), "a* a1*");
    demon_hilite_message(a);
    EXPECT_EQ(take_notes(), "");
    send(a, msg_hilite, demon_on);
    EXPECT_EQ(take_notes(), "b*");
    give_client(a, "client");
    demon_dehilite_message(a);
    demon_dehilite_message(a);
    EXPECT_EQ(take_notes(), "client[23:0]");
    EXPECT_EQ(a->hilited, 0);
    EXPECT_EQ(a1->hilited, 0);
    demon_visibility_message(a, false);
    take_notes();
    demon_hilite_message(a);
    EXPECT_EQ(take_notes(), "");
    EXPECT_EQ(a->hilited, 0);
}

TEST_F(demons, destruction_takes_all_that_is_inside_and_tells_the_clients) {
    demon *b = named("b", root, area);
    demon *a = named("a", root, area);
    give_client(named("a1", a, area), "client");
    demon *hidden = named("hidden", nullptr, area);
    add_pop_demon(hidden, a);
    give_client(a, "first");
    demon_message m;
    m.code = msg_destroy;
    set_demon_god(a);
    send_demon_message(a, nullptr, m);
    EXPECT_EQ(take_notes(), "ax firstxa a1x clientxa1 hiddenx");
    EXPECT_EQ(inq_demon_god(), nullptr);
    EXPECT_EQ(num_objects_set(noting_set), 2);
    EXPECT_EQ(chain(root->kids), (std::vector{b}));
    EXPECT_EQ(num_objects_set(clients), 0);
    named("c", root, area);
    send(root->kids, msg_destroy, demon_on);
    EXPECT_EQ(take_notes(), "cx bx");
    demon *kept = named("kept", root, area);
    kept->refs = 2; // a reference of somebody's
    testing::internal::CaptureStdout();
    demon_destroy_message(kept);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("ref count is 1"), std::string::npos);
    EXPECT_EQ(root->kids, nullptr);
    add_demon(kept, root);
    EXPECT_EQ(root->kids, nullptr);
}

TEST_F(demons, null_messages_are_harmless) {
    named("a", root, area);
    for (unsigned code = 0; code < 60; ++code)
        if (code != msg_destroy && code != msg_get_name)
            send_message(root, code);
    EXPECT_EQ(root->list, demon_list::pop) << "pushed";
    send_message(root, msg_destroy);
    EXPECT_EQ(num_objects_set(noting_set), 0);
}

// ---- what handlers do to the tree that they are called from

TEST_F(demons, who_comes_late_is_not_met) {
    for (const char *name : {"c", "b", "a"})
        named(name, root, area)->draw = [](display_object *self) {
            note_draw(self);
            auto *d = static_cast<demon *>(self);
            append_demon(d, d->next); // goes to the end, where it has not been met
        };
    send(root->kids, msg_draw, demon_on);
    EXPECT_EQ(take_notes(), "a* b* c*");
    do_demon_tree(root->kids, [](demon *d) {
        note(d, "");
        append_demon(d, d->next);
    });
    EXPECT_EQ(take_notes().size(), 5U);
}

TEST_F(demons, a_broadcast_survives_the_loss_of_those_it_meets) {
    struct {
        draw_routine routine;
        const char *seen;
    } const cases[] = {
        {[](display_object *self) { demon_destroy_message(static_cast<demon *>(self)); }, "b* c*"},
        {[](display_object *self) { demon_destroy_message(static_cast<demon *>(self)->next); },
         "c*"},
        {[](display_object *self) {
             demon_destroy_message(static_cast<demon *>(self)->parent.get());
         },
         ""},
        {[](display_object *self) { delete_object(static_cast<demon *>(self)->parent.get()); }, ""},
        {[](display_object *self) { delete_set(self->set); }, ""},
    };
    for (const auto &c : cases) {
        object_set *set = create_set_of<demon>(4, 0, noting_set->class_);
        demon *top = make(window, area, set);
        for (const char *name : {"c", "b", "a", "k"}) {
            demon *d = make(name[0] == 'k' ? top->kids : top, area, set);
            names[d] = name;
            d->draw = name[0] == 'a' ? c.routine : note_draw;
            d->erase = nullptr;
        }
        demon_draw_message(top);
        std::string drawn = take_notes();
        std::erase_if(drawn, [](char ch) { return ch == 'x' || ch == ' '; });
        std::string expected = c.seen;
        std::erase(expected, ' ');
        EXPECT_NE(drawn.find(expected), std::string::npos) << drawn << " for " << c.seen;
        delete_set(set);
        take_notes();
    }
}

} // namespace toolkit
