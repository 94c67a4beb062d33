#include "toolkit/objects/class_dump.h"

#include "tests/toolkit/objects/objects_fixture.h"
#include "tests/toolkit/objects/written.h"
#include "toolkit/objects/callbacks.h"
#include "toolkit/objects/collections.h"

namespace toolkit {
namespace {

class class_dump_test : public objects_fixture {};

TEST_F(class_dump_test, live_objects_are_tabulated) {
    make(1);
    make(2);
    EXPECT_NE(create_object(create_set_of<puppet>(1, 1, cls)), nullptr); // a second set
    const std::string table =
        written([](std::FILE *stream) { tabulate_classes(stream, "after %s, %d:\n", "two", 3); });
    EXPECT_EQ(table, "after two, 3:\n"
                     "Class [puppet class ] has 3 instances\n"
                     "Class [object class ] has 0 instances\n"
                     "------------- 3 objects in all ---------------------\n");
    free_all_classes();
    EXPECT_EQ(written([](std::FILE *stream) { tabulate_classes(stream, nullptr); }),
              "------------- 0 objects in all ---------------------\n");
}

constexpr const char *class_table = R"(class "callback class ", parent "object class "
  set: 1 live, 9 free, 64 bytes, 10 in a block
  slot   1 callback_destroy
  slot   8 callback_set_arg
  slot  10 edit_object
  slot  12 get_name_object
  slot  19 callback_invoke
class "list_double_class", parent "collection_class"
  set: 11 live, 9 free, 72 bytes, 10 in a block
  slot   1 destroy_list_double
  slot  10 edit_object
  slot  12 get_name_object
  slot  19 add_obj_list_double
  slot  20 del_obj_list_double
  slot  21 get_num_objs
  slot  22 get_first_obj
  slot  23 get_next_object_list_double
  slot  24 destroy_elements_double_list
  slot  25 insert_in_double_list
  slot  26 get_preview_object_list_double
class "collection_class", parent "object class "
  slot   1 destroy_collection
  slot  10 edit_object
  slot  12 get_name_object
  slot  21 get_num_objs
class "puppet class ", parent "object class "
  set: 0 live, 2 free, 40 bytes, 3 in a block
  slot   1 puppet_destroy
  slot  10 edit_object
  slot  12 get_name_object
  slot  30 puppet_poke
  slot  31 ?
class "object class "
  set: 1 live, 9 free, 32 bytes, 10 in a block
  slot   1 delete_object
  slot  10 edit_object
  slot  12 get_name_object
)";

TEST_F(class_dump_test, classes_are_dumped_in_full) {
    for (int i = 0; i < 11; i++)
        EXPECT_NE(create_list_double(nullptr, nullptr), nullptr);
    EXPECT_NE(create_callback(nullptr, nullptr, 0), nullptr);
    EXPECT_NE(create_object(nullptr), nullptr);
    set_class_method(cls, 31, [](object *, word, word) -> word { return 1; }, {});
    EXPECT_EQ(written(dump_classes), class_table);
}

} // namespace
} // namespace toolkit
