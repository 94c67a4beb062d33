#include "tests/toolkit/events/input_fixture.h"

#include "toolkit/events/input_window.h"
#include "toolkit/events/key_table.h"

#include <string>
#include <string_view>
#include <unistd.h>

namespace toolkit {
namespace {

class event_journal_test : public input_fixture {
protected:
    void TearDown() override {
        play_switch = record_switch = 0;
        forget_journal_state();
        for (std::FILE *file : {play_file, record_file}) {
            if (file != nullptr)
                std::fclose(file);
        }
        input_fixture::TearDown();
    }

    static std::FILE *file_of(std::string_view text) {
        std::FILE *file = std::tmpfile();
        std::fwrite(text.data(), 1, text.size(), file);
        std::rewind(file);
        return file;
    }
    static std::string text_of(std::FILE *file) {
        std::string text;
        std::rewind(file);
        for (int c = 0; (c = std::getc(file)) != EOF;)
            text += static_cast<char>(c);
        return text;
    }
    void start_recording() {
        record_file = std::tmpfile();
        record_switch = 1;
    }
    void start_playing(std::string_view text) {
        play_file = file_of(text);
        play_switch = 1;
    }
    // What the play file delivers until it ends.
    std::vector<delivered_event> play() {
        std::vector<delivered_event> events;
        for (;;) {
            const delivered_event e = read();
            if (play_switch == 0)
                return events;
            events.push_back(e);
        }
    }
};

TEST_F(event_journal_test, session_is_recorded_and_played_back) {
    // A drag with shift held, a double click, a word, an arrow key, a window event.
    const auto session = [this] {
        std::vector<delivered_event> events;
        const auto keep = [&](delivered_event e) { events.push_back(e); };
        move_pointer({300, 400});
        keep(read()); // x, out of the queue
        keep(read()); // y
        keep(enter(gl::LEFTSHIFTKEY, 1));
        keep(enter(gl::LEFTMOUSE, 1));
        move_pointer({310, 395});
        keep(read()); // polled
        keep(enter(gl::LEFTMOUSE, 0));
        keep(enter(gl::LEFTSHIFTKEY, 0));
        keep(enter(gl::RIGHTMOUSE, 1));
        keep(enter(gl::RIGHTMOUSE, 1));
        keep(enter(gl::QKEY, 1));
        keep(enter(gl::ESCKEY, 0));
        keep(enter(gl::RIGHTARROWKEY, 1));
        keep(enter(gl::WINFREEZE, 7));
        return events;
    };
    start_recording();
    const std::vector<delivered_event> recorded = session();
    EXPECT_EQ(recorded[5], (delivered_event{input_button, 'A', {310, 395}}));
    EXPECT_EQ(recorded[8], (delivered_event{input_button, 'F', {310, 395}}));
    const std::string text = text_of(record_file);
    EXPECT_EQ(text, "266 300 512 300\t\t//MOUSE\n"
                    "266 300 400 400\t\t//MOUSE\n"
                    "6 300 400 1\t\t//KEYBD\n"
                    "103 300 400 1\t\t//MOUSE1 down\n"
                    "266 310 395 310\t\t//MOUSE\n"
                    "103 310 395 0\t\t//MOUSE1 up\n"
                    "6 310 395 0\t\t//KEYBD\n"
                    "101 310 395 1\t\t//MOUSE3 down\n"
                    "101 310 395 1\t\t//MOUSE3 down\n"
                    "10 310 395 1\t\t//q\n"
                    "7 310 395 0\t\t//ESCKEY\n"
                    "80 310 395 1\t\t//RIGHTARROWKEY down\n"
                    "539 310 395 7\t\t//WINFREEZE\n");

    // Played back on another day, with the hand on mouse and keyboard, and recorded once more.
    std::fclose(record_file);
    start_recording();
    move_pointer({5, 5});
    gl_input_init();
    display::memory::push_key('x', true);
    start_playing(text);
    EXPECT_EQ(play(), recorded);
    EXPECT_EQ(play_file, nullptr);
    EXPECT_EQ(text_of(record_file), text);
}

// Where keys go is part of what was recorded, whenever the news of it came.
TEST_F(event_journal_test, the_window_with_the_keyboard_is_recorded_before_keys) {
    enter(gl::INPUTCHANGE, 4);
    start_recording();
    begin_journal_input();
    EXPECT_EQ(inq_input_window(), 4);
    enter(gl::QKEY, 1);
    enter(gl::INPUTCHANGE, 5);
    record_switch = 0;
    enter(gl::INPUTCHANGE, 6);
    record_switch = 1;
    enter(gl::QKEY, 0);
    enter(gl::QKEY, 1);
    const std::string text = text_of(record_file);
    EXPECT_EQ(text, "534 640 512 4\t\t//INPUTCHANGE\n"
                    "10 640 512 1\t\t//q\n"
                    "534 640 512 5\t\t//INPUTCHANGE\n"
                    "534 640 512 6\t\t//INPUTCHANGE\n"
                    "10 640 512 0\t\t//q\n"
                    "10 640 512 1\t\t//q\n");

    std::fclose(record_file);
    start_recording();
    start_playing(text);
    begin_journal_input();
    std::vector<int> windows = {inq_input_window()};
    for (int i = 0; i < 6; ++i) {
        read();
        windows.push_back(inq_input_window());
    }
    EXPECT_EQ(windows, (std::vector<int>{0, 4, 4, 5, 6, 6, 6}));
    EXPECT_EQ(text_of(record_file), text);
    read(); // the end
    EXPECT_EQ(inq_input_window(), 0) << "the display was not listened to";
}

TEST_F(event_journal_test, held_keys_and_buttons_follow_the_lines) {
    start_playing("103 0 0 1\n143 0 0 1\n145 0 0 1\n5 0 0 1\n101 0 0 1\n103 0 0 0\n");
    for (int i = 0; i < 5; ++i)
        read();
    for (const int down : {gl_inq_b1_down(), gl_inq_b3_down(), is_alt_key_down(),
                           is_ctrl_key_down(), is_shift_key_down()})
        EXPECT_EQ(down, 255);
    EXPECT_EQ(inq_special_key(), 7U);
    read();
    EXPECT_EQ(gl_inq_b1_down(), 0);
    read(); // the end
    EXPECT_EQ(play_switch, 0);
    EXPECT_EQ(gl_inq_b3_down(), 0) << "live again";
    EXPECT_EQ(inq_special_key(), 0U);
}

TEST_F(event_journal_test, hostile_files_do_no_harm) {
    std::string rubbish;
    for (unsigned i = 0, seed = 12345; i < 20'000; ++i, seed = seed * 1103515245U + 12345U)
        rubbish += static_cast<char>(seed >> 16U);
    const std::string huge(300, '9');
    const std::string ok = "11 1 2 1\t\t//a\n";
    struct {
        std::string text;
        std::vector<int> devices;
    } const rows[] = {
        {"", {}},
        {"11 1 2 1", {11}}, // no newline at the end
        {"11 1 2\n" + ok, {11}},
        {"//CAPTION\t\t ## 11 1 2 1\n\n\n" + ok, {11}},
        {"11 1 2 1 " + std::string(246, 'x') + "\n", {11}}, // 255 characters
        {"11 1 2 1 " + std::string(247, 'x') + "\n", {}},
        {"11 1 2 1 " + std::string(10'000, 'x') + "\n" + ok, {11}},
        {"0 0 0 0\n-1 0 0 1\n562 0 0 1\n65547 0 0 1\n4294967307 0 0 1\n", {}},
        {huge.substr(0, 60) + " 1 1 1\n11 " + huge.substr(0, 200) + " -99999 70000\n", {11}},
        {std::string("11\0 1 2 1\n", 10) + ok, {11}},
        {"a\n11 x 1 1\n%d %s%n 11 1\n" + ok, {11}},
    };
    for (const auto &row : rows) {
        std::FILE *file = file_of(row.text);
        std::vector<int> devices;
        journal_line line;
        while (read_journal_line(file, &line))
            devices.push_back(line.device);
        EXPECT_EQ(devices, row.devices) << row.text.substr(0, 60);
        std::fclose(file);
    }
    journal_line line;
    std::FILE *file = file_of("11 99999999999999999999 -99999 70000\n");
    ASSERT_TRUE(read_journal_line(file, &line));
    EXPECT_EQ(line, (journal_line{11, {32767, -32768}, 32767}));
    std::fclose(file);

    start_playing(rubbish + "\n" + ok);
    EXPECT_EQ(play().size(), 1U);
    // Devices that nobody queued, and numbers that are none, hold nothing up.
    start_playing("515 0 0 0\n300 0 0 1\n193 0 0 1\n" + ok);
    EXPECT_EQ(play().size(), 1U);
    play_switch = 1; // a file that could not be opened
    read();
    EXPECT_EQ(play_switch, 0);
}

TEST_F(event_journal_test, labels_name_the_event) {
    struct {
        gl::device device;
        std::int16_t value;
        const char *label;
    } const rows[] = {{102, 1, "MOUSE2 down"},    {73, 0, "LEFTARROWKEY up"},
                      {81, 1, "UPARROWKEY down"}, {74, 1, "DOWNARROWKEY down"},
                      {528, 1, "REDRAW"},         {546, 1, "WINSHUT"},
                      {542, 1, "WINQUIT"},        {540, 1, "WINTHAW"},
                      {534, 0, "INPUTCHANGE"},    {515, 0, "TIMER0"},
                      {516, 0, "UNTYPED"},        {9, 1, "KEYBD"},
                      {143, 1, "KEYBD"},          {57, 1, "\\"}};
    for (const auto &row : rows)
        EXPECT_EQ(journal_label(row.device, row.value, false, false), row.label);
    EXPECT_EQ(journal_label(gl::ONEKEY, 1, true, false), "!");
    EXPECT_EQ(journal_label(gl::AKEY, 0, false, true), "A");
}

TEST_F(event_journal_test, f12_switches_recording_and_f11_asks_at_a_terminal_only) {
    EXPECT_EQ(enter(gl::F12KEY).event_class, input_nothing);
    EXPECT_EQ(record_switch, 0) << "without a file there is nothing to switch";
    start_recording();
    testing::internal::CaptureStdout();
    enter(gl::F12KEY, 1);
    enter(gl::F12KEY, 0);
    enter(gl::AKEY, 1);
    enter(gl::F11KEY, 1);
    enter(gl::F12KEY, 1);
    enter(gl::BKEY, 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "NOT RECORDING\nRECORDING\n");

    // Standard input is a pipe that stays silent: asking there would never end.
    int silent[2];
    ASSERT_EQ(pipe(silent), 0);
    const int real_input = dup(STDIN_FILENO);
    dup2(silent[0], STDIN_FILENO);
    testing::internal::CaptureStderr();
    enter(gl::F11KEY, 1);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("no terminal"), std::string::npos);
    dup2(real_input, STDIN_FILENO);
    for (const int fd : {silent[0], silent[1], real_input})
        close(fd);
    write_caption(record_file, "two\nlines" + std::string(1000, 'x'));
    const std::string text = text_of(record_file);
    const std::string expected = "36 640 512 1\t\t//b\n//CAPTION\t\t ## two linesxxx";
    EXPECT_EQ(text.substr(0, expected.size()), expected);
    EXPECT_EQ(text.size(), text.find('\n') + 1 + max_journal_line + 1);
    EXPECT_EQ(text.back(), '\n');

    std::FILE *full = std::fopen("/dev/full", "w");
    ASSERT_NE(full, nullptr);
    testing::internal::CaptureStderr();
    write_journal_line(full, {gl::AKEY, start, 1}, "a");
    EXPECT_EQ(record_switch, 0);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("can't write"), std::string::npos);
    std::fclose(full);
}

TEST_F(event_journal_test, live_input_is_thrown_away_and_escape_ends_the_playing) {
    start_playing("266 9 8 9\n");
    gl::qenter(gl::AKEY, 1);
    EXPECT_EQ(read(), (delivered_event{input_motion, 0, {9, 8}}));
    EXPECT_EQ(gl::qtest(), gl::NULLDEV);
    EXPECT_EQ(play().size(), 0U);

    start_playing("11 0 0 1\n11 0 0 1\n11 0 0 1\n");
    EXPECT_EQ(read().value, 'a');
    display::memory::push_key(display::key_escape, true);
    EXPECT_NE(read().value, 'a');
    EXPECT_EQ(play_switch, 0);
    EXPECT_EQ(play_file, nullptr);
    EXPECT_EQ(pending, 0) << "the press is used up";
}

} // namespace
} // namespace toolkit
