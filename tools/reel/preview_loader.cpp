#include "tools/reel/preview_loader.h"

#include "tools/reel/picture_edit.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace reel {

namespace {

// The largest size of a picture's shape inside another size.
picture_size size_inside(const image_buffer &picture, int width, int height) {
    const std::int64_t across = std::int64_t{picture.width} * height;
    const std::int64_t up = std::int64_t{picture.height} * width;
    if (across >= up)
        return {width, std::max(static_cast<int>(up / picture.width), 1)};
    return {std::max(static_cast<int>(across / picture.height), 1), height};
}

// Puts a picture into the middle of a black one.
void put_on_black(image_buffer &picture, int width, int height) {
    std::vector<std::uint32_t> words(static_cast<std::size_t>(width) *
                                     static_cast<std::size_t>(height));
    const int left = (width - picture.width) / 2;
    const int bottom = (height - picture.height) / 2;
    for (int row = 0; row < picture.height; ++row) {
        const auto from = picture.words.begin() + std::ptrdiff_t{row} * picture.width;
        std::copy_n(from, picture.width,
                    words.begin() + std::ptrdiff_t{bottom + row} * width + left);
    }
    picture.words = std::move(words);
    picture.width = width;
    picture.height = height;
}

int fit_picture(image_buffer &picture, int width, int height, std::string *fault) {
    if (picture.width == width && picture.height == height)
        return 0;
    picture_edit edit;
    edit.size = size_inside(picture, width, height);
    edit_plan plan;
    std::vector<std::uint32_t> spare;
    if (plan_edit(edit, picture.width, picture.height, plan, fault) != 0 ||
        apply_edit(plan, picture, spare, fault) != 0)
        return -1;
    put_on_black(picture, width, height);
    return 0;
}

read_result read_wanted(preview_loader &loader, loaded_frame &frame, std::int64_t position) {
    if (!frame.path.empty())
        return loader.images->read(frame.path.c_str(), false, &frame.picture, &frame.fault) == 0
                   ? read_result::got
                   : read_result::failed;
    return loader.source->read(position, frame.picture, &frame.fault);
}

void load(preview_loader &loader, loaded_frame &frame, std::int64_t position) {
    try {
        frame.result = read_wanted(loader, frame, position);
        if (frame.result != read_result::got)
            return;
        frame.own_width = frame.picture.width;
        frame.own_height = frame.picture.height;
        if (loader.width == 0) {
            loader.width = frame.picture.width;
            loader.height = frame.picture.height;
        }
        if (fit_picture(frame.picture, loader.width, loader.height, &frame.fault) != 0)
            frame.result = read_result::failed;
    } catch (const std::bad_alloc &) {
        frame.result = read_result::failed;
        frame.fault = "there is not enough memory for its picture";
    }
}

// Reading what comes on standard input by a library cannot be given up: the input ends instead, and
// who waits for it is woken up to find that.
void end_standard_input(std::thread &reader) {
    struct sigaction nothing {};
    nothing.sa_handler = [](int) {}; // without SA_RESTART
    const int empty = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (empty < 0 || sigaction(SIGUSR1, &nothing, nullptr) != 0)
        return;
    dup2(empty, STDIN_FILENO);
    close(empty);
    pthread_kill(reader.native_handle(), SIGUSR1);
}

void signal_loaded(const preview_loader &loader) {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(loader.fd, &one, sizeof one);
}

void run_loader(preview_loader &loader) {
    std::unique_lock lock(loader.guard);
    for (std::int64_t position = 0;;) {
        loader.changed.wait(lock, [&] { return loader.is_ending || !loader.wanted.empty(); });
        if (loader.is_ending)
            return;
        loaded_frame frame;
        frame.number = loader.wanted.front().number;
        frame.path = std::move(loader.wanted.front().path);
        loader.wanted.pop_front();
        loader.is_busy = true;
        lock.unlock();
        load(loader, frame, position);
        position += frame.path.empty() ? 1 : 0;
        lock.lock();
        loader.is_busy = false;
        loader.loaded.push_back(std::move(frame));
        signal_loaded(loader);
    }
}

} // namespace

preview_loader::~preview_loader() {
    stop_loader(*this);
}

int start_loader(preview_loader &loader, const image_module *images, frame_source *source,
                 std::string *fault) {
    loader.images = images;
    loader.source = source;
    loader.fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (loader.fd < 0) {
        *fault = std::strerror(errno);
        return -1;
    }
    try {
        loader.thread = std::thread(run_loader, std::ref(loader));
    } catch (const std::system_error &error) {
        *fault = error.what();
        return -1;
    }
    return 0;
}

void ask_frame(preview_loader &loader, wanted_frame frame) {
    const std::lock_guard lock(loader.guard);
    loader.wanted.push_back(std::move(frame));
    loader.changed.notify_one();
}

std::size_t count_asked(preview_loader &loader) {
    const std::lock_guard lock(loader.guard);
    return loader.wanted.size() + loader.loaded.size() + (loader.is_busy ? 1 : 0);
}

bool take_loaded(preview_loader &loader, loaded_frame &frame) {
    const std::lock_guard lock(loader.guard);
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t got = read(loader.fd, &count, sizeof count);
    if (loader.loaded.empty())
        return false;
    frame = std::move(loader.loaded.front());
    loader.loaded.pop_front();
    if (!loader.loaded.empty())
        signal_loaded(loader);
    return true;
}

void stop_loader(preview_loader &loader) {
    {
        const std::lock_guard lock(loader.guard);
        loader.is_ending = true;
        loader.changed.notify_one();
    }
    if (loader.source != nullptr && loader.source->cancel)
        loader.source->cancel();
    else if (loader.source != nullptr && loader.thread.joinable())
        end_standard_input(loader.thread);
    if (loader.thread.joinable())
        loader.thread.join();
    if (loader.fd >= 0)
        close(loader.fd);
    loader.fd = -1;
}

} // namespace reel
