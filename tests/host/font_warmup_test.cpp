#include "host/font_warmup.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <QFontDatabase>
#include <QFontInfo>
#include <QStringList>

namespace quillmoor::host {
namespace {

// The beginning of the font library's list of fonts.
struct FontSet {
    int count;
};

template <typename Function>
Function function(const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_DEFAULT, name));
}

TEST(FontWarmup, FindsTheFontsThatTheLibraryFindsByItself) {
    const auto standard = function<void* (*)()>("FcInitLoadConfigAndFonts");
    const auto fonts = function<FontSet* (*)(void*, int)>("FcConfigGetFonts");
    if (standard == nullptr || fonts == nullptr)
        GTEST_SKIP() << "the toolkit is not linked with the font library";
    FontWarmup warmup;
    warmup.finish();
    const FontSet* current = fonts(nullptr, 0);
    void* const whole = standard();
    const FontSet* expected = fonts(whole, 0);
    ASSERT_NE(current, nullptr);
    ASSERT_NE(expected, nullptr);
    EXPECT_GT(current->count, 0);
    EXPECT_EQ(current->count, expected->count);
    function<void (*)(void*)>("FcConfigDestroy")(whole);
}

TEST(FontWarmup, TheToolkitFindsItsFontsAfterwards) {
    FontWarmup warmup;
    warmup.finish();
    EXPECT_FALSE(QFontDatabase::families().isEmpty());
    EXPECT_FALSE(QFontInfo(QFont(QStringLiteral("sans-serif"))).family().isEmpty());
}

TEST(FontWarmup, WaitsForItsThreadWhereNobodyElseDoes) {
    { const FontWarmup warmup; }
    EXPECT_FALSE(QFontDatabase::families().isEmpty());
}

}  // namespace
}  // namespace quillmoor::host
