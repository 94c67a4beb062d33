#include "tools/reel/image_end.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sys/stat.h>

namespace reel {

namespace {

struct file_closer {
    void operator()(std::FILE *file) const { (void)std::fclose(file); }
};
using file_owner = std::unique_ptr<std::FILE, file_closer>;

constexpr std::array<std::uint8_t, 8> png_signature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr std::array<std::uint8_t, 3> jpeg_signature = {0xFF, 0xD8, 0xFF};

constexpr std::int64_t most_bytes = std::int64_t{1} << 30; // of a file that is read as a whole

unsigned byte_at(const std::vector<std::byte> &bytes, std::size_t at) {
    return std::to_integer<unsigned>(bytes[at]);
}

// A PNG file is a row of chunks, each with its size, and ends with one of its own.
bool has_png_end(std::FILE *file, std::int64_t size) {
    constexpr std::int64_t frame_bytes = 12; // size and name before a chunk's data, a sum behind it
    for (std::int64_t at = png_signature.size(); at + frame_bytes <= size;) {
        std::array<std::uint8_t, 8> head{};
        if (std::fseek(file, static_cast<long>(at), SEEK_SET) != 0 ||
            std::fread(head.data(), 1, head.size(), file) != head.size())
            return false;
        if (std::memcmp(&head[4], "IEND", 4) == 0)
            return true;
        at += frame_bytes + (std::int64_t{head[0]} << 24 | head[1] << 16 | head[2] << 8 | head[3]);
    }
    return false;
}

// A JPEG file is a row of segments, with a size each, and of packed pixels between them, in which
// the byte that begins a segment is told from the same one of theirs by a 0 behind it.
bool has_jpeg_end(const std::vector<std::byte> &bytes) {
    constexpr std::byte mark{0xFF};
    constexpr unsigned alone = 0x01;
    constexpr unsigned first_restart = 0xD0;
    constexpr unsigned last_restart = 0xD7;
    constexpr unsigned end_of_image = 0xD9;
    std::size_t at = 2;
    for (;;) {
        const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(std::min(at, bytes.size()));
        const auto found = std::find(from, bytes.end(), mark);
        const auto kind = std::find_if(found, bytes.end(), [](std::byte b) { return b != mark; });
        if (kind == bytes.end())
            return false;
        at = static_cast<std::size_t>(kind - bytes.begin()) + 1;
        const unsigned what = std::to_integer<unsigned>(*kind);
        if (what == end_of_image)
            return true;
        if (what <= alone || (what >= first_restart && what <= last_restart))
            continue;
        if (at + 2 > bytes.size())
            return false;
        at += byte_at(bytes, at) << 8 | byte_at(bytes, at + 1);
    }
}

} // namespace

const char *find_early_end(const char *path, std::vector<std::byte> &scratch) {
    const file_owner file(std::fopen(path, "rbe"));
    struct stat status {};
    if (file == nullptr || ::fstat(::fileno(file.get()), &status) != 0 || !S_ISREG(status.st_mode))
        return nullptr;
    if (status.st_size == 0)
        return "it is empty";
    std::array<std::uint8_t, png_signature.size()> head{};
    const std::size_t n = std::fread(head.data(), 1, head.size(), file.get());
    bool whole = true;
    if (n == head.size() && head == png_signature) {
        whole = has_png_end(file.get(), status.st_size);
    } else if (std::equal(jpeg_signature.begin(), jpeg_signature.end(), head.begin()) &&
               status.st_size <= most_bytes) {
        scratch.resize(static_cast<std::size_t>(status.st_size));
        std::rewind(file.get());
        whole = std::fread(scratch.data(), 1, scratch.size(), file.get()) == scratch.size() &&
                has_jpeg_end(scratch);
    }
    return whole ? nullptr : "it is cut off";
}

} // namespace reel
