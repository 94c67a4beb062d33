#include "movie/ir1_kernels.h"

#include "movie/ir1_x86.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace movie {

namespace {

// The ladder of instruction sets, slowest first. A rung's procedure returns its kernels, or null
// when this processor lacks what they need; a rung without one stands for kernels that this build
// does not have. The lowest, scalar, always holds and needs none.
struct rung {
    std::string_view name;
    const ir1_kernels *(*kernels_if_runs)();
};
constexpr std::array<rung, 4> ladder{{
    {"scalar", nullptr},
    {"sse4", ir1_sse4_kernels},
    {"avx2", ir1_avx2_kernels},
    {"avx512", ir1_avx512_kernels},
}};

// The number of rungs that a limit leaves; all of them when it names none.
std::size_t rungs_within(const char *limit) {
    if (limit == nullptr || *limit == '\0') {
        return ladder.size();
    }
    for (std::size_t i = 0; i < ladder.size(); ++i) {
        if (ladder[i].name == limit) {
            return i + 1;
        }
    }
    std::fprintf(stderr, "PLAYER_CPU: unknown level \"%s\" ignored (scalar, sse4, avx2, avx512)\n",
                 limit);
    return ladder.size();
}

} // namespace

const ir1_kernels &ir1_best_kernels(const char *limit) {
    for (std::size_t i = rungs_within(limit); i-- > 1;) {
        if (ladder[i].kernels_if_runs != nullptr) {
            if (const ir1_kernels *kernels = ladder[i].kernels_if_runs()) {
                return *kernels;
            }
        }
    }
    return ir1_scalar_kernels();
}

const ir1_kernels &ir1_active_kernels() {
    static const ir1_kernels &active = ir1_best_kernels(std::getenv("PLAYER_CPU"));
    return active;
}

} // namespace movie
