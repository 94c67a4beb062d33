#include "tests/toolkit/objects/objects_fixture.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <random>

namespace toolkit {
namespace {

class objects_test : public objects_fixture {};

enum class colour : std::int16_t { red = -3 };
std::int16_t take_everything(puppet *self, colour c, bool flag) {
    return static_cast<std::int16_t>(self->id + static_cast<int>(c) + (flag ? 100 : 0));
}
puppet *answer_pointer(puppet *self) {
    return self;
}

TEST_F(objects_test, methods_take_and_give_real_types) {
    puppet *p = make(7);
    set_method<take_everything>(cls, 3);
    set_method<answer_pointer>(cls, 199);
    set_method<answer_pointer>(cls, 200); // beyond the slots: refused
    EXPECT_EQ(send_message(p, 3, to_word(colour::red), 1), 104);
    EXPECT_EQ(from_word<puppet *>(send_message(p, 199)), p);
    EXPECT_EQ(send_message(p, 200), 0);
    EXPECT_EQ(send_message(p, 4, 1, 2), 0) << "null_method";
    EXPECT_EQ(send_message(nullptr, 3), 0);
    EXPECT_EQ(cls->methods[3].name, "take_everything");
}

TEST_F(objects_test, classes_start_as_stated_and_derive_by_copy) {
    object_class *root = create_object_class();
    EXPECT_EQ(inq_first_class(), root);
    EXPECT_STREQ(root->name.data(), "object class ");
    EXPECT_EQ(root->parent, nullptr);
    for (unsigned slot = 0; slot < class_slot_count; slot++) {
        const bool set_at_start = slot == msg_destroy || slot == msg_edit || slot == msg_get_name;
        EXPECT_EQ(root->methods[slot].function == null_method, !set_at_start) << slot;
    }
    EXPECT_EQ(root->bindings[399].codes[1], -1);
    EXPECT_EQ(root->bindings[399].words[0], 0);

    root->bindings[5].codes[0] = 12;
    object_class *child = derive_object_class(root, "");
    EXPECT_EQ(child->bindings[5].codes[0], 12);
    object_class *grandchild = derive_object_class(child, "third");
    EXPECT_TRUE(is_class_derived(grandchild, root));
    EXPECT_FALSE(is_class_derived(root, child));
    delete_class(child);
    EXPECT_EQ(grandchild->parent, root);
    delete_class(child); // twice
    EXPECT_EQ(create_set(64, 1, 1, child), nullptr) << "a class that is gone";
    set_class_name(root,
                   std::string(38, 'x') + "\xc3\xa4"); // the last character does not fit whole
    EXPECT_EQ(root->name.data(), std::string(38, 'x'));
}

TEST_F(objects_test, first_object_makes_class_and_set) {
    free_all_classes();
    object *o = create_object(nullptr);
    ASSERT_NE(o, nullptr);
    EXPECT_EQ(o->class_, Object_Class);
    EXPECT_EQ(o->set, Object_Set);
    EXPECT_EQ(Object_Set->object_size, sizeof(object));
    EXPECT_EQ(o->refs, 1);
    EXPECT_EQ(get_number_object(o), 1);
    EXPECT_EQ(create_object_of<puppet>(Object_Set), nullptr) << "too small for the record";
    delete_class(Object_Class);
    EXPECT_EQ(Object_Class, nullptr);
    EXPECT_EQ(Object_Set, nullptr);
}

TEST_F(objects_test, delete_tells_what_is_wrong) {
    puppet *p = make(1);
    std::array<char, 32> address{};
    std::snprintf(address.data(), address.size(), "%" PRIxPTR, reinterpret_cast<std::uintptr_t>(p));

    EXPECT_EQ(printed([] { delete_object(nullptr); }),
              "delete_object: attempting to delete NULL object, fool!\n");
    p->refs = 0;
    EXPECT_EQ(printed([&] { delete_object(p); }),
              std::string("Warning:  delete_object -- object ") + address.data() +
                  " of class puppet class  is trying to be deleted too many times, not deleted\n");
    p->refs = 3;
    EXPECT_EQ(printed([&] { delete_object(p); }),
              std::string("Warning: delete_object cannot delete object ") + address.data() +
                  " of class puppet class  because its ref count is 2\n");
    EXPECT_TRUE(is_live(p));
    EXPECT_EQ(printed([&] { delete_object(p); }), "") << "one delete takes effect, ever";
    EXPECT_EQ(num_objects_set(set), 1);

    puppet *q = make(2);
    EXPECT_EQ(printed([&] {
                  delete_object(q);
                  delete_object(q); // in the free list
              }),
              "");
    EXPECT_EQ(ids(set), "1 ");
    EXPECT_EQ(get_number_object(q), 0);
    EXPECT_EQ(make_first_object(q), nullptr);
    EXPECT_EQ(ids(set), "1 ");
}

TEST_F(objects_test, records_are_handed_out_again_zeroed) {
    puppet *p = make(77);
    const object_ref old = refer_to(p);
    object_destroy_message(p);
    EXPECT_EQ(p->id, 77) << "readable until it is handed out again";
    EXPECT_EQ(create_object(set), p);
    EXPECT_EQ(p->id, 0);
    EXPECT_EQ(p->flags, 0);
    EXPECT_EQ(referred(old), nullptr) << "another object in the same record";
    EXPECT_EQ(referred(refer_to(p)), p);
}

TEST_F(objects_test, blocks_that_can_not_be_had_are_reported) {
    EXPECT_EQ(printed([&] {
                  EXPECT_EQ(create_block(set, std::numeric_limits<std::int32_t>::max()), nullptr);
              }),
              "create_block: couldn't allocate \n");
    object_set *huge = create_set(std::numeric_limits<std::size_t>::max(), 1, 0, cls);
    EXPECT_EQ(printed([&] { EXPECT_EQ(create_object(huge), nullptr); }),
              "create_block: couldn't allocate \n");
    EXPECT_EQ(create_block(set, 0), nullptr);
    EXPECT_EQ(create_block(nullptr, 1), nullptr);
    object_set *odd = create_set(1, -4, 0, nullptr); // sizes that make no sense
    EXPECT_NE(create_object(odd), nullptr);
    EXPECT_EQ(odd->class_, inq_object_class());
}

TEST_F(objects_test, flags_and_tags_of_a_set) {
    puppet *first = make(1);
    puppet *second = make(2);
    EXPECT_EQ(inq_flag_set(set, 0x30), 0);
    second->flags = 0x10;
    EXPECT_EQ(inq_flag_set(set, 0x30), 255);
    first->refs = 5;
    tag_objects_in_set(set);
    EXPECT_EQ(get_tagged_object(set, 0), second);
    EXPECT_EQ(get_tagged_object(set, 1), first);
    EXPECT_EQ(get_tagged_object(set, 2), nullptr);
    untag_objects_in_set(set);
    EXPECT_EQ(first->refs, 1);
    clear_refs(set);
    EXPECT_EQ(second->refs, 0);
    untag_objects_in_set(set);

    EXPECT_EQ(num_objects_set(nullptr), 0);
    EXPECT_EQ(get_first_object(nullptr), nullptr);
    EXPECT_EQ(get_next_object(nullptr), nullptr);
    EXPECT_EQ(inq_flag_set(nullptr, 1), 0);
    EXPECT_EQ(get_tagged_object(nullptr, 0), nullptr);
}

// ---- Sets and classes that go while they are in use --------------------------------------------

TEST_F(objects_test, objects_that_refuse_to_die_go_with_their_set) {
    puppet *p = make(1);
    make(2)->refs = 2;
    when_destroyed = [&](puppet *self) {
        if (self != p)
            delete_object(self);
    };
    const std::string text = printed([&] { delete_set(set); });
    EXPECT_NE(text.find("because its ref count is 1"), std::string::npos);
    std::size_t removed = 0;
    for (std::size_t at = 0; (at = text.find("does not go", at)) != std::string::npos; at++)
        removed++;
    EXPECT_EQ(removed, 2U);
    EXPECT_EQ(cls->first_set, nullptr);
    EXPECT_EQ(num_objects_set(set), 0);
    EXPECT_EQ(create_object(set), nullptr) << "the set is dead";
    delete_set(set); // twice
}

TEST_F(objects_test, delete_methods_that_create_do_not_go_on_for_ever) {
    make(1);
    when_destroyed = [&](puppet *self) {
        delete_object(self);
        EXPECT_NE(create_object(set), nullptr);
    };
    delete_set(set);
    EXPECT_EQ(get_first_object(set), nullptr);

    object_set *other = create_set_of<puppet>(1, 1, cls);
    EXPECT_NE(create_object(other), nullptr);
    when_destroyed = [&](puppet *self) {
        delete_object(self);
        object_class *again = derive_object_class(self->class_, "again");
        EXPECT_NE(create_object(create_set_of<puppet>(1, 1, again)), nullptr);
    };
    free_all_classes();
    EXPECT_EQ(inq_first_class(), nullptr);
}

TEST_F(objects_test, set_and_class_are_deleted_by_their_own_delete_methods) {
    for (int way = 0; way < 4; way++) {
        SCOPED_TRACE(way);
        when_destroyed = [&](puppet *self) {
            if (way % 2 == 0)
                delete_set(self->set);
            delete_class(self->class_);
            if (way == 3)
                free_all_classes();
            terminate_objects(); // not from here
            delete_object(self);
        };
        make(1);
        make(2);
        if (way < 2) {
            delete_set(set);
        } else {
            delete_class(cls);
        }
        EXPECT_EQ(num_objects_set(set), 0);
        TearDown();
        SetUp();
    }
}

TEST_F(objects_test, walked_set_is_deleted) {
    for (int i = 0; i < 5; i++)
        make(i);
    int met = 0;
    set_walk walk(set);
    for (object *o = get_first_object(set); o != nullptr; o = get_next_object(set)) {
        walk.next();
        if (++met == 2)
            delete_class(o->class_);
    }
    EXPECT_EQ(met, 2);
    EXPECT_EQ(walk.next(), nullptr);
}

// ---- Random runs against plain lists -----------------------------------------------------------

// The model: the objects in order, and what the cursor and a few walks return next.
struct set_model {
    std::vector<puppet *> live;
    std::vector<puppet *> next; // [0]: the set's cursor; then the walks

