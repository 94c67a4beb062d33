#include "player/player_menus.h"

#include "player/engine.h"
#include "player/play_file.h"
#include "player/player_window.h"
#include "player/session_decisions.h"
#include "player/window_layout.h"
#include "player/window_parts.h"
#include "toolkit/dialogs/questions.h"
#include "toolkit/events/key_table.h"
#include "toolkit/widgets/pulldowns.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace player {

namespace {

using toolkit::addPullDownChoice;
using toolkit::demon;
using toolkit::demon_ref;
using toolkit::pulldown_kind;
using toolkit::refer_to_demon;
using toolkit::word;

constexpr int tool_place = 300; // of the file tools on the screen, and their size
constexpr int tool_mode = 6;
constexpr const char *movie_extension = "reel";
constexpr int usual_custom_rate = 10;

int custom_rate = usual_custom_rate; // what the custom choice's label says

constexpr std::array fixed_rates{30.0F, 25.0F, 24.0F};
constexpr std::array<const char *, fixed_rates.size()> fixed_rate_labels{"NTSC (30)", "PAL (25)",
                                                                         "Film (24)"};

std::string custom_label() {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "Custom (%d)...", custom_rate);
    return text.data();
}

std::size_t place_of(rate_choice which) {
    return static_cast<std::size_t>(which);
}

demon *rate_widget(rate_choice which) {
    return player_tool.rates[place_of(which)].get();
}

rate_choice choice_of(float rate) {
    const auto *fixed = std::ranges::find(fixed_rates, rate);
    if (fixed != fixed_rates.end())
        return static_cast<rate_choice>(fixed - fixed_rates.begin());
    return rate == every_frame_rate ? rate_choice::every_frame : rate_choice::custom;
}

// A rate as a label shows it.
int whole_rate(float rate) {
    constexpr float most = 1e9F;
    return std::isnan(rate) ? 0 : static_cast<int>(std::clamp(rate, -most, most));
}

void name_custom_rate(int rate) {
    custom_rate = rate;
    toolkit::setPullDownChoiceLabel(rate_widget(rate_choice::custom), custom_label().c_str());
}

void check_alone(rate_choice which) {
    for (const demon_ref &choice : player_tool.rates)
        toolkit::updateWidgetValue(choice.get(), 0);
    toolkit::updateWidgetValue(rate_widget(which), 1);
}

void set_active(const demon_ref &choice, bool active) {
    if (active)
        toolkit::activatePullDownChoice(choice.get());
    else
        toolkit::deactivatePullDownChoice(choice.get());
}

bool is_movie_open() {
    return open_movie.film != nullptr;
}

// --- building ------------------------------------------------------------------------------------

struct shortcut {
    int key = 0;
    std::uint32_t modifiers = 0;
    const char *text = nullptr;
};

demon_ref add_command(demon *menu, const char *label, bool separator, const shortcut &keys,
                      toolkit::widget_function function, bool active) {
    return refer_to_demon(addPullDownChoice(menu, nullptr, label, separator, pulldown_kind::command,
                                            keys.key, keys.modifiers, keys.text, function, 0,
                                            nullptr, false, active));
}

demon_ref add_radio(demon *menu, const char *label, bool separator, const char *key_text,
                    toolkit::widget_function function, word argument, bool on) {
    return refer_to_demon(addPullDownChoice(menu, nullptr, label, separator, pulldown_kind::radio,
                                            0, 0, key_text, function, argument, nullptr, on, true));
}

