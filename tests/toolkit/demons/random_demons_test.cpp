// Random trees under random messages, with handlers that do to the tree whatever can be done to it,
// from within. After each message the tree must be a tree. DEMON_MESSAGES=N makes it longer.
#include "tests/toolkit/demons/demon_fixture.h"
#include "toolkit/demons/demon_cursors.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/demons/demon_pop.h"

#include <array>
#include <cstdio>
#include <random>

#if defined(__SANITIZE_ADDRESS__)
#define KNOWS_DEATH 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KNOWS_DEATH 1
#endif
#endif
#ifdef KNOWS_DEATH
#include <sanitizer/common_interface_defs.h>
#endif

namespace toolkit {

namespace {

constexpr std::array<unsigned, 8> seeds = {1, 2, 3, 5, 8, 13, 21, 34};
constexpr long messages_in_total = 1'000'000;
constexpr int most_demons = 30;
constexpr int fewest_demons = 14;
constexpr int most_actions = 12; // of handlers, per message
constexpr int deepest_action = 4;

unsigned seed = 0;
long step = 0;
std::minstd_rand dice;
int actions_left = 0;
int action_depth = 0;
std::array<object_set *, 2> sets{};
object_set *client_set = nullptr;
demon_ref root;

[[maybe_unused]] void say_where() {
    std::fprintf(stderr, "random demons: seed %u, step %ld\n", seed, step);
}

int roll(int sides) {
    return static_cast<int>(dice() >> 8) % sides;
}

demon *any_demon() {
    const int in_first = num_objects_set(sets[0]);
    const int all = in_first + num_objects_set(sets[1]);
    if (all == 0)
        return nullptr;
    int place = roll(all);
    object *o = place < in_first ? sets[0]->first : sets[1]->first;
    for (place -= place < in_first ? 0 : in_first; place > 0; --place)
        o = o->next;
    return static_cast<demon *>(o);
}

// The demon itself (may be dead), a relative of it, or any.
demon *near_demon(const demon_ref &self) {
    demon *d = self.get();
    if (d == nullptr)
        return any_demon();
    demon *parent = d->parent.get();
    switch (roll(8)) {
    case 0:
        return d;
    case 1:
        return parent;
    case 2:
        return d->next;
    case 3:
        return parent != nullptr ? parent->kids : nullptr;
    case 4:
        return parent != nullptr ? parent->parent.get() : nullptr;
    case 5:
        return d->box_in_child;
    case 6:
        return d->kids != nullptr ? d->kids : d->pop_list;
    default:
        return any_demon();
    }
}

screen_point any_point() {
    return {static_cast<std::int16_t>(90 + roll(80)), static_cast<std::int16_t>(190 + roll(80))};
}

void act(demon *self);

void wild_routine(display_object *self) {
    act(static_cast<demon *>(self));
}
void wild_cursor(display_object *self, screen_point) {
    act(static_cast<demon *>(self));
}
word wild_client(object *, word, word) {
    act(nullptr);
    return 0;
}
word wild_client_destroy(object *self, word, word) {
    const object_ref me = refer_to(self);
    act(nullptr);
    if (referred(me) != nullptr)
        delete_object(self);
    return 0;
}

demon *make_wild_demon() {
    if (num_objects_set(sets[0]) + num_objects_set(sets[1]) >= most_demons)
        return nullptr;
    object *client = nullptr;
    if (roll(4) == 0 && num_objects_set(client_set) < most_demons)
        client = create_object(client_set);
    auto *d = create_demon_of<demon>(sets[static_cast<std::size_t>(roll(2))], 5 + roll(40),
                                     5 + roll(40), client);
    const screen_point at = any_point();
    d->box.x = at.x;
    d->box.y = at.y;
    d->draw = roll(3) != 0 ? wild_routine : nullptr;
    d->erase = roll(3) == 0 ? wild_routine : nullptr;
    d->hilite = d->dehilite = roll(2) == 0 ? wild_routine : nullptr;
    if (roll(3) == 0)
        d->cursor_draw = d->cursor_erase = wild_cursor;
    d->push_on_leave = roll(6) == 0 ? demon_on : 0;
    d->blink = roll(3) == 0 ? demon_on : 0;
    d->blink_period = 1;
    return d;
}

void send_any(demon *to, demon *sender) {
    static constexpr auto codes = std::to_array<std::uint32_t>({msg_init,
                                                                msg_draw,
                                                                msg_draw,
                                                                msg_erase,
                                                                msg_hilite,
                                                                msg_dehilite,
                                                                msg_set_visibility,
                                                                msg_get_visibility,
                                                                msg_pick,
                                                                msg_none,
                                                                msg_none,
                                                                msg_left_down,
                                                                msg_key,
                                                                msg_box_in,
                                                                msg_box_out,
                                                                msg_pointer_moved,
                                                                msg_pointer_moved,
                                                                msg_pointer_moved,
                                                                msg_pointer_moved,
                                                                msg_pop,
                                                                msg_pop,
                                                                msg_push,
                                                                msg_add,
                                                                msg_delete,
                                                                msg_set_enable_input,
                                                                msg_left_double,
                                                                msg_get_keyboard_client,
                                                                msg_move,
                                                                msg_destroy});
    const std::uint32_t code = codes[static_cast<std::size_t>(roll(int{codes.size()}))];
    if (code == msg_destroy && roll(4) != 0)
        return;
    if (code == msg_move) {
        demon_move_message(to, roll(21) - 10, roll(21) - 10);
        return;
    }
    demon_message m;
    m.code = code;
    m.point = any_point();
    m.propagate = roll(2) == 0 ? demon_on : 0;
    m.value = roll(3) == 0 ? 0 : demon_on;
    send_demon_message(to, roll(3) == 0 ? to : sender, m);
}

void delete_a_set() {
    object_set *&set = sets[static_cast<std::size_t>(roll(2))];
    object_class *cls = set->class_;
    if (set->dying)
        return;
    object_set *old = std::exchange(set, create_set_of<demon>(8, 0, cls));
    delete_set(old);
}

void change_tree(demon *d, demon *other) {
    switch (roll(12)) {
    case 0:
        return add_demon(d, other);
    case 1:
        return add_pop_demon(d, other);
    case 2:
        return append_demon(d, other);
    case 3:
        return delete_demon(d);
    case 4:
        return delete_pop_demon(d);
    case 5:
        return relink_demon(d);
    case 6:
        return lock_me(d);
    case 7:
        return unlock_me(d);
    case 8:
        return set_demon(d, other, roll(9), roll(9));
    case 9:
        return add_demon(make_wild_demon(), d);
    case 10:
        return add_pop_demon(make_wild_demon(), d);
    default:
        return append_demon(make_wild_demon(), d);
    }
}

// What a handler does: anything, to any demon.
void act(demon *self) {
    if (actions_left <= 0 || action_depth >= deepest_action || roll(4) != 0)
        return;
    --actions_left;
    ++action_depth;
    const demon_ref me = self != nullptr ? refer_to_demon(self) : demon_ref{};
    demon *d = near_demon(me);
    demon *other = near_demon(me);
    const int what = roll(1000);
    if (what == 0)
        delete_a_set();
    else if (what < 40 && d != nullptr)
        delete_object(d);
    else if (what < 100)
        demon_destroy_message(d);
    else if (what < 200)
        demon_pop_message(d);
    else if (what < 300)
        demon_push_message(d);
    else if (what < 700)
        change_tree(d, other);
    else if (what < 720)
        do_demon_tree(d, act);
    else if (what < 740 && d != nullptr && other != nullptr)
        overlap_demons(d, other, roll(2) == 0);
    else
        send_any(d, other);
    --action_depth;
}

template <auto method_itself> void wild(demon *self, object *sender, demon_message *m) {
    const demon_ref me = refer_to_demon(self);
    act(self);
    if (me.get() == nullptr)
        return;
    method_itself(self, sender, m);
    if (me.get() != nullptr)
        act(self);
}

void wild_add(demon *self, object *sender, demon_message *m) {
    const demon_ref me = refer_to_demon(self);
    const object_ref parent = refer_to(sender);
    act(self);
    if (me.get() != nullptr)
        demon_add(self, referred(parent), m);
}

object_class *make_wild_class() {
    object_class *cls = derive_object_class(inq_demon_class(), "wild demon class");
    set_method<wild<demon_draw>>(cls, msg_draw);
    set_method<wild<demon_pick>>(cls, msg_pick);
    set_method<wild<demon_hilite>>(cls, msg_hilite);
    set_method<wild<demon_set_visibility>>(cls, msg_set_visibility);
    set_method<wild<demon_set_enable_input>>(cls, msg_set_enable_input);
    set_method<wild<demon_none>>(cls, msg_none);
    set_method<wild<demon_generic>>(cls, msg_left_down);
    set_method<wild<demon_box_in>>(cls, msg_box_in);
    set_method<wild<demon_box_out>>(cls, msg_box_out);
    set_method<wild<demon_loc_move>>(cls, msg_pointer_moved);
    set_method<wild<demon_pop>>(cls, msg_pop);
    set_method<wild<demon_push>>(cls, msg_push);
    set_method<wild_add>(cls, msg_add);
    set_method<wild<demon_delete>>(cls, msg_delete);
    set_method<wild<demon_destroy>>(cls, msg_destroy);
    set_method<wild<demon_init>>(cls, msg_init);
    return cls;
}

// ---- the invariants

// Each demon's own first word says here in how many lists it is.
struct tree_check {
    const char *fault = nullptr;
    int demons = 0;

