#include "tests/toolkit/demons/demon_fixture.h"
#include "toolkit/demons/demon_cursors.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/demons/demon_pop.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"

#include <map>

namespace toolkit {

namespace {

constexpr screen_box area{100, 200, 200, 150};
constexpr screen_point nowhere{1000, 1000};

// What demons of the noting class and their routines have done, in order: "name verb name verb".
std::string notes;
std::map<const object *, std::string> names;

void note(const object *who, const char *what) {
    notes += (notes.empty() ? "" : " ") + names[who] + what;
}
std::string take_notes() {
    return std::exchange(notes, "");
}
void note_draw(display_object *self) {
    note(self, "*");
}
void note_cursor(display_object *self, screen_point) {
    note(self, "+");
}
void note_cursor_gone(display_object *self, screen_point) {
    note(self, "-");
}

template <auto method_itself, char verb>
void noting(demon *self, object *sender, demon_message *m) {
    note(self, std::string(1, verb).c_str());
    method_itself(self, sender, m);
}

struct demons : demon_fixture {
    demons() {
        notes.clear();
        names.clear();
        object_class *cls = derive_object_class(inq_demon_class(), "noting demon class");
        set_method<noting<demon_box_in, '<'>>(cls, msg_box_in);
        set_method<noting<demon_box_out, '>'>>(cls, msg_box_out);
        set_method<noting<demon_loc_move, '.'>>(cls, msg_pointer_moved);
        set_method<noting<demon_generic, '!'>>(cls, msg_left_down);
        set_method<noting<demon_none, '~'>>(cls, msg_none);
        set_method<noting<demon_destroy, 'x'>>(cls, msg_destroy);
        noting_set = create_set_of<demon>(8, 0, cls);
        object_class *client_class = derive_object_class(inq_object_class(), "client class");
        set_method<client_told<msg_draw>>(client_class, msg_draw);
        set_method<client_told<msg_erase>>(client_class, msg_erase);
        set_method<client_told<msg_hilite>>(client_class, msg_hilite);
        set_method<client_told<msg_dehilite>>(client_class, msg_dehilite);
        set_method<client_told<msg_set_visibility>>(client_class, msg_set_visibility);
        set_method<client_told<msg_set_enable_input>>(client_class, msg_set_enable_input);
        set_method<client_destroyed>(client_class, msg_destroy);
        set_method<client_moved>(client_class, msg_move);
        clients = create_set_of<object>(4, 0, client_class);
        window = open_demon_window(area);
        root = named("root", nullptr, area);
        add_demon(root, window);
    }

    demon *named(const char *name, demon *parent, const screen_box &box) const {
        demon *d = make(parent, box, noting_set);
        names[d] = name;
        d->draw = note_draw;
        d->erase = nullptr;
        return d;
    }
    void give_client(demon *d, const char *name) const {
        object *client = create_object(clients);
        names[client] = name;
        d->client = refer_to(client);
    }
    static void point_at(demon *d, screen_point at) {
        demon_message m;
        m.code = msg_pointer_moved;
        m.point = at;
        send_demon_message(d, nullptr, m);
    }
    static void send(demon *d, std::uint32_t code, std::uint16_t propagate = 0,
                     std::uint32_t value = 0) {
        demon_message m;
        m.code = code;
        m.propagate = propagate;
        m.value = value;
        send_demon_message(d, nullptr, m);
    }

    template <unsigned code> static void client_told(object *self, object *, int value) {
        note(self, ("[" + std::to_string(code) + ":" + std::to_string(value) + "]").c_str());
    }
    static void client_moved(object *self, object *, const box_move *by) {
        note(self, ("[" + std::to_string(by->dx) + "," + std::to_string(by->dy) + "]").c_str());
    }
    static void client_destroyed(object *self, object *owner) {
        note(self, ("x" + names[owner]).c_str());
        delete_object(self);
    }

    object_set *noting_set = nullptr;
    object_set *clients = nullptr;
    demon *window = nullptr;
    demon *root = nullptr;
};

} // namespace

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
        {"1024x768", 100, 100, 80, 75},
        {"1024x768", -100, -1, -80, 0},
        {"3840x2160", 1280, 1024, 1280, 1024},
        {"1024x1024", 1279, 1023, 1023, 1023},
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

namespace {

demon *keyboard_client = nullptr;
void answer_set(demon *, object *, demon *client) {
    keyboard_client = client;
}
demon *answer_get(demon *, object *, word) {
    return keyboard_client;
}

} // namespace

TEST_F(demons, keyboard_requests_go_up_to_who_answers) {
    demon *field = named("field", root, area);
    EXPECT_EQ(demon_get_keyboard_client_message(field), nullptr);
    demon_keyboard_client_message(field, field); // nobody answers
    object_class *cls = derive_object_class(inq_demon_class(), "answering demon class");
    set_method<answer_set>(cls, msg_set_keyboard_client);
    set_method<answer_get>(cls, msg_get_keyboard_client);
    demon *answering = make(nullptr, area, create_set_of<demon>(1, 1, cls));
    add_demon(root, answering);
    demon_keyboard_client_message(field, field);
    EXPECT_EQ(keyboard_client, field);
    EXPECT_EQ(demon_get_keyboard_client_message(field), field);
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
