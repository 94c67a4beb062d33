#include "toolkit/text/value_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numbers>
#include <type_traits>

namespace toolkit {

namespace {

constexpr int answer_true = 255;
constexpr std::string_view blanks = " \t\n\v\f\r";
constexpr float int_bound = 9999999.0F; // tested with this, kept at the next
constexpr float int_limit = 10000000.0F;
constexpr double degrees_per_half_turn = 180;

void skip_blanks(std::string_view &text) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
}

// What stands for a number that is too large for its type, or too near to zero.
template <typename number> number out_of_range(std::string_view written) {
    using limits = std::numeric_limits<number>;
    if constexpr (std::is_floating_point_v<number>) {
        constexpr std::size_t none = std::string_view::npos;
        const std::string_view whole = written.substr(0, written.find('.'));
        const bool has_exponent = written.find_first_of("eE") != none;
        const bool is_small =
            has_exponent ? written.find('-', 1) != none : whole.find_first_of("123456789") == none;
        if (is_small)
            return 0;
    }
    return written.starts_with('-') ? limits::lowest() : limits::max();
}

// Takes a number and the blanks before it off the text. False, and the text as it was, when there
// is none.
template <typename number> bool take_number(std::string_view &text, number &value) {
    std::string_view rest = text;
    skip_blanks(rest);
    const bool has_sign = rest.starts_with('+');
    if (has_sign)
        rest.remove_prefix(1);
    if (has_sign && rest.starts_with('-'))
        return false;
    number read{};
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), read);
    if (error == std::errc::invalid_argument)
        return false;
    const auto count = static_cast<std::size_t>(end - rest.data());
    if (error == std::errc::result_out_of_range)
        read = out_of_range<number>(rest.substr(0, count));
    value = read;
    text = rest.substr(count);
    return true;
}

float limit_int(float value) {
    if (value > int_bound)
        return int_limit;
    return value < -int_bound ? -int_limit : value;
}

void write_text(std::span<char> buffer, const char *text) {
    std::snprintf(buffer.data(), buffer.size(), "%s", text);
}

} // namespace

std::int32_t truncate_to_int(double value) {
    using limits = std::numeric_limits<std::int32_t>;
    if (std::isnan(value))
        return 0;
    return static_cast<std::int32_t>(
        std::clamp(value, double{limits::min()}, double{limits::max()}));
}

int read_int(std::string_view text, std::int32_t *value) {
    return take_number(text, *value) ? answer_true : 0;
}

int read_float(std::string_view text, float *value) {
    return take_number(text, *value) ? answer_true : 0;
}

int boolstring_to_val(std::string_view text, float *value) {
    const bool off = text.size() > 1 && (text[1] == 'F' || text[1] == 'f');
    *value = off ? 0.0F : 1.0F;
    return answer_true;
}

void val_to_boolstring(float value, std::span<char> buffer) {
    write_text(buffer, value == 0.0F ? "OFF" : "ON");
}

int intstring_to_val(std::string_view text, float *value) {
    float read = 0;
    if (read_float(text, &read) == 0)
        return 0;
    *value = limit_int(read);
    return answer_true;
}

void val_to_intstring(float value, std::span<char> buffer) {
    std::snprintf(buffer.data(), buffer.size(), "%d", truncate_to_int(limit_int(value)));
}

int degstring_to_rad(std::string_view text, float *value) {
    float degrees = 0;
    if (read_float(text, &degrees) == 0)
        return 0;
    *value = static_cast<float>(degrees * std::numbers::pi / degrees_per_half_turn);
    return answer_true;
}

void rad_to_degstring(float value, std::span<char> buffer) {
    std::snprintf(buffer.data(), buffer.size(), "%g",
                  value * degrees_per_half_turn / std::numbers::pi);
}

int is_an_int(std::string_view text) {
    std::int32_t ignored = 0;
    return read_int(text, &ignored);
}

int is_a_float(std::string_view text) {
    float ignored = 0;
    return read_float(text, &ignored);
}

int is_a_vector(std::string_view text) {
    float ignored = 0;
    return take_number(text, ignored) && !take_number(text, ignored) ? answer_true : 0;
}

int is_a_name(std::string_view text) {
    const bool is_number = is_an_int(text) != 0 || is_a_float(text) != 0 || is_a_vector(text) != 0;
    skip_blanks(text);
    return !is_number && !text.empty() ? answer_true : 0;
}

} // namespace toolkit