void add_file_choices(demon *menu) {
    demon *open = nullptr;
    player_tool.load_file_tool = refer_to_demon(toolkit::addFileToolPullDownChoice(
        menu, nullptr, "Open...", false, 'o', toolkit::alias_ctrl, "Ctrl+O", 0,
        !state.session_playback, &open,
        {.x = tool_place,
         .y = tool_place,
         .width = tool_place,
         .height = tool_place,
         .title = "Load Play File",
         .mode = tool_mode,
         .callback = [](word) { load_play_file(playback, open_movie); }}));
    player_tool.open = refer_to_demon(open);
    demon *save = nullptr;
    player_tool.save_file_tool = refer_to_demon(toolkit::addFileToolPullDownChoice(
        menu, nullptr, "Save As...", false, 's', toolkit::alias_ctrl, "Ctrl+S", 0, is_movie_open(),
        &save,
        {.pattern = movie_extension,
         .x = tool_place,
         .y = tool_place,
         .width = tool_place,
         .height = tool_place,
         .title = "Save Play File",
         .mode = tool_mode,
         .callback = [](word) { save_play_file(playback, open_movie); },
         .is_saving = true,
         .overwrite_question = "Overwrite reel file:"}));
    player_tool.save_as = refer_to_demon(save);
    player_tool.quit = add_command(
        menu, "Quit", false, {'q', toolkit::alias_ctrl, "Ctrl+Q"},
        [](word) { // its key works whatever the choice looks like
            const auto *own = toolkit::as_pulldown_choice(player_tool.quit.get());
            if (own != nullptr && own->active != 0)
                quit_player(0);
        },
        state.standalone);
}

void add_modes(demon *menu, const play_args &args) {
    constexpr std::array<const char *, 3> labels{"Normal", "Loop", "Swing"};
    for (std::int32_t mode = mode_normal; mode <= mode_swing; ++mode) {
        const auto place = static_cast<std::size_t>(mode);
        player_tool.modes[place] = add_radio(
            menu, labels[place], mode == mode_swing, "L",
            [](word chosen) { set_mode(playback, static_cast<std::int32_t>(chosen)); }, mode,
            args.mode == mode);
    }
}

void add_zooms(demon *menu, const play_args &args) {
    const bool is_zoomed = is_movie_open() && args.zoom != 1;
    player_tool.zoom_up = add_command(
        menu, "Zoom Up", false, {'+', 0, "+"}, [](word) { zoom_up(playback); }, is_movie_open());
    player_tool.zoom_down = add_command(
        menu, "Zoom Down", false, {'-', 0, "-"}, [](word) { zoom_down(playback); }, is_zoomed);
    player_tool.restore = add_command(
        menu, "Restore", true, {'0', 0, "0"}, [](word) { restore_zoom(playback); }, is_zoomed);
}

demon *make_rate_menu(const play_args &args) {
    demon *menu = toolkit::addSubPullDown();
    const int rate = whole_rate(args.rate);
    const rate_choice now = choice_of(static_cast<float>(rate));
    const bool is_fixed = place_of(now) < fixed_rates.size();
    custom_rate = is_fixed ? usual_custom_rate : rate;
    for (std::size_t i = 0; i < fixed_rates.size(); ++i)
        player_tool.rates[i] = add_radio(
            menu, fixed_rate_labels[i], false, nullptr,
            [](word which) { set_rate(playback, fixed_rates[static_cast<std::size_t>(which)]); },
            static_cast<word>(i), place_of(now) == i);
    player_tool.rates[place_of(rate_choice::custom)] = add_radio(
        menu, custom_label().c_str(), true, nullptr, [](word) { ask_custom_rate(playback); }, 0,
        !is_fixed);
    player_tool.rates[place_of(rate_choice::every_frame)] = add_radio(
        menu, "Show Every Frame", false, nullptr,
        [](word) { set_rate(playback, every_frame_rate); }, 0, false);
    return menu;
}

void add_playback_menu(demon *menu, const play_args &args) {
    add_modes(menu, args);
    add_zooms(menu, args);
    addPullDownChoice(menu, nullptr, "Frame Rate", false, pulldown_kind::cascade, 0, 0, nullptr,
                      nullptr, 0, make_rate_menu(args), false, true);
    player_tool.double_buffer = refer_to_demon(addPullDownChoice(
        menu, nullptr, "Double Buffer", false, pulldown_kind::toggle, 0, 0, nullptr,
        [](word) { toggle_double_buffer(playback); }, 0, nullptr, args.double_buffer != 0, true));
}

// --- keys ----------------------------------------------------------------------------------------

void next_mode(word) {
    const bool is_followed = playback.mode == mode_normal || playback.mode == mode_loop;
    set_mode(playback, is_followed ? playback.mode + 1 : mode_normal);
}

