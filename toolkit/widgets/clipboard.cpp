#include "toolkit/widgets/clipboard.h"

#include <new>
#include <string>

namespace toolkit {

namespace {

clipboard_functions installed;
std::string own_text;

} // namespace

void set_clipboard_functions(const clipboard_functions &functions) {
    installed = functions;
}

std::string_view get_clipboard_text() {
    return installed.get != nullptr ? installed.get() : own_text;
}

void set_clipboard_text(std::string_view text) {
    if (installed.set != nullptr) {
        installed.set(text);
        return;
    }
    try {
        own_text = text;
    } catch (const std::bad_alloc &) {
        return; // what was copied before stays
    }
}

} // namespace toolkit
