#include "platform/gl/clipboard.h"

#include "platform/display/display.h"

namespace gl {
namespace {

display::text_offer on_display(text_offer which) {
    return which == text_offer::clipboard ? display::text_offer::clipboard
                                          : display::text_offer::selection;
}

} // namespace

void offer_text(text_offer which, std::string_view text) {
    display::server().offer_text(on_display(which), text);
}

bool request_text(text_offer which) {
    return display::server().request_text(on_display(which));
}

const std::string &pasted_text() {
    return display::server().pasted_text();
}

} // namespace gl