void open_tool(const demon_ref &tool) {
    toolkit::popWidget(toolkit::getParentWidget(tool.get()));
}

struct player_key {
    int key;
    std::uint32_t modifiers;
    toolkit::alias_function function;
};

// The first two are choices' own, which count as long as these are active.
constexpr std::array player_keys{
    player_key{'o', toolkit::alias_ctrl,
               [](word) {
                   if (!state.session_playback)
                       open_tool(player_tool.load_file_tool);
               }},
    player_key{'s', toolkit::alias_ctrl,
               [](word) {
                   if (is_movie_open())
                       open_tool(player_tool.save_file_tool);
               }},
    player_key{' ', 0, [](word) { play_forward(playback, open_movie); }},
    player_key{',', 0, [](word) { step_back(playback, open_movie); }},
    player_key{'.', 0, [](word) { step_forward(playback, open_movie); }},
    player_key{toolkit::home_pressed, 0, [](word) { go_to_first(playback, open_movie); }},
    player_key{toolkit::end_pressed, 0, [](word) { go_to_last(playback, open_movie); }},
    player_key{'r', 0, [](word) { play_reverse(playback, open_movie); }},
    player_key{'l', 0, next_mode},
    player_key{'V', toolkit::alias_all, tell_version},
};

} // namespace

void add_player_menus(demon *menu_bar, const play_args &args) {
    demon *animation = toolkit::addPullDown(menu_bar, "Animation", 0);
    add_file_choices(animation);
    demon *play = toolkit::addPullDown(menu_bar, "Playback", 0);
    add_playback_menu(play, args);
}

void bind_player_keys() {
    for (const player_key &k : player_keys)
        toolkit::aliasKeystroke(k.key, k.modifiers, k.function, 0);
}

void release_player_keys() {
    for (const player_key &k : player_keys)
        toolkit::remove_keystroke_alias(k.key, k.modifiers, k.function, 0);
}

// --- what the menus do ---------------------------------------------------------------------------

void set_mode(play_args &args, std::int32_t mode) {
    if (mode == mode_swing)
        state.swing_returning = false;
    args.mode = mode;
    toolkit::updateWidgetValue(player_tool.modes[static_cast<std::size_t>(mode)].get(), 1);
}

void set_rate(play_args &args, float rate) {
    args.rate = rate;
    update_rate_menu(args);
}

void ask_custom_rate(play_args &args) {
    check_alone(rate_choice::custom);
    int value = 0;
    if (toolkit::ask_integer("Frame Rate:", &value, custom_rate) == toolkit::answer_yes) {
        value = std::max(value, 1);
        args.rate = static_cast<float>(value);
        name_custom_rate(value);
    }
    update_rate_menu(args);
}

void update_rate_menu(const play_args &args) {
    const rate_choice now = choice_of(args.rate);
    if (now == rate_choice::custom && args.rate >= 1 &&
        args.rate != static_cast<float>(custom_rate))
        name_custom_rate(whole_rate(args.rate));
    check_alone(now);
    set_active(player_tool.save_as, is_movie_open());
    set_active(player_tool.zoom_up, is_movie_open());
    set_active(player_tool.zoom_down, is_movie_open() && args.zoom != 1);
    set_active(player_tool.restore, is_movie_open() && args.zoom != 1);
}

void zoom_up(play_args &args) {
    if (!is_movie_open())
        return;
    toolkit::activatePullDownChoice(player_tool.zoom_down.get());
    const std::int32_t largest = largest_zoom(args, {state.screen_width, state.screen_height});
    if (args.zoom < largest) {
        ++args.zoom;
        fit_player_window(args);
    }
    if (args.zoom >= largest)
        toolkit::deactivatePullDownChoice(player_tool.zoom_up.get());
}

void zoom_down(play_args &args) {
    if (!is_movie_open())
        return;
    args.zoom = std::max(args.zoom - 1, 1);
    fit_player_window(args);
}

void restore_zoom(play_args &args) {
    if (!is_movie_open())
        return;
    args.zoom = 1;
    fit_player_window(args);
}

} // namespace player
