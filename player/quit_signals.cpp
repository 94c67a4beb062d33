#include "player/quit_signals.h"

#include "platform/gl/queue.h"
#include "toolkit/demons/dispatch.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace player {

namespace {

constexpr std::array quit_signals{SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t arrived = 0;
int wake_fd = -1; // open for the whole run: the handler may come at any time

void take_signal(int /*number*/) {
    const int kept_errno = errno;
    arrived = 1;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(wake_fd, &one, sizeof one);
    errno = kept_errno;
}

// Within dialogs, whose loop is the toolkit's. A lost display wakes nobody any more.
void sleep_in_dialog() {
    if (gl::is_display_lost())
        return;
    std::array<pollfd, 2> sources{pollfd{gl::qgetfd(), POLLIN, 0}, pollfd{wake_fd, POLLIN, 0}};
    poll(sources.data(), sources.size(), -1);
    if (quit_signal_arrived())
        toolkit::bump();
}

} // namespace

int install_quit_signals() {
    if (wake_fd < 0)
        wake_fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wake_fd < 0)
        return -1;
    toolkit::set_input_sleep(sleep_in_dialog);
    struct sigaction action = {};
    action.sa_handler = take_signal;
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    for (const int number : quit_signals) {
        struct sigaction before = {};
        // Whoever started us with a signal ignored (nohup) wants it ignored.
        if (sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            sigaction(number, &action, nullptr);
    }
    return 0;
}

bool quit_signal_arrived() {
    return arrived != 0;
}

int quit_signal_fd() {
    return wake_fd;
}

} // namespace player
