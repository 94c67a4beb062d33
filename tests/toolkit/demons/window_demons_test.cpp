#include "toolkit/demons/window_demons.h"

#include "platform/clock/program_clock.h"
#include "platform/display/display_memory.h"
#include "platform/gl/queue.h"
#include "platform/gl/screen.h"
#include "platform/gl/windows.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/events/input_types.h"
#include "toolkit/graphics/run_modes.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/graphics/window_table.h"
#include "toolkit/system.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <functional>
#include <set>
#include <string>
#include <utility>

namespace toolkit {

namespace {

enum class kind { plain, popped, pushed };
constexpr std::array kinds = {kind::plain, kind::popped, kind::pushed};

// What happened, in order; and what handlers do besides noting it.
std::string noted;
std::function<void()> also;

void act() {
    if (also)
        std::exchange(also, nullptr)();
}

template <char letter, demon_handler method>
void note(demon *self, object *sender, demon_message *m) {
    noted += letter;
    const demon_ref kept = refer_to_demon(self);
    act();
    if (kept.get() != nullptr)
        method(self, sender, m);
}

word note_end(word argument, callback *) {
    noted += static_cast<char>(argument);
    act();
    return 0;
}

void send(demon *to, std::uint32_t code, screen_point at = {}, std::int16_t key = 0) {
    demon_message m;
    m.code = code;
    m.point = at;
    m.key = key;
    send_demon_message(to, nullptr, m);
}

void point_at(int x, int y) {
    send(inq_demon_god(), msg_pointer_moved,
         {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y)});
}

std::size_t windows_open() {
    return display::memory::windows().size();
}

} // namespace

struct window_demons : testing::Test {
    static constexpr int screen_height = 1024;

    window_demons() {
        setenv("PLAYER_DISPLAY", "memory", 1);
        gl::gexit();
        program_clock::use_manual_clock(0);
        noted.clear();
        also = nullptr;
        system_init();
    }
    ~window_demons() override {
        also = nullptr;
        setTarnBatchMode(0);
        system_terminate();
        program_clock::use_system_clock();
    }
    window_demons(const window_demons &) = delete;
    window_demons &operator=(const window_demons &) = delete;

    // A window of 200 x 100 pixels whose end is noted by a letter; with a kid, which has one too.
    iris_window_demon *make(kind which, int x = 100, int y = 200, char letter = '!') {
        const auto create = which == kind::plain    ? create_iris_window_demon
                            : which == kind::popped ? create_iris_window_demon_popped
                                                    : create_iris_window_demon_pushed;
        iris_window_demon *made = create(nullptr, x, y, 200, 100, "test", note_end, letter);
        kid = create_generic_demon(nullptr, 60, 40, nullptr);
        set_demon(kid, made, 10, 10);
        add_demon(kid, made);
        grandkid = create_generic_demon(nullptr, 10, 10, nullptr);
        set_demon(grandkid, kid, 5, 5);
        add_demon(grandkid, kid);
        hidden = create_generic_demon(nullptr, 10, 10, nullptr);
        set_demon(hidden, made, 50, 50);
        add_pop_demon(hidden, made);
        return made;
    }
    iris_window_demon *make_shown(kind which, int x = 100, int y = 200, char letter = '!') {
        iris_window_demon *made = make(which, x, y, letter);
        demon_pop_message(made);
        gl::qreset();
        return made;
    }
    static display::window_id on_display(const demon *d) {
        for (const display::window_id id : display::memory::windows()) {
            const auto area = display::memory::facts(id).area;
            if (area.x == d->box.x && area.y == screen_height - d->box.y - d->box.height)
                return id;
        }
        return 0;
    }
    static void happen(display::event_kind what, display::window_id where,
                       display::rectangle area = {}) {
        display::event e;
        e.kind = what;
        e.window = where;
        e.area = area;
        display::memory::push(e);
        EXPECT_EQ(dispatch_check_event(-1), 0);
    }
    // All that must hold of a live window demon, whatever was done to it.
    static void check(iris_window_demon *d) {
        const bool is_up = d->list == demon_list::kids;
        EXPECT_EQ(d->popped, is_up ? demon_on : 0);
        EXPECT_EQ(d->parent.get(), inq_demon_god());
        EXPECT_NE(d->list, demon_list::none);
        EXPECT_EQ((d->flags & flag_visible) != 0, is_up);
        if (is_up)
            EXPECT_EQ(gl_get_wid_demon(d->window), d);
        else
            EXPECT_EQ(d->window, no_window);
        do_demon_tree(d->kids, [](demon *k) { EXPECT_EQ(k->window, k->parent.get()->window); });
        do_demon_tree(d->pop_list, [](demon *k) {
            EXPECT_TRUE(k->window == no_window || k->window == k->parent.get()->window);
        });
    }

