// Shared memory blocks, in a name space of their own where the system lets us: what a test leaves
// behind then is gone with it, and what others have is not in the way.
#include "ipc/shared_blocks.h"

#include "tests/ipc/link_fixture.h"

#include <cstring>
#include <map>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/shm.h>
#include <sys/wait.h>

using namespace ipc;
using namespace ipc_test;

namespace {

constexpr int some_key = 0x52454C54;

struct SharedBlocks : testing::Test {
    static void SetUpTestSuite() {
        if (unshare(CLONE_NEWIPC) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWIPC) != 0)
            std::fputs("no name space of our own: the machine's segments are used\n", stderr);
    }
    std::string report_of(const char *text) const {
        return "(" + std::to_string(getpid()).append(") ").append(text).append("\n");
    }
    void *null = nullptr;
    int id = -7;
    int key = some_key;
};

} // namespace

TEST_F(SharedBlocks, AreFoundByKeyAndRemovedByTheLast) {
    int other_id = 0;
    void *const first = shmem_malloc(5000, &key, &id);
    void *const second = shmem_malloc(4000, &key, &other_id); // smaller than there is
    ASSERT_TRUE(first != nullptr && second != nullptr);
    EXPECT_EQ(id, other_id);
    EXPECT_EQ(key, some_key);
    EXPECT_EQ(shmem_size(id), 5000U);
    EXPECT_EQ(shmem_find(some_key), id);
    shmid_ds status{};
    ASSERT_EQ(shmctl(id, IPC_STAT, &status), 0);
    EXPECT_EQ(status.shm_perm.mode & 0777, 0777);
    std::strcpy(static_cast<char *>(first) + 4000, "seen");
    void *const third = shmem_attach(5000, some_key, &other_id);
    ASSERT_NE(third, null);
    EXPECT_STREQ(static_cast<char *>(third) + 4000, "seen");
    EXPECT_EQ(shmem_users(id), 3U);
    for (void *block : {second, first, third}) {
        EXPECT_EQ(shmem_find(some_key), id);
        EXPECT_EQ(shmem_free(block, id), 0);
    }
    EXPECT_EQ(shmem_find(some_key), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(shmem_users(id), 0U);
    EXPECT_EQ(shmem_size(id), 0U);
}

TEST_F(SharedBlocks, SayWhyThereIsNone) {
    int there = 0;
    void *const block = shmem_malloc(1000, &key, &there);
    ASSERT_NE(block, null);
    constexpr std::size_t far_too_much = std::size_t{1} << 62U;
    const struct {
        bool attaches;
        int key;
        std::size_t size;
        int error;
    } cases[] = {
        {false, some_key, 1001, EINVAL},         {false, some_key, 0, EINVAL},
        {false, some_key, far_too_much, EINVAL}, {false, fresh_key, 0, EINVAL},
        {true, some_key, 1001, EINVAL},          {true, some_key, 0, EINVAL},
        {true, some_key + 1, 1, ENOENT},         {true, fresh_key, 1, ENOENT},
        {true, IPC_PRIVATE, 1, ENOENT},
    };
    for (const auto &c : cases) {
        key = c.key;
        id = -7;
        int error = 0;
        const std::string text = std::string("shmem_malloc: shmget: ") + std::strerror(c.error);
        EXPECT_EQ(errors_of([&] {
                      EXPECT_EQ(c.attaches ? shmem_attach(c.size, c.key, &id)
                                           : shmem_malloc(c.size, &key, &id),
                                null);
                      error = errno;
                  }),
                  report_of(text.c_str()));
        EXPECT_EQ(error, c.error);
        EXPECT_EQ(id, 0);
        EXPECT_EQ(key, c.key);
    }
    key = fresh_key; // none of the ten thousand fits
    EXPECT_NE(errors_of([&] { EXPECT_EQ(shmem_malloc(far_too_much, &key, &id), null); }), "");
    EXPECT_EQ(shmem_find(some_key + 1), -1); // asking made none
    EXPECT_EQ(shmem_free(block, there), 0);
}

// So many that some keys come up twice: these are used together, but only where they are large
// enough.
TEST_F(SharedBlocks, ChooseKeys) {
    constexpr std::size_t large = 1 << 16;
    std::map<int, int> users;
    std::vector<std::pair<void *, int>> blocks;
    for (int i = 0; i < 1200; i++) {
        key = fresh_key;
        const std::size_t size = i < 600 ? 100 : large;
        void *const block = shmem_malloc(size, &key, &id);
        ASSERT_NE(block, null);
        ASSERT_GE(key, min_fresh_key);
        ASSERT_LE(key, max_fresh_key);
        ASSERT_EQ(shmem_find(key), id);
        ASSERT_GE(shmem_size(id), size);
        blocks.emplace_back(block, id);
        users[id]++;
    }
    EXPECT_LT(users.size(), blocks.size());
    EXPECT_GT(users.size(), blocks.size() / 2);
    for (const auto &[block, segment] : blocks)
        EXPECT_EQ(shmem_free(block, segment), 0);
    for (const auto &[segment, count] : users)
        EXPECT_EQ(shmem_users(segment) + shmem_size(segment), 0U) << count;
}

TEST_F(SharedBlocks, StayUntilNobodyIsAttachedOnceRemoved) {
    char *const block = static_cast<char *>(shmem_malloc(100, &key, &id));
    ASSERT_NE(block, null);
    EXPECT_EQ(shmem_remove(id), 0);
    EXPECT_EQ(shmem_find(some_key), -1);
    block[99] = 1;
    EXPECT_EQ(shmem_users(id), 1U);
    EXPECT_EQ(errors_of([&] { EXPECT_EQ(shmem_free(block, id), 0); }), "");
    EXPECT_EQ(shmem_size(id), 0U);
    EXPECT_EQ(errors_of([&] { EXPECT_LT(shmem_remove(id), 0); }),
              report_of("shmem_remove: shmctl: Invalid argument"));
}

TEST_F(SharedBlocks, SayWhyTheyCanNotBeGivenBack) {
    void *const block = shmem_malloc(100, &key, &id);
    ASSERT_NE(block, null);
    EXPECT_EQ(errors_of([&] { EXPECT_LT(shmem_free(block, -1), 0); }),
              report_of("shmem_free: shmctl: Invalid argument"));
    EXPECT_EQ(shmem_users(id), 1U);
    char nowhere = 0;
    EXPECT_EQ(errors_of([&] { EXPECT_EQ(shmem_free(&nowhere, id), 0); }), // the last: removed
              report_of("shmem_free: shmdt: Invalid argument"));
    EXPECT_EQ(shmem_find(some_key), -1);
    EXPECT_EQ(shmdt(block), 0);
    EXPECT_EQ(shmem_size(id), 0U);
}

// Two processes that free at the same time, or one of them killed: none is left.
TEST_F(SharedBlocks, AreRemovedByTheLastOfTwoProcesses) {
    for (int i = 0; i < 150; i++) {
        void *const block = shmem_malloc(100, &key, &id);
        ASSERT_NE(block, null);
        const pid_t other = fork();
        ASSERT_GE(other, 0); // else the wait for it never ends
        if (other == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL); // it waits for us
            volatile char *const shared = static_cast<char *>(block);
            shared[0] = 1;
            while (shared[0] == 1)
                sched_yield();
            if (i % 3 == 0)
                raise(SIGKILL);
            _exit(shmem_free(block, id) == 0 ? 0 : 1);
        }
        volatile char *const shared = static_cast<char *>(block);
        while (shared[0] == 0)
            sched_yield();
        EXPECT_EQ(shmem_users(id), 2U);
        shared[0] = 2;
        if (i % 3 != 1)
            waitpid(other, nullptr, 0); // else at the same time
        shmem_free(block, id);
        if (i % 3 == 1)
            waitpid(other, nullptr, 0);
        ASSERT_EQ(shmem_find(some_key), -1) << i;
    }
}
