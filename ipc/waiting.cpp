#include "ipc/waiting.h"

#include "ipc/socket_records.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <limits>

namespace ipc {

namespace {

timespec time_left(moment until) {
    using namespace std::chrono;
    const nanoseconds left =
        std::max(nanoseconds(until - steady_clock::now()), nanoseconds::zero());
    timespec result{};
    result.tv_sec = static_cast<time_t>(duration_cast<seconds>(left).count());
    result.tv_nsec = static_cast<long>((left % seconds(1)).count());
    return result;
}

} // namespace

moment moment_after(int milliseconds) {
    if (milliseconds < 0)
        return never;
    return std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
}

bool is_over(moment until) {
    return std::chrono::steady_clock::now() >= until;
}

int milliseconds_left(moment until) {
    using namespace std::chrono;
    if (until == never)
        return no_time_limit;
    const auto left = ceil<milliseconds>(until - steady_clock::now()).count();
    return static_cast<int>(
        std::clamp<milliseconds::rep>(left, 0, std::numeric_limits<int>::max()));
}

int poll_until(std::span<pollfd> watched, moment until) {
    int ready = -1;
    do {
        const timespec left = until == never ? timespec{} : time_left(until);
        ready = ppoll(watched.data(), watched.size(), until == never ? nullptr : &left, nullptr);
    } while (ready < 0 && errno == EINTR);
    if (ready == 0)
        errno = ETIMEDOUT;
    if (ready > 0 && std::any_of(watched.begin(), watched.end(),
                                 [](const pollfd &one) { return (one.revents & POLLNVAL) != 0; })) {
        errno = EBADF;
        return -1;
    }
    return ready;
}

int wait_ready(int descriptor, short events, moment until) {
    pollfd one{descriptor, events, 0};
    return poll_until({&one, 1}, until);
}

} // namespace ipc
