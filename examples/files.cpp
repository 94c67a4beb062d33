// Shows the file tools, to be used by hand: the line in the window says what was chosen. Closing
// the window ends it.
//
//   example_files [-r FILE] [-p FILE]    records the input to a journal, plays one
#include "examples/gallery.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/dialogs/dialogs.h"
#include "toolkit/system.h"
#include "toolkit/widgets/widgets.h"

int main(int argc, char **argv) {
    using namespace toolkit;
    system_init();
    init_dialogs();
    const screen_box &box = gallery::files_window;
    demon *window = addWindow(
        box.x, box.y, box.width, box.height, gallery::files_title, [](word) { quit_dispatch(); },
        0);
    gallery::add_files(window);
    drawWidget(window);
    dispatch_play_record(argc, argv);
    return 0;
}
