#include "toolkit/demons/layouts.h"

#include "toolkit/demons/demon_tree.h"
#include "toolkit/graphics/window_calls.h"
#include "toolkit/objects/object_names.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace toolkit {

namespace {

constexpr const char *extension = ".lyo";
constexpr int most_distance = 65535; // between two places that 16 bits hold
constexpr mode_t new_file_mode = 0666;
constexpr mode_t permission_bits = 0777;

struct close_file {
    void operator()(std::FILE *file) const { static_cast<void>(std::fclose(file)); }
};
using file_pointer = std::unique_ptr<std::FILE, close_file>;

// ---- names

void name_for_layout(demon *d) {
    auto_name_demon(d);
    std::array<char, object_name_size> name = {};
    get_name_of_object(d, name.data());
    if (name[0] != 0)
        return;
    clear_mark_demon(d); // marked since a table that is no more
    auto_name_demon(d);
}

void name_all_demons() {
    do_demon_tree(inq_demon_god(), name_for_layout);
}

// As it is written: a name is one line.
std::array<char, object_name_size> written_name(const demon *d) {
    std::array<char, object_name_size> name = {};
    get_name_of_object(d, name.data());
    for (char &c : name)
        if (c == '\n' || c == '\r')
            c = ' ';
    return name;
}

// ---- blocks

int depth_of(const demon *d) {
    int depth = 0;
    for (d = d->parent.get(); d != nullptr && d != inq_demon_god(); d = d->parent.get())
        ++depth;
    return depth;
}

void print_line(std::FILE *file, int depth, const std::string &line) {
    print_indents(file, depth);
    static_cast<void>(std::fputs((line + "\n").c_str(), file));
}

void open_block(std::FILE *file, const demon *d, int depth) {
    const demon *parent = d->parent.get();
    const auto pair = [](int first, int second) {
        return std::string(" ")
            .append(std::to_string(first))
            .append(" ")
            .append(std::to_string(second));
    };
    print_line(file, depth, std::string("BEGIN ") + written_name(d).data());
    print_line(file, depth + 1, "TYPE -1");
    print_line(file, depth + 1,
               "POSITION" + pair(d->box.x - parent->box.x, d->box.y - parent->box.y));
    print_line(file, depth + 1, "SIZE" + pair(d->box.width, d->box.height));
}

// Whose block comes after d's, at the same depth and under the same parent.
const demon *sibling_after(const demon *d) {
    if (d->next != nullptr || d->list != demon_list::kids)
        return d->next;
    return d->parent.get()->pop_list;
}

// One demon with all that is in it, however deep.
void write_block(std::FILE *file, const demon *top) {
    const demon *d = top;
    int depth = depth_of(top);
    while (true) {
        open_block(file, d, depth);
        if (const demon *child = d->kids != nullptr ? d->kids : d->pop_list) {
            d = child;
            ++depth;
            continue;
        }
        print_line(file, depth, "END");
        while (d != top && sibling_after(d) == nullptr) {
            d = d->parent.get();
            print_line(file, --depth, "END");
        }
        if (d == top)
            return;
        d = sibling_after(d);
    }
}

// ---- files

// Where a file really is, so that a link to it stays one.
std::string resolve(const std::string &path) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                           &std::free);
    return real != nullptr ? real.get() : path;
}

// Opens a new file beside the path, with the permissions that the path has or a new file gets.
// Null, with the reason in errno, when the path may not be written.
file_pointer create_beside(const std::string &path, std::string &temporary) {
    struct stat status = {};
    mode_t mode = 0;
    if (::stat(path.c_str(), &status) == 0) {
        if (!S_ISREG(status.st_mode)) {
            errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
            return nullptr;
        }
        if (::access(path.c_str(), W_OK) != 0)
            return nullptr;
        mode = status.st_mode & permission_bits;
    } else {
        const mode_t mask = ::umask(0);
        static_cast<void>(::umask(mask));
        mode = new_file_mode & ~mask;
    }
    std::string pattern = path + ".XXXXXX";
    const int descriptor = ::mkostemp(pattern.data(), O_CLOEXEC);
    if (descriptor < 0)
        return nullptr;
    temporary = pattern;
    static_cast<void>(::fchmod(descriptor, mode));
    file_pointer file(::fdopen(descriptor, "w"));
    if (file == nullptr)
        static_cast<void>(::close(descriptor));
    return file;
}

// To the disk, and closed.
bool finish(file_pointer file) {
    const bool written = std::ferror(file.get()) == 0 && std::fflush(file.get()) == 0 &&
                         ::fsync(::fileno(file.get())) == 0;
    return std::fclose(file.release()) == 0 && written;
}

file_pointer open_regular(const std::string &path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0)
        return nullptr;
    struct stat status = {};
    file_pointer file;
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))
        file.reset(::fdopen(descriptor, "r"));
    if (file == nullptr)
        static_cast<void>(::close(descriptor));
    return file;
}

// ---- words

constexpr int end_of_file = -1;

int peek(layout_reader &reader) {
    if (reader.at == reader.read) {
        reader.at = 0;
        reader.read = std::fread(reader.piece.data(), 1, reader.piece.size(), reader.file);
    }
    return reader.read == 0 ? end_of_file : static_cast<unsigned char>(reader.piece[reader.at]);
}

bool is_blank(int c) {
    return c == ' ' || c == '\t';
}
bool is_line_end(int c) {
    return c == '\n' || c == '\r';
}

