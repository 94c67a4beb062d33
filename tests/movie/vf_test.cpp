#include "movie/vf.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <sys/resource.h>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

namespace {

using movie::vf_find;
using bytes = std::vector<std::uint8_t>;
using pixels = std::vector<std::uint32_t>;

// A directory of its own for each test, and what the calls say on standard error.
class Vf : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "vf_test.XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
        file = folder + "/film.reel";
        testing::internal::CaptureStderr();
    }
    void TearDown() override {
        EXPECT_EQ(said(), ""); // nothing that the test did not expect
        testing::internal::GetCapturedStderr();
        std::filesystem::remove_all(folder);
    }
    // What was said since the last call.
    static std::string said() {
        std::string text = testing::internal::GetCapturedStderr();
        testing::internal::CaptureStderr();
        return text;
    }
    void save(const bytes &content) const {
        std::ofstream(file, std::ios::binary)
            .write(reinterpret_cast<const char *>(content.data()),
                   static_cast<std::streamsize>(content.size()));
    }
    [[nodiscard]] bytes load() const {
        std::ifstream in(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    std::string folder;
    std::string file;
};

// A copy of a file with another word in one place.
bytes edited(bytes content, std::size_t at, std::int64_t value) {
    for (std::size_t i = 0; i < 4; ++i) {
        content[at + i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
    }
    return content;
}

movie::vf_movie blank_film(int count, int width, int height) {
    movie::vf_movie film;
    film.count = count;
    film.width = width;
    film.height = height;
    film.rate = 24;
    film.threshold = 12;
    film.offsets.assign(static_cast<std::size_t>(std::clamp(count, 0, 1000)), 0);
    return film;
}

bytes compress(const pixels &image, int width, int height) {
    bytes packed(movie::ir1_worst_case(width, height));
    const auto n = movie::IR1_compress(image, width, height, packed, 12);
    packed.resize(static_cast<std::size_t>(std::max<std::int64_t>(n, 0)));
    return packed;
}

// A blue block, darker in its bottom row, beside a red (with one dark blue pixel), a green, a white
// and a black quadrant. The bottom row comes first.
const pixels tiny_picture{
    0xB87838, 0xB87838, 0xB87838, 0xB87838, 0xFFFFFF, 0xFFFFFF, 0x000000, 0x000000, //
    0xC08040, 0xC08040, 0xC08040, 0xC08040, 0xFFFFFF, 0xFFFFFF, 0x000000, 0x000000, //
    0xC08040, 0xC08040, 0xC08040, 0xC08040, 0x0000FF, 0x0000FF, 0x00FF00, 0x00FF00, //
    0xC08040, 0xC08040, 0xC08040, 0xC08040, 0x800000, 0x0000FF, 0x00FF00, 0x00FF00};

// That picture, then the same again, then a frame not yet written: the example of docs/format.md.
const bytes tiny_file{0x1A, 0x2B, 0x3C, 0x4D, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x03, 0x00,
                      0x00, 0x00, 0x08, 0x00, 0x00, 0x00, 0x04, 0x00, 0x00, 0x00, 0x18, 0x00, 0x00,
                      0x00, 0x0C, 0x00, 0x00, 0x00, 0x28, 0x00, 0x00, 0x00, 0x56, 0x00, 0x00, 0x00,
                      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                      0x00, 0x00, 0x00, 0x00, 0x00, 0x1C, 0x00, 0x08, 0x00, 0x04, 0x0F, 0xFF, 0x22,
                      0x18, 0x1D, 0xF7, 0xFF, 0xFE, 0xFC, 0x00, 0x00, 0x10, 0x03, 0xE0, 0x00, 0x00,
                      0x7F, 0xFF, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};

// ---- Reading and writing -----------------------------------------------------------------------

TEST_F(Vf, WritesTheseBytesAndReadsThemBack) {
    movie::vf_movie writer = blank_film(3, 8, 4);
    writer.offsets.clear(); // becomes zeros
    ASSERT_EQ(movie::VFopenWrite(writer, file.c_str()), 0);
    ASSERT_EQ(movie::VFappend(writer, 0, compress(tiny_picture, 8, 4)), 0);
    ASSERT_EQ(movie::VFappend(writer, 1, {}), 0);
    EXPECT_EQ(load(), tiny_file);

    movie::vf_owner film = movie::VFopen(file.c_str(), "r");
    ASSERT_NE(film, nullptr);
    EXPECT_EQ(film->offsets, writer.offsets);
    EXPECT_EQ((std::array{film->algorithm, film->count, film->width, film->height, film->rate,
                          film->threshold}),
              (std::array{0, 3, 8, 4, 24, 12}));
    movie::vf_chunk chunk;
    ASSERT_EQ(fseeko(film->stream.get(), film->offsets[0], SEEK_SET), 0);
    ASSERT_EQ(movie::VFreadchunk(*film, chunk), 0);
    ASSERT_EQ(chunk.size, 28);
    pixels image(32);
    ASSERT_EQ(movie::VFdecompress(*film, chunk, image), 0);
    for (std::size_t i = 0; i < image.size(); ++i) {
        EXPECT_EQ(image[i], tiny_picture[i] & 0xF8F8F8U) << i;
    }
    // The stream stands at the next chunk, which has no data; the buffer stays for later.
    ASSERT_EQ(movie::VFreadchunk(*film, chunk), 0);
    EXPECT_EQ(chunk.size, 0);
    EXPECT_EQ(chunk.data, nullptr);
    EXPECT_NE(chunk.buffer, nullptr);
    EXPECT_EQ(movie::VFdecompress(*film, chunk, {}), 0);
    movie::VFclose(std::move(film));
    movie::VFclose(nullptr);
}

TEST_F(Vf, DecompressWantsTheMoviesSize) {
    save(tiny_file);
    const movie::vf_owner film = movie::VFopen(file.c_str(), "rb");
    ASSERT_NE(film, nullptr);
    const bytes data = compress(pixels(64, 0x445566), 8, 8);
    movie::vf_chunk chunk;
    chunk.data = data.data();
    chunk.size = static_cast<std::int32_t>(data.size());
    pixels image(64, 7);
    EXPECT_EQ(movie::VFdecompress(*film, chunk, image), -1); // 8 x 8 in a movie of 8 x 4
    film->height = 11;                                       // an unrounded header serves too
    EXPECT_EQ(movie::VFdecompress(*film, chunk, std::span(image).first(63)), -1);
    EXPECT_EQ(image, pixels(64, 7));
    EXPECT_EQ(movie::VFdecompress(*film, chunk, image), 0);
    EXPECT_EQ(image, pixels(64, 0x405060));
    film->algorithm = 1;
    EXPECT_EQ(movie::VFdecompress(*film, chunk, {}), 0);
}

TEST_F(Vf, FindsFramesBehindRepeats) {
    movie::vf_movie film = blank_film(7, 8, 4);
    ASSERT_EQ(movie::VFopenWrite(film, nullptr), 0);
    const bytes one = compress(tiny_picture, 8, 4);
    ASSERT_EQ(movie::VFappend(film, 1, one), 0);
    for (const int repeat : {0, 2, 3, 5}) { // frame 4 is absent, so 5 is as well
        ASSERT_EQ(movie::VFappend(film, repeat, {}), 0);
    }
    const auto find = [&](int index) {
        movie::vf_frame where;
        const vf_find result = movie::VFfindframe(film, index, &where);
        return std::pair(result, where.index);
    };
    const std::pair none(vf_find::none, -1);
    const std::pair absent(vf_find::absent, -1);
    const std::pair first(vf_find::found, 1);
    const std::array wanted{none, first, first, first, absent, absent, absent};
    for (const int i : {0, 1, 2, 3, 4, 5, 6, 5, 3, 2, 1, 0, 3, 5, 1}) {
        EXPECT_EQ(find(i), wanted[static_cast<std::size_t>(i)]) << i;
    }
    for (const int outside : {-1, 7, INT_MIN, INT_MAX}) {
        EXPECT_EQ(find(outside), none);
    }
    // A frame that comes (again) counts from then on, also for those that repeat it.
    ASSERT_EQ(movie::VFappend(film, 4, one), 0);
    EXPECT_EQ(find(5), std::pair(vf_find::found, 4));
    EXPECT_EQ(find(3), first);
    ASSERT_EQ(movie::VFappend(film, 2, one), 0);
    EXPECT_EQ(find(3), std::pair(vf_find::found, 2));
    EXPECT_EQ(find(1), first);
}

// What this process reads while work is done: how often ("syscr:"), or how many bytes ("rchar:").
template <typename work_call> long reads_of(work_call work, const char *counter = "syscr:") {
    const auto reads = [counter] {
        std::ifstream counters("/proc/self/io");
        const std::vector<std::string> words{std::istream_iterator<std::string>(counters), {}};
        const auto name = std::ranges::find(words, counter);
        return name + 1 < words.end() ? std::stol(name[1]) : 0;
    };
    reads(); // whatever it costs only once
    const long before = reads();
    const long counting = reads() - before;
    const long start = reads();
    work();
    return reads() - start - counting;
}

// Frame i of a long movie repeats the one before where i % 10 is 9, and tells its own number.
TEST_F(Vf, FetchingAFrameIsOneRead) {
    constexpr int count = 100000;
    movie::vf_movie writer = blank_film(count, 8, 4);
    writer.offsets.clear();
    ASSERT_EQ(movie::VFopenWrite(writer, file.c_str()), 0);
    bytes data(22);
    for (int i = 0; i < count; ++i) {
        data = edited(data, 0, i);
        ASSERT_EQ(movie::VFappend(writer, i, i % 10 == 9 ? bytes{} : data), 0);
    }
    const movie::vf_owner film = movie::VFopen(file.c_str(), "r");
    ASSERT_NE(film, nullptr);
    bytes buffer(movie::vf_max_data_bytes(*film));
    int have = -1;
    const auto fetch = [&](int index) {
        movie::vf_frame where;
        ASSERT_EQ(movie::VFfetchframe(*film, index, have, buffer, &where), vf_find::found);
        ASSERT_EQ(where.index, index % 10 == 9 ? index - 1 : index);
        ASSERT_EQ(edited(buffer, 0, where.index), buffer);
        have = where.index;
    };
    ASSERT_EQ(reads_of([] {}), 0);
    ASSERT_EQ(reads_of([&] { fetch(0); }), 1) << "are reads counted here?";
    EXPECT_EQ(reads_of([&] { fetch(0); }), 0); // it is there already
    const auto forward = [&] {
        for (int i = 1; i < 1000; ++i) {
            fetch(i);
        }
    };
    EXPECT_EQ(reads_of(forward), 999);
    std::mt19937 random(5);
    const auto anywhere = [&] {
        for (int i = 0; i < 1000; ++i) {
            fetch(static_cast<int>(random() % count) / 10 * 10 + 3);
        }
    };
    EXPECT_EQ(reads_of(anywhere), 1000);
    EXPECT_EQ(reads_of([&] { fetch(59999); }), 2); // what it repeats is another one
}

// One empty chunk with much behind it may stand for many repeats: none of that is read for each.
TEST_F(Vf, RepeatsThatShareAChunkAreReadBriefly) {
    constexpr int count = 2000;
    movie::vf_movie writer = blank_film(count, 400, 400);
    writer.offsets.clear();
    ASSERT_EQ(movie::VFopenWrite(writer, file.c_str()), 0);
    const bytes data(movie::vf_max_data_bytes(writer), 1);
    ASSERT_EQ(movie::VFappend(writer, 1, {}), 0);
    ASSERT_EQ(movie::VFappend(writer, 0, data), 0);
    bytes content = load();
    for (std::size_t i = 2; i < count; ++i) {
        content = edited(std::move(content), 28 + 4 * i, writer.offsets[1]);
    }
    save(content);
    const movie::vf_owner film = movie::VFopen(file.c_str(), "r");
    ASSERT_NE(film, nullptr);
    bytes buffer(data.size());
    const auto fetch_last = [&] {
        movie::vf_frame where;
        ASSERT_EQ(movie::VFfetchframe(*film, count - 1, -1, buffer, &where), vf_find::found);
        ASSERT_EQ(where.index, 0);
    };
    EXPECT_LT(reads_of(fetch_last, "rchar:"), 4 * static_cast<long>(data.size()));
    EXPECT_EQ(buffer, data);
}

// Walking all of it for each frame again would take minutes, whatever is at its end.
TEST_F(Vf, WalksALongRunOfRepeatsOnce) {
    constexpr int count = 60000;
    constexpr std::int32_t first_chunk = 28 + 4 * count;
    const std::pair<std::int32_t, vf_find> ends[] = {
        {first_chunk, vf_find::none}, {0, vf_find::absent}, {5, vf_find::damaged}};
    for (const auto &[end, wanted] : ends) {
        movie::vf_movie film = blank_film(count, 8, 4);
        film.offsets.assign(count, first_chunk);
        film.offsets[0] = end;
        ASSERT_EQ(movie::VFopenWrite(film, file.c_str()), 0);
        ASSERT_EQ(movie::VFappend(film, count - 1, {}), 0);
        for (int i = count - 1; i >= 0; --i) {
            movie::vf_frame where;
            ASSERT_EQ(movie::VFfindframe(film, i, &where), wanted);
        }
    }
    EXPECT_EQ(said(), "VF: \"" + file + "\": frame 0: no chunk at its offset (5)\n");
}

TEST_F(Vf, PlaysAMovieThatSomeoneElseIsWriting) {
    movie::vf_movie writer = blank_film(40, 8, 4);
    ASSERT_EQ(movie::VFopenWrite(writer, file.c_str()), 0);
    const movie::vf_owner reader = movie::VFopen(file.c_str(), "r");
    ASSERT_NE(reader, nullptr);
    bytes buffer(movie::vf_max_data_bytes(*reader));
    for (int i = 0; i < 40; ++i) {
        movie::vf_frame where;
        ASSERT_EQ(movie::VFfindframe(*reader, i, &where), vf_find::absent);
        ASSERT_EQ(movie::VFfetchframe(*reader, i, i - 1, buffer, &where), vf_find::absent);
        const bytes data = compress(pixels(32, static_cast<std::uint32_t>(i) << 3U), 8, 4);
        ASSERT_EQ(movie::VFappend(writer, i, data), 0);
        ASSERT_EQ(movie::VFfindframe(*reader, i, &where), vf_find::found);
        ASSERT_EQ(movie::VFfetchframe(*reader, i, i - 1, buffer, &where), vf_find::found);
        ASSERT_EQ(bytes(buffer.begin(), buffer.begin() + where.size), data);
        movie::vf_chunk chunk; // the stream's buffer is stale by now
        const std::int64_t place = where.offset - movie::vf_chunk_bytes;
        ASSERT_EQ(fseeko(reader->stream.get(), place, SEEK_SET), 0);
        ASSERT_EQ(movie::VFreadchunk(*reader, chunk), 0);
        ASSERT_EQ(bytes(chunk.data, chunk.data + chunk.size), data);
    }
}

// ---- Refusals ----------------------------------------------------------------------------------

TEST_F(Vf, OpenSaysWhatIsWrong) {
    const std::string quoted = "\"" + file + "\"";
    const std::string head = "VFopen:  Unable to read header in " + quoted + "\n";
    const std::string table = "VFopen:  Unable to read frame offset table\n";
    const std::string algorithm = "VFopen:  Unsupported compression algorithm.\n";
    const std::string sizes = "VFopen: " + quoted + ": impossible picture size ";
    const std::string frames = "VFopen: " + quoted + ": impossible number of frames ";
    const struct {
        std::size_t place; // of the word that is changed
        std::int64_t word;
        std::int64_t file_size;
        std::string message;
    } cases[] = {
        {0, movie::vf_magic, 0, head},
        {0, movie::vf_magic, 27, head},
        {0, 0x4D3C2B1A, 104, "VFopen: bad magic number in file.\n"},
        {4, 1, 28, algorithm}, // told before the table is looked at
        {8, 3, 39, table},
        {8, 20, 104, table},
        {8, INT_MAX, 104, table},
        {8, movie::vf_max_file_bytes / 4, movie::vf_max_file_bytes + 30, table}, // it would fit
        {8, -1, 104, frames + "-1\n"},
        {12, -4, 104, sizes + "-4 x 4\n"},
        {16, 32768, 104, sizes + "8 x 32768\n"},
    };
    for (const auto &c : cases) {
        save(edited(tiny_file, c.place, c.word));
        ASSERT_EQ(truncate(file.c_str(), c.file_size), 0);
        EXPECT_EQ(movie::VFopen(file.c_str(), "r"), nullptr);
        EXPECT_EQ(said(), c.message);
    }
    save(edited(tiny_file, 8, 0)); // no frames: a movie all the same
    const movie::vf_owner film = movie::VFopen(file.c_str(), "r");
    ASSERT_NE(film, nullptr);
    EXPECT_TRUE(film->offsets.empty());
}

TEST_F(Vf, OpensRegularFilesOnly) {
    const std::string pipe = folder + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string &name : {folder, pipe, std::string("/dev/zero"), folder + "/no/file"}) {
        EXPECT_EQ(movie::VFopen(name.c_str(), "r"), nullptr);
        movie::vf_movie film = blank_film(1, 8, 4);
        EXPECT_EQ(movie::VFopenWrite(film, name.c_str()), -1);
        EXPECT_EQ(film.stream, nullptr);
        EXPECT_EQ(said(), "VFopen:  Unable to open file \"" + name +
                              "\"\nVFopenWrite:  Unable to open file \"" + name + "\"\n");
    }
    save(tiny_file);
    for (const char *mode : {"w", "w+", "a", ""}) { // which would change or create the file
        EXPECT_EQ(movie::VFopen(file.c_str(), mode), nullptr);
        EXPECT_EQ(said(), "VFopen:  Unable to open file \"" + file + "\"\n");
    }
    EXPECT_EQ(load(), tiny_file);
}

TEST_F(Vf, OpenWriteRefusesNonsense) {
    std::array films{blank_film(-1, 8, 4),      blank_film(1, -8, 4), blank_film(1, 8, 40000),
                     blank_film(INT_MAX, 8, 4), blank_film(3, 8, 4),  blank_film(3, 8, 4)};
    films[4].offsets.resize(2);
    films[5].algorithm = 9;
    for (movie::vf_movie &film : films) {
        EXPECT_EQ(movie::VFopenWrite(film, file.c_str()), -1);
        EXPECT_NE(said().find("VFopenWrite: \"" + file + "\": "), std::string::npos);
        EXPECT_FALSE(std::filesystem::exists(file));
    }
}

TEST_F(Vf, ReadChunkNamesTheItemThatFailed) {
    save(tiny_file);
    const movie::vf_owner film = movie::VFopen(file.c_str(), "r");
    ASSERT_NE(film, nullptr);
    const struct {
        std::size_t cut; // of the chunk
        std::int64_t size;
        const char *message;
    } cases[] = {
        {9, 28, "VFreadchunk: read error. 1\n"},  {13, 28, "VFreadchunk: read error. 2\n"},
        {17, 28, "VFreadchunk: read error. 3\n"}, {45, 28, "VFreadchuck: read error. 4\n"},
        {46, -1, "VFreadchuck: read error. 4\n"}, {46, INT_MAX, "VFreadchuck: read error. 4\n"}};
    for (const auto &c : cases) {
        bytes content = edited(tiny_file, 0x28 + 14, c.size);
        content.resize(0x28 + c.cut);
        save(content);
        movie::vf_chunk chunk;
        ASSERT_EQ(fseeko(film->stream.get(), 0x28, SEEK_SET), 0);
        EXPECT_EQ(movie::VFreadchunk(*film, chunk), -1);
        EXPECT_EQ(said(), c.message);
        EXPECT_EQ(chunk.data, nullptr);
        EXPECT_EQ(ftello(film->stream.get()), 0x28);
    }
}

TEST_F(Vf, DamagedFramesAreToldOnce) {
    const std::string head = "VF: \"" + file + "\": frame 0: ";
    const auto check = [&](std::int64_t entry, std::int64_t size, const std::string &what) {
        save(edited(edited(tiny_file, 28, entry), 0x28 + 14, size));
        const movie::vf_owner film = movie::VFopen(file.c_str(), "r");
        ASSERT_NE(film, nullptr);
        movie::vf_frame where;
        EXPECT_EQ(movie::VFfindframe(*film, 1, &where), vf_find::damaged); // which repeats frame 0
        EXPECT_EQ(movie::VFfindframe(*film, 0, &where), vf_find::damaged);
        EXPECT_EQ(said(), head + what + "\n");
        EXPECT_EQ(where.index, -1);
    };
    for (const std::int64_t entry : {-1, INT_MIN, INT_MAX, 1, 28, 39, 104, 104 - 17}) {
        check(entry, 28, "no chunk at its offset (" + std::to_string(entry) + ")");
    }
    for (const std::int64_t size : {-1, INT_MIN, INT_MAX, 47}) {
        check(0x28, size, "its data size runs outside the file (" + std::to_string(size) + ")");
    }
}

TEST_F(Vf, ReadsWhatAFrameCanUseAndTheBufferHolds) {
    bytes content = edited(tiny_file, 0x28 + 14, 5000);
    content.resize(0x28 + 18 + 5000);
    save(content);
    const movie::vf_owner film = movie::VFopen(file.c_str(), "r");
    movie::vf_frame where;
    ASSERT_EQ(movie::VFfindframe(*film, 0, &where), vf_find::found);
    EXPECT_EQ(where.size, 4 + 2 * 18);
    bytes buffer(4 + 2 * 18 - 1);
    EXPECT_EQ(movie::VFreadframe(*film, where, buffer), -1);
    EXPECT_EQ(said(), "VF: \"" + file + "\": frame 0: its data does not fit the buffer (40)\n");
    buffer.resize(40);
    ASSERT_EQ(truncate(file.c_str(), 0x28 + 20), 0);
    EXPECT_EQ(movie::VFreadframe(*film, where, buffer), -1); // told already
    EXPECT_EQ(movie::VFfetchframe(*film, 0, -1, buffer, &where), vf_find::damaged);
}

// ---- Writes that fail --------------------------------------------------------------------------

TEST_F(Vf, StopsBeforeTheOffsetsRunOut) {
    movie::vf_movie film = blank_film(2, 8, 4);
    ASSERT_EQ(movie::VFopenWrite(film, file.c_str()), 0);
    const bytes data = compress(tiny_picture, 8, 4);
    const std::int64_t last =
        movie::vf_max_file_bytes - movie::vf_chunk_bytes - static_cast<std::int64_t>(data.size());
    ASSERT_EQ(truncate(file.c_str(), last + 1), 0); // a hole, no data
    EXPECT_EQ(movie::VFappend(film, 0, data), -1);
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(std::filesystem::file_size(file), static_cast<std::uintmax_t>(last + 1));
    ASSERT_EQ(truncate(file.c_str(), last), 0);
    EXPECT_EQ(movie::VFappend(film, 0, data), 0);
    EXPECT_EQ(movie::VFappend(film, 1, {}), -1);
    EXPECT_NE(said(), "");
    movie::vf_frame where;
    ASSERT_EQ(movie::VFfindframe(film, 0, &where), vf_find::found);
    EXPECT_EQ(where.offset + where.size, movie::vf_max_file_bytes);
}

// Files end at this size while it lives, as on a full disk.
class full_disk {
public:
    explicit full_disk(rlim_t size) {
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit now{size, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &now);
        std::signal(SIGXFSZ, SIG_IGN); // the write fails instead
    }
    full_disk(const full_disk &) = delete;
    full_disk &operator=(const full_disk &) = delete;
    ~full_disk() { setrlimit(RLIMIT_FSIZE, &before); }

private:
    rlimit before{};
};

TEST_F(Vf, FailedWritesAreToldAndLeaveTheMovieWhole) {
    movie::vf_movie film = blank_film(200, 8, 4); // large beside the captured messages
    ASSERT_EQ(movie::VFopenWrite(film, file.c_str()), 0);
    const bytes data = compress(tiny_picture, 8, 4);
    ASSERT_EQ(movie::VFappend(film, 0, data), 0);
    const bytes before = load();
    for (const rlim_t room : {0U, 17U, 18U, 40U}) {
        {
            const full_disk disk(before.size() + room);
            EXPECT_EQ(movie::VFappend(film, 1, data), -1);
            EXPECT_EQ(errno, EFBIG);
        }
        EXPECT_EQ(load(), before) << room;
        EXPECT_EQ(film.offsets[1], 0);
        EXPECT_EQ(said(), "VFappend: \"" + file + "\": frame 1 of 200, 28 bytes: File too large\n");
    }
    EXPECT_EQ(movie::VFappend(film, 200, data), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_NE(said(), "");
    ASSERT_EQ(movie::VFappend(film, 1, data), 0);
    EXPECT_EQ(load().size(), before.size() + 46);

    {
        const full_disk disk(28 + 799);
        EXPECT_EQ(movie::VFopenWrite(film, file.c_str()), -1);
    }
    EXPECT_EQ(film.stream, nullptr);
    EXPECT_EQ(said(), "VFopenWrite:  Unable to write frame offset table\n");
}

// ---- Hostile files -----------------------------------------------------------------------------

// Opens a file and does with every frame all that a player does, by both ways of reading. What
// matters is what does not happen: a fault, a hang, a huge allocation.
void exercise(const std::string &name) {
    const movie::vf_owner film = movie::VFopen(name.c_str(), "r");
    if (film == nullptr) {
        return;
    }
    const auto words =
        static_cast<std::size_t>(film->width) * static_cast<std::size_t>(film->height);
    ASSERT_LT(words, std::size_t{1} << 22U);
    pixels image(words);
    bytes buffer(movie::vf_max_data_bytes(*film));
    bytes fetched(buffer.size());
    movie::vf_chunk chunk;
    for (int i = 0; i < film->count; ++i) {
        movie::vf_frame where;
        movie::vf_frame again;
        [[maybe_unused]] int decoded = 0;
        const vf_find found = movie::VFfindframe(*film, i, &where);
        film->repeats_to = -1; // forgotten: fetching walks by itself
        ASSERT_EQ(movie::VFfetchframe(*film, i, -1, fetched, &again), found);
        if (found == vf_find::found) {
            ASSERT_EQ(movie::VFreadframe(*film, where, buffer), 0);
            ASSERT_EQ(std::tie(where.index, where.offset, where.size),
                      std::tie(again.index, again.offset, again.size));
            ASSERT_TRUE(std::equal(buffer.begin(), buffer.begin() + where.size, fetched.begin()));
            const auto data = std::span(buffer).first(static_cast<std::size_t>(where.size));
            decoded = movie::IR1_decompress(*movie::vf_current_table(), data, image);
        }
        if (fseeko(film->stream.get(), film->offsets[static_cast<std::size_t>(i)], SEEK_SET) == 0 &&
            movie::VFreadchunk(*film, chunk) == 0) {
            decoded = movie::VFdecompress(*film, chunk, image);
        }
    }
}

TEST_F(Vf, EveryPrefixAndEveryFlippedBitIsHarmless) {
    for (std::size_t n = 0; n < tiny_file.size(); ++n) {
        SCOPED_TRACE(n);
        save(bytes(tiny_file.begin(), tiny_file.begin() + static_cast<std::ptrdiff_t>(n)));
        exercise(file);
    }
    for (std::size_t place = 0; place < tiny_file.size(); ++place) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            SCOPED_TRACE(testing::Message() << "byte " << place << ", bit " << bit);
            bytes content = tiny_file;
            content[place] = static_cast<std::uint8_t>(content[place] ^ 1U << bit);
            save(content);
            exercise(file);
        }
    }
    EXPECT_NE(said(), "");
}

} // namespace
