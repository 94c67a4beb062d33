#include "toolkit/objects/object_names.h"

#include "tests/toolkit/objects/objects_fixture.h"
#include "tests/toolkit/objects/written.h"
#include "toolkit/objects/bounded_text.h"

namespace toolkit {
namespace {

class object_names_test : public objects_fixture {
protected:
    static std::string name_of(const object *o) {
        std::array<char, object_name_size> name{"untouched"};
        get_name_of_object(o, name.data());
        return name.data();
    }
};

TEST_F(object_names_test, names_are_given_changed_and_lost) {
    puppet *first = make(1);
    puppet *second = make(2);
    EXPECT_EQ(name_of(first), "untouched");
    auto_name_demon(first);
    EXPECT_EQ(name_of(first), "puppet class  1");
    name_demon("menu", second);
    auto_name_demon(second); // has a name
    EXPECT_EQ(name_of(second), "menu");
    name_demon("menu", first);
    EXPECT_EQ(get_named_object("menu"), second) << "the newest entry, not the name given last";
    EXPECT_EQ(written(tabulate_names), "\"menu\" names puppet class  2\n"
                                       "\"menu\" names puppet class  1\n");
    EXPECT_EQ(get_named_object("Menu"), nullptr);
    EXPECT_EQ(get_named_object(nullptr), nullptr);

    object_destroy_message(second);
    EXPECT_EQ(get_named_object("menu"), first) << "a name is lost with its object";
    EXPECT_EQ(make(3), second);
    EXPECT_EQ(name_of(second), "untouched") << "another object in the record";
    clear_mark_demon(first); // the entry stays, and outlives the object and the set
    object_destroy_message(first);
    EXPECT_EQ(make(4), first);
    EXPECT_EQ(name_of(first), "untouched");
    object *other = create_object(nullptr);
    name_demon("menu", other);
    name_demon("menu", first);
    clear_mark_demon(first);
    object_destroy_message(first);
    EXPECT_EQ(get_named_object("menu"), other) << "an older entry";
    object_destroy_message(other);
    delete_set(set);
    EXPECT_EQ(get_named_object("menu"), nullptr);
    destroy_ui_symbol_table();
}

TEST_F(object_names_test, destroyed_table_leaves_the_flags) {
    puppet *p = make(1);
    name_demon("old", p);
    destroy_ui_symbol_table();
    EXPECT_NE(p->flags & flag_named, 0);
    auto_name_demon(p);
    EXPECT_EQ(name_of(p), "untouched") << "the flag says that it has a name";
    name_demon("new", p);
    EXPECT_EQ(get_named_object("new"), p);
}

std::vector<object *> demons;

TEST_F(object_names_test, only_demons_are_named_by_name_object) {
    object_class *demon_class = nullptr;
    keep_class_in(&demon_class, derive_object_class(inq_object_class(), "demon_class"));
    object_class *button_class = derive_object_class(demon_class, "button class ");
    object_set *buttons = create_set_of<puppet>(2, 2, button_class);
    object *button = create_object(buttons);
    puppet *p = make(1);
    demons = {button};

    name_object("early", button);
    EXPECT_EQ(get_named_object("early"), nullptr) << "nobody has said what a demon is";
    set_demon_hooks(&demon_class, [](void (*visit)(object *)) {
        for (object *o : demons)
            visit(o);
    });
    name_object("p", p);
    EXPECT_EQ(get_named_object("p"), nullptr);
    name_object("ok", button);
    EXPECT_EQ(get_named_object("ok"), button);
    destroy_ui_symbol_table();
    auto_name_demon(button);
    EXPECT_EQ(name_of(button), "untouched");
    name_object("again", button); // clears the marks first
    auto_name_demon(button);
    EXPECT_EQ(name_of(button), "again");
    delete_class(demon_class);
    name_object("late", button);
    EXPECT_EQ(name_of(button), "again");
}

void delete_and_name(puppet *self, word, char *buffer) {
    copy_bounded({buffer, object_name_size}, "ghost");
    delete_object(self);
}

TEST_F(object_names_test, name_method_deletes_the_object) {
    set_method<delete_and_name>(cls, msg_get_name);
    puppet *p = make(1);
    auto_name_demon(p);
    EXPECT_FALSE(is_live(p));
    EXPECT_EQ(get_named_object("ghost"), nullptr);
}

TEST_F(object_names_test, long_names_are_cut_between_characters) {
    struct {
        std::size_t ascii;
        std::size_t kept;
    } const rows[] = {{125, 128}, {126, 126}, {127, 127}, {128, 128}, {200, 128}};
    puppet *p = make(1);
    for (const auto &row : rows) {
        const std::string text = std::string(row.ascii, 'n') + "\xe2\x82\xac" + "rest";
        name_demon(text.c_str(), p);
        EXPECT_EQ(name_of(p), text.substr(0, row.kept)) << row.ascii;
    }
    std::array<char, 4> small = {'x', 'x', 'x', 'x'};
    EXPECT_EQ(copy_bounded(small, "\x80\x80\x80\x80\x80"), 3U) << "not UTF-8 at all";
    EXPECT_EQ(small[3], '\0');
    EXPECT_EQ(copy_bounded(small, {}), 0U);
    EXPECT_EQ(copy_bounded({}, "text"), 0U);
}

} // namespace
} // namespace toolkit
