// A time by which something must have happened.
//
//   const time_limit limit(500);                            // milliseconds; below 0: none
//   while (!done() && !limit.is_over())
//       ::poll(&socket, 1, limit.left());
#pragma once

#include <algorithm>
#include <chrono>

namespace render_link {

class time_limit {
public:
    explicit time_limit(int milliseconds)
        : end_(std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds)),
          is_none_(milliseconds < 0) {}

    [[nodiscard]] bool is_over() const {
        return !is_none_ && std::chrono::steady_clock::now() >= end_;
    }

    // Milliseconds to go, rounded up; -1 without a limit: what poll takes, and ipc's calls.
    [[nodiscard]] int left() const {
        return is_none_ ? -1 : static_cast<int>((left_time().count() + 999) / 1000);
    }

    // The shorter one of a time and what is left.
    [[nodiscard]] std::chrono::microseconds at_most(std::chrono::microseconds time) const {
        return is_none_ ? time : std::min(time, left_time());
    }

private:
    [[nodiscard]] std::chrono::microseconds left_time() const {
        const auto left = end_ - std::chrono::steady_clock::now();
        return std::max(std::chrono::duration_cast<std::chrono::microseconds>(left),
                        std::chrono::microseconds(0));
    }

    std::chrono::steady_clock::time_point end_;
    bool is_none_;
};

} // namespace render_link
