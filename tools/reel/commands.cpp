#include "tools/reel/commands.h"

#include <charconv>
#include <map>

namespace reel {

void add_frames_option(CLI::App &app, std::optional<frame_selection> &frames, const char *meaning) {
    const auto read = [&frames](const std::string &text) {
        frame_selection chosen;
        if (parse_frame_selection(text, &chosen) != 0)
            throw CLI::ValidationError("--frames", "\"" + text +
                                                       "\" is not A-B, A-BxS or A, with A not "
                                                       "above B, a step S of 1 or more and at "
                                                       "most 18 digits each");
        frames = chosen;
    };
    app.add_option_function<std::string>("--frames", read, meaning)->type_name("A-B[xS]");
}

void add_format_option(CLI::App &app, raw_format &format, const char *meaning) {
    static const std::map<std::string, raw_format> names = {
        {"rgb24", raw_format::rgb24}, {"bgr24", raw_format::bgr24}, {"rgba", raw_format::rgba},
        {"bgra", raw_format::bgra},   {"gray8", raw_format::gray8}, {"y4m", raw_format::y4m},
    };
    app.add_option_function<std::string>(
           "--format", [&format](const std::string &name) { format = names.at(name); }, meaning)
        ->check(CLI::IsMember(names))
        ->type_name("FORMAT");
}

CLI::Validator whole_number(int lowest, int highest) {
    const auto fault_of = [lowest, highest](const std::string &text) -> std::string {
        int value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error == std::errc() && end == text.data() + text.size() && value >= lowest &&
            value <= highest)
            return "";
        return "\"" + text + "\" is not a whole number from " + std::to_string(lowest) + " to " +
               std::to_string(highest);
    };
    return {fault_of, std::to_string(lowest) + " to " + std::to_string(highest)};
}

} // namespace reel
