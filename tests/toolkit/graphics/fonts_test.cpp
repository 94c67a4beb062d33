// The font table and text from its slots.

#include "toolkit/graphics/text.h"

#include "platform/gl/drawing.h"
#include "platform/gl/pixels.h"
#include "tests/platform/gl/gl_fixture.h"

#include <climits>
#include <cstdlib>

namespace {

constexpr int side = 200;

const std::string full_screen_table =
    " 0 small       Helvetica            8.0 points  11 pixels NimbusSans-Regular     "
    "baseline 2 height 13\n"
    " 1 normal 1    Helvetica           10.0 points  13 pixels NimbusSans-Regular     "
    "baseline 3 height 16\n"
    " 7 normal 2    Helvetica           10.0 points  13 pixels NimbusSans-Regular     "
    "baseline 3 height 16\n"
    " 9 bold        Helvetica-Bold      10.0 points  13 pixels NimbusSans-Bold        "
    "baseline 3 height 16\n";
const std::string full_screen_slanted =
    "11 bold italic Times-BoldItalic    12.0 points  16 pixels NimbusRoman-BoldItalic "
    "baseline 4 height 21\n";
const std::string small_screen_slanted =
    "11 bold italic Palatino-BoldItalic 10.0 points  13 pixels P052-BoldItalic        "
    "baseline 4 height 16\n";

// What was drawn in the window, as edges in window coordinates.
struct drawn_box {
    int left = side, right = -1, bottom = side, top = -1;
};

drawn_box find_drawn() {
    std::vector<std::uint32_t> all(side * side);
    gl::lrectread(0, 0, side - 1, side - 1, all);
    drawn_box box;
    for (int y = 0; y < side; y++)
        for (int x = 0; x < side; x++)
            if (all[static_cast<std::size_t>(y * side + x)] != 0) {
                box.left = std::min(box.left, x);
                box.right = std::max(box.right, x);
                box.bottom = std::min(box.bottom, y);
                box.top = std::max(box.top, y);
            }
    return box;
}

void wipe() {
    gl::cpack(0);
    gl::clear();
    gl::cpack(0xFFFFFF);
}

} // namespace

struct font_table : gl_test::gl_fixture {
    font_table() { open_window(0, 0, side, side); }
    ~font_table() override { toolkit::gl_free_font_table(); }
    font_table(const font_table &) = delete;
    font_table &operator=(const font_table &) = delete;
};

TEST_F(font_table, the_screen_decides_the_faces) {
    toolkit::gl_init_font_table();
    EXPECT_EQ(toolkit::gl_describe_font_table(), full_screen_table + full_screen_slanted);
    for (const display::point small :
         {display::point{1024, 768}, display::point{1279, 1024}, display::point{1280, 1023}}) {
        display::memory::reset(small);
        toolkit::gl_init_font_table();
        EXPECT_EQ(toolkit::gl_describe_font_table(), full_screen_table + small_screen_slanted);
    }
    toolkit::gl_free_font_table();
    EXPECT_EQ(toolkit::gl_describe_font_table(), "");
}

TEST_F(font_table, slots_that_are_not_loaded_do_nothing) {
    toolkit::gl_init_font_table();
    toolkit::gl_select_font(toolkit::font_slot_bold);
    const fm::fmfonthandle bold = fm::fmgetfont();
    EXPECT_NE(bold, fm::no_font);
    wipe();
    for (const int slot : {INT_MIN, -1, 2, 8, 10, 12, INT_MAX}) {
        SCOPED_TRACE(slot);
        toolkit::gl_select_font(slot);
        toolkit::gl_select_fm_font(slot);
        toolkit::gl_draw_text(20, 20, slot, "text");
        EXPECT_EQ(toolkit::gl_inq_current_font(), toolkit::font_slot_bold);
        EXPECT_EQ(fm::fmgetfont(), bold);
        toolkit::text_size size{1, 1};
        EXPECT_EQ(toolkit::gl_inquire_fm_font_size("text", &size, slot), 0);
        EXPECT_EQ(size.width + size.height, 0);
        EXPECT_EQ(toolkit::gl_inq_text_extent(slot, "text").width, 0);
        EXPECT_EQ(toolkit::gl_inq_font_y_extent(slot), 0);
    }
    EXPECT_EQ(find_drawn().right, -1);
    EXPECT_EQ(toolkit::gl_inquire_font(-1), nullptr);
    EXPECT_EQ(toolkit::gl_inquire_font(toolkit::font_slot_count), nullptr);
    EXPECT_EQ(toolkit::gl_inquire_font(2)->loaded, 0);
    EXPECT_EQ(toolkit::gl_inquire_font(9)->loaded, toolkit::font_loaded);
    toolkit::gl_load_font("No Such Face", 12, 10.0F); // nor does such a slot end the program
}

