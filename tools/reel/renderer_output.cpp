#include "tools/reel/renderer_output.h"

#include "ipc/broken_pipe.h"
#include "tools/reel/report.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace reel {

namespace {

constexpr std::size_t read_bytes_at_once = std::size_t{64} << 10; // what a pipe holds
constexpr int most_reads = 8;                                     // of one call
constexpr int shortest_wait_ms = 10;
constexpr int first_free_descriptor = 3; // after the standard streams

void close_descriptor(int &descriptor) {
    if (descriptor >= 0)
        ::close(descriptor);
    descriptor = -1;
}

std::size_t count_waiting(const renderer_output &output) {
    return output.waiting.size() - output.passed;
}

bool has_patience(const renderer_output &output, steady_time now) {
    return now - output.last_taken < output.patience;
}

// Whether reading waits for whoever reads our stream.
bool is_held_back(const renderer_output &output, steady_time now) {
    return output.to >= 0 && count_waiting(output) + read_bytes_at_once > most_bytes_held &&
           has_patience(output, now);
}

// --- passing on ----------------------------------------------------------------------------------

// A stream of ours that never blocks: made so for all who share it, it would surprise them, so a
// pipe or terminal is opened anew. Where that is refused a write may wait for a moment.
int open_own_stream(int stream) {
    struct stat status {};
    if (::fstat(stream, &status) != 0)
        return -1;
    if (S_ISFIFO(status.st_mode) || ::isatty(stream) == 1) {
        const std::string path = "/proc/self/fd/" + std::to_string(stream);
        const int again = ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
        if (again >= 0)
            return again;
    }
    return ::fcntl(stream, F_DUPFD_CLOEXEC, first_free_descriptor);
}

bool is_writable(int descriptor) {
    struct pollfd wanted {
        descriptor, POLLOUT, 0
    };
    return ::poll(&wanted, 1, 0) == 1;
}

// Nobody reads our stream any more. Only a full disk and the like are worth a word.
void lose_reader(renderer_output &output, int error) {
    if (error != EPIPE && error != EBADF && error != EIO)
        report_note("what the renderer writes cannot be passed on: %s", std::strerror(error));
    if (output.is_to_polled)
        (void)::epoll_ctl(output.fd, EPOLL_CTL_DEL, output.to, nullptr);
    output.is_to_polled = false;
    close_descriptor(output.to);
    output.waiting.clear();
    output.passed = 0;
    output.left_out = 0;
}

// Passes on what is taken at once. No more at a time than what a pipe that says it is writable
// takes without waiting.
void pass_on(renderer_output &output, steady_time now) {
    while (output.to >= 0 && count_waiting(output) > 0 && is_writable(output.to)) {
        const std::size_t count = std::min<std::size_t>(count_waiting(output), PIPE_BUF);
        const ssize_t taken = ::write(output.to, output.waiting.data() + output.passed, count);
        if (taken < 0 && errno == EAGAIN)
            break;
        if (taken < 0 && errno != EINTR)
            lose_reader(output, errno);
        if (taken > 0) {
            output.passed += static_cast<std::size_t>(taken);
            output.last_taken = now;
            if (output.is_beside_reports)
                note_open_line(output.waiting[output.passed - 1] != '\n');
        }
    }
    if (output.passed * 2 >= output.waiting.size()) {
        output.waiting.erase(0, output.passed);
        output.passed = 0;
    }
}

// Says what is missing, at its place.
void say_left_out(renderer_output &output) {
    if (output.left_out == 0)
        return;
    output.waiting += "\nreel: note: ";
    output.waiting += std::to_string(output.left_out);
    output.waiting += " bytes of the renderer's output are missing here, nobody was reading\n";
    output.left_out = 0;
}

void hold_for_reader(renderer_output &output, std::string_view text, steady_time now) {
    if (output.to < 0)
        return;
    if (count_waiting(output) == 0)
        output.last_taken = now;
    // Once a hole has begun it goes on until there is room again: one hole, not many.
    if (output.left_out > 0 && count_waiting(output) > most_bytes_held / 2) {
        output.left_out += text.size();
        return;
    }
    say_left_out(output);
    const std::size_t waiting = count_waiting(output);
    const std::size_t room = most_bytes_held - std::min(waiting, most_bytes_held);
    output.waiting.append(text.substr(0, room));
    output.left_out += text.size() - std::min(text.size(), room);
}

// --- its lines -----------------------------------------------------------------------------------

bool ends_line(char c) {
    return c == '\n' || c == '\r';
}

// Where the last lines begin that can be kept: what is before need not be looked at.
std::size_t find_last_lines(std::string_view text) {
    std::size_t begun = 0;
    for (std::size_t at = text.size(); at > 1; --at)
        if (ends_line(text[at - 2]) && !ends_line(text[at - 1]) && ++begun > kept_lines)
            return at - 1;
    return 0;
}

void end_line(std::string &line, std::deque<std::string> &lines) {
    if (line.empty())
        return;
    lines.push_back(line);
    line.clear();
    if (lines.size() > kept_lines)
        lines.pop_front();
}

void note_lines(std::string_view text, std::string &open_line, std::deque<std::string> &lines) {
    const std::size_t begin = find_last_lines(text);
    if (begin > 0)
        open_line.clear();
    text.remove_prefix(begin);
    while (!text.empty()) {
        const std::size_t length = std::min(text.find_first_of("\r\n"), text.size());
        open_line.append(text.substr(0, std::min(length, kept_line_bytes - open_line.size())));
        if (length == text.size())
            return;
        end_line(open_line, lines);
        text.remove_prefix(length + 1);
    }
}

// --- reading -------------------------------------------------------------------------------------

void poll_or_not(int poller, int descriptor, std::uint32_t events, bool wanted, bool &is_polled) {
    if (wanted == is_polled)
        return;
    struct epoll_event event {};
    event.events = events;
    const int change = wanted ? EPOLL_CTL_ADD : EPOLL_CTL_DEL;
    // Refused for files, which never keep anybody waiting.
    is_polled = ::epoll_ctl(poller, change, descriptor, &event) == 0 && wanted;
}

void update_polling(renderer_output &output, steady_time now) {
    if (output.from >= 0)
        poll_or_not(output.fd, output.from, EPOLLIN, !is_held_back(output, now),
                    output.is_from_polled);
    if (output.to >= 0)
        poll_or_not(output.fd, output.to, EPOLLOUT, count_waiting(output) > 0, output.is_to_polled);
}

// Returns whether there may be more.
bool read_some(renderer_output &output, steady_time now, std::deque<std::string> &lines) {
    std::array<char, read_bytes_at_once> buffer; // not cleared: it is large
    const ssize_t count = ::read(output.from, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR)
        return true;
    if (count < 0 && errno == EAGAIN) {
        output.owed = 0;
        return false;
    }
    if (count <= 0) {
        stop_reading(output, lines);
        return false;
    }
    const std::string_view text(buffer.data(), static_cast<std::size_t>(count));
    output.owed -= std::min(output.owed, text.size());
    note_lines(text, output.open_line, lines);
    hold_for_reader(output, text, now);
    return true;
}

} // namespace

