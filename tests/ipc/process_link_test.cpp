// Starting programs and linking to them: both sides of the handshake, with real processes.
#include "ipc/process_link.h"

#include "tests/ipc/link_fixture.h"

#include <fstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>

using namespace ipc;
using namespace ipc_test;
using namespace std::chrono_literals;

namespace {

const std::string child = LINKED_CHILD;

struct ProcessLink : testing::Test {
    link_socket_set links;
    pid_t process = -1;
    std::uint16_t id = 0;
    std::uint16_t instance = 0;
    std::ptrdiff_t open_before = count_descriptors();

    ProcessLink() { setenv("IPC_CHILD", "link", 1); }
    ~ProcessLink() override {
        unsetenv("IPC_CHILD");
        std::signal(SIGCHLD, SIG_DFL);
    }
    int start(const std::string &program, bool skip_running_check = true) {
        return startsomeprocess(program.c_str(), skip_running_check, 7, 8, links, &process, &id,
                                &instance);
    }
    void expect_nothing_left() const {
        EXPECT_TRUE(links.members.none());
        EXPECT_EQ(count_descriptors(), open_before);
    }
};

// A file in a folder of its own.
struct some_file {
    std::filesystem::path folder;
    std::filesystem::path path;

    some_file(const char *text, mode_t mode) {
        std::string name = (std::filesystem::temp_directory_path() / "ipcXXXXXX").string();
        folder = mkdtemp(name.data());
        path = folder / "program";
        std::ofstream(path) << text;
        chmod(path.c_str(), mode);
    }
    ~some_file() { std::filesystem::remove_all(folder); }
    some_file(const some_file &) = delete;
    some_file &operator=(const some_file &) = delete;
};

bool ends_soon(pid_t process) {
    for (int i = 0; i < 2000 && is_child_running(process); i++)
        std::this_thread::sleep_for(10ms);
    return !is_child_running(process);
}

} // namespace

TEST_F(ProcessLink, LinksAProgramThatStartsClean) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    std::signal(SIGPIPE, SIG_IGN);
    const int not_for_it = dup(STDERR_FILENO); // stays open when programs are started
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const int socket = start(child);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
    close(not_for_it);
    ASSERT_GT(socket, 0);
    EXPECT_TRUE(links.has(socket));
    EXPECT_EQ(id, 102);
    EXPECT_EQ(instance, 17);
    EXPECT_TRUE(is_child_running(process));
    socket_record seen; // what the child was told, and what it began with
    EXPECT_EQ(waitforprocessresponse(seen, links, true), socket);
    EXPECT_EQ(seen.datacmd, (decltype(seen.datacmd){7, 8, 102, 17, 1, 101}));
    EXPECT_EQ(seen.longdata[0], 0);
    EXPECT_EQ(seen.longdata[1], 1);

    // Its file is in use now.
    EXPECT_EQ(errors_of([&] { EXPECT_EQ(start(child, false), start_already_running); }),
              "startsomeprocess:  \"" + std::string(child).append("\" is already executing.\n"));
    EXPECT_EQ(doexec(child.c_str(), false, &process), already_running);
    killsocks(7, 8, links);
    EXPECT_TRUE(ends_soon(process));
    expect_nothing_left();
}

TEST_F(ProcessLink, SaysWhatTheProgramDidInstead) {
    const std::string lost =
        "startsomeprocess: Error initializing socket to \"" + std::string(child).append("\".\n");
    const std::string quoted = " from '" + std::string(child).append("'.\n");
    const struct {
        const char *what;
        int result;
        std::string errors;
    } cases[] = {
        {"kill", start_killed, "startsomeprocess: Got kill.\n"},
        {"unknown", -1, "startsomeprocess: Unknown init response (301)" + quoted},
        {"leave", -1, "startsomeprocess: Unknown init response (0)" + quoted},
        {"die", -1, "doexec: prctl: No such process\n" + lost},
        {"stall", -1,
         "readbuf: read failure: Connection timed out\n"
         "readsockdata: Error reading numof_cmds.\n"
         "waitforprocessresponse: Error while reading socket.\n"
         "startsomeprocess: Error waiting for \"" +
             std::string(child).append("\".\n")},
    };
    for (const auto &c : cases) {
        setenv("IPC_CHILD", c.what, 1);
        const auto started = std::chrono::steady_clock::now();
        EXPECT_EQ(errors_of([&] { EXPECT_EQ(start(child), c.result); }), c.errors) << c.what;
        EXPECT_LT(since(started), 6000ms);
        expect_nothing_left();
        EXPECT_TRUE(process == -1 || ends_soon(process));
    }
}