    std::size_t position(const object *o) const {
        return static_cast<std::size_t>(std::find(live.begin(), live.end(), o) - live.begin());
    }
    puppet *after(std::size_t at) const { return at + 1 < live.size() ? live[at + 1] : nullptr; }
    void take_out(std::size_t at) {
        std::replace(next.begin(), next.end(), live[at], after(at));
        live.erase(live.begin() + static_cast<std::ptrdiff_t>(at));
    }
};

class random_run {
public:
    random_run(object_set *of, unsigned seed) : set_(of), random_(seed) {
        model_.next.assign(1 + walks_.size(), nullptr);
    }
    void step() {
        const auto choice = random_() % 10;
        if (choice < 3 || model_.live.empty()) {
            create();
        } else if (choice < 5) {
            remove(pick());
        } else if (choice == 5) {
            move(pick());
        } else {
            walk_on();
        }
    }
    void compare() {
        ASSERT_EQ(num_objects_set(set_), static_cast<int>(model_.live.size()));
        std::size_t at = 0;
        for (set_walk walk(set_); object *o = walk.next(); at++) {
            ASSERT_LT(at, model_.live.size());
            ASSERT_EQ(o, model_.live[at]);
            ASSERT_EQ(model_.live[at]->id, number_of(o)) << "records overlap";
        }
        ASSERT_EQ(at, model_.live.size());
    }

private:
    static int number_of(const object *o) { return static_cast<int>(o->birth); }
    std::size_t pick() { return random_() % model_.live.size(); }
    void create() {
        auto *p = create_object_of<puppet>(set_);
        p->id = number_of(p);
        model_.live.insert(model_.live.begin(), p);
        ASSERT_EQ(get_number_object(model_.live.back()), 1);
    }
    void remove(std::size_t at) {
        puppet *p = model_.live[at];
        model_.take_out(at);
        object_destroy_message(p);
        ASSERT_FALSE(is_live(p));
    }
    void move(std::size_t at) {
        puppet *p = model_.live[at];
        ASSERT_EQ(get_number_object(p), static_cast<int>(model_.live.size() - at));
        puppet *before = at > 0 ? model_.live[at - 1] : nullptr;
        const bool front = random_() % 2 == 0;
        const bool in_place = front ? at == 0 : at + 1 == model_.live.size();
        if (!in_place) {
            model_.take_out(at);
            model_.live.insert(front ? model_.live.begin() : model_.live.end(), p);
        }
        ASSERT_EQ(front ? make_first_object(p) : make_last_object(p), before);
    }
    void walk_on() {
        const std::size_t which = random_() % model_.next.size();
        puppet *expected = model_.next[which];
        if (expected == nullptr) { // at the end: starts anew
            expected = model_.live.front();
            if (which > 0) {
                ASSERT_EQ(walks_[which - 1] ? walks_[which - 1]->next() : nullptr, nullptr);
                walks_[which - 1].emplace(set_);
            }
            ASSERT_EQ(which == 0 ? get_first_object(set_) : walks_[which - 1]->next(), expected);
        } else {
            object *got = which == 0 ? get_next_object(set_) : walks_[which - 1]->next();
            ASSERT_EQ(got, expected);
        }
        model_.next[which] =
            expected == nullptr ? nullptr : model_.after(model_.position(expected));
    }

    object_set *set_;
    std::mt19937 random_;
    std::array<std::optional<set_walk>, 2> walks_;
    set_model model_;
};

TEST_F(objects_test, random_runs_agree_with_a_plain_list) {
    for (unsigned seed = 1; seed <= 60; seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        object_set *fresh = create_set_of<puppet>(1 + static_cast<int>(seed % 5), 0, cls);
        random_run run(fresh, seed);
        for (int i = 0; i < 400 && !HasFatalFailure(); i++) {
            run.step();
            run.compare();
        }
        delete_set(fresh);
        ASSERT_FALSE(HasFatalFailure());
    }
}

} // namespace
} // namespace toolkit
