// What tests read out of documents and headers.
#pragma once

#include <cctype>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace test_support {

inline std::string read_file(const std::string &path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Runs of letters, digits and underscores.
inline std::set<std::string> words_of(const std::string &text) {
    std::set<std::string> words;
    std::string word;
    for (const char c : text + " ")
        if (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_')
            word += c;
        else if (!word.empty())
            words.insert(std::exchange(word, {}));
    return words;
}

// What stands between one and the next, one pair after the other.
inline std::vector<std::string> texts_between(const std::string &text, std::string_view begin,
                                              std::string_view end) {
    std::vector<std::string> found;
    for (std::size_t at = 0; (at = text.find(begin, at)) != std::string::npos;) {
        at += begin.size();
        const std::size_t length = text.find(end, at) - at;
        found.push_back(text.substr(at, length));
        at = length >= text.size() - at ? text.size() : at + length + end.size();
    }
    return found;
}

} // namespace test_support
