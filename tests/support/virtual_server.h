// An X server of the test's own, on a free display number, with a window manager if wanted. Both
// are gone when this is, and also when the test crashes.
//
//   virtual_server x({.window_manager = true});
//   ASSERT_TRUE(x.is_running());                     // has printed why not
//   x.make_current();                                // DISPLAY names it
#pragma once

#include <string>
#include <sys/types.h>

class virtual_server {
public:
    struct options {
        const char *screen = "1280x1024x24"; // width x height x depth
        bool window_manager = false;         // openbox
    };

    explicit virtual_server(const options &wanted);
    virtual_server(const virtual_server &) = delete;
    virtual_server &operator=(const virtual_server &) = delete;
    ~virtual_server();

    [[nodiscard]] bool is_running() const { return !name_.empty(); }
    [[nodiscard]] const std::string &name() const { return name_; } // like ":7"; empty: failed
    void make_current() const;

    // Kills the server, as a crash would.
    void kill_server();

private:
    std::string name_;
    pid_t server_ = -1;
    pid_t manager_ = -1;
};
