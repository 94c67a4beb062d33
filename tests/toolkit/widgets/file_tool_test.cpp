// File tools, used by hand and keyboard in folders made for it.
#include "tests/toolkit/widgets/menu_fixture.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/widgets/directory_demon.h"
#include "toolkit/widgets/directory_list.h"
#include "toolkit/widgets/edit_string.h"
#include "toolkit/widgets/file_list.h"

#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace toolkit {

namespace {

namespace fs = std::filesystem;

constexpr word accepted_number = 7;
constexpr uid_t nobody = 65534;

// What the dialogs above were asked and told, the folder left out; and what they answer.
std::string asked, folder;
int answer = answer_no;

void note_text(std::string text) {
    for (std::size_t at; (at = text.find(folder)) != std::string::npos;)
        text.replace(at, folder.size(), "*");
    asked += text;
    if (also)
        std::exchange(also, nullptr)();
}

int ask(const char *question) {
    note_text(question);
    return answer;
}

void tell(const char *text) {
    note_text(text);
}

class file_tool : public menu_fixture {
protected:
    file_tool() {
        const bool in_memory = ::access("/dev/shm", W_OK) == 0; // for many files sooner
        std::string name = std::string(in_memory ? "/dev/shm" : "/tmp") + "/file_tool_XXXXXX";
        folder = ::mkdtemp(name.data());
        ::chmod(folder.c_str(), 0755);
        for (const char *each : {"alpha.reel", "beta.reel", "notes.txt", ".hid.reel"})
            std::ofstream(folder + "/" + each) << "x";
        fs::create_directory(folder + "/sub");
        for (const char *each : {"deep.reel", "deep_2.reel"})
            std::ofstream(folder + "/sub/" + each) << "x";
        fs::create_symlink("nowhere", folder + "/dead.reel");
        asked.clear();
        answer = answer_no;
        set_field_dialogs({.ask_yes_no = ask, .message = tell});
        menu = addPullDown(bar, "File", 0);
    }
    ~file_tool() override {
        if (::geteuid() == nobody) {
            EXPECT_EQ(::seteuid(0), 0);
        }
        set_field_dialogs({});
        fs::remove_all(folder);
    }

    // A tool in its window, open.
    void open(bool is_saving, const char *pattern, int width = 300, int height = 300) {
        deletePullDownChoice(choice);
        called.clear();
        asked.clear();
        tool = as_directory_demon(addFileToolPullDownChoice(
            menu, nullptr, "Open...", false, 0, 0, nullptr, 0, true, &choice,
            {.directory = folder.c_str(),
             .pattern = pattern,
             .x = 300,
             .y = 100,
             .width = width,
             .height = height,
             .callback = note_call,
             .argument = accepted_number,
             .is_saving = is_saving,
             .overwrite_question = is_saving ? "Overwrite reel file:" : nullptr}));
        ASSERT_NE(tool, nullptr);
        kept = refer_to_demon(tool);
        pop();
    }
    void pop() const {
        demon_pop_message(getParentWidget(tool));
        move_to(5, 5);
        move_to(tool->box.x + 3, tool->box.y + 3);
    }
    // Of the folder: "" when the value was not set.
    std::string value() const {
        widget_value found;
        getWidgetValue(tool, &found);
        std::string path(found.text);
        return path.starts_with(folder + "/") ? path.substr(folder.size() + 1) : path;
    }
    bool is_open() const { return getParentWidget(tool)->popped != 0; }
    std::string shown() const {
        std::string names;
        for (const directory_entry &each : files_of(tool->list).entries)
            names += each.name + " ";
        return names;
    }
    screen_box row_of(const std::string &name) const {
        const auto &entries = files_of(tool->list).entries;
        for (std::size_t i = 0; i < entries.size(); ++i)
            if (entries[i].name == name)
                return box_of_entry(tool->list, static_cast<std::ptrdiff_t>(i));
        ADD_FAILURE() << name;
        return {};
    }
    void click(int x, int y, int times = 1) const {
        move_to(x, y);
        for (; times > 0; --times) {
            display::memory::push_button(display::button_left, true);
            display::memory::push_button(display::button_left, false);
        }
        run_at_once();
    }
    void click(const screen_box &box, int times = 1) const {
        click(box.x + box.width / 2, box.y + box.height / 2, times);
    }
    void click_button(std::string_view label) const {
        for (demon *kid = tool->kids; kid != nullptr; kid = kid->next)
            if (const control *c = as_control(kid); c != nullptr && label_of(c) == label)
                return click(kid->box);
        ADD_FAILURE() << label;
    }
    // \r Return, \t Tab, \v Tab with Shift, \x1b Escape, \b Backspace, \n down, \f up, \a the end;
    // _ comes with Shift.
    static void type(std::string_view text) {
        static constexpr std::string_view special = "\r\t\v\x1b\b\n\f\a";
        static constexpr std::array codes = {
            display::key_return,    display::key_tab,  display::key_tab, display::key_escape,
            display::key_backspace, display::key_down, display::key_up,  display::key_end};
        for (const char c : text) {
            const std::size_t at = special.find(c);
            const int plain = c == '_' ? '-' : c;
            const int code = at == std::string_view::npos ? plain : codes[at];
            const bool is_shifted = c == '\v' || c == '_';
            if (is_shifted)
                display::memory::push_key(display::key_shift_left, true);
            display::memory::push_key(code, true);
            display::memory::push_key(code, false);
            if (is_shifted)
                display::memory::push_key(display::key_shift_left, false);
        }
        run_at_once();
    }
    // What waits happens within a moment.
    static void run_at_once() {
        EXPECT_EQ(dispatch_check_event(-1), 0);
        run();
    }

