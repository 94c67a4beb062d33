#include "tools/reel/parallel.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace reel {

int count_workers() {
    return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, max_workers);
}

void run_parallel(int most, const std::function<void(int worker)> &procedure) {
    std::exception_ptr failure;
    std::mutex guard; // of failure
    const auto run = [&](int worker) {
        try {
            procedure(worker);
        } catch (...) {
            const std::lock_guard lock(guard);
            failure = std::current_exception();
        }
    };
    std::vector<std::jthread> helpers;
    for (int worker = 1; worker < std::min(most, count_workers()); ++worker) {
        try {
            helpers.emplace_back(run, worker);
        } catch (const std::system_error &) { // no threads left
            break;
        }
    }
    run(0);
    helpers.clear(); // waits for them
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace reel
