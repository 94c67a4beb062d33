// Stands in for the player: links itself, takes frames, and does what the words of the environment
// variable FAKE_PLAYER say, each at its time. What it meets it writes to the file FAKE_LOG.
//
//   exit=N mute garbage kill silent   does not link itself: ends, waits, talks nonsense, refuses,
//                                     has no window
//   silent=MS                         has no window, and ends
//   alarm=N linked_alarm=N            is ended by a signal N microseconds after its start, after
//                                     it was linked
//   size=WxH                          shows frames in this size
//   pause@N=MS cancel@N quit@N die@N stop@N refuse@N slow@N=MS rest@N=MS
//                                     when frame N comes; slow: to be copied, rest: afterwards;
//                                     pause and slow without a number: until SIGUSR1 comes
//   ok=MS linger=MS                   after the last frame: OK is pressed; the preview plays
#include "ipc/process_link.h"
#include "ipc/session_codes.h"
#include "ipc/shared_blocks.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <sstream>
#include <string>
#include <sys/time.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

std::map<std::string, int> orders; // word to number, 0 when it has none
std::FILE *log_file = nullptr;
int frame_count = 0, first_frame = 0, is_render = 0, width = 0, height = 0;
volatile std::uint8_t *status = nullptr;

struct attached {
    void *address = nullptr;
    int id = 0;
};
std::map<int, attached> blocks; // by key

bool is_told(const std::string &word) {
    return orders.count(word) != 0;
}

bool is_told(const char *word, int frame) {
    return is_told(word + ("@" + std::to_string(frame)));
}

