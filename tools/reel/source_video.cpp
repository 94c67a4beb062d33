// Video files as a source of frames.
#include "tools/reel/cram.h"
#include "tools/reel/sources.h"
#include "tools/reel/video_io.h"

namespace reel {

namespace {

struct video_closer {
    const video_module *videos = nullptr;
    void operator()(video_reader *reader) const { videos->close(reader); }
};

struct video_frames {
    const video_module *videos = nullptr;
    std::unique_ptr<video_reader, video_closer> reader;
    video_info info;
    std::string name;
    chosen_frames chosen;
    bool all = true;       // else certain frames are wanted: each must be there
    std::int64_t next = 0; // the frame that the video gives next
    std::vector<std::uint8_t> packet;
};

read_result fail(const video_frames &from, const std::string &reason, std::string *fault) {
    *fault = name_frame(from.name, from.next) + ": " + reason;
    return read_result::failed;
}

// What the video's end means for frame `wanted`.
read_result end_video(const video_frames &from, std::int64_t wanted, std::string *fault) {
    if (from.all)
        return read_result::end;
    *fault = from.name + ": frame " + std::to_string(wanted) + " is not there: it has " +
             std::to_string(from.next) + " frames";
    return read_result::failed;
}

// Passes over the frames before the one that a position wants, then brings that one by
// `bring(&reason)`; both give the module's results.
template <typename passing, typename bringing>
read_result reach(video_frames &from, std::int64_t position, std::string *fault, passing pass,
                  bringing bring) {
    // All are read up to the end, which tells whether the file was cut off.
    if (!from.all && position >= from.chosen.count)
        return read_result::end;
    const std::int64_t wanted = frame_of(from.chosen, position);
    std::string reason;
    for (; from.next <= wanted; ++from.next) {
        const int result = from.next < wanted ? pass(&reason) : bring(&reason);
        if (result == video_end)
            return end_video(from, wanted, fault);
        if (result != video_got)
            return fail(from, reason, fault);
    }
    return read_result::got;
}

read_result read_frame(video_frames &from, std::int64_t position, image_buffer &picture,
                       std::string *fault) {
    video_reader *reader = from.reader.get();
    return reach(
        from, position, fault,
        [&](std::string *reason) { return from.videos->skip(reader, reason); },
        [&](std::string *reason) { return from.videos->read(reader, &picture, reason); });
}

// Brings a frame of a block-coded video as our codec's stream. A packet that repeats leaves the
// stream of the frame before standing; so does one that is passed over.
read_result read_data(video_frames &from, std::int64_t position, std::vector<std::uint8_t> &stream,
                      std::string *fault) {
    video_reader *reader = from.reader.get();
    const auto bring = [&](std::string *reason) {
        const int result = from.videos->read_packet(reader, &from.packet, reason);
        if (result == video_got &&
            ir1_from_cram(from.packet, from.info.width, from.info.height, stream) != 0) {
            *reason = "its data is damaged";
            return video_failed;
        }
        return result;
    };
    return reach(from, position, fault, bring, bring);
}

int describe_video(const source_options &options, video_frames &from, frame_source &source,
                   std::string *fault) {
    const video_info &info = from.info;
    source.description = from.name;
    if (info.rate_numerator > 0 && info.rate_denominator > 0)
        source.rate = frame_rate{info.rate_numerator, info.rate_denominator};
    if (choose_positions(options, info.count_is_sure ? info.count : -1, source, from.chosen,
                         fault) != 0)
        return -1;
    source.expected = source.count >= 0 ? source.count : info.count;
    from.all = !options.frames.has_value();
    if (!info.note.empty())
        source.notes.push_back(from.name + ": " + info.note);
    return 0;
}

} // namespace

int open_video(const std::string &path, const source_options &options, frame_source &source,
               std::string *fault) {
    const auto from = std::make_shared<video_frames>();
    fault->clear();
    from->videos = load_video_module();
    if (from->videos == nullptr)
        return -1;
    from->name = options.standard_input == raw_format::none ? path : standard_input_name;
    video_reader *reader = nullptr;
    std::string reason;
    if (from->videos->open(path.c_str(), &reader, &from->info, &reason) != 0) {
        *fault = from->name + ": " + reason;
        return -1;
    }
    from->reader = {reader, video_closer{from->videos}};
    if (describe_video(options, *from, source, fault) != 0)
        return -1;
    source.read = [from](std::int64_t position, image_buffer &picture, std::string *why) {
        return read_frame(*from, position, picture, why);
    };
    if (from->info.block_coded) {
        source.width = from->info.width;
        source.height = from->info.height;
        source.read_stream = [from](std::int64_t position, std::vector<std::uint8_t> &stream,
                                    std::string *why) {
            return read_data(*from, position, stream, why);
        };
    }
    source.state = from;
    return 0;
}

} // namespace reel