    void expect(bool good, const char *what) {
        if (!good && fault == nullptr)
            fault = what;
    }
    void count_set(const object_set *set) {
        int count = 0;
        for (object *o = set->first; o != nullptr && count <= set->count; o = o->next) {
            static_cast<demon *>(o)->first_word = 0;
            ++count;
        }
        expect(count == set->count, "a set does not count its demons");
        demons += count;
    }
    void check_list(const demon *parent, demon *first, demon_list list) {
        for (demon *d = first; d != nullptr && fault == nullptr; d = d->next) {
            if (!is_live(d))
                return expect(false, "a dead demon in a list");
            expect(++d->first_word == 1, "a demon in two lists, or twice in one");
            expect(d->parent.get() == parent, "a child of somebody else");
            expect(d->list == list, "a child that believes to be elsewhere");
        }
    }
    void check_demon(const demon *d) {
        check_list(d, d->kids, demon_list::kids);
        check_list(d, d->pop_list, demon_list::pop);
        const demon *in = d->kids;
        while (in != nullptr && in != d->box_in_child)
            in = in->next;
        expect(in == d->box_in_child, "a box-in child that is no kid");
        expect(d->popped == 0 || d->list != demon_list::pop, "popped and in the pop list");
        expect((d->flags & flag_in_pop) == 0, "a pop or push that has not ended");
        expect((d->flags & flag_in_destruction) == 0, "a destruction that has not ended");
        int height = 0;
        for (const demon *up = d; up != nullptr && fault == nullptr; up = up->parent.get())
            expect(++height <= demons, "a cycle");
    }
    void check_link(const demon *d) {
        expect((d->first_word == 1) == (d->list != demon_list::none), "a list that it is not in");
        expect(d->first_word == 1 || d->next == nullptr, "a sibling without a list");
    }
    template <typename procedure> void each(const object_set *set, procedure run) {
        for (object *o = set->first; o != nullptr && fault == nullptr; o = o->next)
            run(static_cast<const demon *>(o));
    }
};

const char *find_fault() {
    tree_check check;
    const std::array<object_set *, 3> all = {sets[0], sets[1], Demon_Set};
    for (const object_set *set : all)
        check.count_set(set);
    for (const object_set *set : all)
        check.each(set, [&](const demon *d) { check.check_demon(d); });
    for (const object_set *set : all)
        check.each(set, [&](const demon *d) { check.check_link(d); });
    return check.fault;
}

struct random_demons : demon_fixture, testing::WithParamInterface<unsigned> {
    random_demons() {
        object_class *cls = make_wild_class();
        for (object_set *&set : sets)
            set = create_set_of<demon>(8, 0, cls);
        object_class *client_class = derive_object_class(inq_object_class(), "wild client");
        for (const unsigned code :
             {msg_draw, msg_erase, msg_hilite, msg_dehilite, msg_set_visibility, msg_move})
            set_class_method(client_class, code, wild_client, "wild_client");
        set_class_method(client_class, msg_destroy, wild_client_destroy, "wild_client_destroy");
        client_set = create_set_of<object>(8, 0, client_class);
        window = refer_to_demon(open_demon_window({100, 200, 60, 60}));
        window_id = window.get()->window;
        seed = GetParam();
        dice.seed(seed);
#ifdef KNOWS_DEATH
        __sanitizer_set_death_callback(say_where);
#endif
    }
    ~random_demons() override {
        actions_left = 0;
    }

