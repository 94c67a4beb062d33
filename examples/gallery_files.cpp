// Section "Files": a menu with the two file tools, one to open and one to save, and what came of
// them.
#include "examples/gallery.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/widgets/controls.h"
#include "toolkit/widgets/pulldowns.h"

#include <string>

namespace gallery {

using namespace toolkit;

namespace {

constexpr int bar_height = 30;

struct files {
    demon *readout;
    demon *load;
    demon *save;
};
files shown;

void show_value(const char *what, demon *tool) {
    widget_value value;
    getWidgetValue(tool, &value);
    const std::string text = std::string(what).append(value.text);
    updateWidgetValue(shown.readout, std::string_view(text));
}

void show_load(word) {
    show_value("Open: ", shown.load);
}

void show_save(word) {
    show_value("Save: ", shown.save);
}

} // namespace

void add_files(demon *window) {
    const screen_box &box = files_window;
    demon *bar = addMenuBar(window, 0, box.height - bar_height, box.width, bar_height);
    demon *menu = addPullDown(bar, "Animation", 0);
    file_tool_settings settings = {.x = box.x,
                                   .y = box.y - 340,
                                   .width = 300,
                                   .height = 300,
                                   .title = "Load Play File",
                                   .callback = show_load};
    shown.load = addFileToolPullDownChoice(menu, nullptr, "Open...", false, 'o', alias_ctrl,
                                           "Ctrl+O", 0, true, nullptr, settings);
    settings.x += settings.width + 20;
    settings.pattern = "reel";
    settings.title = "Save Play File";
    settings.callback = show_save;
    settings.is_saving = true;
    settings.overwrite_question = "Overwrite reel file:";
    shown.save = addFileToolPullDownChoice(menu, nullptr, "Save As...", false, 's', alias_ctrl,
                                           "Ctrl+S", 0, true, nullptr, settings);
    shown.readout = addLabel(window, 12, 12, box.width - 24, 22, "Open or save a file",
                             font_slot_normal_1, label_place::left);
}

} // namespace gallery