void sleep_for(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

// So long, or until the signal that was held since the start.
void wait_as_told(const std::string &word) {
    sigset_t awaited;
    sigemptyset(&awaited);
    sigaddset(&awaited, SIGUSR1);
    constexpr timespec most{20, 0}; // if it never comes
    if (orders[word] > 0)
        sleep_for(orders[word]);
    else
        sigtimedwait(&awaited, nullptr, &most);
}

void set_alarm(int microseconds) {
    const itimerval time{{0, 0}, {0, microseconds}};
    setitimer(ITIMER_REAL, &time, nullptr);
}

// A page that is not there though it is mapped: tells which, and then ends by the same signal.
void tell_fault(int signal, siginfo_t *info, void *) {
    const int log = fileno(log_file);
    dprintf(log, "bus error, code %d, at %p\n", info->si_code, info->si_addr);
    const int maps = open("/proc/self/maps", O_RDONLY);
    char part[4096];
    for (ssize_t n = 0; (n = read(maps, part, sizeof part)) > 0;)
        (void)!write(log, part, static_cast<std::size_t>(n));
    close(maps);
    raise(signal);
}

void prepare_signals() {
    sigset_t held;
    sigemptyset(&held);
    sigaddset(&held, SIGUSR1);
    sigprocmask(SIG_BLOCK, &held, nullptr);
    struct sigaction act {};
    act.sa_sigaction = tell_fault;
    act.sa_flags = static_cast<int>(SA_SIGINFO | SA_RESETHAND);
    sigaction(SIGBUS, &act, nullptr);
}

void read_orders() {
    const char *variable = std::getenv("FAKE_PLAYER");
    std::istringstream words(variable != nullptr ? variable : "");
    for (std::string word; words >> word;) {
        const std::size_t equals = word.find('=');
        const std::string value = equals != std::string::npos ? word.substr(equals + 1) : "0";
        orders[word.substr(0, equals)] = std::atoi(value.c_str());
        if (word.rfind("size=", 0) == 0)
            std::sscanf(value.c_str(), "%dx%d", &width, &height);
    }
    const char *name = std::getenv("FAKE_LOG");
    log_file = std::fopen(name != nullptr ? name : "/dev/null", "w");
    std::setvbuf(log_file, nullptr, _IOLBF, 0);
}

void send(int socket, std::uint16_t code, const std::vector<int> &longs) {
    ipc::socket_record message;
    ipc::fill_header(message, ipc::player_id, ipc::player_instance, ipc::anybody, ipc::anybody,
                     ipc::class_answer, code);
    for (const int value : longs)
        message.longdata[static_cast<std::size_t>(message.numof_longs++)] = value;
    (void)ipc::sendsockdata(socket, message);
}

[[noreturn]] void leave(int code) {
    for (const auto &[key, block] : blocks)
        ipc::shmem_free(block.address, block.id);
    _exit(code);
}

// As the real one does: a block stays attached, and its key may be gone the next time.
attached &find_block(int key, int bytes) {
    attached &block = blocks[key];
    if (block.address == nullptr)
        block.address = ipc::shmem_attach(static_cast<std::size_t>(bytes), key, &block.id);
    return block;
}

void take_frame(int key, int bytes, int frame) {
    attached &block = find_block(key, bytes);
    if (block.address == nullptr || is_told("refuse", frame)) {
        std::fprintf(log_file, "no frame %d\n", frame);
        return;
    }
    status[ipc::status_busy] = 1;
    status[ipc::status_taken] = 1;
    if (is_told("slow", frame))
        wait_as_told("slow@" + std::to_string(frame));
    std::uint32_t sum = 0, word = 0;
    for (int at = 0; at < bytes; at += 4) {
        std::memcpy(&word, static_cast<char *>(block.address) + at, 4);
        sum = sum * 31 + word;
    }
    std::fprintf(log_file, "frame %d %d %08x\n", frame, bytes, static_cast<unsigned>(sum));
    status[ipc::status_busy] = 0; // who sees that finds the line
}

// What the user does when this frame is there.
void obey(int frame) {
    const std::string number = "@" + std::to_string(frame);
    if (is_told("pause" + number)) {
        status[ipc::status_state] = ipc::state_paused;
        wait_as_told("pause" + number);
        status[ipc::status_state] = ipc::state_resumed;
    }
    if (is_told("rest" + number))
        sleep_for(orders["rest" + number]);
    if (is_told("cancel" + number))
        status[ipc::status_state] = ipc::state_cancelled;
    if (is_told("cancel" + number) || is_told("quit" + number))
        leave(0);
    if (is_told("die" + number))
        std::raise(SIGKILL);
    if (is_told("stop" + number))
        std::raise(SIGSTOP);
}

void finish(int socket) {
    if (is_render == 0) {
        status[ipc::status_state] = ipc::state_preview_over;
        close(socket);
        sleep_for(orders["linger"]);
        std::fprintf(log_file, "played\n");
        leave(0);
    }
    if (!is_told("ok"))
        return;
    sleep_for(orders["ok"]);
    status[ipc::status_state] = ipc::state_cancelled;
    leave(0);
}

void handle(int socket, const ipc::socket_record &message) {
    const auto &longs = message.longdata;
    switch (message.datacmd[ipc::word_code]) {
    case ipc::code_request_pid:
        return send(socket, ipc::code_pid, {getpid()});
    case ipc::code_request_size:
        return send(socket, ipc::code_size, {width, height});
    case ipc::code_block:
        std::fprintf(log_file, "block\n");
        return;
    case ipc::code_unblock:
        std::fprintf(log_file, "unblock\n");
        return;
    case ipc::code_end:
        std::fprintf(log_file, "end\n");
        leave(0);
    case ipc::code_frame_ready:
        take_frame(longs[ipc::long_frame_key], longs[ipc::long_frame_bytes],
                   longs[ipc::long_frame_number]);
        obey(longs[ipc::long_frame_number]);
        if (longs[ipc::long_frame_number] == first_frame + frame_count - 1)
            finish(socket);
        return;
    default:
        std::fprintf(log_file, "message %d\n", message.datacmd[ipc::word_code]);
    }
}

// Handshake and play_args.
void begin(int socket, ipc::socket_record &message) {
    if (is_told("garbage"))
        (void)!write(socket, "GET / HTTP/1.0\r\n\r\nand more of the same\r\n\r\n", 40);
    if (is_told("kill")) {
        ipc::fill_header(message, 0, 0, 0, 0, ipc::class_kill, ipc::code_kill_answer);
        (void)ipc::sendsockdata(socket, message);
        leave(0);
    }
    if (ipc::sendinitrequest(ipc::player_id, ipc::player_instance, socket, message) != 0 ||
        ipc::getinitdata(ipc::player_id, ipc::player_instance, socket, message) != 1 ||
        ipc::readsockdata(socket, message) != 0 || message.numof_longs != ipc::play_args_longs)
        leave(1);
    const auto &longs = message.longdata;
    std::fprintf(log_file, "args %d %d %d %d %d %d %g\n", longs[ipc::long_first],
                 longs[ipc::long_count], longs[ipc::long_width], longs[ipc::long_height],
                 longs[ipc::long_render], longs[ipc::long_compression],
                 static_cast<double>(message.floatdata[0]));
    first_frame = longs[ipc::long_first];
    frame_count = longs[ipc::long_count];
    is_render = longs[ipc::long_render];
    width = width != 0 ? width : longs[ipc::long_width];
    height = height != 0 ? height : longs[ipc::long_height];
    attached &block = find_block(longs[ipc::long_status_key], longs[ipc::long_status_size]);
    status = static_cast<std::uint8_t *>(block.address);
}

} // namespace

int main(int argc, char **argv) {
    read_orders();
    (void)!std::freopen("/dev/null", "w", stderr); // that it fails is what it is for
    prepare_signals();
    set_alarm(orders["alarm"]);
    if (is_told("exit"))
        return orders["exit"];
    if (is_told("mute"))
        sleep_for(20000);
    if (argc != 3 || std::strcmp(argv[1], ipc::port_option) != 0)
        return 1;
    const int socket = ipc::getservsock(std::atoi(argv[2]));
    ipc::socket_record message;
    begin(socket, message);
    if (status == nullptr)
        leave(1);
    if (is_told("silent")) {
        sleep_for(orders["silent"] > 0 ? orders["silent"] : 20000);
        leave(1);
    }
    if (is_told("linked_alarm"))
        set_alarm(orders["linked_alarm"]);
    send(socket, ipc::code_pid, {getpid()});
    while (ipc::readsockdata(socket, message) == 0 && message.numof_cmds != 0)
        handle(socket, message);
    std::fprintf(log_file, "link ended\n");
    leave(0);
}
