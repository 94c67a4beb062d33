// What an action writes into a stream, as text to compare.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace toolkit {

template <typename action> std::string written(action act) {
    char *text = nullptr;
    std::size_t size = 0;
    std::FILE *stream = open_memstream(&text, &size);
    act(stream);
    std::fclose(stream);
    std::string result(text, size);
    std::free(text);
    return result;
}

} // namespace toolkit
