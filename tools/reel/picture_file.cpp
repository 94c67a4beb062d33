#include "tools/reel/picture_file.h"

#include "tools/reel/frame_pattern.h"
#include "tools/reel/output_file.h"
#include "tools/reel/report.h"

#include <filesystem>

namespace reel {

namespace {

bool is_same_file(const std::string &path, const std::string &other) {
    std::error_code error;
    return std::filesystem::equivalent(path, other, error);
}

// Whether the file is one of those that an input stands for.
bool is_named_by(const std::string &path, const std::string &input) {
    std::error_code error;
    if (std::filesystem::exists(input, error))
        return is_same_file(path, input);
    frame_pattern pattern;
    std::int64_t number = 0;
    return parse_pattern(input, &pattern) == pattern_kind::pattern &&
           match_frame_name(pattern, std::filesystem::path(path).filename().string(), &number) ==
               0 &&
           is_same_file(path, pattern.folder + std::filesystem::path(path).filename().string());
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
    for (const std::string &input : inputs) {
        if (!is_named_by(path, input))
            continue;
        report("%s: it is one of the inputs, so it is not replaced", path.c_str());
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
