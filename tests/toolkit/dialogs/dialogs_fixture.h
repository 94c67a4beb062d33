// Dialogs over a window, answered by hands that were told beforehand what to do.
#pragma once

#include "tests/toolkit/widgets/widgets_fixture.h"
#include "toolkit/demons/keystroke_aliases.h"
#include "toolkit/dialogs/dialogs.h"
#include "toolkit/dialogs/questions.h"
#include "toolkit/events/cursor_control.h"
#include "toolkit/objects/object_names.h"
#include "toolkit/widgets/edit_string.h"

#include <deque>
#include <string_view>

namespace toolkit {

class dialogs_fixture : public widgets_fixture {
protected:
    dialogs_fixture() {
        init_dialogs();
        drawWidget(window);
        probes.clear();
        told = 0;
        cursor_filter = filter_probes;
        real_place = {400, 500};
        gl_set_valuator(400, 500);
    }
    // Whatever a dialog was, all is as it was before it.
    ~dialogs_fixture() override {
        EXPECT_TRUE(probes.empty());
        if (inq_demon_god() == nullptr)
            return;
        EXPECT_EQ(inq_event_filters(), 0U);
        EXPECT_FALSE(gl::is_display_lost()) << "nobody answered";
        bool fired = false;
        aliasKeystroke(
            'z', 0, [](word to) { *from_word<bool *>(to) = true; }, to_word(&fired));
        EXPECT_TRUE(fire_keystroke_alias('z')) << "aliases are off";
    }

    // What happens between the hands' doings, within a dialog's loop.
    void then(std::function<void()> what) {
        probes.push_back(std::move(what));
        const screen_point kept = std::exchange(at, {++told, 0});
        send(display::event_kind::motion);
        at = kept;
    }
    void tap(int code) {
        send(display::event_kind::key, code, true);
        send(display::event_kind::key, code, false);
    }
    void type(std::string_view text) {
        for (const char c : text) {
            const bool is_shifted = c == '~';
            if (is_shifted)
                send(display::event_kind::key, display::key_shift_left, true);
            tap(c == '\b' ? display::key_backspace : is_shifted ? '`' : c);
            if (is_shifted)
                send(display::event_kind::key, display::key_shift_left, false);
        }
    }
    void confirm() { tap(display::key_return); }
    void escape() { tap(display::key_escape); }
    void click_in_screen(int x, int y) { click(x - window_box.x, y - window_box.y); }

    static iris_window_demon *dialog(const char *text, const char *start = "Yes/No: ") {
        return static_cast<iris_window_demon *>(
            get_named_object((start + std::string(text)).c_str()));
    }
    static screen_box within(const demon *part, const demon *in) {
        return {clamp_16(part->box.x - in->box.x), clamp_16(part->box.y - in->box.y),
                part->box.width, part->box.height};
    }
    static std::size_t windows_open() { return display::memory::windows().size(); }

private:
    // Hands that point at (n, 0) mean the n-th probe; the cursor stays where it was.
    static void filter_probes(screen_point in, screen_point *out) {
        program_clock::advance_process_us(20'000);
        if (in.y != 0 && in.x > most_probes) // on the way there y is still the old one
            real_place = in;
        *out = real_place;
        if (in.y != 0 || probes.empty() || in.x != next_probe())
            return;
        const auto probe = std::move(probes.front());
        probes.pop_front();
        probe();
    }
    static int next_probe() { return told - static_cast<int>(probes.size()) + 1; }

    static constexpr int most_probes = 60;
    static inline std::deque<std::function<void()>> probes;
    static inline std::int16_t told = 0;
    static inline screen_point real_place;
};

} // namespace toolkit
