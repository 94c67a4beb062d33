#include "tools/reel/picture_walk.h"

#include "movie/ir1.h"
#include "tools/reel/parallel.h"
#include "tools/reel/report.h"

#include <algorithm>
#include <mutex>

namespace reel {

namespace {

// A source's streams on their way to pictures.
struct stream_decoder {
    movie::ir1_table table = movie::IR1_init_tables();
    std::vector<std::uint8_t> stream;
    std::vector<std::uint8_t> newest; // what an empty stream repeats
};

bool decode_newest(const stream_decoder &decoder, image_buffer &picture) {
    movie::ir1_size size;
    if (decoder.table == nullptr || movie::ir1_read_size(decoder.newest, &size) != 0)
        return false;
    picture.width = size.width;
    picture.height = size.height;
    picture.words.resize(static_cast<std::size_t>(size.width) *
                         static_cast<std::size_t>(size.height));
    return movie::IR1_decompress(*decoder.table, decoder.newest, picture.words) == 0;
}

// What the workers share.
struct walk_state {
    std::span<frame_source *const> sources;
    picture_walk *walk = nullptr;
    std::mutex guard; // of all below, and of the sources that are read in order
    std::int64_t next = 0;
    bool over = false;
    bool failed = false;
    std::string fault;
};

void fail(walk_state &state, const std::string &fault) {
    if (!state.failed)
        state.fault = fault;
    state.failed = true;
    state.over = true;
}

// Brings what has to come in order of one position, with the guard held. Returns whether there is
// such a position; else the walk is over.
bool read_in_order(walk_state &state, std::int64_t position, picture_set &at) {
    bool all = true;
    for (std::size_t i = 0; i < state.sources.size(); ++i) {
        const frame_source &source = *state.sources[i];
        bool ended = source.count >= 0 && position >= source.count;
        if (!ended && !source.any_order) {
            std::string fault;
            const read_result result = source.read(position, at.pictures[i], &fault);
            if (result == read_result::failed) {
                fail(state, fault);
                return false;
            }
            ended = result == read_result::end;
        }
        state.walk->has_ended[i] = ended;
        all = all && !ended;
    }
    if (!all)
        state.over = true;
    return all;
}

// Moves on to the next wanted position. Returns false when there is none.
bool take_position(walk_state &state, picture_set &at) {
    const std::lock_guard lock(state.guard);
    while (!state.over && state.next <= state.walk->last) {
        const std::int64_t position = state.next++;
        if (!read_in_order(state, position, at))
            break;
        state.walk->length = position + 1;
        if (state.walk->wanted == nullptr || state.walk->wanted(position)) {
            at.position = position;
            return true;
        }
    }
    return false;
}

void read_any_order(walk_state &state, picture_set &at) {
    for (std::size_t i = 0; i < state.sources.size(); ++i) {
        const frame_source &source = *state.sources[i];
        std::string &fault = at.faults[i];
        fault.clear();
        if (source.any_order &&
            source.read(at.position, at.pictures[i], &fault) != read_result::got && fault.empty())
            fault = source.description + ": a frame cannot be read";
    }
}

void work(walk_state &state, int worker) {
    picture_set at;
    at.pictures.resize(state.sources.size());
    at.faults.resize(state.sources.size());
    while (take_position(state, at)) {
        read_any_order(state, at);
        if (state.walk->visit(worker, at) == 0)
            continue;
        const std::lock_guard lock(state.guard);
        fail(state, "");
    }
}

} // namespace

void read_by_own_codec(frame_source &source) {
    if (source.read_stream == nullptr || source.any_order)
        return; // a movie is read so anyway
    source.read = [decoder = std::make_shared<stream_decoder>(), read = source.read_stream,
                   name_of = source.name_of](std::int64_t position, image_buffer &picture,
                                             std::string *fault) {
        const read_result result = read(position, decoder->stream, fault);
        if (result != read_result::got)
            return result;
        if (!decoder->stream.empty())
            decoder->newest.swap(decoder->stream);
        if (decode_newest(*decoder, picture))
            return result;
        *fault = name_of(position) + ": its data is damaged";
        return read_result::failed;
    };
}

int walk_pictures(std::span<frame_source *const> sources, picture_walk &walk, std::string *fault) {
    walk_state state;
    state.sources = sources;
    state.walk = &walk;
    walk.length = 0;
    walk.has_ended.assign(sources.size(), false);
    run_parallel(max_workers, [&](int worker) { work(state, worker); });
    *fault = state.fault;
    return state.failed ? -1 : 0;
}

void add_lost_frame(lost_frames &lost, std::int64_t number, const std::string &fault) {
    lost.numbers.push_back(number);
    if (number >= lost.first)
        return;
    lost.first = number;
    lost.fault = fault;
}

void report_lost_frames(lost_frames &lost) {
    if (lost.numbers.empty())
        return;
    report_source_fault(lost.fault);
    std::sort(lost.numbers.begin(), lost.numbers.end());
    std::vector<frame_range> others;
    for (const std::int64_t number : lost.numbers)
        if (number != lost.first)
            add_to_ranges(others, number);
    if (!others.empty())
        report("%s cannot be shown either", format_ranges(others).c_str());
}

} // namespace reel
