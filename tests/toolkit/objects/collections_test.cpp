#include "toolkit/objects/collections.h"

#include "tests/toolkit/objects/objects_fixture.h"
#include "toolkit/objects/dynamic_arrays.h"

#include <algorithm>
#include <array>
#include <limits>
#include <random>

namespace toolkit {
namespace {

class collections_test : public objects_fixture {
protected:
    void SetUp() override {
        objects_fixture::SetUp();
        ic *interested = nullptr;
        add_ic(&interested, 0, make(1), msg_poke, 0);
        list = create_list_double(nullptr, interested);
    }
    void *item(int number) { return &items[static_cast<std::size_t>(number)]; }
    int number(const void *of) const {
        return of == nullptr ? -1 : static_cast<int>(static_cast<const char *>(of) - items.data());
    }
    int first() {
        void *at = item(0);
        const list_node *node = collection_first_message(list, &at);
        EXPECT_EQ(node == nullptr, at == nullptr);
        return number(at);
    }
    int next() {
        void *at = item(0);
        collection_next_message(list, &at);
        return number(at);
    }
    int previous() {
        void *at = item(0);
        collection_previous_message(list, &at);
        return number(at);
    }
    void add(int n) { collection_add_message(list, item(n)); }
    void remove(int n) { collection_delete_message(list, item(n)); }
    // How often the list told since the last question.
    std::size_t tellings() {
        const std::size_t told = poked.size() / 2;
        poked.clear();
        return told;
    }
    std::array<char, 32> items{};
    list_double *list = nullptr;
};

TEST_F(collections_test, walks_repeat_the_ends) {
    EXPECT_EQ(first(), -1);
    EXPECT_EQ(next(), -1);
    for (int n : {1, 2, 3})
        add(n);
    EXPECT_EQ(tellings(), 3U);
    EXPECT_EQ(next(), 1) << "the cursor stayed on the first item added";
    EXPECT_EQ(first(), 3);
    EXPECT_EQ(next(), 2);
    EXPECT_EQ(next(), 1);
    EXPECT_EQ(next(), 1);
    EXPECT_EQ(previous(), 2);
    EXPECT_EQ(previous(), 3);
    EXPECT_EQ(previous(), 3);
    std::int32_t count = 0;
    collection_count_message(list, &count);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(tellings(), 0U);
}

TEST_F(collections_test, deleting_and_inserting) {
    remove(1);
    EXPECT_EQ(tellings(), 1U) << "from an empty list";
    EXPECT_EQ(collection_insert_message(list, nullptr, item(1)), 0) << "added";
    EXPECT_EQ(collection_insert_message(list, nullptr, item(2)), 1) << "the count";
    EXPECT_EQ(collection_insert_message(list, item(9), item(2)), 0) << "nowhere";
    EXPECT_EQ(tellings(), 1U);
    EXPECT_EQ(collection_insert_message(list, item(1), item(3)), 0);
    EXPECT_EQ(collection_insert_message(list, item(1), item(2)), 0); // 1 2 3
    collection_delete_message(list, nullptr);
    EXPECT_EQ(tellings(), 2U);
    remove(9);
    EXPECT_EQ(tellings(), 1U) << "not in the list";
    first();
    remove(2);
    EXPECT_EQ(next(), 3) << "the cursor stayed on 1";
    remove(3);
    EXPECT_EQ(next(), 1) << "no free node is walked";
    remove(1);
    EXPECT_EQ(next(), -1);
}

TEST_F(collections_test, emptied_nodes_are_used_again) {
    for (int n : {1, 2, 3, 4})
        add(n);
    remove(1);
    const list_node *front = list->first;
    tellings();
    collection_empty_message(list);
    EXPECT_EQ(tellings(), 0U);
    EXPECT_EQ(first(), -1);
    add(5);
    EXPECT_EQ(list->first, front);
    for (int n : {6, 7, 8})
        add(n);
    EXPECT_EQ(first(), 8);
    EXPECT_EQ(num_objects_set(List_Double_Set), 1);
    object_destroy_message(list);
    object_destroy_message(list);
    EXPECT_EQ(num_objects_set(List_Double_Set), 0);
    add(1); // to a list that is gone
    EXPECT_EQ(first(), -1);
    EXPECT_EQ(tellings(), 4U);
}

TEST_F(collections_test, abstract_collections_do_nothing) {
    collection *plain = create_collection(nullptr, nullptr);
    void *at = item(3);
    collection_add_message(plain, at);
    std::int32_t count = -1;
    collection_count_message(plain, &count);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(collection_first_message(plain, &at), nullptr);
    EXPECT_EQ(create_list_double(Collection_Set, nullptr), nullptr) << "smaller records";
    object_destroy_message(plain);
    destroy_collection(plain);
    destroy_collection(nullptr);
    EXPECT_EQ(num_objects_set(Collection_Set), 0);
}

TEST_F(collections_test, listeners_change_and_delete_the_list) {
    const std::function<void()> ways[] = {
        [&] { object_destroy_message(list); },    [&] { delete_set(List_Double_Set); },
        [&] { delete_class(List_Double_Class); }, [&] { remove(1); },
        [&] { collection_empty_message(list); },
    };
    const std::function<void()> calls[] = {
        [&] { add(2); },
        [&] { remove(1); },
        [&] { collection_insert_message(list, item(1), item(2)); },
    };
    for (const auto &way : ways) {
        for (const auto &call : calls) {
            add(1);
            bool done = false;
            when_poked = [&](puppet *, word, word) {
                if (!done) {
                    done = true;
                    way();
                }
            };
            call();
            EXPECT_TRUE(done);
            TearDown();
            SetUp();
        }
    }
}

TEST_F(collections_test, random_runs_agree_with_a_plain_list) {
    for (unsigned seed = 1; seed <= 60; seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        std::vector<int> model;
        for (int i = 0; i < 300; i++) {
            const int n = 1 + static_cast<int>(random() % 8);
            const auto at = std::find(model.begin(), model.end(), n);
            switch (random() % 8) {
            case 0:
            case 1:
                add(n);
                model.insert(model.begin(), n);
                break;
            case 2:
            case 3:
                remove(n);
                if (at != model.end())
                    model.erase(at);
                break;
            case 4: {
                const int m = 1 + static_cast<int>(random() % 8);
                collection_insert_message(list, item(n), item(m));
                if (model.empty()) {
                    model.push_back(m);
                } else if (at != model.end()) {
                    model.insert(at + 1, m);
                }
                break;
            }
            case 5:
                if (random() % 10 == 0) {
                    collection_empty_message(list);
                    model.clear();
                }
                break;
            default: // moves the cursor, which the next changes meet
                random() % 2 == 0 ? next() : previous();
            }
            if (random() % 4 == 0) {
                ASSERT_EQ(get_num_objs(list, 0, nullptr), static_cast<int>(model.size()));
                for (std::size_t k = 0; k < model.size(); k++)
                    ASSERT_EQ(k == 0 ? first() : next(), model[k]);
                for (std::size_t k = model.size(); k-- > 1;)
                    ASSERT_EQ(previous(), model[k - 1]);
            }
        }
        collection_empty_message(list);
    }
}

// ---- Dynamic arrays ----------------------------------------------------------------------------

class dynamic_arrays_test : public objects_fixture {};

TEST_F(dynamic_arrays_test, arrays_grow_by_doubling) {
    struct {
        std::int32_t capacity, index, grown;
    } const rows[] = {{4, 3, 4}, {4, 4, 8}, {4, 10, 16}, {0, 0, 0}, {0, 5, 0}, {3, 5, 6}};
    for (const auto &row : rows) {
        word *array = create_dynamic_array(row.capacity);
        for (std::int32_t i = 0; i < row.capacity; i++)
            write_dynamic_array(&array, i, 100 + i);
        write_dynamic_array(&array, row.index, -1);
        EXPECT_EQ(inq_dynamic_array_capacity(array), row.grown);
        for (std::int32_t i = 0; i < row.grown; i++) {
            const word kept = i < row.capacity ? 100 + i : 0;
            EXPECT_EQ(read_dynamic_array(array, i), i == row.index ? -1 : kept);
        }
    }
}

TEST_F(dynamic_arrays_test, what_lies_outside_is_refused) {
    word *array = create_dynamic_array(2);
    word *stale = array;
    word foreign = 5;
    word *other = &foreign;
    EXPECT_EQ(read_dynamic_array(array, -1), 0);
    EXPECT_EQ(read_dynamic_array(array, 2), 0);
    write_dynamic_array(&array, -1, 9);
    write_dynamic_array(&array, max_array_capacity, 9);
    write_dynamic_array(nullptr, 0, 9);
    EXPECT_EQ(inq_dynamic_array_capacity(array), 2);
    write_dynamic_array(&array, 2, 9);
    EXPECT_EQ(read_dynamic_array(stale, 0), 0);
    write_dynamic_array(&stale, 0, 9);
    free_dynamic_array(stale);
    write_dynamic_array(&other, 0, 9);
    free_dynamic_array(other);
    EXPECT_EQ(foreign, 5);
    free_dynamic_array(array);
    free_dynamic_array(array);
    free_dynamic_array(nullptr);
    EXPECT_EQ(create_dynamic_array(-1), nullptr);
    EXPECT_EQ(create_dynamic_array(max_array_capacity + 1), nullptr);

    array = create_dynamic_array(1);
    free_dynamic_array_table();
    EXPECT_EQ(inq_dynamic_array_capacity(array), 0);
}

TEST_F(dynamic_arrays_test, sets_are_copied_in_order) {
    word *array = nullptr;
    EXPECT_EQ(set_to_array(set, &array), 0);
    EXPECT_NE(array, nullptr);
    EXPECT_EQ(inq_dynamic_array_capacity(array), 0);
    puppet *first = make(1);
    puppet *second = make(2);
    make_last_object(second);
    EXPECT_EQ(set_to_array(set, &array), 2);
    EXPECT_EQ(inq_dynamic_array_capacity(array), 2);
    EXPECT_EQ(read_dynamic_array(array, 0), to_word(first));
    EXPECT_EQ(read_dynamic_array(array, 1), to_word(second));
    EXPECT_EQ(set_to_array(nullptr, &array), 0);
}

} // namespace
} // namespace toolkit
