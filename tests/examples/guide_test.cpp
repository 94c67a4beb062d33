// The pieces of code of docs/toolkit.md do what the text beside them says, by real input; and the
// guide names nothing that is not there.
#include "examples/guide.h"
#include "tests/support/documents.h"
#include "tests/toolkit/widgets/widgets_fixture.h"
#include "toolkit/demons/boxes.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/dialogs/dialogs.h"
#include "toolkit/text/smpte.h"
#include "toolkit/widgets/pulldowns.h"

#include <filesystem>
#include <set>
#include <sstream>

namespace toolkit {

namespace fs = std::filesystem;
using test_support::read_file;
using test_support::texts_between;
using test_support::words_of;

namespace {

// The text between its pieces of code.
std::string prose_of(const std::string &text) {
    std::istringstream lines(text);
    std::string line, prose;
    for (bool is_code = false; std::getline(lines, line);) {
        if (line.starts_with("```"))
            is_code = !is_code;
        else if (!is_code)
            prose += line + "\n";
    }
    return prose;
}

} // namespace

class guide_test : public widgets_fixture {
protected:
    void open(std::string_view name) {
        init_dialogs();
        static_cast<generic_demon *>(inq_demon_god())->on.keystroke = end_at_q;
        set_smpte_display_smpte();
        set_smpte_frame_rate(30);
        for (const guide::piece &p : guide::pieces)
            if (p.name == name)
                p.fill(window);
        ASSERT_NE(window->kids, nullptr) << name;
        drawWidget(window);
    }
    // The n-th widget that the piece has put into its window.
    [[nodiscard]] demon *part(int n) const {
        int count = 0;
        for (demon *kid = window->kids; kid != nullptr; kid = kid->next)
            ++count;
        demon *kid = window->kids; // the newest is the first
        for (int skipped = n + 1; skipped < count; ++skipped)
            kid = kid->next;
        return kid;
    }
    [[nodiscard]] std::string line() const { return text_of(part(0)); }
    void tap(int code, int with = 0) {
        if (with != 0)
            send(display::event_kind::key, with, true);
        send(display::event_kind::key, code, true);
        send(display::event_kind::key, code, false);
        if (with != 0)
            send(display::event_kind::key, with, false);
    }
    void enter(std::string_view text) {
        tap('a', ctrl);
        for (const char c : text)
            tap(c == ':' ? ';' : c, c == ':' ? display::key_shift_left : 0);
        tap(display::key_return);
    }
    static std::string newest_title() {
        return display::memory::facts(display::memory::windows().back()).title;
    }
    static constexpr int ctrl = display::key_control_left;

private:
    static void end_at_q(demon *god, object *sender, demon_message *m) { // what `run` ends with
        if (m->key == 'q')
            bump();
        else
            demon_generic(god, sender, m);
    }
};

TEST_F(guide_test, windows_and_drawing) {
    open("windows");
    EXPECT_EQ(line(), "The lamp is off");
    on_display = display::memory::windows().back();
    after([&] { click(120, 36); }); // Yes
    EXPECT_EQ(line(), "The lamp is on");
    EXPECT_EQ(display::memory::windows().size(), 1U);

    open_window();
    open("drawing");
    const screen_box end = {178, 25, 1, 1};
    const auto before = picture(end);
    after([&] { click(240, 25); }); // Fill
    EXPECT_NE(picture(end), before);
}

TEST_F(guide_test, controls) {
    open("help");
    after([&] { move(120, 60); });
    EXPECT_EQ(line(), "Renders the frames that are missing");
    after([&] { move(300, 200); });
    EXPECT_EQ(line(), "");
    setHelp(0);

    open_window();
    open("buttons");
    EXPECT_EQ(line(), "Ready");
    after([&] { click(20, 25), click(255, 25), click(200, 25); });
    EXPECT_EQ(line(), "Rendering") << "the picture button is disabled";
    after([&] { click(255, 25), click(200, 25); });
    EXPECT_EQ(line(), "One frame on");

    open_window();
    open("sliders");
    EXPECT_EQ(line(), "Frame 30");
    after([&] { click(240, 35); });
    EXPECT_EQ(line(), "Frame 99");

    open_window();
    open("groups");
    EXPECT_EQ(number_of(part(0)), 1);
    after([&] { click(30, 45); });
    EXPECT_EQ(number_of(part(1)), 1);
}

TEST_F(guide_test, menus) {
    open("menus");
    after([&] { tap('l', ctrl); });
    EXPECT_EQ(line(), "Loop");
    const demon *title = part(1)->kids;
    while (as_pulldown_switch(const_cast<demon *>(title))->label.data() != std::string("Playback"))
        title = title->next;
    after([&] {
        click(title->box.x - window_box.x + 10, title->box.y - window_box.y + 10);
        tap(display::key_up); // the last one, a cascade
        tap(display::key_right);
        tap(display::key_down);
        tap(display::key_return);
    });
    EXPECT_EQ(line(), "PAL (25)");
}

TEST_F(guide_test, fields) {
    open("fields");
    after([&] { click(120, 60), enter("500"), tap(display::key_return); }); // and the message
    EXPECT_EQ(number_of(part(1)), 120);
    after([&] { click(200, 60), enter("1:2"); });
    EXPECT_EQ(text_of(part(2)), "00:00:01:02");
}

TEST_F(guide_test, files) {
    const fs::path came_from = fs::current_path();
    const fs::path folder = testing::TempDir() + "guide_test_" + std::to_string(getpid());
    fs::remove_all(folder); // of a test that was killed
    fs::create_directory(folder);
    fs::current_path(folder);
    open("files");
    after([&] { tap('s', ctrl); });
    on_display = display::memory::windows().back();
    after([&] { click(200, 260 - 200 + 52), enter("shot"); });
    EXPECT_EQ(fs::path(line()), folder / "shot.reel");
    fs::current_path(came_from);
    fs::remove_all(folder);
}

TEST_F(guide_test, dialogs) {
    open("dialogs");
    after([&] {
        click(140, 25);
        enter("500");
        tap(display::key_return); // the message
        enter("30");
    });
    EXPECT_EQ(newest_title(), "Inform: The rate is 30");

    testing::internal::CaptureStderr();
    EXPECT_EQ(render_unattended(), 120);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("without a user"), std::string::npos);
}

