/* The renderer's side of the link: shows a rendering to its user in the player while it is made, as
   a progress window and, for a preview, as a flip-book; and tells what the user decides.

     reel_link *link = reel_link_new();
     reel_link_session session;
     reel_link_defaults(&session);
     session.kind = REEL_LINK_PREVIEW;
     session.width = 640, session.height = 360, session.first = 1, session.count = 48;
     if (reel_link_start(link, &session) != REEL_LINK_OK)
         fprintf(stderr, "%s\n", reel_link_text(link));           // and render without it
     for (int frame = 1; frame <= 48; ++frame) {
         render(pixels, frame);                                   // yours
         reel_link_picture picture = {pixels, 0, REEL_LINK_RGBA, REEL_LINK_TOP_FIRST};
         int result;
         while ((result = reel_link_send(link, frame, &picture, 1000)) == REEL_LINK_PAUSED)
             result = reel_link_wait(link, REEL_LINK_NO_LIMIT);   // until the user resumes
         if (result == REEL_LINK_CANCELLED)
             break;
     }
     reel_link_end(link, REEL_LINK_KEEP_WINDOW, 5000);
     reel_link_free(link);

   A renderer need not care whether there is a player at all: without a session, and once a session
   has ended, every call returns at once with a code that says so.

   Threads: one handle belongs to one thread at a time; different handles are independent.
   Limits: `limit` is a time in milliseconds; 0 looks and does not wait; REEL_LINK_NO_LIMIT waits
   as long as it takes. No call but one with REEL_LINK_NO_LIMIT can take longer than its limit, but
   for the time that copying a picture takes, and up to a second for a player that does not go on with
   a message, or to make sure how a player ended.
   The program: signals, their handlers and the standard streams are left as they are. Only the
   player's own process is waited for; in a program that ignores SIGCHLD nobody learns how it ended:
   REEL_LINK_CLOSED is REEL_LINK_LOST then. Failures of the system go to standard error as well, in a
   line of their own; what the player prints goes where the program's output goes.
   Texts are owned by the handle and hold until its next call.

   This header is C99 and C++. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef struct reel_link reel_link;

/* What calls return: 0, above 0 what is no error, below 0 an error. Except for the first,
   reel_link_text says it in words. */
enum {
    REEL_LINK_OK = 0,
    REEL_LINK_TIMEOUT =
        1,                /* the limit is over; nothing was done, the same call may be made again */
    REEL_LINK_PAUSED = 2, /* the user has paused: do not render on; reel_link_wait tells when to */
    REEL_LINK_RESUMED = 3, /* the user wants it to go on */
    /* The session has ended. Every call from here on returns the same. */
    REEL_LINK_CANCELLED = 4, /* the user wants it to stop */
    REEL_LINK_FINISHED = 5,  /* the last frame has arrived, and: render: the user has closed the
                                window; preview: the player goes on by itself, at the user's */
    REEL_LINK_CLOSED = 6,    /* the user has closed the player, without cancelling */
    REEL_LINK_LOST = -1,     /* the player has died, or the link broke */
    /* The session is as it was. */
    REEL_LINK_REFUSED = -2,  /* the player did not take the frame that was sent before, and has said
                                why on standard error; that frame is lost, none was sent now */
    REEL_LINK_BAD_CALL = -3, /* an argument is wrong, or there is no session for this call */
    REEL_LINK_SYSTEM = -6,   /* no shared memory, sockets or processes to be had */
    /* Of reel_link_start: there is no session. */
    REEL_LINK_NO_PLAYER = -4, /* the program was not found, or may not be started */
    REEL_LINK_NOT_LINKED = -5 /* it was started, but ended, or did not link itself as it should */
};

enum { REEL_LINK_NO_LIMIT = -1 };

/* Kinds of sessions. */
enum {
    REEL_LINK_RENDER, /* frames are shown, and not kept */
    REEL_LINK_PREVIEW /* frames are kept by the player, which plays them when paused and when all
                         have arrived */
};

/* Pixels of 8 bits per part, by their bytes in the order of addresses. */
enum {
    REEL_LINK_RGBA,
    REEL_LINK_BGRA,
    REEL_LINK_ABGR,
    REEL_LINK_ARGB,
    REEL_LINK_RGB, /* 3 bytes; they become opaque */
    REEL_LINK_BGR
};

/* Which row of a picture comes first. */
enum { REEL_LINK_TOP_FIRST, REEL_LINK_BOTTOM_FIRST };

typedef struct {
    int kind;  /* REEL_LINK_RENDER or REEL_LINK_PREVIEW */
    int width; /* of every frame, pixels, 1 to 32767; width * height at most 0x1FFFFFFF */
    int height;
    int first;       /* number of the first frame, -2147483647 or more */
    int count;       /* frames, 1 or more; first + count is at most 2147483647 */
    double rate;     /* frames per second to play a preview at; 0: every frame, unpaced */
    int compression; /* of a preview, -1 (best picture) to 255 (smallest) */
    const char
        *player;     /* the program to start: a path, or a name to look for along PATH; null: what
                           the environment variable REEL_PLAYER says, else "playertool" beside this
                           program, else along PATH */
    int start_limit; /* milliseconds for all of reel_link_start, 1 or more */
} reel_link_session;

