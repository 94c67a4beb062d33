// Time code: frame numbers as hours:minutes:seconds:frames, or as plain counts (cells).
//
//   set_smpte_frame_rate(25);
//   smpte_record s;
//   frame_to_smpte(&s, 1501);                      // 0:1:0:1
//   char text[smpte_text_size];
//   smpte_sprintf(text, s);                        // "00:01:00:01"
//   float frame = 0;
//   if (s_to_f("1:2", &frame) != 0)                // 27: one second and two frames
//       ...
//
// The display mode and the frame rate are the process's. There is no drop-frame counting: at 29.97
// a second's frames are 0 .. 29. Reals become integers by truncation toward zero; what an integer
// can not hold stays at its ends, not-a-number is 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace toolkit {

struct smpte_record {
    std::int32_t hours = 0;
    std::int32_t minutes = 0;
    std::int32_t seconds = 0;
    std::int32_t frames = 0;
    bool operator==(const smpte_record &) const = default;
};

// --- the process's settings ----------------------------------------------------------------------

void set_smpte_display_smpte(); // as it begins
void set_smpte_display_cells();
[[nodiscard]] int inq_smpte_display(); // 1: time code; 0: cells

void set_smpte_frame_rate(double rate); // above 0; at first 30. Others are ignored
[[nodiscard]] double get_smpte_frame_rate();

// --- records -------------------------------------------------------------------------------------

void clear_smpte(smpte_record *s);
void smpte_copy(smpte_record *to, const smpte_record &from);
[[nodiscard]] int smpte_compare(const smpte_record &a, const smpte_record &b); // 1: equal; else 0

[[nodiscard]] std::int32_t smpte_to_frame(const smpte_record &s);
void frame_to_smpte(smpte_record *s, std::int32_t frame); // negative: no field is above 0

void smpte_add(smpte_record *result, const smpte_record &a, const smpte_record &b);
void smpte_sub(smpte_record *result, const smpte_record &a, const smpte_record &b);
void smpte_jog(smpte_record *result, const smpte_record &a, std::int32_t frames);

// --- texts ---------------------------------------------------------------------------------------

inline constexpr std::size_t smpte_text_size = 48; // of any record, with the closing zero

void smpte_prt(const smpte_record &s); // "%2d:%02d:%02d:%02d" on standard output

// Writes "%02d:%02d:%02d:%02d"; cut to the buffer, always closed.
void smpte_sprintf(std::span<char> buffer, const smpte_record &s);

// Reads four integers from standard input. Returns 0, or -1 when they are not there: *s is as it
// was then.
int get_smpte(smpte_record *s);

// What a text of a frame value means, and back, in the display mode in force.
// s_to_f: 255 and the value; 0 when the text holds none, *value is as it was then. Fields of a time
// code are separated by blanks and colons, and counted from the last: frames, seconds, minutes,
// hours. Of a field the first 10 characters count, of more fields the first four.
int s_to_f(std::string_view text, float *value);
void f_to_s(float value, std::span<char> buffer);

} // namespace toolkit
