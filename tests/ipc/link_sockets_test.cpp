// Link sockets: who may reach them, what a wait answers, and how links end.
#include "ipc/link_sockets.h"

#include "ipc/process_link.h"
#include "tests/ipc/link_fixture.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <thread>

using namespace ipc;
using namespace ipc_test;
using namespace std::chrono_literals;

namespace {

std::uint16_t bound_port(int socket, in_addr_t *address) {
    sockaddr_in bound{};
    socklen_t size = sizeof bound;
    EXPECT_EQ(getsockname(socket, reinterpret_cast<sockaddr *>(&bound), &size), 0);
    *address = ntohl(bound.sin_addr.s_addr);
    return ntohs(bound.sin_port);
}

int queue_descriptor = -1;
int give_queue() {
    return queue_descriptor;
}

// Three links, an event queue, and a copy of a link with a number that is never answered.
struct Waiting : testing::Test {
    static constexpr int high = 300;
    link_pair a;
    link_pair b;
    link_pair c;
    link_pair queue;
    link_socket_set links;

    Waiting() {
        links.add(a.near);
        links.add(b.near);
        queue_descriptor = queue.near;
        set_event_queue(give_queue);
        EXPECT_EQ(dup2(c.near, high), high);
    }
    ~Waiting() override {
        set_event_queue(nullptr);
        close(high);
    }
    int wait(bool links_only, long microseconds) {
        return getsockfd(links, links_only, true, 0, microseconds);
    }
};

} // namespace

TEST(LinkSockets, AreLocalPromptAndNotInherited) {
    std::uint16_t port = 0;
    for (const bool without_input : {false, true}) {
        const int saved = dup(STDIN_FILENO);
        if (without_input)
            close(STDIN_FILENO); // a socket is no standard stream even so
        const int listener = createsocket(&port);
        const int far = getservsock(port);
        const int near = accept_link(listener, 1000);
        dup2(saved, STDIN_FILENO);
        close(saved);
        in_addr_t address = 0;
        EXPECT_EQ(bound_port(listener, &address), port);
        for (const int socket : {listener, far, near}) {
            EXPECT_GT(socket, STDERR_FILENO);
            EXPECT_EQ(fcntl(socket, F_GETFD), FD_CLOEXEC);
            bound_port(socket, &address);
            EXPECT_EQ(address, INADDR_LOOPBACK);
            int prompt = 0;
            socklen_t size = sizeof prompt;
            getsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &prompt, &size);
            EXPECT_NE(prompt, 0);
        }
        EXPECT_EQ(fcntl(near, F_GETFL) & O_NONBLOCK, 0);
        for (const int socket : {listener, far, near})
            close(socket);
    }
    struct sigaction children {};
    sigaction(SIGCHLD, nullptr, &children);
    EXPECT_EQ(children.sa_handler, SIG_IGN);
    std::signal(SIGCHLD, SIG_DFL);
}

