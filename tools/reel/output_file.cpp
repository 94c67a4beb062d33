#include "tools/reel/output_file.h"

#include "tools/reel/report.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace reel {

namespace {

// SIGPIPE: whoever read our messages may go away in the middle of the work.
constexpr int ending_signals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE};
constexpr mode_t permission_bits = 07777;
constexpr mode_t new_file_mode = 0666;

// What the handlers remove. Changed only while the ending signals are held back.
char pending_name[PATH_MAX];

extern "C" void remove_pending() {
    if (pending_name[0] != 0)
        ::unlink(pending_name);
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

std::string folder_of(const std::string &path) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

mode_t mode_of_new_files() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
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

void forget_temporary(output_file &out) {
    pending_name[0] = 0;
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
    const signal_pause pause;
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
    std::atexit(remove_pending); // a library may end the program
}

int start_output(const std::string &target, output_file &out) {
    mode_t mode = 0;
    if (examine_target(target, out, &mode) != 0)
        return -1;
    const std::string extension = std::filesystem::path(out.target).extension().string();
    std::string name = folder_of(out.target) + "/.reel-XXXXXX" + extension;
    if (name.size() >= sizeof pending_name) {
        report("%s: cannot be written: %s", target.c_str(), std::strerror(ENAMETOOLONG));
        return -1;
    }
    const signal_pause pause;
    const int descriptor = ::mkostemps(name.data(), static_cast<int>(extension.size()), O_CLOEXEC);
    if (descriptor < 0) {
        report("%s: cannot be written: %s", target.c_str(), std::strerror(errno));
        return -1;
    }
    (void)::fchmod(descriptor, mode); // at worst the file stays private to its owner
    ::close(descriptor);
    out.temporary = name;
    std::memcpy(pending_name, name.c_str(), name.size() + 1);
    return 0;
}

int finish_output(output_file &out, bool flush) {
    if ((flush || out.replaces) && flush_to_disk(out.temporary, O_RDONLY) != 0) {
        report("%s: cannot be written: %s", out.target.c_str(), std::strerror(errno));
        return -1;
    }
    const signal_pause pause;
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
