// How the program runs: with a user or without, and under a developer's eyes.
//
//   setTarnBatchMode(255);                         // no user: no windows, no questions
//   setTarnBatchOverwriteMode(255);                // and questions answer themselves with yes
#pragma once

#include <cstdint>

namespace toolkit {

// Batch mode: nobody looks. No window opens, nothing is drawn, and questions are answered by the
// overwrite mode. Non-zero is on; off at the start.
void setTarnBatchMode(std::uint16_t on);
[[nodiscard]] std::uint16_t getTarnBatchMode();

// What a question is answered in batch mode: non-zero yes, zero (at the start) no.
void setTarnBatchOverwriteMode(std::uint16_t on);
[[nodiscard]] std::uint16_t getTarnBatchOverwriteMode();

// Non-zero: the first window keeps the process attached to its terminal (gl::foreground).
extern std::int16_t debug_tarn;

} // namespace toolkit
