// The real program: what info and verify tell programs, compare and sheet.
#include "movie/vf.h"
#include "tests/tools/reel/run_program.h"
#include "tools/reel/sheet_layout.h"

#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>

#include <cmath>
#include <optional>

namespace reel {

namespace {

constexpr int width = 32;
constexpr int height = 16;
constexpr int blocks = width * height / 16;
constexpr std::size_t pixels = std::size_t{width} * height;

using picture = std::vector<std::uint32_t>;

// A frame of a test film: a picture, an empty one for a repeat, or none for a missing frame.
using film_frame = std::optional<picture>;

// One colour, which the codec keeps, that tells the frame.
std::uint32_t frame_colour(int frame) {
    return static_cast<std::uint32_t>(frame % 32 * 8) << 16 | 0x4000U |
           static_cast<std::uint32_t>(frame / 32 * 64);
}

picture plain_frame(int frame) {
    return picture(pixels, frame_colour(frame));
}

void write_film(const std::string &path, const std::vector<film_frame> &frames, int rate = 24,
                int w = width) {
    movie::vf_movie film;
    film.magic = movie::vf_magic;
    film.count = static_cast<std::int32_t>(frames.size());
    film.width = w;
    film.height = height;
    film.rate = rate;
    film.threshold = 12;
    ASSERT_EQ(movie::VFopenWrite(film, path.c_str()), 0);
    std::vector<std::uint8_t> packed(movie::ir1_worst_case(w, height));
    for (std::size_t i = 0; i < frames.size(); ++i) {
        if (!frames[i])
            continue;
        std::int64_t bytes = 0;
        if (!frames[i]->empty())
            bytes = movie::IR1_compress(*frames[i], w, height, packed, film.threshold);
        ASSERT_GE(bytes, 0);
        ASSERT_EQ(movie::VFappend(film, static_cast<int>(i),
                                  std::span(packed).first(static_cast<std::size_t>(bytes))),
                  0);
    }
}

std::vector<film_frame> plain_frames(int count) {
    std::vector<film_frame> frames;
    for (int i = 0; i < count; ++i)
        frames.emplace_back(plain_frame(i));
    return frames;
}

// A picture of an image file, its bottom row first, as movies have them.
struct image {
    int w = 0;
    int h = 0;
    picture words;
};

image read_image(const std::string &path) {
    image read;
    const auto input = OIIO::ImageInput::open(path);
    EXPECT_TRUE(input) << path << OIIO::geterror();
    if (!input)
        return read;
    read.w = input->spec().width;
    read.h = input->spec().height;
    std::vector<std::uint8_t> bytes(input->spec().image_pixels() * 3);
    EXPECT_TRUE(input->read_image(0, 0, 0, 3, OIIO::TypeUInt8, bytes.data()));
    for (int y = read.h - 1; y >= 0; --y)
        for (int x = 0; x < read.w; ++x) {
            const std::size_t at =
                3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(read.w) +
                     static_cast<std::size_t>(x));
            read.words.push_back(static_cast<std::uint32_t>(bytes[at + 2]) << 16 |
                                 static_cast<std::uint32_t>(bytes[at + 1]) << 8 | bytes[at]);
        }
    return read;
}

std::uint32_t pixel(const image &from, int x, int y) {
    return from.words[static_cast<std::size_t>(y) * static_cast<std::size_t>(from.w) +
                      static_cast<std::size_t>(x)];
}

TEST(info, tells_sizes_and_detail_without_reading_pictures) {
    const scratch_folder folder;
    const std::string film = folder / "a.reel";
    picture mixed = plain_frame(2);
    for (std::size_t x = 0; x < 12; x += 4)
        mixed[x] = 0xFFFFFF; // three blocks of the bottom row
    write_film(film, {plain_frame(0), picture(), mixed, std::nullopt, plain_frame(4)});
    const int flat = 4 + 6 * blocks;
    const int larger = flat + 3 * 12;
    const auto has = [&](const arguments &words, const std::vector<std::string> &parts) {
        const outcome told = run(words);
        EXPECT_EQ(told.status, 0) << told.err;
        for (const std::string &part : parts)
            EXPECT_TRUE(contains(told.out, part)) << part << "\n" << told.out;
    };
    const std::string most = "{\"bytes\": " + std::to_string(larger) + ", \"frame\": 2}";
    has({"info", "--json", film},
        {"\"pictures\": 3, \"picture_bytes\": " + std::to_string(2 * flat + larger),
         "\"smallest\": {\"bytes\": " + std::to_string(flat) + ", \"frame\": 0}",
         "\"largest\": " + most, "\"detailed_share\": 0.031250", "\"odd_sized_pictures\": 0",
         "\"repeated_frames\": [[1, 1]]", "\"missing_frames\": [[3, 3]]"});
    has({"info", "--json", "--frames", "2-3", film},
        {"[{\"frame\": 2, \"state\": \"picture\", \"bytes\": " + std::to_string(larger) +
             ", \"detailed_share\": 0.093750",
         "{\"frame\": 3, \"state\": \"missing\", \"bytes\": 0, \"detailed_share\": null, "
         "\"offset\": 0, \"fault\": \"it is missing: its table entry is 0\"}]"});
    has({"info", "--list", film},
        {"sizes      |", "3.1 % of the blocks", "2  picture         " + std::to_string(larger)});
    EXPECT_FALSE(contains(run({"info", film}).out, "frame  state"));

    // A size that no picture has says nothing about its blocks.
    std::string bytes = read_bytes(film);
    bytes[28 + 5 * 4 + 17] = static_cast<char>(flat - 2);
    write_bytes(film, bytes);
    has({"info", "--json", film}, {"\"odd_sized_pictures\": 1"});
    const outcome two = run({"info", "--json", folder / "none.reel", film});
    EXPECT_EQ(two.status, 1);
    EXPECT_TRUE(contains(two.out, "none.reel\", \"opened\": false},\n {\"file\": ")) << two.out;
}

TEST(info, heads_are_read_by_several_processors_alike) {
    const scratch_folder folder;
    std::vector<film_frame> frames(10000);
    for (std::size_t i = 0; i < frames.size(); i += 3)
        frames[i] = i % 2 == 0 ? plain_frame(static_cast<int>(i)) : picture();
    write_film(folder / "a.reel", frames);
    const outcome told = run({"info", "--json", folder / "a.reel"});
    EXPECT_TRUE(contains(told.out, "\"pictures\": 1667,")) << told.out.substr(0, 600);
    EXPECT_TRUE(contains(told.out, "\"repeated\": 1667,"));
    EXPECT_TRUE(contains(told.out, "\"missing\": 6666,"));
}

TEST(verify, tells_programs_what_is_wrong_where) {
    const scratch_folder folder;
    const std::string film = folder / "a.reel";
    write_film(film, {plain_frame(0), std::nullopt, plain_frame(2)});
    const int table = 28;
    const int chunk = table + 3 * 4;
    std::string bytes = read_bytes(film);
    bytes[static_cast<std::size_t>(chunk) + 17] = 100; // bytes of data, so in block 16
    write_bytes(film, bytes);
    const outcome told = run({"verify", "--json", film, folder / "b.reel"});
    EXPECT_EQ(told.status, 1);
    const std::string where = std::to_string(chunk + 18 + 100);
    for (const std::string &part :
         {"{\"kind\": \"fault\", \"frame\": 0, \"offset\": " + where,
          "{\"kind\": \"fault\", \"frame\": 1, \"offset\": " + std::to_string(table + 4),
          std::string("{\"kind\": \"remark\", \"frame\": null, \"offset\": "),
          std::string("\"faults\": 2, \"good\": false},\n {\"file\": "),
          std::string("b.reel\", \"opened\": false, ")})
        EXPECT_TRUE(contains(told.out, part)) << part << "\n" << told.out;
}

// Films like_a and b differ in two pixels of frame 3, by 8 in red; a has none of their edges.
struct two_films {
    scratch_folder folder;
    two_films() {
        std::vector<film_frame> frames = plain_frames(6);
        write_film(folder / "a.reel", frames);
        for (std::size_t x = 0; x < 4; ++x)
            (*frames[3])[x] = 0xF83800;
        write_film(folder / "like_a.reel", frames);
        (*frames[3])[0] ^= 0x000008; // both of their quadrant, or the codec would mix them
        (*frames[3])[1] ^= 0x000008;
        write_film(folder / "b.reel", frames);
        frames.pop_back();
        write_film(folder / "short.reel", frames);
        frames[1].reset();
        write_film(folder / "gap.reel", frames);
        const std::string whole = read_bytes(folder / "b.reel"); // of frame 2 all but a byte stays
        write_bytes(folder / "torn.reel",
                    whole.substr(0, 28 + 6 * 4 + 3 * (18 + 8 + 4 * blocks) - 1));
        write_film(folder / "wide.reel", {picture(std::size_t{36} * height)}, 24, 36);
        write_bytes(folder / "junk.png", "neither image nor movie");
    }
};

TEST(compare, judges) {
    const two_films films;
    const double squared = 2 * 64;
    const double samples = 3.0 * width * height;
    char one[32];
    char six[32];
    std::snprintf(one, sizeof one, "%.2f dB", 10 * std::log10(255 * 255 * samples / squared));
    std::snprintf(six, sizeof six, "%.2f dB", 10 * std::log10(255 * 255 * 6 * samples / squared));
    const struct {
        arguments words; // after "compare"; names are in the folder
        int status;
        std::vector<std::string> out;
        const char *err;
    } cases[] = {
        {{"a.reel", "a.reel", "--identical", "--min-psnr", "99"},
         0,
         {"6 compared, 6 identical", "PSNR       identical"},
         ""},
        {{"like_a.reel", "b.reel"},
         0,
         {"6 compared, 5 identical", std::string("PSNR       ") + six,
          std::string("worst      frame 3, ") + one, "2 pixels (0.07 %), by 8 of 255 at most"},
         ""},
        {{"like_a.reel", "b.reel", "--list"}, 0, {"         2   identical"}, ""},
        {{"like_a.reel", "b.reel", "--json"},
         0,
         {"\"worst_frame\": 3", "\"psnr\": null", "\"squared_error\": 128",
          "\"identical_frames\": 5"},
         ""},
        {{"like_a.reel", "b.reel", "--identical"}, 1, {}, "b.reel are not identical"},
        {{"like_a.reel", "b.reel", "--min-psnr", "70"}, 1, {}, "frame 3 has a PSNR of"},
        {{"like_a.reel", "b.reel", "--min-psnr", "50"}, 0, {}, ""},
        {{"like_a.reel", "b.reel", "--identical", "--frames", "0-4x2"}, 0, {"3 compared"}, ""},
        {{"a.reel", "a.reel", "--frames", "4-7"}, 1, {"2 compared"}, "2 of the 4 frames"},
        {{"b.reel", "short.reel"}, 1, {"5 compared"}, "b.reel has 6 frames, "},
        {{"short.reel", "gap.reel"}, 1, {"4 compared, 4 identical"}, "frame 1"},
        {{"a.reel", "wide.reel"}, 1, {}, "pictures of other sizes cannot be compared"},
        {{"a.reel", "torn.reel"}, 1, {"2 compared"}, "\nreel: frames 3-5 cannot be shown either\n"},
        {{"a.reel", "b.reel", "--min-psnr", "nan"}, 2, {}, "\"nan\" is not a number"},
        {{"a.reel", "junk.png"}, 1, {}, "junk.png"},
        {{"a.reel", "none.reel"}, 1, {}, "none.reel: No such file"},
        {{"a.reel"}, 2, {}, "b is required"},
        {{"a.reel", "b.reel", "--gain", "4"}, 2, {}, "--gain requires"},
        {{"a.reel", "b.reel", "-o", "x.#.png", "--frame", "1"}, 2, {}, "--frame makes no sense"},
        {{"a.reel", "b.reel", "-o", "x.zzz"}, 1, {}, "no image format"},
        {{"a.reel", "junk.png", "-o", "junk.png"}, 1, {}, "one of the inputs"},
        {{"a.reel", "b.reel", "-o", "x.png", "--frame", "9"}, 1, {}, "frame 9 was not compared"},
        {{"a.reel", "b.reel", "-o", "no/x.png"}, 1, {}, "No such file"},
    };
    const auto before = films.folder.names();
    for (const auto &each : cases) {
        arguments words = {"compare"};
        for (const std::string &word : each.words) {
            const bool name = contains(word, ".reel") || contains(word, ".png");
            words.push_back(name ? films.folder / word : word);
        }
        const outcome got = run(words);
        EXPECT_EQ(got.status, each.status) << each.err << got.err;
        EXPECT_TRUE(contains(got.err, each.err)) << each.err << "\n" << got.err;
        for (const std::string &part : each.out)
            EXPECT_TRUE(contains(got.out, part)) << part << "\n" << got.out;
        EXPECT_EQ(films.folder.names(), before) << each.err;
    }
    EXPECT_EQ(read_bytes(films.folder / "junk.png"), "neither image nor movie");
}

TEST(compare, paints_the_fault) {
    const two_films films;
    const std::string a = films.folder / "like_a.reel";
    const std::string b = films.folder / "b.reel";
    const outcome made = run({"compare", a, b, "-o", films.folder / "worst.png"});
    ASSERT_EQ(made.status, 0) << made.err;
    EXPECT_TRUE(contains(made.err, "frame 3 of both, and the difference multiplied by 16"))
        << made.err;
    const image worst = read_image(films.folder / "worst.png");
    ASSERT_EQ(worst.w, 3 * width + 16);
    ASSERT_EQ(worst.h, height);
    EXPECT_EQ(pixel(worst, 0, 5), frame_colour(3));
    EXPECT_EQ(pixel(worst, 2 * (width + 8) + 1, 0), 16U * 8) << "red at the bottom left";
    EXPECT_EQ(pixel(worst, 2 * (width + 8) + 2, 0), 0U);

    ASSERT_EQ(run({"compare", a, b, "--alone", "-o", films.folder / "d.##.png"}).status, 0);
    for (int i = 0; i < 6; ++i) {
        const image each = read_image(films.folder / ("d.0" + std::to_string(i) + ".png"));
        ASSERT_EQ(each.w, width);
        EXPECT_EQ(pixel(each, 1, 0), i == 3 ? 8U * 8 : 0U) << i;
    }
}

// A movie keeps the bottom left of pictures whose sides are no multiples of 4.
TEST(compare, a_movie_with_what_it_was_made_of) {
    const scratch_folder folder;
    constexpr int w = width + 3;
    constexpr int h = height + 2;
    for (int frame = 0; frame < 2; ++frame) {
        const std::string path = folder / ("a." + std::to_string(1001 + frame) + ".png");
        const auto output = OIIO::ImageOutput::create(path);
        ASSERT_TRUE(output && output->open(path, OIIO::ImageSpec(w, h, 3, OIIO::TypeUInt8)));
        std::vector<std::uint8_t> bytes;
        for (int i = 0; i < w * h; ++i) {
            const int from_bottom = h - 1 - i / w;
            for (const int value : {i % w / 4 * 16, from_bottom / 4 * 32, frame * 64})
                bytes.push_back(static_cast<std::uint8_t>(value));
        }
        ASSERT_TRUE(output->write_image(OIIO::TypeUInt8, bytes.data()));
        ASSERT_TRUE(output->close());
    }
    ASSERT_EQ(run({"encode", "-o", folder / "a.reel", folder / "a.####.png"}).status, 0);
    const outcome got =
        run({"compare", folder / "a.####.png", folder / "a.reel", "--identical", "--list"});
    EXPECT_EQ(got.status, 0) << got.err << got.out;
    EXPECT_TRUE(contains(got.err, "32x16 pixels at the bottom left are compared")) << got.err;
    EXPECT_TRUE(contains(got.err, "counts from 1001")) << got.err;
    EXPECT_TRUE(contains(got.out, "      1002   identical")) << got.out;
}

// Checks the middle of every cell of a sheet of `count` frames, `chosen` of which are shown.
void expect_sheet(const std::string &path, int count, int chosen, int missing) {
    sheet_layout layout;
    std::string fault;
    ASSERT_EQ(lay_out_sheet({count, width, height, chosen, 0, 0}, layout, &fault), 0);
    const image sheet = read_image(path);
    ASSERT_EQ(sheet.w, layout.width);
    ASSERT_EQ(sheet.h, layout.height);
    for (int cell = 0; cell < layout.count; ++cell) {
        const auto frame = static_cast<int>(position_of_cell(layout, count, cell));
        const cell_place at = place_of_cell(layout, cell);
        for (const auto &[x, y] : {std::pair(at.x, at.y),
                                   {at.x + layout.box_width - 1, at.y + layout.box_height - 1},
                                   {at.x + layout.box_width / 3, at.y + layout.box_height / 2}}) {
            if (frame != missing) {
                ASSERT_EQ(pixel(sheet, x, y), frame_colour(frame)) << frame;
            } else {
                const std::uint32_t grey = pixel(sheet, x, y) & 0xFF;
                ASSERT_EQ(pixel(sheet, x, y), grey * 0x010101U) << frame;
            }
        }
        std::size_t bright = 0; // of the number below
        for (int y = at.y - layout.label_height; y < at.y; ++y)
            for (int x = at.x; x < at.x + layout.box_width; ++x)
                bright += pixel(sheet, x, y) == 0xE0E0E0 ? 1U : 0U;
        EXPECT_GT(bright, 10U) << frame;
    }
}

TEST(sheet, shows_the_frames_it_says) {
    const scratch_folder folder;
    const std::string film = folder / "a é.reel";
    const std::string sheet = folder / "s.png";
    write_film(film, plain_frames(40));
    ASSERT_EQ(run({"sheet", film, "-o", sheet, "--count", "9"}).status, 0);
    expect_sheet(sheet, 40, 9, -1);
    ASSERT_EQ(run({"sheet", film, "-o", sheet}).status, 0);
    expect_sheet(sheet, 40, 0, -1);
    ASSERT_EQ(run({"sheet", film, "-o", sheet, "--frames", "0-19"}).status, 0);
    expect_sheet(sheet, 20, 20, -1);

    // What can only be read in order shows the same.
    ASSERT_EQ(run({"decode", film, "-o", folder / "a.avi"}).status, 0);
    ASSERT_EQ(run({"sheet", folder / "a.avi", "-o", sheet, "--count", "9"}).status, 0);
    expect_sheet(sheet, 40, 9, -1);
    EXPECT_EQ(run({"compare", film, folder / "a.avi", "--identical"}).status, 0);

    std::vector<film_frame> frames = plain_frames(12);
    frames[4].reset();
    write_film(film, frames);
    const outcome holed = run({"sheet", film, "-o", sheet});
    EXPECT_EQ(holed.status, 1);
    EXPECT_TRUE(contains(holed.err, "frame 4")) << holed.err;
    EXPECT_TRUE(contains(holed.err, "11 of 12 frames")) << holed.err;
    expect_sheet(sheet, 12, 0, 4);
}

// Whatever way the inputs are named in, and whether one picture is written or one of every frame.
TEST(pictures, never_replace_their_inputs) {
    const scratch_folder folder;
    const std::string film = folder / "a.reel";
    write_film(film, plain_frames(3));
    std::filesystem::create_directory(folder / "in");
    ASSERT_EQ(run({"decode", film, "-o", folder / "in/f.####.png"}).status, 0);
    const std::string second = read_bytes(folder / "in/f.0001.png");
    const char *const inputs[] = {"in", "in/", "in/f.####.png", "in/f.0000.png"};
    const char *const outputs[] = {"in/f.0001.png", "in/../in/f.0001.png", "in/f.%04d.png"};
    for (const std::string input : inputs)
        for (const std::string output : outputs) {
            for (const arguments &words :
                 {arguments{"compare", film, folder / input, "-o", folder / output},
                  arguments{"sheet", folder / input, "-o", folder / output}}) {
                const outcome got = run(words);
                EXPECT_EQ(got.status, 1) << words[0] << " " << input << " " << output;
                EXPECT_TRUE(contains(got.err, "one of the inputs")) << got.err;
            }
            ASSERT_EQ(read_bytes(folder / "in/f.0001.png"), second) << input << " " << output;
        }
    EXPECT_EQ(run({"compare", film, folder / "in/f.0000.png", "-o", folder / "in/d.#.png"}).status,
              0);
}

TEST(sheet, refuses_and_leaves_nothing_behind) {
    const scratch_folder folder;
    write_film(folder / "a.reel", plain_frames(3));
    write_film(folder / "gone.reel", {std::nullopt, std::nullopt});
    write_film(folder / "none.reel", {});
    std::filesystem::copy_file(folder / "a.reel", folder / "film.0.png");
    const struct {
        arguments words;
        int status;
        const char *message;
    } cases[] = {
        {{"a.reel"}, 2, "--output is required"},
        {{"a.reel", "-o", "s.zzz"}, 1, "no image format"},
        {{"a.reel", "-o", "no/s.png"}, 1, "No such file"},
        {{"a.reel", "-o", "s.png", "--columns", "0"}, 2, "--columns"},
        {{"a.reel", "-o", "s.png", "--width", "33", "--columns", "40"}, 1, "columns need a sheet"},
        {{"a.reel", "-o", "s.png", "--frames", "7-9"}, 1, "frames 0-2"},
        {{"film.0.png", "-o", "film.0.png"}, 1, "one of the inputs"},
        {{"film.#.png", "-o", "film.0.png"}, 1, "one of the inputs"},
        {{"gone.reel", "-o", "s.png"}, 1, "no picture that can be shown"},
        {{"none.reel", "-o", "s.png"}, 1, "none.reel"},
        {{"absent.reel", "-o", "s.png"}, 1, "absent.reel: No such file"},
    };
    const auto before = folder.names();
    for (const auto &each : cases) {
        arguments words = {"sheet"};
        for (const std::string &word : each.words)
            words.push_back(contains(word, ".") ? folder / word : word);
        const outcome got = run(words);
        EXPECT_EQ(got.status, each.status) << each.message << "\n" << got.err;
        EXPECT_TRUE(contains(got.err, each.message)) << each.message << "\n" << got.err;
        EXPECT_EQ(folder.names(), before) << each.message;
    }
    EXPECT_EQ(read_bytes(folder / "film.0.png"), read_bytes(folder / "a.reel"));
}

} // namespace

} // namespace reel
