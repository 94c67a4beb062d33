// Journals of menus, of text editing and of choosing files: what hands do there plays to the same
// values and pictures, now and from the journals of another day that are kept with this test.
#include "tests/examples/gallery_fixture.h"
#include "toolkit/dialogs/dialogs.h"
#include "toolkit/text/smpte.h"
#include "toolkit/widgets/directory_demon.h"
#include "toolkit/widgets/file_list.h"
#include "toolkit/widgets/pulldowns.h"

#include <fstream>
#include <functional>
#include <string>
#include <utility>

namespace gallery {

struct page_outcome {
    std::string values; // of the page's widgets, a line each
    std::map<std::string, std::vector<std::uint32_t>> pictures;
    bool operator==(const page_outcome &) const = default;
};

class pages_test : public gallery_fixture {
protected:
    static constexpr int ctrl = display::key_control_left, shift = display::key_shift_left;

    // What stands beside the menus, of which a shortcut, Ctrl+Q, ends every run.
    bool with_files = false;

    void begin() {
        open_display(
            [] {
                set_smpte_display_smpte();
                open(menus_window, menus_title, add_menus);
            },
            note_outcome);
        if (with_files) {
            init_dialogs();
            open(files_window, files_title, add_files);
        } else {
            open(fields_window, fields_title, add_fields);
        }
        at = {4, 4};
    }
    page_outcome run(const std::function<void()> &hands, const std::string &journal) {
        begin();
        hands();
        with(ctrl, 'q');
        return play({"-r", journal});
    }
    static page_outcome play(std::vector<std::string> words) {
        last = {};
        dispatch(std::move(words));
        return last;
    }
    void expect_journals_to_play(const std::function<void()> &hands, const std::string &values,
                                 const char *kept, const char *variable) {
        const std::string journal = directory + "/journal";
        const page_outcome recorded = run(hands, journal);
        EXPECT_EQ(recorded.values, values);
        keep_journal(journal, variable);
        for (const std::string &name : {journal, std::string(kept)}) {
            begin();
            const page_outcome played = play({"-p", name});
            EXPECT_EQ(played.values, values) << name;
            EXPECT_TRUE(played.pictures == recorded.pictures) << name;
        }
    }

    void with(int modifier, int code) {
        send(display::event_kind::key, modifier, true);
        key(code);
        send(display::event_kind::key, modifier, false);
    }
    // A switch of the bar by its label; and a row of its pulldown, from 1.
    static screen_point title(const char *label, int row = 0) {
        for (demon *kid = find(name_menu_bar)->kids; kid != nullptr; kid = kid->next)
            if (as_pulldown_switch(kid)->label.data() == std::string_view(label))
                return {clamp_16(kid->box.x + 14), clamp_16(kid->box.y + 15 - row * 30)};
        return {};
    }

    static directory_demon *tool(bool is_saving) {
        for (set_walk walk(Directory_Demon_Set); object *o = walk.next();)
            if (auto *each = static_cast<directory_demon *>(o); each->is_saving == is_saving)
                return each;
        return nullptr;
    }
    static screen_point middle_of(const screen_box &box) {
        return {clamp_16(box.x + box.width / 2), clamp_16(box.y + box.height / 2)};
    }

private:
    static inline page_outcome last;

