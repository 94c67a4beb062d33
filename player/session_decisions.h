// What the user, or the renderer, decides about a session: cancelling, pausing, quitting.
#pragma once

#include "player/play_args.h"
#include "toolkit/demons/demons.h"

namespace player {

// Functions of buttons, choices and keys; the argument has no meaning.

// Ends the session and the program; asks first, unless the session is over.
void cancel_session(toolkit::word unused);

// The session's window is closed by its user: the renderer may go on without it, or be cancelled.
void close_session(toolkit::word unused);

// Stops the renderer, if there is one and it has sent a frame; has it go on.
void pause_session(toolkit::word unused);
void resume_session(toolkit::word unused);

// Has it go on, and the switch show that.
void end_pause();

// Whether it is stopped now: the renderer has been told so.
[[nodiscard]] bool is_session_paused();

// Ends the program; while a paused session is looked at, resumes that instead.
void quit_player(toolkit::word unused);

// The renderer says that the session is over: the program ends.
void end_session(play_args &args);

// The session's record: while a paused preview is looked at, playback is what is looked at.
[[nodiscard]] const play_args &session_args();

// Whether the session has all its frames; and whether there is nothing left to cancel: a render is
// complete, or its renderer is gone.
[[nodiscard]] bool is_session_complete(const play_args &args);
[[nodiscard]] bool is_session_over(const play_args &args);

} // namespace player