    generic_demon *kid = nullptr, *grandkid = nullptr, *hidden = nullptr;
};

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
    for (const action what :
         {demon_destroy_message, demon_push_message, demon_pop_message,
          +[](demon *d) { iris_demon_new_window(d); }, +[](demon *d) { gl_win_close(d->window); },
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
    EXPECT_EQ(after([] { point_at(125, 226), point_at(125, 225); }), "Bak");
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

// --- the keyboard

// A text field, as far as the keyboard is concerned: notes 'g' for got and 'l' for lost, and keys.
struct keyboard_windows : window_demons {
    keyboard_windows() {
        object_class *cls = derive_object_class(inq_generic_demon_class(), "field");
        set_method<told>(cls, msg_set_keyboard_client);
        fields = create_set_of<generic_demon>(4, 4, cls);
        window = make_shown(kind::popped);
        a = make_field('a');
        b = make_field('b');
    }
    generic_demon *make_field(char name) {
        auto *made = create_demon_of<generic_demon>(fields, 20, 20, nullptr);
        made->first_word = name;
        made->on.keystroke = [](demon *self, object *, demon_message *m) {
            noted += {static_cast<char>(self->first_word), static_cast<char>(m->key)};
            act();
        };
        set_demon(made, window, 150, name == 'a' ? 10 : 50);
        add_demon(made, window);
        return made;
    }
    static void told(demon *self, object *sender, demon *client) {
        EXPECT_TRUE(is_iris_window_demon(sender));
        EXPECT_TRUE(client == nullptr || client == self);
        noted += {static_cast<char>(self->first_word), client == nullptr ? 'l' : 'g'};
        act();
    }
    static std::string typed() {
        noted.clear();
        send(inq_demon_god(), msg_key, {}, 'x');
        return noted;
    }
    static void give(demon *from, demon *to) {
        send_message(from->parent.get(), msg_set_keyboard_client, to_word(from), to_word(to));
    }
    object_set *fields = nullptr;
    iris_window_demon *window = nullptr;
    generic_demon *a = nullptr, *b = nullptr;
};

TEST_F(keyboard_windows, keys_go_to_who_holds_the_keyboard) {
    point_at(251, 251); // in b
    EXPECT_EQ(typed(), "bx");
    noted.clear();
    give(a, a);
    EXPECT_EQ(noted, "") << "the sender knows";
    EXPECT_EQ(typed(), "ax");
    EXPECT_EQ(demon_get_keyboard_client_message(kid), a);
    noted.clear();
    give(b, b);
    EXPECT_EQ(noted, "al");
    demon_keyboard_client_message(kid, a); // on another's behalf, by a demon that is no field
    EXPECT_EQ(noted, "alblag");
    noted.clear();
    give(a, nullptr);
    EXPECT_EQ(noted, "");
    EXPECT_EQ(typed(), "bx");
    demon_keyboard_client_message(kid, a);
    demon_destroy_message(a);
    EXPECT_EQ(demon_get_keyboard_client_message(b), nullptr);
    EXPECT_EQ(typed(), "bx") << "nobody holds it";
    window->on.keystroke = note<'w', demon_generic>;
    give(b, b);
    EXPECT_EQ(typed(), "wbx") << "the window's own handler";
    demon_enable_input_message(window, false);
    EXPECT_EQ(typed(), "");
}

// Plain demons send up what they are told, and windows and ancestors would send keys down again.
TEST_F(keyboard_windows, clients_that_answer_nothing_make_no_circles) {
    point_at(251, 251);
    for (demon *client : {static_cast<demon *>(kid), static_cast<demon *>(grandkid),
                          static_cast<demon *>(window), inq_demon_god()}) {
        demon_keyboard_client_message(window, client);
        EXPECT_EQ(demon_get_keyboard_client_message(kid), client);
        EXPECT_EQ(typed(), client == kid || client == grandkid ? "" : "bx");
    }
    iris_window_demon *other = make_shown(kind::plain, 500, 500);
    demon_keyboard_client_message(window, other);
    demon_keyboard_client_message(other, window);
    EXPECT_EQ(typed(), "bx");
}

TEST_F(keyboard_windows, who_is_told_may_do_anything) {
    struct {
        std::function<void()> what;
        demon *holder;
        const char *order;
    } const cases[] = {
        {[&] { give(kid, b); }, b, "albg"},
        {[&] { give(kid, nullptr); }, nullptr, "al"},
        {[&] { demon_keyboard_client_message(window, kid); }, kid, "al"},
        {[&] { demon_destroy_message(b); }, nullptr, "al"},
    };
    for (const auto &c : cases) {
        give(a, a);
        noted.clear();
        also = c.what; // as soon as a is told that it has lost the keyboard
        demon_keyboard_client_message(kid, b);
        EXPECT_EQ(noted, c.order);
        EXPECT_EQ(demon_get_keyboard_client_message(kid), c.holder);
        demon_keyboard_client_message(window, nullptr);
    }
    give(a, a);
    also = [&] {
        window->on.destroy = iris_demon_destroy;
        demon_destroy_message(window);
    };
    demon_keyboard_client_message(kid, kid);
    EXPECT_EQ(num_objects_set(fields), 0);
    EXPECT_EQ(windows_open(), 0U);
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

// --- generic demons

TEST_F(window_demons, handlers_stand_in_for_methods) {
    using on = demon_handlers;
    struct {
        std::uint32_t code;
        demon_handler on::*handler;
        bool is_input = false;
    } const messages[] = {{msg_box_in, &on::box_in},
                          {msg_box_out, &on::box_out},
                          {msg_left_down, &on::b1_down, true},
                          {msg_left_up, &on::b1_up, true},
                          {msg_left_double, &on::b1_double_click, true},
                          {msg_pointer_moved, &on::loc_move},
                          {msg_key, &on::keystroke, true},
                          {msg_draw, &on::draw},
                          {msg_pick, &on::pick},
                          {msg_pop, &on::pop},
                          {msg_push, &on::push},
                          {msg_destroy, &on::destroy}};
    const std::pair<std::uint32_t, value_handler on::*> values[] = {
        {msg_set_value, &on::set_value},
        {msg_get_value, &on::get_value},
        {msg_update_value, &on::update_value}};
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
    for (const auto &[code, handler] : values) {
        kid->on.*handler = [](demon *, object *, word value) { return value + 1; };
        EXPECT_EQ(send_message(kid, code, 0, 70), 71);
        kid->on = {};
        EXPECT_EQ(send_message(kid, code, 0, 70), 0);
    }
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
