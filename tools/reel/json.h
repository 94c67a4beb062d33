// JSON for programs that read what a command found.
//
//   json_text json;
//   open_json(json, '{');
//   name_json(json, "file"), add_json(json, "shot.reel");
//   name_json(json, "frames"), add_json(json, 24);
//   close_json(json, '}');
//   std::fputs(json.text.c_str(), stdout);                  // {"file": "shot.reel", "frames": 24}
//
// The caller opens and closes in pairs and names every value of an object; commas are put in here.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

namespace reel {

struct json_text {
    std::string text;
    bool begun = false; // something stands before, in the innermost object or array
    bool named = false; // a name waits for its value
};

// Opens an object ('{') or an array ('['); closes it ('}', ']').
void open_json(json_text &json, char kind);
void close_json(json_text &json, char kind);

// Begins a new line before the next value of an array.
void break_json(json_text &json);

// The name of the value that comes next.
void name_json(json_text &json, std::string_view name);

// Bytes that are not UTF-8 (file names may hold any) become the replacement character.
void add_json(json_text &json, std::string_view text);
inline void add_json(json_text &json, const char *text) {
    add_json(json, std::string_view(text));
}

// With so many digits after the point; null when it is not finite.
void add_json(json_text &json, double value, int decimals);

void add_json_number(json_text &json, std::int64_t value);
void add_json_bool(json_text &json, bool value);
template <std::integral number> void add_json(json_text &json, number value) {
    if constexpr (std::same_as<number, bool>)
        add_json_bool(json, value);
    else
        add_json_number(json, static_cast<std::int64_t>(value));
}

void add_json_null(json_text &json);

} // namespace reel
