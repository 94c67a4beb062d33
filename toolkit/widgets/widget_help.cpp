#include "toolkit/widgets/control.h"
#include "toolkit/widgets/widgets.h"

#include <string>
#include <unordered_map>

namespace toolkit {

namespace {

struct help_state {
    std::uint16_t flag = 0;
    widget_hook box_in = nullptr;
    widget_hook box_out = nullptr;
    widget_hook b1_up = nullptr;
    help_id_hook id = nullptr;
    help_display_hook display = nullptr;
    help_clear_hook clear = nullptr;
    std::unordered_map<std::string, word> ids; // by text, as the present id hook gave them
};
help_state help;

void call_hook(widget_hook hook, word help_id) {
    if (hook != nullptr)
        hook(help_id);
}

word id_of(const char *text) {
    const word id = help.id(text);
    help.ids.insert_or_assign(text, id);
    return id;
}

void give_help(demon *widget, word id) {
    widget->flags |= flag_help;
    static_cast<generic_demon *>(widget)->help_id = id;
}

bool can_have_help(const demon *widget, const char *text) {
    return help.id != nullptr && text != nullptr && is_generic_demon(widget);
}

bool has_help(const demon *widget) {
    return is_generic_demon(widget) && (widget->flags & flag_help) != 0;
}

word help_id_of(const demon *widget) {
    return is_generic_demon(widget) ? static_cast<const generic_demon *>(widget)->help_id : 0;
}

} // namespace

void setHelp(std::uint16_t flag) {
    help.flag = flag;
}

void getHelp(std::uint16_t *result) {
    if (result != nullptr)
        *result = help.flag;
}

void setWidgetBoxInFunction(widget_hook function) {
    help.box_in = function;
}

void setWidgetBoxOutFunction(widget_hook function) {
    help.box_out = function;
}

void setWidgetB1UpFunction(widget_hook function) {
    help.b1_up = function;
}

void setWidgetHelpIdFunction(help_id_hook function) {
    help.id = function;
    help.ids.clear();
}

void setWidgetHelpDisplayFunction(help_display_hook function) {
    help.display = function;
}

void setWidgetHelpClearFunction(help_clear_hook function) {
    help.clear = function;
}

void setHelpWidget(demon *widget, const char *text) {
    if (!can_have_help(widget, text))
        return;
    const graphics_bracket bracket;
    const demon_ref kept = refer_to_demon(widget);
    const word id = id_of(text);
    if (kept.get() != nullptr)
        give_help(widget, id);
}

void reuseHelpWidget(demon *widget, const char *text) {
    if (!can_have_help(widget, text))
        return;
    const auto known = help.ids.find(text);
    if (known != help.ids.end())
        give_help(widget, known->second);
    else
        setHelpWidget(widget, text);
}

void widgetHelpBoxIn(demon *widget) {
    if (has_help(widget) && help.display != nullptr)
        help.display(help_id_of(widget));
}

void widgetHelpBoxOut(demon *widget) {
    if (has_help(widget) && help.clear != nullptr)
        help.clear(widget);
}

void callWidgetBoxIn(word help_id) {
    call_hook(help.box_in, help_id);
}

void callWidgetBoxOut(word help_id) {
    call_hook(help.box_out, help_id);
}

void callWidgetB1Up(word help_id) {
    call_hook(help.b1_up, help_id);
}

void keep_help_id(generic_demon *made, word help_id) {
    if (help.flag == 0)
        return;
    made->help_id = help_id;
    made->flags |= flag_help;
}

void tell_box_in(demon *widget) {
    if (help.flag != 0)
        widgetHelpBoxIn(widget);
    else
        callWidgetBoxIn(help_id_of(widget));
}

void tell_box_out(demon *widget) {
    if (help.flag != 0)
        widgetHelpBoxOut(widget);
    else
        callWidgetBoxOut(help_id_of(widget));
}

} // namespace toolkit
