#include "tests/support/virtual_server.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>
#include <xcb/xcb.h>

namespace {

constexpr int patience_ms = 30'000;

// Starts a program that ends with us.
pid_t start(const std::vector<const char *> &words, const char *display) {
    const pid_t pid = fork();
    if (pid != 0) {
        return pid;
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (display != nullptr) {
        setenv("DISPLAY", display, 1);
    }
    std::vector<char *> arguments;
    for (const char *word : words) {
        arguments.push_back(const_cast<char *>(word));
    }
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    std::fprintf(stderr, "can't start %s: %s\n", arguments[0], std::strerror(errno));
    _exit(127);
}

void stop(pid_t &pid) {
    if (pid > 0) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        pid = -1;
    }
}

void pause_ms(int ms) {
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

// True when a window manager puts a frame around a window that is opened now. Its properties on
// the root window say nothing: windows mapped while it starts can go unseen.
bool is_managing(const char *display) {
    xcb_connection_t *c = xcb_connect(display, nullptr);
    bool framed = false;
    if (xcb_connection_has_error(c) == 0) {
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
        const xcb_window_t probe = xcb_generate_id(c);
        xcb_create_window(c, XCB_COPY_FROM_PARENT, probe, root, 0, 0, 20, 20, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_map_window(c, probe);
        for (int tries = 0; tries < 25 && !framed; ++tries) {
            pause_ms(20);
            auto *tree = xcb_query_tree_reply(c, xcb_query_tree(c, probe), nullptr);
            framed = tree != nullptr && tree->parent != root;
            std::free(tree);
        }
    }
    xcb_disconnect(c);
    return framed;
}

} // namespace

virtual_server::virtual_server(const options &wanted) {
    int ends[2];
    if (pipe(ends) != 0) {
        return;
    }
    const std::string number = std::to_string(ends[1]);
    server_ = start({"Xvfb", "-displayfd", number.c_str(), "-screen", "0", wanted.screen,
                     "-noreset", "-nolisten", "tcp"},
                    nullptr);
    close(ends[1]);
    char text[16] = "";
    std::size_t length = 0;
    ssize_t got = 0;
    pollfd told{ends[0], POLLIN, 0};
    while (length < sizeof text - 1 && std::strchr(text, '\n') == nullptr &&
           poll(&told, 1, patience_ms) == 1 &&
           (got = read(ends[0], text + length, sizeof text - 1 - length)) > 0) {
        length += static_cast<std::size_t>(got);
    }
    close(ends[0]);
    if (std::strchr(text, '\n') == nullptr) {
        std::fprintf(stderr, "Xvfb did not start\n");
        return;
    }
    char name[sizeof text + 1];
    std::snprintf(name, sizeof name, ":%d", std::atoi(text));
    name_ = name;
    if (!wanted.window_manager) {
        return;
    }
    manager_ = start({"openbox", "--sm-disable"}, name_.c_str());
    bool managing = false;
    for (int tries = 0; tries < 30 && !managing; ++tries) {
        managing = is_managing(name_.c_str());
    }
    if (!managing) {
        std::fprintf(stderr, "openbox did not start\n");
        name_.clear();
    }
}

virtual_server::~virtual_server() {
    stop(manager_);
    stop(server_);
}

void virtual_server::make_current() const {
    setenv("DISPLAY", name_.c_str(), 1);
}

void virtual_server::kill_server() {
    stop(server_);
}
