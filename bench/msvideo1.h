// FFmpeg's Microsoft Video 1, the codec nearest to ours: the same blocks in another order.
//
//   bench::msvideo1_decoder decoder;
//   bench::open_decoder(1920, 1080, decoder);
//   auto packet = bench::make_packet(bytes);
//   bench::decode_packet(decoder, *packet);            // the picture is in decoder.frame
//   bench::same_picture(decoder, words, 1920, 1080);
//
// One thread each. Every procedure that returns int gives 0, or -1 after a message.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace bench {

struct ffmpeg_freer {
    void operator()(AVCodecContext *context) const { avcodec_free_context(&context); }
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
};
using context_owner = std::unique_ptr<AVCodecContext, ffmpeg_freer>;
using frame_owner = std::unique_ptr<AVFrame, ffmpeg_freer>;
using packet_owner = std::unique_ptr<AVPacket, ffmpeg_freer>;

struct msvideo1_decoder {
    context_owner context;
    frame_owner frame; // what came out last
};

struct msvideo1_encoder {
    context_owner context;
    packet_owner packet; // what came out last
};

[[nodiscard]] int open_decoder(int width, int height, msvideo1_decoder &decoder);
[[nodiscard]] int open_encoder(int width, int height, msvideo1_encoder &encoder);

// A packet that FFmpeg may take without copying it; null when there is no memory.
[[nodiscard]] packet_owner make_packet(std::span<const std::uint8_t> bytes);

// A picture as the encoder wants it: 15 bits, top row first; null when there is no memory.
[[nodiscard]] frame_owner make_frame(std::span<const std::uint32_t> words, int width, int height);

[[nodiscard]] int decode_packet(msvideo1_decoder &decoder, const AVPacket &packet);
[[nodiscard]] int encode_frame(msvideo1_encoder &encoder, const AVFrame &frame);

// Whether the newest decoded picture is the one given (bottom row first, 5 bits used of 8).
[[nodiscard]] bool same_picture(const msvideo1_decoder &decoder,
                                std::span<const std::uint32_t> words, int width, int height);

} // namespace bench
