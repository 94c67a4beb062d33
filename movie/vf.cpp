#include "movie/vf.h"

#include "movie/file_io.h"
#include "movie/vf_file.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <unistd.h>

namespace movie {

namespace {

// ---- Opening -----------------------------------------------------------------------------------

// Opens an existing regular file. A pipe would make a plain fopen wait for its other end.
vf_stream open_existing(const char *name, const char *mode) {
    if (name == nullptr || mode == nullptr || *mode != 'r') {
        return nullptr;
    }
    const int access = std::strchr(mode, '+') != nullptr ? O_RDWR : O_RDONLY;
    const int descriptor = open(name, access | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0) {
        return nullptr;
    }
    vf_stream stream;
    if (regular_size(descriptor) >= 0) {
        stream.reset(fdopen(descriptor, mode));
    }
    if (stream == nullptr) {
        close(descriptor);
    }
    return stream;
}

constexpr bool is_picture_side(std::int32_t pixels) {
    return pixels >= 0 && pixels <= ir1_max_dimension;
}

// Checks the header values that decide about memory. Returns false after a message.
bool check_header(const char *caller, const vf_movie &film) {
    if (!is_picture_side(film.width) || !is_picture_side(film.height)) {
        std::fprintf(stderr, "%s: \"%s\": impossible picture size %" PRId32 " x %" PRId32 "\n",
                     caller, film.name.c_str(), film.width, film.height);
        return false;
    }
    if (film.count < 0) {
        std::fprintf(stderr, "%s: \"%s\": impossible number of frames %" PRId32 "\n", caller,
                     film.name.c_str(), film.count);
        return false;
    }
    return true;
}

// Reads the frame offset table; nothing is allocated for one that the file can not hold, or that
// leaves no place for chunks.
bool read_table(vf_movie &film) {
    if (vf_table_end(film.count) > std::min(vf_file_size(film), vf_max_file_bytes)) {
        return false;
    }
    film.offsets.resize(static_cast<std::size_t>(film.count));
    const auto bytes_of = [](std::int32_t *entry) {
        return reinterpret_cast<std::uint8_t *>(entry);
    };
    if (!read_at(vf_descriptor(film), vf_header_bytes,
                 {bytes_of(film.offsets.data()), film.offsets.size() * vf_entry_bytes})) {
        return false;
    }
    for (std::int32_t &entry : film.offsets) {
        entry = get_signed(bytes_of(&entry));
    }
    return true;
}

ir1_table &current_table() {
    static ir1_table table;
    return table;
}

bool renew_current_table() {
    ir1_table table = IR1_init_tables();
    if (table == nullptr) {
        return false;
    }
    current_table() = std::move(table);
    return true;
}

vf_owner open_movie(const char *name, const char *mode) {
    vf_owner film = std::make_unique<vf_movie>();
    film->name = name != nullptr ? name : "";
    film->stream = open_existing(name, mode);
    if (film->stream == nullptr) {
        std::fprintf(stderr, "VFopen:  Unable to open file \"%s\"\n", film->name.c_str());
        return nullptr;
    }
    std::array<std::uint8_t, vf_header_bytes> header{};
    if (!read_at(vf_descriptor(*film), 0, header)) {
        std::fprintf(stderr, "VFopen:  Unable to read header in \"%s\"\n", film->name.c_str());
        return nullptr;
    }
    if (get_unsigned(header.data()) != vf_magic) {
        std::fputs("VFopen: bad magic number in file.\n", stderr);
        return nullptr;
    }
    film->algorithm = get_signed(&header[4]);
    film->count = get_signed(&header[8]);
    film->width = get_signed(&header[12]);
    film->height = get_signed(&header[16]);
    film->rate = get_signed(&header[20]);
    film->threshold = get_signed(&header[24]);
    if (film->algorithm != vf_algorithm_ir1) {
        std::fputs("VFopen:  Unsupported compression algorithm.\n", stderr);
        return nullptr;
    }
    if (!check_header("VFopen", *film)) {
        return nullptr;
    }
    if (!read_table(*film)) {
        std::fputs("VFopen:  Unable to read frame offset table\n", stderr);
        return nullptr;
    }
    posix_fadvise(vf_descriptor(*film), 0, 0, POSIX_FADV_SEQUENTIAL); // a hint: no harm if it fails
    return film;
}

} // namespace

vf_owner VFopen(const char *name, const char *mode) {
    try {
        vf_owner film = open_movie(name, mode);
        if (film == nullptr || renew_current_table()) {
            return film;
        }
    } catch (const std::bad_alloc &) { // told below
    }
    std::fprintf(stderr, "VFopen: \"%s\": out of memory\n", name != nullptr ? name : "");
    return nullptr;
}

ir1_table vf_current_table() {
    return current_table();
}

void VFclose(vf_owner film) {
    film.reset();
}

// ---- Creating ----------------------------------------------------------------------------------

namespace {

// Checks what a writer filled in and completes the table. Returns false after a message.
bool prepare_table(vf_movie &film) {
    if (film.algorithm != vf_algorithm_ir1) {
        std::fprintf(stderr, "VFopenWrite: \"%s\": unknown compression algorithm %" PRId32 "\n",
                     film.name.c_str(), film.algorithm);
        return false;
    }
    if (!check_header("VFopenWrite", film)) {
        return false;
    }
    if (vf_table_end(film.count) > vf_max_file_bytes) {
        std::fprintf(stderr, "VFopenWrite: \"%s\": too many frames: %" PRId32 "\n",
                     film.name.c_str(), film.count);
        return false;
    }
    const auto count = static_cast<std::size_t>(film.count);
    if (film.offsets.empty()) {
        film.offsets.resize(count);
    }
    if (film.offsets.size() != count) {
        std::fprintf(stderr,
                     "VFopenWrite: \"%s\": %" PRId32 " frames, but %zu entries in the table\n",
                     film.name.c_str(), film.count, film.offsets.size());
        return false;
    }
    return true;
}

std::array<std::uint8_t, vf_header_bytes> make_header(const vf_movie &film) {
    std::array<std::uint8_t, vf_header_bytes> header{};
    put_unsigned(header.data(), vf_magic);
    put_signed(&header[4], film.algorithm);
    put_signed(&header[8], film.count);
    put_signed(&header[12], film.width);
    put_signed(&header[16], film.height);
    put_signed(&header[20], film.rate);
    put_signed(&header[24], film.threshold);
    return header;
}

std::FILE *open_temporary_stream() {
    const int file = open_temporary_file();
    std::FILE *stream = file >= 0 ? ::fdopen(file, "w+") : nullptr;
    if (file >= 0 && stream == nullptr)
        ::close(file);
    return stream;
}

int create_movie(vf_movie &film, const char *name) {
    film.stream.reset();
    film.repeats_to = -1;
    film.fetched = -1;
    film.fetched_end = 0;
    film.reported.clear();
    film.name = name != nullptr ? name : "(temporary movie)";
    if (!prepare_table(film)) {
        return -1;
    }
    std::vector<std::uint8_t> table(film.offsets.size() * vf_entry_bytes);
    for (std::size_t i = 0; i < film.offsets.size(); ++i) {
        put_signed(&table[i * vf_entry_bytes], film.offsets[i]);
    }
    film.stream.reset(name != nullptr ? std::fopen(name, "w+e") : open_temporary_stream());
    if (film.stream == nullptr || vf_file_size(film) < 0) {
        std::fprintf(stderr, "VFopenWrite:  Unable to open file \"%s\"\n", film.name.c_str());
        film.stream.reset();
        return -1;
    }
    if (!write_at(vf_descriptor(film), 0, make_header(film))) {
        std::fprintf(stderr, "VFopenWrite:  Unable to write header in \"%s\"\n", film.name.c_str());
        film.stream.reset();
        return -1;
    }
    if (!write_at(vf_descriptor(film), vf_header_bytes, table)) {
        std::fputs("VFopenWrite:  Unable to write frame offset table\n", stderr);
        film.stream.reset();
        return -1;
    }
    return 0;
}

} // namespace

int VFopenWrite(vf_movie &film, const char *name) {
    try {
        return create_movie(film, name);
    } catch (const std::bad_alloc &) {
        std::fprintf(stderr, "VFopenWrite: \"%s\": out of memory for %" PRId32 " frames\n",
                     name != nullptr ? name : "", film.count);
        film.stream.reset();
        return -1;
    }
}

// ---- Chunks ------------------------------------------------------------------------------------

namespace {

// Makes the record's buffer hold `size` bytes.
bool reserve(vf_chunk &chunk, std::size_t size) {
    if (chunk.capacity < size) {
        chunk.capacity = 0;
        chunk.buffer.reset(); // before the new one: both may be large
        chunk.buffer.reset(new (std::nothrow) std::uint8_t[size]);
        if (chunk.buffer == nullptr) {
            return false;
        }
        chunk.capacity = size;
    }
    return true;
}

// Reads the chunk at the place and moves the stream behind it. Returns 0, or the number of the item
// that could not be read.
int read_chunk(const vf_movie &film, std::int64_t place, vf_chunk &chunk) {
    const int file = vf_descriptor(film);
    std::array<std::uint8_t, vf_chunk_bytes> head{};
    if (!read_at(file, place, head)) {
        const std::size_t there = read_up_to(file, place, head, {}); // how far it goes
        return there < chunk.header.size() ? 1 : there < vf_chunk_size_offset ? 2 : 3;
    }
    std::copy_n(head.begin(), chunk.header.size(), chunk.header.begin());
    chunk.reserved = get_signed(&head[chunk.header.size()]);
    const std::int32_t size = get_signed(&head[vf_chunk_size_offset]);
    const auto bytes = static_cast<std::size_t>(size);
    place += vf_chunk_bytes;
    if (size < 0 || size > vf_file_size(film) - place || !reserve(chunk, bytes) ||
        !read_at(file, place, {chunk.buffer.get(), bytes}) ||
        fseeko(film.stream.get(), place + size, SEEK_SET) != 0) {
        return 4;
    }
    chunk.size = size;
    chunk.data = size != 0 ? chunk.buffer.get() : nullptr;
    return 0;
}

} // namespace

int VFreadchunk(vf_movie &film, vf_chunk &chunk) {
    chunk.size = 0;
    chunk.data = nullptr;
    const std::int64_t place = film.stream != nullptr ? ftello(film.stream.get()) : -1;
    const int failed = place >= 0 ? read_chunk(film, place, chunk) : 1;
    if (failed == 0) {
        return 0;
    }
    std::fprintf(stderr, "%s: read error. %d\n", failed == 4 ? "VFreadchuck" : "VFreadchunk",
                 failed);
    return -1;
}

int VFdecompress(const vf_movie &film, const vf_chunk &chunk, std::span<std::uint32_t> image) {
    if (film.algorithm != vf_algorithm_ir1 || chunk.data == nullptr) {
        return 0;
    }
    const std::span packed(chunk.data, static_cast<std::size_t>(chunk.size));
    if (current_table() == nullptr && !renew_current_table()) {
        return -1;
    }
    ir1_size size;
    if (ir1_read_size(packed, &size) != 0 ||
        size.width != film.width - film.width % ir1_block_size ||
        size.height != film.height - film.height % ir1_block_size) {
        return -1;
    }
    return IR1_decompress(*current_table(), packed, image);
}

// ---- Appending ---------------------------------------------------------------------------------

namespace {

// Writes a chunk and then its table entry. Returns 0 or the errno of what failed.
int append_chunk(vf_movie &film, int index, std::span<const std::uint8_t> data) {
    if (film.stream == nullptr || index < 0 ||
        static_cast<std::size_t>(index) >= film.offsets.size()) {
        return EINVAL;
    }
    const int file = vf_descriptor(film);
    const std::int64_t end = vf_file_size(film);
    if (end < vf_table_end(std::ssize(film.offsets))) {
        return end < 0 ? errno : EIO; // someone cut the table off
    }
    if (end > vf_max_file_bytes - vf_chunk_bytes ||
        data.size() > static_cast<std::uint64_t>(vf_max_file_bytes - vf_chunk_bytes - end)) {
        return EFBIG;
    }
    std::array<std::uint8_t, vf_chunk_bytes> head{};
    put_unsigned(&head[vf_chunk_size_offset], static_cast<std::uint32_t>(data.size()));
    std::array<std::uint8_t, vf_entry_bytes> entry{};
    put_unsigned(entry.data(), static_cast<std::uint32_t>(end));
    if (!write_at(file, end, head) || !write_at(file, end + vf_chunk_bytes, data) ||
        !write_at(file, vf_table_end(index), entry)) {
        const int reason = errno;
        // What there is of the chunk would only take space: nothing points at it.
        [[maybe_unused]] const int cut = ftruncate(file, end);
        return reason;
    }
    film.offsets[static_cast<std::size_t>(index)] = static_cast<std::int32_t>(end);
    film.repeats_to = -1;
    return 0;
}

} // namespace

int VFappend(vf_movie &film, int index, std::span<const std::uint8_t> data) {
    const int reason = append_chunk(film, index, data);
    if (reason == 0) {
        return 0;
    }
    std::fprintf(stderr, "VFappend: \"%s\": frame %d of %zu, %zu bytes: %s\n", film.name.c_str(),
                 index, film.offsets.size(), data.size(), std::strerror(reason));
    errno = reason;
    return -1;
}

} // namespace movie
