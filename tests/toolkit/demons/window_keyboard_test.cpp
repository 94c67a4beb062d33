// The keyboard of a window, and who holds it.
#include "tests/toolkit/demons/window_demon_fixture.h"
#include "toolkit/demons/demon_pointer.h"

namespace toolkit {

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

// The desktop gives the keyboard to one window, wherever the pointer is.
TEST_F(keyboard_windows, keys_come_to_the_window_that_the_desktop_has_chosen) {
    iris_window_demon *other = make_shown(kind::popped, 500, 500);
    iris_window_demon *frameless =
        create_iris_window_demon_popped(nullptr, 800, 500, 200, 100, nullptr, nullptr, 0);
    other->on.keystroke = note<'o', demon_generic>;
    frameless->on.keystroke = note<'f', demon_generic>;
    const display::window_id here = on_display(window), there = on_display(other);
    using enum display::event_kind;
    const struct {
        const char *name;
        std::function<void()> what;
        const char *heard;
        demon *client;
    } steps[] = {
        {"nobody has said", [] {}, "ax", a},
        {"to the other one", [&] { happen(focus_in, there); }, "o", nullptr},
        {"and back", [&] { happen(focus_in, here); }, "ax", a},
        {"the pointer goes elsewhere", [] { point_at(550, 550); }, "ax", a},
        {"to another program", [&] { happen(focus_out, here); }, "o", nullptr},
        {"back", [&] { happen(focus_in, here); }, "ax", a},
        {"the pointer goes into a window without frame", [] { point_at(850, 550); }, "f", nullptr},
        {"and out", [] { point_at(550, 550); }, "ax", a},
        {"it takes no input", [&] { demon_enable_input_message(window, false); }, "", a},
        {"it is closed", [&] { demon_push_message(window); }, "o", nullptr},
    };
    point_at(251, 251); // in b
    give(a, a);
    for (const auto &step : steps) {
        step.what();
        EXPECT_EQ(typed(), step.heard) << step.name;
        EXPECT_EQ(inq_key_client(), step.client) << step.name;
    }
}

} // namespace toolkit
