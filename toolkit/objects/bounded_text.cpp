#include "toolkit/objects/bounded_text.h"

#include <algorithm>
#include <cstring>

namespace toolkit {

namespace {

bool is_continuation(char c) {
    return (static_cast<unsigned char>(c) & 0xc0U) == 0x80;
}

} // namespace

std::size_t copy_bounded(std::span<char> field, std::string_view text) {
    if (field.empty())
        return 0;
    std::size_t size = std::min(text.size(), field.size() - 1);
    if (size < text.size()) {
        constexpr std::size_t longest_tail = 3; // more is not UTF-8: cut where the field ends
        std::size_t start = size;
        while (start > 0 && size - start < longest_tail && is_continuation(text[start]))
            start--;
        if (!is_continuation(text[start]))
            size = start;
    }
    if (size > 0)
        std::memmove(field.data(), text.data(), size);
    std::memset(field.data() + size, 0, field.size() - size);
    return size;
}

} // namespace toolkit
