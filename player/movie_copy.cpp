#include "player/movie_copy.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace player {

namespace {

constexpr std::size_t piece_bytes = std::size_t{4} << 20;
constexpr mode_t permission_bits = 0777;
constexpr mode_t new_file_mode = 0666;

// The file that is written beside the target; gone with the record unless it was kept.
class unfinished_file {
public:
    explicit unfinished_file(const std::string &target) {
        name_ = target.substr(0, target.rfind('/') + 1) + ".reel-XXXXXX";
        descriptor_ = ::mkostemp(name_.data(), O_CLOEXEC);
    }
    ~unfinished_file() {
        if (descriptor_ < 0)
            return;
        ::close(descriptor_);
        if (!kept_)
            ::unlink(name_.c_str());
    }
    unfinished_file(const unfinished_file &) = delete;
    unfinished_file &operator=(const unfinished_file &) = delete;

    [[nodiscard]] int descriptor() const { return descriptor_; }

    // Gives it the target's name, flushed. False: errno says why.
    bool keep_as(const std::string &target, mode_t mode) {
        static_cast<void>(::fchmod(descriptor_, mode)); // at worst it stays its owner's alone
        kept_ = ::fsync(descriptor_) == 0 && ::rename(name_.c_str(), target.c_str()) == 0;
        return kept_;
    }

private:
    std::string name_;
    int descriptor_ = -1;
    bool kept_ = false;
};

mode_t mode_of_new_file() {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return new_file_mode & ~mask;
}

struct target_facts {
    std::string path; // with links resolved
    mode_t mode = 0;
    const char *fault = nullptr; // why it can not be replaced; or null
    bool is_source = false;
};

target_facts examine(const std::string &target, const struct stat &source) {
    target_facts facts;
    facts.path = target;
    struct stat there {};
    if (::stat(target.c_str(), &there) != 0) {
        facts.fault = errno == ENOENT ? nullptr : std::strerror(errno);
        if (::lstat(target.c_str(), &there) == 0)
            facts.fault = "It is a link that leads nowhere";
        facts.mode = mode_of_new_file();
        return facts;
    }
    facts.is_source = there.st_dev == source.st_dev && there.st_ino == source.st_ino;
    facts.mode = there.st_mode & permission_bits;
    if (S_ISDIR(there.st_mode))
        facts.fault = "It is a folder";
    else if (!S_ISREG(there.st_mode))
        facts.fault = "It is not a plain file";
    else if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0)
        facts.fault = std::strerror(errno);
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(target.c_str(), nullptr),
                                                           &std::free);
    if (real)
        facts.path = real.get();
    return facts;
}

// Both return false with errno set; a file that has become shorter is an input/output error.
bool read_piece(int from, std::int64_t at, std::vector<char> *piece, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t got = ::pread(from, piece->data() + done, size - done,
                                    static_cast<off_t>(at) + static_cast<off_t>(done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got == 0)
            errno = EIO;
        if (got <= 0)
            return false;
        done += static_cast<std::size_t>(got);
    }
    return true;
}

bool write_piece(int to, const std::vector<char> &piece, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t put = ::write(to, piece.data() + done, size - done);
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return false;
        done += static_cast<std::size_t>(put);
    }
    return true;
}

copy_result copy_pieces(int from, int to, std::int64_t size, copy_progress go_on) {
    std::vector<char> piece(std::min<std::size_t>(piece_bytes, static_cast<std::size_t>(size)));
    for (std::int64_t at = 0; at < size;) {
        const auto part = static_cast<std::size_t>(
            std::min<std::int64_t>(size - at, static_cast<std::int64_t>(piece.size())));
        if (!read_piece(from, at, &piece, part) || !write_piece(to, piece, part))
            return copy_result::failed;
        at += static_cast<std::int64_t>(part);
        if (!go_on(at, size))
            return copy_result::stopped;
    }
    return copy_result::done;
}

copy_result fail(std::string *problem, const char *why) {
    *problem = why;
    return copy_result::failed;
}

} // namespace

copy_result copy_movie(int source, const std::string &target, copy_progress go_on,
                       std::string *problem) {
    struct stat status {};
    if (::fstat(source, &status) != 0)
        return fail(problem, std::strerror(errno));
    const target_facts facts = examine(target, status);
    if (facts.is_source)
        return copy_result::same;
    if (facts.fault != nullptr)
        return fail(problem, facts.fault);
    unfinished_file copy(facts.path);
    if (copy.descriptor() < 0)
        return fail(problem, std::strerror(errno));
    const copy_result result = copy_pieces(source, copy.descriptor(), status.st_size, go_on);
    if (result == copy_result::failed ||
        (result == copy_result::done && !copy.keep_as(facts.path, facts.mode)))
        return fail(problem, std::strerror(errno));
    return result;
}

} // namespace player
