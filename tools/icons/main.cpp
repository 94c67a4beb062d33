// make_icons SOURCE_OUT FOLDER_OUT PALETTE DRAWING...
//
// Reads the palette and the drawings, writes each picture to FOLDER_OUT as NAME.icn, and all of
// them to SOURCE_OUT as a C++ source. Exit status 0; or 1 after a message, with nothing written
// unless writing itself failed.

#include "tools/icons/output.h"
#include "tools/icons/source.h"

#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>

namespace {

int complain(const std::string &path, const std::string &what) {
    std::fprintf(stderr, "make_icons: %s: %s\n", path.c_str(), what.c_str());
    return -1;
}

int read_text(const std::string &path, std::string *text) {
    std::ifstream file(path);
    std::ostringstream all;
    all << file.rdbuf();
    *text = all.str();
    return file.good() ? 0 : complain(path, "can not be read");
}

int draw(const std::string &path, const icons::palette &colours, std::set<std::string> &names,
         std::vector<icons::named_picture> &pictures) {
    std::string text, error;
    icons::source s;
    if (read_text(path, &text) != 0)
        return -1;
    if (icons::read_source(text, colours, &s, &error) != 0)
        return complain(path, error);
    for (const icons::wanted_picture &w : s.pictures) {
        if (!names.insert(w.name).second)
            return complain(path, "there is a picture \"" + w.name + "\" already");
        pictures.push_back({w.name, make_picture(s.shapes, w.colours, w.width, w.height)});
    }
    return 0;
}

int make_all(const std::vector<std::string> &arguments) {
    std::string text, error;
    icons::palette colours;
    std::set<std::string> names;
    std::vector<icons::named_picture> pictures;
    if (read_text(arguments[2], &text) != 0)
        return -1;
    if (icons::read_palette(text, &colours, &error) != 0)
        return complain(arguments[2], error);
    for (std::size_t i = 3; i < arguments.size(); i++)
        if (draw(arguments[i], colours, names, pictures) != 0)
            return -1;
    for (const icons::named_picture &p : pictures) {
        const std::string path = arguments[1] + "/" + p.name + ".icn";
        if (icons::write_file(path, icons::icon_file(p.pixels)) != 0)
            return complain(path, "can not be written");
    }
    if (icons::write_file(arguments[0], icons::icon_source(pictures)) != 0)
        return complain(arguments[0], "can not be written");
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() < 4) {
        std::fputs("usage: make_icons SOURCE_OUT FOLDER_OUT PALETTE DRAWING...\n", stderr);
        return 1;
    }
    return make_all(arguments) == 0 ? 0 : 1;
}
