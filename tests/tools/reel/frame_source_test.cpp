// Sources that need no module: movies of our own, and raw pixels on standard input.
#include "tests/tools/reel/scratch_folder.h"
#include "tools/reel/frame_source.h"
#include "tools/reel/movie_writer.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <thread>
#include <unistd.h>

namespace reel {

namespace {

constexpr int source_side = 8;

// A picture of one colour.
std::vector<std::uint32_t> picture_of(int value) {
    return std::vector<std::uint32_t>(source_side * source_side,
                                      static_cast<std::uint32_t>(value) * 0x010101);
}

std::vector<std::uint8_t> stream_of(int value) {
    std::vector<std::uint8_t> packed(movie::ir1_worst_case(source_side, source_side));
    const auto size = movie::IR1_compress(picture_of(value), source_side, source_side, packed, 12);
    packed.resize(static_cast<std::size_t>(size));
    return packed;
}

TEST(frame_source, nearest_rate) {
    const struct {
        frame_rate rate;
        int nearest;
    } cases[] = {{{24, 1}, 24}, {{24000, 1001}, 24}, {{30000, 1001}, 30},
                 {{25, 2}, 13}, {{1, 10}, 1},        {{0, 1}, 24},
                 {{24, 0}, 24}, {{90000, 1}, 1000},  {{2147483647, 1}, 1000},
                 {{-5, 1}, 24}, {{60000, 1001}, 60}};
    for (const auto &each : cases)
        EXPECT_EQ(nearest_rate(each.rate), each.nearest)
            << each.rate.numerator << "/" << each.rate.denominator;
}

// Frames 0 to 9 are of colour 8 x their number, but 3 and 4 repeat 2, and 6 is missing.
std::string write_film(const scratch_folder &folder) {
    const std::string name = folder / "a.reel";
    movie_writer writer;
    EXPECT_EQ(start_movie(name, {source_side, source_side, 30, 20, -1}, writer), 0);
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(i == 6 ? add_missing_frame(writer)
                         : add_frame(writer, stream_of(i == 3 || i == 4 ? 16 : 8 * i)),
                  0);
    EXPECT_EQ(finish_movie(writer), 0);
    return name;
}

TEST(frame_source, a_movie) {
    const scratch_folder folder;
    const std::string name = write_film(folder);
    source_options options;
    options.frames = frame_selection{{1, 7}, 2}; // 1 3 5 7
    frame_source source;
    std::string fault;
    ASSERT_EQ(open_source({name}, options, source, &fault), 0) << fault;
    EXPECT_TRUE(source.any_order);
    EXPECT_EQ(source.count, 4);
    EXPECT_EQ(source.rate->numerator, 30);
    EXPECT_EQ(source.threshold, 20);
    EXPECT_EQ(source.name_of(3), name + " (frame 7)");
    image_buffer picture;
    std::vector<std::uint8_t> stream;
    EXPECT_EQ(source.read(4, picture, &fault), read_result::end);
    EXPECT_EQ(source.read_stream(4, stream, &fault), read_result::end);
    const int values[] = {8, 16, 40, 56};
    const auto read_some = [&](int from) { // several threads at once
        image_buffer own;
        std::string why;
        for (int n = 0; n < 200; ++n) {
            const int position = (from + n) % 4;
            ASSERT_EQ(source.read(position, own, &why), read_result::got) << why;
            ASSERT_EQ(own.words, picture_of(values[position]));
        }
    };
    std::thread other(read_some, 1);
    read_some(2);
    other.join();
    for (int i = 0; i < 4; ++i) {
        ASSERT_EQ(source.read_stream(i, stream, &fault), read_result::got);
        EXPECT_EQ(stream, stream_of(values[i]));
    }

    frame_source whole;
    ASSERT_EQ(open_source({name}, {}, whole, &fault), 0) << fault;
    EXPECT_EQ(whole.count, 10);
    EXPECT_EQ(whole.read(6, picture, &fault), read_result::failed);
    EXPECT_EQ(fault, name + " (frame 6): it is missing: its table entry is 0");
    options.frames = frame_selection{{5, 10}, 1};
    frame_source beyond;
    EXPECT_EQ(open_source({name}, options, beyond, &fault), -1);
    EXPECT_EQ(fault, name + ": there are frames 0-9 only");
}

// Standard input for the life of the record.
struct standard_input {
    int before = ::dup(STDIN_FILENO);
    explicit standard_input(int descriptor) {
        ::dup2(descriptor, STDIN_FILENO);
        ::close(descriptor);
    }
    standard_input(const standard_input &) = delete;
    standard_input &operator=(const standard_input &) = delete;
    ~standard_input() {
        ::dup2(before, STDIN_FILENO);
        ::close(before);
    }
};

// What comes of `bytes` on standard input, through a pipe or from behind the first bytes of a file.
struct raw_result {
    std::vector<std::uint8_t> values; // of the pictures read
    std::int64_t count = 0;
    std::string fault;
};

raw_result read_raw(const std::string &bytes, bool piped, std::optional<frame_selection> frames) {
    const scratch_folder folder;
    int ends[2] = {-1, -1};
    std::thread writer;
    if (piped) {
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        writer = std::thread([&] {
            for (std::size_t at = 0; at < bytes.size(); at += 50) // in bits
                EXPECT_GT(::write(ends[1], bytes.data() + at,
                                  std::min<std::size_t>(50, bytes.size() - at)),
                          0);
            ::close(ends[1]);
        });
    } else {
        write_bytes(folder / "raw", "head" + bytes);
        ends[0] = ::open((folder / "raw").c_str(), O_RDONLY | O_CLOEXEC);
        EXPECT_EQ(::lseek(ends[0], 4, SEEK_SET), 4);
    }
    raw_result got;
    {
        const standard_input input(ends[0]);
        frame_source source;
        const source_options options = {frames, false, raw_format::gray8, source_side, source_side};
        if (open_source({}, options, source, &got.fault) == 0) {
            got.count = source.count;
            image_buffer picture;
            while (source.read(static_cast<std::int64_t>(got.values.size()), picture, &got.fault) ==
                   read_result::got)
                got.values.push_back(static_cast<std::uint8_t>(picture.words.front()));
        }
        if (piped)
            writer.join();
    }
    return got;
}

TEST(frame_source, raw_pixels) {
    const auto frames = [](std::string_view values) {
        std::string bytes;
        for (const char value : values)
            bytes.append(source_side * source_side, value);
        return bytes;
    };
    const std::string digits = frames("abcdefg");
    const auto some = [](std::int64_t first, std::int64_t last, std::int64_t step) {
        return std::optional(frame_selection{{first, last}, step});
    };
    const struct {
        std::string bytes;
        std::optional<frame_selection> frames;
        const char *values, *file_values; // read from a pipe, from a file
        const char *fault, *file_fault;   // null: the same as from a pipe
    } cases[] = {
        {digits, {}, "abcdefg", nullptr, "", nullptr},
        {digits, some(1, 5, 2), "bdf", nullptr, "", nullptr},
        {digits, some(6, 6, 1), "g", nullptr, "", nullptr},
        {"", {}, "", nullptr, "standard input: it is empty", nullptr},
        {digits.substr(0, digits.size() - 1),
         {},
         "abcdef",
         "",
         "standard input: it ends inside frame 6, after 63 of 64 bytes",
         nullptr},
        {"xyz",
         {},
         "",
         nullptr,
         "standard input: it ends inside frame 0, after 3 of 64 bytes",
         nullptr},
        {digits, some(5, 8, 1), "fg", "",
         "standard input: frame 7 is not there: it ends after 7 frames",
         "standard input: there are frames 0-6 only"},
    };
    for (const auto &each : cases)
        for (const bool piped : {true, false}) {
            const raw_result got = read_raw(each.bytes, piped, each.frames);
            const auto *values = piped || !each.file_values ? each.values : each.file_values;
            EXPECT_EQ(std::string(got.values.begin(), got.values.end()), values) << piped;
            EXPECT_EQ(got.fault, piped || !each.file_fault ? each.fault : each.file_fault) << piped;
        }
    EXPECT_EQ(read_raw(digits, true, {}).count, -1);
    EXPECT_EQ(read_raw(digits, false, {}).count, 7);
}

// Whoever waits for pixels that do not come can be told to stop.
TEST(frame_source, waiting_can_be_cancelled) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    {
        const standard_input input(ends[0]);
        frame_source source;
        std::string fault;
        ASSERT_EQ(open_source({}, {{}, false, raw_format::rgba, source_side, source_side}, source,
                              &fault),
                  0);
        read_result result = read_result::got;
        std::thread reader([&] {
            image_buffer picture;
            result = source.read(0, picture, &fault);
        });
        source.cancel();
        reader.join();
        EXPECT_EQ(result, read_result::failed);
    }
    ::close(ends[1]);
}

} // namespace

} // namespace reel
