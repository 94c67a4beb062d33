// Menu bars: a bar holds switches (the titles), each switch owns a pulldown (the panel), and each
// pulldown holds choices (the entries).
//
//   demon *bar = addMenuBar(window, 0, 470, 640, 30);
//   demon *playback = addPullDown(bar, "Playback", 0);
//   demon *loop = addPullDownChoice(playback, nullptr, "Loop", false, pulldown_kind::radio, 'l',
//                                   alias_ctrl, "Ctrl+L", set_mode, 1, nullptr, true, true);
//   demon *rates = addSubPullDown();
//   addPullDownChoice(rates, nullptr, "Film (24)", ...);
//   addPullDownChoice(playback, nullptr, "Frame Rate", true, pulldown_kind::cascade, 0, 0, nullptr,
//                     nullptr, 0, rates, false, true);
//
// Where a call takes a pulldown it takes the switch that owns it as well. Calls with null, or with
// a demon of another kind, do nothing and return null.
//
// Values (getWidgetValue ...) of choices are 0 or 1; commands and cascades have 0. A radio choice
// is switched off by another one of its pulldown alone, or by value.
//
// Ownership: a bar owns its switches, a switch its pulldown, a pulldown its choices, a cascade its
// sub-pulldown: all go with their owner, and with a choice goes its shortcut.
//
// Use. Pressing a switch opens its pulldown; releasing over a choice chooses it, releasing
// elsewhere closes. A click on a switch leaves its pulldown open until the next press outside.
// Moving over the bar switches to the neighbour. Arrows move, Return chooses, Escape closes. A
// click on a cascade without a function opens it; one on a choice that is not active leaves all as
// it is.
//
// Pulldowns are windows of their own, without frame. While one is open its menu has the pointer,
// the arrow keys and all input, and shortcuts are off. It closes before a choice's function is
// called; when the bar's window is closed, hidden, becomes an icon or loses the keyboard; and when
// the bar, the switch or the pulldown goes.
#pragma once

#include "toolkit/demons/keystroke_aliases.h"
#include "toolkit/demons/window_demons.h"
#include "toolkit/widgets/widgets.h"

#include <array>
#include <cstdint>

