// Two connected sockets, signals that interrupt, and what came out on standard error.
#pragma once

#include "ipc/link_sockets.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace ipc_test {

// Runs a call and returns what it wrote to standard error.
template <typename call> std::string errors_of(call run) {
    testing::internal::CaptureStderr();
    run();
    return testing::internal::GetCapturedStderr();
}

inline std::chrono::milliseconds since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 start);
}

// Both ends of a link, made as programs make it.
struct link_pair {
    int near = -1;
    int far = -1;

    link_pair() {
        std::uint16_t port = 0;
        const int listener = ipc::createsocket(&port);
        far = ipc::getservsock(port);
        near = ipc::accept_link(listener, 1000);
        close(listener);
        EXPECT_TRUE(near > 2 && far > 2);
    }
    ~link_pair() {
        close_end(near);
        close_end(far);
    }
    link_pair(const link_pair &) = delete;
    link_pair &operator=(const link_pair &) = delete;

    static void close_end(int &end) {
        if (end >= 0)
            close(end);
        end = -1;
    }
    // When this returns, the near end knows of it.
    void reset_far() {
        const linger at_once{1, 0};
        setsockopt(far, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
        close_end(far);
        pollfd end{near, 0, 0};
        while (poll(&end, 1, 5000) < 0 && errno == EINTR) {
        }
        EXPECT_NE(end.revents & POLLHUP, 0);
    }
    void send_far(std::string_view bytes) const {
        EXPECT_EQ(send(far, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }
};

// A signal every 3 ms, which interrupts system calls.
struct interrupting_signals {
    interrupting_signals() {
        struct sigaction act {};
        act.sa_handler = [](int) {}; // without SA_RESTART
        sigaction(SIGALRM, &act, nullptr);
        set(3000);
    }
    ~interrupting_signals() {
        set(0);
        std::signal(SIGALRM, SIG_DFL);
    }
    interrupting_signals(const interrupting_signals &) = delete;
    interrupting_signals &operator=(const interrupting_signals &) = delete;

    static void set(suseconds_t microseconds) {
        const itimerval every{{0, microseconds}, {0, microseconds}};
        setitimer(ITIMER_REAL, &every, nullptr);
    }
};

inline std::ptrdiff_t count_descriptors() {
    const std::filesystem::directory_iterator open("/proc/self/fd");
    return std::distance(begin(open), end(open));
}

} // namespace ipc_test
