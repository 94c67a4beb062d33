#include "toolkit/demons/demon_tree.h"
#include "toolkit/widgets/directory_demon.h"
#include "toolkit/widgets/pulldowns.h"

namespace toolkit {

namespace {

// Files are not part of what help explains.
class help_off {
public:
    help_off() {
        getHelp(&flag_);
        setHelp(0);
    }
    ~help_off() { setHelp(flag_); }
    help_off(const help_off &) = delete;
    help_off &operator=(const help_off &) = delete;
    [[nodiscard]] bool was_on() const { return flag_ != 0; }

private:
    std::uint16_t flag_ = 0;
};

iris_window_demon *live_window(word window) {
    auto *d = from_word<demon *>(window);
    return is_live(d) && is_iris_window_demon(d) ? static_cast<iris_window_demon *>(d) : nullptr;
}

void pop_file_tool(word window) {
    demon_pop_message(live_window(window));
}

void fileToolBoxIn(demon *self, object *sender, demon_message *m) {
    const demon_ref kept = refer_to_demon(self);
    callWidgetBoxIn(static_cast<iris_window_demon *>(self)->help_id);
    if (kept.get() != nullptr)
        iris_demon_box_in(self, sender, m);
}

void fileToolBoxOut(demon *self, object *sender, demon_message *m) {
    const demon_ref kept = refer_to_demon(self);
    callWidgetBoxOut(static_cast<iris_window_demon *>(self)->help_id);
    if (kept.get() != nullptr)
        iris_demon_box_out(self, sender, m);
}

// The window's values are those of the tool in it.
word widget_dd_set(demon *self, object *, word value) {
    return send_message(self->kids, msg_set_value, to_word(self), value);
}

word widget_dd_update(demon *self, object *, word value) {
    return send_message(self->kids, msg_update_value, to_word(self), value);
}

// Closing only hides it.
void popupToolDestroy(demon *self, object *sender, demon_message *m) {
    pushdown_iris_window(self, sender, m);
}

// The window around a directory demon, pushed; null without memory.
iris_window_demon *make_tool_window(demon *tool, const file_tool_settings &settings) {
    iris_window_demon *window = create_iris_window_demon_pushed(
        nullptr, settings.x, settings.y, settings.width, settings.height, "File Tool", nullptr, 0);
    if (window == nullptr)
        return nullptr;
    set_demon(tool, window, 0, 0);
    add_demon(tool, window);
    window->on.box_in = fileToolBoxIn;
    window->on.box_out = fileToolBoxOut;
    window->on.set_value = widget_dd_set;
    window->on.update_value = widget_dd_update;
    window->on.destroy = popupToolDestroy;
    return window;
}

} // namespace

demon *addFileToolPullDownChoice(demon *pulldown, demon *previous, const char *label,
                                 bool separator, int key, std::uint32_t modifiers,
                                 const char *key_text, word help_id, bool active, demon **result,
                                 const file_tool_settings &tool) {
    const graphics_bracket bracket;
    const help_off without_help;
    if (result != nullptr)
        *result = nullptr;
    if (as_pulldown(pulldown) == nullptr)
        return nullptr;
    demon *made = create_directory_demon(nullptr, tool);
    iris_window_demon *window = nullptr;
    if (made != nullptr) {
        reuseHelpWidget(made, " help for file tool ");
        window = make_tool_window(made, tool);
    }
    demon *choice = addPullDownChoice(pulldown, previous, label, separator, pulldown_kind::command,
                                      key, modifiers, key_text, pop_file_tool, to_word(window),
                                      nullptr, false, active && window != nullptr);
    pulldown_choice *own = as_pulldown_choice(choice);
    if (own != nullptr)
        own->tool_window = refer_to_demon(window);
    if (own != nullptr && without_help.was_on()) {
        own->help_id = help_id;
        own->flags |= flag_help;
    }
    if (result != nullptr)
        *result = choice;
    return made;
}

} // namespace toolkit