namespace toolkit {

// --- records -------------------------------------------------------------------------------------

enum class pulldown_kind : std::int32_t { command = 0, toggle = 1, radio = 2, cascade = 3 };

inline constexpr std::size_t pulldown_label_size = 256; // bytes, with the closing zero
inline constexpr std::size_t pulldown_key_text_size = 64;

// Change it through the calls; what is marked * may be set.
struct pulldown_choice : generic_demon {
    std::int32_t row; // in its pulldown, from 1 at the top
    std::array<char, pulldown_label_size> label;
    std::uint16_t separator; // non-zero: a line below
    pulldown_kind kind;
    std::array<char, pulldown_key_text_size> key_text;
    widget_function callback; // *
    word argument;            // *
    std::uint16_t state;      // 1: on
    std::uint16_t text_font;
    demon_ref sub_pulldown;
    std::uint16_t active;         // demon_on, or 0
    std::uint16_t show_in_switch; // * non-zero: being chosen, it becomes the switch's label
    std::int32_t entry_width;     // that its texts ask for: pixels
    screen_point entered;         // where the pointer came in
    demon_ref tool_window;        // that it opens, and owns
    struct {
        int key; // 0: none
        std::uint32_t modifiers;
        alias_function function;
        word argument;
    } shortcut;
};

struct pulldown : iris_window_demon {
    std::int32_t count;           // of choices
    std::int32_t widest_key_text; // pixels
    demon_ref owner;              // the switch, or the cascade, that opens it
    demon_ref launched;           // the sub-pulldown that was opened from it
};

enum class switch_style : std::uint8_t { plain, arrow, bevelled };

struct pulldown_switch : generic_demon {
    std::array<char, pulldown_label_size> label;
    demon_ref panel; // its pulldown
    switch_style style;
    std::int32_t place; // switches stand in the bar in the order of these
};

extern object_class *Pulldown_Choice_Class; // "pulldown choice class "
extern object_class *Pulldown_Class;        // "pulldown class "
extern object_class *Pulldown_Switch_Class; // "pulldown switch class "
extern object_set *Pulldown_Choice_Set;
extern object_set *Pulldown_Set;
extern object_set *Pulldown_Switch_Set;

// The record, or null for other demons.
[[nodiscard]] pulldown_choice *as_pulldown_choice(demon *d);
[[nodiscard]] pulldown *as_pulldown(demon *d); // a pulldown, or a switch's
[[nodiscard]] pulldown_switch *as_pulldown_switch(demon *d);

// --- bars and switches ---------------------------------------------------------------------------

// With a window: placed in it and adopted by it. Without: at (x, y) of the screen, in no tree.
[[nodiscard]] demon *addMenuBar(demon *window, int x, int y, int width, int height);

// Adds a switch with an empty pulldown at the bar's right end. Without a bar: a message.
//   help_id  kept when help is on
[[nodiscard]] demon *addPullDown(demon *menu_bar, const char *label, word help_id);
[[nodiscard]] demon *addArrowPullDown(demon *menu_bar, const char *label, word help_id);
[[nodiscard]] demon *addBevelledPullDown(demon *menu_bar, const char *label, word help_id);

// A pulldown for a cascade. It belongs to nobody until addPullDownChoice takes it.
[[nodiscard]] demon *addSubPullDown();

void deletePullDown(demon *pulldown); // with its switch; a sub-pulldown alone
void setPullDownSwitchLabel(demon *pulldown_switch, const char *text);
void setUpdatePullDownSwitch(demon *pulldown_switch, value_handler handler); // its update routine

// Closes the menu that is open, if one is: for who shows something that must be answered first.
void closePullDowns();

// --- choices -------------------------------------------------------------------------------------

// Adds a choice behind `previous`, or at the end when that is null or not in the pulldown.
//   separator      a line below it
//   key, modifiers shortcut (keystroke_aliases.h), bound when there is a function; 0: none. For a
//                  toggle it does what choosing does, for others it calls the function
//   key_text       shown at the right; or null
//   sub_pulldown   of a cascade, else null. One that has an owner, or that holds this pulldown, is
//                  not taken
//   state          a toggle or radio is on
//   active         false: greyed, can not be chosen by the pointer
demon *addPullDownChoice(demon *pulldown, demon *previous, const char *label, bool separator,
                         pulldown_kind kind, int key, std::uint32_t modifiers, const char *key_text,
                         widget_function function, word argument, demon *sub_pulldown, bool state,
                         bool active);

// The steps of that which concern the pulldown alone: no help, no shortcut. A null set means
// Pulldown_Choice_Set.
pulldown_choice *add_pulldown_choice(object_set *set, pulldown *p, demon *previous,
                                     const char *label, bool separator, pulldown_kind kind,
                                     const char *key_text, widget_function function, word argument,
                                     demon *sub_pulldown, bool state, bool active);

void activatePullDownChoice(demon *choice);
void deactivatePullDownChoice(demon *choice); // its shortcut stays bound
void setPullDownChoiceLabel(demon *choice, const char *text);
void setPullDownChoiceRow(demon *choice, int row); // brought into 1 .. the count; others make room

// Takes a choice out; it lives on, with its shortcut, and can be put into a pulldown again: behind
// `previous` as for addPullDownChoice, or at the end.
void removePullDownChoice(demon *choice);
void insertPullDownChoice(demon *pulldown, demon *previous, demon *choice);
void appendPullDownChoice(demon *pulldown, demon *choice);
void deletePullDownChoice(demon *choice); // destroys it

// What choosing does to a toggle or radio choice, its function included; nothing for others.
void pulldown_choice_toggle(pulldown_choice *choice);

// The value methods: with and without calling the function.
void pulldown_choice_set(pulldown_choice *self, object *sender, widget_value *value);
void pulldown_choice_update(pulldown_choice *self, object *sender, widget_value *value);
void pulldown_choice_get(pulldown_choice *self, object *sender, widget_value *value);

// What stands on the screen is out of date: drawn again if it is open.
void pulldown_bitmap_destroy(pulldown *p);

// --- choices that open a file tool ---------------------------------------------------------------

struct file_tool_settings {
    const char *directory = nullptr;
    const char *pattern = nullptr; // an extension, or null
    int x = 0;                     // the window's place and size
    int y = 0;
    int width = 0;
    int height = 0;
    const char *title = nullptr;        // within the window
    int mode = 0;                       // kept in the tool
    widget_function callback = nullptr; // a file was accepted
    word argument = 0;
    widget_function extra_callback = nullptr; // called after that; null: none
    word extra_argument = 0;
    bool is_saving = false;                   // the file is to be written: it need not be there
    const char *overwrite_question = nullptr; // before a file that is there is saved over; asked
                                              // with its path behind; null: nobody asks
};

// Adds a command that opens a file tool in a window of its own, titled "File Tool", which closing
// pushes; the window goes with the choice. The window hands values that it is given on to the
// directory demon. Returns the directory demon; null when none could be made: then the choice is
// there all the same, but not active.
//   help_id   the choice's, when help is on
//   result    receives the choice; or null
demon *addFileToolPullDownChoice(demon *pulldown, demon *previous, const char *label,
                                 bool separator, int key, std::uint32_t modifiers,
                                 const char *key_text, word help_id, bool active, demon **result,
                                 const file_tool_settings &tool);

// --- looks ---------------------------------------------------------------------------------------
// Of all pulldowns that are drawn from now on; indices of the default colour map.

void pulldown_set_text_color(int index);
void pulldown_set_fill_color(int index);
void pulldown_set_bevel_color(int index); // the edge towards the light
void set_pulldown_colors(int text, int fill, int bevel);

} // namespace toolkit
