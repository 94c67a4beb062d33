#include "platform/display/wait_set.h"

#include "platform/clock/program_clock.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace display {
namespace {

constexpr std::int64_t ns_per_us = 1000;

timespec make_timespec(std::int64_t us) {
    return {us / program_clock::us_per_second, (us % program_clock::us_per_second) * ns_per_us};
}

// A real clock also for a program whose own clock is manual: sockets and servers keep real time.
std::int64_t monotonic_us() {
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return std::int64_t{t.tv_sec} * program_clock::us_per_second + t.tv_nsec / ns_per_us;
}

bool watch(int set, int fd) {
    epoll_event e{};
    e.events = EPOLLIN;
    e.data.fd = fd;
    return fd >= 0 && epoll_ctl(set, EPOLL_CTL_ADD, fd, &e) == 0;
}

} // namespace

void owned_fd::reset(int fd) {
    if (fd_ >= 0) {
        ::close(fd_);
    }
    fd_ = fd;
}

bool wait_set::open(int connection) {
    close();
    epoll_.reset(epoll_create1(EPOLL_CLOEXEC));
    timer_.reset(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
    flag_.reset(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    connection_ = connection;
    if (watch(epoll_.get(), timer_.get()) && watch(epoll_.get(), flag_.get()) &&
        (connection == no_connection || watch(epoll_.get(), connection))) {
        return true;
    }
    std::fprintf(stderr, "display: can't make the descriptors to wait on: %s\n",
                 std::strerror(errno));
    close();
    return false;
}

void wait_set::close() {
    *this = wait_set{};
}

void wait_set::forget_connection() {
    if (connection_ != no_connection) {
        epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, connection_, nullptr);
        connection_ = no_connection;
    }
}

void wait_set::arm(std::int64_t due_us) {
    if (program_clock::is_manual()) {
        due_us = no_time;
    }
    if (due_us == armed_) {
        return;
    }
    armed_ = due_us;
    itimerspec when{};
    if (due_us != no_time) {
        when.it_value = make_timespec(std::max<std::int64_t>(due_us, 1)); // all zero would disarm
    }
    timerfd_settime(timer_.get(), TFD_TIMER_ABSTIME, &when, nullptr);
}

void wait_set::mark(bool something_waits) {
    if (something_waits == marked_ || flag_.get() < 0) {
        return;
    }
    std::uint64_t count = 1;
    const ssize_t done = something_waits ? write(flag_.get(), &count, sizeof count)
                                         : read(flag_.get(), &count, sizeof count);
    marked_ = done < 0 ? marked_ : something_waits;
}

void wait_set::wait(std::int64_t timeout_us) const {
    (void)wait_for_fd(epoll_.get(), POLLIN, timeout_us);
}

bool wait_for_fd(int fd, short what, std::int64_t timeout_us) {
    const std::int64_t end = timeout_us < 0 ? no_time : monotonic_us() + timeout_us;
    for (;;) {
        pollfd p{fd, what, 0};
        timespec left{};
        if (end != no_time) {
            left = make_timespec(std::max<std::int64_t>(end - monotonic_us(), 0));
        }
        const int ready = ppoll(&p, 1, end == no_time ? nullptr : &left, nullptr);
        if (ready >= 0 || errno != EINTR) {
            return ready > 0;
        }
    }
}

} // namespace display
