// A renderer that was started for its user: its output passes through, it can be stopped and
// continued, and it is brought to an end step by step.
//
//   renderer_process renderer;
//   std::string fault;
//   if (start_renderer({"povray", "scene.ini"}, renderer, &fault) != 0) ...
//   while (renderer.is_running) {
//       poll({renderer.output_fds..., ...}, renderer_wait_ms(renderer));
//       service_renderer(renderer);                  // passes output on, sees its end
//       if (...) pause_renderer(renderer);           // the whole process group stops
//   }
//   return renderer.exit_status;
//
// It runs in a session, and so in a process group, of its own: an interrupt from the terminal is
// ours to handle. It has no terminal: asking one for a password fails at once instead of stopping
// it, which is what happens to a background group of a terminal; and the system does not hang it up
// when we are gone while it is stopped. Its standard input is ours, but where ours is a terminal or
// closed it is empty. All signals have their default meaning for it.
//
// What it writes on standard output and error goes to ours, whole lines or not, as it comes, and is
// never left waiting for long: a renderer whose output nobody reads would stand still (see
// renderer_output.h). The last lines are kept for when it fails.
//
// A renderer that is stopped when we are killed would stand still for ever: a small process beside
// us (started with it, gone with it) notices our end and continues it.
//
// The process is not released (waited for) before finish_renderer, so that its number, which is
// that of the group, stays its own. A program that ignores SIGCHLD would not learn how it ended:
// start_renderer ends that.
#pragma once

#include "tools/reel/renderer_output.h"

#include <array>
#include <chrono>
#include <deque>
#include <string>
#include <sys/types.h>
#include <vector>

namespace reel {

// How long children of a renderer that has ended may go on writing into its output.
inline constexpr std::chrono::milliseconds children_grace{1000};

// How an end that was asked for goes on, each step after its grace time.
enum class ending_step { none, interrupted, terminated, killed };

struct ending_grace {
    std::chrono::milliseconds after_interrupt{5000}; // before it is asked to terminate
    std::chrono::milliseconds after_terminate{3000}; // before it is killed
};

struct renderer_process {
    pid_t process = -1;                    // also its process group
    pid_t guard = -1;                      // the process that continues it when we are gone
    int process_fd = -1;                   // -1 once it has ended, or where the system has none
    int guard_fd = -1;                     // our end of the guard's line; closed: we have ended
    std::array<int, 2> output_fds{-1, -1}; // its standard output and error; -1: all is over
    std::array<renderer_output, 2> outputs;
    bool is_running = false; // the process itself
    bool is_paused = false;
    int exit_status = 0; // once it has ended: its own, or 128 + signal
    steady_time ended_at;
    ending_step ending = ending_step::none;
    ending_grace grace;
    steady_time next_step;              // when the ending goes on
    std::deque<std::string> last_lines; // of its output, oldest first
};

// Starts a program, looked for along PATH; best before there are other threads or shared blocks, of
// which the guard gets a copy. Returns 0, or -1 with *fault: not found, may not be run.
[[nodiscard]] int start_renderer(const std::vector<std::string> &command,
                                 renderer_process &renderer, std::string *fault);

// What to poll for reading beside the outputs: process_fd is readable when it has ended. An output
// is readable when there is something to do for it, which may be that our own stream takes more.
// How long a poll may take at most, in milliseconds; -1: as long as it takes.
[[nodiscard]] int renderer_wait_ms(const renderer_process &renderer);

// Passes on what has been written (some at a time, so that it returns soon), notes the end of the
// process, and takes the next step of an ending when it is due. After the end of the process the
// output is read until it closes or `children_grace` has passed: children may live on and hold it.
// All is over when both output_fds are -1: then everything is passed on, and an ending has reached
// the last of the group. A process that not even being killed ends (its disk does not answer) is
// given up with the status of who was killed.
void service_renderer(renderer_process &renderer);

// Stops its process group, unless it is being ended or has ended.
void pause_renderer(renderer_process &renderer);
void continue_renderer(renderer_process &renderer);

// Continues it, then asks it to end: interrupt, terminate, kill; service_renderer goes on with
// that. Called again: the next step at once.
void end_renderer(renderer_process &renderer);

// Processes of the group that are still there, after its end and before finish_renderer; those that
// left the group are not known. For one line to the user.
[[nodiscard]] std::vector<pid_t> surviving_processes(const renderer_process &renderer);

// Passes on what is left, waiting for whoever reads our streams as renderer_output.h says, and
// closes everything. The guard ends. A renderer that still runs is continued and left to itself.
void finish_renderer(renderer_process &renderer);

} // namespace reel