TEST_F(guide_test, values) {
    open("values");
    EXPECT_EQ(text_of(part(1)), "00:00:05:07");
    after([&] { click(270, 22); });
    EXPECT_EQ(text_of(part(1)), "00:00:20:28");
    EXPECT_EQ(text_of(part(2)), "628");
    EXPECT_EQ(text_of(part(3)).substr(0, 3), "359");
}

TEST(guide_text, names_only_what_is_there) {
    const fs::path guide = GUIDE;
    const fs::path root = guide.parent_path().parent_path();
    const std::string text = prose_of(read_file(guide));
    for (const std::string &link : texts_between(text, "](", ")"))
        EXPECT_TRUE(link.starts_with('#') || fs::exists(guide.parent_path() / link)) << link;
    for (const guide::piece &p : guide::pieces) {
        const std::string picture = std::string("](toolkit/").append(p.name).append(".png)");
        EXPECT_NE(text.find(picture), std::string::npos) << p.name;
    }

    std::set<std::string> known;
    for (const char *top : {"toolkit", "examples"})
        for (const auto &entry : fs::recursive_directory_iterator(root / top))
            if (entry.path().extension() == ".h" || entry.path().filename() == "guide.cpp")
                known.merge(words_of(read_file(entry.path())));
    int names = 0;
    for (const std::string &quoted : texts_between(text, "`", "`")) {
        const std::string name = quoted.substr(0, quoted.find('(')); // a call's arguments are words
        if (words_of(name) != std::set{name})
            continue;
        EXPECT_TRUE(known.contains(name)) << name;
        ++names;
    }
    EXPECT_GT(names, 30);
}

} // namespace toolkit
