// Any words as a picture, to the encoders of all levels.
//
//   build/fuzz/bin/ir1_encode_fuzz -max_total_time=60 NEW fuzz/corpus/ir1_encode
//
// Input: width, height, two bytes of threshold (signed, the first one higher), then pixels, three
// bytes each; when they run out they begin again, each time a little brighter.
#include "fuzz/kernels_agree.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    constexpr std::size_t head = 4;
    if (size <= head)
        return 0;
    constexpr unsigned longest = 160; // more than the encoders take at once
    const auto width = static_cast<int>(data[0] % longest);
    const auto height = static_cast<int>(data[1] % 20U);
    const int threshold = static_cast<std::int16_t>(data[2] << 8U | data[3]);
    std::vector<std::uint32_t> image(static_cast<std::size_t>(width * height));
    std::size_t at = head;
    unsigned brighter = 0;
    const auto next = [&] {
        const auto value = data[at] + brighter;
        if (++at == size) {
            at = head;
            ++brighter;
        }
        return value & 0xFFU;
    };
    for (std::uint32_t &pixel : image)
        pixel = next() | next() << 8U | next() << 16U | brighter << 24U;
    agree::encode(image, width, height, threshold);
    return 0;
}
