// Writing videos.
#include "tools/reel/video_plugin.h"

#include <algorithm>
#include <array>
#include <filesystem>

extern "C" {
#include <libavutil/opt.h>
}

namespace reel {

struct output_closer {
    void operator()(AVFormatContext *output) const {
        avio_closep(&output->pb);
        avformat_free_context(output);
    }
};

struct video_writer {
    std::unique_ptr<AVFormatContext, output_closer> output;
    AVStream *stream = nullptr; // the output's
    codec_owner encoder;        // none for packets that are coded already
    packet_owner packet;
    AVRational frame_time{}; // the time of one frame, which times are counted in before the output
    scaler colours;
    scaler_side words;   // the picture as it comes, in a frame
    scaler_side encoded; // as the encoder wants it
    frame_owner source;
    frame_owner frame;
    std::int64_t count = 0; // frames so far
};

namespace {

// ---- what can be made

using option = std::array<const char *, 2>;

struct codec_choice {
    const char *name;
    const char *encoder; // of libavcodec; null: packets come coded
    AVPixelFormat format;
    std::vector<option> options;
};

// Qualities are such that the loss is hard to see beside the 15-bit colours of a movie.
const std::vector<codec_choice> &all_codecs() {
    static const std::vector<codec_choice> codecs = {
        {"h264", "libx264", AV_PIX_FMT_YUV420P, {{"crf", "16"}, {"preset", "medium"}}},
        {"prores", "prores_ks", AV_PIX_FMT_YUV422P10, {{"profile", "hq"}}},
        {"ffv1", "ffv1", AV_PIX_FMT_BGR0, {{"level", "3"}, {"slices", "4"}, {"slicecrc", "1"}}},
        {"vp9",
         "libvpx-vp9",
         AV_PIX_FMT_YUV420P,
         {{"crf", "20"}, {"b", "0"}, {"deadline", "good"}, {"cpu-used", "3"}, {"row-mt", "1"}}},
        {"cram", nullptr, AV_PIX_FMT_RGB555, {}},
    };
    return codecs;
}

struct container {
    const char *extension;
    const char *muxer;               // of libavformat
    std::vector<std::string> codecs; // the first one is the usual one
    std::vector<option> options;
};

const std::vector<container> &all_containers() {
    static const std::vector<container> containers = {
        {".mp4", "mp4", {"h264", "vp9"}, {{"movflags", "+faststart"}}},
        {".mov", "mov", {"h264", "prores"}, {{"movflags", "+faststart"}}},
        {".mkv", "matroska", {"ffv1", "h264", "prores", "vp9"}, {}},
        {".webm", "webm", {"vp9"}, {}},
        {".avi", "avi", {"cram", "ffv1"}, {}},
    };
    return containers;
}

// "a, b and c"
std::string list_names(const std::vector<std::string> &names) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i)
        text += (i == 0 ? "" : i + 1 < names.size() ? ", " : " and ") + names[i];
    return text;
}

bool holds(const container &each, const std::string &codec) {
    return std::find(each.codecs.begin(), each.codecs.end(), codec) != each.codecs.end();
}

struct choice {
    const container *into = nullptr;
    const codec_choice *codec = nullptr;
};

const container *find_container(const char *path, std::string *fault) {
    std::string extension = std::filesystem::path(path).extension().string();
    for (char &letter : extension)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    std::vector<std::string> known;
    for (const container &each : all_containers()) {
        if (extension == each.extension)
            return &each;
        known.emplace_back(each.extension);
    }
    *fault = "videos can be written as " + list_names(known);
    return nullptr;
}

int choose(const char *path, const std::string &codec, choice &chosen, std::string *fault) {
    chosen.into = find_container(path, fault);
    if (chosen.into == nullptr)
        return -1;
    const std::string wanted = codec.empty() ? chosen.into->codecs.front() : codec;
    std::vector<std::string> names;
    for (const codec_choice &each : all_codecs()) {
        if (each.name == wanted)
            chosen.codec = &each;
        names.emplace_back(each.name);
    }
    if (chosen.codec == nullptr) {
        *fault = "there is no codec " + wanted + "; there are " + list_names(names);
        return -1;
    }
    if (holds(*chosen.into, wanted))
        return 0;
    std::vector<std::string> places;
    for (const container &each : all_containers())
        if (holds(each, wanted))
            places.emplace_back(each.extension);
    *fault = std::string(chosen.into->extension) + " files take " +
             list_names(chosen.into->codecs) + "; " + wanted + " goes into " + list_names(places);
    return -1;
}

// ---- making it

// Sets options, all of which must be known. Returns a code of the library.
int set_options(void *record, const std::vector<option> &options) {
    for (const auto &[name, value] : options)
        if (const int code = av_opt_set(record, name, value, AV_OPT_SEARCH_CHILDREN); code < 0)
            return code;
    return 0;
}

void tag_colours(AVCodecContext &encoder, bool is_rgb) {
    encoder.color_primaries = AVCOL_PRI_BT709;
    encoder.color_trc = is_rgb ? AVCOL_TRC_IEC61966_2_1 : AVCOL_TRC_BT709;
    encoder.colorspace = is_rgb ? AVCOL_SPC_RGB : AVCOL_SPC_BT709;
    encoder.color_range = is_rgb ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
}

