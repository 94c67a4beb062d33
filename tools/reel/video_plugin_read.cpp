// Reading videos.
#include "tools/reel/video_plugin.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <sys/stat.h>

extern "C" {
#include <libavutil/display.h>
}

namespace reel {

struct input_closer {
    void operator()(AVFormatContext *input) const { avformat_close_input(&input); }
};

struct video_reader {
    std::unique_ptr<AVFormatContext, input_closer> input;
    AVStream *stream = nullptr; // the input's
    codec_owner decoder;
    packet_owner packet;
    frame_owner frame;
    frame_converter converter;
    std::vector<std::uint8_t> matrix; // the stream's display matrix, or nothing
    std::int64_t packets = 0;         // of the stream, so far
    std::int64_t first_time = AV_NOPTS_VALUE;
    std::int64_t last_time = AV_NOPTS_VALUE; // where the newest packets end
    std::int64_t last_byte = 0;              // where they end in the file, if that is known
    std::int64_t pictures = 0;               // so far
    bool drained = false;                    // there are no packets any more
};

namespace {

constexpr std::int64_t max_pixels = std::int64_t{1} << 28;

// What reads text, pictures and the like as if they were videos.
constexpr const char *foreign_formats[] = {"tty", "bin", "xbin", "adf", "idf", "image2"};

bool is_foreign(const AVInputFormat &format) {
    const std::string_view name = format.name;
    return name.ends_with("_pipe") ||
           std::any_of(std::begin(foreign_formats), std::end(foreign_formats),
                       [&](const char *each) { return name == each; });
}

bool is_format(const AVFormatContext &input, std::string_view part) {
    return std::string_view(input.iformat->name).find(part) != std::string_view::npos;
}

bool is_standard_input(std::string_view path) {
    return path == "-";
}

// ---- opening

// What can be said without looking into the file. Returns 0 or -1.
int check_file(const char *path, std::string *fault) {
    struct stat status {};
    if (::stat(path, &status) != 0) {
        *fault = std::strerror(errno);
        return -1;
    }
    const char *reason = S_ISDIR(status.st_mode)                          ? "it is a folder"
                         : S_ISREG(status.st_mode) && status.st_size == 0 ? "it is empty"
                                                                          : nullptr;
    if (reason == nullptr)
        return 0;
    *fault = reason;
    return -1;
}

int open_input(const char *path, video_reader &reader, std::string *fault) {
    if (!is_standard_input(path) && check_file(path, fault) != 0)
        return -1;
    // A name is a file's, never an address, and so are those that a file names.
    const std::string url = is_standard_input(path) ? "pipe:0" : std::string("file:") + path;
    AVDictionary *options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "file,pipe", 0);
    AVFormatContext *input = nullptr;
    int code = avformat_open_input(&input, url.c_str(), nullptr, &options);
    av_dict_free(&options);
    reader.input.reset(input);
    if (code == AVERROR_INVALIDDATA || code == AVERROR_EOF ||
        (code >= 0 && is_foreign(*input->iformat))) {
        *fault = "it is not a video, or it is damaged";
        return -1;
    }
    if (code >= 0)
        code = avformat_find_stream_info(input, nullptr);
    return code < 0 ? fail_av(nullptr, code, fault) : 0;
}

// The decoder of a stream. Those of VP8 and VP9 that know transparency are not the usual ones.
const AVCodec *find_decoder(const AVStream &stream) {
    const AVCodecID id = stream.codecpar->codec_id;
    const AVDictionaryEntry *alpha = av_dict_get(stream.metadata, "alpha_mode", nullptr, 0);
    const AVCodec *special = nullptr;
    if (alpha != nullptr && std::strcmp(alpha->value, "1") == 0)
        special = avcodec_find_decoder_by_name(id == AV_CODEC_ID_VP9   ? "libvpx-vp9"
                                               : id == AV_CODEC_ID_VP8 ? "libvpx"
                                                                       : "");
    return special != nullptr ? special : avcodec_find_decoder(id);
}

int choose_stream(video_reader &reader, std::string *fault) {
    AVFormatContext &input = *reader.input;
    const int index = av_find_best_stream(&input, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (index < 0 || (input.streams[index]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
        *fault = "it holds no moving pictures";
        return -1;
    }
    for (unsigned i = 0; i < input.nb_streams; ++i)
        input.streams[i]->discard =
            static_cast<int>(i) == index ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    reader.stream = input.streams[index];
    std::size_t bytes = 0;
    const std::uint8_t *matrix =
        av_stream_get_side_data(reader.stream, AV_PKT_DATA_DISPLAYMATRIX, &bytes);
    if (matrix != nullptr && bytes >= 9 * sizeof(std::int32_t))
        reader.matrix.assign(matrix, matrix + bytes);
    return 0;
}

int open_decoder(video_reader &reader, std::string *fault) {
    const AVCodecParameters &parameters = *reader.stream->codecpar;
    const AVCodec *codec = find_decoder(*reader.stream);
    if (codec == nullptr) {
        *fault = std::string("there is no decoder for its pictures (") +
                 avcodec_get_name(parameters.codec_id) + ")";
        return -1;
    }
    reader.decoder = own<codec_owner>(avcodec_alloc_context3(codec));
    reader.packet = own<packet_owner>(av_packet_alloc());
    reader.frame = own<frame_owner>(av_frame_alloc());
    AVCodecContext &decoder = *reader.decoder;
    int code = avcodec_parameters_to_context(&decoder, &parameters);
    decoder.pkt_timebase = reader.stream->time_base;
    decoder.thread_count = 0; // one for each processor
    decoder.max_pixels = max_pixels;
    if (code >= 0)
        code = avcodec_open2(&decoder, codec, nullptr);
    return code < 0 ? fail_av("its pictures cannot be decoded", code, fault) : 0;
}

// ---- what a video says of itself

// Microsoft Video 1 of 8 bits is another codec.
bool is_block_coded(const AVCodecParameters &parameters) {
    return parameters.codec_id == AV_CODEC_ID_MSVIDEO1 && parameters.bits_per_coded_sample == 16;
}

// Each packet is a picture.
bool is_packet_picture(const AVCodecParameters &parameters) {
    const AVCodecDescriptor *about = avcodec_descriptor_get(parameters.codec_id);
    return parameters.codec_id == AV_CODEC_ID_MSVIDEO1 ||
           (about != nullptr && (about->props & AV_CODEC_PROP_INTRA_ONLY) != 0);
}

// The packets that the index of the file names, or 0: it names not all of them, or has none.
std::int64_t count_indexed(const video_reader &reader) {
    const bool complete = is_format(*reader.input, "mov") || is_format(*reader.input, "avi");
    return complete && reader.stream->nb_frames > 0
               ? avformat_index_get_entries_count(reader.stream)
               : 0;
}

// The same without those that are there for decoding only.
std::int64_t count_shown(const video_reader &reader) {
    std::int64_t count = 0;
    for (int i = 0; i < count_indexed(reader); ++i) {
        const AVIndexEntry *entry = avformat_index_get_entry(reader.stream, i);
        if (entry != nullptr && (entry->flags & AVINDEX_DISCARD_FRAME) == 0)
            ++count;
    }
    return count;
}

void count_frames(const video_reader &reader, video_info &info) {
    const AVStream &stream = *reader.stream;
    const AVFormatContext &input = *reader.input;
    const std::int64_t indexed = count_shown(reader);
    const bool is_avi = is_format(input, "avi");
    if (indexed > 0) {
        info.count = indexed;
        info.count_is_sure =
            !is_avi || (indexed == stream.nb_frames && is_packet_picture(*stream.codecpar));
        return;
    }
    if (is_format(input, "yuv4mpegpipe") && stream.duration > 0) {
        info.count = stream.duration; // of its size
        info.count_is_sure = true;
        return;
    }
    const double rate =
        info.rate_numerator > 0 ? double{1} * info.rate_numerator / info.rate_denominator : 0;
    if (stream.nb_frames > 0)
        info.count = stream.nb_frames;
    else if (stream.duration > 0)
        info.count =
            std::llround(static_cast<double>(stream.duration) * av_q2d(stream.time_base) * rate);
    else if (input.duration > 0)
        info.count = std::llround(static_cast<double>(input.duration) / AV_TIME_BASE * rate);
    if (info.count <= 0)
        info.count = -1;
}

void describe(const video_reader &reader, video_info &info) {
    const AVCodecParameters &parameters = *reader.stream->codecpar;
    const placement at = place_frame(
        parameters.width, parameters.height,
        reader.matrix.empty() ? nullptr
                              : reinterpret_cast<const std::int32_t *>(reader.matrix.data()));
    info = {};
    info.width = at.width;
    info.height = at.height;
    const AVRational rate = av_guess_frame_rate(reader.input.get(), reader.stream, nullptr);
    if (rate.num > 0 && rate.den > 0) {
        info.rate_numerator = rate.num;
        info.rate_denominator = rate.den;
    }
    count_frames(reader, info);
    info.block_coded = is_block_coded(parameters);
    info.codec = avcodec_get_name(parameters.codec_id);
    const AVRational shape =
        av_guess_sample_aspect_ratio(reader.input.get(), reader.stream, nullptr);
    if (shape.num > 0 && shape.den > 0 && shape.num != shape.den)
        info.note = "its pixels are not square (" + std::to_string(shape.num) + ":" +
                    std::to_string(shape.den) + "), which is left out of account";
}

// ---- reading

// Whether the pictures end long before the time that the file gives for its end.
bool is_too_early(const video_reader &reader) {
    const AVStream &stream = *reader.stream;
    const AVFormatContext &input = *reader.input;
    if (reader.last_time == AV_NOPTS_VALUE || stream.avg_frame_rate.num <= 0)
        return false;
    double whole = 0;
    if (stream.duration > 0)
        whole = static_cast<double>(stream.duration) * av_q2d(stream.time_base);
    else if (input.duration > 0 && input.nb_streams == 1 && // else it may be the sound's
             input.duration_estimation_method != AVFMT_DURATION_FROM_BITRATE)
        whole = static_cast<double>(input.duration) / AV_TIME_BASE;
    const double read =
        static_cast<double>(reader.last_time - reader.first_time) * av_q2d(stream.time_base);
    // Times in other containers than AVI may be rounded.
    const double tolerance = is_format(input, "avi") ? 0.5 : 3;
    return read < whole - tolerance / av_q2d(stream.avg_frame_rate);
}

// A number as Matroska writes it: the zero bits before its first one tell how many bytes follow.
// Returns -1 for one that says that nothing is known.
std::int64_t read_number(AVIOContext &file) {
    constexpr unsigned most_bits = 56;
    auto value = static_cast<std::uint64_t>(avio_r8(&file));
    unsigned bits = 7;
    std::uint64_t head = 0x80;
    for (; bits < most_bits && (value & head) == 0; head >>= 1)
        bits += 7;
    value &= head - 1;
    for (unsigned left = bits / 7; left > 1; --left)
        value = value << 8 | static_cast<unsigned>(avio_r8(&file));
    return value == (std::uint64_t{1} << bits) - 1 ? -1 : static_cast<std::int64_t>(value);
}

// Whether a Matroska file is shorter than its segment, in which all of it stands. To be asked at
// the end of the packets: the file is not read on.
bool is_segment_cut_off(AVIOContext &file) {
    constexpr unsigned segment_name = 0x18538067;
    const std::int64_t size = avio_size(&file);
    if (size < 0 || avio_seek(&file, 4, SEEK_SET) < 0)
        return false;
    const std::int64_t head = read_number(file);
    if (head < 0 || avio_skip(&file, head) < 0 || avio_rb32(&file) != segment_name)
        return false;
    const std::int64_t segment = read_number(file);
    return segment > size - avio_tell(&file);
}

// What is said at the end of the packets: a file may be shorter than it claims. Returns video_end
// or video_failed.
int check_end(const video_reader &reader, std::string *fault) {
    const AVFormatContext &input = *reader.input;
    const bool has_file = input.pb != nullptr;
    if (has_file && input.pb->error < 0)
        return fail_av("it cannot be read on", input.pb->error, fault);
    if (reader.pictures == 0) {
        *fault = "there are no pictures in it";
        return video_failed;
    }
    const bool is_short = is_format(input, "mov") ? reader.packets < count_indexed(reader)
                          : is_format(input, "yuv4mpegpipe")
                              ? avio_tell(input.pb) > reader.last_byte // part of a frame
                              : is_too_early(reader) || (has_file && is_format(input, "matroska") &&
                                                         is_segment_cut_off(*input.pb));
    if (!is_short)
        return video_end;
    *fault = "the file is cut off: there are " + std::to_string(reader.pictures) +
             " frames, and it should go on";
    return video_failed;
}

void note_times(video_reader &reader) {
    const AVPacket &packet = *reader.packet;
    const std::int64_t time = packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
    ++reader.packets;
    reader.last_byte = packet.pos + packet.size;
    if (time == AV_NOPTS_VALUE)
        return;
    if (reader.first_time == AV_NOPTS_VALUE || time < reader.first_time)
        reader.first_time = time;
    reader.last_time =
        std::max(reader.last_time, time + std::max<std::int64_t>(packet.duration, 1));
}

// Brings the stream's next packet. Results as read; at the end nothing is said of a short file.
int next_packet(video_reader &reader, std::string *fault) {
    for (;;) {
        av_packet_unref(reader.packet.get());
        const int code = av_read_frame(reader.input.get(), reader.packet.get());
        if (code == AVERROR_EOF)
            return video_end;
        if (code < 0)
            return fail_av("it is damaged or cut off", code, fault);
        if (reader.packet->stream_index != reader.stream->index)
            continue;
        if ((reader.packet->flags & AV_PKT_FLAG_CORRUPT) != 0) {
            *fault = "it is damaged or cut off";
            return video_failed;
        }
        note_times(reader);
        return video_got;
    }
}

// Gives the decoder something to do. Returns 0 or -1.
int feed_decoder(video_reader &reader, std::string *fault) {
    const int result = next_packet(reader, fault);
    if (result == video_failed)
        return -1;
    reader.drained = result == video_end;
    const int code =
        avcodec_send_packet(reader.decoder.get(), reader.drained ? nullptr : reader.packet.get());
    return code < 0 ? fail_av("its data is damaged", code, fault) : 0;
}

// Decodes the next frame. Results as read.
int next_frame(video_reader &reader, std::string *fault) {
    for (;;) {
        AVFrame &frame = *reader.frame;
        const int code = avcodec_receive_frame(reader.decoder.get(), &frame);
        if (code == AVERROR_EOF)
            return check_end(reader, fault);
        if (code == AVERROR(EAGAIN) && !reader.drained) {
            if (feed_decoder(reader, fault) != 0)
                return video_failed;
            continue;
        }
        if (code < 0)
            return fail_av("its data is damaged", code, fault);
        if ((frame.flags & AV_FRAME_FLAG_CORRUPT) != 0 || frame.decode_error_flags != 0) {
            *fault = "its data is damaged";
            return video_failed;
        }
        ++reader.pictures;
        return video_got;
    }
}

} // namespace

int open_reader(const char *path, video_reader **reader, video_info *info, std::string *fault) {
    auto made = std::make_unique<video_reader>();
    if (open_input(path, *made, fault) != 0 || choose_stream(*made, fault) != 0 ||
        open_decoder(*made, fault) != 0)
        return -1;
    describe(*made, *info);
    if (info->width < 1 || info->height < 1 ||
        std::max(info->width, info->height) > image_max_side) {
        *fault = "it is " + std::to_string(info->width) + "x" + std::to_string(info->height) +
                 " pixels; a side can have 1 to " + std::to_string(image_max_side);
        return -1;
    }
    *reader = made.release();
    return 0;
}

int read_picture(video_reader &reader, image_buffer *picture, std::string *fault) {
    const int result = next_frame(reader, fault);
    if (result != video_got)
        return result;
    const AVFrameSideData *own_matrix =
        av_frame_get_side_data(reader.frame.get(), AV_FRAME_DATA_DISPLAYMATRIX);
    const std::uint8_t *matrix = reader.matrix.empty() ? nullptr : reader.matrix.data();
    if (own_matrix != nullptr && own_matrix->size >= 9 * sizeof(std::int32_t))
        matrix = own_matrix->data;
    return convert_frame(reader.converter, *reader.frame,
                         reinterpret_cast<const std::int32_t *>(matrix), picture, fault) == 0
               ? video_got
               : video_failed;
}

int skip_picture(video_reader &reader, std::string *fault) {
    return next_frame(reader, fault);
}

int read_packet(video_reader &reader, std::vector<std::uint8_t> *packet, std::string *fault) {
    const int result = next_packet(reader, fault);
    if (result == video_end)
        return check_end(reader, fault);
    if (result != video_got)
        return result;
    const std::span<const std::uint8_t> bytes(reader.packet->data,
                                              static_cast<std::size_t>(reader.packet->size));
    packet->assign(bytes.begin(), bytes.end());
    ++reader.pictures;
    return video_got;
}

void close_reader(video_reader *reader) {
    delete reader;
}

} // namespace reel
