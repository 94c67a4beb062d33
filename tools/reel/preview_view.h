// The player as a preview sees it: frames go to it in an order that it can use, and what its user
// decides comes back.
//
//   preview_view view;
//   open_view(view, {...}, 640, 480);                      // with the first picture
//   show_frame(view, 12, picture.words);
//   const view_news news = look_at_view(view);             // now and then; never waits
//   close_view(view, 5000);
//
// Whatever happens to the player, the calls go on and do nothing.
#pragma once

#include "link/reel_link.h"
#include "tools/reel/frame_pattern.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace reel {

struct view_settings {
    bool is_render = false;
    frame_selection frames;
    int rate = 0;
    int threshold = 0;
    std::string player; // empty: looked for
};

enum class view_news { none, paused, resumed, cancelled, closed, lost, finished };

struct link_handle_freer {
    void operator()(reel_link *link) const { reel_link_free(link); }
};

struct waiting_frame {
    std::int64_t number = 0;
    std::vector<std::uint32_t> words;
};

struct preview_view {
    std::unique_ptr<reel_link, link_handle_freer> link; // null: no player
    view_settings settings;
    std::deque<waiting_frame> waiting; // to be sent
    waiting_frame last;                // the last number's picture, which ends a preview; or empty
    std::set<std::int64_t> shown;
    bool is_paused = false;
    std::string text; // why there is no player, or none any more
};

// Starts the player. Returns 0, or -1 with view.text filled: there is none then.
[[nodiscard]] int open_view(preview_view &view, const view_settings &settings, int width,
                            int height);

// Takes over a picture (rows bottom-up, of the size that the view was opened with). The last frame
// of a preview ends it: it is held back until all others were shown, or nothing more comes.
void show_frame(preview_view &view, std::int64_t number, std::vector<std::uint32_t> words);
void show_last_frame(preview_view &view); // nothing more comes

// Whether it can take more pictures without piling them up.
[[nodiscard]] bool has_view_room(const preview_view &view);
[[nodiscard]] bool is_view_idle(const preview_view &view); // all that it took is sent

// Sends what waits, as far as the player takes it, and asks what its user has decided.
[[nodiscard]] view_news look_at_view(preview_view &view);

// How long until the next look, in milliseconds; -1: no need.
[[nodiscard]] int view_wait_ms(const preview_view &view);

// Leaves the player to its user; or ends it, where its user has cancelled.
void close_view(preview_view &view, int limit_ms);
void end_view(preview_view &view, int limit_ms);

} // namespace reel