int open_output(int stream, renderer_output &output) {
    std::array<int, 2> ends{-1, -1};
    output.fd = ::epoll_create1(EPOLL_CLOEXEC);
    if (output.fd < 0)
        return -1;
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        close_descriptor(output.fd);
        return -1;
    }
    output.from = ends[0];
    (void)::fcntl(output.from, F_SETFL, O_NONBLOCK);
    output.to = open_own_stream(stream);
    output.is_beside_reports =
        stream == STDERR_FILENO || (::isatty(stream) == 1 && ::isatty(STDERR_FILENO) == 1);
    update_polling(output, std::chrono::steady_clock::now());
    return ends[1];
}

void move_output(renderer_output &output, steady_time now, std::deque<std::string> &lines) {
    if (output.fd < 0)
        return;
    ipc::no_pipe_kills();
    pass_on(output, now);
    for (int i = 0; i < most_reads && output.from >= 0 && !is_held_back(output, now); ++i) {
        if (!read_some(output, now, lines))
            break;
        pass_on(output, now);
    }
    // A reader that came back too late for more to be read still learns that there is a hole.
    if (output.from < 0 && output.to >= 0 && count_waiting(output) <= most_bytes_held / 2)
        say_left_out(output);
    pass_on(output, now);
    (void)ipc::clogged_pipe();
    update_polling(output, now);
}

int output_wait_ms(const renderer_output &output, steady_time now) {
    if (output.fd < 0 || output.to < 0 || count_waiting(output) == 0 || !has_patience(output, now))
        return -1;
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(output.last_taken + output.patience - now);
    return std::max(static_cast<int>(left.count()), shortest_wait_ms);
}

void note_last_output(renderer_output &output) {
    int count = 0;
    if (output.from >= 0 && ::ioctl(output.from, FIONREAD, &count) == 0 && count > 0)
        output.owed = static_cast<std::size_t>(count);
}

bool is_output_owed(const renderer_output &output) {
    return output.from >= 0 && output.owed > 0;
}

void stop_reading(renderer_output &output, std::deque<std::string> &lines) {
    if (output.is_from_polled)
        (void)::epoll_ctl(output.fd, EPOLL_CTL_DEL, output.from, nullptr);
    output.is_from_polled = false;
    close_descriptor(output.from);
    end_line(output.open_line, lines);
}

bool is_output_over(const renderer_output &output, steady_time now) {
    if (output.from >= 0)
        return false;
    return output.to < 0 || count_waiting(output) == 0 || !has_patience(output, now);
}

void flush_output(renderer_output &output, std::deque<std::string> &lines) {
    note_last_output(output);
    while (output.fd >= 0) {
        const steady_time now = std::chrono::steady_clock::now();
        move_output(output, now, lines);
        if (!is_output_owed(output))
            stop_reading(output, lines);
        if (is_output_over(output, now))
            return;
        struct pollfd wanted {
            output.fd, POLLIN, 0
        };
        (void)::poll(&wanted, 1, output_wait_ms(output, now));
    }
}

void close_output(renderer_output &output) {
    close_descriptor(output.from);
    close_descriptor(output.to);
    close_descriptor(output.fd);
    output = {};
}

} // namespace reel
