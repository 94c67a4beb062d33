// The video readers and writers behind video_io.h, over FFmpeg's libraries. The files
// video_plugin*.cpp alone make the module reel_videos.so; it reports nothing itself and lets no
// exception out.
#include "tools/reel/video_plugin.h"

#include <new>

extern "C" {
#include <libavutil/opt.h>
}

namespace reel {

std::string describe_av_error(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    if (av_strerror(code, text, sizeof text) != 0)
        return "error " + std::to_string(code);
    return text;
}

int fail_av(const char *what, int code, std::string *fault) {
    if (code == AVERROR(ENOMEM))
        throw std::bad_alloc();
    *fault = (what != nullptr ? std::string(what) + ": " : "") + describe_av_error(code);
    return -1;
}

int prepare_scaler(scaler &made, const scaler_side &from, const scaler_side &to, int filter,
                   int threads, std::string *fault) {
    if (made.context != nullptr && made.from == from && made.to == to)
        return 0;
    made.context = own<scaler_owner>(sws_alloc_context());
    SwsContext *context = made.context.get();
    constexpr int flags = SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;
    const struct {
        const char *name;
        std::int64_t value;
    } settings[] = {{"srcw", from.width}, {"srch", from.height},        {"src_format", from.format},
                    {"dstw", to.width},   {"dsth", to.height},          {"dst_format", to.format},
                    {"threads", threads}, {"sws_flags", filter | flags}};
    int code = 0;
    for (const auto &[name, value] : settings)
        if (code >= 0)
            code = av_opt_set_int(context, name, value, 0);
    if (code >= 0)
        code = sws_init_context(context, nullptr, nullptr);
    constexpr int one = 1 << 16; // contrast and saturation as they are
    if (code >= 0)
        // Fails where there is nothing to set, as between RGB formats.
        (void)sws_setColorspaceDetails(
            context, sws_getCoefficients(from.coefficients), from.full_range ? 1 : 0,
            sws_getCoefficients(to.coefficients), to.full_range ? 1 : 0, 0, one, one);
    if (code < 0) {
        made.context.reset();
        return fail_av("its pictures cannot be converted", code, fault);
    }
    made.from = from;
    made.to = to;
    return 0;
}

int prepare_frame(AVFrame &frame, const scaler_side &side, std::string *fault) {
    if (frame.buf[0] != nullptr && frame.width == side.width && frame.height == side.height &&
        frame.format == side.format && av_frame_is_writable(&frame) == 1)
        return 0;
    av_frame_unref(&frame);
    frame.width = side.width;
    frame.height = side.height;
    frame.format = side.format;
    const int code = av_frame_get_buffer(&frame, 0);
    return code < 0 ? fail_av("there is no room for a picture", code, fault) : 0;
}

namespace {

// Runs a procedure; a lack of memory becomes a fault.
template <typename procedure> int guard(std::string *fault, procedure run) {
    try {
        return run();
    } catch (const std::exception &) {
        *fault = "there is not enough memory for it";
        return -1;
    }
}

static_assert(video_failed == -1);

constexpr video_module procedures = {
    [](const char *path, video_reader **reader, video_info *info, std::string *fault) {
        return guard(fault, [&] { return open_reader(path, reader, info, fault); });
    },
    [](video_reader *reader, image_buffer *picture, std::string *fault) {
        return guard(fault, [&] { return read_picture(*reader, picture, fault); });
    },
    [](video_reader *reader, std::string *fault) {
        return guard(fault, [&] { return skip_picture(*reader, fault); });
    },
    [](video_reader *reader, std::vector<std::uint8_t> *packet, std::string *fault) {
        return guard(fault, [&] { return read_packet(*reader, packet, fault); });
    },
    close_reader,
    [](const char *path, video_settings *settings, std::string *fault) {
        return guard(fault, [&] { return check_settings(path, *settings, fault); });
    },
    [](const char *path, const video_settings &settings, video_writer **writer,
       std::string *fault) {
        return guard(fault, [&] { return create_writer(path, settings, writer, fault); });
    },
    [](video_writer *writer, std::span<const std::uint32_t> words, std::string *fault) {
        return guard(fault, [&] { return write_picture(*writer, words, fault); });
    },
    [](video_writer *writer, std::span<const std::uint8_t> packet, std::string *fault) {
        return guard(fault, [&] { return write_packet(*writer, packet, fault); });
    },
    [](video_writer *writer, std::string *fault) {
        const int result = guard(fault, [&] { return finish_writer(*writer, fault); });
        close_writer(writer);
        return result;
    },
    close_writer,
    [](std::span<const std::uint32_t> words, int width, int height, int new_width, int new_height,
       std::vector<std::uint32_t> *made, std::string *fault) {
        return guard(fault, [&] {
            return resize_picture(words, width, height, new_width, new_height, made, fault);
        });
    },
};

} // namespace

} // namespace reel

extern "C" __attribute__((visibility("default"))) const reel::video_module *reel_video_module() {
    av_log_set_level(AV_LOG_QUIET); // what went wrong is said once, by us
    return &reel::procedures;
}
