// The Player Tool.
#include "platform/clock/program_clock.h"
#include "platform/gl/screen.h"
#include "player/play_file.h"
#include "player/play_stats.h"
#include "player/player_loop.h"
#include "player/player_window.h"
#include "player/progress_window.h"
#include "player/quit_signals.h"
#include "player/start_up.h"
#include "toolkit/dialogs/dialogs.h"
#include "toolkit/graphics/builtin_icons.h"
#include "toolkit/system.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

// The name by which the program was called, without its folder.
const char *program_name(int argc, char **argv) {
    if (argc < 1 || argv[0] == nullptr || *argv[0] == 0)
        return player::gMe;
    const char *slash = std::strrchr(argv[0], '/');
    return slash == nullptr || slash[1] == 0 ? argv[0] : slash + 1;
}

} // namespace

int main(int argc, char **argv) {
    using namespace player;
    gMe = program_name(argc, argv);
    read_font_variables();
    playback.display_info = gl::getgdesc(gl::GD_DISPLAY_INFO);
    errno = 0;
    clear_player();
    parse_command_line(argc, argv);
    setup_ipc_stuff(parent_link, playback);
    if (!state.standalone)
        attach_link_status(parent_link);
    state.session_start_us = program_clock::now_us();
    toolkit::system_init();
    toolkit::init_dialogs();
    toolkit::gl_identify_program("playertool", "PlayerTool");
    init_play_stats();
    if (install_quit_signals() != 0)
        std::perror("Player: eventfd");
    if (state.standalone) {
        if (build_player_tool(playback) != 0)
            return 1;
    } else if (parent_link.socket > 0) {
        if (build_progress_window(playback) != 0)
            return 1;
        send_pid(parent_link);
    }
    if (!state.play_file_name.empty()) {
        load_play_file(playback, open_movie);
        start_autoplay(playback, open_movie);
    }
    player_main_loop(0, 0, 0);
    return 0;
}
