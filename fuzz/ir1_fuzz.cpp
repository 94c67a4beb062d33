// Any bytes as a compressed picture, straight to the decoders of all levels.
//
//   build/fuzz/bin/ir1_fuzz -max_total_time=60 NEW fuzz/corpus/ir1
#include "fuzz/kernels_agree.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    constexpr std::int64_t most_pixels = 1 << 14;
    agree::decode(std::span(data, size), most_pixels);
    return 0;
}
