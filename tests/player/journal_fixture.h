// Hands whose doings are a journal, and what they leave: see journal_test.cpp.
#pragma once

#include "platform/gl/key_devices.h"
#include "platform/gl/windows.h"
#include "tests/player/window_fixture.h"
#include "toolkit/events/event_journal.h"
#include "toolkit/widgets/widgets.h"

#include <memory>
#include <sstream>

namespace player_test {

using namespace player;
using toolkit::demon_ref;
using toolkit::journal_line;
using toolkit::screen_box;

inline constexpr toolkit::screen_point aside{5, 5}; // no window is there
inline constexpr int mark_width = 24;               // of a choice's left part, where its mark is
inline constexpr int bright = 150;                  // of 255; the letters of what can be chosen are
inline constexpr std::string_view caption_start = "//CAPTION\t\t ## ";

// A caption, and what hands do from there on to the next one.
struct journal_step {
    std::string name;
    std::vector<journal_line> lines;
};
using journal = std::vector<journal_step>;

inline journal read_journal(const std::string &path) {
    journal steps;
    std::ifstream file(path);
    for (std::string text; std::getline(file, text);) {
        if (text.starts_with(caption_start)) {
            steps.push_back({text.substr(caption_start.size()), {}});
            continue;
        }
        const std::unique_ptr<std::FILE, int (*)(std::FILE *)> line(
            fmemopen(text.data(), text.size(), "r"), std::fclose);
        if (steps.empty())
            steps.push_back({"before the first caption", {}});
        steps.back().lines.emplace_back();
        EXPECT_TRUE(read_journal_line(line.get(), &steps.back().lines.back())) << text;
    }
    return steps;
}

inline void write_journal(const std::string &path, const journal &steps) {
    std::FILE *file = std::fopen(path.c_str(), "w");
    ASSERT_NE(file, nullptr) << path;
    for (const journal_step &step : steps) {
        toolkit::write_caption(file, step.name);
        for (const journal_line &line : step.lines)
            write_journal_line(file, line,
                               toolkit::journal_label(line.device, line.value, false, false));
    }
    ASSERT_EQ(std::fclose(file), 0);
}

// The code of a key or button of the display that is this device.
inline int key_code(gl::device wanted) {
    constexpr int last_letter = 0x7e, first_special = 0xff00, last_special = 0xffff;
    for (int code = ' '; code <= last_special;
         code = code == last_letter ? first_special : code + 1)
        if (gl::key_device(code) == wanted)
            return code;
    return 0;
}

struct picture_part { // of a picture
    const display::memory::shown_picture &in;
    int left, low, width, height;

    template <typename function> void each_pixel(function take) const {
        for (int y = std::max(low, 0); y < std::min(low + height, in.height); ++y)
            for (int x = std::max(left, 0); x < std::min(left + width, in.width); ++x)
                take(in.pixels[static_cast<std::size_t>((in.height - 1 - y) * in.width + x)]);
    }
    std::string checksum() const {
        std::uint32_t sum = 2166136261U;
        each_pixel([&](std::uint32_t pixel) { sum = (sum ^ (pixel & 0xFFFFFF)) * 16777619U; });
        std::array<char, 16> text{};
        std::snprintf(text.data(), text.size(), "%08x", sum);
        return text.data();
    }
    // How light its lightest and its darkest pixel are, 0 .. 255.
    std::pair<int, int> range() const {
        std::pair<int, int> found{0, 255};
        each_pixel([&](std::uint32_t pixel) {
            const int green = static_cast<int>(pixel >> 8 & 0xFF);
            found = {std::max(found.first, green), std::min(found.second, green)};
        });
        return found;
    }
};

class journal_test : public window_fixture {
protected:
    void SetUp() override {
        window_fixture::SetUp();
        home = std::filesystem::current_path();
        std::filesystem::current_path(folder); // the file tools begin here
    }
    void TearDown() override {
        std::filesystem::current_path(home);
        window_fixture::TearDown();
    }

    // ---- hands: what they do is noted and done

