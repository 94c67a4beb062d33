// Either side is killed at any moment: the other goes on, and nothing stays in shared memory.
// LINK_KILLS in the environment is how often; 100 of each side are usual.
#include "link/own_segments.h"
#include "tests/link/link_fixture.h"

#include <csignal>
#include <random>
#include <sys/mman.h>
#include <sys/wait.h>

namespace render_link {

namespace {

int kill_count() {
    const char *wanted = std::getenv("LINK_KILLS");
    return wanted != nullptr ? std::atoi(wanted) : 100;
}

// Times from none to a whole session's, the early ones oftener.
int choose_time(std::mt19937 &random) {
    const int most = random() % 2 == 0 ? 20000 : 120000; // microseconds
    return 1 + static_cast<int>(random() % static_cast<unsigned>(most));
}

} // namespace

class link_kill_test : public link_test {
protected:
    void SetUp() override {
        link_test::SetUp();
        session.count = 100000;
        session.width = 640;
        session.height = 360;
    }
    std::mt19937 random_{20261121};
};

TEST_F(link_kill_test, ThePlayerAtAnyMoment) {
    int lost_later = 0;
    for (int round = 0; round < kill_count(); ++round) {
        const int time = choose_time(random_);
        SCOPED_TRACE("killed after " + std::to_string(time) + " microseconds");
        // By the start, or by the link: a slow machine has both kinds, too.
        int result = start((round % 2 == 0 ? "alarm=" : "linked_alarm=") + std::to_string(time));
        if (result == REEL_LINK_OK) {
            ++lost_later;
            result = send_to(100000);
            ASSERT_EQ(result, REEL_LINK_LOST) << text();
            ASSERT_NE(text().find("signal 14"), std::string::npos) << text() << "\n" << fault();
            ASSERT_EQ(reel_link_end(link, REEL_LINK_KEEP_WINDOW, 1000), REEL_LINK_LOST);
        } else {
            ASSERT_EQ(result, REEL_LINK_NOT_LINKED) << text();
        }
        ASSERT_TRUE(are_segments_gone());
    }
    EXPECT_GT(lost_later, 0);
}

// What is left then is what the player had not heard of: the next session removes it.
TEST_F(link_kill_test, TheRendererAtAnyMoment) {
    if (!has_own_namespace())
        GTEST_SKIP() << "the kernel gives no IPC namespace to count segments in";
    int swept = 0;
    for (int round = 0; round < kill_count(); ++round) {
        const int time = choose_time(random_);
        SCOPED_TRACE("killed after " + std::to_string(time) + " microseconds");
        const pid_t renderer = ::fork();
        ASSERT_GE(renderer, 0); // -1 is everybody, to kill
        if (renderer == 0) {
            if (start("") == REEL_LINK_OK)
                send_to(100000);
            ::_exit(0);
        }
        ::usleep(static_cast<useconds_t>(time));
        ::kill(renderer, SIGKILL);
        ASSERT_EQ(::waitpid(renderer, nullptr, 0), renderer);
        ::usleep(5000); // for the player to hear of it
        for (int tries = 0; tries < 1000 && count_segments() != 0; ++tries, ::usleep(10000))
            swept += sweep_segments();
        ASSERT_EQ(count_segments(), 0);
    }
    std::printf("%d segments in %d rounds were swept\n", swept, kill_count());
}

TEST_F(link_kill_test, ASweepTakesWhatIsDeadAndOurs) {
    if (!has_own_namespace())
        GTEST_SKIP() << "the kernel gives no IPC namespace to count segments in";
    own_segment kept;
    ASSERT_EQ(create_segment(100, kept), 0);
    EXPECT_EQ(kept.key >> key_number_bits, key_mark);
    const int own = ::shmget(kept.key ^ 1, 100, IPC_CREAT | 0700); // of a process that lives
    const int other = ::shmget(4711, 100, IPC_CREAT | 0700);
    const pid_t dead = ::fork();
    ASSERT_GE(dead, 0);
    if (dead == 0) {
        ::shmget(kept.key ^ 2, 100, IPC_CREAT | 0700);
        ::shmget(4712, 100, IPC_CREAT | 0700);
        ::_exit(0);
    }
    ::waitpid(dead, nullptr, 0);
    EXPECT_EQ(count_segments(), 5);
    EXPECT_EQ(sweep_segments(), 1);
    EXPECT_EQ(::shmget(kept.key ^ 2, 0, 0), -1);
    for (const int id : {own, other, ::shmget(4712, 0, 0)})
        EXPECT_EQ(::shmctl(id, IPC_RMID, nullptr), 0);
}

} // namespace render_link
