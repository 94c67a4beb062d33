// A tree of demons that note what they are sent, driven by input of a display that is not there.
#pragma once

#include "tests/toolkit/events/input_fixture.h"
#include "toolkit/demons/cursor_filters.h"
#include "toolkit/demons/demon_tree.h"
#include "toolkit/demons/dispatch.h"
#include "toolkit/demons/event_filters.h"
#include "toolkit/graphics/cursors.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/graphics/window_table.h"
#include "toolkit/objects/object_model.h"

#include <functional>

namespace toolkit {

struct noted_message {
    const object *to = nullptr;
    std::uint32_t code = 0;
    screen_point at;
    int key = 0;
    int propagate = 0;
    const object *sender = nullptr;
    bool operator==(const noted_message &) const = default;
};
inline void PrintTo(const noted_message &n, std::ostream *out) {
    *out << "code " << n.code << " at " << n.at.x << "," << n.at.y << " key " << n.key
         << " propagate " << n.propagate;
}

class dispatch_fixture : public input_fixture {
protected:
    // Every message of a demon, once noted; what it has done when this returns is done by its class
    // as well, if the demon is still there.
    static inline std::function<void(demon *, demon_message *)> on_message;
    static inline std::vector<noted_message> notes;

    void SetUp() override {
        input_fixture::SetUp();
        set_window_hooks({.demon_box = [](object *d) { return static_cast<demon *>(d)->box; }});
        set_dispatch_hooks({});
        cursor_filter = null_filter;
        object_class *cls = derive_object_class(inq_demon_class(), "noting demon");
        set_noting<msg_none, msg_left_up, msg_left_down, msg_middle_up, msg_middle_down,
                   msg_right_up, msg_right_down, msg_box_in, msg_box_out, msg_pointer_moved,
                   msg_key, msg_left_double>(cls);
        demons = create_set_of<demon>(8, 1, cls);
        god = make_demon({0, 0, 1280, 1024}, nullptr);
        demon_visibility_message(god, true);
        demon_enable_input_message(god, true);
        set_demon_god(god);
        on_message = [](demon *, demon_message *) {};
        notes.clear();
    }
    void TearDown() override {
        on_message = [](demon *, demon_message *) {};
        set_filter(filter_off, {}, no_window);
        cursor_filter = null_filter;
        clear_event_filter();
        set_start_up_call(nullptr, 0);
        set_dispatch_hooks({});
        gl_set_none_event_demon(nullptr);
        gl_free_window_table();
        terminate_objects();
        input_fixture::TearDown();
    }

    demon *make_demon(const screen_box &box, demon *parent) const {
        auto *made = create_demon_of<demon>(demons, box.width, box.height, nullptr);
        made->box = box;
        add_demon(made, parent);
        return made;
    }
    static void enter_key(gl::device d) { gl::qenter(d, 1); }

    // Waits need an end: the cursor rests sooner than it would by the clock that stands still.
    static void pass_time(screen_point in, screen_point *out) {
        program_clock::advance_process_us(100'000);
        *out = in;
    }
    static void run_loop() {
        cursor_filter = pass_time;
        main_event_loop();
    }
    // Codes of the messages noted by a demon.
    static std::vector<std::uint32_t> codes_of(const object *d) {
        std::vector<std::uint32_t> codes;
        for (const noted_message &n : notes)
            if (n.to == d)
                codes.push_back(n.code);
        return codes;
    }

    object_set *demons = nullptr;
    demon *god = nullptr;

private:
    template <std::uint32_t code> static void note(demon *self, object *sender, demon_message *m) {
        EXPECT_EQ(m->code, code);
        notes.push_back({self, m->code, m->point, m->key, m->propagate, sender});
        const demon_ref kept = refer_to_demon(self);
        on_message(self, m);
        if (kept.get() != nullptr)
            inq_class_method(inq_demon_class(), code)(self, to_word(sender), to_word(m));
    }
    template <std::uint32_t... codes> static void set_noting(object_class *cls) {
        (set_method<note<codes>>(cls, codes), ...);
    }
};

} // namespace toolkit
