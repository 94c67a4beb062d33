#include "player/progress_report.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace player {

namespace {

constexpr int seconds_per_minute = 60;
constexpr int seconds_per_hour = 3600;
constexpr int last_minute = 59; // of an hour: the estimate is not rounded up from there
constexpr float most_seconds = 1e9F;

} // namespace

std::int32_t frames_done(const play_args &args) {
    if (args.current == no_frame_yet || args.count < 1)
        return 0;
    const std::int64_t done = std::int64_t{args.current} - args.first + 1;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(done, 0, args.count));
}

int filled_length(const play_args &args, int length) {
    const std::int64_t done = frames_done(args);
    return args.count > 0 ? static_cast<int>(length * done / args.count) : 0;
}

std::string time_line(const play_args &args, std::int64_t elapsed) {
    const std::int32_t done = frames_done(args);
    if (done == 0)
        return "";
    if (done == args.count)
        return "Done.";
    const float estimate =
        static_cast<float>(elapsed) * static_cast<float>(args.count) / static_cast<float>(done);
    const auto total = static_cast<std::int64_t>(std::clamp(estimate, 0.0F, most_seconds));
    const std::int64_t left = std::max<std::int64_t>(total - elapsed, 0);
    const auto hours = static_cast<int>(left / seconds_per_hour);
    auto minutes = static_cast<int>(left % seconds_per_hour / seconds_per_minute);
    if (minutes < last_minute)
        ++minutes;
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "About %.2d:%.2d to go.", hours, minutes);
    return text.data();
}

std::string frame_line(const play_args &args) {
    const std::int32_t done = frames_done(args);
    if (done == 0)
        return "Rendering first frame...\n";
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "Frame %d of %d\n", done, args.count);
    return text.data();
}

} // namespace player
