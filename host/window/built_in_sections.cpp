#include "host/window/built_in_sections.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>
#include <functional>

#include "host/ground/display_text.h"
#include "host/window/artwork.h"
#include "quillmoor/base/paths.h"

namespace quillmoor::host {
namespace {

// One of the host's own: never refuses, and makes its page only when that is shown.
class OwnSection : public Section {
  public:
    using Make = std::function<std::unique_ptr<QWidget>()>;
    OwnSection(QString title, Make make) : title_(std::move(title)), make_(std::move(make)) {}

    QString title() const override { return title_; }
    std::unique_ptr<QWidget> takeWidget() override { return make_(); }
    bool shouldExit(Direction) override { return true; }
    void didEnter(Direction) override {}

  private:
    QString title_;
    Make make_;
};

// In place of a bundle that could not be loaded.
class ProblemSection : public OwnSection {
  public:
    using OwnSection::OwnSection;
    bool isProblem() const override { return true; }
};

QLabel* addText(QVBoxLayout& column, const QString& text, const char* style = "") {
    auto* label = new QLabel(text);
    // Names and paths in the text must not be taken for markup.
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setProperty("textStyle", QLatin1String(style));
    column.addWidget(label);
    return label;
}

// Adds a heading with a picture beside it, if any. Returns the column for what follows below.
QVBoxLayout* addHeading(QWidget& page, const QString& text, const Artwork::Picture* picture) {
    auto* column = new QVBoxLayout(&page);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(12);
    auto* heading = addText(*column, text, "heading");
    heading->setObjectName(QStringLiteral("paneHeading"));
    if (picture != nullptr) {
        auto* row = new QHBoxLayout;
        row->setSpacing(14);
        row->addWidget(new Artwork(*picture, 32), 0, Qt::AlignVCenter);
        row->addWidget(heading, 1, Qt::AlignVCenter);
        column->addLayout(row);
        column->setSpacing(14);
    }
    return column;
}

std::unique_ptr<QWidget> introductionPage(const ProductName& product) {
    auto page = std::make_unique<QWidget>();
    auto* column = addHeading(*page, translated("Install %1").arg(product.inSentence), nullptr);
    addText(*column, translated("This installer takes you through a few short steps. Each one "
                                "tells you what it found and what you can do about it."));
    addText(*column, translated("You can go back at any time. Nothing on this computer changes "
                                "until you say so."));
    addText(*column, translated("Choose “Continue” to begin."));
    column->addStretch(1);
    return page;
}

std::unique_ptr<QWidget> summaryPage(const ProductName& product) {
    auto page = std::make_unique<QWidget>();
    const auto picture = Artwork::Picture::Tick;
    auto* column =
        addHeading(*page, translated("%1 is ready to be installed").arg(product.atStart), &picture);
    addText(*column, translated("All steps are done. You can go back to look at them again."));
    addText(*column, translated("This program shows an installer’s steps and installs nothing "
                                "itself, so nothing has been installed."))
        ->setForegroundRole(QPalette::PlaceholderText);
    column->addStretch(1);
    return page;
}

std::unique_ptr<QWidget> problemPage(const std::string& subject, const std::string& reason) {
    auto page = std::make_unique<QWidget>();
    const auto picture = Artwork::Picture::Warning;
    auto* column = addHeading(*page, translated("This step cannot be shown"), &picture);
    const std::string what =
        inQuotes(lastPathComponent(subject)) + " cannot be loaded: " + onOneLine(reason) + ".";
    // Not translated, like every message about a bundle: it is on standard error too.
    addText(*column, breakable(what))->setObjectName(QStringLiteral("problemText"));
    auto* where = addText(*column, breakable(onOneLine(subject)), "");
    where->setObjectName(QStringLiteral("problemSubject"));
    where->setForegroundRole(QPalette::PlaceholderText);  // the role of text of less weight
    addText(*column, translated("The other steps can still be used."));
    column->addStretch(1);
    return page;
}

}  // namespace

ProductName ProductName::of(const QString& name) {
    if (!name.isEmpty()) return {name, name};
    return {translated("the product"), translated("The product")};
}

std::unique_ptr<Section> makeIntroduction(const ProductName& product) {
    return std::make_unique<OwnSection>(translated("Introduction"),
                                        [product] { return introductionPage(product); });
}

std::unique_ptr<Section> makeSummary(const ProductName& product) {
    return std::make_unique<OwnSection>(translated("Summary"),
                                        [product] { return summaryPage(product); });
}

std::unique_ptr<Section> makeProblemSection(const std::string& subject, const std::string& reason) {
    return std::make_unique<ProblemSection>(
        shown(onOneLine(deletePathExtension(lastPathComponent(subject)))),
        [=] { return problemPage(subject, reason); });
}

}  // namespace quillmoor::host
