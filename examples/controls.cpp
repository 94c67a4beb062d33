// Shows every control, to be used by hand: the line on top says what happened. The switch "Enabled"
// disables them. Closing the window ends it.
//
//   example_controls [-r FILE] [-p FILE]    records the input to a journal, plays one
#include "examples/gallery.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/system.h"
#include "toolkit/widgets/widgets.h"

int main(int argc, char **argv) {
    using namespace toolkit;
    system_init();
    const screen_box &box = gallery::controls_window;
    demon *window = addWindow(
        box.x, box.y, box.width, box.height, gallery::controls_title, [](word) { quit_dispatch(); },
        0);
    gallery::add_controls(window);
    drawWidget(window);
    dispatch_play_record(argc, argv);
    return 0;
}