    void act(gl::device device, int value) {
        journal_line line{device, at, static_cast<std::int16_t>(value)};
        recorded_lines.push_back(line);
        play(line);
    }
    void hand_at(toolkit::screen_point to) {
        at = to;
        act(gl::MOUSEX, to.x);
    }
    void hand_at(const demon_ref &widget) { hand_at(middle(widget)); }
    // Down first: x is told before y, and titles of the menu bar are on the way.
    void hand_goes_aside() {
        hand_at({at.x, aside.y});
        hand_at(aside);
    }
    void hand_presses() { act(gl::LEFTMOUSE, 1); }
    void hand_lets_go() { act(gl::LEFTMOUSE, 0); }
    void hand_clicks(const demon_ref &widget) { hand_clicks(middle(widget)); }
    void hand_clicks(toolkit::screen_point place) {
        hand_at(place);
        hand_presses();
        hand_lets_go();
    }
    void hand_taps(int code) {
        act(gl::key_device(code), 1);
        act(gl::key_device(code), 0);
    }
    void hand_types(std::string_view text) {
        for (const char c : text)
            hand_taps(c);
        hand_taps(display::key_return);
    }
    void hand_waits(int ticks) { act(gl::TIMER0, ticks); }
    // Opens the menu that has a choice, as a menu opened by it.
    void hand_opens_menu_of(const demon_ref &choice) {
        const demon_ref owner = toolkit::as_pulldown(choice.get()->parent.get())->owner;
        if (toolkit::as_pulldown_choice(owner.get()) != nullptr)
            hand_opens_menu_of(owner);
        hand_clicks(owner);
        run(); // the menu has a place now
    }
    // Then its menu is opened again, to see what has become of it.
    void hand_chooses(const char *name, const demon_ref &choice, const char *answer = nullptr) {
        hand_opens_menu_of(choice);
        hand_clicks(choice);
        if (answer != nullptr)
            hand_types(answer);
        hand_goes_aside();
        note_step(name);
        hand_looks_into_menu_of(choice, std::string(name) + ", in the menu");
    }
    void hand_looks_into_menu_of(const demon_ref &choice, const std::string &name) {
        hand_opens_menu_of(choice);
        hand_goes_aside();
        note_step(name);
        hand_leaves_menu();
    }
    // What is not active can not be chosen: its menu stays open.
    void hand_tries(const char *name, const demon_ref &choice) {
        hand_opens_menu_of(choice);
        hand_clicks(choice);
        hand_goes_aside();
        note_step(name);
        hand_leaves_menu();
    }
    void hand_leaves_menu() {
        hand_clicks(aside);
        run();
    }
    void hand_opens_tool(const char *name, const demon_ref &choice, const demon_ref &tool) {
        hand_opens_menu_of(choice);
        hand_clicks(choice);
        hand_at(tool);
        note_step(name);
    }
    void hand_names_file(const char *name, const char *file) {
        hand_taps(display::key_tab);
        hand_types(file);
        hand_goes_aside();
        note_step(name);
    }
    void hand_works(transport which, const std::string &name) {
        hand_at(button(which));
        note_step(name + ", pointed at");
        hand_presses();
        note_step(name + ", pressed");
        hand_lets_go();
        hand_waits(12);
        note_step(name);
        hand_goes_aside();
    }
    static const demon_ref &rate(rate_choice which) {
        return player_tool.rates[static_cast<std::size_t>(which)];
    }

    // ---- a journal's line on the display

    void play(const journal_line &line) {
        at = line.position;
        if (line.device == gl::TIMER0) { // so many ticks pass
            due_us += line.value * program_clock::us_per_second / gl::ticks_per_second;
        } else if (line.device == gl::MOUSEX) {
            send(display::event_kind::motion);
            wake(); // the toolkit asks for the place when nothing else comes
            due_us += step_us;
        } else if (line.device == gl::LEFTMOUSE) {
            press(line.value != 0);
        } else {
            send(display::event_kind::key, key_code(line.device), line.value != 0);
        }
    }
    void note_step(const std::string &name) {
        recorded.push_back({name, std::move(recorded_lines)});
        recorded_lines.clear();
        look_at(name);
    }
    journal recorded;
    std::vector<journal_line> recorded_lines;

    // ---- what is there

