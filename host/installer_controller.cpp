#include "host/installer_controller.h"

#include <QPixmap>
#include <algorithm>

#include "host/ground/display_text.h"
#include "host/ground/host_error.h"

namespace quillmoor::host {

using Kind = PlannedSection::Kind;

InstallerController::InstallerController(const std::vector<PlannedSection>& plan,
                                         const Setting& setting, Transcript& transcript)
    : transcript_(transcript), sections_(plan.size()), hasPage_(plan.size()) {
    // Bundles first: one of them may name the product, which the built-in sections mention.
    loadBundles(plan, setting.languages);
    const ProductName product = ProductName::of(productName(setting.product));
    fillInOwn(plan, product);
    makeWindow(product, setting.window);
    // Last: without it, a pane that navigates while it is created is ignored.
    sequence_ = std::make_unique<PaneSequence>(panes(), static_cast<SequenceObserver&>(*this));
}

// The widgets are destroyed first, so that the controls that the panes hold for them do nothing.
InstallerController::~InstallerController() {
    window_.reset();
}

// Sections, pages and the window's steps all have the numbers of the plan.
void InstallerController::loadBundles(const std::vector<PlannedSection>& plan,
                                      const QStringList& languages) {
    for (std::size_t i = 0; i < plan.size(); ++i) sections_[i] = loadOne(plan[i], languages);
}

std::unique_ptr<Section> InstallerController::loadOne(const PlannedSection& planned,
                                                      const QStringList& languages) {
    if (planned.kind == Kind::Problem) return problem(planned.subject, planned.reason);
    // Built-in sections follow in fillInOwn, when the product's name is known.
    if (planned.kind != Kind::Bundle) return nullptr;
    try {
        return loadBundle(planned.subject,
                          {languages, transcript_, [this](PluginPane& pane, Direction direction) {
                               paneWishes(pane, direction);
                           }});
    } catch (const HostError& error) {
        return problem(planned.subject, error.what());
    }
}

std::unique_ptr<Section> InstallerController::problem(const std::string& subject,
                                                      const std::string& reason) {
    transcript_.problem(inQuotes(subject) + " cannot be loaded: " + reason);
    return makeProblemSection(subject, reason);
}

void InstallerController::fillInOwn(const std::vector<PlannedSection>& plan,
                                    const ProductName& product) {
    for (std::size_t i = 0; i < plan.size(); ++i) {
        if (plan[i].kind == Kind::Introduction) sections_[i] = makeIntroduction(product);
        if (plan[i].kind == Kind::Summary) sections_[i] = makeSummary(product);
    }
}

// The user's choice, else that of the first bundle that names a product.
QString InstallerController::productName(const QString& wish) const {
    if (!wish.isEmpty()) return wish;
    for (const auto& section : sections_)
        if (const auto* pane = dynamic_cast<const PluginPane*>(section.get()))
            if (!pane->productName().empty()) return shown(pane->productName());
    return {};
}

std::vector<SequencedPane*> InstallerController::panes() const {
    std::vector<SequencedPane*> panes;
    for (const auto& section : sections_) panes.push_back(section.get());
    return panes;
}

void InstallerController::makeWindow(const ProductName& product,
                                     const InstallerWindow::Setting& setting) {
    std::vector<StepList::Step> steps;
    std::string names;
    for (std::size_t i = 0; i < sections_.size(); ++i) {
        steps.push_back({sections_[i]->title(), sections_[i]->isProblem()});
        names += (i > 0 ? ", " : "") + nameOfPane(i);
    }
    transcript_.write("sections", names);
    window_ = std::make_unique<InstallerWindow>(product, steps, setting);
    window_->onContinue = [this] { userContinues(); };
    window_->onGoBack = [this] { userGoesBack(); };
    // A script may name a plug-in's widgets before their step is shown.
    for (std::size_t i = 0; i < sections_.size(); ++i)
        if (sections_[i]->isPlugin()) ensurePage(i);
}

// Once for each section, which gives its widget away.
void InstallerController::ensurePage(std::size_t pane) {
    if (hasPage_[pane]) return;
    hasPage_[pane] = true;
    window_->setPage(pane, sections_[pane]->takeWidget());
}

void InstallerController::start() {
    sequence_->start();
}

// The step first, so that the window's first picture shows it.
void InstallerController::showWindow() {
    showCurrent();
    window_->show();
}

void InstallerController::showCurrent() {
    ensurePage(shown_);
    window_->showStep(shown_);
}

void InstallerController::userContinues() {
    sequence_->userGoes(Direction::Forward);
}

void InstallerController::userGoesBack() {
    sequence_->userGoes(Direction::Backward);
}

void InstallerController::continueToPlugin() {
    while (!pluginEntered_) {
        const auto before = sequence_->current();
        userContinues();
        // A pane that refuses would keep this here without end.
        if (sequence_->current() == before) return;
    }
}

void InstallerController::paneWishes(const PluginPane& pane, Direction direction) {
    if (!sequence_) return;  // a pane asks while it is created
    const auto found = std::ranges::find_if(
        sections_, [&pane](const auto& section) { return section.get() == &pane; });
    sequence_->paneGoes(static_cast<std::size_t>(found - sections_.begin()), direction);
}

QString InstallerController::shownTitle() const {
    return sections_[shown_]->title();
}

QWidget* InstallerController::widgetNamed(const QString& name) const {
    return window_->widgetNamed(name);
}

QImage InstallerController::picture() {
    return window_->grab().toImage();
}

bool InstallerController::hasProblems() const {
    return std::ranges::any_of(sections_, [](const auto& each) { return each->isProblem(); });
}

std::string InstallerController::nameOfPane(std::size_t pane) const {
    return inQuotes(bytesOf(sections_[pane]->title()));
}

// What the sequence reports is recorded in the transcript as it happens.
void InstallerController::paneReached(std::size_t pane, Direction direction) {
    pluginEntered_ = pluginEntered_ || sections_[pane]->isPlugin();
    transcript_.write("entered", nameOfPane(pane) + " " + nameOf(direction));
}

void InstallerController::panePassedOver(std::size_t pane, Direction direction) {
    transcript_.write("passed over", nameOfPane(pane) + " " + nameOf(direction));
}

void InstallerController::paneSettled(std::size_t pane) {
    shown_ = pane;
    // Not before showWindow(): a page that is passed through need not be built.
    if (window_->isVisible()) showCurrent();
    transcript_.write("on screen", nameOfPane(pane));
}

void InstallerController::paneKept(std::size_t pane, Direction direction) {
    transcript_.write("kept", nameOfPane(pane) + " may not be left " + nameOf(direction));
}

void InstallerController::nothingBeyond(std::size_t pane, Direction direction) {
    transcript_.write("nothing beyond", nameOfPane(pane) + " " + nameOf(direction));
}

void InstallerController::panesCircle(std::size_t pane, Direction direction) {
    transcript_.problem("the panes keep passing one another over; " + nameOfPane(pane) +
                        " stays instead of going " + nameOf(direction));
}

}  // namespace quillmoor::host
