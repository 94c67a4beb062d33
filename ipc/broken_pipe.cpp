#include "ipc/broken_pipe.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <unistd.h>

namespace ipc {

namespace {

thread_local volatile std::sig_atomic_t pipe_clogged = 0;

// What no_pipe_kills found in this thread.
struct guard {
    bool holding = false;
    bool was_held = false;    // the program itself holds the signal
    bool was_pending = false; // and one was waiting, which is the program's
};
thread_local guard pipe_guard;

sigset_t only_pipe() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
}

// Takes the signal that a write raised. A write raises it for its own thread, and such signals are
// taken before those sent to the whole process. It is told from one that another process sent by
// the sender; the latter goes on its way.
void take_broken_pipe() {
    const sigset_t set = only_pipe();
    const timespec at_once{};
    siginfo_t signal{};
    int taken = -1;
    do {
        taken = sigtimedwait(&set, &signal, &at_once);
    } while (taken < 0 && errno == EINTR);
    if (taken != SIGPIPE)
        return;
    if (signal.si_pid == getpid())
        clogged(SIGPIPE);
    else
        kill(getpid(), SIGPIPE);
}

} // namespace

void clogged(int /*signal*/) {
    pipe_clogged = 1;
}

void no_pipe_kills() {
    if (pipe_guard.holding)
        return;
    const int error = errno;
    const sigset_t set = only_pipe();
    sigset_t before;
    sigset_t pending;
    sigemptyset(&before);
    sigemptyset(&pending);
    pthread_sigmask(SIG_BLOCK, &set, &before);
    pipe_guard = {true, sigismember(&before, SIGPIPE) == 1, false};
    if (pipe_guard.was_held && sigpending(&pending) == 0)
        pipe_guard.was_pending = sigismember(&pending, SIGPIPE) == 1;
    errno = error;
}

// The handling of the signal belongs to the whole program, of which other threads may be in the
// middle of something: the signal is taken while it is held, no handler is changed. One that waited
// before can not be told from ours and stays; sendsockdata knows from the error of its write, too.
int clogged_pipe() {
    if (!pipe_guard.holding)
        return 0;
    const int error = errno;
    pipe_clogged = 0;
    if (!pipe_guard.was_pending)
        take_broken_pipe();
    if (!pipe_guard.was_held) {
        const sigset_t set = only_pipe();
        pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    }
    pipe_guard = {};
    errno = error;
    return pipe_clogged;
}

} // namespace ipc
