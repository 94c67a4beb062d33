#include "tools/reel/info.h"

#include "tools/reel/reel_file.h"
#include "tools/reel/report.h"

#include <cstdio>

namespace reel {

namespace {

// What is told about a movie.
struct summary {
    double seconds = 0; // 0 when the rate says nothing
    std::vector<frame_range> missing;
    std::vector<frame_range> repeated;
    std::vector<frame_range> damaged;
};

summary summarise(const reel_file &file) {
    summary made;
    const movie::vf_movie &film = *file.film;
    if (film.rate > 0)
        made.seconds = static_cast<double>(film.count) / film.rate;
    made.missing = frames_in_state(file, frame_state::missing);
    made.repeated = frames_in_state(file, frame_state::repeat);
    for (std::size_t i = 0; i < file.frames.size(); ++i) {
        const frame_state state = file.frames[i].state;
        if (state == frame_state::offset_outside || state == frame_state::offset_in_head ||
            state == frame_state::chunk_cut_off)
            add_to_ranges(made.damaged, static_cast<std::int64_t>(i));
    }
    return made;
}

void print_ranges(const char *label, const std::vector<frame_range> &ranges) {
    const auto count = static_cast<long long>(count_in_ranges(ranges));
    std::printf("  %-10s %lld", label, count);
    if (count > 0)
        std::printf(" (%s)", format_ranges(ranges).c_str());
    std::putchar('\n');
}

void print_text(const std::string &name, const reel_file &file) {
    const movie::vf_movie &film = *file.film;
    const summary told = summarise(file);
    std::printf("%s\n", name.c_str());
    std::printf("  %-10s %dx%d\n", "size", film.width, film.height);
    std::printf("  %-10s %d\n", "frames", film.count);
    std::printf("  %-10s %d frames/s\n", "rate", film.rate);
    if (film.rate > 0)
        std::printf("  %-10s %.2f s\n", "duration", told.seconds);
    std::printf("  %-10s %d\n", "threshold", film.threshold);
    std::printf("  %-10s %lld\n", "bytes", static_cast<long long>(file.bytes));
    print_ranges("repeated", told.repeated);
    print_ranges("missing", told.missing);
    print_ranges("damaged", told.damaged);
}

// How many bytes a well-formed UTF-8 character takes at the front of the text; 0 when there is
// none.
std::size_t utf8_length(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    const std::size_t length = lead < 0x80                   ? 1
                               : lead >= 0xC2 && lead < 0xE0 ? 2
                               : lead >= 0xE0 && lead < 0xF0 ? 3
                               : lead >= 0xF0 && lead < 0xF5 ? 4
                                                             : 0;
    if (length == 0 || length > text.size())
        return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80)
            return 0;
    return length;
}

// A JSON string. Bytes of a file name that are not UTF-8 become the replacement character.
std::string quote(std::string_view text) {
    std::string quoted = "\"";
    while (!text.empty()) {
        const auto c = static_cast<unsigned char>(text[0]);
        const std::size_t length = utf8_length(text);
        if (length == 0) {
            quoted += "\\ufffd";
        } else if (c < 0x20 || c == '"' || c == '\\') {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", c);
            quoted += escape;
        } else {
            quoted += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return quoted + '"';
}

// "name": how many, "name_frames": [[first, last], ...]
void print_json_ranges(const char *name, const std::vector<frame_range> &ranges) {
    std::printf(", \"%s\": %lld, \"%s_frames\": [", name,
                static_cast<long long>(count_in_ranges(ranges)), name);
    const char *separator = "";
    for (const frame_range &range : ranges) {
        std::printf("%s[%lld, %lld]", separator, static_cast<long long>(range.first),
                    static_cast<long long>(range.last));
        separator = ", ";
    }
    std::putchar(']');
}

void print_json(const std::string &name, const reel_file &file) {
    const movie::vf_movie &film = *file.film;
    const summary told = summarise(file);
    std::printf("{\"file\": %s, \"width\": %d, \"height\": %d, \"frames\": %d, \"rate\": %d, "
                "\"threshold\": %d, ",
                quote(name).c_str(), film.width, film.height, film.count, film.rate,
                film.threshold);
    if (film.rate > 0)
        std::printf("\"seconds\": %.6f, ", told.seconds);
    else
        std::printf("\"seconds\": null, ");
    std::printf("\"bytes\": %lld", static_cast<long long>(file.bytes));
    print_json_ranges("repeated", told.repeated);
    print_json_ranges("missing", told.missing);
    print_json_ranges("damaged", told.damaged);
    std::printf("}");
}

} // namespace

int run_info(const info_options &options) {
    int status = exit_good;
    const char *separator = "[";
    for (const std::string &name : options.files) {
        reel_file file;
        if (open_reel(name, file) != 0) {
            status = exit_failed;
            continue;
        }
        if (options.json) {
            std::printf("%s", separator);
            print_json(name, file);
            separator = ",\n ";
        } else {
            print_text(name, file);
        }
    }
    if (options.json)
        std::printf("%s]\n", separator[0] == '[' ? "[" : "");
    return status;
}

} // namespace reel
