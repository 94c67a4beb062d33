#include "toolkit/demons/dispatch.h"

#include "platform/clock/program_clock.h"
#include "platform/gl/queue.h"
#include "toolkit/demons/cursor_filters.h"
#include "toolkit/demons/event_filters.h"
#include "toolkit/demons/keystroke_aliases.h"
#include "toolkit/events/event_input.h"
#include "toolkit/events/input_window.h"
#include "toolkit/events/key_table.h"
#include "toolkit/events/timers.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <sys/stat.h>

namespace toolkit {

namespace {

constexpr int no_wait = 0;
constexpr int wait_for_event = 255;

struct input_event {
    std::int16_t input_class = input_nothing;
    std::int16_t value = 0;
    screen_point place;
};

struct loop_state {
    std::FILE *play_file = nullptr; // gl_event_get closes it at its end
    std::FILE *record_file = nullptr;
    bool quit = false;
    bool bumped = false;
    start_up_function start_up = nullptr;
    word start_up_argument = 0;
    input_sleep sleep = nullptr;
    demon_ref none_event_demon;
    demon_message current;
    bool motion_is_due = false; // current.point is a place that the demons don't know
};
loop_state state;
dispatch_hooks hooks;

// ---- journals

void close_journal(std::FILE **file) {
    if (*file != nullptr)
        std::fclose(*file);
    *file = nullptr;
}

void open_journal(const char *name, const char *mode, std::FILE **file) {
    *file = std::fopen(name, mode);
    if (*file == nullptr)
        std::fprintf(stderr, "event journal: can't open %s: %s\n", name, std::strerror(errno));
}

// Opening a file to record to empties it.
bool is_play_file(const char *name) {
    struct stat played {};
    struct stat named {};
    return state.play_file != nullptr && fstat(fileno(state.play_file), &played) == 0 &&
           stat(name, &named) == 0 && played.st_dev == named.st_dev &&
           played.st_ino == named.st_ino;
}

void open_play_file(const char *name) {
    close_journal(&state.play_file);
    if (play_switch == 0 || name == nullptr)
        return;
    open_journal(name, "re", &state.play_file);
    std::printf("playing from %s file\n", name);
}

void open_record_file(const char *name) {
    close_journal(&state.record_file);
    if (record_switch == 0 || name == nullptr)
        return;
    if (is_play_file(name))
        std::fprintf(stderr, "event journal: can't record to %s: it is being played\n", name);
    else
        open_journal(name, "we", &state.record_file);
    std::printf("recording to %s file\n", name);
}

void close_journals() {
    close_journal(&state.play_file);
    close_journal(&state.record_file);
    play_switch = record_switch = 0;
}

// ---- taking events

bool get_event(input_event *e, int wait, std::FILE **play_file, std::FILE *record_file) {
    return gl_event_get(&e->input_class, &e->value, &e->place, wait, play_file, record_file) != 0;
}

void tell_none_event() {
    demon_message m;
    m.code = msg_none;
    if (demon *d = state.none_event_demon.get())
        send_demon_message(d, nullptr, m);
}

bool is_alias(const input_event &e) {
    return e.input_class == input_keyboard && fire_keystroke_alias(e.value);
}

// Hands on an event that translate_input has put in place.
void handle_event(const input_event &e, bool is_to_deliver) {
    if (e.input_class == input_none)
        tell_none_event();
    else if (is_to_deliver && !is_alias(e))
        deliver_event(e.input_class, state.current);
}

void take_event(const input_event &e) {
    bool is_to_deliver = translate_input(e.input_class, e.value, e.place, &state.current);
    if (e.input_class == input_motion) {
        is_to_deliver = is_to_deliver || state.motion_is_due;
        state.motion_is_due = false;
        if (is_to_deliver)
            state.current.code = msg_pointer_moved;
    }
    handle_event(e, is_to_deliver);
}

// Takes what waits. Returns whether an event of the class wanted came, which is in *e then.
bool drain_events(int kind, input_event *e) {
    while (!state.quit && get_event(e, no_wait, nullptr, nullptr)) {
        if (e->input_class == kind)
            return true;
        const bool is_to_deliver =
            translate_input(e->input_class, e->value, e->place, &state.current);
        if (e->input_class != input_motion) {
            handle_event(*e, is_to_deliver);
            continue;
        }
        state.motion_is_due = state.motion_is_due || is_to_deliver;
        // While the cursor rests only briefly it is polled: motion to where it was is no event that
        // waited, and would come again and again.
        if (!is_to_deliver && gl::qtest() == gl::NULLDEV)
            return false;
    }
    return false;
}

bool is_loop_over() {
    return state.quit || state.bumped || gl::is_display_lost();
}

void terminate() {
    state.quit = true;
    if (hooks.system_terminate != nullptr)
        hooks.system_terminate();
}

// Every demon learns where the cursor is, and so does who plays the record.
void tell_cursor_place() {
    screen_point at;
    gl_get_valuator(&at.x, &at.y);
    state.current = {};
    state.current.code = msg_pointer_moved;
    state.current.point = at;
    state.current.propagate = demon_on;
    state.motion_is_due = false;
    if (state.record_file != nullptr && record_switch != 0)
        write_journal_line(state.record_file, {gl::MOUSEX, at, at.x},
                           journal_label(gl::MOUSEX, at.x, false, false));
    deliver_event(input_motion, state.current);
}

std::int16_t flag_word(int flag) {
    return static_cast<std::int16_t>(flag != 0 ? answer_yes : answer_no);
}

struct button_message {
    char letter;
    std::uint32_t code;
};
constexpr std::array button_messages{
    button_message{'a', msg_left_down},
    button_message{'A', msg_left_up},
    button_message{'b', msg_middle_down},
    button_message{'B', msg_middle_up},
    button_message{'c', msg_right_down},
    button_message{'C', msg_right_up},
    button_message{'D', msg_left_double},
    button_message{'E', msg_middle_double},
    button_message{'F', msg_right_double},
    button_message{wheel_turned_up, msg_wheel_up},
    button_message{wheel_turned_down, msg_wheel_down},
};

} // namespace

void set_dispatch_hooks(const dispatch_hooks &calls) {
    hooks = calls;
    state.quit = false;
    clear_keystroke_aliases();
}

// ---- running

void dispatch_play_record(int argc, char **argv) {
    int play = answer_no, record = answer_no, step = answer_no;
    const char *play_name = nullptr;
    const char *record_name = nullptr;
    for (int i = 1; i + 1 < argc; ++i) { // no flag means anything as the last word
        const std::string_view flag = argv[i];
        if (flag == "-p") {
            play = answer_yes;
            play_name = argv[++i];
        } else if (flag == "-r") {
            record = answer_yes;
            record_name = argv[++i];
        } else if (flag == "-s") {
            step = answer_yes;
        }
    }
    dispatch_loop(play, record, step, play_name, record_name);
}

void dispatch_loop(int play, int record, int step, const char *play_name, const char *record_name) {
    if (step != 0)
        locator_step_on();
    play_switch = flag_word(play);
    record_switch = flag_word(record);
    state.quit = false;
    if (hooks.getGraphics != nullptr)
        hooks.getGraphics();
    cursor_filter = null_filter;
    begin_journal_input();
    open_play_file(play_name);
    open_record_file(record_name);
    tell_cursor_place();
    if (state.start_up != nullptr)
        state.start_up(state.start_up_argument);
    main_event_loop();
    if (gl::is_display_lost() && !state.quit)
        std::fputs("dispatch loop: the display is lost\n", stderr);
    close_journals();
    terminate();
}

void main_event_loop() {
    unbump();
    while (!is_loop_over()) {
        const bool has_own_sleep = state.sleep != nullptr && !program_clock::is_manual();
        input_event e;
        if (get_event(&e, has_own_sleep ? no_wait : wait_for_event, &state.play_file,
                      state.record_file))
            take_event(e);
        else if (has_own_sleep)
            state.sleep();
    }
    unbump();
}

int dispatch_check_event(int kind) {
    const std::int16_t playing = play_switch;
    const std::int16_t recording = record_switch;
    const int window = inq_input_window();
    play_switch = record_switch = 0;
    input_event e;
    if (drain_events(kind, &e))
        return e.value;
    play_switch = playing;
    record_switch = recording;
    if (playing != 0)
        set_input_window(window);
    return 0;
}

void bye() {
    terminate();
    std::exit(EXIT_SUCCESS);
}

void bump() {
    state.bumped = true;
}

void unbump() {
    state.bumped = false;
}

void quit_dispatch() {
    state.quit = true;
}

// ---- settings

void set_start_up_call(start_up_function function, word argument) {
    state.start_up = function;
    state.start_up_argument = argument;
}

void set_input_sleep(input_sleep sleep) {
    state.sleep = sleep;
}

void gl_set_none_event_demon(demon *d) {
    state.none_event_demon = refer_to_demon(d);
}

// ---- events

demon_message *gl_inq_event() {
    return &state.current;
}

std::uint32_t inq_button_message(std::int16_t letter) {
    for (const button_message &button : button_messages)
        if (button.letter == letter)
            return button.code;
    return msg_none;
}

bool translate_input(std::int16_t input_class, std::int16_t value, screen_point place,
                     demon_message *m) {
    const screen_point last = m->point;
    *m = {};
    m->code = msg_none;
    m->point = last;
    if (input_class != input_motion && input_class != input_keyboard && input_class != input_button)
        return false;
    cursor_filter(place, &m->point);
    if (input_class == input_keyboard) {
        m->code = msg_key;
        m->key = value;
    } else if (input_class == input_button) {
        m->code = inq_button_message(value);
    } else if (m->point != last) {
        m->code = msg_pointer_moved;
    }
    return m->code != msg_none;
}

void deliver_event(std::int16_t input_class, const demon_message &m) {
    demon_message sent = m;
    if (demon *receiver = inq_event_receiver(input_class))
        send_demon_message(receiver, nullptr, sent);
}

} // namespace toolkit