// Characters up to one that ends it; what does not fit is left out.
template <typename condition>
void copy_until(layout_reader &reader, layout_text &text, condition ends) {
    text = {};
    std::size_t length = 0;
    for (int c = peek(reader); c != end_of_file && !ends(c); c = peek(reader)) {
        if (length + 1 < text.size())
            text[length++] = static_cast<char>(c);
        ++reader.at;
    }
}

layout_keyword keyword_of(const layout_text &word) {
    struct entry {
        std::string_view text;
        layout_keyword keyword;
    };
    static constexpr entry keywords[] = {{"BEGIN", layout_keyword::begin},
                                         {"END", layout_keyword::end},
                                         {"TYPE", layout_keyword::type},
                                         {"SIZE", layout_keyword::size},
                                         {"POSITION", layout_keyword::position}};
    for (const entry &e : keywords)
        if (e.text == word.data())
            return e.keyword;
    return layout_keyword::none;
}

int number_of(const layout_text &word) {
    const long number = std::strtol(word.data(), nullptr, 10);
    return static_cast<int>(std::clamp<long>(number, -most_distance, most_distance));
}

// ---- what the keywords do

bool get_numbers(layout_reader &reader, int *first, int *second) {
    layout_token token;
    if (!get_token(reader, layout_value::number, token))
        return false;
    *first = token.number;
    if (!get_token(reader, layout_value::number, token))
        return false;
    *second = token.number;
    return true;
}

void begin_demon(layout_reader &reader) {
    reader.current = {};
    layout_token name;
    if (!get_token(reader, layout_value::name, name))
        return;
    object *named = get_named_object(name.text.data());
    if (is_demon(named))
        reader.current = refer_to_demon(static_cast<demon *>(named));
}

void end_demon(layout_reader &reader) {
    if (const demon *d = reader.current.get())
        reader.current = d->parent;
}

bool size_current(layout_reader &reader) {
    int width = 0, height = 0;
    if (!get_numbers(reader, &width, &height))
        return false;
    if (demon *d = reader.current.get()) {
        d->box.width = clamp_16(width);
        d->box.height = clamp_16(height);
    }
    return true;
}

bool place_current(layout_reader &reader) {
    int x = 0, y = 0;
    if (!get_numbers(reader, &x, &y))
        return false;
    demon *d = reader.current.get();
    if (const demon *parent = d != nullptr ? d->parent.get() : nullptr)
        demon_move_message(d, parent->box.x + x - d->box.x, parent->box.y + y - d->box.y);
    return true;
}

} // namespace

// ---- writing

void write_layout(const char *name) {
    demon *god = inq_demon_god();
    if (name == nullptr || god == nullptr)
        return;
    name_all_demons();
    god = inq_demon_god(); // classes may do anything when asked for names
    if (god == nullptr)
        return;
    const std::string path = resolve(std::string(name) + extension);
    std::string temporary;
    file_pointer file = create_beside(path, temporary);
    bool written = false;
    if (file != nullptr) {
        write_demon_layout(file.get(), god->kids);
        written = finish(std::move(file)) && std::rename(temporary.c_str(), path.c_str()) == 0;
    }
    if (written)
        return;
    std::fprintf(stderr, "layout %s: not written: %s\n", path.c_str(), std::strerror(errno));
    if (!temporary.empty())
        static_cast<void>(std::remove(temporary.c_str()));
}

void write_demon_layout(std::FILE *file, demon *first) {
    for (const demon *d = first; d != nullptr && d->parent.get() != nullptr; d = d->next)
        write_block(file, d);
}

void print_indents(std::FILE *file, int depth) {
    for (; depth > 0; --depth)
        static_cast<void>(std::fputs("    ", file));
}

// ---- reading

void read_layout(const char *name) {
    if (name == nullptr)
        return;
    const file_pointer file = open_regular(std::string(name) + extension);
    if (file == nullptr)
        return;
    name_all_demons();
    layout_reader reader;
    reader.file = file.get();
    while (get_keyword(reader))
        continue;
    gl_refresh(all_windows);
}

bool get_word(layout_reader &reader, layout_text &text) {
    while (is_blank(peek(reader)) || is_line_end(peek(reader)))
        ++reader.at;
    copy_until(reader, text, [](int c) { return is_blank(c) || is_line_end(c); });
    return text[0] != 0;
}

bool get_string(layout_reader &reader, layout_text &text) {
    while (is_blank(peek(reader)))
        ++reader.at;
    copy_until(reader, text, is_line_end);
    return text[0] != 0;
}

bool get_token(layout_reader &reader, layout_value kind, layout_token &token) {
    const bool found =
        kind == layout_value::name ? get_string(reader, token.text) : get_word(reader, token.text);
    if (!found)
        return false;
    reader.pending = keyword_of(token.text);
    if (reader.pending != layout_keyword::none)
        return false;
    if (kind == layout_value::number)
        token.number = number_of(token.text);
    return true;
}

bool get_keyword(layout_reader &reader) {
    layout_keyword keyword = std::exchange(reader.pending, layout_keyword::none);
    layout_text text;
    if (keyword == layout_keyword::none && get_word(reader, text))
        keyword = keyword_of(text);
    layout_token ignored;
    switch (keyword) {
    case layout_keyword::begin:
        begin_demon(reader);
        return true;
    case layout_keyword::end:
        end_demon(reader);
        return true;
    case layout_keyword::type:
        return get_token(reader, layout_value::number, ignored);
    case layout_keyword::size:
        return size_current(reader);
    case layout_keyword::position:
        return place_current(reader);
    default:
        return false;
    }
}

} // namespace toolkit