int fail_encoder(const codec_choice &chosen, std::string *fault) {
    *fault = std::string("this system's FFmpeg cannot write ") + chosen.name + " (" +
             chosen.encoder + ")";
    return -1;
}

int open_encoder(video_writer &writer, const codec_choice &chosen, const video_settings &settings,
                 std::string *fault) {
    const AVCodec *codec = avcodec_find_encoder_by_name(chosen.encoder);
    if (codec == nullptr)
        return fail_encoder(chosen, fault);
    writer.encoder = own<codec_owner>(avcodec_alloc_context3(codec));
    AVCodecContext &encoder = *writer.encoder;
    const bool is_rgb = chosen.format == AV_PIX_FMT_BGR0;
    encoder.width = settings.width;
    encoder.height = settings.height;
    encoder.pix_fmt = chosen.format;
    encoder.time_base = writer.frame_time;
    encoder.framerate = av_inv_q(writer.frame_time);
    encoder.thread_count = 0; // one for each processor
    tag_colours(encoder, is_rgb);
    if ((writer.output->oformat->flags & AVFMT_GLOBALHEADER) != 0)
        encoder.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    int code = set_options(&encoder, chosen.options);
    if (code >= 0)
        code = avcodec_open2(&encoder, codec, nullptr);
    if (code < 0) {
        const std::string what = std::string("pictures of ") + std::to_string(settings.width) +
                                 "x" + std::to_string(settings.height) + " cannot become " +
                                 chosen.name;
        return fail_av(what.c_str(), code, fault);
    }
    writer.words = {settings.width, settings.height, AV_PIX_FMT_RGB0};
    writer.encoded = {settings.width, settings.height, chosen.format, SWS_CS_ITU709, is_rgb};
    writer.source = own<frame_owner>(av_frame_alloc());
    writer.frame = own<frame_owner>(av_frame_alloc());
    code = avcodec_parameters_from_context(writer.stream->codecpar, &encoder);
    return code < 0 ? fail_av(nullptr, code, fault) : 0;
}

// What stands in the file's head of packets that come coded.
void describe_cram(const video_settings &settings, AVCodecParameters &parameters) {
    parameters.codec_type = AVMEDIA_TYPE_VIDEO;
    parameters.codec_id = AV_CODEC_ID_MSVIDEO1;
    parameters.codec_tag = MKTAG('C', 'R', 'A', 'M');
    parameters.format = AV_PIX_FMT_RGB555;
    parameters.bits_per_coded_sample = 16;
    parameters.width = settings.width;
    parameters.height = settings.height;
}

int open_output(video_writer &writer, const char *path, const choice &chosen,
                const video_settings &settings, std::string *fault) {
    const std::string url = std::string("file:") + path;
    AVFormatContext *output = nullptr;
    int code = avformat_alloc_output_context2(&output, nullptr, chosen.into->muxer, url.c_str());
    if (code < 0)
        return fail_av(nullptr, code, fault);
    writer.output.reset(output);
    writer.stream = avformat_new_stream(output, nullptr);
    if (writer.stream == nullptr)
        throw std::bad_alloc();
    writer.stream->time_base = writer.frame_time;
    writer.stream->avg_frame_rate = av_inv_q(writer.frame_time);
    writer.stream->r_frame_rate = writer.stream->avg_frame_rate;
    if (chosen.codec->encoder == nullptr)
        describe_cram(settings, *writer.stream->codecpar);
    else if (open_encoder(writer, *chosen.codec, settings, fault) != 0)
        return -1;
    code = avio_open2(&output->pb, url.c_str(), AVIO_FLAG_WRITE, nullptr, nullptr);
    if (code >= 0)
        code = set_options(output, chosen.into->options);
    if (code >= 0)
        code = avformat_write_header(output, nullptr);
    return code < 0 ? fail_av(nullptr, code, fault) : 0;
}

// ---- writing

// Sends the packet in the record to the output.
int store_packet(video_writer &writer, std::string *fault) {
    AVPacket &packet = *writer.packet;
    packet.stream_index = writer.stream->index;
    if (packet.duration == 0)
        packet.duration = 1;
    av_packet_rescale_ts(&packet, writer.frame_time, writer.stream->time_base);
    int code = av_interleaved_write_frame(writer.output.get(), &packet);
    if (code >= 0)
        code = writer.output->pb->error;
    return code < 0 ? fail_av(nullptr, code, fault) : 0;
}

// Stores all packets that the encoder has ready. Returns 0 or -1.
int drain_encoder(video_writer &writer, std::string *fault) {
    for (;;) {
        const int code = avcodec_receive_packet(writer.encoder.get(), writer.packet.get());
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF)
            return 0;
        if (code < 0)
            return fail_av("it cannot be encoded", code, fault);
        if (store_packet(writer, fault) != 0)
            return -1;
    }
}

