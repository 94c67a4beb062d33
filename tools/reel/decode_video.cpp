// Frames as a video: one thread decodes them and another hands them to the encoder, which has
// threads of its own.
#include "tools/reel/cram.h"
#include "tools/reel/decode_work.h"
#include "tools/reel/encode.h"
#include "tools/reel/output_file.h"
#include "tools/reel/progress.h"
#include "tools/reel/report.h"
#include "tools/reel/video_io.h"

#include <array>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>

namespace reel {

namespace {

constexpr std::size_t pictures_in_memory = 4;
constexpr const char *packet_codec = "cram"; // the one whose packets are made here

// One frame on its way.
struct video_picture {
    shown_frame shown;                // unless it repeats
    std::vector<std::uint8_t> packet; // the same as a packet of an AVI file, when one is made
    bool repeats = false;             // it is the picture before
    std::string fault;                // why it repeats although it should not
};

// From the decoding thread to the writing one, in order. The records go round: those that are
// done with come back to be filled again.
struct picture_queue {
    std::array<video_picture, pictures_in_memory> pictures;
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<video_picture *> empty;
    std::deque<video_picture *> full;
    bool ended = false; // the writer wants no more, or the decoder can make no more
};

// Takes a record from one of the queue's two sides. Null when it ended.
video_picture *take(picture_queue &queue, std::deque<video_picture *> &side) {
    std::unique_lock hold(queue.mutex);
    queue.changed.wait(hold, [&] { return queue.ended || !side.empty(); });
    if (side.empty())
        return nullptr;
    video_picture *picture = side.front();
    side.pop_front();
    return picture;
}

void give(picture_queue &queue, std::deque<video_picture *> &side, video_picture *picture) {
    const std::lock_guard hold(queue.mutex);
    side.push_back(picture);
    queue.changed.notify_all();
}

void end_queue(picture_queue &queue) {
    const std::lock_guard hold(queue.mutex);
    queue.ended = true;
    queue.changed.notify_all();
}

// ---- the decoding thread

// Fills a record. `before` is the frame whose picture was made last, or -1.
void make_picture(const decode_job &job, int index, bool wants_packet, int &before,
                  video_picture &picture) {
    const int source = job.movie.frames[static_cast<std::size_t>(index)].source;
    picture.fault.clear();
    picture.repeats = source >= 0 && source == before;
    if (picture.repeats)
        return;
    picture.shown.source = -1; // what was there has been written
    picture.fault = show_frame(job.movie, index, picture.shown);
    if (picture.fault.empty() && wants_packet &&
        cram_from_ir1(picture.shown.buffer.packed, picture.packet) != 0)
        picture.fault = "its data is damaged";
    picture.repeats = !picture.fault.empty();
    if (!picture.repeats)
        before = source;
}

void make_pictures(const decode_job &job, bool wants_packets, picture_queue &queue) {
    int before = -1;
    const std::int64_t count = count_selected(job.chosen);
    for (std::int64_t position = 0; position < count; ++position) {
        video_picture *picture = take(queue, queue.empty);
        if (picture == nullptr)
            return;
        make_picture(job, frame_at(job, position), wants_packets, before, *picture);
        give(queue, queue.full, picture);
    }
}

void run_decoder(const decode_job &job, bool wants_packets, picture_queue &queue) {
    try {
        make_pictures(job, wants_packets, queue);
    } catch (const std::exception &) { // there is not enough memory: the pictures end too early
        end_queue(queue);
    }
}

// ---- the writing thread

struct writer_ender {
    const video_module *videos = nullptr;
    void operator()(video_writer *writer) const { videos->discard(writer); }
};

struct video_writing {
    const decode_job &job;
    const video_module &videos;
    bool packets = false; // coded pictures go into the video as they are
    std::unique_ptr<video_writer, writer_ender> writer;
    progress meter;
    std::int64_t held = 0; // frames that show the picture before
};

// What stands before the first picture that can be shown.
int make_black(const video_writing &work, video_picture &picture) {
    const std::size_t pixels =
        static_cast<std::size_t>(work.job.width) * static_cast<std::size_t>(work.job.height);
    picture.shown.buffer.words.assign(pixels, 0);
    if (!work.packets)
        return 0;
    std::vector<std::uint8_t> packed(movie::ir1_worst_case(work.job.width, work.job.height));
    const std::int64_t size = movie::IR1_compress(picture.shown.buffer.words, work.job.width,
                                                  work.job.height, packed, default_threshold);
    if (size < 0)
        return -1;
    packed.resize(static_cast<std::size_t>(size));
    return cram_from_ir1(packed, picture.packet);
}

// The frame that repeats is one of its own in a video of packets.
int write_one(video_writing &work, const video_picture &current, bool repeats,
              std::vector<std::uint8_t> &repeat, std::string *fault) {
    if (!work.packets)
        return work.videos.write(work.writer.get(), current.shown.buffer.words, fault);
    if (!repeats)
        return work.videos.write_packet(work.writer.get(), current.packet, fault);
    if (repeat.empty())
        make_cram_repeat(work.job.width, work.job.height, repeat);
    return work.videos.write_packet(work.writer.get(), repeat, fault);
}

void note_held(video_writing &work, std::int64_t position, const video_picture &picture,
               bool is_black) {
    if (picture.fault.empty())
        return;
    clear_progress(work.meter);
    report("%s: frame %d %s: %s", work.job.options.file.c_str(), frame_at(work.job, position),
           is_black ? "is black" : "shows the one before", picture.fault.c_str());
    ++work.held;
}

// Writes all pictures. Returns 0, or -1 with the reason in *fault.
int write_pictures(video_writing &work, picture_queue &queue, std::string *fault) {
    video_picture black;
    const video_picture *current = &black;
    video_picture *kept = nullptr; // current, when it is of the queue
    std::vector<std::uint8_t> repeat;
    const std::int64_t count = count_selected(work.job.chosen);
    if (make_black(work, black) != 0) {
        *fault = "there is no picture of that size";
        return -1;
    }
    for (std::int64_t position = 0; position < count; ++position) {
        video_picture *next = take(queue, queue.full);
        if (next == nullptr) {
            *fault = "there is not enough memory";
            return -1;
        }
        note_held(work, position, *next, kept == nullptr);
        const bool repeats = next->repeats && position > 0;
        video_picture *done = next;
        if (!next->repeats) {
            done = kept;
            kept = next;
            current = next;
        }
        if (done != nullptr)
            give(queue, queue.empty, done);
        if (write_one(work, *current, repeats, repeat, fault) != 0)
            return -1;
        step_progress(work.meter);
    }
    return 0;
}

// Runs both threads. Returns 0, or -1 with the reason in *fault.
int run_both(video_writing &work, std::string *fault) {
    picture_queue queue;
    for (video_picture &picture : queue.pictures)
        queue.empty.push_back(&picture);
    const std::jthread decoder(
        [&] { run_decoder(work.job, work.packets, queue); }); // joined at the end
    int result = -1;
    try {
        result = write_pictures(work, queue, fault);
    } catch (const std::bad_alloc &) {
        *fault = "there is not enough memory";
    }
    end_queue(queue);
    return result;
}

// The rate that the video has.
int choose_rate(const decode_job &job) {
    const int own_rate = job.movie.film->rate;
    if (job.options.rate.has_value())
        return *job.options.rate;
    if (own_rate >= 1 && own_rate <= max_rate)
        return own_rate;
    report_note("%s: its rate is %d; the video has %d frames per second", job.options.file.c_str(),
                own_rate, default_rate);
    return default_rate;
}

void announce(const video_writing &work, const video_settings &settings) {
    const double seconds = progress_seconds(work.meter);
    std::fprintf(stderr,
                 "reel: %s: %lld frames, %dx%d, %d frames/s, in %.1f s (%.1f frames/s), %lld not "
                 "shown\n",
                 work.job.options.output.c_str(), static_cast<long long>(work.meter.done),
                 settings.width, settings.height, settings.rate, seconds,
                 seconds > 0 ? static_cast<double>(work.meter.done) / seconds : 0,
                 static_cast<long long>(work.held));
}

// Writes the video into a file beside the output, and puts it there. Returns 0, or -1 after a
// report.
int write_video(video_writing &work, const video_settings &settings) {
    const char *output = work.job.options.output.c_str();
    output_file file;
    video_writer *writer = nullptr;
    std::string fault;
    if (start_output(output, file) != 0)
        return -1;
    if (work.videos.create(file.temporary.c_str(), settings, &writer, &fault) != 0) {
        report("%s: %s", output, fault.c_str());
        return -1;
    }
    work.writer = {writer, writer_ender{&work.videos}};
    const bool failed =
        run_both(work, &fault) != 0 || work.videos.finish(work.writer.release(), &fault) != 0;
    clear_progress(work.meter);
    if (failed) {
        report("%s: %s", output, fault.c_str());
        return -1;
    }
    return finish_output(file, true);
}

} // namespace

int decode_to_video(const decode_job &job) {
    const video_module *videos = load_video_module();
    if (videos == nullptr)
        return exit_failed;
    const decode_options &options = job.options;
    video_settings settings = {job.width, job.height, 0, options.codec};
    std::string fault;
    if (videos->check_writer(options.output.c_str(), &settings, &fault) != 0) {
        report("%s: %s", options.output.c_str(), fault.c_str());
        return exit_misused;
    }
    if (is_the_movie(job, options.output))
        return exit_failed;
    settings.rate = choose_rate(job);
    const bool packets = settings.codec == packet_codec;
    video_writing work{
        job, *videos, packets, {}, start_progress("decoding", count_selected(job.chosen))};
    if (write_video(work, settings) != 0)
        return exit_failed;
    announce(work, settings);
    return work.held == 0 ? exit_good : exit_failed;
}

} // namespace reel
