// Journals of hands that use each menu choice, button and field of the player. After each step what
// the player is doing, and what the display shows of each widget, must be as the golden beside the
// journal has it: what has changed since the step before, a line each.
//
//   PLAYER_JOURNALS=record player_test --gtest_filter='journal*'     writes both anew
//
// Pictures are noted as checksums where there are no letters. Where there are, their text is noted,
// whether it looks dim, and everywhere the window must look as if it had just been drawn anew.
#include "tests/player/journal_fixture.h"

namespace {

using namespace player;
using player_test::journal_test;

TEST_F(journal_test, menus) {
    const player_widgets &all = player_tool;
    const auto hands = [&] {
        note_step("A movie");
        hand_chooses("Loop", all.modes[mode_loop]);
        hand_chooses("Swing", all.modes[mode_swing]);
        hand_chooses("Normal", all.modes[mode_normal]);
        hand_chooses("Zoom Up", all.zoom_up);
        hand_chooses("Zoom Up again", all.zoom_up);
        hand_chooses("Zoom Up for the last time", all.zoom_up);
        hand_tries("Zoom Up has no more room", all.zoom_up);
        hand_chooses("Zoom Down", all.zoom_down);
        hand_chooses("Restore", all.restore);
        hand_chooses("NTSC", rate(rate_choice::ntsc));
        hand_chooses("PAL", rate(rate_choice::pal));
        hand_chooses("Film", rate(rate_choice::film));
        hand_chooses("Custom", rate(rate_choice::custom), "12");
        hand_chooses("Show Every Frame", rate(rate_choice::every_frame));
        hand_chooses("Double Buffer", all.double_buffer);
        hand_chooses("Double Buffer off", all.double_buffer);
        hand_opens_tool("Save As", all.save_as, all.save_file_tool);
        hand_names_file("Save As, accepted", "copy.reel");
        hand_opens_menu_of(all.quit);
        hand_clicks(all.quit);
        note_step("Quit");
    };
    expect_golden("menus", true, hands);
}

TEST_F(journal_test, without_a_movie) {
    const player_widgets &all = player_tool;
    const auto hands = [&] {
        note_step("No movie");
        hand_tries("Save As is not active", all.save_as);
        hand_tries("Zoom Up is not active", all.zoom_up);
        hand_chooses("Custom", rate(rate_choice::custom), "48");
        hand_clicks(button(transport::play));
        hand_goes_aside();
        note_step("Play does nothing");
        hand_opens_tool("Open", all.open, all.load_file_tool);
        hand_names_file("Open, accepted", "walk.reel");
        hand_looks_into_menu_of(all.save_as, "Animation with a movie");
        hand_looks_into_menu_of(all.zoom_up, "Playback with a movie");
    };
    expect_golden("no_movie", false, hands);
}

TEST_F(journal_test, controls) {
    const player_widgets &all = player_tool;
    const auto hands = [&] {
        note_step("A movie");
        hand_clicks(all.slider);
        note_step("The middle of the slider");
        hand_at(all.slider);
        hand_presses();
        for (const char *name : {"Dragged on", "And on", "Let go"}) {
            hand_at({static_cast<std::int16_t>(at.x + 30), at.y});
            if (*name == 'L')
                hand_lets_go();
            note_step(name);
        }
        hand_clicks(all.time);
        note_step("The time field has the keys");
        hand_taps(display::key_end);
        hand_taps(display::key_backspace);
        hand_types("5");
        hand_goes_aside();
        note_step("Another time");
        hand_works(transport::step_forward, "Step forward");
        hand_works(transport::step_back, "Step back");
        hand_works(transport::stop, "Stop");
        hand_works(transport::play, "Play");
        hand_clicks(button(transport::play));
        hand_waits(10);
        hand_clicks(button(transport::stop));
        hand_goes_aside();
        note_step("Play, then Stop");
        hand_works(transport::fast_forward, "Fast forward");
        hand_works(transport::fast_reverse, "Fast reverse");
        hand_works(transport::reverse, "Reverse");
    };
    expect_golden("controls", true, hands);
}

} // namespace
