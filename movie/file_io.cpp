#include "movie/file_io.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace movie {

static_assert(sizeof(off_t) >= sizeof(std::int64_t), "a chunk may end beyond 2 GiB");

namespace {

int open_nameless_in(const std::string &folder) {
    constexpr mode_t for_us_alone = 0600;
    const int nameless =
        ::open(folder.c_str(), O_TMPFILE | O_EXCL | O_RDWR | O_CLOEXEC, for_us_alone);
    if (nameless >= 0 || (errno != EOPNOTSUPP && errno != EISDIR))
        return nameless;
    std::string name = folder + "/player.XXXXXX"; // a file system that knows no nameless files
    const int file = ::mkostemp(name.data(), O_CLOEXEC);
    if (file >= 0)
        ::unlink(name.c_str());
    return file;
}

} // namespace

bool read_at(int descriptor, std::int64_t place, std::span<std::uint8_t> to) {
    while (!to.empty()) {
        const ssize_t n = pread(descriptor, to.data(), to.size(), place);
        if (n > 0) {
            place += n;
            to = to.subspan(static_cast<std::size_t>(n));
        } else if (n == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

std::size_t read_up_to(int descriptor, std::int64_t place, std::span<std::uint8_t> head,
                       std::span<std::uint8_t> data) {
    const std::array<iovec, 2> parts{{{head.data(), head.size()}, {data.data(), data.size()}}};
    ssize_t n = -1;
    do {
        n = preadv(descriptor, parts.data(), parts.size(), place);
    } while (n < 0 && errno == EINTR);
    return n > 0 ? static_cast<std::size_t>(n) : 0;
}

bool write_at(int descriptor, std::int64_t place, std::span<const std::uint8_t> from) {
    while (!from.empty()) {
        const ssize_t n = pwrite(descriptor, from.data(), from.size(), place);
        if (n > 0) {
            place += n;
            from = from.subspan(static_cast<std::size_t>(n));
        } else if (n == 0) {
            errno = ENOSPC;
            return false;
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

int open_temporary_file() {
    const char *wanted = std::getenv("TMPDIR");
    const int there = wanted != nullptr && *wanted != 0 ? open_nameless_in(wanted) : -1;
    return there >= 0 ? there : open_nameless_in(P_tmpdir);
}

std::int64_t regular_size(int descriptor) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        return -1;
    }
    if (!S_ISREG(status.st_mode)) {
        errno = EINVAL;
        return -1;
    }
    return status.st_size;
}

std::uint32_t get_unsigned(const std::uint8_t *from) {
    return std::uint32_t{from[0]} << 24U | std::uint32_t{from[1]} << 16U |
           std::uint32_t{from[2]} << 8U | from[3];
}

std::int32_t get_signed(const std::uint8_t *from) {
    return static_cast<std::int32_t>(get_unsigned(from));
}

void put_unsigned(std::uint8_t *to, std::uint32_t value) {
    to[0] = static_cast<std::uint8_t>(value >> 24U);
    to[1] = static_cast<std::uint8_t>(value >> 16U & 0xFFU);
    to[2] = static_cast<std::uint8_t>(value >> 8U & 0xFFU);
    to[3] = static_cast<std::uint8_t>(value & 0xFFU);
}

void put_signed(std::uint8_t *to, std::int32_t value) {
    put_unsigned(to, static_cast<std::uint32_t>(value));
}

} // namespace movie
