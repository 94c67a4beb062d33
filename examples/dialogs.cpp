// Shows every dialog, to be used by hand: the line on top says what was answered. Closing the
// window asks whether it is meant.
//
//   example_dialogs [-r FILE] [-p FILE]    records the input to a journal, plays one
#include "toolkit/dialogs/dialogs.h"
#include "examples/gallery.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/system.h"
#include "toolkit/widgets/widgets.h"

int main(int argc, char **argv) {
    using namespace toolkit;
    system_init();
    init_dialogs();
    const screen_box &box = gallery::dialogs_window;
    demon *window = addWindow(
        box.x, box.y, box.width, box.height, gallery::dialogs_title, [](word) { quit_dispatch(); },
        0);
    setConfirmDestroyWindow(window, true);
    gallery::add_dialogs(window);
    drawWidget(window);
    dispatch_play_record(argc, argv);
    return 0;
}
