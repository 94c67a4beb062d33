#include "toolkit/events/event_input.h"

#include "platform/gl/input.h"
#include "platform/gl/queue.h"
#include "toolkit/events/double_click.h"
#include "toolkit/events/input_window.h"
#include "toolkit/events/key_table.h"
#include "toolkit/events/timers.h"

#include <cstdlib>

namespace toolkit {
namespace {

constexpr std::int64_t cursor_rest_us =
    500'001;                           // processor time until the cursor counts as resting
constexpr int first_timer1_noise = 30; // ticks; clears what an earlier run has left
constexpr int double_click_noise = 18; // ticks; two of them limit a double click

// A device event, as the queue gives it.
struct queue_entry {
    gl::device device = gl::NULLDEV;
    std::int16_t value = 0;
};

struct input_event {
    std::int16_t event_class = input_nothing;
    std::int16_t value = 0;
};

struct input_state {
    std::uint32_t modifiers = 0;
    bool caps_lock = false;
    screen_point cursor;          // the last position known
    std::int64_t moved_clock = 0; // the event clock at the last move
    double_click_state clicks;
};
input_state input;
window_calls windows;
window_watch watch_windows = nullptr;
int arrow_key_takers = 0;
editing_key_question wants_editing_keys = nullptr;
void (*paste_call)() = nullptr;
close_question may_close = nullptr;

bool is_valuator(gl::device d) {
    return d == gl::MOUSEX || d == gl::MOUSEY;
}

int answer(bool yes) {
    return yes ? answer_yes : answer_no;
}

// --- the cursor ----------------------------------------------------------------------------------

// Moves come through the queue exactly while the motion devices are queued: the queue itself is
// the flag.
bool is_motion_queued() {
    return gl::isqueued(gl::MOUSEX);
}

void queue_motion() {
    gl::qdevice(gl::MOUSEX);
    gl::qdevice(gl::MOUSEY);
}

void unqueue_motion() {
    gl::unqdevice(gl::MOUSEX);
    gl::unqdevice(gl::MOUSEY);
}

// Takes a place of the cursor as the last one known; one outside the box is brought back.
void move_cursor(screen_point to) {
    input.cursor = constrain_cursor(to);
    if (input.cursor != to)
        pull_cursor_into_box();
}

// --- modifiers -----------------------------------------------------------------------------------

void read_held_modifiers() {
    input.modifiers = 0;
    for (const modifier_key &key : modifier_keys()) {
        if (gl::getbutton(key.device))
            input.modifiers |= key.bit;
    }
}

bool is_shifted() {
    return (input.modifiers & shift_bit) != 0;
}

bool is_held(gl::device d) {
    return play_switch != 0 ? is_held_in_journal(d) : gl::getbutton(d);
}

int is_either_held(std::uint32_t bit) {
    for (const modifier_key &key : modifier_keys()) {
        if (key.bit == bit && is_held(key.device))
            return answer_yes;
    }
    return answer_no;
}

// --- the journal ---------------------------------------------------------------------------------

void record(std::FILE *record_file, gl::device d, std::int16_t value) {
    if (record_switch == 0 || record_file == nullptr)
        return;
    if (d == gl::INPUTCHANGE)
        note_recorded_window(value);
    write_journal_line(record_file, {d, input.cursor, value},
                       journal_label(d, value, is_shifted(), input.caps_lock));
}

void record_event(std::FILE *record_file, const queue_entry &entry) {
    if (entry.device <= gl::last_button_device && is_input_window_unrecorded())
        record(record_file, gl::INPUTCHANGE, static_cast<std::int16_t>(inq_input_window()));
    record(record_file, entry.device, entry.value);
}

// F11 and F12 steer the recorder and are not part of what it records. Returns true for them.
bool steer_recorder(const queue_entry &entry, std::FILE *record_file) {
    if (record_file == nullptr || (entry.device != gl::F11KEY && entry.device != gl::F12KEY))
        return false;
    if (entry.value == 0)
        return true;
    if (entry.device == gl::F12KEY)
        toggle_recording();
    else if (record_switch != 0)
        ask_caption(record_file);
    return true;
}

void end_playing(std::FILE **play_file_ref) {
    if (*play_file_ref != nullptr)
        std::fclose(*play_file_ref);
    *play_file_ref = nullptr;
    play_switch = 0;
    forget_journal_state();
    read_held_modifiers();
    set_input_window(0); // the display has not been listened to
}

// Puts a line's event into the emptied queue and takes it out again, together with live input
// that came in between. Returns false when nobody has queued the device.
bool pass_through_queue(const journal_line &line, queue_entry *out) {
    gl::qenter(line.device, line.value);
    while (gl::qtest() != gl::NULLDEV) {
        short value = 0;
        const gl::device d = gl::qread(&value);
        *out = {d, value};
        if (d == line.device && value == line.value)
            return true;
    }
    return false;
}

enum class played { nothing, motion, entry };

// Takes the next event of the play file, if one is played: a place of the cursor, which is taken
// over, or an entry of the queue.
played play_event(std::FILE **play_file_ref, std::FILE *record_file, queue_entry *out) {
    if (play_switch == 0 || play_file_ref == nullptr)
        return played::nothing;
    journal_line line;
    while (*play_file_ref != nullptr && read_journal_line(*play_file_ref, &line)) {
        if (gl::getbutton(gl::ESCKEY)) {
            gl::qreset(); // this press has done its work
            break;
        }
        gl::qreset();
        note_journal_line(line);
        if (is_valuator(line.device)) {
            input.cursor = line.position;
            record(record_file, line.device, line.value);
            return played::motion;
        }
        if (pass_through_queue(line, out))
            return played::entry;
    }
    end_playing(play_file_ref);
    return played::nothing;
}

// --- polling -------------------------------------------------------------------------------------

// Looks where the cursor is. Returns true when it moved or has not rested long enough yet; else its
// moves come through the queue from here on.
bool poll_cursor(std::FILE *record_file) {
    screen_point now;
    gl_get_valuator(&now.x, &now.y);
    const std::int64_t clock = inq_event_clock();
    if (now != input.cursor) {
        move_cursor(now);
        input.moved_clock = clock;
        record(record_file, gl::MOUSEX, input.cursor.x);
        return true;
    }
    if (std::abs(clock - input.moved_clock) < cursor_rest_us)
        return true;
    queue_motion();
    return false;
}

// --- translation ---------------------------------------------------------------------------------

input_event translate_motion(const queue_entry &entry) {
    unqueue_motion();
    input.moved_clock = inq_event_clock();
    screen_point to = input.cursor;
    (entry.device == gl::MOUSEX ? to.x : to.y) = entry.value;
    move_cursor(to);
    return {input_motion, 0};
}

input_event translate_button(const queue_entry &entry, int button) {
    const mouse_button &letters = mouse_buttons()[static_cast<std::size_t>(button)];
    if (begin_double_click_run(&input.clicks)) {
        gl::qdevice(gl::TIMER1);
        gl::noise(gl::TIMER1, double_click_noise);
    }
    if (entry.value == 0)
        return {input_button, letters.released};
    const bool is_double = is_double_click(&input.clicks, button, input.cursor);
    return {input_button, is_double ? letters.double_clicked : letters.pressed};
}

input_event translate_wheel(const queue_entry &entry) {
    if (entry.value == 0)
        return {};
    return {input_button, entry.device == gl::WHEELUP ? wheel_turned_up : wheel_turned_down};
}

input_event translate_modifier(const queue_entry &entry, const modifier_key &key) {
    if (entry.value == 0) {
        input.modifiers &= ~key.bit;
        return {input_keyboard, key.released};
    }
    input.modifiers |= key.bit;
    return {input_keyboard, key.pressed};
}

void translate_caps_lock(std::int16_t value) {
    if (gl_is_Cypress)
        input.caps_lock = value != 0;
    else if (value != 0)
        input.caps_lock = !input.caps_lock;
}

void move_by_arrow_key(gl::device d) {
    screen_point at;
    gl_get_valuator(&at.x, &at.y);
    const int right = d == gl::RIGHTARROWKEY ? 1 : d == gl::LEFTARROWKEY ? -1 : 0;
    const int up = d == gl::UPARROWKEY ? 1 : d == gl::DOWNARROWKEY ? -1 : 0;
    gl_set_valuator(at.x + right, at.y + up);
}

bool is_editing_key_taken(std::int16_t key) {
    return arrow_key_takers > 0 || (wants_editing_keys != nullptr && wants_editing_keys(key));
}

input_event translate_key(const queue_entry &entry) {
    const std::int16_t editing =
        entry.value != 0 ? editing_key_value(entry.device) : std::int16_t{0};
    if (editing != 0 && is_editing_key_taken(editing))
        return {input_keyboard, editing};
    if (entry.value != 0 && gl_arrow_key(entry.device) != answer_no) {
        move_by_arrow_key(entry.device);
        return {};
    }
    const int character = key_character(entry.device, is_shifted(), input.caps_lock);
    // Escape is delivered when released too: who waits for it may have missed the press.
    if (character == 0 || (entry.value == 0 && character != escape_character))
        return {};
    return {input_keyboard, static_cast<std::int16_t>(character)};
}

void call(void (*function)()) {
    if (function != nullptr)
        function();
}

void call_window(void (*function)(int), std::int16_t window) {
    if (function != nullptr)
        function(window);
}

void tell_watch(const queue_entry &entry) {
    const bool is_watched = entry.device == gl::INPUTCHANGE || entry.device == gl::WINFREEZE ||
                            entry.device == gl::WINQUIT || entry.device == gl::WINSHUT;
    if (is_watched && watch_windows != nullptr)
        watch_windows(entry.device, entry.value);
}

// Timers and window events: what they ask for is done here. Only the idle tick is delivered.
input_event handle_internal(const queue_entry &entry) {
    tell_watch(entry);
    switch (entry.device) {
    case gl::TIMER0:
        return {are_null_events_enabled() ? input_none : input_nothing, 0};
    case gl::TIMER1:
        if (end_double_click_run(&input.clicks))
            gl::unqdevice(gl::TIMER1);
        break;
    case gl::TIMER2:
        call(timer2_function);
        break;
    case gl::TIMER3:
        call(timer3_function);
        break;
    case gl::PASTED:
        call(paste_call);
        break;
    case gl::REDRAW:
        call_window(windows.gl_refresh, entry.value);
        break;
    case gl::WINFREEZE:
        call_window(windows.gl_win_freeze, entry.value);
        break;
    case gl::WINTHAW:
        call_window(windows.gl_win_thaw, entry.value);
        break;
    case gl::WINQUIT:
    case gl::WINSHUT:
        if (entry.device == gl::WINQUIT || may_close == nullptr || may_close(entry.value))
            call_window(windows.gl_close_iris_wid, entry.value);
        break;
    case gl::INPUTCHANGE:
        set_input_window(entry.value);
        if (entry.value == 0 && !is_motion_queued())
            queue_motion(); // the hand has gone elsewhere: no more polling
        if (entry.value != 0 && play_switch == 0)
            input.caps_lock = gl::is_caps_locked(); // others may have switched it meanwhile
        break;
    case gl::QFULL:
        std::fputs("Warning: Input Queue Overflow.\n"
                   "         Events have been lost. \n",
                   stdout);
        break;
    default:
        break;
    }
    return {};
}

input_event translate(const queue_entry &entry) {
    if (is_valuator(entry.device))
        return translate_motion(entry);
    if (entry.device > gl::last_button_device)
        return handle_internal(entry);
    if (const int button = find_mouse_button(entry.device); button >= 0)
        return translate_button(entry, button);
    if (entry.device == gl::WHEELUP || entry.device == gl::WHEELDOWN)
        return translate_wheel(entry);
    if (const modifier_key *key = find_modifier_key(entry.device))
        return translate_modifier(entry, *key);
    if (entry.device == gl::CAPSLOCKKEY) {
        translate_caps_lock(entry.value);
        return {};
    }
    return translate_key(entry);
}

// One event, without the position. Returns false when there is none and none is waited for.
bool get_event(input_event *out, int wait, std::FILE **play_file_ref, std::FILE *record_file) {
    queue_entry entry;
    const played source = play_event(play_file_ref, record_file, &entry);
    if (source == played::motion) {
        *out = {input_motion, 0};
        return true;
    }
    if (source == played::nothing) {
        const bool is_empty = gl::qtest() == gl::NULLDEV;
        if (is_empty && !is_motion_queued() && poll_cursor(record_file)) {
            *out = {input_motion, 0};
            return true;
        }
        if (wait == 0 && is_empty)
            return false;
        short value = 0;
        entry.device = gl::qread(&value);
        entry.value = value;
        if (steer_recorder(entry, record_file))
            return true;
    }
    if (!is_valuator(entry.device) && entry.device != gl::NULLDEV)
        record_event(record_file, entry);
    *out = translate(entry);
    if (is_valuator(entry.device))
        record(record_file, gl::MOUSEX, entry.value);
    return true;
}

} // namespace

bool gl_is_Cypress = false;

void set_window_calls(const window_calls &calls) {
    windows = calls;
}

void set_window_watch(window_watch watch) {
    watch_windows = watch;
}

void set_close_question(close_question question) {
    may_close = question;
}

void take_arrow_keys() {
    ++arrow_key_takers;
}

void give_back_arrow_keys() {
    if (arrow_key_takers > 0)
        --arrow_key_takers;
}

void set_editing_key_question(editing_key_question question) {
    wants_editing_keys = question;
}

void set_paste_call(void (*call)()) {
    paste_call = call;
}

void gl_input_init() {
    gl_get_valuator(&input.cursor.x, &input.cursor.y);
    restart_event_timer();
    for (const gl::device d : input_devices())
        gl::qdevice(d);
    gl::noise(gl::TIMER1, first_timer1_noise);
    input.clicks = {};
    forget_input_window();
    read_held_modifiers();
    input.caps_lock = gl::is_caps_locked();
}

int gl_event_get(std::int16_t *event_class, std::int16_t *value, screen_point *position, int wait,
                 std::FILE **play_file_ref, std::FILE *record_file) {
    input_event event;
    const bool delivered = get_event(&event, wait, play_file_ref, record_file);
    *event_class = event.event_class;
    *value = event.value;
    *position = input.cursor;
    return delivered ? 1 : 0;
}

void gl_qreset() {
    gl::qreset();
    read_held_modifiers();
}

int gl_arrow_key(gl::device d) {
    constexpr unsigned low_bits = 0xff;
    const auto key = static_cast<gl::device>(static_cast<unsigned>(d) & low_bits);
    return answer(key == gl::LEFTARROWKEY || key == gl::DOWNARROWKEY || key == gl::RIGHTARROWKEY ||
                  key == gl::UPARROWKEY);
}

int gl_inq_b1_down() {
    return answer(is_held(gl::LEFTMOUSE));
}

int gl_inq_b3_down() {
    return answer(is_held(gl::RIGHTMOUSE));
}

int is_alt_key_down() {
    return is_either_held(alt_bit);
}

int is_ctrl_key_down() {
    return is_either_held(ctrl_bit);
}

int is_shift_key_down() {
    return is_either_held(shift_bit);
}

std::uint32_t inq_special_key() {
    return input.modifiers;
}

int inq_last_alt_key_state() {
    return answer((input.modifiers & alt_bit) != 0);
}

} // namespace toolkit
