#include "platform/fonts/base_faces.h"

#include <algorithm>
#include <array>

namespace fm {
namespace {

constexpr std::size_t most_equivalents = 4;

struct base_face {
    std::string_view name;
    std::array<std::string_view, most_equivalents> equivalents; // empty names at the end
};

// Of each face: the one that URW gave away, its name of earlier years, the one that was extended
// from it, and where there is one a face of another look with the same widths.
constexpr std::array<base_face, base_face_count> base_faces{{
    {"AvantGarde-Book", {"URWGothic-Book", "URWGothicL-Book", "TeXGyreAdventor-Regular"}},
    {"AvantGarde-BookOblique",
     {"URWGothic-BookOblique", "URWGothicL-BookObli", "TeXGyreAdventor-Italic"}},
    {"AvantGarde-Demi", {"URWGothic-Demi", "URWGothicL-Demi", "TeXGyreAdventor-Bold"}},
    {"AvantGarde-DemiOblique",
     {"URWGothic-DemiOblique", "URWGothicL-DemiObli", "TeXGyreAdventor-BoldItalic"}},
    {"Bookman-Demi", {"URWBookman-Demi", "URWBookmanL-DemiBold", "TeXGyreBonum-Bold"}},
    {"Bookman-DemiItalic",
     {"URWBookman-DemiItalic", "URWBookmanL-DemiBoldItal", "TeXGyreBonum-BoldItalic"}},
    {"Bookman-Light", {"URWBookman-Light", "URWBookmanL-Ligh", "TeXGyreBonum-Regular"}},
    {"Bookman-LightItalic",
     {"URWBookman-LightItalic", "URWBookmanL-LighItal", "TeXGyreBonum-Italic"}},
    {"Courier",
     {"NimbusMonoPS-Regular", "NimbusMonL-Regu", "TeXGyreCursor-Regular", "LiberationMono"}},
    {"Courier-Bold",
     {"NimbusMonoPS-Bold", "NimbusMonL-Bold", "TeXGyreCursor-Bold", "LiberationMono-Bold"}},
    {"Courier-BoldOblique",
     {"NimbusMonoPS-BoldItalic", "NimbusMonL-BoldObli", "TeXGyreCursor-BoldItalic",
      "LiberationMono-BoldItalic"}},
    {"Courier-Oblique",
     {"NimbusMonoPS-Italic", "NimbusMonL-ReguObli", "TeXGyreCursor-Italic",
      "LiberationMono-Italic"}},
    {"Helvetica",
     {"NimbusSans-Regular", "NimbusSanL-Regu", "TeXGyreHeros-Regular", "LiberationSans"}},
    {"Helvetica-Bold",
     {"NimbusSans-Bold", "NimbusSanL-Bold", "TeXGyreHeros-Bold", "LiberationSans-Bold"}},
    {"Helvetica-BoldOblique",
     {"NimbusSans-BoldItalic", "NimbusSanL-BoldItal", "TeXGyreHeros-BoldItalic",
      "LiberationSans-BoldItalic"}},
    {"Helvetica-Narrow",
     {"NimbusSansNarrow-Regular", "NimbusSanL-ReguCond", "TeXGyreHerosCn-Regular",
      "LiberationSansNarrow"}},
    {"Helvetica-Narrow-Bold",
     {"NimbusSansNarrow-Bold", "NimbusSanL-BoldCond", "TeXGyreHerosCn-Bold",
      "LiberationSansNarrow-Bold"}},
    {"Helvetica-Narrow-BoldOblique",
     {"NimbusSansNarrow-BoldOblique", "NimbusSanL-BoldCondItal", "TeXGyreHerosCn-BoldItalic",
      "LiberationSansNarrow-BoldItalic"}},
    {"Helvetica-Narrow-Oblique",
     {"NimbusSansNarrow-Oblique", "NimbusSanL-ReguCondItal", "TeXGyreHerosCn-Italic",
      "LiberationSansNarrow-Italic"}},
    {"Helvetica-Oblique",
     {"NimbusSans-Italic", "NimbusSanL-ReguItal", "TeXGyreHeros-Italic", "LiberationSans-Italic"}},
    {"NewCenturySchlbk-Bold", {"C059-Bold", "CenturySchL-Bold", "TeXGyreSchola-Bold"}},
    {"NewCenturySchlbk-BoldItalic",
     {"C059-BdIta", "CenturySchL-BoldItal", "TeXGyreSchola-BoldItalic"}},
    {"NewCenturySchlbk-Italic", {"C059-Italic", "CenturySchL-Ital", "TeXGyreSchola-Italic"}},
    {"NewCenturySchlbk-Roman", {"C059-Roman", "CenturySchL-Roma", "TeXGyreSchola-Regular"}},
    {"Palatino-Bold", {"P052-Bold", "URWPalladioL-Bold", "TeXGyrePagella-Bold"}},
    {"Palatino-BoldItalic",
     {"P052-BoldItalic", "URWPalladioL-BoldItal", "TeXGyrePagella-BoldItalic"}},
    {"Palatino-Italic", {"P052-Italic", "URWPalladioL-Ital", "TeXGyrePagella-Italic"}},
    {"Palatino-Roman", {"P052-Roman", "URWPalladioL-Roma", "TeXGyrePagella-Regular"}},
    {"Symbol", {"StandardSymbolsPS", "StandardSymL"}},
    {"Times-Bold",
     {"NimbusRoman-Bold", "NimbusRomNo9L-Medi", "TeXGyreTermes-Bold", "LiberationSerif-Bold"}},
    {"Times-BoldItalic",
     {"NimbusRoman-BoldItalic", "NimbusRomNo9L-MediItal", "TeXGyreTermes-BoldItalic",
      "LiberationSerif-BoldItalic"}},
    {"Times-Italic",
     {"NimbusRoman-Italic", "NimbusRomNo9L-ReguItal", "TeXGyreTermes-Italic",
      "LiberationSerif-Italic"}},
    {"Times-Roman",
     {"NimbusRoman-Regular", "NimbusRomNo9L-Regu", "TeXGyreTermes-Regular", "LiberationSerif"}},
    {"ZapfChancery-MediumItalic",
     {"Z003-MediumItalic", "URWChanceryL-MediItal", "TeXGyreChorus-MediumItalic"}},
    {"ZapfDingbats", {"D050000L", "Dingbats"}},
}};

} // namespace

std::span<const std::string_view> equivalents_of(std::string_view name) {
    for (const base_face &face : base_faces) {
        if (face.name != name)
            continue;
        const auto end = std::find(face.equivalents.begin(), face.equivalents.end(), "");
        return {face.equivalents.begin(), end};
    }
    return {};
}

std::string_view base_face_name(int index) {
    return base_faces.at(static_cast<std::size_t>(index)).name;
}

} // namespace fm
