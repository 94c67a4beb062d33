// Two text fields in a window, typed into by hands, and what the dialogs above would do.
#pragma once

#include "tests/toolkit/widgets/widgets_fixture.h"
#include "toolkit/demons/demon_pointer.h"
#include "toolkit/text/smpte.h"
#include "toolkit/widgets/clipboard.h"
#include "toolkit/widgets/edit_value.h"
#include "toolkit/widgets/fields.h"

namespace toolkit {

inline constexpr char end_key = 'q'; // what `run` ends with
inline constexpr std::int64_t second_us = 1'000'000;

// What the dialogs above were asked and told, and what they answer.
inline std::string asked;
inline int answer = answer_no;
inline std::function<void()> while_asked, while_told;

inline int ask(const char *question) {
    asked += question;
    EXPECT_EQ(edit_string_question, question_pending);
    if (while_asked)
        std::exchange(while_asked, nullptr)();
    return answer;
}

inline void tell(const char *text) {
    asked += text;
    if (while_told)
        while_told();
}

class text_entry : public widgets_fixture {
protected:
    text_entry() {
        static_cast<generic_demon *>(inq_demon_god())->on.keystroke = [](demon *god, object *sender,
                                                                         demon_message *m) {
            if (m->key == end_key)
                bump();
            else
                demon_generic(god, sender, m);
        };
        set_field_dialogs({.ask_yes_no = ask, .message = tell});
        asked.clear();
        answer = answer_no;
        while_asked = while_told = nullptr;
        name = static_cast<edit_string_demon *>(
            addStringWidget(window, 10, 10, 200, 24, "", "one two", note, 'n'));
        size = static_cast<edit_value_demon *>(
            addValueWidget(window, 10, 50, 200, 24, "Size", 50, 0, 100, note, 's'));
        drawWidget(window);
    }
    ~text_entry() override {
        set_field_dialogs({});
        set_smpte_display_smpte();
        while_asked = while_told = nullptr;
    }

    void type(std::string_view text) {
        for (const char c : text) {
            const int code = c == '\r'     ? display::key_return
                             : c == '\t'   ? display::key_tab
                             : c == '\x1b' ? display::key_escape
                             : c == '\b'   ? display::key_backspace
                             : c == ':'    ? ';'
                                           : c;
            tap(code, c == ':' ? display::key_shift_left : 0);
        }
    }
    void tap(int code, int with = 0) {
        if (with != 0)
            send(display::event_kind::key, with, true);
        send(display::event_kind::key, code, true);
        send(display::event_kind::key, code, false);
        if (with != 0)
            send(display::event_kind::key, with, false);
    }
    void enter_name() { click(150, 20); } // at its end
    void enter_size() { click(150, 60); }
    static std::string seen(const edit_string_demon *field) {
        return std::string(toolkit::text_of(field->line));
    }
    demon *holder() const { return demon_get_keyboard_client_message(window); }
    void rest(std::int64_t us = second_us) { due_us += us; } // longer than any double click

    edit_string_demon *name = nullptr;
    edit_value_demon *size = nullptr;
};

} // namespace toolkit
