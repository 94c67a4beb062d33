// Runs the program with given words.
#pragma once

#include "tests/tools/reel/scratch_folder.h"
#include "tools/reel/command_line.h"
#include "tools/reel/image_io.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <type_traits>
#include <unistd.h>
#include <vector>
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define REEL_TEST_FINDS_LEAKS
#include <sanitizer/common_interface_defs.h>
#include <sanitizer/lsan_interface.h>
#endif
#endif

namespace reel {

using arguments = std::vector<std::string>;

constexpr int status_of_leaks = 123;

struct outcome {
    int status = -1; // exit status, or minus the signal that ended it
    std::string out;
    std::string err;
};

// The program's own start is slow: hundreds of libraries are loaded for the images. They are loaded
// once, by a process that begins before the first test and then divides itself into a running
// program whenever it is asked to: what comes of it is a child of the test, as if the test had
// started it.
class program_starter : public testing::Environment {
public:
    void SetUp() override {
        int ends[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        std::fflush(nullptr); // or every program says again what was not said yet
        starter = ::fork();
        ASSERT_GE(starter, 0);
        if (starter == 0) {
            ::close(ends[1]);
            serve(ends[0]);
        }
        ::close(ends[0]);
        line = ends[1];
    }

    void TearDown() override {
        ::close(line);
        ::waitpid(starter, nullptr, 0);
    }

    // Each word is text that ends with a 0. Returns the program's process, or -1.
    static pid_t ask(const std::string &words, int input) {
        std::size_t size = words.size();
        attached_file attached(&size);
        attached.put(input);
        pid_t program = -1;
        if (::sendmsg(line, &attached.message, 0) != sizeof size ||
            !pass(::write, line, words.data(), size) ||
            !pass(::read, line, &program, sizeof program))
            return -1;
        return program;
    }

private:
    static inline int line = -1;
    static inline pid_t starter = -1;

    // A number to send with an open file.
    struct attached_file {
        explicit attached_file(std::size_t *number) : part{number, sizeof *number} {
            message.msg_iov = &part;
            message.msg_iovlen = 1;
            message.msg_control = space;
            message.msg_controllen = sizeof space;
        }
        void put(int file) {
            cmsghdr *head = CMSG_FIRSTHDR(&message);
            head->cmsg_level = SOL_SOCKET;
            head->cmsg_type = SCM_RIGHTS;
            head->cmsg_len = CMSG_LEN(sizeof file);
            std::memcpy(CMSG_DATA(head), &file, sizeof file);
        }
        int take() {
            int file = -1;
            std::memcpy(&file, CMSG_DATA(CMSG_FIRSTHDR(&message)), sizeof file);
            return file;
        }
        iovec part;
        msghdr message{};
        alignas(cmsghdr) char space[CMSG_SPACE(sizeof(int))]{};
    };

    // Whether all bytes were read or written.
    template <typename procedure, typename byte>
    static bool pass(procedure step, int file, byte *bytes, std::size_t size) {
        using any_byte = std::conditional_t<std::is_const_v<byte>, const char, char>;
        auto *at = reinterpret_cast<any_byte *>(bytes);
        while (size > 0) {
            const ssize_t passed = step(file, at, size);
            if (passed <= 0)
                return false;
            at += passed;
            size -= static_cast<std::size_t>(passed);
        }
        return true;
    }

    [[noreturn]] static void serve(int asked) {
        (void)load_image_module(); // every program has it then
        for (;;) {
            std::size_t size = 0;
            attached_file attached(&size);
            if (::recvmsg(asked, &attached.message, MSG_CMSG_CLOEXEC) != sizeof size)
                ::_exit(0); // the test has ended
            const int input = attached.take();
            std::string words(size, 0);
            if (!pass(::read, asked, words.data(), size))
                ::_exit(1);
            // As fork does, but what comes of it is the test's child.
            const auto program =
                static_cast<pid_t>(::syscall(SYS_clone, CLONE_PARENT | SIGCHLD, 0, 0, 0, 0));
            if (program == 0) {
                ::dup2(input, STDIN_FILENO);
                ::close(input);
                ::close(asked);
                become_program(words);
            }
            ::close(input);
            pass(::write, asked, &program, sizeof program);
        }
    }

    // The words: where its output and its messages go, its limit of a file's size, where the leak
    // checker's report goes, and its command line.
    [[noreturn]] static void become_program(std::string &text) {
        std::vector<char *> words;
        for (std::size_t at = 0; at < text.size(); at = text.find('\0', at) + 1)
            words.push_back(text.data() + at);
        constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC;
        ::dup2(::open(words[0], flags, 0600), STDOUT_FILENO);
        ::dup2(::open(words[1], flags, 0600), STDERR_FILENO);
        const rlim_t most = std::strtoull(words[2], nullptr, 10);
        struct rlimit limit = {most, RLIM_INFINITY};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGINT, SIG_DFL);
        std::signal(SIGPIPE, SIG_DFL);
        constexpr int settings = 4;
        const int count = static_cast<int>(words.size()) - settings;
        words.push_back(nullptr);
        const int status = run_command_line(count, words.data() + settings);
        // Not to the end of what the libraries do: they would wait for threads that their loading
        // began, and that the starter has but this process has not.
        std::fflush(nullptr);
#if defined(REEL_TEST_FINDS_LEAKS)
        // The checker misses these threads too, and says so.
        limit.rlim_cur = RLIM_INFINITY;
        ::setrlimit(RLIMIT_FSIZE, &limit);
        const std::intptr_t said = ::open(words[3], flags, 0600);
        __sanitizer_set_report_fd(reinterpret_cast<void *>(said)); // NOLINT
        if (__lsan_do_recoverable_leak_check() != 0)
            ::_exit(status_of_leaks);
#endif
        ::_exit(status);
    }
};

inline testing::Environment *const starter =
    testing::AddGlobalTestEnvironment(new program_starter); // which becomes its owner

// Starts the program with its outputs in files of the folder `logs`.
//   input  a descriptor for its standard input, or -1 for an empty one
inline pid_t start_program(const scratch_folder &logs, const arguments &words,
                           rlim_t file_limit = RLIM_INFINITY, int input = -1) {
    std::string text;
    for (const std::string &word : {logs / "out", logs / "err", std::to_string(file_limit),
                                    logs / "leaks", std::string("reel")})
        text += word + '\0';
    for (const std::string &word : words)
        text += word + '\0';
    const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const pid_t program = program_starter::ask(text, input >= 0 ? input : nothing);
    ::close(nothing);
    return program;
}

inline outcome wait_for(const scratch_folder &logs, pid_t child) {
    int status = 0;
    if (child <= 0 || ::waitpid(child, &status, 0) != child) {
        ADD_FAILURE() << "the program did not start";
        return {};
    }
    outcome got = {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status),
                   read_bytes(logs / "out"), read_bytes(logs / "err")};
    if (got.status == status_of_leaks || WIFSIGNALED(status))
        got.err += read_bytes(logs / "leaks");
    return got;
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
