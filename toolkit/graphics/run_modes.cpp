#include "toolkit/graphics/run_modes.h"

namespace toolkit {

namespace {
std::uint16_t batch_mode = 0;
std::uint16_t batch_overwrite_mode = 0;
} // namespace

std::int16_t debug_tarn = 0;

void setTarnBatchMode(std::uint16_t on) {
    batch_mode = on;
}
std::uint16_t getTarnBatchMode() {
    return batch_mode;
}

void setTarnBatchOverwriteMode(std::uint16_t on) {
    batch_overwrite_mode = on;
}
std::uint16_t getTarnBatchOverwriteMode() {
    return batch_overwrite_mode;
}

} // namespace toolkit
