// The gallery on a display that is not there: what hands do in it leaves the pictures that it
// should, and a journal of it plays to the same pictures, pixel for pixel.
#include "tests/examples/gallery_fixture.h"

#include <functional>
#include <map>
#include <string>

namespace gallery {

// What a run has come to, just before it ended.
struct outcome {
    std::map<std::string, std::vector<std::uint32_t>> pictures; // by the window's title
    std::string first_field, second_field, choice;
    bool chip_is_in_tray = false;
    screen_point carriage, puck;
    bool operator==(const outcome &) const = default;
};

class gallery_test : public gallery_fixture {
protected:
    static constexpr screen_point aside = {4, 4}; // over no window

    void begin() {
        open_display(open_windows, note_outcome);
        at = aside;
    }
    // Opens it, does the things, ends it with the pointer aside.
    outcome run(const std::function<void()> &hands, std::vector<std::string> words = {}) {
        begin();
        hands();
        move(aside);
        key(display::key_escape);
        return play(std::move(words));
    }
    static outcome play(std::vector<std::string> words) {
        last = {};
        dispatch(std::move(words));
        return last;
    }

private:
    static inline outcome last;

    static void note_outcome() {
        last.pictures = take_pictures();
        if (const demon *chip = find(name_chip)) {
            last.first_field = text_of_field(find(name_first_field));
            last.second_field = text_of_field(find(name_second_field));
            last.choice = chosen_line();
            const demon *shelf = find(name_tray_shelf);
            last.chip_is_in_tray = chip->parent.get() == shelf && chip->window == shelf->window;
            last.carriage = {find(name_carriage)->box.x, find(name_carriage)->box.y};
            last.puck = {find(name_puck)->box.x, find(name_puck)->box.y};
        }
        system_terminate();
    }
};

TEST_F(gallery_test, what_goes_again_leaves_no_trace) {
    const outcome untouched = run([] {});
    ASSERT_EQ(untouched.pictures.size(), 2U);
    const struct {
        const char *what;
        std::function<void()> hands;
    } rows[] = {
        {"lit demons, one in the other",
         [this] {
             for (const char *each : {name_outer, name_inner, name_puck, name_list_button})
                 move(middle(each));
         }},
        {"a list that pops up over others",
         [this] {
             click(middle(name_list_button));
             move(middle(name_list));
             move(beside(middle(name_list), 0, 40));
         }},
        {"cursors of demons",
         [this] {
             move(middle(name_crosshair));
             move(beside(middle(name_crosshair), 10, 10));
             move(beside(middle(name_crosshair), 150, 0));
             move(beside(middle(name_crosshair), 270, 9));
         }},
        {"a chip that goes to the other window and back",
         [this] {
             const screen_point here = middle(name_chip);
             const screen_box &slot = find(name_chip)->box, &shelf = find(name_tray_shelf)->box;
             // The second slot of the lower row, or near: it rests in the nearest one.
             const screen_point there =
                 beside({shelf.x, shelf.y}, 10 + 58 + slot.width / 2, 10 + slot.height / 2);
             drag(here, beside(there, 9, 6));
             drag(there, beside(here, -3, -5));
         }},
        {"a locked demon, released where it was held",
         [this] {
             drag(middle(name_puck), middle(name_puck));
             drag(corner(name_carriage), corner(name_carriage));
         }},
        {"a window that is closed and shown again",
         [this] {
             move(middle(name_tray_shelf));
             send_to(windows[tray_title], display::event_kind::close);
             click(middle(name_tray_button));
         }},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(run(row.hands) == untouched) << row.what;
}

TEST_F(gallery_test, a_journal_plays_to_the_same_pictures) {
    screen_point carriage, puck;
    const auto hands = [&] {
        carriage = {find(name_carriage)->box.x, find(name_carriage)->box.y};
        puck = {find(name_puck)->box.x, find(name_puck)->box.y};
        drag(middle(name_puck), beside(middle(name_puck), 60, 8), 1); // out of it at once
        drag(corner(name_carriage), beside(corner(name_carriage), 90, -6));
        click(middle(name_list_button));
        click(beside(middle(name_list), 0, 26)); // the second line
        move(middle(name_inner));
        click(middle(name_first_field));
        type("sh01");
        key(display::key_tab);
        type("nx");
        key(display::key_backspace);
        type("o");
        drag(middle(name_chip), middle(name_tray_shelf));
        click(middle(name_first_field));
        move(middle(name_outer));
        type("0");
    };
    const std::string journal = directory + "/journal";
    const outcome recorded = run(hands, {"-r", journal});
    EXPECT_EQ(recorded.first_field, "sh010");
    EXPECT_EQ(recorded.second_field, "no");
    EXPECT_EQ(recorded.choice, "24 frames a second");
    EXPECT_TRUE(recorded.chip_is_in_tray);
    EXPECT_EQ(recorded.carriage, beside(carriage, 90, -6));
    EXPECT_EQ(recorded.puck, beside(puck, 150, 2));
    EXPECT_FALSE(recorded.pictures == run([] {}).pictures);
    keep_journal(journal, "GALLERY_JOURNAL");

    // Also one of another day, which is kept with this test.
    for (const std::string &name : {journal, std::string(KEPT_JOURNAL)}) {
        begin();
        const outcome played = play({"-p", name});
        EXPECT_EQ(played.first_field, recorded.first_field) << name;
        EXPECT_EQ(played.choice, recorded.choice) << name;
        EXPECT_EQ(played.carriage, recorded.carriage) << name;
        EXPECT_TRUE(played == recorded) << name;
    }
}

} // namespace gallery
