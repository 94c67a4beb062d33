#include "platform/clock/program_clock.h"

#include <algorithm>
#include <cerrno>
#include <ctime>

namespace program_clock {
namespace {

constexpr std::int64_t ns_per_us = 1000;

struct manual_clock {
    bool in_place = false;
    std::int64_t now = 0;
    std::int64_t process = 0;
};
manual_clock manual;

std::int64_t read_us(clockid_t id) {
    timespec t{};
    clock_gettime(id, &t);
    return std::int64_t{t.tv_sec} * us_per_second + t.tv_nsec / ns_per_us;
}

} // namespace

std::int64_t now_us() {
    return manual.in_place ? manual.now : read_us(CLOCK_MONOTONIC);
}

std::int64_t process_us() {
    return manual.in_place ? manual.process : read_us(CLOCK_PROCESS_CPUTIME_ID);
}

bool is_manual() {
    return manual.in_place;
}

void use_manual_clock(std::int64_t start_us) {
    manual = {true, start_us, start_us};
}

void use_system_clock() {
    manual.in_place = false;
}

void advance_us(std::int64_t us) {
    manual.now += us;
    manual.process += us;
}

void advance_process_us(std::int64_t us) {
    manual.process += us;
}

void sleep_until_us(std::int64_t due_us) {
    if (manual.in_place) {
        manual.now = std::max(manual.now, due_us);
        return;
    }
    const timespec due{due_us / us_per_second, (due_us % us_per_second) * ns_per_us};
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &due, nullptr) == EINTR) {
    }
}

} // namespace program_clock
