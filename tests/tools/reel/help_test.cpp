// Man page and completion know every command and option that the program has, and no others.
#include "tests/tools/reel/run_program.h"

#include <gtest/gtest.h>

#include <iterator>
#include <regex.h>
#include <set>
#include <sstream>

namespace reel {

namespace {

using names = std::set<std::string>;

// The last groups of all matches. (The standard library's expressions take the compiler seconds.)
names find_all(const std::string &text, const char *expression) {
    names found;
    regex_t pattern;
    EXPECT_EQ(::regcomp(&pattern, expression, REG_EXTENDED), 0) << expression;
    regmatch_t groups[3];
    const std::size_t last = pattern.re_nsub;
    const char *at = text.c_str();
    while (::regexec(&pattern, at, std::size(groups), groups,
                     at == text.c_str() ? 0 : REG_NOTBOL) == 0) {
        found.emplace(at + groups[last].rm_so, at + groups[last].rm_eo);
        at += groups[0].rm_eo;
    }
    ::regfree(&pattern);
    return found;
}

std::string help_of(const std::string &command) {
    return run({command, "--help"}).out;
}

// The commands, from the part of the help that lists them.
names list_commands() {
    const std::string help = run({"--help"}).out;
    const std::size_t begin = help.find("Subcommands:");
    EXPECT_NE(begin, std::string::npos) << help;
    return find_all(help.substr(begin), "\n  ([a-z]+) ");
}

// "--fps" and "-o", from the lines of the help that begin with them.
names list_options(const std::string &command) {
    names found;
    std::istringstream lines(help_of(command));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t begin = line.find_first_not_of(' ');
        if (begin == 0 || begin == std::string::npos || line[begin] != '-')
            continue;
        const std::string head = line.substr(0, line.find("  ", line.find('-')));
        found.merge(find_all(head, "(^| |,)(--?[a-z][a-z-]*)"));
    }
    found.erase("-h");
    found.erase("--help"); // told once, for all commands
    return found;
}

// The options of one command's section in the man page.
names list_documented(const std::string &page, const std::string &command) {
    const std::size_t begin = page.find("\n.Ss " + command + "\n");
    if (begin == std::string::npos)
        return {};
    const std::size_t end = page.find("\n.S", begin + 1);
    std::istringstream lines(page.substr(begin + 1, end - begin));
    names found;
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with(".It"))
            for (const std::string &flag : find_all(line, "Fl (-?[a-z][a-z-]*)"))
                found.insert("-" + flag);
    return found;
}

// What completion offers for the last word.
names complete(const scratch_folder &folder, const std::vector<std::string> &words) {
    std::string script = "cd '" + folder.path + "'; source '" REEL_COMPLETION "'; COMP_WORDS=(";
    for (const std::string &word : words)
        script += "'" + word + "' ";
    script += "); COMP_CWORD=" + std::to_string(words.size() - 1) +
              "; COMPREPLY=(); _reel; printf '%s\\n' \"${COMPREPLY[@]}\" > offered";
    write_bytes(folder / "script", script);
    EXPECT_EQ(std::system(("bash '" + (folder / "script") + "'").c_str()), 0); // NOLINT
    names found = find_all(read_bytes(folder / "offered"), "([^\n]+)\n");
    std::filesystem::remove(folder / "offered");
    std::filesystem::remove(folder / "script");
    return found;
}

TEST(help, man_page_and_completion_have_every_option) {
    const std::string page = read_bytes(REEL_MAN_PAGE);
    const scratch_folder folder;
    const names commands = list_commands();
    EXPECT_GE(commands.size(), 8U);
    for (const std::string &command : commands) {
        SCOPED_TRACE(command);
        const names options = list_options(command);
        EXPECT_FALSE(options.empty());
        EXPECT_EQ(list_documented(page, command), options);
        names offered = complete(folder, {"reel", command, "-"});
        EXPECT_EQ(offered.erase("--help"), 1U);
        names long_ones = options;
        std::erase_if(long_ones, [](const std::string &name) { return name[1] != '-'; });
        EXPECT_EQ(offered, long_ones);
        EXPECT_NE(page.find("\n.Cm " + command + "\n"), std::string::npos) << "no synopsis";
    }
    names offered = complete(folder, {"reel", ""});
    EXPECT_EQ(offered.erase("--help") + offered.erase("--version"), 2U);
    EXPECT_EQ(offered, commands);
    EXPECT_EQ(find_all(page, "\n\\.Ss ([a-z]+)\n"), commands);
}

TEST(help, completion_offers_files_that_fit) {
    const scratch_folder folder;
    for (const char *name : {"a b.reel", "shot.1.png", "film.mp4", "notes.txt"})
        write_bytes(folder / name, "");
    std::filesystem::create_directory(folder / "parts");
    const struct {
        std::vector<std::string> words;
        names expected;
    } cases[] = {
        {{"reel", "info", ""}, {"a b.reel", "parts"}},
        {{"reel", "verify", "a"}, {"a b.reel"}},
        {{"reel", "encode", "-o", ""}, {"a b.reel", "parts"}},
        {{"reel", "encode", "s"}, {"shot.1.png", "script"}},
        {{"reel", "sheet", "-o", "s"}, {"shot.1.png"}},
        {{"reel", "decode", "--output", "f"}, {"film.mp4"}},
        {{"reel", "encode", "--fps", ""}, {}},
        {{"reel", "decode", "--codec", "f"}, {"ffv1"}},
        {{"reel", "nothing", "-"}, {}},
    };
    for (const auto &each : cases)
        EXPECT_EQ(complete(folder, each.words), each.expected) << each.words[1];
}

} // namespace

} // namespace reel
