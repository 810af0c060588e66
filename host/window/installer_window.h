// The window: steps at the side, a title, the pane, and the buttons. It is independent of plug-ins.
#pragma once

#include <QFocusFrame>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QWidget>
#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include "host/window/appearance.h"
#include "host/window/built_in_sections.h"
#include "host/window/step_list.h"

namespace quillmoor::host {

class InstallerWindow : public QWidget {
  public:
    // Whether to ask the user before the window is closed early.
    enum class Confirm : bool { No, Yes };
    // Whether to keep the window within the screen that it is shown on. Off screen, the size of the
    // screen has no meaning.
    enum class FitScreen : bool { No, Yes };
    struct Setting {
        AppearanceMode appearance = AppearanceMode::System;
        Confirm confirm = Confirm::No;
        FitScreen fitScreen = FitScreen::No;
    };

    InstallerWindow(const ProductName& product, const std::vector<StepList::Step>& steps,
                    const Setting& setting);

    // Called when the buttons are pressed.
    std::function<void()> onContinue;
    std::function<void()> onGoBack;
    // Called after the window has painted itself for the first time.
    std::function<void()> onFirstPaint;

    // Sets the widget that a step shows, once for each step. It is hidden until the step is shown.
    void setPage(std::size_t step, std::unique_ptr<QWidget> page);

    // Shows a step: marks it at the side, shows its title above its page, updates the buttons and
    // puts the focus on the one that continues.
    void showStep(std::size_t step);

    // Returns the widget with this name, preferably on the shown page; null if there is none.
    QWidget* widgetNamed(const QString& name) const;

    // Closes without asking.
    void closeNow();

  protected:
    bool event(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

  private:
    QWidget* makeRail(const ProductName& product, const std::vector<StepList::Step>& steps);
    QWidget* makeMain(std::size_t steps);
    QLayout* makeButtons();
    QPushButton* mainButton() const;
    void markWhatReturnPresses(QWidget* focus);
    void frameFocus(QWidget* focus);
    void fitScreen();
    void showMnemonics(bool areShown);
    bool userWantsToQuit();
    void describe(std::size_t step);
    bool isLast() const;

    Setting setting_;
    std::vector<StepList::Step> steps_;
    StepList* list_ = nullptr;
    QLabel* title_ = nullptr;
    QLabel* progress_ = nullptr;
    std::vector<QScrollArea*> pages_;
    QPointer<QFocusFrame> focusFrame_;
    QPushButton* goBack_ = nullptr;
    QPushButton* continue_ = nullptr;
    QPushButton* close_ = nullptr;
    std::size_t shown_ = 0;
    bool dressed_ = false;  // the appearance is applied to everything in the window
    bool painted_ = false;
};

}  // namespace quillmoor::host
