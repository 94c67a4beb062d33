// Which faces are found, which are refused, and what they measure.

#include "platform/fonts/fonts.h"

#include "platform/fonts/base_faces.h"
#include "platform/fonts/font_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <set>

#include <unistd.h>

namespace {

namespace files = std::filesystem;

struct fonts : testing::Test {
    ~fonts() override { fm::fmexit(); }
    fonts() = default;
    fonts(const fonts &) = delete;
    fonts &operator=(const fonts &) = delete;
};

// The system as if it had only the fonts of one folder.
struct few_fonts : fonts {
    few_fonts() {
        for (const char *name : {"P052-Bold", "NimbusMonoPS-Bold", "DejaVuSans"}) {
            const auto found = fm::files_named(name);
            if (!found.empty())
                originals.push_back(found.front().path);
        }
        fm::fmexit();
        files::remove_all(folder); // of a test that was killed
        files::create_directories(folder / "cache");
        std::ofstream(folder / "fonts.conf")
            << "<?xml version=\"1.0\"?><fontconfig><dir>" << folder.string() << "</dir><cachedir>"
            << (folder / "cache").string() << "</cachedir></fontconfig>\n";
        setenv("FONTCONFIG_FILE", (folder / "fonts.conf").c_str(), 1);
    }
    ~few_fonts() override {
        unsetenv("FONTCONFIG_FILE");
        files::remove_all(folder);
    }
    few_fonts(const few_fonts &) = delete;
    few_fonts &operator=(const few_fonts &) = delete;

    files::path copy(std::size_t original) const {
        const files::path to = folder / files::path(originals.at(original)).filename();
        files::copy_file(originals.at(original), to);
        return to;
    }

    fm::fmfonthandle read_first = (fm::fminit(), fm::no_font); // before the originals are asked for
    std::vector<std::string> originals;
    files::path folder = files::path(testing::TempDir()) /
                         ("few_fonts_" + std::to_string(static_cast<unsigned>(getpid())));
};

int width(fm::fmfonthandle font, std::string_view text) {
    return fm::fmgetstrwidth(font, text);
}

} // namespace

TEST_F(fonts, the_classic_faces_are_found_or_met_by_their_equivalents) {
    std::set<std::string> used;
    for (int i = 0; i < fm::base_face_count; i++) {
        const std::string_view name = fm::base_face_name(i);
        const fm::fmfonthandle font = fm::fmfindfont(name);
        ASSERT_NE(font, fm::no_font) << name;
        const std::string face = fm::fmgetfacename(font);
        const auto equivalents = fm::equivalents_of(name);
        EXPECT_TRUE(face == name || std::count(equivalents.begin(), equivalents.end(), face) == 1)
            << name << " is drawn as " << face;
        EXPECT_EQ(fm::fmfindfont(name), font);
        used.insert(face);
    }
    EXPECT_EQ(used.size(), 35U) << "two of them share a face";
}

TEST_F(fonts, installed_faces_answer_to_exactly_their_names) {
    const fm::fmfonthandle bold = fm::fmfindfont("NimbusSans-Bold");
    ASSERT_NE(bold, fm::no_font);
    EXPECT_EQ(fm::fmfindfont("Nimbus Sans Bold"), bold) << "the full name";
    EXPECT_EQ(fm::fmgetfacename(bold), "NimbusSans-Bold");
    // What fontconfig would gladly give something else for.
    const std::string no_name("Helvetica\0-Bold", 15);
    for (const std::string_view name :
         {std::string_view(), std::string_view("Helvetica "), std::string_view("helvetica"),
          std::string_view("Sans"), std::string_view("monospace"),
          std::string_view("Nimbus Sans L"), std::string_view("Helvetica:bold"),
          std::string_view("Times"), std::string_view("*"), std::string_view("No Such Face"),
          std::string_view(no_name)})
        EXPECT_EQ(fm::fmfindfont(name), fm::no_font) << name;
    EXPECT_EQ(fm::fmfindfont(std::string(100000, 'x')), fm::no_font);
}