typedef struct {
    const void *pixels; /* where the row that comes first begins, 8-bit parts, width * height of the
                           session; only read during the call */
    long stride;        /* bytes from the beginning of a row to that of the next; may be negative;
                           0: rows follow each other without gaps */
    int order;          /* REEL_LINK_RGBA to REEL_LINK_BGR */
    int rows;           /* REEL_LINK_TOP_FIRST or REEL_LINK_BOTTOM_FIRST */
} reel_link_picture;

/* A handle without a session, or null when there is no memory. reel_link_free gives it back; a
   session that is still on is ended as reel_link_end with REEL_LINK_KEEP_WINDOW and limit 0 does.
   Null is allowed in reel_link_free. */
reel_link *reel_link_new(void);
void reel_link_free(reel_link *link);

/* Sets what most sessions share: a render of frames 1 to 1 at 24 frames per second, compression 12,
   5 seconds to start, the player looked for. Size is 0 and must be set. */
void reel_link_defaults(reel_link_session *session);

/* Starts the player and waits until its window is there. A session that the handle had before must
   have been ended. What a killed renderer of this user left in shared memory is removed first.
   Returns REEL_LINK_OK, BAD_CALL, NO_PLAYER, NOT_LINKED (with a player that took longer than
   start_limit too: it is killed) or SYSTEM. */
int reel_link_start(reel_link *link, const reel_link_session *session);

/* Shows a frame. The picture is copied, and sized to what fits the screen; the player takes it from
   there while the caller renders the next. Frames may come in any order, again, and with gaps; the
   one with the last number ends a preview: send it last. The window's progress goes by the number of
   the newest frame.
     frame  its number, first to first + count - 1
     limit  milliseconds in which the player must have taken the frame before
   Returns REEL_LINK_OK: on its way; TIMEOUT: the player is busy, or shows the user a question;
   PAUSED; CANCELLED, FINISHED, CLOSED, LOST; REFUSED; SYSTEM; BAD_CALL. But for OK the frame was not sent. */
int reel_link_send(reel_link *link, int frame, const reel_link_picture *picture, int limit);

/* Waits until the player has taken the frame that was sent last. Returns as reel_link_send does;
   REEL_LINK_OK also when none is on its way. */
int reel_link_flush(reel_link *link, int limit);

/* What the user has decided. Each change is told once: PAUSED (which reel_link_send may have told
   before), RESUMED; an end is told again and again. With limit 0 it is quick enough to be asked
   between rows of a picture; waiting costs next to no processor time.
   Returns REEL_LINK_OK when nothing new came in time; PAUSED, RESUMED; CANCELLED, FINISHED, CLOSED,
   LOST; BAD_CALL: no session. */
int reel_link_wait(reel_link *link, int limit);

/* Keeps the user's input from the player's progress window, and lets it in again; for example while
   the renderer asks its user something itself. Blocks nest. Returns REEL_LINK_OK, CANCELLED,
   FINISHED, CLOSED, LOST or BAD_CALL. The player does as it is told once it is not paused. */
int reel_link_block_input(reel_link *link);
int reel_link_unblock_input(reel_link *link);

/* What becomes of the player when the session is ended. */
enum {
    REEL_LINK_KEEP_WINDOW, /* it stays with the user: a render until OK is pressed, a preview to be
                              played, as far as it came. It lives on when this program has ended. */
    REEL_LINK_CLOSE        /* it ends, also when it is paused or plays a finished preview */
};

/* Ends the session, whatever its state, and gives back all that it had. The handle can start another.
     limit  milliseconds for: KEEP_WINDOW: the player to take the last frame, also if it is paused;
            CLOSE: the player to end; it is killed after that
   Returns REEL_LINK_OK; TIMEOUT: ended, but the last frame was not taken, or the player had to be
   killed; REFUSED: ended, but the last frame was refused; CANCELLED, FINISHED, CLOSED, LOST: ended,
   as it had before; BAD_CALL: there was none, or the mode is none. */
int reel_link_end(reel_link *link, int mode, int limit);

/* What the last call on this handle said, as one line without its end; "" after REEL_LINK_OK.
   Never null. */
const char *reel_link_text(const reel_link *link);

/* The size that the player shows frames in, pixels; smaller than the session's when the screen is
   small. Returns REEL_LINK_OK, or BAD_CALL with both untouched when no session was ever started. */
int reel_link_shown_size(const reel_link *link, int *width, int *height);

/* The player's process number, as it says itself; 0 when there is no session. */
long reel_link_player_process(const reel_link *link);

#ifdef __cplusplus
}
#endif