TEST_F(font_table, a_slot_can_take_another_face) {
    toolkit::gl_init_font_table();
    toolkit::gl_load_font("Courier", toolkit::font_slot_normal_1, 12.0F);
    const toolkit::font_record *record = toolkit::gl_inquire_font(toolkit::font_slot_normal_1);
    EXPECT_STREQ(record->name.data(), "Courier");
    EXPECT_EQ(fm::fmgetfacename(record->handle), "NimbusMonoPS-Regular");
    toolkit::text_size size;
    EXPECT_EQ(record->size("mm", &size, toolkit::font_slot_normal_1), 20);
    EXPECT_EQ(size.width, 20);
    EXPECT_EQ(size.height, record->height);
    EXPECT_EQ(fm::fmgetfont(), record->handle) << "measuring sets the font";
    EXPECT_EQ(toolkit::gl_inq_current_font(), 0) << "but selects no slot";
    toolkit::gl_load_font("Courier", 5, 12.0F); // none of the five
    EXPECT_NE(toolkit::gl_describe_font_table().find("\n 5 -           Courier "),
              std::string::npos);
}

TEST_F(font_table, text_stays_in_its_extent_and_in_the_middle) {
    toolkit::gl_init_font_table();
    for (const int slot : toolkit::font_role_slots)
        for (const char *text :
             {"Zoom Up", "jg(|@_{", "\xC3\x85", "f", "Quit ", "\xE2\x88\xAB\xE1\xBA\xAE", "\xFF"}) {
            SCOPED_TRACE(testing::Message() << slot << text);
            const toolkit::text_size size = toolkit::gl_inq_text_extent(slot, text);
            const toolkit::text_shift shift = toolkit::gl_inq_text_offset(slot, text);
            EXPECT_LE(shift.x, 0);
            EXPECT_LE(shift.y, 0);
            EXPECT_GE(size.height, toolkit::gl_inq_font_y_extent(slot));
            wipe();
            toolkit::gl_draw_text(60, 70, slot, text);
            EXPECT_EQ(toolkit::gl_inq_current_font(), slot);
            const drawn_box box = find_drawn();
            EXPECT_GE(box.left, 60 + shift.x);
            EXPECT_LT(box.right, 60 + shift.x + size.width);
            EXPECT_GE(box.bottom, 70 + shift.y);
            EXPECT_LT(box.top, 70 + shift.y + size.height);
        }
    for (const int slot : toolkit::font_role_slots) { // a capital in a row of 30 pixels
        const int height = toolkit::gl_inq_font_y_extent(slot);
        EXPECT_EQ(height, toolkit::gl_inquire_font(slot)->height);
        EXPECT_EQ(toolkit::gl_inq_text_extent(slot, "").width, 0);
        EXPECT_EQ(toolkit::gl_inq_text_extent(slot, "").height, height);
        wipe();
        toolkit::gl_draw_text(60, 70 + (30 - height) / 2, slot, "H");
        const drawn_box box = find_drawn();
        EXPECT_NEAR(box.bottom - 70, 70 + 29 - box.top, 2) << slot;
    }
}

TEST_F(font_table, far_places_are_not_nearer_for_being_large) {
    toolkit::gl_init_font_table();
    wipe();
    for (const int far : {INT_MIN, -65536, 65536, 65536 + 50, INT_MAX}) {
        toolkit::gl_draw_text(far, 50, 1, "text");
        toolkit::gl_draw_text(50, far, 1, "text");
    }
    EXPECT_EQ(find_drawn().right, -1);
}

// These end the program; they come in a process of their own, where the names stay set.
TEST_F(font_table, a_face_that_is_not_there_ends_the_program) {
    using testing::ExitedWithCode;
    EXPECT_EXIT(toolkit::gl_load_font("Helvetica-Blod", 9, 10.0F), ExitedWithCode(0),
                "^Exit: unable to load fmfont Helvetica-Blod\n$");
    EXPECT_EXIT(toolkit::gl_load_font("Helvetica", 9, -1.0F), ExitedWithCode(0),
                "^Exit: unable to load fmfont Helvetica\n$");
    const toolkit::font_names good{{{"Courier", 8.0F},
                                    {"Courier-Bold", 10.0F},
                                    {"Nimbus Sans", 11.0F},
                                    {"Times-Roman", 9.5F},
                                    {"Palatino-Italic", 14.0F}}};
    EXPECT_EXIT(
        {
            toolkit::font_names bad = good;
            bad[3].name = "Times-Romna";
            toolkit::gl_set_font_names_table(bad);
            toolkit::gl_init_font_table();
        },
        ExitedWithCode(0), "^Exit: unable to load fmfont Times-Romna\n$");
    EXPECT_EXIT(
        {
            toolkit::gl_set_font_names_table(good);
            toolkit::gl_init_font_table();
            std::fputs(toolkit::gl_describe_font_table().c_str(), stderr);
            std::_Exit(3);
        },
        ExitedWithCode(3),
        " 0 small       Courier  .* 11 pixels NimbusMonoPS-Regular .*\n"
        " 1 normal 1    Courier-Bold  .* 13 pixels NimbusMonoPS-Bold .*\n"
        " 7 normal 2    Nimbus Sans  .* 15 pixels NimbusSans-Regular .*\n"
        " 9 bold        Times-Roman  .* 13 pixels NimbusRoman-Regular .*\n"
        "11 bold italic Palatino-Italic  .* 19 pixels P052-Italic .*\n");
}
