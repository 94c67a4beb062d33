// Shows what demons do: they light up under the pointer, can be dragged, pop up and go, move
// between windows, blink, and take keys.
//
//   example_gallery [-r FILE] [-p FILE]    records the input to a journal, plays one
//
// Escape or closing the window "Gallery" ends it.
#include "examples/gallery.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/dialogs/dialogs.h"
#include "toolkit/system.h"

int main(int argc, char **argv) {
    toolkit::system_init();
    toolkit::init_dialogs();
    gallery::open_windows();
    toolkit::dispatch_play_record(argc, argv);
    return 0;
}
