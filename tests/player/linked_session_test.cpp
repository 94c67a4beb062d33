// Whole sessions, from the handshake to the end, as a user sees them and a renderer takes part.
#include "ipc/session_codes.h"
#include "player/session_decisions.h"
#include "tests/player/session_fixture.h"
#include "toolkit/demons/event_filters.h"
#include "toolkit/widgets/widgets.h"

namespace {

using namespace player;
using player_test::make_record;
using player_test::record;
using player_test::renderer;
using player_test::wire;

constexpr const char *question = "Question";

class linked_session_test : public player_test::session_fixture {
protected:
    // The flip-book's window shows one frame after another, by its keys.
    static void expect_flip_book(const std::vector<int> &frames) {
        tap(display::key_home);
        for (std::size_t i = 0; i < frames.size(); ++i) {
            EXPECT_TRUE(player_shows(frames[i])) << frames[i];
            tap('.');
        }
        EXPECT_TRUE(player_shows(frames.back())) << "there is no frame behind the last";
        EXPECT_TRUE(wait_for([&] { return playback.count == static_cast<int>(frames.size()); }));
    }
    static bool is_asked(bool wanted = true) { return is_shown(question, wanted); }
    static std::string label_of_cancel() {
        std::string text;
        ask([&] {
            toolkit::widget_value value;
            toolkit::getWidgetValue(progress.cancel.get(), &value);
            text = value.text;
        });
        return text;
    }
    static bool has_paused_switch() {
        bool has = false;
        ask([&] {
            const toolkit::demon *kid = progress.window.get()->kids;
            while (kid != nullptr && kid != progress.paused.get())
                kid = kid->next;
            has = kid != nullptr;
        });
        return has;
    }
    // A frame that must be refused, with a word of why.
    static void expect_refused(renderer &parent, const std::vector<std::int32_t> &longs) {
        std::uint64_t before = 0;
        std::uint64_t after = 1;
        ask([&] { before = state.frames_received; });
        EXPECT_FALSE(parent.announce(longs));
        ask([&] { after = state.frames_received; });
        EXPECT_EQ(before, after) << longs[0] << " " << longs[1] << " " << longs[2];
    }
};

TEST_F(linked_session_test, a_render_from_first_to_last_frame) {
    const std::string said = run([](renderer &parent) {
        parent.begin({.first = 7, .count = 3, .is_render = true});
        EXPECT_TRUE(is_shown("Render Tool"));
        EXPECT_FALSE(has_paused_switch());
        for (const int number : {7, 8, 9}) {
            EXPECT_TRUE(parent.frame(number));
            EXPECT_TRUE(progress_shows(number));
            EXPECT_EQ(has_paused_switch(), number != 9);
            EXPECT_EQ(label_of_cancel(), number == 9 ? "OK" : "Cancel");
        }
        EXPECT_TRUE(parent.is_answered()) << "the link stays";
        EXPECT_EQ(parent.status(), ipc::state_none);
        click(progress.cancel);
        EXPECT_TRUE(has_ended()) << "without a question";
        EXPECT_EQ(parent.status(), ipc::state_cancelled);
        EXPECT_TRUE(parent.is_closed());
    });
    EXPECT_EQ(said, "");
}

TEST_F(linked_session_test, a_preview_from_first_to_last_frame_is_played) {
    const std::string said = run([](renderer &parent) {
        parent.begin({.first = 3, .count = 3, .width = 66, .height = 50});
        EXPECT_TRUE(is_shown("Preview Tool"));
        for (const int number : {3, 4}) {
            EXPECT_TRUE(parent.frame(number));
            EXPECT_TRUE(progress_shows(number));
        }
        EXPECT_TRUE(parent.frame(5));
        EXPECT_TRUE(parent.has_status(ipc::state_preview_over));
        EXPECT_TRUE(is_shown(player_title));
        EXPECT_FALSE(is_titled("Preview Tool"));
        EXPECT_TRUE(player_shows(5)) << "the last frame at first";
        expect_flip_book({3, 4, 5});
        parent.leave();
        expect_flip_book({3, 4, 5});
        tap('q', display::key_control_left);
        EXPECT_TRUE(has_ended());
    });
    EXPECT_EQ(said, "");
}

TEST_F(linked_session_test, a_paused_render_goes_on_when_resumed) {
    const std::string said = run([](renderer &parent) {
        parent.begin({.is_render = true});
        click(progress.cancel); // before the first frame there is nothing to pause
        EXPECT_TRUE(is_asked());
        tap(display::key_escape);
        EXPECT_TRUE(is_asked(false));
        for (const int number : {1, 2}) {
            EXPECT_TRUE(parent.frame(number));
            click(progress.paused);
            EXPECT_TRUE(parent.has_status(ipc::state_paused));
            EXPECT_FALSE(is_titled(player_title));
            click(progress.paused);
            EXPECT_TRUE(parent.has_status(ipc::state_resumed));
        }
        EXPECT_TRUE(parent.frame(3));
        click(progress.paused);
        EXPECT_TRUE(parent.has_status(ipc::state_paused));
        click(progress.cancel); // while paused
        EXPECT_TRUE(is_asked());
        tap(display::key_return);
        EXPECT_TRUE(has_ended());
        EXPECT_EQ(parent.status(), ipc::state_cancelled);
    });
    EXPECT_EQ(said, "");
}

TEST_F(linked_session_test, a_paused_preview_is_a_flip_book_of_what_has_come) {
    const std::string said = run([](renderer &parent) {
        parent.begin({.count = 6});
        for (const int number : {1, 2, 3})
            EXPECT_TRUE(parent.frame(number));
        click(progress.paused);
        EXPECT_TRUE(parent.has_status(ipc::state_paused));
        EXPECT_TRUE(is_shown(player_title));
        EXPECT_TRUE(player_shows(3));
        expect_flip_book({1, 2, 3});
        EXPECT_TRUE(progress_shows(3)) << "the session, not what is looked at";
        click(progress.paused); // goes on
        EXPECT_TRUE(parent.has_status(ipc::state_resumed));
        EXPECT_TRUE(is_shown(player_title, false));
        EXPECT_TRUE(parent.frame(4));
        EXPECT_TRUE(progress_shows(4));
        click(progress.paused);
        EXPECT_TRUE(parent.has_status(ipc::state_paused));
        EXPECT_TRUE(is_shown(player_title));
        expect_flip_book({1, 2, 3, 4});
        tap('q', display::key_control_left); // nothing to quit now
        EXPECT_TRUE(player_shows(4));
        EXPECT_EQ(parent.status(), ipc::state_paused);
        close_box(player_title); // goes on, too
        EXPECT_TRUE(parent.has_status(ipc::state_resumed));
        EXPECT_TRUE(is_shown(player_title, false));
        EXPECT_TRUE(parent.frame(5));
        click(progress.paused); // the switch was off again
        EXPECT_TRUE(parent.has_status(ipc::state_paused));
        click(progress.paused);
        EXPECT_TRUE(parent.has_status(ipc::state_resumed));
        EXPECT_TRUE(parent.frame(6));
        EXPECT_TRUE(is_shown(player_title));
        expect_flip_book({1, 2, 3, 4, 5, 6});
    });
    EXPECT_EQ(said, "");
}

TEST_F(linked_session_test, cancel_asks_and_quits_on_yes_alone) {
    for (const bool by_key : {false, true}) {
        for (const bool is_render : {false, true}) {
            const std::string said = run([&](renderer &parent) {
                parent.begin({.is_render = is_render});
                EXPECT_TRUE(parent.frame(1));
                for (const int answer : {display::key_escape, display::key_return}) {
                    if (by_key)
                        tap(display::key_escape);
                    else
                        click(progress.cancel);
                    EXPECT_TRUE(is_asked());
                    EXPECT_EQ(parent.status(), ipc::state_none);
                    tap(answer);
                    if (answer == display::key_return)
                        break;
                    EXPECT_TRUE(is_asked(false));
                    EXPECT_TRUE(parent.frame(2)) << "it goes on";
                }
                EXPECT_TRUE(has_ended());
                EXPECT_EQ(parent.status(), ipc::state_cancelled);
            });
            EXPECT_EQ(said, "");
        }
    }
}

TEST_F(linked_session_test, both_ends_end_it_and_requests_are_answered) {
    for (const std::uint16_t code : {ipc::code_end, ipc::code_end_session}) {
        const std::string said = run([&](renderer &parent) {
            parent.begin({.width = 5000, .height = 200});
            for (const auto &[to, instance, is_ours] : {std::tuple{5, 5, false},
                                                        {102, 5, true},
                                                        {5, 17, true},
                                                        {0xFFFF, 0xFFFF, false}}) {
                record r = make_record(ipc::class_request, ipc::code_request_size);
                r.datacmd[ipc::word_addressee] = static_cast<std::uint16_t>(to);
                r.datacmd[ipc::word_addressee_instance] = static_cast<std::uint16_t>(instance);
                parent.send(r);
                if (!is_ours)
                    continue;
                const record answer = parent.read();
                EXPECT_EQ(answer.datacmd[ipc::word_code], ipc::code_size);
                EXPECT_EQ(answer.numof_longs, 2);
                EXPECT_EQ(answer.longdata[0], 1280);
                EXPECT_EQ(answer.longdata[1], 51);
            }
            record few = make_record(ipc::class_request, ipc::code_request_size);
            few.numof_cmds = 5;
            parent.send(few);
            EXPECT_TRUE(parent.request());
            const record answer = parent.read();
            EXPECT_EQ(answer.datacmd[ipc::word_code], ipc::code_pid) << "nothing before";
            EXPECT_EQ(answer.longdata[0], ::getpid());
            EXPECT_FALSE(parent.announce({4711, 5000 * 200 * 4, 1})) << "as it was not asked for";
            parent.resize(1280, 51);
            EXPECT_TRUE(parent.frame(1));
            EXPECT_TRUE(progress_shows(1));
            parent.command(code);
            EXPECT_TRUE(has_ended());
            EXPECT_EQ(parent.status(), ipc::state_none);
        });
        EXPECT_NE(said.find("Frame 1 is lost"), std::string::npos) << said;
        EXPECT_EQ(std::ranges::count(said, '\n'), 1) << said;
    }
}

TEST_F(linked_session_test, blocked_input_stays_so_until_as_many_unblocks) {
    const std::string said = run([](renderer &parent) {
        parent.begin({.is_render = true});
        EXPECT_TRUE(parent.frame(1));
        parent.command(ipc::code_unblock); // one too many does nothing
        parent.command(ipc::code_block);
        parent.command(ipc::code_block);
        EXPECT_TRUE(parent.is_answered());
        for (int left = 2; left > 0; --left) {
            click(progress.cancel);
            click(progress.paused);
            tap(display::key_escape);
            EXPECT_FALSE(is_titled(question));
            EXPECT_EQ(parent.status(), ipc::state_none);
            EXPECT_TRUE(parent.frame(4 - left)) << "frames come and are drawn";
            EXPECT_TRUE(progress_shows(4 - left));
            parent.command(ipc::code_unblock);
            EXPECT_TRUE(parent.is_answered());
        }
        click(progress.cancel);
        EXPECT_TRUE(is_asked());
        tap(display::key_escape);
        EXPECT_TRUE(is_asked(false));
        parent.command(ipc::code_block);
        parent.close_socket(); // nobody will unblock it
        EXPECT_TRUE(wait_for([] { return parent_link.is_lost; }));
        click(progress.cancel);
        EXPECT_TRUE(has_ended()) << "without a question";
    });
    EXPECT_EQ(said, lost_text());
    EXPECT_EQ(toolkit::inq_event_filters(), 0U);
}

TEST_F(linked_session_test, a_hundred_empty_messages_are_borne) {
    for (const bool is_render : {true, false}) {
        const std::string said = run([&](renderer &parent) {
            parent.begin({.is_render = is_render});
            const record empty;
            for (int round = 0; round < 2; ++round) {
                for (int i = 0; i < 100; ++i)
                    parent.send(empty);
                EXPECT_TRUE(parent.is_answered());
            }
            EXPECT_TRUE(parent.frame(1));
            for (int i = 0; i < 101; ++i)
                parent.send(empty);
            EXPECT_TRUE(parent.is_closed());
            EXPECT_EQ(parent.status(), is_render ? ipc::state_cancelled : ipc::state_preview_over);
            if (!is_render) {
                EXPECT_TRUE(is_shown(player_title));
                expect_flip_book({1});
            }
        });
        EXPECT_EQ(said, lost_text());
    }
}

TEST_F(linked_session_test, frames_come_in_any_order_and_from_any_block) {
    const std::string said = run([](renderer &parent) {
        parent.begin({.first = 10, .count = 5});
        const auto bytes = static_cast<std::int32_t>(parent.frame_bytes());
        EXPECT_TRUE(parent.frame(13));
        EXPECT_TRUE(parent.frame(11));
        EXPECT_TRUE(parent.frame(11, 30)) << "again, otherwise";
        EXPECT_TRUE(progress_shows(30));
        renderer::block one;
        renderer::make_block(one, parent.frame_bytes());
        renderer::paint(one, parent.frame_bytes(), 12);
        EXPECT_TRUE(parent.announce({one.key, bytes, 12}));
        expect_refused(parent, {one.key, bytes + 1000, 12}); // it has not so many
        EXPECT_EQ(ipc::shmem_remove(one.id), 0);             // the player has it still
        renderer::paint(one, parent.frame_bytes(), 40);
        EXPECT_TRUE(parent.announce({one.key, bytes, 10}));
        EXPECT_TRUE(progress_shows(40));
        renderer::block other; // under the key that one had
        renderer::make_block(other, parent.frame_bytes(), one.key);
        renderer::paint(other, parent.frame_bytes(), 41);
        EXPECT_TRUE(parent.announce({other.key, bytes, 10}));
        EXPECT_TRUE(progress_shows(41));
        renderer::block small;
        renderer::make_block(small, parent.frame_bytes() - 5000, 0x4711);
        expect_refused(parent, {small.key, bytes, 12});
        for (const int number : {9, 15, 0, -1, INT32_MIN, INT32_MAX})
            expect_refused(parent, {other.key, bytes, number});
        for (const int size : {bytes - 1, 0, -1, INT32_MIN})
            expect_refused(parent, {other.key, size, 12});
        for (const int key : {0, -1, INT32_MIN, INT32_MAX, 0x4712})
            expect_refused(parent, {key, bytes, 12});
        EXPECT_TRUE(parent.frame(14)) << "the last, with nothing missing";
        for (renderer::block *each : {&one, &other, &small})
            renderer::drop_block(*each);
        EXPECT_TRUE(is_shown(player_title));
        expect_flip_book({41, 30, 12, 13, 14});
    });
    EXPECT_EQ(said.find("AddressSanitizer"), std::string::npos);
    std::size_t refusals = 0;
    for (std::size_t at = 0; (at = said.find('\n', at)) != std::string::npos; ++at)
        ++refusals;
    EXPECT_GE(refusals, 17U) << said;
}

TEST_F(linked_session_test, a_parent_that_goes_away_leaves_what_has_come) {
    struct row {
        std::vector<int> frames;
        std::vector<int> played; // the colours
    };
    for (const row &r : std::vector<row>{{{1, 2}, {1, 2}}, {{1, 4}, {1, 1, 1, 4}}, {{}, {}}}) {
        for (const bool by_reset : {false, true}) {
            const std::string said = run([&](renderer &parent) {
                parent.begin({.count = 5});
                for (const int number : r.frames)
                    EXPECT_TRUE(parent.frame(number));
                if (by_reset)
                    parent.reset();
                else
                    parent.leave();
                EXPECT_TRUE(is_shown(player_title));
                EXPECT_FALSE(is_titled("Preview Tool"));
                if (!r.played.empty())
                    expect_flip_book(r.played);
                tap('q', display::key_control_left);
                EXPECT_TRUE(has_ended());
            });
            EXPECT_NE(said.find(lost_text()), std::string::npos) << said;
        }
    }
    std::string said = run([](renderer &parent) { // while a render is paused: said at once
        parent.begin({.is_render = true});
        EXPECT_TRUE(parent.frame(1));
        click(progress.paused);
        EXPECT_TRUE(parent.has_status(ipc::state_paused));
        parent.close_socket();
        EXPECT_TRUE(wait_for([] { return parent_link.is_lost; }));
        EXPECT_FALSE(has_paused_switch());
        click(progress.cancel); // OK
        EXPECT_TRUE(has_ended());
    });
    EXPECT_EQ(said, lost_text());
    said = run([](renderer &parent) { // while a preview is: its user is not disturbed
        parent.begin({.count = 5});
        EXPECT_TRUE(parent.frame(1));
        EXPECT_TRUE(parent.frame(2));
        click(progress.paused);
        EXPECT_TRUE(is_shown(player_title));
        parent.leave();
        expect_flip_book({1, 2});
        click(progress.paused);
        EXPECT_TRUE(wait_for([] { return parent_link.is_lost && has_window(player_title); }));
        expect_flip_book({1, 2});
    });
    EXPECT_EQ(said, lost_text());
}

TEST_F(linked_session_test, windows_answer_while_a_parent_stalls_or_floods) {
    const std::string said = run([](renderer &parent) {
        parent.begin({.is_render = true});
        EXPECT_TRUE(parent.frame(1));
        const wire begun(make_record(ipc::class_request, ipc::code_request_pid));
        const auto start = std::chrono::steady_clock::now();
        parent.send(std::span(begun.bytes).first(9));
        ::usleep(100'000);
        click(progress.cancel); // the link is lost: no question
        EXPECT_TRUE(has_ended());
        const auto time = std::chrono::steady_clock::now() - start;
        EXPECT_LT(time, std::chrono::milliseconds(8000));
        EXPECT_GT(time, std::chrono::milliseconds(900));
    });
    EXPECT_NE(said.find(lost_text()), std::string::npos) << said;
    run([](renderer &parent) { // never leaves the player without a message
        parent.begin({.is_render = true});
        EXPECT_TRUE(parent.frame(1));
        std::atomic<bool> is_enough = false;
        std::thread flood([&] {
            const std::vector<std::uint8_t> bytes =
                wire(make_record(ipc::class_request, 0x7777)).bytes;
            while (!is_enough && parent.send(bytes)) {
            }
        });
        click(progress.cancel);
        EXPECT_TRUE(is_asked());
        tap(display::key_return);
        EXPECT_TRUE(has_ended());
        is_enough = true;
        ::shutdown(parent.socket, SHUT_RDWR); // a player that hangs reads no more
        flood.join();
    });
}

} // namespace