TEST(LinkSockets, SayWhyThereIsNone) {
    std::uint16_t port = 0;
    const int listener = createsocket(&port);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(accept_link(listener, 50), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    EXPECT_GE(since(start), 50ms);
    close(listener);
    EXPECT_EQ(accept_link(listener, 50), -1);
    EXPECT_EQ(errno, EBADF);

    for (const int bad : {0, -1, 65536, 0x7FFFFFFF})
        EXPECT_EQ(errors_of([&] { EXPECT_EQ(getservsock(bad), -1); }),
                  "getservsock: Invalid portnumber of server\n");
    const int silent = socket(AF_INET, SOCK_STREAM, 0); // has a port, and listens to nobody
    sockaddr_in loopback{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    ASSERT_EQ(bind(silent, reinterpret_cast<sockaddr *>(&loopback), sizeof loopback), 0);
    in_addr_t address = 0;
    port = bound_port(silent, &address);
    const std::ptrdiff_t open_before = count_descriptors();
    EXPECT_EQ(errors_of([&] { EXPECT_EQ(getservsock(port), -1); }),
              "getservsock: connecting socket: Connection refused\n");
    EXPECT_EQ(count_descriptors(), open_before);
    close(silent);
}

TEST(LinkSockets, AreMembersWithinTheSet) {
    link_socket_set links;
    for (const int wild : {-1, max_set_sockets, 1 << 30}) {
        links.add(wild);
        EXPECT_FALSE(links.has(wild));
        links.remove(wild);
    }
    EXPECT_TRUE(links.members.none());
    links.add(max_set_sockets - 1);
    EXPECT_TRUE(links.has(max_set_sockets - 1));
    links.remove(max_set_sockets - 1);
    EXPECT_TRUE(links.members.none());
}

TEST_F(Waiting, AnswersTheLowestLinkBeforeTheQueue) {
    EXPECT_EQ(wait(false, 0), wait_timeout);
    queue.send_far("x");
    EXPECT_EQ(wait(false, 0), wait_event);
    EXPECT_EQ(wait(true, 0), wait_timeout);
    b.send_far("x");
    EXPECT_EQ(wait(false, 0), b.near);
    a.send_far("x");
    EXPECT_EQ(wait(false, 0), std::min(a.near, b.near));
    EXPECT_EQ(getsockfd(links, false, false, 0, 0), std::min(a.near, b.near));
    links.members.reset();
    EXPECT_EQ(getsockfd(links, false, false, 0, 0), wait_event);
    link_pair::close_end(c.far); // the end of a stream can be read, too
    links.add(c.near);
    EXPECT_EQ(wait(false, 0), c.near);
}

TEST_F(Waiting, TakesItsTimeUnderSignals) {
    const interrupting_signals signals;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(wait(false, 100'000), wait_timeout);
    EXPECT_GE(since(start), 100ms);
    EXPECT_LT(since(start), 5000ms);
    std::thread sender([&] {
        std::this_thread::sleep_for(50ms);
        b.send_far("x");
    });
    EXPECT_EQ(getsockfd(links, false, false, 0, 0), b.near);
    sender.join();
    a.send_far("x"); // however long the wait would be
    const long most = std::numeric_limits<long>::max();
    EXPECT_EQ(getsockfd(links, true, true, most, most), std::min(a.near, b.near));
    links.members.reset();
    EXPECT_EQ(getsockfd(links, true, true, -1, -1), wait_timeout);
}

TEST_F(Waiting, SaysWhatIsWrong) {
    const auto errors = [&](bool links_only, bool use_timeout, int expected) {
        return errors_of(
            [&] { EXPECT_EQ(getsockfd(links, links_only, use_timeout, 0, 0), expected); });
    };
    links.members.reset();
    EXPECT_EQ(errors(true, false, wait_failed), "getsockgd: False condition\n");
    links.add(high); // waited for, never answered
    c.send_far("x");
    EXPECT_EQ(errors(true, false, wait_failed), "getsockgd: False condition\n");
    EXPECT_EQ(errors(true, true, wait_timeout), "");
    links.add(a.near);
    link_pair::close_end(b.near);
    links.add(link_pair{}.near); // closed by now
    EXPECT_EQ(errors(true, true, wait_failed), "getsockfd: select: Bad file descriptor\n");
    queue_descriptor = -1;
    EXPECT_TRUE(errors(false, true, wait_failed).starts_with("getsockfd:  qgetfd failed: "));
}

TEST_F(Waiting, ReadsTheResponse) {
    socket_record record;
    socket_record sent;
    fill_header(sent, 0, 0, 0, 0, 0, 77);
    ASSERT_EQ(sendsockdata(b.far, sent), 0);
    EXPECT_EQ(waitforprocessresponse(record, links, false), b.near);
    EXPECT_EQ(record.datacmd[word_code], 77);
    queue.send_far("x");
    EXPECT_EQ(errors_of([&] { EXPECT_EQ(waitforprocessresponse(record, links, false), 0); }),
              "waitforprocessresponse: Got a NULL (gl event pending)\n");
    a.reset_far();
    EXPECT_EQ(errors_of([&] { EXPECT_EQ(waitforprocessresponse(record, links, true), -1); }),
              "readbuf: read failure: Connection reset by peer\n"
              "readsockdata: Error reading numof_cmds.\n"
              "waitforprocessresponse: Error while reading socket.\n");
    links.members.reset();
    EXPECT_EQ(errors_of([&] { EXPECT_EQ(waitforprocessresponse(record, links, true), -1); }),
              "getsockgd: False condition\n"
              "waitforprocessresponse: General error getting ready fd.\n");
}

// Every link is told, also when one of them has gone and one takes nothing.
TEST_F(Waiting, KillsAllLinks) {
    const std::string much(1 << 20, 'x');
    for (int refusals = 0; refusals < 5; refusals++) { // what is on its way still makes room
        std::this_thread::sleep_for(5ms);
        while (send(a.near, much.data(), much.size(), MSG_DONTWAIT) > 0)
            refusals = 0;
    }
    c.reset_far();
    links.add(c.near);
    links.add(high);
    const int full = a.near;
    const int gone = c.near;
    const auto start = std::chrono::steady_clock::now();
    const std::string errors = errors_of([&] { killsocks(1, 2, links); });
    EXPECT_LT(since(start), 5000ms);
    for (const int socket : {full, gone})
        EXPECT_NE(errors.find("Error while sending kill to " + std::to_string(socket).append("\n")),
                  std::string::npos);
    EXPECT_EQ(errors.find("kill to " + std::to_string(b.near).append("\n")), std::string::npos);
    EXPECT_EQ(links.members.count(), 1U);
    EXPECT_TRUE(links.has(high));
    for (const int socket : {a.near, b.near, c.near}) {
        EXPECT_EQ(fcntl(socket, F_GETFD), -1);
    }
    a.near = b.near = c.near = -1;
    socket_record record;
    ASSERT_EQ(readsockdata(b.far, record, 1000), 0);
    EXPECT_EQ(record.numof_cmds, header_cmds);
    EXPECT_EQ(record.datacmd, (decltype(record.datacmd){1, 2, anybody, anybody, 2, 400}));
    ASSERT_EQ(readsockdata(b.far, record, 1000), 0);
    EXPECT_EQ(record.numof_cmds, 0); // closed
}

TEST_F(Waiting, ClosesMembersOnly) {
    int none = -1;
    EXPECT_EQ(errors_of([&] { EXPECT_EQ(closesock(&none, links), -1); }), "");
    EXPECT_EQ(errors_of([&] { EXPECT_EQ(closesock(&c.near, links), -1); }),
              "closesock: fd not set\n");
    EXPECT_NE(fcntl(c.near, F_GETFD), -1);
    const int was = a.near;
    EXPECT_EQ(closesock(&a.near, links), 0);
    EXPECT_EQ(a.near, -1);
    EXPECT_FALSE(links.has(was));
    EXPECT_EQ(fcntl(was, F_GETFD), -1);
}
