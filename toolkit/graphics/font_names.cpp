#include "toolkit/graphics/font_names.h"

#include <optional>

namespace toolkit {

namespace {
std::optional<font_names> chosen_names;
}

void gl_set_font_names_table(const font_names &names) {
    chosen_names = names;
    for (font_choice &choice : *chosen_names)
        if (choice.name.size() > max_font_name)
            choice.name.resize(max_font_name);
}

const font_names *gl_inq_font_names_table() {
    return chosen_names ? &*chosen_names : nullptr;
}

} // namespace toolkit
