#include "tests/toolkit/dialogs/dialogs_fixture.h"

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace toolkit {

namespace fs = std::filesystem;

// Texts of the dialogs, one for each answer that is given.
struct questions : dialogs_fixture {
    std::string shown;
    void see() {
        then([this] {
            std::array<char, object_name_size> name{};
            get_name_of_object(inq_event_receiver(input_keyboard), name.data());
            shown += std::string(name.data()).substr(8) + "|";
        });
    }
    void answer_with(std::string_view text) { see(), type(text), confirm(); }
    void read() { see(), confirm(); }
};

TEST_F(questions, integers_are_asked_for_until_they_are_within_limits) {
    int value = -1;
    answer_with("0");
    read();
    answer_with("11");
    read();
    answer_with("ten");
    read();
    answer_with(" 7");
    EXPECT_EQ(ask_integer_limits("Rate", &value, 5, 1, 10), answer_yes);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(shown, "Rate|Value 0 is less than minimum of 1.  Please re-enter.|Rate|"
                     "Value 11 exceeds maximum of 10.  Please re-enter.|Rate|"
                     "\"ten\" is not a whole number.  Please re-enter.|Rate|");
    type("99999999999"), confirm(), confirm(), escape();
    EXPECT_EQ(ask_integer("Rate", &value, 24), answer_no);
    EXPECT_EQ(value, 7);
    type("40"), confirm(), confirm(), escape();
    EXPECT_EQ(ask_integer_limits("Rate", &value, 5, 1, 10), answer_no);
    EXPECT_EQ(value, 5) << "not what was refused";
}

TEST_F(questions, limits_that_the_initial_value_is_outside_of_end_in_batch_mode) {
    setTarnBatchMode(1);
    setTarnBatchOverwriteMode(1);
    int value = 0;
    testing::internal::CaptureStderr();
    EXPECT_EQ(ask_integer_limits("Rate", &value, 50, 1, 10), answer_no);
    EXPECT_EQ(ask_integer_limits("Rate", &value, 5, 1, 10), answer_yes);
    setTarnBatchOverwriteMode(0);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("Value 50 exceeds"), std::string::npos);
}

TEST_F(questions, names_are_checked_before_they_are_taken) {
    const std::string folder = testing::TempDir() + "dialogs" + std::to_string(getpid());
    fs::create_directories(folder + "/in");
    std::ofstream(folder + "/in/old.reel") << "x";
    setenv("HOME", folder.c_str(), 1);
    std::string path, name;

    answer_with("~/in/none"), read(), answer_with("~/in"), read(), answer_with("~/in/old.reel");
    EXPECT_EQ(ask_read_file_name("Read", &path, ""), answer_yes);
    EXPECT_EQ(path, folder + "/in/old.reel");
    EXPECT_EQ(shown, "Read|" + folder + "/in/none is not readable. |Read|" + folder +
                         "/in is not readable. |Read|");

    shown.clear();
    answer_with("~/in/old"), see(), escape(), answer_with("~/in/new");
    EXPECT_EQ(ask_file_name_with_suffix("Write", &path, "", ".reel"), answer_yes);
    EXPECT_EQ(path, folder + "/in/new.reel");
    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(shown, "Write|Overwrite " + folder + "/in/old.reel? |Write|");

    shown.clear();
    answer_with("~/out/x"), read(), see(), type("\b"), confirm(), read(), escape();
    EXPECT_EQ(ask_file_name("Write", &path, ""), answer_no);
    EXPECT_EQ(shown, "Write|" + folder + "/out is not writable. |Write|Please enter a name.|");

    ::mkfifo((folder + "/in/pipe").c_str(), 0600); // to open it would wait for its other end
    shown.clear();
    answer_with("~/in/pipe"), read(), escape();
    EXPECT_EQ(ask_read_file_name("Read", &path, ""), answer_no);
    answer_with("~/in/pipe"), read(), escape();
    EXPECT_EQ(ask_file_name("Write", &path, ""), answer_no);
    EXPECT_EQ(shown, "Read|" + folder + "/in/pipe is not readable. |Write|" + folder +
                         "/in/pipe is not writable. |");

    answer_with("~/in/old.reel"), read(), answer_with("~/in");
    EXPECT_EQ(ask_path_name("Folder", &path, ""), answer_yes);
    EXPECT_EQ(path, folder + "/in");
    answer_with("~/in/shot");
    EXPECT_EQ(ask_path_file_name("File", &path, &name, ""), answer_yes);
    EXPECT_EQ(path + "," + name, folder + "/in,shot");
    fs::remove_all(folder);
}

} // namespace toolkit
