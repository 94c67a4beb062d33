// What the files of the module reel_videos.so share: libavformat, libavcodec and libswscale behind
// owners, and pictures on their way between our words and their frames. The procedures are those
// of video_module; they may throw std::bad_alloc, which video_plugin.cpp alone turns into a fault.
#pragma once

#include "tools/reel/video_io.h"

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

namespace reel {

struct av_freer {
    void operator()(AVCodecContext *context) const { avcodec_free_context(&context); }
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
    void operator()(SwsContext *context) const { sws_freeContext(context); }
};
using codec_owner = std::unique_ptr<AVCodecContext, av_freer>;
using frame_owner = std::unique_ptr<AVFrame, av_freer>;
using packet_owner = std::unique_ptr<AVPacket, av_freer>;
using scaler_owner = std::unique_ptr<SwsContext, av_freer>;

// An allocation of theirs that found no memory counts as one of ours.
template <typename owner, typename made> owner own(made *pointer) {
    if (pointer == nullptr)
        throw std::bad_alloc();
    return owner(pointer);
}

// "Invalid data found when processing input"
[[nodiscard]] std::string describe_av_error(int code);

// Puts what a library's code means into *fault, behind `what` and a colon when there is one.
// Returns -1.
int fail_av(const char *what, int code, std::string *fault);

// A picture as a scaler knows it.
struct scaler_side {
    int width = 0;
    int height = 0;
    AVPixelFormat format = AV_PIX_FMT_NONE;
    int coefficients = SWS_CS_DEFAULT; // SWS_CS_...: how colours became luma and chroma
    bool full_range = true;            // of luma and chroma
    bool operator==(const scaler_side &) const = default;
};

// A scaler for one conversion; it stands as long as both sides stay the same.
struct scaler {
    scaler_owner context;
    scaler_side from;
    scaler_side to;
};

// Makes the scaler ready. Exact rounding, chroma in full.
//   filter   SWS_BICUBIC, SWS_LANCZOS
//   threads  0: as many as there are processors
// Returns 0 or -1.
[[nodiscard]] int prepare_scaler(scaler &made, const scaler_side &from, const scaler_side &to,
                                 int filter, int threads, std::string *fault);

// Gives a frame memory of its own for a picture, unless it has some that nobody else uses.
// Returns 0 or -1.
[[nodiscard]] int prepare_frame(AVFrame &frame, const scaler_side &side, std::string *fault);

// ---- video_plugin_read.cpp

[[nodiscard]] int open_reader(const char *path, video_reader **reader, video_info *info,
                              std::string *fault);
[[nodiscard]] int read_picture(video_reader &reader, image_buffer *picture, std::string *fault);
[[nodiscard]] int skip_picture(video_reader &reader, std::string *fault);
[[nodiscard]] int read_packet(video_reader &reader, std::vector<std::uint8_t> *packet,
                              std::string *fault);
void close_reader(video_reader *reader);

// ---- video_plugin_picture.cpp

// Where the pixels of a decoded frame go: pixel (x, y), counted from its top left corner, to
// origin + x * right + y * down of the upright picture.
struct placement {
    int width = 0;  // of the picture
    int height = 0; // of the picture
    std::int64_t origin = 0;
    std::int64_t right = 0;
    std::int64_t down = 0;
};

// What a display matrix (null: none) makes of a frame. Turns by other than right angles are left
// out.
[[nodiscard]] placement place_frame(int width, int height, const std::int32_t *matrix);

struct frame_converter {
    scaler colours;
    frame_owner made; // the frame in display colours
};

// Makes a picture of a decoded frame: display colours, transparency over black, upright by the
// matrix. Returns 0 or -1.
[[nodiscard]] int convert_frame(frame_converter &converter, AVFrame &frame,
                                const std::int32_t *matrix, image_buffer *picture,
                                std::string *fault);

// ---- video_plugin_write.cpp

[[nodiscard]] int check_settings(const char *path, video_settings &settings, std::string *fault);
[[nodiscard]] int create_writer(const char *path, const video_settings &settings,
                                video_writer **writer, std::string *fault);
[[nodiscard]] int write_picture(video_writer &writer, std::span<const std::uint32_t> words,
                                std::string *fault);
[[nodiscard]] int write_packet(video_writer &writer, std::span<const std::uint8_t> packet,
                               std::string *fault);
[[nodiscard]] int finish_writer(video_writer &writer, std::string *fault);
void close_writer(video_writer *writer);

// ---- video_plugin_resize.cpp

[[nodiscard]] int resize_picture(std::span<const std::uint32_t> words, int width, int height,
                                 int new_width, int new_height, std::vector<std::uint32_t> *made,
                                 std::string *fault);

} // namespace reel
