#include "link/own_segments.h"

#include "ipc/shared_blocks.h"

#include <cerrno>
#include <csignal>
#include <sys/random.h>
#include <sys/shm.h>
#include <unistd.h>

namespace render_link {

namespace {

// The other process asks for all rights when it attaches, so that all it must be, for our user only.
constexpr int owner_only = 0700;
constexpr int key_tries = 10000;

int choose_key(int tries) {
    std::uint32_t number = 0;
    if (::getrandom(&number, sizeof number, 0) < 0)
        number = static_cast<std::uint32_t>(::getpid() + tries); // only less hard to guess
    constexpr std::uint32_t number_mask = (1U << key_number_bits) - 1;
    return key_mark << key_number_bits | static_cast<int>(number & number_mask);
}

bool is_left_behind(const shmid_ds &status) {
    return status.shm_perm.__key >> key_number_bits == key_mark &&
           status.shm_perm.uid == ::geteuid() && status.shm_nattch == 0 &&
           ::kill(status.shm_cpid, 0) != 0 && errno == ESRCH;
}

} // namespace

own_segment::~own_segment() {
    release_segment(*this);
}

int create_segment(std::size_t bytes, own_segment &segment) {
    release_segment(segment);
    for (int tries = 0; tries < key_tries; ++tries) {
        const int key = choose_key(tries);
        int id = 0;
        void *address = ipc::shmem_create(bytes, key, owner_only, &id);
        if (address == nullptr && errno == EEXIST)
            continue;
        if (address == nullptr)
            return -1;
        segment.address = address;
        segment.bytes = bytes;
        segment.key = key;
        segment.id = id;
        return 0;
    }
    return -1;
}

void release_segment(own_segment &segment) {
    if (segment.address == nullptr)
        return;
    if (!segment.marked)
        ipc::shmem_remove(segment.id);
    ::shmdt(segment.address);
    segment.address = nullptr;
    segment.bytes = 0;
    segment.marked = false;
}

void mark_shared(own_segment &segment) {
    if (segment.address == nullptr || segment.marked || ipc::shmem_users(segment.id) < 2)
        return;
    segment.marked = ipc::shmem_remove(segment.id) == 0;
}

int sweep_segments() {
    shm_info counts{};
    const int highest = ::shmctl(0, SHM_INFO, reinterpret_cast<shmid_ds *>(&counts));
    int removed = 0;
    for (int index = 0; index <= highest; ++index) {
        shmid_ds status{};
        const int id = ::shmctl(index, SHM_STAT, &status);
        if (id >= 0 && is_left_behind(status) && ipc::shmem_remove(id) == 0)
            ++removed;
    }
    return removed;
}

} // namespace render_link