TEST_F(fonts, sizes_are_points_of_96_pixels_to_the_inch) {
    const fm::fmfonthandle face = fm::fmfindfont("Helvetica");
    fm::fmfontinfo info;
    for (const auto &[points, pixels] :
         {std::pair(8.0F, 11), {10.0F, 13}, {12.0F, 16}, {0.01F, 1}, {1e30F, 1333}}) {
        ASSERT_EQ(fm::fmgetfontinfo(fm::fmscalefont(face, points), &info), 0);
        EXPECT_EQ(info.pixels, pixels);
        EXPECT_GE(info.yorig, 0);
        EXPECT_GE(info.height, pixels);
        EXPECT_LE(info.height, 2 * pixels + 1);
    }
    const fm::fmfonthandle ten = fm::fmscalefont(face, 10.0F);
    EXPECT_EQ(fm::fmscalefont(face, 10.0F), ten);
    EXPECT_EQ(fm::fmscalefont(fm::fmscalefont(face, 5.0F), 2.0F), ten) << "times the size it has";
    for (const float none : {0.0F, -1.0F, std::nanf("")})
        EXPECT_EQ(fm::fmscalefont(face, none), fm::no_font);
    for (const int stray : {-1, 0, 1000, std::numeric_limits<int>::max()}) {
        EXPECT_EQ(fm::fmscalefont(stray, 10.0F), fm::no_font);
        EXPECT_EQ(fm::fmgetfontinfo(stray, &info), -1);
        EXPECT_EQ(width(stray, "text"), 0);
        EXPECT_EQ(fm::fmgetfacename(stray), "");
    }
    std::set<fm::fmfonthandle> given;
    for (int i = 1; i <= 1000; i++)
        given.insert(fm::fmscalefont(face, static_cast<float>(i) / 7));
    EXPECT_EQ(given.count(fm::no_font), 1U);
    EXPECT_LE(given.size(), fm::max_fonts);
    EXPECT_EQ(fm::fmscalefont(face, 10.0F), ten) << "a full table still finds what it has";
}

TEST_F(fonts, widths_are_those_of_the_classic_faces) {
    // Thousandths of an em of "Hamburgefons 0123": the published widths of these faces, added up.
    const std::vector<std::pair<const char *, int>> widths{{"Helvetica", 9060},
                                                           {"Helvetica-Bold", 9558},
                                                           {"Times-BoldItalic", 8473},
                                                           {"Courier", 10200}};
    for (const auto &[name, thousandths] : widths) {
        const fm::fmfonthandle font = fm::fmscalefont(fm::fmfindfont(name), 750.0F); // 1000 pixels
        EXPECT_NEAR(width(font, "Hamburgefons 0123"), thousandths, 20) << name;
    }
    fm::fmfontinfo info;
    fm::fmgetfontinfo(fm::fmfindfont("Courier"), &info);
    EXPECT_TRUE(info.fixed_width);
    const fm::fmfonthandle small = fm::fmscalefont(fm::fmfindfont("Times-Roman"), 10.0F);
    const std::string text = "When Av. To, fjord; illumination 1280 x 1024";
    for (std::size_t cut = 0; cut <= text.size(); cut++)
        EXPECT_NEAR(width(small, text.substr(0, cut)) + width(small, text.substr(cut)),
                    width(small, text), 1);
}

TEST_F(few_fonts, what_is_not_there_is_not_found) {
    ASSERT_EQ(originals.size(), 3U);
    const files::path palatino = copy(0);
    const files::path courier = copy(1);
    const fm::fmfonthandle found = fm::fmfindfont("Palatino-Bold");
    EXPECT_EQ(fm::fmgetfacename(found), "P052-Bold");
    EXPECT_EQ(fm::fmfindfont("Palatino-Roman"), fm::no_font);
    EXPECT_EQ(fm::fmfindfont("Helvetica"), fm::no_font);
    // A letter that no face here has is a box, in every size.
    const fm::fmfonthandle ten = fm::fmscalefont(found, 10.0F);
    const fm::text_box box = fm::fmgetstrbox(ten, "\xE2\x98\x83");
    EXPECT_GT(box.right - box.left, 2);
    EXPECT_EQ(box.bottom, 0);
    // Listed, but no font any more by the time it is wanted.
    files::resize_file(courier, 1000);
    EXPECT_EQ(fm::fmfindfont("Courier-Bold"), fm::no_font);
    EXPECT_EQ(fm::fmfindfont("Courier-Bold"), fm::no_font);
    fm::fmexit();
    files::remove(palatino);
    EXPECT_EQ(fm::fmfindfont("Palatino-Bold"), fm::no_font);
    EXPECT_EQ(width(found, "handles end"), 0);
}

TEST_F(few_fonts, letters_that_the_face_lacks_come_from_another_one) {
    ASSERT_EQ(originals.size(), 3U);
    copy(0);
    const std::string snowman = "\xE2\x98\x83";
    const fm::fmfonthandle box = fm::fmscalefont(fm::fmfindfont("Palatino-Bold"), 12.0F);
    const int box_width = width(box, snowman);
    fm::fmexit();
    copy(2);
    const fm::fmfonthandle other = fm::fmscalefont(fm::fmfindfont("DejaVuSans"), 12.0F);
    const fm::fmfonthandle palatino = fm::fmscalefont(fm::fmfindfont("Palatino-Bold"), 12.0F);
    EXPECT_EQ(width(palatino, snowman), width(other, snowman));
    EXPECT_NE(width(palatino, snowman), box_width);
    EXPECT_EQ(width(palatino, "\xFF"), width(other, "\xEF\xBF\xBD")) << "the replacement letter";
}
