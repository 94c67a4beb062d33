#include "player/start_up.h"

#include "player/engine.h"
#include "player/player_window.h"
#include "toolkit/graphics/font_names.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace player {

namespace {

constexpr std::array<const char *, toolkit::font_role_count> font_variables{
    "VORTAN_FONT_SMALL", "VORTAN_FONT_NORM1", "VORTAN_FONT_NORM2", "VORTAN_FONT_BOLD",
    "VORTAN_FONT_IBOLD"};
constexpr float max_font_points = 1000.0F;
constexpr std::string_view port_option = "-ipc_link_port";

// Takes the next field off text, fields being separated by one colon or more; empty at the end.
std::string_view next_field(std::string_view *text) {
    text->remove_prefix(std::min(text->find_first_not_of(':'), text->size()));
    const std::string_view field = text->substr(0, text->find(':'));
    text->remove_prefix(field.size());
    return field;
}

// Splits NAME:POINTS. False when there is no name or no usable size.
bool split_font(const char *value, toolkit::font_choice *choice) {
    std::string_view rest = value;
    choice->name = next_field(&rest);
    choice->size = std::strtof(std::string(next_field(&rest)).c_str(), nullptr);
    return !choice->name.empty() && choice->size > 0 && choice->size <= max_font_points;
}

} // namespace

void read_font_variables() {
    std::array<const char *, toolkit::font_role_count> values{};
    for (std::size_t role = 0; role < values.size(); ++role) {
        values[role] = std::getenv(font_variables[role]);
        if (values[role] == nullptr)
            return;
    }
    toolkit::font_names names;
    for (std::size_t role = 0; role < values.size(); ++role) {
        if (!split_font(values[role], &names[role])) {
            std::fprintf(stderr,
                         "%s: %s is \"%s\", not a font name, a colon and a size in points; the "
                         "built-in fonts are used.\n",
                         gMe, font_variables[role], values[role]);
            return;
        }
    }
    toolkit::gl_set_font_names_table(names);
}

void clear_player() {
    free_frame_buffers(playback);
    movie::VFclose(std::move(open_movie.film));
    open_movie = {};
    parent_link = {};
    state.standalone = true;
}

void parse_command_line(int argc, char **argv) {
    state.app_argc = argc;
    state.app_argv = argv;
    for (int i = 1; i < argc; ++i) {
        if (argv[i] != port_option || i + 1 == argc) {
            state.play_file_name = argv[i];
            continue;
        }
        const char *text = argv[++i];
        char *end = nullptr;
        const long port = std::strtol(text, &end, 10);
        if (end == text)
            continue;
        parent_link.port = static_cast<std::int32_t>(std::clamp<long>(port, INT32_MIN, INT32_MAX));
        state.standalone = false;
    }
}

void setup_ipc_stuff(ipc_link &parent, play_args &args) {
    const std::int32_t display_info = args.display_info;
    args = {};
    args.display_info = display_info;
    static_cast<void>(open_link(parent, args)); // has said why; no link is no reason to end
}

void start_autoplay(play_args &args, movie_ref &ref) {
    const char *wanted = std::getenv("PLAYER_AUTOPLAY");
    if (wanted == nullptr || *wanted == 0)
        return;
    const std::string_view mode = wanted;
    if (mode == "normal") {
        set_mode(args, mode_normal);
    } else if (mode == "loop") {
        set_mode(args, mode_loop);
    } else if (mode == "swing") {
        set_mode(args, mode_swing);
    } else {
        std::fprintf(stderr, "%s: PLAYER_AUTOPLAY is \"%s\", not normal, loop or swing.\n", gMe,
                     wanted);
        return;
    }
    play_forward(args, ref);
}

} // namespace player
