#include "tools/reel/preview_view.h"

#include <algorithm>
#include <climits>
#include <utility>

namespace reel {

namespace {

constexpr std::size_t most_waiting = 2;
constexpr int sending_wait_ms = 4; // until a player has taken the frame before
constexpr int decision_wait_ms = 30;

std::int64_t last_number(const frame_selection &frames) {
    return frames.range.first + (count_selected(frames) - 1) * frames.step;
}

// What the player calls a frame: its own numbers follow each other.
int player_number(const frame_selection &frames, std::int64_t number) {
    return static_cast<int>(frames.range.first + (number - frames.range.first) / frames.step);
}

view_news lose(preview_view &view, view_news what) {
    view.text = reel_link_text(view.link.get());
    view.link.reset();
    view.waiting.clear();
    view.last = {};
    view.is_paused = false;
    return what;
}

view_news news_of(preview_view &view, int result) {
    switch (result) {
    case REEL_LINK_PAUSED:
        return std::exchange(view.is_paused, true) ? view_news::none : view_news::paused;
    case REEL_LINK_RESUMED:
        view.is_paused = false;
        return view_news::resumed;
    case REEL_LINK_CANCELLED:
        return view_news::cancelled;
    case REEL_LINK_FINISHED:
        return lose(view, view_news::finished);
    case REEL_LINK_CLOSED:
        return lose(view, view_news::closed);
    case REEL_LINK_OK:
    case REEL_LINK_TIMEOUT:
    case REEL_LINK_REFUSED:
        return view_news::none;
    default:
        return lose(view, view_news::lost);
    }
}

// Sends one frame that waits.
int send_waiting(preview_view &view) {
    const waiting_frame &frame = view.waiting.front();
    const reel_link_picture picture{frame.words.data(), 0, REEL_LINK_RGBA, REEL_LINK_BOTTOM_FIRST};
    const int result = reel_link_send(
        view.link.get(), player_number(view.settings.frames, frame.number), &picture, 0);
    if (result == REEL_LINK_OK || result == REEL_LINK_BAD_CALL)
        view.waiting.pop_front();
    return result;
}

} // namespace

int open_view(preview_view &view, const view_settings &settings, int width, int height) {
    view.settings = settings;
    const std::int64_t last = settings.frames.range.first + count_selected(settings.frames) - 1;
    if (settings.frames.range.first < INT_MIN + 1 || last >= INT_MAX ||
        count_selected(settings.frames) > INT_MAX) {
        view.text = "the player cannot count that far";
        return -1;
    }
    view.link.reset(reel_link_new());
    reel_link_session session;
    reel_link_defaults(&session);
    session.kind = settings.is_render ? REEL_LINK_RENDER : REEL_LINK_PREVIEW;
    session.width = width;
    session.height = height;
    session.first = static_cast<int>(settings.frames.range.first);
    session.count = static_cast<int>(count_selected(settings.frames));
    session.rate = settings.rate;
    session.compression = settings.threshold;
    session.player = settings.player.empty() ? nullptr : settings.player.c_str();
    if (view.link == nullptr || reel_link_start(view.link.get(), &session) != REEL_LINK_OK) {
        view.text = view.link != nullptr ? reel_link_text(view.link.get()) : "no memory";
        view.link.reset();
        return -1;
    }
    return 0;
}

void show_frame(preview_view &view, std::int64_t number, std::vector<std::uint32_t> words) {
    if (view.link == nullptr)
        return;
    view.shown.insert(number);
    const bool is_last = number == last_number(view.settings.frames);
    const auto count = static_cast<std::size_t>(count_selected(view.settings.frames));
    if (is_last && view.shown.size() < count) {
        view.last = {number, std::move(words)};
        return;
    }
    view.waiting.push_back({number, std::move(words)});
    if (view.shown.size() == count)
        show_last_frame(view);
}

void show_last_frame(preview_view &view) {
    if (!view.last.words.empty())
        view.waiting.push_back(std::move(view.last));
    view.last = {};
}

bool has_view_room(const preview_view &view) {
    return view.link == nullptr || view.waiting.size() < most_waiting;
}

bool is_view_idle(const preview_view &view) {
    return view.link == nullptr || view.waiting.empty();
}

view_news look_at_view(preview_view &view) {
    if (view.link == nullptr)
        return view_news::none;
    const view_news news = news_of(view, reel_link_wait(view.link.get(), 0));
    if (news != view_news::none || view.is_paused)
        return news;
    while (!view.waiting.empty()) {
        const int result = send_waiting(view);
        if (result != REEL_LINK_OK && result != REEL_LINK_BAD_CALL)
            return news_of(view, result);
    }
    return view_news::none;
}

int view_wait_ms(const preview_view &view) {
    if (view.link == nullptr)
        return -1;
    return view.waiting.empty() || view.is_paused ? decision_wait_ms : sending_wait_ms;
}

void close_view(preview_view &view, int limit_ms) {
    if (view.link != nullptr)
        static_cast<void>(reel_link_end(view.link.get(), REEL_LINK_KEEP_WINDOW, limit_ms));
    view.link.reset();
}

void end_view(preview_view &view, int limit_ms) {
    if (view.link != nullptr)
        static_cast<void>(reel_link_end(view.link.get(), REEL_LINK_CLOSE, limit_ms));
    view.link.reset();
}

} // namespace reel
