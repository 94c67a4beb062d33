#include "tools/icons/source.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <span>

namespace icons {
namespace {

using words = std::vector<std::string_view>;

words split(std::string_view text, char separator) {
    words found;
    while (!text.empty()) {
        const std::size_t end = text.find(separator);
        if (end != 0)
            found.push_back(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return found;
}

bool read_number(std::string_view word, double *value) {
    const char *end = word.data() + word.size();
    const auto result = std::from_chars(word.data(), end, *value);
    return result.ec == std::errc{} && result.ptr == end && std::isfinite(*value);
}

bool read_side(std::string_view word, int *value) {
    const char *end = word.data() + word.size();
    const auto result = std::from_chars(word.data(), end, *value);
    return result.ec == std::errc{} && result.ptr == end && *value >= 1 && *value <= max_side;
}

bool read_point(std::string_view word, point *p) {
    const words parts = split(word, ',');
    return parts.size() == 2 && read_number(parts[0], &p->x) && read_number(parts[1], &p->y);
}

// A grey, or three numbers with commas between.
bool read_colour(std::string_view word, colour *c) {
    const words parts = split(word, ',');
    std::array<double, 3> levels{};
    if (parts.size() != 1 && parts.size() != 3)
        return false;
    for (std::size_t i = 0; i < levels.size(); i++)
        if (!read_number(parts[parts.size() == 1 ? 0 : i], &levels[i]) || levels[i] < 0 ||
            levels[i] > 255)
            return false;
    *c = {levels[0], levels[1], levels[2], false};
    return true;
}

bool is_name(std::string_view word) {
    constexpr std::string_view allowed = "abcdefghijklmnopqrstuvwxyz0123456789_.";
    return word.size() <= max_name && word.find_first_not_of(allowed) == std::string_view::npos;
}

// Statements. Each answers with a complaint, empty when all is well.

std::string read_state(const words &w, palette *colours) {
    state_colours s;
    if (w.size() != 6 || w[0] != "state" || w[2] != "ground" || w[4] != "shape")
        return "wanted: state NAME ground COLOUR shape COLOUR";
    s.ground.is_none = w[3] == "none";
    if ((!s.ground.is_none && !read_colour(w[3], &s.ground)) || !read_colour(w[5], &s.shape))
        return "a colour is a grey 0 .. 255 or R,G,B";
    if (!colours->try_emplace(std::string(w[1]), s).second)
        return "the state \"" + std::string(w[1]) + "\" is there already";
    return {};
}

// What is read of a source, and the fill in force.
struct reading {
    const palette &colours;
    source *s;
    shape next; // kind and points are filled in by the statement
};

std::string read_size(reading &r, const words &w) {
    drawing &d = r.s->shapes;
    if (w.size() != 3 || !read_side(w[1], &d.width) || !read_side(w[2], &d.height))
        return "wanted: size WIDTH HEIGHT, each 1 .. " + std::to_string(max_side);
    return {};
}

std::string want(reading &r, std::string name, std::string_view state, int width, int height) {
    const auto colours = r.colours.find(state);
    if (colours == r.colours.end())
        return "the palette has no state \"" + std::string(state) + "\"";
    if (!is_name(name))
        return "\"" + name + "\" is no name for a picture";
    r.s->pictures.push_back({std::move(name), colours->second, width, height});
    return {};
}

std::string read_picture(reading &r, const words &w) {
    int width = r.s->shapes.width, height = r.s->shapes.height;
    const bool has_size = w.size() == 5;
    if ((w.size() != 3 && !has_size) ||
        (has_size && !(read_side(w[3], &width) && read_side(w[4], &height))))
        return "wanted: picture NAME STATE [WIDTH HEIGHT]";
    return want(r, std::string(w[1]), w[2], width, height);
}

std::string read_button(reading &r, const words &w) {
    constexpr std::array<std::string_view, 4> states{"normal", "hilite", "pressed", "disabled"};
    if (w.size() != 2)
        return "wanted: button NAME";
    for (const std::string_view state : states) {
        std::string name(w[1]);
        if (state != states.front())
            name.append(".").append(state);
        std::string complaint =
            want(r, std::move(name), state, r.s->shapes.width, r.s->shapes.height);
        if (!complaint.empty())
            return complaint;
    }
    return {};
}

std::string read_fill(reading &r, const words &w) {
    if (w.size() == 2 && (w[1] == "shape" || w[1] == "ground")) {
        r.next.fill = w[1] == "shape" ? fill_kind::shape : fill_kind::ground;
        return {};
    }
    r.next.fill = fill_kind::own;
    if (w.size() != 2 || !read_colour(w[1], &r.next.own))
        return "wanted: fill shape, ground, a grey 0 .. 255 or R,G,B";
    return {};
}

struct shape_form {
    shape_kind kind;
    std::size_t points;  // as many; of a polygon, at least
    std::size_t numbers; // behind them
    const char *wanted;
};

// The numbers behind the points, where they belong.
bool take_numbers(shape &s, std::span<const std::string_view> w) {
    const std::array<double *, 4> places{&s.radius, &s.width, &s.from, &s.to};
    for (std::size_t i = 0; i < w.size(); i++)
        if (!read_number(w[i], places[i]) || (i < 2 && *places[i] <= 0))
            return false;
    return s.to >= s.from;
}

// Two corners have to be the lower left and the upper right one, as far apart as rounding takes.
bool are_corners(const shape &s) {
    const double least = 2 * s.radius;
    const point low = s.points[0], high = s.points[1];
    return high.x > low.x && high.y > low.y && high.x - low.x >= least && high.y - low.y >= least;
}

std::string add_shape(reading &r, const words &w, const shape_form &form) {
    shape s = r.next;
    s.kind = form.kind;
    const std::size_t count =
        form.kind == shape_kind::polygon ? std::max(w.size() - 1, form.points) : form.points;
    bool good = w.size() == 1 + count + form.numbers;
    for (std::size_t i = 1; good && i <= count; i++)
        good = read_point(w[i], &s.points.emplace_back());
    good = good && take_numbers(s, std::span(w).subspan(1 + count)) &&
           (form.points != 2 || are_corners(s));
    if (!good)
        return std::string("wanted: ") + form.wanted;
    r.s->shapes.shapes.push_back(std::move(s));
    return {};
}

std::string read_shape(reading &r, const words &w) {
    if (w[0] == "box")
        return add_shape(r, w, {shape_kind::box, 2, 0, "box X,Y X,Y"});
    if (w[0] == "rounded")
        return add_shape(r, w, {shape_kind::rounded, 2, 1, "rounded X,Y X,Y RADIUS"});
    if (w[0] == "polygon")
        return add_shape(r, w, {shape_kind::polygon, 3, 0, "polygon X,Y X,Y X,Y ..."});
    if (w[0] == "disc")
        return add_shape(r, w, {shape_kind::disc, 1, 1, "disc X,Y RADIUS"});
    if (w[0] == "arc")
        return add_shape(r, w, {shape_kind::arc, 1, 4, "arc X,Y RADIUS WIDTH FROM TO"});
    return "no such statement: " + std::string(w[0]);
}

std::string read_statement(reading &r, const words &w) {
    if (w[0] == "size")
        return read_size(r, w);
    if (r.s->shapes.width == 0)
        return "the size comes first";
    if (w[0] == "picture")
        return read_picture(r, w);
    if (w[0] == "button")
        return read_button(r, w);
    if (w[0] == "fill")
        return read_fill(r, w);
    return read_shape(r, w);
}

// Lets `statement` look at the words of each line that has any.
template <typename Statement>
int read_lines(std::string_view text, std::string *error, Statement statement) {
    for (int line = 1; !text.empty(); line++) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const words w = split(text.substr(0, std::min(end, text.find('#'))), ' ');
        text.remove_prefix(std::min(end + 1, text.size()));
        const std::string complaint = w.empty() ? std::string{} : statement(w);
        if (!complaint.empty()) {
            *error = "line " + std::to_string(line) + ": " + complaint;
            return -1;
        }
    }
    return 0;
}

} // namespace

int read_palette(std::string_view text, palette *colours, std::string *error) {
    return read_lines(text, error, [colours](const words &w) { return read_state(w, colours); });
}

int read_source(std::string_view text, const palette &colours, source *s, std::string *error) {
    reading r{colours, s, {}};
    return read_lines(text, error, [&r](const words &w) { return read_statement(r, w); });
}

} // namespace icons
