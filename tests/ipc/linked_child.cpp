// What process_link_test starts: links back as IPC_CHILD says, tells what it found, and stays until
// the parent ends the link.
#include "ipc/process_link.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int count_open() {
    int count = 0;
    for (int i = 3; i < ipc::max_set_sockets; i++)
        count += fcntl(i, F_GETFD) != -1;
    return count;
}

bool starts_clean() {
    sigset_t mask;
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_BLOCK, nullptr, &mask);
    struct sigaction act {};
    bool clean = std::memcmp(&mask, &none, sizeof(long)) == 0;
    for (const int signal : {SIGPIPE, SIGCHLD}) {
        sigaction(signal, nullptr, &act);
        clean = clean && act.sa_handler == SIG_DFL;
    }
    return clean;
}

int send_code(int parent, std::uint16_t message_class, std::uint16_t code) {
    ipc::socket_record record;
    ipc::fill_header(record, 102, 17, ipc::anybody, ipc::anybody, message_class, code);
    return ipc::sendsockdata(parent, record);
}

} // namespace

int main(int count, char **arguments) {
    const std::string_view what = std::getenv("IPC_CHILD");
    if (count != 3 || arguments[1] != std::string_view("-ipc_link_port") || what == "die")
        return 3;
    const int inherited = count_open();
    const bool clean = starts_clean();
    const int parent = ipc::getservsock(std::atoi(arguments[2]));
    ipc::socket_record record;
    if (parent < 0 || what == "leave")
        return 4;
    if (what == "kill")
        static_cast<void>(send_code(parent, 2, 201));
    else if (what == "unknown")
        static_cast<void>(send_code(parent, 3, 301));
    else if (what == "stall")
        send(parent, "\0\0\0", 3, 0);
    else if (ipc::sendinitrequest(102, 17, parent, record) == 0 &&
             ipc::getinitdata(102, 17, parent, record) == 1) {
        record.numof_longs = 2;
        record.longdata = {inherited, clean};
        static_cast<void>(ipc::sendsockdata(parent, record));
    }
    char byte = 0;
    while (recv(parent, &byte, 1, 0) > 0) {
    }
    return 0;
}
