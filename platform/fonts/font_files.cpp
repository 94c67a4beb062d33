#include "platform/fonts/font_files.h"

#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <memory>
#include <span>
#include <tuple>

namespace fm {
namespace {

template <auto release> struct releaser {
    template <typename T> void operator()(T *p) const { release(p); }
};
using config_owner = std::unique_ptr<FcConfig, releaser<FcConfigDestroy>>;
using set_owner = std::unique_ptr<FcFontSet, releaser<FcFontSetDestroy>>;
using pattern_owner = std::unique_ptr<FcPattern, releaser<FcPatternDestroy>>;
using charset_owner = std::unique_ptr<FcCharSet, releaser<FcCharSetDestroy>>;

config_owner config;
set_owner usable; // of all that is installed: what has outlines to draw

std::string_view text_of(const FcPattern *p, const char *property, int n = 0) {
    FcChar8 *text = nullptr;
    if (FcPatternGetString(p, property, n, &text) != FcResultMatch)
        return {};
    return reinterpret_cast<const char *>(text);
}

bool is_set(const FcPattern *p, const char *property) {
    FcBool value = FcFalse;
    return FcPatternGetBool(p, property, 0, &value) == FcResultMatch && value == FcTrue;
}

// A face of variable weight is listed under its named forms too; those are used.
bool is_usable(const FcPattern *p) {
    return is_set(p, FC_SCALABLE) && !is_set(p, FC_COLOR) && !is_set(p, FC_VARIABLE) &&
           !text_of(p, FC_FILE).empty();
}

std::span<FcPattern *const> all_usable() {
    if (!usable)
        return {};
    return {usable->fonts, static_cast<std::size_t>(usable->nfont)};
}

bool has_full_name(const FcPattern *p, std::string_view name) {
    for (int n = 0;; n++) {
        const std::string_view full = text_of(p, FC_FULLNAME, n);
        if (full.empty() || full == name)
            return !full.empty();
    }
}

font_file file_of(const FcPattern *p) {
    font_file file;
    file.path = text_of(p, FC_FILE);
    FcPatternGetInteger(p, FC_INDEX, 0, &file.index);
    file.name = text_of(p, FC_POSTSCRIPT_NAME);
    if (file.name.empty())
        file.name = text_of(p, FC_FULLNAME);
    return file;
}

// The newer formats have more letters and name them better.
int format_rank(const FcPattern *p) {
    const std::string_view format = text_of(p, FC_FONTFORMAT);
    return format == "CFF" ? 0 : format == "TrueType" ? 1 : 2;
}

template <typename Matches> std::vector<font_file> files_that(Matches matches) {
    std::vector<const FcPattern *> found;
    for (const FcPattern *p : all_usable())
        if (matches(p))
            found.push_back(p);
    std::sort(found.begin(), found.end(), [](const FcPattern *a, const FcPattern *b) {
        return std::tuple(format_rank(a), text_of(a, FC_FILE)) <
               std::tuple(format_rank(b), text_of(b, FC_FILE));
    });
    std::vector<font_file> files;
    files.reserve(found.size());
    for (const FcPattern *p : found)
        files.push_back(file_of(p));
    return files;
}

bool has_letter(const FcPattern *p, char32_t letter) {
    FcCharSet *letters = nullptr;
    return FcPatternGetCharSet(p, FC_CHARSET, 0, &letters) == FcResultMatch &&
           FcCharSetHasChar(letters, letter) == FcTrue;
}

const FcPattern *pattern_of(const font_file &file) {
    for (const FcPattern *p : all_usable()) {
        int index = 0;
        FcPatternGetInteger(p, FC_INDEX, 0, &index);
        if (index == file.index && text_of(p, FC_FILE) == file.path)
            return p;
    }
    return nullptr;
}

// A question for a face like this one that has the letter.
pattern_owner question_for(char32_t letter, const font_file &like) {
    pattern_owner question(FcPatternCreate());
    const charset_owner letters(FcCharSetCreate());
    if (!question || !letters)
        return nullptr;
    FcCharSetAddChar(letters.get(), letter);
    FcPatternAddCharSet(question.get(), FC_CHARSET, letters.get());
    if (const FcPattern *p = pattern_of(like)) {
        for (const char *property : {FC_FAMILY, FC_SLANT, FC_WEIGHT, FC_WIDTH, FC_SPACING}) {
            FcValue value{};
            if (FcPatternGet(p, property, 0, &value) == FcResultMatch)
                FcPatternAdd(question.get(), property, value, FcTrue);
        }
    }
    FcConfigSubstitute(config.get(), question.get(), FcMatchPattern);
    FcDefaultSubstitute(question.get());
    return question;
}

} // namespace

void read_font_files() {
    if (config)
        return;
    config.reset(FcInitLoadConfigAndFonts());
    usable.reset(FcFontSetCreate());
    const FcFontSet *installed = config ? FcConfigGetFonts(config.get(), FcSetSystem) : nullptr;
    if (installed == nullptr || !usable)
        return;
    for (int i = 0; i < installed->nfont; i++) {
        FcPattern *p = installed->fonts[i];
        if (!is_usable(p))
            continue;
        FcPatternReference(p);
        if (FcFontSetAdd(usable.get(), p) == FcFalse)
            FcPatternDestroy(p);
    }
}

void forget_font_files() {
    usable.reset();
    config.reset();
}

std::vector<font_file> files_named(std::string_view name) {
    if (name.empty())
        return {};
    std::vector<font_file> files =
        files_that([name](const FcPattern *p) { return text_of(p, FC_POSTSCRIPT_NAME) == name; });
    if (files.empty())
        files = files_that([name](const FcPattern *p) { return has_full_name(p, name); });
    return files;
}

bool find_file_with(char32_t letter, const font_file &like, font_file *found) {
    const auto all = all_usable();
    if (std::none_of(all.begin(), all.end(),
                     [letter](const FcPattern *p) { return has_letter(p, letter); }))
        return false; // most of the time of a search goes into ordering the faces
    const pattern_owner question = question_for(letter, like);
    if (!question)
        return false;
    FcFontSet *sets = usable.get();
    FcResult result = FcResultNoMatch;
    const pattern_owner answer(FcFontSetMatch(config.get(), &sets, 1, question.get(), &result));
    // The answer is the nearest face, whether it has the letter or not.
    if (!answer || !has_letter(answer.get(), letter))
        return false;
    *found = file_of(answer.get());
    return true;
}

} // namespace fm