TEST_F(ProcessLink, SaysWhyAProgramCanNotStart) {
    const some_file plain("text", 0644);
    const some_file nonsense("\x01\x02 no program", 0755);
    const std::string folder = plain.folder.string();
    const std::array<std::array<std::string, 2>, 5> cases{{
        {"/no/such/program", "doexec:: No such file or directory\n"},
        {"no_such_program_anywhere", "doexec:: No such file or directory\n"},
        {plain.path.string(), "doexec:: Permission denied\n"},
        {folder, "doexec:: Permission denied\n"},
        {nonsense.path.string(), "doexec: exec failed: Exec format error\n"},
    }};
    for (const auto &c : cases) {
        for (const bool skip : {true, false}) {
            EXPECT_EQ(errors_of([&] { EXPECT_EQ(start(c[0], skip), -1); }),
                      std::string(c[1])
                          .append("startsomeprocess: Error initializing socket to \"")
                          .append(c[0])
                          .append("\".\n"));
            expect_nothing_left();
        }
    }
    chmod(nonsense.path.c_str(), 0555);
    if (access(nonsense.path.c_str(), W_OK) != 0) { // not for a user who may do everything
        EXPECT_EQ(errors_of([&] { EXPECT_EQ(doexec(nonsense.path.c_str(), false, &process), -1); }),
                  "doexec: General error opening \"" + nonsense.path.string().append("\"\n"));
    }
}

TEST_F(ProcessLink, FindsProgramsAlongThePath) {
    const std::filesystem::path program = child;
    const std::string before = getenv("PATH");
    setenv("PATH", ("/no/such/folder::" + program.parent_path().string()).c_str(), 1);
    const int socket = start(program.filename());
    setenv("PATH", before.c_str(), 1);
    EXPECT_GT(socket, 0);
    killsocks(7, 8, links);
    EXPECT_TRUE(ends_soon(process));
    expect_nothing_left();
}

