// Widget calls about windows.
#include "platform/gl/windows.h"
#include "toolkit/demons/box_text.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/demons/window_demons.h"
#include "toolkit/graphics/colour_indices.h"
#include "toolkit/graphics/drawing.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/objects/bounded_text.h"
#include "toolkit/widgets/control.h"
#include "toolkit/widgets/controls.h"
#include "toolkit/widgets/widgets.h"

#include <utility>

namespace toolkit {

namespace {

constexpr int block = 4; // records of each kind below

// ---- who is told of a window's end

struct window_end : callback {
    widget_function told;
};
object_set *Window_End_Set = nullptr;

word tell_window_end(word argument, callback *self) {
    if (const widget_function told = static_cast<window_end *>(self)->told)
        told(argument);
    return 0;
}

void set_window_end(iris_window_demon *window, widget_function function, word argument) {
    object *before = referred(std::exchange(window->window_callback, {}));
    if (before != nullptr)
        object_destroy_message(before);
    if (function == nullptr)
        return;
    if (Callback_Class == nullptr)
        create_callback_class();
    if (Window_End_Set == nullptr)
        keep_set_in(&Window_End_Set, create_set_of<window_end>(block, 1, Callback_Class));
    auto *made =
        static_cast<window_end *>(create_callback(Window_End_Set, tell_window_end, argument));
    if (made == nullptr)
        return;
    made->told = function;
    window->window_callback = refer_to(made);
}

// ---- windows that belong to another

// Stands among the hidden demons of the owner and takes the window along when that is destroyed.
struct window_tether : generic_demon {
    demon_ref window;
};
object_set *Window_Tether_Set = nullptr;

void tether_destroy(demon *self, object *sender, demon_message *m) {
    const demon_ref kept = refer_to_demon(self);
    if (demon *window = static_cast<window_tether *>(self)->window.get())
        iris_demon_destroy(window, nullptr, nullptr);
    if (kept.get() != nullptr)
        demon_destroy(self, sender, m);
}

void tie_window(demon *window, demon *owner) {
    if (Window_Tether_Set == nullptr)
        keep_set_in(&Window_Tether_Set,
                    create_set_of<window_tether>(block, 1, inq_generic_demon_class()));
    auto *made = create_demon_of<window_tether>(Window_Tether_Set, 0, 0, nullptr);
    if (made == nullptr)
        return;
    made->window = refer_to_demon(window);
    made->on.destroy = tether_destroy;
    add_pop_demon(made, owner);
}

iris_window_demon *make_sub_window(object_set *set, demon *parent, const control_place &place,
                                   const char *title) {
    int x = place.x, y = place.y;
    demon *owner = getTopWidget(parent);
    if (owner != nullptr) {
        follow_iris_windows();
        x = owner->box.x + scale_x(x);
        y = owner->box.y + scale_y(y);
    }
    iris_window_demon *made =
        create_iris_window_demon_popped(set, x, y, place.width, place.height, title, nullptr, 0);
    if (made != nullptr && is_live(owner))
        tie_window(made, owner);
    return made;
}

// ---- questions

constexpr int title_height = 26;
constexpr int answer_width = 80;
constexpr int answer_height = 26;
constexpr int answer_margin = 10;

struct question_window : iris_window_demon {
    widget_function on_yes;
    widget_function on_no;
    word argument;
    std::array<char, window_title_size> shown_title; // by itself: it has no frame
};
object_set *Question_Set = nullptr;

// The window goes first: the function may ask the next question, or destroy it all.
void answer_question(question_window *window, widget_function function) {
    const word argument = window->argument;
    demon_push_message(window);
    if (function != nullptr)
        function(argument);
}

void answer_with_yes(word argument) {
    auto *window = from_word<question_window *>(argument);
    answer_question(window, window->on_yes);
}

void answer_with_no(word argument) {
    auto *window = from_word<question_window *>(argument);
    answer_question(window, window->on_no);
}

void draw_title(display_object *self) {
    gl_fill_box(self->box, colour_dark_gray);
    draw_text_left_box(self->box, font_slot_bold,
                       from_word<const char *>(static_cast<demon *>(self)->first_word));
}

void add_question_parts(question_window *window, int width, int height) {
    if (generic_demon *line = create_generic_demon(nullptr, width - 2, title_height, nullptr)) {
        line->draw = draw_title;
        line->erase = line->hilite = line->dehilite = nullptr;
        line->first_word = to_word(window->shown_title.data());
        set_demon(line, window, 1, height - title_height - 1);
        adopt_widget(line, window);
    }
    const int no_at = width - answer_margin - answer_width;
    const int yes_at = no_at - answer_margin - answer_width;
    static_cast<void>(addButton(window, yes_at, answer_margin, answer_width, answer_height, "Yes",
                                answer_with_yes, to_word(window)));
    static_cast<void>(addButton(window, no_at, answer_margin, answer_width, answer_height, "No",
                                answer_with_no, to_word(window)));
}

question_window *as_question(demon *window) {
    const bool is_one = window != nullptr && Question_Set != nullptr && window->set == Question_Set;
    return is_one ? static_cast<question_window *>(window) : nullptr;
}

iris_window_demon *own_window(demon *window) {
    return is_iris_window_demon(window) ? static_cast<iris_window_demon *>(window) : nullptr;
}

void set_window_flag(demon *window, std::uint16_t flag, bool on) {
    if (own_window(window) == nullptr)
        return;
    if (on)
        window->flags |= flag;
    else
        window->flags &= static_cast<std::uint16_t>(~flag);
}

} // namespace

// ---- making

demon *addWindow(int x, int y, int width, int height, const char *title, widget_function on_destroy,
                 word argument) {
    const graphics_bracket bracket;
    iris_window_demon *made =
        create_iris_window_demon(nullptr, x, y, width, height, title, nullptr, 0);
    if (made != nullptr)
        set_window_end(made, on_destroy, argument);
    return made;
}

demon *addPushedWindow(int x, int y, int width, int height, const char *title,
                       widget_function on_destroy, word argument) {
    const graphics_bracket bracket;
    iris_window_demon *made =
        create_iris_window_demon_pushed(nullptr, x, y, width, height, title, nullptr, 0);
    if (made != nullptr)
        set_window_end(made, on_destroy, argument);
    return made;
}

demon *addSubWindow(demon *parent, int x, int y, int width, int height, const char *title) {
    const graphics_bracket bracket;
    return make_sub_window(nullptr, parent, {x, y, width, height}, title);
}

demon *addYesNoTitleSubWindow(demon *parent, int x, int y, int width, int height, const char *title,
                              widget_function on_yes, widget_function on_no, word argument) {
    const graphics_bracket bracket;
    if (Question_Set == nullptr)
        keep_set_in(&Question_Set,
                    create_set_of<question_window>(block, 1, inq_iris_window_demon_class()));
    auto *made = static_cast<question_window *>(
        make_sub_window(Question_Set, parent, {x, y, width, height}, nullptr));
    if (made == nullptr)
        return nullptr;
    made->on_yes = on_yes;
    made->on_no = on_no;
    made->argument = argument;
    copy_bounded(made->shown_title, title != nullptr ? title : "");
    add_question_parts(made, width, height);
    return made;
}

// ---- ends

void setQuitFunction(quit_function function, word argument) {
    set_quit_function(function, argument);
}

void setConfirmDestroyWindow(demon *window, bool confirm) {
    set_window_flag(window, flag_ends_program, confirm);
}

void setNoDestroyWindow(demon *window, bool stays) {
    set_window_flag(window, flag_stays_open, stays);
}

void setDestroyFunctionWindow(demon *window, widget_function function, word argument) {
    if (iris_window_demon *self = own_window(window))
        set_window_end(self, function, argument);
}

// ---- handlers

void setPushFunctionWindow(demon *window, demon_handler handler) {
    if (iris_window_demon *self = own_window(window))
        self->on.push = handler != nullptr ? handler : pushdown_iris_window;
}

void setPopFunctionWindow(demon *window, demon_handler handler) {
    if (iris_window_demon *self = own_window(window))
        self->on.pop = handler != nullptr ? handler : popup_iris_window;
}

void setLocMoveFunctionWindow(demon *window, demon_handler handler) {
    if (iris_window_demon *self = own_window(window))
        self->on.loc_move = handler;
}

void setB1DownFunctionWindow(demon *window, demon_handler handler) {
    if (iris_window_demon *self = own_window(window))
        self->on.b1_down = handler;
}

void setB1DoubleClickFunctionWindow(demon *window, demon_handler handler) {
    if (iris_window_demon *self = own_window(window))
        self->on.b1_double_click = handler;
}

void setB1UpFunctionWindow(demon *window, demon_handler handler) {
    if (iris_window_demon *self = own_window(window))
        self->on.b1_up = handler;
}

// ---- looks

const char *getWindowTitle(demon *window) {
    if (const question_window *question = as_question(window))
        return question->shown_title.data();
    const iris_window_demon *self = own_window(window);
    return self != nullptr ? self->title.data() : nullptr;
}

void setWindowTitle(demon *window, const char *title) {
    iris_window_demon *self = own_window(window);
    if (self == nullptr || title == nullptr)
        return;
    if (question_window *question = as_question(window)) {
        copy_bounded(question->shown_title, title);
        drawWidget(question);
        return;
    }
    const graphics_bracket bracket;
    const bool had_frame = self->title[0] != '\0';
    copy_bounded(self->title, title);
    const bool has_frame = self->title[0] != '\0';
    if (had_frame != has_frame) {
        iris_demon_new_window(self);
        drawWidget(self);
    } else if (has_frame && gl_get_wid_demon(self->window) == self) {
        gl_win_set(self->window);
        gl::wintitle(self->title.data());
    }
}

void draw_coloured_window(display_object *self) {
    iris_demon_fill(self);
    gl_fill_box(inside(self->box, 1), static_cast<int>(static_cast<demon *>(self)->first_word));
}

void setWindowColor(demon *window, int index) {
    if (own_window(window) == nullptr)
        return;
    window->first_word = index;
    window->draw = draw_coloured_window;
}

void setWindow(demon *widget) {
    if (widget != nullptr)
        gl_set_win(widget->window);
}

} // namespace toolkit
