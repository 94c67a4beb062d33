#include "tools/icons/output.h"

#include <array>
#include <cstdio>

namespace icons {
namespace {

void append_word(std::string &bytes, std::uint32_t word) {
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back(static_cast<char>(word >> shift & 0xFFU));
}

} // namespace

std::string icon_file(const picture &p) {
    std::string bytes;
    append_word(bytes, static_cast<std::uint32_t>(p.width));
    append_word(bytes, static_cast<std::uint32_t>(p.height));
    for (const std::uint32_t pixel : p.pixels)
        append_word(bytes, pixel);
    return bytes;
}

std::string icon_source(const std::vector<named_picture> &pictures) {
    constexpr std::size_t words_per_line = 8;
    std::string text = "// Made from share/icons by tools/icons: changes belong there.\n"
                       "#include \"toolkit/graphics/builtin_icons.h\"\n\n"
                       "namespace toolkit {\nnamespace {\n\n";
    std::string table;
    for (std::size_t n = 0; n < pictures.size(); n++) {
        const picture &p = pictures[n].pixels;
        const std::string number = std::to_string(n);
        text += "constexpr std::uint32_t pixels_" + number + "[] = {";
        for (std::size_t i = 0; i < p.pixels.size(); i++) {
            std::array<char, 16> word{};
            std::snprintf(word.data(), word.size(), "%s0x%08x,", i % words_per_line ? "" : "\n",
                          static_cast<unsigned>(p.pixels[i]));
            text += word.data();
        }
        text += "\n};\n";
        table += "    {\"" + pictures[n].name + "\", " + std::to_string(p.width) + ", " +
                 std::to_string(p.height) + ", pixels_" + number + "},\n";
    }
    text += "\nconstexpr builtin_icon icons[] = {\n" + table + "};\n\n} // namespace\n\n";
    text += "std::span<const builtin_icon> builtin_icons() {\n    return icons;\n}\n\n"
            "} // namespace toolkit\n";
    return text;
}

int write_file(const std::string &path, std::string_view content) {
    std::FILE *file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return -1;
    const bool written = std::fwrite(content.data(), 1, content.size(), file) == content.size();
    const bool closed = std::fclose(file) == 0;
    return written && closed ? 0 : -1;
}

} // namespace icons
