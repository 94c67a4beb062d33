// Decoded frames as pictures of ours.
#include "tools/reel/video_plugin.h"

#include <algorithm>
#include <cmath>
#include <cstring>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace reel {

namespace {

constexpr int high_definition_lines = 720; // from here on, untagged video has BT.709 colours
constexpr std::uint32_t colour_bits = 0x00FFFFFF;

// Which coefficients a frame's colours were made with. Returns 0 or -1.
int choose_coefficients(const AVFrame &frame, int *coefficients, std::string *fault) {
    switch (frame.colorspace) {
    case AVCOL_SPC_RGB:
    case AVCOL_SPC_UNSPECIFIED:
    case AVCOL_SPC_RESERVED:
        *coefficients = std::min(frame.width, frame.height) >= high_definition_lines
                            ? SWS_CS_ITU709
                            : SWS_CS_ITU601;
        return 0;
    case AVCOL_SPC_BT709:
        *coefficients = SWS_CS_ITU709;
        return 0;
    case AVCOL_SPC_FCC:
        *coefficients = SWS_CS_FCC;
        return 0;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
        *coefficients = SWS_CS_ITU601;
        return 0;
    case AVCOL_SPC_SMPTE240M:
        *coefficients = SWS_CS_SMPTE240M;
        return 0;
    case AVCOL_SPC_BT2020_NCL:
        *coefficients = SWS_CS_BT2020;
        return 0;
    default:
        break;
    }
    const char *name = av_color_space_name(frame.colorspace);
    *fault = std::string("its colours are of a kind that cannot be converted") +
             (name != nullptr ? std::string(" (") + name + ")" : "");
    return -1;
}

// The formats whose name says full range, by the names that do not.
AVPixelFormat plain_format(AVPixelFormat format) {
    switch (format) {
    case AV_PIX_FMT_YUVJ420P:
        return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ411P:
        return AV_PIX_FMT_YUV411P;
    case AV_PIX_FMT_YUVJ422P:
        return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ440P:
        return AV_PIX_FMT_YUV440P;
    case AV_PIX_FMT_YUVJ444P:
        return AV_PIX_FMT_YUV444P;
    default:
        return format;
    }
}

int describe_frame(const AVFrame &frame, scaler_side &side, bool *transparent, std::string *fault) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const AVPixFmtDescriptor *layout = av_pix_fmt_desc_get(format);
    if (layout == nullptr || sws_isSupportedInput(plain_format(format)) == 0) {
        *fault = "its pixels are of a kind that cannot be converted";
        return -1;
    }
    if (std::max(frame.width, frame.height) > image_max_side) {
        *fault = "it is " + std::to_string(frame.width) + "x" + std::to_string(frame.height) +
                 " pixels; a side can have " + std::to_string(image_max_side);
        return -1;
    }
    side.width = frame.width;
    side.height = frame.height;
    side.format = plain_format(format);
    const bool is_colour_difference = (layout->flags & AV_PIX_FMT_FLAG_RGB) == 0 &&
                                      (layout->flags & AV_PIX_FMT_FLAG_PAL) == 0 &&
                                      layout->nb_components >= 3;
    // Grey is full unless it says otherwise, luma with chroma is not.
    side.full_range = frame.color_range == AVCOL_RANGE_JPEG || side.format != format ||
                      (frame.color_range != AVCOL_RANGE_MPEG && !is_colour_difference);
    *transparent = (layout->flags & (AV_PIX_FMT_FLAG_ALPHA | AV_PIX_FMT_FLAG_PAL)) != 0;
    return choose_coefficients(frame, &side.coefficients, fault);
}

std::uint32_t over_black(std::uint32_t pixel) {
    const std::uint32_t alpha = pixel >> 24;
    const auto weigh = [&](unsigned shift) {
        return ((pixel >> shift & 0xFF) * alpha + 127) / 255 << shift;
    };
    return weigh(0) | weigh(8) | weigh(16);
}

void place_pixels(const AVFrame &made, const placement &at, bool transparent,
                  std::vector<std::uint32_t> &words) {
    for (int y = 0; y < made.height; ++y) {
        const std::uint8_t *row = made.data[0] + static_cast<std::ptrdiff_t>(y) * made.linesize[0];
        std::int64_t out = at.origin + y * at.down;
        for (int x = 0; x < made.width; ++x, out += at.right) {
            std::uint32_t pixel = 0;
            std::memcpy(&pixel, row + static_cast<std::size_t>(x) * sizeof pixel, sizeof pixel);
            words[static_cast<std::size_t>(out)] =
                transparent ? over_black(pixel) : pixel & colour_bits;
        }
    }
}

int sign(std::int32_t value) {
    return value > 0 ? 1 : -1;
}

} // namespace

placement place_frame(int width, int height, const std::int32_t *matrix) {
    // A step to the right in the frame is one by (a, b) on the display, a step down one by (c, d),
    // both counted to the right and down.
    constexpr std::int32_t upright[] = {1, 0, 0, 0, 1};
    const std::int32_t *m = matrix != nullptr ? matrix : upright;
    const std::int32_t a = m[0];
    const std::int32_t b = m[1];
    const std::int32_t c = m[3];
    const std::int32_t d = m[4];
    const auto size = [](std::int32_t value) { return std::llabs(static_cast<long long>(value)); };
    const bool exchanged = size(b) > size(a) && size(c) > size(d);
    placement at;
    at.width = exchanged ? height : width;
    at.height = exchanged ? width : height;
    const int across = sign(exchanged ? c : a); // the frame's axis along the display's rows
    const int along = sign(exchanged ? b : d);  // and the one along its columns
    const std::int64_t row = at.width;          // rows of a picture are bottom-up
    at.right = exchanged ? -along * row : across;
    at.down = exchanged ? across : -along * row;
    at.origin = (across > 0 ? 0 : at.width - 1) + (along > 0 ? (at.height - 1) * row : 0);
    return at;
}

int convert_frame(frame_converter &converter, AVFrame &frame, const std::int32_t *matrix,
                  image_buffer *picture, std::string *fault) {
    scaler_side from;
    bool transparent = false;
    if (describe_frame(frame, from, &transparent, fault) != 0)
        return -1;
    scaler_side to = {from.width, from.height, AV_PIX_FMT_RGBA};
    if (!transparent)
        to.format = AV_PIX_FMT_RGB0;
    if (converter.made == nullptr)
        converter.made = own<frame_owner>(av_frame_alloc());
    if (prepare_scaler(converter.colours, from, to, SWS_BICUBIC, 0, fault) != 0 ||
        prepare_frame(*converter.made, to, fault) != 0)
        return -1;
    frame.format = from.format;
    const int code = sws_scale_frame(converter.colours.context.get(), converter.made.get(), &frame);
    if (code < 0)
        return fail_av("its pictures cannot be converted", code, fault);
    const placement at = place_frame(frame.width, frame.height, matrix);
    picture->width = at.width;
    picture->height = at.height;
    picture->has_more = false;
    picture->words.resize(static_cast<std::size_t>(at.width) * static_cast<std::size_t>(at.height));
    place_pixels(*converter.made, at, transparent, picture->words);
    return 0;
}

} // namespace reel
