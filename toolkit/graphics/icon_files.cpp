#include "toolkit/graphics/icon_files.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <span>
#include <sys/stat.h>
#include <unistd.h>

namespace toolkit {
namespace {

constexpr std::int64_t header_bytes = 8;
constexpr std::int64_t pixel_bytes = 4;

// An open file, closed at the end of the block.
class open_file {
public:
    explicit open_file(int descriptor) : descriptor_(descriptor) {}
    ~open_file() {
        if (descriptor_ >= 0)
            ::close(descriptor_);
    }
    open_file(const open_file &) = delete;
    open_file &operator=(const open_file &) = delete;
    [[nodiscard]] int get() const { return descriptor_; }

private:
    int descriptor_;
};

std::uint32_t big_endian(std::uint32_t word) {
    if constexpr (std::endian::native == std::endian::big)
        return word;
    return __builtin_bswap32(word);
}

// Fills `words` from the file's place `offset` on. 0, or -1 when there is not as much.
int read_words(int file, std::int64_t offset, std::span<std::uint32_t> words) {
    const std::span<std::byte> bytes = std::as_writable_bytes(words);
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t got = ::pread(file, bytes.data() + done, bytes.size() - done,
                                    offset + static_cast<std::int64_t>(done));
        if (got == 0 || (got < 0 && errno != EINTR))
            return -1;
        done += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    for (std::uint32_t &word : words)
        word = big_endian(word);
    return 0;
}

int write_words(std::FILE *file, std::span<const std::uint32_t> words) {
    constexpr std::size_t at_once = 1024;
    std::array<std::uint32_t, at_once> swapped{};
    while (!words.empty()) {
        const std::size_t count = std::min(words.size(), at_once);
        for (std::size_t i = 0; i < count; i++)
            swapped[i] = big_endian(words[i]);
        if (std::fwrite(swapped.data(), pixel_bytes, count, file) != count)
            return -1;
        words = words.subspan(count);
    }
    return 0;
}

icon_reading refuse(const std::string &path, const std::string &reason) {
    std::fprintf(stderr, "icon %s: %s\n", path.c_str(), reason.c_str());
    return icon_reading::faulty;
}

std::unique_ptr<bitmap_record> make_bitmap(std::int32_t width, std::int32_t height) {
    try {
        auto bitmap = std::make_unique<bitmap_record>();
        bitmap->width = static_cast<std::int16_t>(width);
        bitmap->height = static_cast<std::int16_t>(height);
        bitmap->pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
        return bitmap;
    } catch (const std::exception &) { // no memory for it
        return nullptr;
    }
}

// A new file beside `path`, with its name in *temporary; null when it can not be created.
std::FILE *create_beside(const std::string &path, std::string *temporary) {
    constexpr int tries = 100; // of names that an earlier, killed process may have left
    for (int n = 0; n < tries; n++) {
        *temporary = path + "." + std::to_string(::getpid()) + "-" + std::to_string(n);
        std::FILE *file = std::fopen(temporary->c_str(), "wbxe");
        if (file != nullptr || errno != EEXIST)
            return file;
    }
    return nullptr;
}

} // namespace

bool is_whole(const bitmap_record &bitmap) {
    return bitmap.width >= 1 && bitmap.height >= 1 &&
           bitmap.pixels.size() ==
               static_cast<std::size_t>(bitmap.width) * static_cast<std::size_t>(bitmap.height);
}

icon_reading read_icon_file(const std::string &path, std::unique_ptr<bitmap_record> *bitmap) {
    const open_file file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (file.get() < 0 || ::fstat(file.get(), &status) != 0)
        return icon_reading::no_file;
    if (!S_ISREG(status.st_mode))
        return refuse(path, "not a regular file");
    std::array<std::uint32_t, 2> sides{};
    if (status.st_size < header_bytes || read_words(file.get(), 0, sides) != 0)
        return refuse(path, "shorter than the two sizes it begins with");
    const auto width = static_cast<std::int32_t>(sides[0]);
    const auto height = static_cast<std::int32_t>(sides[1]);
    const std::string size = std::to_string(width) + " x " + std::to_string(height) + " pixels";
    if (width < 1 || width > max_bitmap_side || height < 1 || height > max_bitmap_side)
        return refuse(path, size + ": not a size from 1 x 1 to 32767 x 32767");
    const std::int64_t wanted = header_bytes + std::int64_t{width} * height * pixel_bytes;
    if (status.st_size < wanted)
        return refuse(path, size + " take " + std::to_string(wanted) + " bytes; the file has " +
                                std::to_string(status.st_size));
    std::unique_ptr<bitmap_record> made = make_bitmap(width, height);
    if (made == nullptr)
        return refuse(path, "no memory for " + size);
    if (read_words(file.get(), header_bytes, made->pixels) != 0)
        return refuse(path, "can not be read to its end");
    *bitmap = std::move(made);
    return icon_reading::read;
}

int write_icon_file(const std::string &path, const bitmap_record &bitmap) {
    std::string temporary;
    std::FILE *file = create_beside(path, &temporary);
    if (file == nullptr)
        return -1;
    const std::array<std::uint32_t, 2> sides{static_cast<std::uint32_t>(bitmap.width),
                                             static_cast<std::uint32_t>(bitmap.height)};
    bool written = write_words(file, sides) == 0 && write_words(file, bitmap.pixels) == 0 &&
                   std::fflush(file) == 0 && ::fsync(::fileno(file)) == 0;
    int reason = written ? 0 : errno;
    if (std::fclose(file) != 0 && written) {
        written = false;
        reason = errno;
    }
    if (written && std::rename(temporary.c_str(), path.c_str()) == 0)
        return 0;
    reason = written ? errno : reason;
    std::fprintf(stderr, "icon %s: not written: %s\n", path.c_str(), std::strerror(reason));
    static_cast<void>(std::remove(temporary.c_str()));
    return -1;
}

} // namespace toolkit