// The pieces that a program uses which must not wait: time limits, and a child to be waited for.
TEST_F(ProcessLink, StartsWithoutWaiting) {
    std::uint16_t port = 0;
    const int listener = createsocket(&port);
    EXPECT_EQ(await_linked(listener, getpid(), 30), -1);
    EXPECT_EQ(errno, ETIMEDOUT);
    setenv("IPC_CHILD", "die", 1);
    process = launch_linked(child.c_str(), port);
    ASSERT_GT(process, 0);
    EXPECT_EQ(await_linked(listener, process, 10'000), -1);
    EXPECT_EQ(errno, ECHILD);
    int status = 0;
    EXPECT_EQ(waitpid(process, &status, 0), process); // was left for us
    EXPECT_EQ(WEXITSTATUS(status), 3);
    EXPECT_FALSE(is_child_running(process));

    setenv("IPC_CHILD", "link", 1);
    process = launch_linked(child.c_str(), port);
    const int socket = await_linked(listener, process, 10'000);
    ASSERT_GT(socket, 0);
    EXPECT_EQ(answer_init_request("caller", "program", socket, 7, 8, &id, &instance, 5000),
              IPC_INITDATARDY);
    socket_record record;
    EXPECT_EQ(readsockdata(socket, record, 5000), 0);
    EXPECT_EQ(errors_of([&] {
                  EXPECT_EQ(
                      answer_init_request("caller", "program", socket, 7, 8, &id, &instance, 50),
                      -1);
              }),
              "waitforprocessresponse: General error getting ready fd.\n"
              "caller: Error waiting for \"program\".\n");
    EXPECT_TRUE(is_child_running(process));
    close(socket);
    close(listener);
    EXPECT_EQ(waitpid(process, &status, 0), process);
}

TEST_F(ProcessLink, ConnectsThroughAnother) {
    const struct {
        std::uint16_t code; // what the process answers
        const char *errors;
    } cases[] = {
        {IPC_INITDATARDY, ""},
        {code_kill_answer, "connecttoprocess: Got kill.\n"},
        {999, "connecttoprocess: Unknown init response.  Received 999 instead of "
              "IPC_INITDATARDY.\n"},
    };
    for (const auto &c : cases) {
        const link_pair intermediary;
        socket_record asked;
        socket_record told;
        std::thread other([&] {
            EXPECT_EQ(readsockdata(intermediary.far, asked, 5000), 0);
            const int socket = getservsock(asked.longdata[0]);
            socket_record answer;
            fill_header(answer, 0, 0, 0, 0, 0, c.code); // whatever the class
            EXPECT_EQ(sendsockdata(socket, answer), 0);
            EXPECT_EQ(readsockdata(socket, told, 5000), 0);
            close(socket);
        });
        int result = 0;
        EXPECT_EQ(
            errors_of([&] { result = connecttoprocess(7, 8, 9, 10, intermediary.near, links); }),
            c.errors);
        const bool linked = c.code == IPC_INITDATARDY;
        EXPECT_EQ(result > 0, linked);
        EXPECT_EQ(links.members.count(), linked ? 1U : 0U);
        other.join();
        EXPECT_EQ(asked.datacmd, (decltype(asked.datacmd){7, 8, 9, 10, 4, 402}));
        if (linked) {
            EXPECT_EQ(told.datacmd, (decltype(told.datacmd){7, 8, 9, 10, 3, 101}));
            EXPECT_EQ(told.longdata[0], getpid());
            EXPECT_EQ(closesock(&result, links), 0);
        } else {
            EXPECT_EQ(result, c.code == code_kill_answer ? start_killed : -1);
        }
    }
    link_pair gone;
    gone.reset_far();
    EXPECT_TRUE(errors_of([&] {
                    EXPECT_EQ(connecttoprocess(7, 8, 9, 10, gone.near, links), -1);
                }).ends_with("connecttoprocess: Error sending init data.\n"));
}

namespace {

std::string header_with(std::uint16_t code) {
    const link_pair link;
    socket_record record;
    fill_header(record, 0, 0, 0, 0, 0, code);
    EXPECT_EQ(sendsockdata(link.far, record), 0);
    std::string bytes(32, '\0');
    EXPECT_EQ(recv(link.near, bytes.data(), bytes.size(), MSG_WAITALL), 32);
    return bytes;
}

} // namespace

TEST_F(ProcessLink, TakesInitDataWithinTheFirstSecond) {
    const struct {
        std::string bytes;
        std::chrono::milliseconds after;
        bool interrupted; // half a second later
        int result;
        std::string errors;
        std::chrono::milliseconds least;
    } cases[] = {
        {header_with(101), 0ms, false, 1, "", 0ms},
        {header_with(101), 200ms, false, 1, "", 200ms},
        {header_with(400), 0ms, false, 0,
         "getinitdata: Invalid init from parent, received 400 instead\n", 0ms},
        {header_with(101).substr(0, 9), 0ms, false, -1,
         "readbuf: read failure: Connection timed out\nreadsockdata: Error reading datacmd.\n"
         "getinitdata: Error reading init data\n",
         1000ms},
        {header_with(101), 3000ms, false, -1, "", 4900ms}, // too late
        {header_with(101), 3000ms, true, 1, "", 3500ms},   // the signal had it look again
    };
    for (const auto &c : cases) {
        const link_pair link;
        socket_record record;
        ASSERT_EQ(sendinitrequest(102, 17, link.near, record), 0);
        EXPECT_EQ(record.datacmd, (decltype(record.datacmd){102, 17, anybody, anybody, 3, 300}));
        struct sigaction act {};
        act.sa_handler = [](int) {};
        sigaction(SIGUSR1, &act, nullptr);
        const auto start = std::chrono::steady_clock::now();
        std::thread parent([&] {
            std::this_thread::sleep_for(c.after);
            link.send_far(c.bytes);
        });
        std::thread signals([&, self = pthread_self()] {
            std::this_thread::sleep_for(c.interrupted ? c.after + 500ms : 0ms);
            if (c.interrupted)
                pthread_kill(self, SIGUSR1);
        });
        int result = -7;
        EXPECT_EQ(errors_of([&] { result = getinitdata(102, 17, link.near, record); }), c.errors);
        EXPECT_EQ(result, c.result);
        EXPECT_GE(since(start), c.least);
        EXPECT_LT(since(start), c.least + 3000ms);
        parent.join();
        signals.join();
    }
    socket_record record;
    EXPECT_EQ(errors_of([&] { EXPECT_EQ(getinitdata(102, 17, 999, record), -1); }),
              "getinitdata: select error\n: Bad file descriptor\n");
    EXPECT_TRUE(errors_of([&] {
                    EXPECT_EQ(sendinitrequest(102, 17, 999, record), -1);
                }).ends_with("sendinitrequest: Error while sending init data\n"));
}
