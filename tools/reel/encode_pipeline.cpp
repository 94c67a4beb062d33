#include "tools/reel/encode_pipeline.h"

#include "movie/ir1.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <csignal>
#include <exception>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

namespace reel {

namespace {

constexpr int strip_words = 1 << 15; // unpacked at a time: half of a second-level cache, at most
constexpr int most_threads = 64;
constexpr std::size_t spare_slots = 2;                   // besides those that the workers hold
constexpr std::size_t most_bytes = std::size_t{1} << 30; // of all slots, as far as two can do

// One frame under way, and the memory for it.
struct slot {
    image_buffer picture;
    std::vector<std::uint32_t> spare; // apply_edit's
    std::vector<std::uint8_t> packed;
    std::size_t size = 0; // of the stream in packed
    read_result result = read_result::got;
    std::string fault;  // with read_result::failed
    bool ready = false; // for the writer
};

// Positions move on in this order: read by the reader, taken by a worker, written. Without reader
// the workers take what fits into the ring. All is guarded but for the content of slots, each of
// which one thread at a time holds.
struct pipeline {
    const pipeline_settings *settings = nullptr;
    std::vector<slot> ring;
    std::mutex guard;
    std::condition_variable for_reader;
    std::condition_variable for_workers;
    std::condition_variable for_writer;
    std::int64_t fetched = 1; // positions that the reader has passed on
    std::int64_t taken = 0;
    std::int64_t written = 0;
    std::int64_t end = -1; // the first position without a picture; -1: not known yet
    bool stopping = false;
};

slot &slot_of(pipeline &line, std::int64_t position) {
    return line.ring[static_cast<std::size_t>(position) % line.ring.size()];
}

bool is_room(const pipeline &line, std::int64_t position) {
    return position - line.written < static_cast<std::int64_t>(line.ring.size());
}

bool is_past_end(const pipeline &line, std::int64_t position) {
    return line.end >= 0 && position >= line.end;
}

// Runs one thread's step on a slot; what goes wrong is the slot's.
template <typename procedure> void guard_step(slot &work, procedure step) {
    try {
        step();
    } catch (const std::bad_alloc &) {
        work.result = read_result::failed;
        work.fault = "there is not enough memory";
    } catch (const std::exception &error) {
        work.result = read_result::failed;
        work.fault = error.what();
    }
}

// ---- workers

// Returns false, for what goes wrong with a frame.
bool fail(slot &work, const std::string &name, const std::string &reason) {
    work.result = read_result::failed;
    work.fault = name + ": " + reason;
    return false;
}

// Whether the picture in a slot is of the size that all are of.
bool has_right_size(const pipeline_settings &settings, std::int64_t position, slot &work) {
    const edit_plan &plan = *settings.plan;
    const image_buffer &picture = work.picture;
    if (picture.width == plan.width && picture.height == plan.height)
        return true;
    return fail(work, settings.source->name_of(position),
                "it is " + size_text(picture.width, picture.height) +
                    ", but the frames before it are " + size_text(plan.width, plan.height));
}

// Edits and compresses the picture in a slot. Returns false with the slot's fault.
bool compress_picture(const pipeline_settings &settings, std::int64_t position, slot &work) {
    image_buffer &picture = work.picture;
    std::string reason;
    if (apply_edit(*settings.plan, picture, work.spare, &reason) != 0)
        return fail(work, settings.source->name_of(position), reason);
    work.packed.resize(movie::ir1_worst_case(picture.width, picture.height));
    const std::int64_t size = movie::IR1_compress(picture.words, picture.width, picture.height,
                                                  work.packed, settings.threshold);
    if (size < 0)
        return fail(work, settings.source->name_of(position), "it cannot be compressed");
    work.size = static_cast<std::size_t>(size);
    return true;
}

// Begins a stream with the size that it will have.
void write_head(int width, int height, slot &work) {
    const auto put = [&](std::size_t at, int pixels) {
        const int coded = pixels - pixels % movie::ir1_block_size;
        work.packed[at] = static_cast<std::uint8_t>(coded >> 8);
        work.packed[at + 1] = static_cast<std::uint8_t>(coded);
    };
    put(0, width);
    put(2, height);
    work.size = movie::ir1_header_bytes;
}

// Appends the blocks of a strip to the stream of the picture that it is part of. Its head lands on
// the last bytes that are there, which are put back.
bool append_strip(std::span<const std::uint32_t> words, int width, int rows, int threshold,
                  slot &work) {
    std::array<std::uint8_t, movie::ir1_header_bytes> covered{};
    const auto place = std::span(work.packed).subspan(work.size - covered.size());
    std::copy_n(place.begin(), covered.size(), covered.begin());
    const std::int64_t size = movie::IR1_compress(words, width, rows, place, threshold);
    std::copy(covered.begin(), covered.end(), place.begin());
    if (size < 0)
        return false;
    work.size += static_cast<std::size_t>(size) - covered.size();
    return true;
}

// Unpacks and compresses a picture without any edit, a few rows at a time, which stay in the
// processor's cache: block rows follow each other from the top down, so the strips' blocks in
// this order are the picture's.
bool compress_strips(const pipeline_settings &settings, std::int64_t position, slot &work) {
    image_buffer &picture = work.picture;
    constexpr int unit = movie::ir1_block_size;
    const int strip_rows = std::max(strip_words / picture.width / unit, 1) * unit;
    const std::size_t row_words = static_cast<std::size_t>(picture.width);
    picture.words.resize(row_words * static_cast<std::size_t>(strip_rows));
    work.packed.resize(movie::ir1_worst_case(picture.width, picture.height));
    write_head(picture.width, picture.height, work);
    for (int top = picture.height % unit; top < picture.height; top += strip_rows) {
        const int rows = std::min(strip_rows, picture.height - top);
        const auto words =
            std::span(picture.words).first(row_words * static_cast<std::size_t>(rows));
        if (settings.source->unpack(position, picture, top, rows, words, &work.fault) != 0) {
            work.result = read_result::failed;
            return false;
        }
        if (!append_strip(words, picture.width, rows, settings.threshold, work))
            return fail(work, settings.source->name_of(position), "it cannot be compressed");
    }
    return true;
}

bool is_edited(const edit_plan &plan) {
    return plan.crop.has_value() || plan.scaler != nullptr;
}

// Makes the picture in a slot of what the source has in parts. Returns false with the slot's fault.
bool unpack_picture(const frame_source &source, std::int64_t position, slot &work) {
    image_buffer &picture = work.picture;
    picture.words.resize(static_cast<std::size_t>(picture.width) *
                         static_cast<std::size_t>(picture.height));
    if (source.unpack(position, picture, 0, picture.height, picture.words, &work.fault) == 0)
        return true;
    work.result = read_result::failed;
    return false;
}

// What a worker does with a position.
void process_picture(const pipeline_settings &settings, std::int64_t position, slot &work) {
    const frame_source &source = *settings.source;
    const bool in_parts = position > 0 && source.unpack != nullptr; // the first one is whole
    if (in_parts) {
        work.picture.width = source.width;
        work.picture.height = source.height;
    } else if (position > 0 && source.any_order) {
        work.result = source.read(position, work.picture, &work.fault);
    }
    if (work.result != read_result::got || !has_right_size(settings, position, work))
        return;
    if (in_parts && !is_edited(*settings.plan))
        (void)compress_strips(settings, position, work);
    else if (!in_parts || unpack_picture(source, position, work))
        (void)compress_picture(settings, position, work);
}

void run_worker(pipeline &line) {
    const bool reads = line.settings->source->any_order;
    std::unique_lock lock(line.guard);
    for (;;) {
        line.for_workers.wait(lock, [&] {
            return line.stopping || is_past_end(line, line.taken) ||
                   (reads ? is_room(line, line.taken) : line.taken < line.fetched);
        });
        if (line.stopping || is_past_end(line, line.taken))
            return;
        const std::int64_t position = line.taken++;
        slot &work = slot_of(line, position);
        lock.unlock();
        guard_step(work, [&] { process_picture(*line.settings, position, work); });
        lock.lock();
        work.ready = true;
        if (position == line.written)
            line.for_writer.notify_one();
    }
}

// ---- reader

void run_reader(pipeline &line) {
    const frame_source &source = *line.settings->source;
    const auto &read = source.fetch ? source.fetch : source.read;
    std::unique_lock lock(line.guard);
    for (;;) {
        line.for_reader.wait(lock, [&] { return line.stopping || is_room(line, line.fetched); });
        if (line.stopping)
            return;
        const std::int64_t position = line.fetched;
        slot &work = slot_of(line, position);
        lock.unlock();
        guard_step(work, [&] { work.result = read(position, work.picture, &work.fault); });
        lock.lock();
        line.fetched += work.result == read_result::end ? 0 : 1; // a failure is passed on, too
        if (work.result == read_result::got) {
            line.for_workers.notify_one();
            continue;
        }
        line.end = line.fetched;
        line.for_workers.notify_all();
        line.for_writer.notify_one();
        return;
    }
}

// ---- writer

// Waits for the next frame in order. Null when there is none.
slot *wait_for_frame(pipeline &line) {
    std::unique_lock lock(line.guard);
    line.for_writer.wait(
        lock, [&] { return is_past_end(line, line.written) || slot_of(line, line.written).ready; });
    slot &work = slot_of(line, line.written);
    return is_past_end(line, line.written) || work.result == read_result::end ? nullptr : &work;
}

void release_slot(pipeline &line, slot &work) {
    const std::lock_guard lock(line.guard);
    work.ready = false;
    ++line.written;
    line.for_reader.notify_one();
    line.for_workers.notify_one();
}

int write_frames(pipeline &line, const stream_sink &sink, std::string *fault) {
    while (slot *work = wait_for_frame(line)) {
        if (work->result == read_result::failed) {
            *fault = work->fault;
            return -1;
        }
        if (sink(std::span<const std::uint8_t>(work->packed).first(work->size)) != 0)
            return -1;
        release_slot(line, *work);
    }
    return 0;
}

// ---- threads

// The threads of a pipeline; they end with the record.
struct crew {
    pipeline *line = nullptr;
    std::vector<std::jthread> threads;

