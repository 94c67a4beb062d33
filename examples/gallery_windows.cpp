// The gallery's windows, and what ends it.
#include "examples/gallery.h"

#include "toolkit/demons/demon_tree.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/events/key_table.h"

#include <cstdio>
#include <cstdlib>

namespace gallery {

using namespace toolkit;

namespace {

// All keys come to the demon god first.
void end_at_escape(demon *self, object *sender, demon_message *m) {
    if (m->key == escape_character)
        quit_dispatch();
    else
        pass_key_to_window(self, sender, m);
}

word end_with_window(word, callback *) {
    quit_dispatch();
    return 0;
}

using maker = iris_window_demon *(*)(object_set *set, int x, int y, int width, int height,
                                     const char *title, callback_function function, word argument);

demon *open_window(maker make, const screen_box &box, const char *title,
                   callback_function function) {
    demon *window = make(nullptr, box.x, box.y, box.width, box.height, title, function, 0);
    if (window == nullptr) {
        std::fputs("gallery: no memory for a window\n", stderr);
        std::exit(EXIT_FAILURE);
    }
    return window;
}

} // namespace

void open_windows() {
    if (is_generic_demon(inq_demon_god()))
        static_cast<generic_demon *>(inq_demon_god())->on.keystroke = end_at_escape;
    demon *tray = open_window(create_iris_window_demon_popped, tray_window, tray_title, nullptr);
    demon *window = open_window(create_iris_window_demon, main_window, main_title, end_with_window);
    add_nested_demons(window);
    add_dragging(window);
    add_popping_up(window);
    add_cursors(window);
    add_keys(window);
    add_two_windows(window, tray);
    for (demon *each : {window, tray}) {
        demon_gl_window_assign(each->kids);
        demon_gl_window_assign(each->pop_list);
        demon_draw_message(each);
    }
}

} // namespace gallery
