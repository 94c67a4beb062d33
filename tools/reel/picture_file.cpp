#include "tools/reel/picture_file.h"

#include "tools/reel/frame_pattern.h"
#include "tools/reel/output_file.h"
#include "tools/reel/report.h"

#include <filesystem>
#include <vector>

namespace reel {

namespace {

namespace fs = std::filesystem;

bool is_same_file(const fs::path &path, const fs::path &other) {
    std::error_code error;
    return fs::equivalent(path, other, error);
}

fs::path folder_of(const fs::path &path) {
    return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

// Whether a file has a name of a pattern.
bool is_of_pattern(const fs::path &path, const frame_pattern &pattern) {
    std::int64_t number = 0;
    return match_frame_name(pattern, path.filename().string(), &number) == 0 &&
           is_same_file(path, pattern.folder + path.filename().string());
}

// Whether a file's name is that of another file but for a number.
bool is_of_sequence(const fs::path &path, const fs::path &frame) {
    const std::string name = frame.filename().string();
    for (const digit_run &run : find_digit_runs(name)) {
        const frame_pattern pattern = {(folder_of(frame) / "").string(), name.substr(0, run.begin),
                                       name.substr(run.end), 0};
        if (is_of_pattern(path, pattern))
            return true;
    }
    return false;
}

// Whether a file that exists is one of those that an input stands for.
bool is_named_by(const fs::path &path, const std::string &input) {
    std::error_code error;
    if (fs::is_directory(input, error))
        return is_same_file(folder_of(path), input);
    if (fs::exists(input, error))
        return is_same_file(path, input) || is_of_sequence(path, input);
    frame_pattern pattern;
    return parse_pattern(input, &pattern) == pattern_kind::pattern && is_of_pattern(path, pattern);
}

// The files that are there under the names that are to be written.
std::vector<fs::path> find_replaced(const std::string &path) {
    std::vector<fs::path> found;
    std::error_code error;
    if (fs::exists(path, error))
        found.emplace_back(path);
    frame_pattern pattern;
    if (parse_pattern(path, &pattern) != pattern_kind::pattern)
        return found;
    std::int64_t number = 0;
    for (fs::directory_iterator each(folder_of(path), error), end; !error && each != end;
         each.increment(error))
        if (match_frame_name(pattern, each->path().filename().string(), &number) == 0)
            found.push_back(each->path());
    return found;
}

} // namespace

int check_picture_file(const std::string &path, const std::vector<std::string> &inputs) {
    const image_module *images = load_image_module();
    std::string fault;
    if (images == nullptr)
        return -1;
    if (images->check_writer(path.c_str(), &fault) != 0) {
        report("%s: %s", path.c_str(), fault.c_str());
        return -1;
    }
    for (const fs::path &replaced : find_replaced(path))
        for (const std::string &input : inputs) {
            if (!is_named_by(replaced, input))
                continue;
            report("%s: it may be one of the inputs, so it is not replaced", replaced.c_str());
            return -1;
        }
    return 0;
}

int write_picture_file(const std::string &path, const image_buffer &picture) {
    const image_module *images = load_image_module();
    output_file file;
    if (images == nullptr || start_output(path, file) != 0)
        return -1;
    std::string fault;
    if (images->write(file.temporary.c_str(), picture.words, picture.width, picture.height,
                      &fault) != 0) {
        report("%s: %s", path.c_str(), fault.c_str());
        return -1;
    }
    return finish_output(file, false);
}

} // namespace reel
