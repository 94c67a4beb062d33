// Widget calls that are one message each: values, life and looks.
#include "toolkit/demons/demons.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/widgets/widgets.h"

namespace toolkit {

namespace {

void send_alone(demon *widget, std::uint32_t code) {
    const graphics_bracket bracket;
    demon_message m;
    m.code = code;
    send_demon_message(widget, nullptr, m);
}

} // namespace

// ---- values

void getWidgetValue(demon *widget, widget_value *result) {
    if (result == nullptr)
        return;
    const graphics_bracket bracket;
    send_message(widget, msg_get_value, 0, to_word(result));
}

void setWidgetValue(demon *widget, const widget_value &value) {
    const graphics_bracket bracket;
    send_message(widget, msg_set_value, 0, to_word(&value));
}

void updateWidgetValue(demon *widget, const widget_value &value) {
    if (widget == nullptr)
        return;
    const graphics_bracket bracket;
    gl_set_win(widget->window);
    send_message(widget, msg_update_value, 0, to_word(&value));
}

// ---- life and looks

void destroyWidget(demon *widget) {
    send_alone(widget, msg_destroy);
}

void drawWidget(demon *widget) {
    if (getTarnBatchMode() == 0)
        send_alone(widget, msg_draw);
}

void eraseWidget(demon *widget) {
    send_alone(widget, msg_erase);
}

void highlightWidget(demon *widget) {
    send_alone(widget, msg_hilite);
}

void dehighlightWidget(demon *widget) {
    send_alone(widget, msg_dehilite);
}

void setWidgetDrawFunction(demon *widget, draw_routine routine) {
    if (widget != nullptr)
        widget->draw = routine;
}

void setWidgetEraseFunction(demon *widget, draw_routine routine) {
    if (widget != nullptr)
        widget->erase = routine;
}

void setWidgetHiliteFunction(demon *widget, draw_routine routine) {
    if (widget != nullptr)
        widget->hilite = routine;
}

void setWidgetDehiliteFunction(demon *widget, draw_routine routine) {
    if (widget != nullptr)
        widget->dehilite = routine;
}

} // namespace toolkit