    explicit crew(pipeline &served) : line(&served) {}
    crew(const crew &) = delete;
    crew &operator=(const crew &) = delete;
    ~crew() {
        {
            const std::lock_guard lock(line->guard);
            line->stopping = true;
        }
        line->for_reader.notify_all();
        line->for_workers.notify_all();
        if (line->settings->source->cancel)
            line->settings->source->cancel();
    }
};

// Starts the threads. Signals stay with this one: it owns the output that they remove.
void start_threads(crew &all, int workers) {
    sigset_t every{};
    sigset_t before{};
    sigfillset(&every);
    ::pthread_sigmask(SIG_SETMASK, &every, &before);
    try {
        pipeline &line = *all.line;
        if (!line.settings->source->any_order)
            all.threads.emplace_back([&line] { run_reader(line); });
        for (int i = 0; i < workers; ++i)
            all.threads.emplace_back([&line] { run_worker(line); });
    } catch (...) {
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

int count_workers(int wanted) {
    const int processors = static_cast<int>(std::thread::hardware_concurrency());
    return std::clamp(wanted > 0 ? wanted : processors, 1, most_threads);
}

// Few large pictures, or many small ones.
std::size_t count_slots(int workers, const edit_plan &plan) {
    const std::size_t read = sizeof(std::uint32_t) * static_cast<std::size_t>(plan.width) *
                             static_cast<std::size_t>(plan.height);
    const std::size_t made = movie::ir1_worst_case(plan.made_width, plan.made_height);
    const std::size_t bytes = 2 * read + 5 * made; // scratch and picture; spare and packed
    return std::clamp<std::size_t>(most_bytes / bytes, 2,
                                   static_cast<std::size_t>(workers) + spare_slots);
}

} // namespace

int run_pipeline(const pipeline_settings &settings, image_buffer first, const stream_sink &sink,
                 std::string *fault) {
    fault->clear();
    const int workers = count_workers(settings.threads);
    pipeline line;
    line.settings = &settings;
    line.ring = std::vector<slot>(count_slots(workers, *settings.plan));
    line.ring[0].picture = std::move(first);
    line.end = settings.source->any_order ? settings.source->count : -1;
    crew all(line);
    start_threads(all, workers);
    return write_frames(line, sink, fault);
}

} // namespace reel
