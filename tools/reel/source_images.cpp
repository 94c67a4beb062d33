// Image files as a source of frames.
#include "tools/reel/frame_list.h"
#include "tools/reel/sources.h"

namespace reel {

namespace {

struct image_files {
    frame_list list;
    const image_module *images = nullptr;
    bool raw_values = false;
};

std::string name_image(const image_files &files, std::int64_t position) {
    const frame_file &file = files.list.files[static_cast<std::size_t>(position)];
    return name_frame(file.path, file.number);
}

read_result read_image(const image_files &files, std::int64_t position, image_buffer &picture,
                       std::string *fault) {
    if (position >= static_cast<std::int64_t>(files.list.files.size()))
        return read_result::end;
    const frame_file &file = files.list.files[static_cast<std::size_t>(position)];
    if (files.images->read(file.path.c_str(), files.raw_values, &picture, fault) == 0)
        return read_result::got;
    *fault = name_image(files, position) + ": " + *fault;
    return read_result::failed;
}

// Takes the numbers of the files for those of the frames where they are evenly spaced.
void number_frames(const std::vector<frame_file> &files, frame_source &source) {
    const std::int64_t first = files.front().number;
    const std::int64_t step = files.size() > 1 ? files[1].number - first : 1;
    for (std::size_t i = 0; i < files.size(); ++i)
        if (files[i].number != first + step * static_cast<std::int64_t>(i))
            return;
    source.first_number = first;
    source.number_step = step;
}

} // namespace

int open_images(const std::vector<std::string> &inputs, const source_options &options,
                frame_source &source, std::string *fault) {
    const auto files = std::make_shared<image_files>();
    fault->clear();
    files->images = load_image_module();
    files->raw_values = options.raw_values;
    if (files->images == nullptr ||
        find_frames(inputs, files->images->extensions(),
                    options.frames.has_value() ? &*options.frames : nullptr, files->list,
                    fault) != 0)
        return -1;
    source.description = files->list.description;
    source.unit = "image";
    source.count = static_cast<std::int64_t>(files->list.files.size());
    source.notes = files->list.notes;
    source.any_order = true;
    number_frames(files->list.files, source);
    source.read = [files](std::int64_t position, image_buffer &picture, std::string *why) {
        return read_image(*files, position, picture, why);
    };
    source.name_of = [files](std::int64_t position) { return name_image(*files, position); };
    source.state = files;
    return 0;
}

} // namespace reel
