// Our packets against FFmpeg's decoder, and all the way back; foreign and damaged packets.
#include "tools/reel/cram.h"

#include "movie/ir1.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace reel {

namespace {

using bytes = std::vector<std::uint8_t>;
using words = std::vector<std::uint32_t>;
using random_source = std::mt19937;

constexpr unsigned colour_bits = 0x7FFF; // a decoder may leave bit 15 set

unsigned below(random_source &random, unsigned limit) {
    return static_cast<unsigned>(random() % limit);
}

// ---- streams

void put_word(bytes &to, unsigned word) {
    to.push_back(static_cast<std::uint8_t>(word >> 8));
    to.push_back(static_cast<std::uint8_t>(word));
}

// A colour; often one of few, so that they meet, or one that looks like a skip in a frame.
unsigned any_colour(random_source &random) {
    switch (below(random, 4)) {
    case 0:
        return below(random, 2) * 0x1234;
    case 1:
        return 0x0400 + below(random, 0x400);
    default:
        return below(random, 0x8000);
    }
}

// A mask; often one of those that need special care.
unsigned any_mask(random_source &random) {
    constexpr unsigned masks[] = {0,      0xFFFF, 0x0008, 0xFFF7, 0x00C8,
                                  0xCC08, 0x3300, 0x33CC, 0xCC00};
    return below(random, 2) == 0 ? masks[below(random, std::size(masks))] : below(random, 0x10000);
}

// A stream of whatever blocks a writer may write.
bytes any_stream(random_source &random, int width, int height) {
    bytes stream;
    put_word(stream, static_cast<unsigned>(width));
    put_word(stream, static_cast<unsigned>(height));
    for (int i = 0; i < width / 4 * (height / 4); ++i) {
        const bool detailed = below(random, 2) == 0;
        put_word(stream, any_mask(random));
        put_word(stream, any_colour(random) | (detailed ? 0x8000 : 0));
        const bool plain = below(random, 3) == 0;
        for (int k = 1; k < (detailed ? 8 : 2); ++k) {
            const auto before =
                static_cast<unsigned>(stream[stream.size() - 2] << 8 | stream.back());
            put_word(stream, plain ? before & colour_bits : any_colour(random));
        }
    }
    return stream;
}

words decode_stream(const bytes &stream, int width, int height) {
    static const movie::ir1_table table = movie::IR1_init_tables();
    words picture(static_cast<std::size_t>(width * height), 0xDEADBEEF);
    EXPECT_EQ(movie::IR1_decompress(*table, stream, picture), 0);
    return picture;
}

// ---- FFmpeg's decoder

struct freer {
    void operator()(AVCodecContext *context) const { avcodec_free_context(&context); }
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
};

struct judge {
    int width;
    int height;
    std::unique_ptr<AVCodecContext, freer> context;
    std::unique_ptr<AVFrame, freer> frame{av_frame_alloc()};

    judge(int w, int h) : width(w), height(h) {
        av_log_set_level(AV_LOG_QUIET);
        const AVCodec *codec = avcodec_find_decoder(AV_CODEC_ID_MSVIDEO1);
        context.reset(avcodec_alloc_context3(codec));
        context->width = w;
        context->height = h;
        context->bits_per_coded_sample = 16;
        context->thread_count = 1;
        EXPECT_EQ(avcodec_open2(context.get(), codec, nullptr), 0);
    }

