// Shared memory segments, counted: in an IPC namespace of the test program's own, where there are
// no others.
#pragma once

#include <cstdio>
#include <sched.h>
#include <sys/shm.h>

namespace test_support {

// Whether they can be counted. Asked once, before there are threads.
inline bool has_own_namespace() {
    static const bool has = [] {
        if (::unshare(CLONE_NEWIPC) == 0 || ::unshare(CLONE_NEWUSER | CLONE_NEWIPC) == 0)
            return true;
        std::perror("segments are not counted: unshare");
        return false;
    }();
    return has;
}

inline int count_segments() {
    shm_info counts{};
    ::shmctl(0, SHM_INFO, reinterpret_cast<shmid_ds *>(&counts));
    return has_own_namespace() ? counts.used_ids : 0;
}

} // namespace test_support
