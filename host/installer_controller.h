// Connects the sections, their sequence and the window, and records what happens.
#pragma once

#include <QStringList>
#include <functional>
#include <memory>
#include <vector>

#include "host/ground/transcript.h"
#include "host/plugin/bundle_loader.h"
#include "host/script/script_target.h"
#include "host/sections/pane_sequence.h"
#include "host/sections/section.h"
#include "host/sections/section_plan.h"
#include "host/window/installer_window.h"

namespace quillmoor::host {

class InstallerController : public ScriptTarget, private SequenceObserver {
  public:
    struct Setting {
        QString product;  // "": the name that a bundle gives
        QStringList languages;
        InstallerWindow::Setting window;
    };

    // Loads every section of the plan. In place of one that cannot be loaded there is a section
    // that shows why. The transcript must outlive the controller.
    InstallerController(const std::vector<PlannedSection>& plan, const Setting& setting,
                        Transcript& transcript);
    ~InstallerController() override;
    InstallerController(const InstallerController&) = delete;
    InstallerController& operator=(const InstallerController&) = delete;

    // Enters the first section.
    void start();

    // Puts the window on screen with the section that was reached. Pages of built-in sections that
    // were only passed through are never built.
    void showWindow();

    void userContinues() override;
    void userGoesBack() override;
    QString shownTitle() const override;
    QWidget* widgetNamed(const QString& name) const override;
    QImage picture() override;

    // Continues until a plug-in's pane has been entered, or to the last section.
    void continueToPlugin();

    InstallerWindow& window() { return *window_; }
    // Returns true if a section could not be loaded.
    bool hasProblems() const;

  private:
    void paneReached(std::size_t pane, Direction direction) override;
    void panePassedOver(std::size_t pane, Direction direction) override;
    void paneSettled(std::size_t pane) override;
    void paneKept(std::size_t pane, Direction direction) override;
    void nothingBeyond(std::size_t pane, Direction direction) override;
    void panesCircle(std::size_t pane, Direction direction) override;

    void loadBundles(const std::vector<PlannedSection>& plan, const QStringList& languages);
    void fillInOwn(const std::vector<PlannedSection>& plan, const ProductName& product);
    std::unique_ptr<Section> loadOne(const PlannedSection& planned, const QStringList& languages);
    std::unique_ptr<Section> problem(const std::string& subject, const std::string& reason);
    void makeWindow(const ProductName& product, const InstallerWindow::Setting& setting);
    QString productName(const QString& wish) const;
    std::vector<SequencedPane*> panes() const;
    void paneWishes(const PluginPane& pane, Direction direction);
    void ensurePage(std::size_t pane);
    void showCurrent();
    std::string nameOfPane(std::size_t pane) const;

    Transcript& transcript_;
    std::vector<std::unique_ptr<Section>> sections_;
    std::vector<bool> hasPage_;
    std::unique_ptr<PaneSequence> sequence_;
    std::unique_ptr<InstallerWindow> window_;
    std::size_t shown_ = 0;
    bool pluginEntered_ = false;
};

}  // namespace quillmoor::host
