// Shows every control, menus and fields, each in a window, to be used by hand: a line in each says
// what happened. The switch "Enabled" disables the controls. Closing the controls' window ends it.
//
//   example_controls [-r FILE] [-p FILE]    records the input to a journal, plays one
#include "examples/gallery.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/dialogs/dialogs.h"
#include "toolkit/system.h"
#include "toolkit/widgets/widgets.h"

namespace {

void open_page(const toolkit::screen_box &box, const char *title, void (*fill)(toolkit::demon *),
               toolkit::widget_function closed) {
    toolkit::demon *window =
        toolkit::addWindow(box.x, box.y, box.width, box.height, title, closed, 0);
    fill(window);
    toolkit::drawWidget(window);
}

} // namespace

int main(int argc, char **argv) {
    using namespace gallery;
    toolkit::system_init();
    toolkit::init_dialogs();
    open_page(menus_window, menus_title, add_menus, nullptr);
    open_page(fields_window, fields_title, add_fields, nullptr);
    open_page(controls_window, controls_title, add_controls,
              [](toolkit::word) { toolkit::quit_dispatch(); });
    toolkit::dispatch_play_record(argc, argv);
    return 0;
}