    void look_at(const std::string &name) {
        bool is_noted = false;
        then([&] {
            note_all(name);
            is_noted = true;
        });
        run();
        if (!is_noted) // it has quit before
            note_all(name);
        due_us += program_clock::us_per_second; // nothing is a double click
    }
    void note(const std::string &what, const std::string &now) {
        std::string &before = noted[what];
        if (before != now)
            found << "  " << what << ": " << now << "\n";
        before = now;
    }
    void note_all(const std::string &name) {
        found << name << "\n";
        note_player();
        note_choices();
        note_windows();
        gl::flush_windows();
        const auto shown = display::memory::picture(window);
        note_widgets(shown);
        for (const demon_ref *choice : choices())
            note_in_menu(*choice);
        toolkit::drawWidget(player_tool.window.get());
        gl::flush_windows();
        EXPECT_TRUE(shown.pixels == display::memory::picture(window).pixels)
            << name << ": the window does not look as if it had just been drawn";
    }
    void note_player() {
        constexpr std::array modes{"Normal", "Loop", "Swing"};
        note("mode", modes[static_cast<std::size_t>(args.mode)]);
        note("rate", std::to_string(static_cast<int>(args.rate)));
        note("zoom", std::to_string(args.zoom));
        note("frame", std::to_string(args.current) + " of " + std::to_string(args.count));
        note("playing", state.playing ? "in steps of " + std::to_string(args.direction) : "no");
        view.make_current();
        note("buffers", gl::is_double_buffered() ? "2" : "1");
        note("quit", state.quit_requested ? "yes" : "no");
    }
    static std::vector<const demon_ref *> choices() {
        player_widgets &all = player_tool;
        std::vector<const demon_ref *> list{&all.open, &all.save_as, &all.quit};
        for (const demon_ref &mode : all.modes)
            list.push_back(&mode);
        list.insert(list.end(), {&all.zoom_up, &all.zoom_down, &all.restore});
        list.push_back(&toolkit::as_pulldown(all.rates[0].get()->parent.get())->owner);
        for (const demon_ref &each : all.rates)
            list.push_back(&each);
        list.push_back(&all.double_buffer);
        return list;
    }
    void note_choices() {
        std::string checked, inactive;
        for (const demon_ref *choice : choices()) {
            if (is_checked(*choice))
                checked.append(checked.empty() ? "" : ", ").append(label_of(*choice));
            if (!is_active(*choice))
                inactive.append(inactive.empty() ? "" : ", ").append(label_of(*choice));
        }
        note("checked", checked);
        note("inactive", inactive);
    }
    void note_windows() {
        std::string others;
        for (const display::window_id each : display::memory::windows()) {
            const display::memory::window_facts facts = display::memory::facts(each);
            if (each != window && facts.state == display::window_state::shown)
                others += "[" + facts.title + "]";
        }
        note("other windows", others);
        const display::memory::window_facts own = display::memory::facts(window);
        note("title", own.title);
        note("size", std::to_string(own.area.width) + " x " + std::to_string(own.area.height));
    }
    void note_widgets(const display::memory::shown_picture &shown) {
        const screen_box &in = player_tool.window.get()->box;
        const auto part_of = [&](const demon_ref &widget) {
            const screen_box &box = widget.get()->box;
            return picture_part{shown, box.x - in.x, box.y - in.y, box.width, box.height};
        };
        constexpr std::array buttons{"reverse", "fast reverse", "fast forward", "play",
                                     "stop",    "step back",    "step forward"};
        if (args.pixels) // else there is a text
            note("picture", part_of(player_tool.picture).checksum());
        note("slider", part_of(player_tool.slider).checksum());
        for (std::size_t i = 0; i < buttons.size(); ++i)
            note(buttons[i], part_of(player_tool.buttons[i]).checksum());
        note("label", text_of(player_tool.label));
        note("time", text_of(player_tool.time));
        for (const demon_ref *widget : {&player_tool.label, &player_tool.time}) {
            const auto [lightest, darkest] = part_of(*widget).range();
            EXPECT_GT(lightest - darkest, 80) << "there is no text";
        }
    }
    // What is seen of a choice while its menu is open.
    void note_in_menu(const demon_ref &choice) {
        const toolkit::pulldown *menu = toolkit::as_pulldown(choice.get()->parent.get());
        if (menu->popped == 0)
            return;
        const screen_box &box = choice.get()->box;
        for (const display::window_id each : display::memory::windows()) {
            const display::rectangle area = display::memory::facts(each).area;
            if (area.x != menu->box.x || area.width != menu->box.width ||
                area.y + area.height != screen_height - menu->box.y)
                continue;
            const auto shown = display::memory::picture(each);
            const int left = box.x - menu->box.x, low = box.y - menu->box.y;
            const picture_part mark{shown, left, low, mark_width, box.height};
            const picture_part text{shown, left + mark_width, low + 4, box.width - mark_width - 4,
                                    box.height - 8};
            note("in the menu, " + label_of(choice),
                 mark.checksum() + (text.range().first < bright ? ", dim" : ""));
        }
    }

    // ---- the test

    // Hands use a new player, and what they do is a journal; then one of another day is played in
    // another new player. Both leave what the golden says.
    void expect_golden(const std::string &name, bool with_movie,
                       const std::function<void()> &hands) {
        const std::string kept = JOURNALS + name + ".journal", golden = JOURNALS + name + ".golden";
        const char *wish = std::getenv("PLAYER_JOURNALS");
        const bool is_recording = wish != nullptr && wish == std::string_view("record");
        start(with_movie);
        hands();
        const std::string by_hands = found.str();
        if (is_recording) {
            write_journal(kept, recorded);
            std::ofstream(golden) << by_hands;
        }
        std::ostringstream wanted;
        wanted << std::ifstream(golden).rdbuf();
        compare(by_hands, wanted.str(), name + ", by hands");
        start(with_movie);
        for (const journal_step &step : read_journal(kept)) {
            for (const journal_line &line : step.lines)
                play(line);
            look_at(step.name);
        }
        compare(found.str(), wanted.str(), kept);
    }
    void start(bool with_movie) {
        for (const auto &each : std::filesystem::directory_iterator(folder))
            std::filesystem::remove_all(each);
        build();
        at = aside;
        recorded.clear();
        recorded_lines.clear();
        noted.clear();
        found.str("");
        const movie_plan film{.frames = 12, .rate = 24, .width = 320, .height = 240};
        if (with_movie)
            load(film, "walk.reel");
        else
            write_movie(film, "walk.reel");
    }
    static void compare(const std::string &now, const std::string &wanted,
                        const std::string &what) {
        std::istringstream left(now), right(wanted);
        for (std::string step, line, other; left || right;) {
            line.clear(), other.clear();
            std::getline(left, line);
            std::getline(right, other);
            step = line.starts_with(' ') ? step : line;
            ASSERT_EQ(line, other) << what << ", after " << step;
        }
    }

    std::map<std::string, std::string> noted;
    std::ostringstream found;
    std::filesystem::path home;
};

} // namespace player_test