    static int count_demons() {
        return num_objects_set(sets[0]) + num_objects_set(sets[1]);
    }

    // Keeps the tree from dying out, and sends one message.
    void do_step() {
        actions_left = 0;
        if (window.get() == nullptr) {
            window = refer_to_demon(make(nullptr, {100, 200, 60, 60}));
            window.get()->window = window_id;
            demon_visibility_message(window.get(), true);
            demon_enable_input_message(window.get(), true);
        }
        while (count_demons() < fewest_demons)
            add_demon(make_wild_demon(), roll(3) == 0 ? window.get() : any_demon());
        if (root.get() == nullptr || root.get()->list != demon_list::kids || roll(100) == 0) {
            root = refer_to_demon(any_demon());
            add_demon(root.get(), window.get());
        }
        actions_left = most_actions;
        send_any(roll(3) == 0 ? any_demon() : root.get(), window.get());
    }
    demon_ref window;
    int window_id = 0;
};
INSTANTIATE_TEST_SUITE_P(seeds, random_demons, testing::ValuesIn(seeds));

} // namespace

TEST_P(random_demons, any_handler_may_do_anything) {
    const char *asked = std::getenv("DEMON_MESSAGES");
    const long messages =
        (asked != nullptr ? std::atol(asked) : messages_in_total) / static_cast<long>(seeds.size());
    long actions = 0;
    const char *fault = nullptr;
    testing::internal::CaptureStdout(); // objects that are deleted too often are reported there
    for (step = 0; step < messages; ++step) {
        do_step();
        actions += most_actions - actions_left;
        fault = find_fault();
        if (fault != nullptr)
            break;
    }
    testing::internal::GetCapturedStdout();
    ASSERT_EQ(fault, nullptr) << fault << ": seed " << seed << ", step " << step;
    EXPECT_GT(actions, messages / 4) << "the handlers hardly did anything";
}

} // namespace toolkit
