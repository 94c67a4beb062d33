// Runs the real program with given words.
#pragma once

#include "tests/tools/reel/scratch_folder.h"

#include <csignal>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace reel {

using arguments = std::vector<std::string>;

struct outcome {
    int status = -1; // exit status, or minus the signal that ended it
    std::string out;
    std::string err;
};

// Starts the program with its outputs in files of the folder `logs`.
//   input  a descriptor for its standard input, or -1 for an empty one
inline pid_t start_program(const scratch_folder &logs, const arguments &words,
                           rlim_t file_limit = RLIM_INFINITY, int input = -1) {
    std::vector<const char *> argv = {REEL_PROGRAM};
    for (const std::string &each : words)
        argv.push_back(each.c_str());
    argv.push_back(nullptr);
    const std::string out = logs / "out";
    const std::string err = logs / "err";
    const pid_t child = ::fork();
    if (child == 0) {
        constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC;
        ::dup2(::open(out.c_str(), flags, 0600), STDOUT_FILENO);
        ::dup2(::open(err.c_str(), flags, 0600), STDERR_FILENO);
        ::dup2(input >= 0 ? input : ::open("/dev/null", O_RDONLY), STDIN_FILENO);
        const struct rlimit limit = {file_limit, file_limit};
        if (file_limit != RLIM_INFINITY)
            ::setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGINT, SIG_DFL);
        std::signal(SIGPIPE, SIG_DFL);
        ::execv(REEL_PROGRAM, const_cast<char **>(argv.data()));
        ::_exit(127);
    }
    return child;
}

inline outcome wait_for(const scratch_folder &logs, pid_t child) {
    int status = 0;
    ::waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), read_bytes(logs / "out"),
            read_bytes(logs / "err")};
}

// Whether the leak checker itself crashed after the program had done its work: Clang 14's does now
// and then, in the thread data of image libraries that were loaded late.
inline bool has_checker_crashed(const outcome &got) {
    return got.err.find("LeakSanitizer has encountered a fatal error") != std::string::npos;
}

inline outcome run(const arguments &words, rlim_t file_limit = RLIM_INFINITY) {
    constexpr int most_tries = 8;
    for (int tries = 1;; ++tries) {
        const scratch_folder logs;
        outcome got = wait_for(logs, start_program(logs, words, file_limit));
        if (!has_checker_crashed(got) || tries == most_tries)
            return got;
    }
}

// The same with a file as standard input.
inline outcome run_from(const std::string &input, const arguments &words) {
    const scratch_folder logs;
    const int file = ::open(input.c_str(), O_RDONLY | O_CLOEXEC);
    const outcome result = wait_for(logs, start_program(logs, words, RLIM_INFINITY, file));
    ::close(file);
    return result;
}

inline bool contains(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
}

} // namespace reel
