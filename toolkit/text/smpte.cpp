#include "toolkit/text/smpte.h"

#include "toolkit/text/value_text.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace toolkit {

namespace {

constexpr int answer_true = 255;
constexpr double minutes_per_hour = 60;
constexpr double seconds_per_minute = 60;
constexpr std::size_t most_fields = 4;
constexpr std::size_t field_characters = 10;
constexpr std::string_view separators = " :";

enum class display_mode { smpte = 1, cells = 2 };

struct smpte_state {
    display_mode mode = display_mode::smpte;
    double rate = 30.0;
};
smpte_state state;

// The fields of a time code, in their order; how many there are.
std::size_t read_fields(std::string_view text, std::array<std::int32_t, most_fields> &fields) {
    std::size_t count = 0;
    while (count < most_fields) {
        const std::size_t start = text.find_first_not_of(separators);
        if (start == std::string_view::npos)
            break;
        text.remove_prefix(start);
        const std::size_t end = std::min(text.find_first_of(separators), text.size());
        fields[count] = 0; // what is no number counts as that
        static_cast<void>(
            read_int(text.substr(0, std::min(end, field_characters)), &fields[count]));
        ++count;
        text.remove_prefix(end);
    }
    return count;
}

} // namespace

// ---- the process's settings

void set_smpte_display_smpte() {
    state.mode = display_mode::smpte;
}

void set_smpte_display_cells() {
    state.mode = display_mode::cells;
}

int inq_smpte_display() {
    return state.mode == display_mode::smpte ? 1 : 0;
}

void set_smpte_frame_rate(double rate) {
    if (rate > 0 && std::isfinite(rate))
        state.rate = rate;
}

double get_smpte_frame_rate() {
    return state.rate;
}

// ---- records

void clear_smpte(smpte_record *s) {
    *s = {};
}

void smpte_copy(smpte_record *to, const smpte_record &from) {
    *to = from;
}

int smpte_compare(const smpte_record &a, const smpte_record &b) {
    return a == b ? 1 : 0;
}

std::int32_t smpte_to_frame(const smpte_record &s) {
    return truncate_to_int(
        s.frames +
        state.rate * (s.seconds + seconds_per_minute * (s.minutes + minutes_per_hour * s.hours)));
}

void frame_to_smpte(smpte_record *s, std::int32_t frame) {
    const double minute = state.rate * seconds_per_minute;
    const double hour = minute * minutes_per_hour;
    s->hours = truncate_to_int(frame / hour);
    const std::int32_t in_hour = truncate_to_int(std::fmod(frame, hour));
    s->minutes = truncate_to_int(in_hour / minute);
    const std::int32_t in_minute = truncate_to_int(std::fmod(in_hour, minute));
    s->seconds = truncate_to_int(in_minute / state.rate);
    s->frames = truncate_to_int(std::fmod(in_minute, state.rate));
}

void smpte_add(smpte_record *result, const smpte_record &a, const smpte_record &b) {
    smpte_jog(result, a, smpte_to_frame(b));
}

void smpte_sub(smpte_record *result, const smpte_record &a, const smpte_record &b) {
    frame_to_smpte(result, truncate_to_int(double{1} * smpte_to_frame(a) - smpte_to_frame(b)));
}

void smpte_jog(smpte_record *result, const smpte_record &a, std::int32_t frames) {
    frame_to_smpte(result, truncate_to_int(double{1} * smpte_to_frame(a) + frames));
}

// ---- texts

void smpte_prt(const smpte_record &s) {
    std::printf("%2d:%02d:%02d:%02d", s.hours, s.minutes, s.seconds, s.frames);
}

void smpte_sprintf(std::span<char> buffer, const smpte_record &s) {
    std::snprintf(buffer.data(), buffer.size(), "%02d:%02d:%02d:%02d", s.hours, s.minutes,
                  s.seconds, s.frames);
}

int get_smpte(smpte_record *s) {
    smpte_record read;
    // NOLINTNEXTLINE(cert-err34-c): numbers that are too large are the typist's
    if (std::scanf(" %9d %9d %9d %9d", &read.hours, &read.minutes, &read.seconds, &read.frames) !=
        static_cast<int>(most_fields))
        return -1;
    *s = read;
    return 0;
}

int s_to_f(std::string_view text, float *value) {
    std::array<std::int32_t, most_fields> fields{};
    if (state.mode == display_mode::cells) {
        if (read_int(text, fields.data()) == 0)
            return 0;
        *value = static_cast<float>(fields[0]);
        return answer_true;
    }
    const std::size_t count = read_fields(text, fields);
    if (count == 0)
        return 0;
    const auto from_last = [&](std::size_t place) {
        return place < count ? fields[count - 1 - place] : 0;
    };
    *value = static_cast<float>(
        smpte_to_frame({from_last(3), from_last(2), from_last(1), from_last(0)}));
    return answer_true;
}

void f_to_s(float value, std::span<char> buffer) {
    const std::int32_t frame = truncate_to_int(double{value} + 0.5);
    if (state.mode == display_mode::cells) {
        std::snprintf(buffer.data(), buffer.size(), "%d", frame);
        return;
    }
    smpte_record s;
    frame_to_smpte(&s, frame);
    smpte_sprintf(buffer, s);
}

} // namespace toolkit
