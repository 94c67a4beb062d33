#include "ipc/shared_blocks.h"

#include "ipc/reports.h"

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

namespace ipc {

namespace {

constexpr int everybody = 0777;
constexpr int most_tries = 10000;

// Reports a failed call with our process number in front: two processes share the terminal.
void report_call(const char *text) {
    const int error = errno;
    std::string line = "(" + std::to_string(getpid()) + ") ";
    line += text;
    errno = error;
    report_error(line.c_str());
}

bool get_status(int id, shmid_ds *status) {
    return shmctl(id, IPC_STAT, status) == 0;
}

// Another order in every process, so that two that start together do not meet at one key.
int random_key() {
    thread_local std::minstd_rand random(static_cast<std::uint32_t>(
        static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()) ^
        static_cast<std::uint64_t>(getpid()) << 16U));
    return std::uniform_int_distribution<int>(min_fresh_key, max_fresh_key)(random);
}

int get_fresh_segment(std::size_t size, int *key) {
    int id = -1;
    for (int i = 0; i < most_tries && id < 0; i++) {
        const int candidate = random_key();
        id = shmget(candidate, size, IPC_CREAT | everybody);
        if (id >= 0)
            *key = candidate;
    }
    return id;
}

// A segment that was made for nothing is removed; somebody else's stays.
void drop_unused(int id) {
    const int error = errno;
    shmid_ds status{};
    if (get_status(id, &status) && status.shm_nattch == 0 && status.shm_cpid == getpid())
        shmctl(id, IPC_RMID, nullptr);
    errno = error;
}

void *attach(int segment, int *id) {
    if (segment < 0) {
        report_call("shmem_malloc: shmget");
        return nullptr;
    }
    void *const block = shmat(segment, nullptr, 0);
    // The system's own value for failure.
    if (reinterpret_cast<std::intptr_t>(block) == -1) {
        report_call("shmem_malloc: shmat");
        return nullptr;
    }
    *id = segment;
    return block;
}

// The key of new segments names none, and no segment is ever made under fresh_key.
int find_segment(std::size_t size, int key) {
    if (key != IPC_PRIVATE && key != fresh_key)
        return shmget(key, size, 0);
    errno = ENOENT;
    return -1;
}

} // namespace

void *shmem_malloc(std::size_t size, int *key, int *id) {
    *id = 0;
    int segment = -1;
    if (size == 0)
        errno = EINVAL; // would find a segment of any size
    else if (*key == fresh_key)
        segment = get_fresh_segment(size, key);
    else
        segment = shmget(*key, size, IPC_CREAT | everybody);
    void *const block = attach(segment, id);
    if (block == nullptr && segment >= 0)
        drop_unused(segment);
    return block;
}

void *shmem_create(std::size_t size, int key, int mode, int *id) {
    *id = 0;
    int segment = -1;
    if (size == 0 || key == fresh_key || key == IPC_PRIVATE)
        errno = EINVAL;
    else
        segment = shmget(key, size, IPC_CREAT | IPC_EXCL | mode);
    if (segment < 0 && errno == EEXIST)
        return nullptr;
    void *const block = attach(segment, id);
    if (block == nullptr && segment >= 0)
        drop_unused(segment);
    return block;
}

void *shmem_attach(std::size_t size, int key, int *id) {
    *id = 0;
    errno = EINVAL;
    return attach(size == 0 ? -1 : find_segment(size, key), id);
}

int shmem_find(int key) {
    return find_segment(0, key);
}

std::size_t shmem_size(int id) {
    shmid_ds status{};
    return get_status(id, &status) ? status.shm_segsz : 0;
}

std::size_t shmem_users(int id) {
    shmid_ds status{};
    return get_status(id, &status) ? status.shm_nattch : 0;
}

int shmem_remove(int id) {
    const int result = shmctl(id, IPC_RMID, nullptr);
    if (result < 0)
        report_call("shmem_remove: shmctl");
    return result;
}

int shmem_free(void *block, int id) {
    shmid_ds status{};
    if (!get_status(id, &status)) {
        report_call("shmem_free: shmctl");
        return -1;
    }
    const bool marked = (status.shm_perm.mode & SHM_DEST) != 0; // goes by itself
    bool last = status.shm_nattch == 1;
    int result = shmdt(block);
    if (result < 0)
        report_call("shmem_free: shmdt");
    else if (!last && get_status(id, &status))
        last = status.shm_nattch == 0; // the others went meanwhile
    if (last && !marked)
        result = shmctl(id, IPC_RMID, nullptr);
    return result;
}

} // namespace ipc
