#include "toolkit/objects/interest.h"

#include "tests/toolkit/objects/objects_fixture.h"
#include "toolkit/objects/callbacks.h"
#include "toolkit/objects/dynamic_arrays.h"

#include <algorithm>
#include <array>
#include <random>

namespace toolkit {
namespace {

class interest_test : public objects_fixture {
protected:
    // A list of connections to new puppets 1 .. count.
    void connect(int count) {
        for (int i = 1; i <= count; i++) {
            puppets.push_back(make(i));
            add_ic(&list, word{10} * i, puppets.back(), msg_poke, -i);
        }
    }
    std::string told() {
        poked.clear();
        changes(list);
        return poked;
    }
    ic *list = nullptr;
    std::vector<puppet *> puppets;
};

TEST_F(interest_test, lists_are_called_in_order_with_their_arguments) {
    connect(3);
    when_poked = [](puppet *self, word first, word second) {
        EXPECT_EQ(first, word{10} * self->id);
        EXPECT_EQ(second, -self->id);
    };
    changes(list);
    telegraph(list, puppets[1]);
    EXPECT_EQ(poked, "1 2 3 1 3 ");
    add_ic(nullptr, 0, puppets[0], msg_poke, 0);
    add_ic(&list, 10, puppets[0], msg_poke, -1);
    add_ic(&list, 0, nullptr, msg_poke, 0);
    add_ic(&list, 0, puppets[0], 5000, 0); // no such slot
    EXPECT_EQ(told(), "1 2 3 1 ");
    remove_ics_to(&list, puppets[0]);
    EXPECT_EQ(told(), "2 3 ");
    destroy_iclist(&list);
    EXPECT_EQ(list, nullptr);
    destroy_iclist(&list);
    destroy_iclist(nullptr);

    poked.clear();
    add_ic(&list, 10, puppets[0], msg_poke, -1);
    telegraph(list, puppets[0]);
    EXPECT_EQ(poked, "") << "the sender is the only target";
}

TEST_F(interest_test, copies_hold_the_last_connection_only) {
    connect(3);
    ic *original = list;
    ic *copy = list; // as in a copied record
    copy_iclist(&copy, list);
    EXPECT_EQ(copy->next, nullptr);
    EXPECT_EQ(told(), "1 2 3 ");
    list = copy;
    EXPECT_EQ(told(), "3 ");
    copy_iclist(&copy, nullptr);
    EXPECT_EQ(copy, list) << "an empty source copies nothing";
    destroy_iclist(&original);
    EXPECT_EQ(told(), "3 ");
    destroy_iclist(&copy); // list holds the same
    EXPECT_EQ(told(), "");
    add_ic(&list, 10, puppets[0], msg_poke, -1); // a stale holder is an empty one
    EXPECT_EQ(told(), "1 ");
}

TEST_F(interest_test, targets_that_are_gone_are_not_called) {
    connect(3);
    object_destroy_message(puppets[1]);
    EXPECT_EQ(told(), "1 3 ");
    EXPECT_EQ(make(9), puppets[1]) << "the record is in use again";
    EXPECT_EQ(told(), "1 3 ");
    delete_set(set);
    EXPECT_EQ(told(), "");
    destroy_iclist(&list);
}

// What a method may do to the list that it is called through. Each: who does it, what, and who is
// called in all.
TEST_F(interest_test, lists_change_while_they_are_walked) {
    struct {
        const char *what;
        int by;
        std::function<void()> action;
        const char *called;
    } const rows[] = {
        {"own connection", 2, [&] { remove_ics_to(&list, puppets[1]); }, "1 2 3 4 "},
        {"own and next", 2,
         [&] {
             remove_ics_to(&list, puppets[2]);
             remove_ics_to(&list, puppets[1]);
         },
         "1 2 4 "},
        {"next, then own", 2,
         [&] {
             remove_ics_to(&list, puppets[1]);
             remove_ics_to(&list, puppets[2]);
         },
         "1 2 4 "},
        {"one before", 3, [&] { remove_ics_to(&list, puppets[0]); }, "1 2 3 4 "},
        {"the last, by itself", 4, [&] { remove_ics_to(&list, puppets[3]); }, "1 2 3 4 "},
        {"all", 2, [&] { destroy_iclist(&list); }, "1 2 "},
        {"all, then new ones", 1,
         [&] {
             destroy_iclist(&list);
             add_ic(&list, 0, puppets[0], msg_poke, 0);
         },
         "1 "},
        {"added at the end", 4, [&] { add_ic(&list, 0, puppets[0], msg_poke, 0); }, "1 2 3 4 1 "},
        {"the next target", 1, [&] { object_destroy_message(puppets[1]); }, "1 3 4 "},
        {"itself", 1, [&] { object_destroy_message(puppets[0]); }, "1 2 3 4 "},
        {"the set of all", 2, [&] { delete_set(set); }, "1 2 "},
        {"a walk inside", 1, [&] { telegraph(list, puppets[0]); }, "1 2 3 4 2 3 4 "},
        {"a walk inside that releases", 1,
         [&] {
             when_poked = [&](puppet *, word, word) { destroy_iclist(&list); };
             telegraph(list, puppets[0]);
         },
         "1 2 "},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        bool done = false;
        connect(4);
        when_poked = [&](puppet *self, word, word) {
            if (self->id == row.by && !done) {
                done = true;
                terminate_objects(); // not from here
                row.action();
            }
        };
        EXPECT_EQ(told(), row.called);
        TearDown();
        SetUp();
        list = nullptr;
        puppets.clear();
    }
}

TEST_F(interest_test, random_runs_agree_with_a_plain_list) {
    for (unsigned seed = 1; seed <= 40; seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        const std::array targets = {make(0), make(1), make(2), make(3), make(4)};
        std::vector<puppet *> model; // the targets of the list in order
        int depth = 0;
        when_poked = [&](puppet *, word, word) {
            puppet *other = targets[random() % targets.size()];
            if (random() % 3 == 0) {
                remove_ics_to(&list, other);
                std::erase(model, other);
            } else if (random() % 4 == 0 && model.size() < 12) {
                add_ic(&list, 0, other, msg_poke, 0);
                model.push_back(other);
            } else if (random() % 8 == 0 && depth < 2) {
                depth++;
                telegraph(list, other);
                depth--;
            }
        };
        for (int i = 0; i < 100; i++) {
            if (model.size() < 12) {
                model.push_back(targets[random() % targets.size()]);
                add_ic(&list, 0, model.back(), msg_poke, 0);
            }
            changes(list);
            std::vector<puppet *> held;
            for (const ic *c = list; c != nullptr; c = c->next)
                held.push_back(static_cast<puppet *>(c->target));
            ASSERT_EQ(held, model);
        }
        destroy_iclist(&list);
        when_poked = nullptr;
    }
}

// ---- Callbacks ---------------------------------------------------------------------------------

std::string called;
std::function<void(callback *)> in_call;

word answer(word argument, callback *self) {
    called += "call " + std::to_string(argument) + " ";
    if (in_call)
        in_call(self);
    return argument * 2;
}

class callbacks_test : public interest_test {
protected:
    void SetUp() override {
        interest_test::SetUp();
        called.clear();
        in_call = nullptr;
    }
};

TEST_F(callbacks_test, arguments_and_results) {
    callback *c = create_callback(nullptr, answer, 4);
    EXPECT_EQ(c->set, Callback_Set);
    EXPECT_EQ(callback_invoke_message(c), 8);
    EXPECT_EQ(callback_invoke_message(c, 5), 10);
    callback_set_arg_message(c, 6);
    EXPECT_EQ(callback_invoke_message(c), 12);
    EXPECT_EQ(callback_invoke_message(create_callback(nullptr, nullptr, 1)), 0);
    EXPECT_EQ(create_callback(set, answer, 0), nullptr) << "a set of smaller records";
    object_destroy_message(c);
    EXPECT_EQ(callback_invoke(c, 0, 1), 0) << "deleted";
    callback_destroy(c);
    EXPECT_EQ(printed([] { callback_destroy(nullptr); }),
              "delete_object: attempting to delete NULL object, fool!\n");
    EXPECT_EQ(called, "call 4 call 5 call 6 ");
}

TEST_F(callbacks_test, graphics_are_bracketed) {
    callback *c = create_callback(nullptr, answer, 4);
    c->flags |= flag_save_graphics;
    EXPECT_EQ(callback_invoke_message(c), 0) << "nothing is installed";
    set_callback_graphics(
        [](word argument, callback *) { called += "put " + std::to_string(argument) + " "; },
        []() -> word {
            called += "get ";
            return 77;
        });
    called.clear();
    EXPECT_EQ(callback_invoke_message(c), 77);
    in_call = [](callback *self) { object_destroy_message(self); };
    EXPECT_EQ(callback_invoke_message(c), 77) << "what was begun is ended";
    EXPECT_EQ(called, "put 4 call 4 get put 4 call 4 get ");

    c = create_callback(nullptr, answer, 4);
    called.clear();
    in_call = [](callback *self) { self->flags ^= flag_save_graphics; };
    EXPECT_EQ(callback_invoke_message(c), 77);
    EXPECT_EQ(callback_invoke_message(c), 8);
    EXPECT_EQ(called, "call 4 get put 4 call 4 ");
}

TEST_F(callbacks_test, last_dereference_deletes) {
    puppet *first = make(1);
    puppet *second = make(2);
    callback *free_one = create_callback(nullptr, answer, 0);
    callback *c = create_callback(nullptr, answer, 0);
    for (int i = 0; i < 25; i++)
        reference_callback(c, i % 5 == 2 ? second : first); // in runs, at both ends
    EXPECT_EQ(inq_dynamic_array_capacity(c->referrers), 40);
    dereference_object_callbacks(first);
    EXPECT_EQ(c->referrer_count, 5);
    EXPECT_EQ(read_dynamic_array(c->referrers, 4), to_word(second));
    EXPECT_EQ(read_dynamic_array(c->referrers, 5), 0);
    const word *array = c->referrers;
    dereference_object_callbacks(second);
    EXPECT_FALSE(is_live(c));
    EXPECT_EQ(inq_dynamic_array_capacity(array), 0) << "the array went too";
    EXPECT_TRUE(is_live(free_one)) << "never had a referrer";

    c = create_callback(nullptr, answer, 0);
    reference_callback(c, first);
    c->referrer_count = 0;
    dereference_object_callbacks(second);
    EXPECT_FALSE(is_live(c)) << "an empty array, whoever is dereferenced";
    reference_callback(c, first); // deleted: ignored
    EXPECT_EQ(c->referrers, nullptr);
}

TEST_F(callbacks_test, functions_delete_what_they_are_called_through) {
    puppet *user = make(1);
    const std::function<void(callback *)> ways[] = {
        [](callback *self) { object_destroy_message(self); },
        [&](callback *) { dereference_object_callbacks(user); },
        [](callback *) { delete_set(Callback_Set); },
        [](callback *) { delete_class(Callback_Class); },
    };
    for (const auto &way : ways) {
        callback *c = create_callback(nullptr, answer, 4);
        reference_callback(c, user);
        add_ic(&list, 0, c, msg_callback_invoke, 7);
        add_ic(&list, 0, c, msg_callback_invoke, 8);
        const object_ref ref = refer_to(c);
        in_call = way;
        called.clear();
        changes(list);
        EXPECT_EQ(called, "call 7 ");
        EXPECT_EQ(referred(ref), nullptr);
        destroy_iclist(&list);
    }
    EXPECT_EQ(Callback_Set, nullptr);
    dereference_object_callbacks(user); // no set
    in_call = [](callback *) { terminate_objects(); };
    EXPECT_EQ(callback_invoke_message(create_callback(nullptr, answer, 4)), 8);
    EXPECT_EQ(inq_first_class(), nullptr);
}

} // namespace
} // namespace toolkit
