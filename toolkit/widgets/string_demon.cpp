#include "toolkit/widgets/string_demon.h"

#include "toolkit/demons/box_text.h"
#include "toolkit/demons/primitives.h"
#include "toolkit/events/key_table.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/fonts.h"

namespace toolkit {

object_set *String_Demon_Set = nullptr;

namespace {

constexpr int last_ascii = 126;

} // namespace

string_demon *create_string_demon(object_set *set, int width, int height, std::string_view text) {
    if (set == nullptr && String_Demon_Set == nullptr)
        keep_set_in(&String_Demon_Set,
                    create_set_of<string_demon>(demon_block, 1, inq_generic_demon_class()));
    auto *made = create_demon_of<string_demon>(set != nullptr ? set : String_Demon_Set, width,
                                               height, nullptr);
    if (made == nullptr)
        return nullptr;
    made->draw = string_demon_draw;
    made->erase = nullptr;
    made->hilite = do_hilite_bn;
    made->dehilite = do_dehilite_bn;
    made->on.keystroke = string_demon_keystroke;
    set_edit_text(&made->line, text);
    return made;
}

void string_demon_keystroke(demon *d, object *, demon_message *m) {
    auto *self = static_cast<string_demon *>(d);
    bool has_changed = false;
    if (m->key == backspace_character) {
        has_changed = erase_text(&self->line, text_step::left);
    } else if (m->key >= ' ' && m->key <= last_ascii) {
        const char typed = static_cast<char>(m->key);
        has_changed = insert_text(&self->line, {&typed, 1});
    }
    if (has_changed)
        demon_draw_message(self);
}

void string_demon_draw(display_object *d) {
    const auto *self = static_cast<const string_demon *>(d);
    gl_outline_fill_box(self->box, colour_well, self->hilited != 0 ? colour_gray : colour_drawing);
    draw_text_left_box(self->box, font_slot_normal_1, text_of(self->line), look_of(self));
}

} // namespace toolkit