    // Our words of what it makes of a packet; none when it refuses it.
    words decode(const bytes &packet) {
        const std::unique_ptr<AVPacket, freer> copy(av_packet_alloc());
        EXPECT_EQ(av_new_packet(copy.get(), static_cast<int>(packet.size())), 0);
        std::copy(packet.begin(), packet.end(), copy->data);
        if (avcodec_send_packet(context.get(), copy.get()) != 0 ||
            avcodec_receive_frame(context.get(), frame.get()) != 0)
            return {};
        words picture;
        for (int y = height - 1; y >= 0; --y)
            for (std::ptrdiff_t x = 0; x < width; ++x) {
                std::uint16_t pixel = 0;
                std::memcpy(&pixel, frame->data[0] + std::ptrdiff_t{y} * frame->linesize[0] + 2 * x,
                            sizeof pixel);
                picture.push_back(static_cast<std::uint32_t>(
                    (pixel & 0x1F) << 19 | (pixel >> 5 & 0x1F) << 11 | (pixel >> 10 & 0x1F) << 3));
            }
        return picture;
    }
};

// ---- pictures that our encoder meets

words any_picture(random_source &random, int kind, int width, int height) {
    words picture;
    const std::uint32_t base = below(random, 0x1000000);
    for (int i = 0; i < width * height; ++i) {
        const auto x = static_cast<std::uint32_t>(i % width);
        const auto y = static_cast<std::uint32_t>(i / width);
        const std::uint32_t noise = below(random, 0x1000000);
        const std::uint32_t words_of_kinds[] = {
            noise,                                                   // every block detailed
            base,                                                    // one colour
            (x * 3 & 0xFF) | (y * 2 & 0xFF) << 8 | (x & 0xFF) << 16, // soft
            (base & 0xF8F8F8) | (noise & 0x070707), // both groups in the same 15-bit colour
            (base & 0xF0F0F0) | (noise & 0x0F0F0F), // or in the neighbouring one
            below(random, 2) * 0xFFFFFF,
        };
        picture.push_back(words_of_kinds[kind]);
    }
    return picture;
}

constexpr int picture_kinds = 6;

TEST(cram, streams_of_our_encoder_come_back) {
    constexpr int width = 64;
    constexpr int height = 48;
    random_source random(1);
    judge ffmpeg(width, height);
    for (int kind = 0; kind < picture_kinds; ++kind)
        for (const int threshold : {-1, 0, 4, 12, 255}) {
            SCOPED_TRACE(testing::Message() << "kind " << kind << " threshold " << threshold);
            bytes stream(movie::ir1_worst_case(width, height));
            const std::int64_t size = movie::IR1_compress(any_picture(random, kind, width, height),
                                                          width, height, stream, threshold);
            ASSERT_GT(size, 0);
            stream.resize(static_cast<std::size_t>(size));
            bytes packet;
            bytes back;
            ASSERT_EQ(cram_from_ir1(stream, packet), 0);
            EXPECT_EQ(ffmpeg.decode(packet), decode_stream(stream, width, height));
            ASSERT_EQ(ir1_from_cram(packet, width, height, back), 0);
            EXPECT_EQ(back, stream);
            EXPECT_LT(packet.size(), stream.size() + stream.size() / 20);
        }
}

TEST(cram, any_stream_comes_back) {
    bytes back; // of whatever size it was
    for (unsigned seed = 0; seed < 400; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_source random(seed);
        const int width = 4 * static_cast<int>(1 + below(random, 12));
        const int height = 4 * static_cast<int>(1 + below(random, 9));
        const bytes stream = any_stream(random, width, height);
        const words picture = decode_stream(stream, width, height);
        bytes packet;
        ASSERT_EQ(cram_from_ir1(stream, packet), 0);
        ASSERT_EQ(judge(width, height).decode(packet), picture);
        // The video may have been said to be a little larger than its blocks.
        ASSERT_EQ(ir1_from_cram(packet, width + 3, height + 1, back), 0);
        ASSERT_EQ(back, stream);
        // What stands behind the picture never changes it.
        for (int i = 0; i < 8; ++i) {
            bytes changed = packet;
            for (std::size_t at = packet.size() - std::min<std::size_t>(packet.size(), 4);
                 at < packet.size(); ++at)
                changed[at] = static_cast<std::uint8_t>(random());
            if (judge(width, height).decode(changed) == picture) {
                ASSERT_EQ(ir1_from_cram(changed, width, height, back), 0);
                ASSERT_EQ(decode_stream(back, width, height), picture);
            }
        }
    }
}

TEST(cram, repeats_leave_the_picture) {
    constexpr int sizes[][2] = {{4, 4}, {64, 48}, {4096, 4}, {1024, 512}};
    for (const auto &[width, height] : sizes) {
        random_source random(7);
        judge ffmpeg(width, height);
        const bytes stream = any_stream(random, width, height);
        bytes packet;
        bytes repeat;
        ASSERT_EQ(cram_from_ir1(stream, packet), 0);
        make_cram_repeat(width, height, repeat);
        const words picture = ffmpeg.decode(packet);
        ASSERT_FALSE(picture.empty());
        EXPECT_EQ(ffmpeg.decode(repeat), picture) << width << "x" << height;
        bytes back;
        ASSERT_EQ(ir1_from_cram(packet, width, height, back), 0);
        ASSERT_EQ(ir1_from_cram(repeat, width, height, back), 0);
        EXPECT_EQ(back, stream);
        ASSERT_EQ(ir1_from_cram({}, width, height, back), 0);
        EXPECT_EQ(back, stream);
        back.clear();
        ASSERT_EQ(ir1_from_cram(repeat, width, height, back), 0);
        EXPECT_EQ(decode_stream(back, width, height),
                  words(static_cast<std::size_t>(width * height)));
    }
}

// Words of which many mean something: skips, one-colour codes, flat and detailed blocks.
bytes any_packet(random_source &random) {
    bytes packet;
    for (unsigned left = 1 + below(random, 400); left > 0; --left) {
        unsigned word = below(random, 0x10000);
        if (below(random, 4) == 0)
            word = 0x8400 + below(random, below(random, 8) == 0 ? 0x400 : 6);
        packet.push_back(static_cast<std::uint8_t>(word));
        packet.push_back(static_cast<std::uint8_t>(word >> 8));
    }
    if (below(random, 2) == 0)
        packet.pop_back();
    return packet;
}

TEST(cram, foreign_packets_show_what_ffmpeg_shows) {
    constexpr int width = 40;
    constexpr int height = 28;
    int taken = 0;
    int refused = 0;
    for (unsigned seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        random_source random(seed);
        judge ffmpeg(width, height);
        bytes packet;
        bytes back;
        ASSERT_EQ(cram_from_ir1(any_stream(random, width, height), packet), 0);
        for (int i = 0; i < 8; ++i) {
            const words expected = ffmpeg.decode(packet);
            const bytes before = back;
            if (ir1_from_cram(packet, width, height, back) != 0) {
                ASSERT_EQ(back, before);
                ++refused;
                break; // FFmpeg keeps the blocks before the end of the packet
            }
            ASSERT_EQ(decode_stream(back, width, height), expected);
            ++taken;
            packet = any_packet(random);
        }
    }
    EXPECT_GT(taken, 500);
    EXPECT_GT(refused, 100);
}

// Some decoders take a mask of no bits for the end of the picture.
TEST(cram, no_mask_is_zero) {
    for (const unsigned mask : {0U, 0x00CCU, 0x0033U, 0xCC00U})
        for (const bool detailed : {false, true}) {
            bytes stream = {0, 4, 0, 4};
            put_word(stream, mask);
            for (unsigned i = 0; i < (detailed ? 8U : 2U); ++i)
                put_word(stream, (detailed && i == 0 ? 0x8000 : 0) | (i + 1));
            bytes packet;
            bytes back;
            ASSERT_EQ(cram_from_ir1(stream, packet), 0);
            EXPECT_NE(packet[0] | packet[1], 0) << mask;
            ASSERT_EQ(ir1_from_cram(packet, 4, 4, back), 0);
            EXPECT_EQ(back, stream) << mask;
        }
}

TEST(cram, refuses_what_is_not_whole) {
    random_source random(3);
    const bytes stream = any_stream(random, 8, 8);
    bytes packet;
    for (std::size_t size = 0; size < stream.size(); ++size)
        ASSERT_EQ(cram_from_ir1(std::span(stream).first(size), packet), -1) << size;
    ASSERT_EQ(cram_from_ir1(stream, packet), 0);
    const auto end =
        std::search(packet.begin(), packet.end(), std::begin("IR1"), std::prev(std::end("IR1")));
    ASSERT_NE(end, packet.end());
    bytes back = stream;
    for (std::ptrdiff_t size = 1; size < end - packet.begin() - 2; ++size)
        ASSERT_EQ(
            ir1_from_cram(std::span(packet).first(static_cast<std::size_t>(size)), 8, 8, back), -1)
            << size;
    for (const auto &[width, height] : {std::pair{3, 8}, {8, 0}, {-8, 8}, {32768, 4}})
        ASSERT_EQ(ir1_from_cram(packet, width, height, back), -1);
    EXPECT_EQ(back, stream);
}

} // namespace

} // namespace reel
