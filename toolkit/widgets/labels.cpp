#include "toolkit/demons/box_text.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/widgets/control.h"
#include "toolkit/widgets/controls.h"

namespace toolkit {

namespace {

struct label : control {
    int slot;
    label_place place;
};
object_set *Label_Set = nullptr;

void draw_label(display_object *d) {
    auto *self = static_cast<label *>(d);
    gl_fill_box(self->box, ground_of(self));
    const look state = look_of_control(self);
    if (self->place == label_place::middle)
        draw_text_box(self->box, self->slot, label_of(self), state);
    else
        draw_text_left_box(self->box, self->slot, label_of(self), state);
}

bool take_label(control *self, const widget_value &value) {
    if (label_of(self) == value.text)
        return false;
    set_control_label(self, value.text);
    redraw_control(self);
    return true;
}

constexpr control_kind label_kind = {.draw = draw_label, .take = take_label, .is_lit = false};

} // namespace

demon *addLabel(demon *parent, int x, int y, int width, int height, std::string_view text, int slot,
                label_place place) {
    const graphics_bracket bracket;
    auto *made =
        make_control<label>(&Label_Set, parent, {x, y, width, height}, label_kind, nullptr, 0);
    if (made == nullptr)
        return nullptr;
    set_control_label(made, text);
    made->slot = slot;
    made->place = place;
    return made;
}

} // namespace toolkit
