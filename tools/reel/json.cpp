#include "tools/reel/json.h"

#include <cmath>
#include <cstdio>

namespace reel {

namespace {

// What must stand before the next name or value.
void separate(json_text &json) {
    if (json.begun && !json.named) {
        const bool broken = !json.text.empty() && json.text.back() == '\n';
        if (broken)
            json.text.pop_back();
        json.text += broken ? ",\n " : ", ";
    }
    json.begun = true;
    json.named = false;
}

// The bytes that may follow the first byte of a UTF-8 character of several.
struct second_byte {
    unsigned char lowest = 0x80;
    unsigned char highest = 0xBF;
};

second_byte follow(unsigned char lead) {
    switch (lead) {
    case 0xE0:
        return {0xA0, 0xBF}; // lower ones would be a character of two bytes
    case 0xED:
        return {0x80, 0x9F}; // higher ones are halves of pairs
    case 0xF0:
        return {0x90, 0xBF};
    case 0xF4:
        return {0x80, 0x8F}; // the last characters there are
    default:
        return {};
    }
}

// How many bytes a well-formed UTF-8 character takes at the front of the text; 0 when there is
// none.
std::size_t utf8_length(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    const std::size_t length = lead < 0x80                   ? 1
                               : lead >= 0xC2 && lead < 0xE0 ? 2
                               : lead >= 0xE0 && lead < 0xF0 ? 3
                               : lead >= 0xF0 && lead < 0xF5 ? 4
                                                             : 0;
    if (length < 2 || length > text.size())
        return length > text.size() ? 0 : length;
    const auto second = static_cast<unsigned char>(text[1]);
    if (second < follow(lead).lowest || second > follow(lead).highest)
        return 0;
    for (std::size_t i = 2; i < length; ++i)
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80)
            return 0;
    return length;
}

} // namespace

void open_json(json_text &json, char kind) {
    separate(json);
    json.text += kind;
    json.begun = false;
}

void close_json(json_text &json, char kind) {
    json.text += kind;
    json.begun = true;
}

void break_json(json_text &json) {
    if (json.begun)
        json.text += '\n';
}

void name_json(json_text &json, std::string_view name) {
    add_json(json, name);
    json.text += ": ";
    json.named = true;
}

void add_json(json_text &json, std::string_view text) {
    separate(json);
    json.text += '"';
    while (!text.empty()) {
        const auto c = static_cast<unsigned char>(text[0]);
        const std::size_t length = utf8_length(text);
        if (length == 0) {
            json.text += "\\ufffd";
        } else if (c < 0x20 || c == 0x7F || c == '"' || c == '\\') {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", c);
            json.text += escape;
        } else {
            json.text += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    json.text += '"';
}

void add_json(json_text &json, double value, int decimals) {
    if (!std::isfinite(value)) {
        add_json_null(json);
        return;
    }
    separate(json);
    char text[352]; // the greatest double has 309 digits
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    json.text += text;
}

void add_json_number(json_text &json, std::int64_t value) {
    separate(json);
    json.text += std::to_string(value);
}

void add_json_bool(json_text &json, bool value) {
    separate(json);
    json.text += value ? "true" : "false";
}

void add_json_null(json_text &json) {
    separate(json);
    json.text += "null";
}

} // namespace reel