int encode_frame(video_writer &writer, const AVFrame *frame, std::string *fault) {
    const int code = avcodec_send_frame(writer.encoder.get(), frame);
    if (code < 0)
        return fail_av("it cannot be encoded", code, fault);
    return drain_encoder(writer, fault);
}

// Brings words into a frame, its top row first, each one changed by `change`.
template <typename changing>
void fill_frame(std::span<const std::uint32_t> words, AVFrame &frame, changing change) {
    const auto width = static_cast<std::size_t>(frame.width);
    for (int y = 0; y < frame.height; ++y) {
        const auto row =
            words.subspan(static_cast<std::size_t>(frame.height - 1 - y) * width, width);
        auto *to = reinterpret_cast<std::uint32_t *>(
            frame.data[0] + static_cast<std::ptrdiff_t>(y) * frame.linesize[0]);
        std::transform(row.begin(), row.end(), to, change);
    }
}

// Makes the encoder's frame of words. Returns 0 or -1.
int make_frame(video_writer &writer, std::span<const std::uint32_t> words, std::string *fault) {
    AVFrame &frame = *writer.frame;
    if (prepare_frame(frame, writer.encoded, fault) != 0)
        return -1;
    if (writer.encoded.format == AV_PIX_FMT_BGR0) {
        fill_frame(words, frame, [](std::uint32_t word) {
            return (word & 0xFF) << 16 | (word & 0xFF00) | (word >> 16 & 0xFF);
        });
    } else {
        if (prepare_frame(*writer.source, writer.words, fault) != 0 ||
            prepare_scaler(writer.colours, writer.words, writer.encoded, SWS_BICUBIC, 0, fault) !=
                0)
            return -1;
        fill_frame(words, *writer.source, [](std::uint32_t word) { return word; });
        const int code = sws_scale_frame(writer.colours.context.get(), &frame, writer.source.get());
        if (code < 0)
            return fail_av("its pictures cannot be converted", code, fault);
    }
    frame.color_range = writer.encoder->color_range;
    frame.colorspace = writer.encoder->colorspace;
    frame.color_primaries = writer.encoder->color_primaries;
    frame.color_trc = writer.encoder->color_trc;
    frame.pts = writer.count;
    return 0;
}

} // namespace

int check_settings(const char *path, video_settings &settings, std::string *fault) {
    choice chosen;
    if (choose(path, settings.codec, chosen, fault) != 0)
        return -1;
    settings.codec = chosen.codec->name;
    if (chosen.codec->encoder == nullptr ||
        avcodec_find_encoder_by_name(chosen.codec->encoder) != nullptr)
        return 0;
    return fail_encoder(*chosen.codec, fault);
}

int create_writer(const char *path, const video_settings &settings, video_writer **writer,
                  std::string *fault) {
    choice chosen;
    if (choose(path, settings.codec, chosen, fault) != 0)
        return -1;
    auto made = std::make_unique<video_writer>();
    made->frame_time = {1, settings.rate};
    made->packet = own<packet_owner>(av_packet_alloc());
    if (open_output(*made, path, chosen, settings, fault) != 0)
        return -1;
    *writer = made.release();
    return 0;
}

int write_picture(video_writer &writer, std::span<const std::uint32_t> words, std::string *fault) {
    if (writer.encoder == nullptr ||
        words.size() < static_cast<std::size_t>(writer.words.width) *
                           static_cast<std::size_t>(writer.words.height)) {
        *fault = "these are no pictures for it";
        return -1;
    }
    if (make_frame(writer, words, fault) != 0 ||
        encode_frame(writer, writer.frame.get(), fault) != 0)
        return -1;
    ++writer.count;
    return 0;
}

int write_packet(video_writer &writer, std::span<const std::uint8_t> packet, std::string *fault) {
    if (writer.encoder != nullptr || packet.size() < 2) {
        *fault = "these are no packets for it";
        return -1;
    }
    av_packet_unref(writer.packet.get());
    const int code = av_new_packet(writer.packet.get(), static_cast<int>(packet.size()));
    if (code < 0)
        return fail_av(nullptr, code, fault);
    std::copy(packet.begin(), packet.end(), writer.packet->data);
    // Our pictures skip nothing, our repeats everything: a player can start at a picture.
    constexpr unsigned skip_code_bits = 0xFC;
    constexpr unsigned skip_code = 0x84;
    if ((packet[1] & skip_code_bits) != skip_code)
        writer.packet->flags |= AV_PKT_FLAG_KEY;
    writer.packet->pts = writer.count;
    writer.packet->dts = writer.count;
    if (store_packet(writer, fault) != 0)
        return -1;
    ++writer.count;
    return 0;
}

int finish_writer(video_writer &writer, std::string *fault) {
    if (writer.encoder != nullptr && encode_frame(writer, nullptr, fault) != 0)
        return -1;
    int code = av_write_trailer(writer.output.get());
    if (code >= 0)
        code = writer.output->pb->error;
    if (code >= 0)
        code = avio_closep(&writer.output->pb);
    return code < 0 ? fail_av(nullptr, code, fault) : 0;
}

void close_writer(video_writer *writer) {
    delete writer;
}

} // namespace reel
