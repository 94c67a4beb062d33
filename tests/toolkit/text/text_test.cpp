#include "toolkit/text/smpte.h"
#include "toolkit/text/value_text.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <numbers>

namespace toolkit {

struct time_code : testing::Test {
    time_code() { reset(); }
    ~time_code() override { reset(); }
    static void reset() {
        set_smpte_display_smpte();
        set_smpte_frame_rate(30);
    }
    static std::string text_of(float value) {
        std::array<char, smpte_text_size> buffer{};
        f_to_s(value, buffer);
        return buffer.data();
    }
};

template <typename writer> std::string written(writer write, float value) {
    std::array<char, value_text_size> buffer{};
    write(value, buffer);
    return buffer.data();
}

TEST_F(time_code, frames_and_time_codes_at_several_rates) {
    const struct {
        double rate;
        std::int32_t frame;
        smpte_record code;
    } cases[] = {
        {30, 0, {0, 0, 0, 0}},         {30, 108000, {1, 0, 0, 0}},
        {30, 107999, {0, 59, 59, 29}}, {24, 100, {0, 0, 4, 4}},
        {30, -31, {0, 0, -1, -1}},     {30, -108000, {-1, 0, 0, 0}},
        {12.5, 13, {0, 0, 1, 0}},      {29.97, 30, {0, 0, 1, 0}},
        {0.5, 3, {0, 0, 6, 0}},        {1000, 3599999, {0, 59, 59, 999}},
    };
    for (const auto &c : cases) {
        set_smpte_frame_rate(c.rate);
        smpte_record code;
        frame_to_smpte(&code, c.frame);
        EXPECT_EQ(smpte_compare(code, c.code), 1) << c.rate << " " << c.frame;
    }
    set_smpte_frame_rate(29.97);
    EXPECT_EQ(smpte_to_frame({0, 1, 0, 0}), 1798);
    set_smpte_frame_rate(0);
    set_smpte_frame_rate(-25);
    set_smpte_frame_rate(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(get_smpte_frame_rate(), 29.97);
}

TEST_F(time_code, every_frame_comes_back_at_whole_rates) {
    for (const double rate : {24.0, 25.0, 30.0, 60.0}) {
        set_smpte_frame_rate(rate);
        for (std::int32_t frame = -200000; frame < 200000; frame += 37) {
            smpte_record code;
            frame_to_smpte(&code, frame);
            ASSERT_EQ(smpte_to_frame(code), frame) << rate;
        }
    }
}

TEST_F(time_code, sums_and_differences) {
    smpte_record result;
    smpte_add(&result, {0, 0, 1, 20}, {0, 0, 0, 15});
    EXPECT_EQ(result, (smpte_record{0, 0, 2, 5}));
    smpte_sub(&result, {0, 0, 1, 0}, {0, 1, 2, 3});
    EXPECT_EQ(result, (smpte_record{0, -1, -1, -3}));
    smpte_jog(&result, {0, 0, 0, 5}, -6);
    EXPECT_EQ(result, (smpte_record{0, 0, 0, -1}));
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    smpte_add(&result, {most, most, most, most}, {most, 0, 0, 0});
    EXPECT_EQ(smpte_to_frame(result), most);
}

TEST_F(time_code, texts_in_both_modes) {
    EXPECT_EQ(text_of(2.5F), "00:00:00:03");
    EXPECT_EQ(text_of(-45), "00:00:-1:-14") << "rounded up, then each field by itself";
    EXPECT_EQ(inq_smpte_display(), 1);
    set_smpte_display_cells();
    EXPECT_EQ(inq_smpte_display(), 0);
    EXPECT_EQ(text_of(2.5F), "3");
    EXPECT_EQ(text_of(-0.7F), "0");
    EXPECT_EQ(text_of(0.49999997F), "0");
    EXPECT_EQ(text_of(8388609), "8388609") << "half a frame more is beyond single precision";
    EXPECT_EQ(text_of(1e30F), "2147483647");
    EXPECT_EQ(text_of(std::numeric_limits<float>::quiet_NaN()), "0");
    std::array<char, 5> small{};
    f_to_s(123456, small);
    EXPECT_STREQ(small.data(), "1234");
}

TEST_F(time_code, typed_texts) {
    const struct {
        const char *text;
        bool cells;
        int stored; // 255, or 0
        float value;
    } cases[] = {
        {"1:2", false, 255, 32},
        {"7", false, 255, 7},
        {"1:0:0:1", false, 255, 108001},
        {" 1 : 2 :3", false, 255, 1800 + 60 + 3},
        {"1:2:3:4:5", false, 255, 3600 * 30 + 120 * 30 + 90 + 4},
        {"abc", false, 255, 0},
        {"", false, 0, -1},
        {" :: ", false, 0, -1},
        {"-2", false, 255, -2},
        {"12345678901234567890", false, 255, 1234567890.0F},
        {"12", true, 255, 12},
        {"  12.7", true, 255, 12},
        {"x", true, 0, -1},
        {"", true, 0, -1},
        {"99999999999", true, 255, 2147483647.0F},
    };
    for (const auto &c : cases) {
        c.cells ? set_smpte_display_cells() : set_smpte_display_smpte();
        float value = -1;
        EXPECT_EQ(s_to_f(c.text, &value), c.stored) << c.text;
        EXPECT_EQ(value, c.value) << c.text;
    }
}

TEST(value_text, reads_and_writes) {
    float value = -1;
    EXPECT_EQ(boolstring_to_val("OFF", &value), 255);
    EXPECT_EQ(value, 0);
    for (const char *on : {"ON", "no", "", "F"}) {
        boolstring_to_val(on, &value);
        EXPECT_EQ(value, 1) << on;
    }
    EXPECT_EQ(written(val_to_boolstring, 0), "OFF");
    EXPECT_EQ(written(val_to_boolstring, 0.1F), "ON");
    EXPECT_EQ(written(val_to_intstring, 12345678), "10000000");
    EXPECT_EQ(written(val_to_intstring, -12345678), "-10000000");
    EXPECT_EQ(written(val_to_intstring, -12.9F), "-12");
    EXPECT_EQ(intstring_to_val("-1e9", &value), 255);
    EXPECT_EQ(value, -10000000.0F);
    EXPECT_EQ(intstring_to_val("none", &value), 0);
    EXPECT_EQ(value, -10000000.0F) << "kept";
    EXPECT_EQ(degstring_to_rad(" +180", &value), 255);
    EXPECT_FLOAT_EQ(value, std::numbers::pi_v<float>);
    for (const char *tiny : {"1e-60", "-0.000000000000000000000000000000000000000000000000001"}) {
        EXPECT_EQ(degstring_to_rad(tiny, &value), 255);
        EXPECT_EQ(value, 0) << tiny;
    }
    EXPECT_EQ(intstring_to_val("-1e60", &value), 255);
    EXPECT_EQ(value, -10000000.0F);
    EXPECT_EQ(written(rad_to_degstring, std::numbers::pi_v<float> / 2), "90");
}

TEST(value_text, tells_what_a_text_is) {
    const struct {
        const char *text;
        bool is_int, is_float, is_vector, is_name;
    } cases[] = {
        {"12", true, true, true, false},  {"1.5", true, true, true, false},
        {".5", false, true, true, false}, {"1 2 3", true, true, false, false},
        {"1 x", true, true, true, false}, {"lamp", false, false, false, true},
        {"", false, false, false, false}, {" \t", false, false, false, false},
        {"-", false, false, false, true}, {"+-3", false, false, false, true},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(is_an_int(c.text), c.is_int ? 255 : 0) << c.text;
        EXPECT_EQ(is_a_float(c.text), c.is_float ? 255 : 0) << c.text;
        EXPECT_EQ(is_a_vector(c.text), c.is_vector ? 255 : 0) << c.text;
        EXPECT_EQ(is_a_name(c.text), c.is_name ? 255 : 0) << c.text;
    }
}

} // namespace toolkit
