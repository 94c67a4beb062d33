#include "tools/reel/output_file.h"

#include "tools/reel/report.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sched.h>
#include <sys/stat.h>
#include <unistd.h>

namespace reel {

namespace {

// SIGPIPE: whoever read our messages may go away in the middle of the work.
constexpr int ending_signals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE};
constexpr mode_t permission_bits = 07777;
constexpr mode_t new_file_mode = 0666;

// What the handlers remove; an empty name is a free place. Changed only by a holder of
// pending_lock.
char pending_names[max_open_outputs][PATH_MAX];

// Waited for by spinning, for a handler has to take it: who holds it keeps the ending signals from
// its own thread, so a handler never waits for the very thread that it interrupted.
std::atomic_flag pending_lock = ATOMIC_FLAG_INIT;
std::atomic<bool> all_removed = false;
static_assert(std::atomic<bool>::is_always_lock_free);

void lock_pending() {
    while (pending_lock.test_and_set(std::memory_order_acquire))
        ::sched_yield();
}

// With the ending signals held back. The lock is kept: what another thread is about to create
// would be left behind.
extern "C" void remove_pending() {
    while (pending_lock.test_and_set(std::memory_order_acquire)) {
        if (all_removed)
            return;
        ::sched_yield();
    }
    for (const auto &name : pending_names)
        if (name[0] != 0)
            ::unlink(name);
    all_removed = true;
}

extern "C" void remove_and_end(int signal_number) {
    remove_pending();
    std::signal(signal_number, SIG_DFL);
    std::raise(signal_number);
}

sigset_t ending_set() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : ending_signals)
        sigaddset(&set, number);
    return set;
}

// Holds the ending signals back for the life of the record.
struct signal_pause {
    sigset_t before{};
    signal_pause() {
        const sigset_t set = ending_set();
        ::pthread_sigmask(SIG_BLOCK, &set, &before);
    }
    signal_pause(const signal_pause &) = delete;
    signal_pause &operator=(const signal_pause &) = delete;
    ~signal_pause() { ::pthread_sigmask(SIG_SETMASK, &before, nullptr); }
};

extern "C" void remove_at_exit() {
    const signal_pause pause;
    remove_pending();
}

// Holds the names for the life of the record.
struct pending_holder {
    signal_pause pause;
    pending_holder() { lock_pending(); }
    pending_holder(const pending_holder &) = delete;
    pending_holder &operator=(const pending_holder &) = delete;
    ~pending_holder() { pending_lock.clear(std::memory_order_release); }
};

// The place of a name, an empty one's for a free place; null when there is none.
char *find_pending(const std::string &name) {
    for (auto &each : pending_names)
        if (name == each)
            return each;
    return nullptr;
}

std::string folder_of(const std::string &path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

// Asked for once: to ask changes it for a moment, for all threads.
mode_t mode_of_new_files() {
    static const mode_t mask = [] {
        const mode_t found = ::umask(0);
        ::umask(found);
        return found;
    }();
    return new_file_mode & ~mask;
}

int flush_to_disk(const std::string &path, int flags) {
    const int descriptor = ::open(path.c_str(), flags | O_CLOEXEC);
    if (descriptor < 0)
        return -1;
    const int result = ::fsync(descriptor);
    const int reason = errno;
    ::close(descriptor);
    errno = reason;
    return result;
}

// By a holder.
void forget_temporary(output_file &out) {
    if (char *name = find_pending(out.temporary); name != nullptr)
        name[0] = 0;
    out.temporary.clear();
}

// Looks at what stands under the target's name. Returns 0 with target, replaces and mode filled,
// or -1 after a report.
int examine_target(const std::string &target, output_file &out, mode_t *mode) {
    struct stat status {};
    out.target = target;
    out.replaces = ::stat(target.c_str(), &status) == 0;
    *mode = mode_of_new_files();
    if (!out.replaces) {
        if (::lstat(target.c_str(), &status) != 0)
            return 0;
        report("%s: cannot be written: it is a link to something that is not there",
               target.c_str());
        return -1;
    }
    const char *fault = S_ISDIR(status.st_mode)               ? "it is a folder"
                        : !S_ISREG(status.st_mode)            ? "it is not a regular file"
                        : ::access(target.c_str(), W_OK) != 0 ? std::strerror(errno)
                                                              : nullptr;
    if (fault != nullptr) {
        report("%s: cannot be written: %s", target.c_str(), fault);
        return -1;
    }
    std::error_code error;
    const auto resolved = std::filesystem::canonical(target, error);
    if (!error)
        out.target = resolved.string();
    *mode = status.st_mode & permission_bits;
    return 0;
}

} // namespace

output_file::~output_file() {
    if (temporary.empty())
        return;
    const pending_holder holder;
    ::unlink(temporary.c_str());
    forget_temporary(*this);
}

void catch_signals() {
    struct sigaction action {};
    action.sa_handler = remove_and_end;
    action.sa_mask = ending_set();
    for (const int number : ending_signals) {
        struct sigaction before {};
        if (::sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            ::sigaction(number, &action, nullptr);
    }
    std::signal(SIGXFSZ, SIG_IGN);
    std::atexit(remove_at_exit); // a library may end the program
}

int start_output(const std::string &target, output_file &out) {
    mode_t mode = 0;
    if (examine_target(target, out, &mode) != 0)
        return -1;
    const std::string extension = std::filesystem::path(out.target).extension().string();
    std::string name = folder_of(out.target) + "/.reel-XXXXXX" + extension;
    if (name.size() >= PATH_MAX) {
        report("%s: cannot be written: %s", target.c_str(), std::strerror(ENAMETOOLONG));
        return -1;
    }
    const pending_holder holder;
    char *place = find_pending("");
    if (place == nullptr) {
        report("%s: cannot be written: too many files are being written", target.c_str());
        return -1;
    }
    const int descriptor = ::mkostemps(name.data(), static_cast<int>(extension.size()), O_CLOEXEC);
    if (descriptor < 0) {
        report("%s: cannot be written: %s", target.c_str(), std::strerror(errno));
        return -1;
    }
    (void)::fchmod(descriptor, mode); // at worst the file stays private to its owner
    ::close(descriptor);
    out.temporary = name;
    std::memcpy(place, name.c_str(), name.size() + 1);
    return 0;
}

int finish_output(output_file &out, bool flush) {
    if ((flush || out.replaces) && flush_to_disk(out.temporary, O_RDONLY) != 0) {
        report("%s: cannot be written: %s", out.target.c_str(), std::strerror(errno));
        return -1;
    }
    const pending_holder holder;
    if (::rename(out.temporary.c_str(), out.target.c_str()) != 0) {
        report("%s: cannot be written: %s", out.target.c_str(), std::strerror(errno));
        return -1;
    }
    forget_temporary(out);
    if (flush)
        (void)flush_to_disk(folder_of(out.target), O_RDONLY | O_DIRECTORY); // not all systems can
    return 0;
}

} // namespace reel
