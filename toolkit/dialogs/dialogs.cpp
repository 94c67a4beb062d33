#include "toolkit/dialogs/dialogs.h"

#include "platform/gl/windows.h"
#include "toolkit/demons/delivery.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/demons/event_filters.h"
#include "toolkit/demons/keystroke_aliases.h"
#include "toolkit/dialogs/dialog_window.h"
#include "toolkit/events/cursor_control.h"
#include "toolkit/events/event_input.h"
#include "toolkit/graphics/fonts.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/widgets/pulldowns.h"

#include <cstdio>
#include <utility>

namespace toolkit {

std::int16_t dialog_font_slot = font_slot_normal_1;
std::int32_t dialog_result = 0;

namespace {

// A dialog that is being asked; they nest.
struct dialog_run {
    demon_ref window;
    dialog_contents contents;
    std::int32_t result = 0; // 0: not answered yet
    dialog_run *outer = nullptr;
};
dialog_run *innermost = nullptr;

dialog_window *window_of(const dialog_run &run) {
    return static_cast<dialog_window *>(run.window.get());
}

// The first answer holds. An outer dialog's loop can't be bumped yet: see run_loop.
void answer_run(dialog_run &run, std::int32_t result) {
    if (run.result != 0)
        return;
    run.result = dialog_result = result;
    if (&run == innermost)
        bump();
}

void answer_innermost(std::int32_t result) {
    dialog_result = result;
    if (innermost != nullptr)
        answer_run(*innermost, result);
}

dialog_run *run_of(const demon *window) {
    dialog_run *run = innermost;
    while (run != nullptr && run->window.get() != window)
        run = run->outer;
    return run;
}

std::int32_t answer_to_escape(const dialog_contents &contents) {
    if (contents.has_no)
        return dialog_no;
    if (contents.has_quit)
        return dialog_abort;
    return contents.has_yes ? dialog_yes : dialog_no;
}

std::int32_t answer_to_return(const dialog_contents &contents) {
    return contents.has_yes ? dialog_yes : answer_to_escape(contents);
}

// What nothing can be said against is told, not asked.
const char *title_of(const dialog_contents &contents) {
    const bool is_told = !contents.has_answer && !contents.has_no && !contents.has_quit;
    return is_told ? "Message" : "Question";
}

// ---- handlers of a dialog's window. All input comes here, past the demon god: what that does
// before it sends input down is done here.

void prepare_for_input(demon *self) {
    follow_iris_windows();
    gl_set_win(self->window);
}

void enter_dialog(demon *self, object *sender, demon_message *m) {
    prepare_for_input(self);
    set_total_filter(self, sender, m);
}

void move_in_dialog(demon *self, object *sender, demon_message *m) {
    prepare_for_input(self);
    demon_loc_move(self, sender, m);
}

void press_in_dialog(demon *self, object *sender, demon_message *m) {
    prepare_for_input(self);
    if (in_box(self->box, m->point))
        demon_generic(self, sender, m);
    else
        gl_win_pop(self->window);
}

// A press beside the field has taken the keyboard from it: there is nobody else who could type.
void release_in_dialog(demon *self, object *sender, demon_message *m) {
    const delivery here(self);
    prepare_for_input(self);
    demon_generic(self, sender, m);
    if (here.self() == nullptr)
        return;
    demon *field = static_cast<dialog_window *>(self)->field.get();
    if (field != nullptr && demon_get_keyboard_client_message(self) == nullptr)
        demon_keyboard_client_message(field, field);
}

void type_in_dialog(demon *self, object *, demon_message *m) {
    auto *window = static_cast<dialog_window *>(self);
    dialog_run *run = run_of(window);
    if (run == nullptr)
        return;
    prepare_for_input(window);
    switch (key_in_dialog(window, m->key)) {
    case dialog_key::confirms:
        answer_run(*run, answer_to_return(run->contents));
        break;
    case dialog_key::escapes:
        answer_run(*run, answer_to_escape(run->contents));
        break;
    case dialog_key::other:
        if (demon *field = window->field.get(); field != nullptr && m->key != escape_character)
            send_demon_message(field, window, *m);
        break;
    }
}

void end_without_answer(const demon *window) {
    if (dialog_run *run = run_of(window))
        answer_run(*run, dialog_no);
}

void destroy_dialog(demon *self, object *sender, demon_message *m) {
    end_without_answer(self);
    iris_demon_destroy(self, sender, m);
}

void push_dialog(demon *self, object *sender, demon_message *m) {
    end_without_answer(self);
    pushdown_iris_window(self, sender, m);
}

void install_handlers(dialog_window *window) {
    window->on.box_in = enter_dialog;
    window->on.loc_move = move_in_dialog;
    window->on.b1_down = window->on.b1_double_click = press_in_dialog;
    window->on.b1_up = release_in_dialog;
    window->on.keystroke = type_in_dialog;
    window->on.destroy = destroy_dialog;
    window->on.push = push_dialog;
}

// ---- the window's place among others

// The GL window of a window demon with a frame, or no_window.
int framed_window(int wid) {
    const object *owner = gl_get_wid_demon(wid);
    const bool is_framed = is_live(owner) && is_iris_window_demon(owner) &&
                           static_cast<const iris_window_demon *>(owner)->title[0] != '\0';
    return is_framed ? gl_get_window_record(wid)->gl_window : no_window;
}

// Which window a dialog is kept above: the dialog that asks it, the window that is drawn in, or
// whichever there is.
int window_below() {
    if (innermost != nullptr && innermost->window.get() != nullptr)
        if (const int found = framed_window(innermost->window.get()->window); found != no_window)
            return found;
    int found = framed_window(gl_get_win());
    for (int wid = 0; wid < num_wids && found == no_window; ++wid)
        found = framed_window(wid);
    return found;
}

// Opens the window. Returns whether it is open.
bool open_dialog(const demon_ref &window, demon *parent) {
    const int below = window_below();
    gl::windialog(below == no_window ? 0 : below);
    popup_iris_window_no_draw(window.get(), parent);
    gl::windialog(0); // if the window was refused
    const demon *opened = window.get();
    return opened != nullptr && opened->popped != 0 && opened->window != no_window;
}

// ---- the modal loop

// Nothing stays lit under a dialog.
void leave_other_windows() {
    demon *god = inq_demon_god();
    if (god == nullptr || god->box_in_child == nullptr)
        return;
    const demon_ref left = refer_to_demon(std::exchange(god->box_in_child, nullptr));
    demon_box_out_message(left.get());
}

// Whoever the cursor is over now is told.
void tell_cursor_place() {
    demon_message m;
    m.code = msg_pointer_moved;
    m.point = gl_inq_event()->point;
    deliver_event(input_motion, m);
}

void run_loop(dialog_run &run) {
    if (demon *window = run.window.get())
        demon_draw_message(window);
    if (demon *window = run.window.get()) {
        screen_point at;
        gl_get_valuator(&at.x, &at.y);
        demon_box_in_message(window, at);
    }
    if (dialog_window *window = window_of(run))
        select_dialog_field(window);
    if (run.window.get() != nullptr && run.result == 0)
        main_event_loop();
}

// Whether the user may close a window now: the dialog, which is shown to who tries another one.
bool may_close_in_dialog(int gl_window) {
    const demon *window = innermost != nullptr ? innermost->window.get() : nullptr;
    if (window == nullptr || gl_get_wid_demon(gl_find_wid(gl_window)) == window)
        return true;
    gl_win_pop(window->window);
    return false;
}

// All that a dialog takes from the program, for as long as a record of this type stands.
class modal_scope {
public:
    explicit modal_scope(dialog_run &run) : run_(run), filters_(inq_event_filters()) {
        run_.outer = std::exchange(innermost, &run);
        push_event_filter(run.window.get(), input_keyboard | input_button);
        turn_off_keystroke_aliases();
        set_close_question(may_close_in_dialog);
    }
    ~modal_scope() {
        if (run_.outer == nullptr)
            set_close_question(nullptr);
        turn_on_keystroke_aliases();
        pop_event_filters_to(filters_);
        innermost = run_.outer;
        if (innermost != nullptr && innermost->result != 0)
            bump(); // it was answered behind this one
    }
    modal_scope(const modal_scope &) = delete;
    modal_scope &operator=(const modal_scope &) = delete;

private:
    dialog_run &run_;
    std::size_t filters_;
};

std::int32_t run_dialog(dialog_run &run, demon *parent, std::string *answer) {
    {
        const demon_ref adopter = refer_to_demon(parent);
        leave_other_windows();
        const modal_scope scope(run);
        if (open_dialog(run.window, adopter.get()))
            run_loop(run);
    }
    std::int32_t result = run.result != 0 ? run.result : dialog_no;
    dialog_window *window = window_of(run);
    if (window != nullptr && answer != nullptr && result == dialog_yes)
        *answer = text_in_dialog(window);
    else if (answer != nullptr && result == dialog_yes)
        result = dialog_no; // destroyed since, and the text with it
    demon_destroy_message(window);
    tell_cursor_place();
    return dialog_result = result;
}

// ---- batch mode

std::int32_t answer_in_batch(const char *text, const dialog_contents &contents, std::string *answer,
                             std::string_view initial) {
    if (contents.has_yes && !contents.has_no && !contents.has_quit && answer == nullptr) {
        std::fprintf(stderr, "Warning: %s \n", text);
        return dialog_yes;
    }
    if (getTarnBatchOverwriteMode() == 0) {
        std::fprintf(stderr, "Error: %s -- No -continue flag not set.\n", text);
        return dialog_no;
    }
    std::fprintf(stderr, "Warning: %s -- Continue.\n", text);
    if (answer != nullptr)
        *answer = initial;
    return dialog_yes;
}

screen_point cursor_place() {
    screen_point at;
    if (getTarnBatchMode() == 0)
        gl_get_valuator(&at.x, &at.y);
    return at;
}

// ---- inform

void close_inform(word window) {
    demon_destroy_message(from_word<demon *>(window));
}

void type_in_inform(demon *self, object *, demon_message *m) {
    if (key_in_dialog(static_cast<dialog_window *>(self), m->key) != dialog_key::other)
        demon_destroy_message(self);
}

} // namespace

void init_dialogs() {
    set_field_dialogs({.ask_yes_no = ask_yes_no, .message = message});
    set_window_question(ask_yes_no);
}

// ---- telling and asking

void message(const char *text) {
    const screen_point at = cursor_place();
    static_cast<void>(
        create_yes_no_dialog(nullptr, at.x, at.y, text, nullptr, {}, true, false, false));
}

void big_message(const char *text) {
    const std::int16_t before = std::exchange(dialog_font_slot, font_slot_bold_italic);
    message(text);
    dialog_font_slot = before;
}

int ask_yes_no(const char *text) {
    const screen_point at = cursor_place();
    const std::int32_t result =
        create_yes_no_dialog(nullptr, at.x, at.y, text, nullptr, {}, true, true, false);
    return result == dialog_yes ? answer_yes : answer_no;
}

void inform(const char *text) {
    text = text != nullptr ? text : "";
    constexpr dialog_contents contents = {.has_yes = true};
    if (getTarnBatchMode() != 0) {
        static_cast<void>(answer_in_batch(text, contents, nullptr, {}));
        return;
    }
    const graphics_bracket bracket;
    closePullDowns();
    const screen_point at = cursor_place();
    dialog_window *window = make_dialog_window("Inform: ", nullptr, text, contents, at.x, at.y);
    if (window == nullptr)
        return;
    add_dialog_button(window, dialog_button::yes, close_inform, to_word(window));
    window->on.keystroke = type_in_inform;
    const demon_ref kept = refer_to_demon(window);
    if (open_dialog(kept, nullptr))
        demon_draw_message(kept.get());
    else
        demon_destroy_message(kept.get());
}

// ---- the dialog itself

std::int32_t create_yes_no_dialog(demon *parent, int x, int y, const char *text,
                                  std::string *answer, std::string_view initial, bool with_yes,
                                  bool with_no, bool with_quit) {
    text = text != nullptr ? text : "";
    dialog_run run;
    run.contents = {.has_answer = answer != nullptr,
                    .has_yes = with_yes,
                    .has_no = with_no,
                    .has_quit = with_quit};
    if (getTarnBatchMode() != 0)
        return dialog_result = answer_in_batch(text, run.contents, answer, initial);
    const graphics_bracket bracket;
    const demon_ref adopter = refer_to_demon(parent);
    closePullDowns();
    dialog_window *window =
        make_dialog_window("Yes/No: ", title_of(run.contents), text, run.contents, x, y);
    if (window == nullptr)
        return dialog_result = dialog_no;
    run.window = refer_to_demon(window);
    install_handlers(window);
    if (answer != nullptr)
        add_dialog_field(window, initial);
    if (with_yes)
        add_dialog_button(window, dialog_button::yes, yes_dialog_function, 0);
    if (with_no)
        add_dialog_button(window, dialog_button::no, no_dialog_function, 0);
    if (with_quit)
        add_dialog_button(window, dialog_button::quit, abort_dialog_function, 0);
    return run_dialog(run, adopter.get(), answer);
}

void yes_dialog_function(word) {
    answer_innermost(dialog_yes);
}

void no_dialog_function(word) {
    answer_innermost(dialog_no);
}

void abort_dialog_function(word) {
    answer_innermost(dialog_abort);
}

} // namespace toolkit
