// The widget calls: what applications build windows with.
//
//   demon *window = addWindow(100, 300, 400, 200, "Lamp", forget_window, 0);
//   demon *lamp = addButton(window, 10, 10, 80, 25, "Switch", switch_lamp, 7);     // controls.h
//   drawWidget(window);
//   ...
//   widget_value value;
//   getWidgetValue(lamp, &value);
//
// A handle is a pointer to the widget's demon. It is good until the widget is destroyed, by
// destroyWidget or with what it is in; calls with null do nothing. Sizes and places are pixels of
// a screen of 1280 x 1024 from the lower left corner of what the widget is in; smaller screens
// shrink them.
//
// Every call leaves the caller's window, viewport and matrix as they were (graphics bracket).
// Nothing here draws by itself unless a call says so: drawWidget does.
//
// A widget's function may do anything, also destroy the widget, what it is in, and its window.
#pragma once

#include "toolkit/demons/generic_demons.h"
#include "toolkit/graphics/run_modes.h"
#include "toolkit/graphics/window_table.h"

#include <cstdint>
#include <string_view>

namespace toolkit {

// What a widget calls when its user has done something.
using widget_function = void (*)(word argument);

// --- the graphics bracket ------------------------------------------------------------------------

// getGraphics keeps the current window with its viewport and matrix, putGraphics puts them back, if
// that window is still open. While screen coordinates are selected only the window is kept: who
// draws like the toolkit has no coordinates of its own. Pairs nest; putGraphics without a
// getGraphics does nothing.
void getGraphics();
void putGraphics();
void forget_graphics(); // all that was kept: for the program's end

// The pair, for as long as a record of this type stands.
class graphics_bracket {
public:
    graphics_bracket() { getGraphics(); }
    ~graphics_bracket() { putGraphics(); }
    graphics_bracket(const graphics_bracket &) = delete;
    graphics_bracket &operator=(const graphics_bracket &) = delete;
};

// --- values --------------------------------------------------------------------------------------

// A widget's value: a number (a switch: 0 or 1) or a text, as the widget has it.
struct widget_value {
    float number = 0;
    std::string_view text; // from a widget: good until the widget changes or goes

