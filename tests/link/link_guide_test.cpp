// The guide's renderer, written in C, does what the guide says; and the guide leaves out no call,
// result or code.
#include "tests/link/run_renderer.h"

#include "link/own_segments.h"
#include "tests/support/documents.h"

#include <gtest/gtest.h>

#include <set>

namespace render_link {

using test_support::read_file;

namespace {

// Every name of the library's in a text.
std::set<std::string> names_in(const std::string &text) {
    std::set<std::string> names;
    for (const std::string &word : test_support::words_of(text))
        if (word.starts_with("reel_link_") || word.starts_with("REEL_LINK_"))
            names.insert(word);
    return names;
}

} // namespace

TEST(LinkGuide, ItsRendererRuns) {
    constexpr renderer_case cases[] = {
        {"", "ok=0", 0, "all frames rendered\n"},
        {"preview", "linger=0 size=100x50", 0, "all frames rendered\n"},
        {"", "pause@3=1000", 0, "paused\nresumed\nall frames rendered\n"},
        {"", "cancel@4", 3, "cancelled\n"},
        {"", "quit@4", 0, "the user has closed the player\n"},
        {"", "die@4", 0, "signal 9 (Killed)\n"},
        {"", "refuse@4", 0, "the player has refused the frame before\nall frames rendered\n"},
        {"", "exit=3", 0, "nobody will see it: "},
    };
    expect_outcomes("timeout 20 " GUIDE_RENDERER, cases);
}

TEST(LinkGuide, NamesOnlyWhatThereIs) {
    const std::string header = read_file(HEADER);
    const std::string guide = read_file(GUIDE);
    ASSERT_FALSE(header.empty());
    const std::set<std::string> there = names_in(header);
    for (const std::string &name : names_in(guide))
        EXPECT_TRUE(there.contains(name)) << name;
    for (const std::string &call : there) {
        const bool is_call = header.find(call + "(") != std::string::npos;
        EXPECT_TRUE(!is_call || guide.find(call) != std::string::npos) << call;
    }
    char mark[16];
    std::snprintf(mark, sizeof mark, "0x%X", static_cast<unsigned>(key_mark));
    EXPECT_NE(guide.find(mark), std::string::npos);
}

} // namespace render_link
