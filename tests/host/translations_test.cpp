#include "host/translations.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QLocale>

#include "host/ground/display_text.h"

namespace quillmoor::host {
namespace {

class Translations : public ::testing::Test {
  protected:
    ~Translations() override { QGuiApplication::setLayoutDirection(Qt::LayoutDirectionAuto); }
};

TEST_F(Translations, ARequestedLanguageIsTheOnlyOne) {
    EXPECT_EQ(Languages("de").preferred(), QStringList("de"));
    EXPECT_EQ(Languages("pt_BR").preferred(), QStringList("pt-BR"));
}

TEST_F(Translations, TheSystemsLanguagesAreTheDefault) {
    const Languages languages("");
    EXPECT_FALSE(languages.preferred().isEmpty());
    EXPECT_EQ(languages.preferred(), QLocale::system().uiLanguages());
}

TEST_F(Translations, WindowsAreLaidOutAsTheUserReads) {
    for (const char* language : {"he", "ar-EG", "fa"}) {
        QGuiApplication::setLayoutDirection(Qt::LeftToRight);
        const Languages languages(language);
        EXPECT_EQ(QGuiApplication::layoutDirection(), Qt::RightToLeft) << language;
    }
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
    for (const char* language : {"de", "en-GB", "ja", "no such language"}) {
        const Languages languages(language);
        EXPECT_EQ(QGuiApplication::layoutDirection(), Qt::LeftToRight) << language;
    }
}

TEST_F(Translations, ALanguageWithoutATranslationIsShownInEnglish) {
    const Languages languages("fr");
    EXPECT_EQ(translated("Go &Back"), "Go &Back");
}

}  // namespace
}  // namespace quillmoor::host
