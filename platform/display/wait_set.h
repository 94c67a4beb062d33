// One descriptor to wait on for everything that can happen to a display: its connection, a timer,
// and a flag for what already waits inside this process.
//
//   wait_set set;
//   if (!set.open(connection_fd)) ...                // or no_connection
//   set.arm(due_us);                                 // readable once the clock reaches it
//   set.mark(!queue.empty());                        // readable while marked
//   set.wait(timeout_us);
//
// Not for anything outside platform/display.
#pragma once

#include <cstdint>

namespace display {

inline constexpr int no_connection = -1;
inline constexpr std::int64_t no_time = -1;

// Owns a descriptor.
class owned_fd {
public:
    owned_fd() = default;
    explicit owned_fd(int fd) : fd_(fd) {}
    owned_fd(owned_fd &&other) noexcept : fd_(other.release()) {}
    owned_fd &operator=(owned_fd &&other) noexcept {
        reset(other.release());
        return *this;
    }
    owned_fd(const owned_fd &) = delete;
    owned_fd &operator=(const owned_fd &) = delete;
    ~owned_fd() { reset(-1); }

    [[nodiscard]] int get() const { return fd_; }
    [[nodiscard]] int release() {
        const int fd = fd_;
        fd_ = -1;
        return fd;
    }
    void reset(int fd);

private:
    int fd_ = -1;
};

class wait_set {
public:
    // Makes the descriptors; connection stays the caller's. Returns false after one line on
    // standard error.
    [[nodiscard]] bool open(int connection);
    void close();

    // Stops watching the connection, which has hung up and would stay readable for ever.
    void forget_connection();

    // Readable once program_clock::now_us() has reached due_us (a manual clock arms nothing);
    // no_time: not by the clock. Replaces the time armed before.
    void arm(std::int64_t due_us);

    // Readable while marked.
    void mark(bool something_waits);

    // Blocks until readable or timeout_us has passed (negative: no limit).
    void wait(std::int64_t timeout_us) const;

    [[nodiscard]] int fd() const { return epoll_.get(); }

private:
    owned_fd epoll_;
    owned_fd timer_;
    owned_fd flag_;
    int connection_ = no_connection;
    std::int64_t armed_ = no_time;
    bool marked_ = false;
};

// poll() on one descriptor for reading or writing, retried when interrupted. Returns false when
// timeout_us (negative: none) has passed first.
[[nodiscard]] bool wait_for_fd(int fd, short what, std::int64_t timeout_us);

} // namespace display
