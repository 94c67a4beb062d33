#include "bench/msvideo1.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace bench {

namespace {

constexpr unsigned colour_bits = 0x7FFF; // a decoder may leave bit 15 set
constexpr int frames_per_second = 24;

int fail(const char *what, int code) {
    std::fprintf(stderr, "bench: FFmpeg: %s (%d)\n", what, code);
    return -1;
}

unsigned to_15_bits(std::uint32_t word) {
    return (word & 0xF8U) << 7U | (word >> 6U & 0x3E0U) | (word >> 19U & 0x1FU);
}

int open_context(const AVCodec *codec, int width, int height, context_owner &context) {
    context.reset(codec != nullptr ? avcodec_alloc_context3(codec) : nullptr);
    if (context == nullptr)
        return fail("no Microsoft Video 1", 0);
    context->width = width;
    context->height = height;
    context->pix_fmt = AV_PIX_FMT_RGB555;
    context->bits_per_coded_sample = 16;
    context->time_base = {1, frames_per_second};
    context->thread_count = 1;
    const int code = avcodec_open2(context.get(), codec, nullptr);
    return code == 0 ? 0 : fail("the codec can not be opened", code);
}

} // namespace

int open_decoder(int width, int height, msvideo1_decoder &decoder) {
    decoder.frame.reset(av_frame_alloc());
    return decoder.frame == nullptr ? fail("no memory", 0)
                                    : open_context(avcodec_find_decoder(AV_CODEC_ID_MSVIDEO1),
                                                   width, height, decoder.context);
}

int open_encoder(int width, int height, msvideo1_encoder &encoder) {
    encoder.packet.reset(av_packet_alloc());
    return encoder.packet == nullptr ? fail("no memory", 0)
                                     : open_context(avcodec_find_encoder(AV_CODEC_ID_MSVIDEO1),
                                                    width, height, encoder.context);
}

packet_owner make_packet(std::span<const std::uint8_t> bytes) {
    packet_owner packet(av_packet_alloc());
    if (packet == nullptr || av_new_packet(packet.get(), static_cast<int>(bytes.size())) != 0)
        return nullptr;
    std::copy(bytes.begin(), bytes.end(), packet->data);
    return packet;
}

frame_owner make_frame(std::span<const std::uint32_t> words, int width, int height) {
    frame_owner frame(av_frame_alloc());
    if (frame == nullptr)
        return nullptr;
    frame->format = AV_PIX_FMT_RGB555;
    frame->width = width;
    frame->height = height;
    if (av_frame_get_buffer(frame.get(), 0) != 0)
        return nullptr;
    for (std::ptrdiff_t y = 0; y < height; ++y) {
        std::uint8_t *row = frame->data[0] + y * frame->linesize[0];
        const std::uint32_t *from = &words[static_cast<std::size_t>((height - 1 - y) * width)];
        for (std::ptrdiff_t x = 0; x < width; ++x) {
            const auto pixel = static_cast<std::uint16_t>(to_15_bits(from[x]));
            std::memcpy(row + x * static_cast<std::ptrdiff_t>(sizeof pixel), &pixel, sizeof pixel);
        }
    }
    return frame;
}

int decode_packet(msvideo1_decoder &decoder, const AVPacket &packet) {
    // Given back first: the decoder then writes into the same picture again.
    av_frame_unref(decoder.frame.get());
    int code = avcodec_send_packet(decoder.context.get(), &packet);
    if (code == 0)
        code = avcodec_receive_frame(decoder.context.get(), decoder.frame.get());
    return code == 0 ? 0 : fail("a packet can not be decoded", code);
}

int encode_frame(msvideo1_encoder &encoder, const AVFrame &frame) {
    av_packet_unref(encoder.packet.get());
    int code = avcodec_send_frame(encoder.context.get(), &frame);
    if (code == 0)
        code = avcodec_receive_packet(encoder.context.get(), encoder.packet.get());
    return code == 0 ? 0 : fail("a frame can not be encoded", code);
}

bool same_picture(const msvideo1_decoder &decoder, std::span<const std::uint32_t> words, int width,
                  int height) {
    const AVFrame &frame = *decoder.frame;
    if (frame.format != AV_PIX_FMT_RGB555 || frame.width != width || frame.height != height)
        return false;
    for (std::ptrdiff_t y = 0; y < height; ++y) {
        const std::uint8_t *row = frame.data[0] + y * frame.linesize[0];
        const std::uint32_t *ours = &words[static_cast<std::size_t>((height - 1 - y) * width)];
        for (std::ptrdiff_t x = 0; x < width; ++x) {
            std::uint16_t pixel = 0;
            std::memcpy(&pixel, row + x * static_cast<std::ptrdiff_t>(sizeof pixel), sizeof pixel);
            if ((pixel & colour_bits) != to_15_bits(ours[x]))
                return false;
        }
    }
    return true;
}

} // namespace bench