    demon *menu = nullptr, *choice = nullptr;
    directory_demon *tool = nullptr;
    demon_ref kept;
};

TEST_F(file_tool, opens_what_is_selected_or_typed) {
    const struct {
        const char *what;
        const char *pattern;
        std::function<void()> hands;
        const char *value, *in, *told;
    } rows[] = {
        {"double click", nullptr, [&] { click(row_of("beta.reel"), 2); }, "beta.reel", "", ""},
        {"button", nullptr, [&] { click(row_of("beta.reel")), click_button("Open"); }, "beta.reel",
         "", ""},
        {"keyboard", nullptr, [] { type("s\rd\r"); }, "sub/deep.reel", "/sub", ""},
        {"found with Shift", nullptr, [] { type("s\rdeep_\r"); }, "sub/deep_2.reel", "/sub", ""},
        {"found and stepped", nullptr, [] { type("be\f\r"); }, "alpha.reel", "", ""},
        {"the last", "reel", [] { type("\a\f\f\r"); }, "alpha.reel", "", ""},
        {"folder in the path", nullptr, [] { type("\vsub\r"); }, "", "/sub", ""},
        {"file in the path", nullptr, [] { type("\vsub/deep.reel\r"); }, "sub/deep.reel", "", ""},
        {"name without extension", "reel", [] { type("\tbeta\r"); }, "beta.reel", "", ""},
        {"folder as name", nullptr, [] { type("\tsub/../sub\r"); }, "", "/sub", ""},
        {"up and down", nullptr, [] { type("s\r"), type("\b\r\n\r"); }, "sub/deep.reel", "/sub",
         ""},
        {"link to nothing", nullptr, [&] { click(row_of("dead.reel"), 2); }, "", "",
         "*/dead.reel is not readable. "},
        {"nothing there", nullptr, [] { type("\tx\r"); }, "", "", "*/x is not readable. "},
        {"device", nullptr, [] { type("\t/dev/null\r"); }, "", "", "/dev/null is not readable. "},
        {"Escape", nullptr, [] { type("b\x1b"); }, "", "", ""},
        {"Escape in a field", nullptr, [] { type("\tx\x1b"); }, "", "", ""},
        {"a click elsewhere", nullptr, [&] { type("\tbeta.reel"), click(row_of("sub")); }, "", "",
         ""},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        open(false, row.pattern);
        row.hands();
        const bool is_accepted = *row.value != '\0';
        EXPECT_EQ(called, is_accepted ? std::vector<word>{accepted_number} : std::vector<word>{});
        EXPECT_EQ(value(), row.value);
        EXPECT_EQ(inq_directory(tool), folder + row.in);
        EXPECT_EQ(asked, row.told);
        EXPECT_EQ(is_open(), !is_accepted && !std::string_view(row.what).starts_with("Escape"));
    }
}

TEST_F(file_tool, shows_what_is_asked_for_and_stays_where_it_was) {
    open(false, nullptr);
    EXPECT_EQ(shown(), "sub alpha.reel beta.reel dead.reel notes.txt ");
    open(false, "reel", 240, 200);
    EXPECT_EQ(shown(), "sub alpha.reel beta.reel dead.reel ");
    click_button("Hidden");
    EXPECT_EQ(shown(), "sub .hid.reel alpha.reel beta.reel dead.reel ");
    click(row_of("sub"), 2);
    type("\x1b");
    EXPECT_FALSE(is_open());
    std::ofstream(folder + "/sub/new.reel") << "x";
    pop();
    EXPECT_EQ(inq_directory(tool), folder + "/sub");
    EXPECT_EQ(shown(), "deep.reel deep_2.reel new.reel ");
    fs::remove(folder + "/sub/deep.reel");
    fs::last_write_time(folder + "/sub", fs::file_time_type::clock::now()); // clocks tick slowly
    pop(); // the pointer goes, and comes back
    EXPECT_EQ(shown(), "deep_2.reel new.reel ");
    fs::remove_all(folder + "/sub");
    type("n\r");
    EXPECT_EQ(asked, "*/sub/new.reel is not readable. ");
    EXPECT_EQ(inq_directory(tool), folder);
    EXPECT_TRUE(is_open());
    setWidgetValue(tool, std::string_view(folder + "/beta.reel"));
    EXPECT_EQ(value(), "beta.reel");
    EXPECT_EQ(called.size(), 1U);
    updateWidgetValue(getParentWidget(tool), std::string_view(folder + "/alpha.reel"));
    EXPECT_EQ(value(), "alpha.reel");
    EXPECT_EQ(called.size(), 1U);
}

TEST_F(file_tool, saves_and_asks_before_it_overwrites) {
    constexpr const char *question = "Overwrite reel file: */alpha.reel";
    const struct {
        const char *keys, *value, *told;
        int answer;
    } rows[] = {
        {"new\r", "new.reel", "", answer_no},
        {"new.reel\r", "new.reel", "", answer_no},
        {"alpha\r", "", question, answer_no},
        {"alpha\r", "alpha.reel", question, answer_yes},
        {"\vb\r", "beta.reel", "Overwrite reel file: */beta.reel", answer_yes},
        {"none/x\r", "", "*/none/x.reel is not writable. ", answer_yes},
        {"dead\r", "", "*/dead.reel is not writable. ", answer_yes},
        {"sub\rx\r", "sub/x.reel", "", answer_yes}, // went there
    };
    open(true, "reel");
    click(row_of("alpha.reel")), click(row_of("sub")), click_button("Save");
    EXPECT_EQ(asked, question) << "a selected folder does not take the name";
    for (const auto &row : rows) {
        SCOPED_TRACE(row.keys);
        open(true, "reel");
        answer = row.answer;
        type(row.keys);
        EXPECT_EQ(value(), row.value);
        EXPECT_EQ(asked, row.told);
        EXPECT_EQ(is_open(), *row.value == '\0');
    }
}

TEST_F(file_tool, refuses_what_the_user_may_not) {
    fs::create_directory(folder + "/locked");
    std::ofstream(folder + "/secret.reel") << "x";
    ::chmod((folder + "/secret.reel").c_str(), 0);
    ::chmod((folder + "/locked").c_str(), 0);
    if (::geteuid() != 0)
        ::chmod(folder.c_str(), 0555);
    else if (::seteuid(nobody) != 0)
        FAIL();
    open(false, nullptr);
    type("l\r");
    type("sec\r");
    EXPECT_EQ(asked, "*/locked is not readable. */secret.reel is not readable. ");
    open(true, "reel");
    type("new\r");
    EXPECT_EQ(asked, "*/new.reel is not writable. ");
    EXPECT_TRUE(called.empty());
    ::chmod(folder.c_str(), 0755);
}

TEST_F(file_tool, takes_any_name) {
    for (const std::string &name :
         {std::string(250, 'n') + ".reel", std::string("a \xFF\xFE b"), std::string("line\nbreak"),
          std::string("\xC3\x84rger \xE2\x82\xAC"), std::string(255, '\x80')}) {
        std::ofstream(folder + "/sub/" + name) << "x";
        open(false, nullptr);
        type("s\r");
        click(row_of(name), 1);
        click_button("Open");
        EXPECT_EQ(value(), "sub/" + name);
        fs::remove(folder + "/sub/" + name);
        const std::string cut = fit_name(font_slot_normal_1, name, 60);
        text_size size;
        EXPECT_LE(gl_inquire_fm_font_size(cut, &size, font_slot_normal_1), 60) << name;
    }
}

TEST_F(file_tool, cut_names_have_no_gap_before_the_dots) {
    const std::string name = "shot 12 by night, a rather long name_0012.reel";
    for (int width = 60; width < 240; ++width) {
        const std::string cut = fit_name(font_slot_normal_1, name, width);
        EXPECT_EQ(cut.find(" \xE2\x80\xA6"), std::string::npos) << cut;
        EXPECT_TRUE(cut.ends_with("_0012.reel") || width < 110) << cut;
    }
}

TEST_F(file_tool, shows_large_folders_at_once) {
    constexpr int count = 50'000;
    constexpr std::clock_t most = 15 * CLOCKS_PER_SEC; // with sanitizers
    for (int i = 0; i < count; ++i)
        ::close(::open((folder + "/sub/" + std::to_string(i)).c_str(), O_CREAT | O_WRONLY, 0644));
    open(false, nullptr);
    std::clock_t begin = std::clock(); // of our own time: others may be busy
    type("s\r");
    EXPECT_LT(std::clock() - begin, most);
    begin = std::clock();
    move_to(tool->list->box.x + 20, tool->list->box.y + 20);
    for (int i = 0; i < 100; ++i)
        press(true, display::wheel_down);
    EXPECT_GE(tool->list->top, 100);
    const screen_box knob = knob_of(tool->list);
    EXPECT_GE(knob.height, 10);
    move_to(knob.x + 4, knob.y + 4);
    press(true);
    move_to(knob.x + 4, tool->list->box.y - 50);
    press(false);
    EXPECT_EQ(tool->list->top + rows_of(tool->list), count + 2) << "dragged to the end";
    EXPECT_LT(std::clock() - begin, most) << "it draws what is seen only";
}

TEST_F(file_tool, callbacks_may_destroy_it) {
    const struct {
        bool is_saving;
        std::function<void()> hands;
    } rows[] = {
        {false, [&] { click(row_of("beta.reel"), 2); }},
        {false, [] { type("be\r"); }},
        {false, [] { type("\tbeta.reel\r"); }},
        {false, [] { type("\vbeta.reel\r"); }},
        {false, [&] { click(row_of("beta.reel")), click_button("Open"); }},
        {false, [&] { click(row_of("dead.reel"), 2); }}, // the message does
        {false, [&] { setWidgetValue(tool, std::string_view(folder + "/x")); }},
        {true, [] { type("alpha\r"); }}, // the question does
        {true, [] { type("none/x\r"); }},
        {true, [] { type("new\r"); }},
        {false,
         [&] {
             move_to(5, 5);
             fs::remove_all(folder);
             move_to(tool->box.x + 3, tool->box.y + 3);
         }},
    };
    const std::function<void()> ends[] = {
        [&] { destroyWidget(tool); },
        [&] { iris_demon_destroy(getTopWidget(tool), nullptr, nullptr); },
        [&] { deletePullDownChoice(std::exchange(choice, nullptr)); },
    };
    answer = answer_yes;
    for (const auto &end : ends)
        for (const auto &row : rows) {
            const bool is_last = &end == std::end(ends) - 1 && &row == std::end(rows) - 1;
            const bool takes_folder = &row == std::end(rows) - 1;
            if (takes_folder && !is_last)
                continue; // it is needed yet
            open(row.is_saving, nullptr);
            also = end;
            row.hands();
            EXPECT_EQ(kept.get(), nullptr) << &end - ends << " " << &row - rows;
            run();
        }
}

} // namespace

} // namespace toolkit