    widget_value() = default;
    widget_value(int n) : number(static_cast<float>(n)) {} // NOLINT: values are written as numbers
    widget_value(float n) : number(n) {}                   // NOLINT
    widget_value(std::string_view t) : text(t) {}          // NOLINT
    widget_value(const char *t) : text(t) {}               // NOLINT
};

// Messages msg_set_value, msg_update_value and msg_get_value carry a widget_value *.
void getWidgetValue(demon *widget, widget_value *result);
void setWidgetValue(demon *widget, const widget_value &value); // calls its function if it changed
void updateWidgetValue(demon *widget, const widget_value &value); // does not

// --- life and looks ------------------------------------------------------------------------------

void destroyWidget(demon *widget);
void drawWidget(demon *widget); // nothing in batch mode
void eraseWidget(demon *widget);
void highlightWidget(demon *widget);
void dehighlightWidget(demon *widget);
void setWidgetDrawFunction(demon *widget, draw_routine routine);
void setWidgetEraseFunction(demon *widget, draw_routine routine);
void setWidgetHiliteFunction(demon *widget, draw_routine routine);
void setWidgetDehiliteFunction(demon *widget, draw_routine routine);

// --- places --------------------------------------------------------------------------------------

void positionWidgetAbs(demon *widget, int x, int y);                // pixels of the screen
void positionWidgetRel(demon *widget, demon *parent, int x, int y); // as set_demon
void addWidget(demon *widget, demon *parent);
void deleteWidget(demon *widget); // out of its parent, hidden; it lives on
[[nodiscard]] demon *getParentWidget(demon *widget);
[[nodiscard]] demon *getTopWidget(demon *widget); // the window demon that it is in, or null

// The box in pixels of the screen's design, relative to the parent's corner; ...Screen: in pixels
// of this screen. set: places and sizes the widget, with all that is in it moved along.
[[nodiscard]] screen_box getBoxWidget(demon *widget);
void setBoxWidget(demon *widget, const screen_box &box);
void setBoxWidgetScreen(demon *widget, const screen_box &box);

[[nodiscard]] int getStringWidth(int slot, std::string_view text); // pixels of this screen

// --- state ---------------------------------------------------------------------------------------

// What is set here stays when windows close and open again. A widget is visible, and takes input,
// while all that it is in is and does.
void setVisibilityWidget(demon *widget, bool visible);
[[nodiscard]] bool getVisibilityWidget(demon *widget);
void setEnabledWidget(demon *widget, bool enabled); // takes input, and looks like it: drawn
[[nodiscard]] bool getEnabledWidget(demon *widget);
void setStuffWidget(demon *widget, word stuff); // the application's own: second_word
[[nodiscard]] word getStuffWidget(demon *widget);
void pushWidget(demon *widget);
void popWidget(demon *widget);
[[nodiscard]] bool isPoppedWidget(demon *widget);

// --- windows -------------------------------------------------------------------------------------

// A window at a place of the screen; the function is told when it is destroyed. addPushedWindow:
// opens when it is popped, and closing pushes it.
[[nodiscard]] demon *addWindow(int x, int y, int width, int height, const char *title,
                               widget_function on_destroy, word argument);
[[nodiscard]] demon *addPushedWindow(int x, int y, int width, int height, const char *title,
                                     widget_function on_destroy, word argument);

// A window of the window that the parent is in, placed from its corner. It opens when it is made,
// closing pushes it, and it goes when the other one is destroyed. addYesNoTitleSubWindow: the same
// with a title line of its own instead of a frame, and buttons for yes and no, which push it before
// they call the function.
[[nodiscard]] demon *addSubWindow(demon *parent, int x, int y, int width, int height,
                                  const char *title);
[[nodiscard]] demon *addYesNoTitleSubWindow(demon *parent, int x, int y, int width, int height,
                                            const char *title, widget_function on_yes,
                                            widget_function on_no, word argument);

using quit_function = int (*)(word argument);                // as in window_table.h
void setQuitFunction(quit_function function, word argument); // asked before the program ends
void setConfirmDestroyWindow(demon *window, bool confirm);   // its closing ends the program: ask
void setNoDestroyWindow(demon *window, bool stays);          // it can not be closed
void setDestroyFunctionWindow(demon *window, widget_function function, word argument);
void setPushFunctionWindow(demon *window, demon_handler handler); // in place of the window's own
void setPopFunctionWindow(demon *window, demon_handler handler);
void setLocMoveFunctionWindow(demon *window, demon_handler handler);
void setB1DownFunctionWindow(demon *window, demon_handler handler);
void setB1DoubleClickFunctionWindow(demon *window, demon_handler handler);
void setB1UpFunctionWindow(demon *window, demon_handler handler);
[[nodiscard]] const char *getWindowTitle(demon *window);
void setWindowTitle(demon *window, const char *title);
void setWindowColor(demon *window, int index); // its ground, an index of the default colour map
void setWindow(demon *widget);                 // makes its window current

// --- help ----------------------------------------------------------------------------------------

// While the help flag is set, widgets that are made keep their help ids.
void setHelp(std::uint16_t flag);
void getHelp(std::uint16_t *result);

// Six hooks, null at first.
using widget_hook = void (*)(word help_id);
using help_id_hook = word (*)(const char *text);
using help_display_hook = void (*)(word help_id);
using help_clear_hook = void (*)(demon *widget);
void setWidgetBoxInFunction(widget_hook function);
void setWidgetBoxOutFunction(widget_hook function);
void setWidgetB1UpFunction(widget_hook function);
void setWidgetHelpIdFunction(help_id_hook function);
void setWidgetHelpDisplayFunction(help_display_hook function);
void setWidgetHelpClearFunction(help_clear_hook function);

// Give a widget help: its id is what the help-id hook returns for the text. reuseHelpWidget looks
// the text up among those registered before, so that equal texts share one id. Without that hook
// nothing happens.
void setHelpWidget(demon *widget, const char *text);
void reuseHelpWidget(demon *widget, const char *text);

// What widgets call when the pointer comes and goes, and when button 1 was released.
void widgetHelpBoxIn(demon *widget);
void widgetHelpBoxOut(demon *widget);
void callWidgetBoxIn(word help_id);
void callWidgetBoxOut(word help_id);
void callWidgetB1Up(word help_id);

} // namespace toolkit
