// The text that is cut, copied and pasted.
//
//   set_clipboard_text("shot_012");
//   insert_text(&line, get_clipboard_text());
//
// Until a layer that knows the desktop's clipboard installs its pair of functions, the text stays
// within the process.
#pragma once

#include <string_view>

namespace toolkit {

// UTF-8. What get returns is good until the next call of either.
struct clipboard_functions {
    std::string_view (*get)() = nullptr;
    void (*set)(std::string_view text) = nullptr;
};

// Null members: the process's own.
void set_clipboard_functions(const clipboard_functions &functions);

[[nodiscard]] std::string_view get_clipboard_text();
void set_clipboard_text(std::string_view text); // without memory for it: stays as it was

} // namespace toolkit