    static void open(const screen_box &box, const char *title, void (*fill)(demon *)) {
        demon *window = addWindow(box.x, box.y, box.width, box.height, title, nullptr, 0);
        fill(window);
        drawWidget(window);
    }
    static void note(const char *name) {
        widget_value value;
        getWidgetValue(find(name), &value);
        last.values += std::string(value.text) + "\n";
    }
    static void note_files() {
        for (const bool is_saving : {false, true}) {
            widget_value value;
            getWidgetValue(tool(is_saving), &value);
            last.values += std::string(value.text) + "\n";
        }
        last.pictures = take_pictures();
    }
    static void note_outcome() {
        last = {};
        if (tool(false) != nullptr) {
            note_files();
        } else if (find(name_menu_bar) != nullptr) {
            for (const char *name :
                 {name_menu_readout, name_menu_mode, name_menu_rate, name_shot_field,
                  name_take_field, name_opacity_field, name_time_field})
                note(name);
            last.values += as_pulldown_switch(find(name_size_switch))->label.data();
            for (set_walk walk(Pulldown_Choice_Set); object *o = walk.next();)
                if (const auto *choice = static_cast<pulldown_choice *>(o); choice->state != 0)
                    last.values += std::string("\n+ ") + choice->label.data();
            last.pictures = take_pictures();
        }
        system_terminate();
    }
};

TEST_F(pages_test, menus) {
    const auto hands = [this] {
        click(title("File"));    // stays open
        click(title("File", 4)); // Keep Open: now Close can't be chosen
        with(ctrl, '2');         // Loop
        move(title("Playback"));
        press(true);                // pull down to a cascade, and into it
        move(title("Playback", 7)); // down first: an x may be told before its y
        move(beside(title("Playback", 7), 100, 0));
        move(beside(title("Playback", 7), 160, 0));
        move(beside(title("Playback", 8), 160, 0)); // PAL
        press(false);
        click(title("File"));
        key(display::key_right);
        for (int row = 0; row < 3; ++row)
            key(display::key_up);
        key(display::key_return); // Double Buffer
        click(title("Half Size"));
        click(title("Half Size", 3));
        click({4, 4}); // beside all
    };
    expect_journals_to_play(hands,
                            "Twice the Size\nMode: Loop\nRate: PAL (25)\n"
                            "shot_012\ntake 3\n50\n00:01:02:13\nTwice the Size\n"
                            "+ Twice the Size\n+ Film (24)\n+ Full Screen\n+ Loop\n+ Keep Open",
                            KEPT_MENUS, "MENUS_JOURNAL");
}

TEST_F(pages_test, text_editing) {
    const auto hands = [this] {
        const screen_box &shot = find(name_shot_field)->box;
        click({clamp_16(shot.x + shot.width - 10), clamp_16(shot.y + 10)});
        type("x4");
        key(display::key_home);
        for (int i = 0; i < 5; ++i)
            key(display::key_right);
        with(shift, display::key_end);
        with(ctrl, 'x');
        key(display::key_delete); // nothing is behind
        key(display::key_tab);    // accepts, and goes on to the next, which is selected
        with(ctrl, 'v');
        key(display::key_home);
        key(display::key_delete);
        key(display::key_return);
        click(middle(name_opacity_field));
        with(ctrl, 'a');
        type("150");
        key(display::key_return); // brought into the limits
        click(middle(name_time_field));
        with(ctrl, 'a');
        type("53");
        click({clamp_16(fields_window.x + 400), clamp_16(fields_window.y + 20)}); // the ground
    };
    expect_journals_to_play(hands,
                            "Choose from a menu\nMode: Normal\nRate: Film (24)\n"
                            "shot_\n12x4\n100\n00:00:02:05\nHalf Size\n"
                            "+ Half Size\n+ Film (24)\n+ Full Screen\n+ Double Buffer\n+ Normal",
                            KEPT_TEXT, "TEXT_JOURNAL");
}

TEST_F(pages_test, choosing_files) {
    namespace fs = std::filesystem;
    const fs::path home = fs::current_path(), films = directory + "/films";
    fs::create_directories(films / "sub");
    for (const char *name : {"alpha.reel", "beta.reel", "notes.txt", "sub/deep.reel"})
        std::ofstream(films / name) << name;
    fs::current_path(films); // where the tools begin
    const auto hands = [this] {
        constexpr int to_open = 30, beside_edge = 20; // pixels
        const screen_point bar = {files_window.x + 14, files_window.y + files_window.height - 15};
        const directory_demon *load = tool(false);
        const screen_point first_row = middle_of(box_of_entry(load->list, 0));
        click(bar);
        click(beside(bar, 0, -to_open));
        click(first_row); // twice: into the folder
        click(first_row);
        click(first_row); // selects what is in it
        click({clamp_16(load->box.x + load->box.width - beside_edge),
               clamp_16(load->box.y + beside_edge)}); // "Open"
        with(ctrl, 's');
        move(middle_of(tool(true)->box));
        with(shift, display::key_tab); // from the name to the list
        type("s");
        key(display::key_return);    // into the folder
        key(display::key_backspace); // and back
        key(display::key_tab);
        type("beta");
        key(display::key_return); // is it to be overwritten?
        key(display::key_return);
    };
    with_files = true;
    expect_journals_to_play(
        hands, (films / "sub/deep.reel").string() + "\n" + (films / "beta.reel").string() + "\n",
        KEPT_FILES, "FILES_JOURNAL");
    fs::current_path(home);
}

} // namespace gallery
