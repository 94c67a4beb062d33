// Demons in windows of a display that is not there.
#pragma once

#include "tests/toolkit/graphics/graphics_fixture.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/demons/demons.h"
#include "toolkit/graphics/spaces.h"

#include <string>
#include <vector>

namespace toolkit {

class demon_fixture : public graphics_fixture {
protected:
    demon_fixture() {
        set_window_hooks(
            {.demon_box = [](object *owner) { return static_cast<display_object *>(owner)->box; }});
    }

    // A demon that has a window of its own, shown and taking input.
    static demon *open_demon_window(const screen_box &box) {
        demon *d = make(nullptr, box);
        d->window = gl_win_open("test", d);
        demon_visibility_message(d, true);
        demon_enable_input_message(d, true);
        gl::qreset();
        return d;
    }
    // A demon of a set's own class (null: plain), in a parent (null: in none).
    static demon *make(demon *parent, const screen_box &box, object_set *set = nullptr) {
        demon *d = create_demon(set, 0, 0, nullptr);
        d->box = box;
        add_demon(d, parent);
        return d;
    }
    static std::vector<demon *> chain(demon *first) {
        std::vector<demon *> all;
        for (; first != nullptr; first = first->next)
            all.push_back(first);
        return all;
    }
};

} // namespace toolkit
