// The uninstaller's window: a question, which the report then replaces.
#pragma once

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWidget>
#include <memory>
#include <optional>
#include <vector>

#include "examples/tallyframe-uninstaller/uninstall_plan.h"

class QThread;

namespace quillmoor::tallyframe {

class UninstallerWindow : public QWidget {
    Q_OBJECT
  public:
    // Without items it shows that nothing is installed.
    explicit UninstallerWindow(std::vector<Item> items);
    ~UninstallerWindow() override;

    // Writes uninstaller-question.png and uninstaller-report.png into an existing folder; an empty
    // name keeps none.
    void keepPicturesIn(const QString& folder) { pictureFolder_ = folder; }

    // Presses the button shortly after the window is shown, and closes it after the report.
    void answerAutomatically();

    // Returns true if an item should have been moved and was not.
    bool isSomethingLeft() const { return isSomethingLeft_; }
    // Returns true if there were items and the user cancelled.
    bool isUnanswered() const { return !items_.empty() && reports_.empty(); }

  protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void showQuestion();
    void showNothingFound();
    void startMoving();
    void finishMoving();
    void showReport();
    void addCard(const Item& item, std::optional<Fate> fate = std::nullopt);
    void replaceCards();
    void settle();
    void markWhatReturnPresses(const QWidget* focus);
    void fitHeight();
    void takePicture(const QString& name);

    std::vector<Item> items_;
    std::vector<Report> reports_;
    std::unique_ptr<QThread> worker_;
    QString pictureFolder_;
    bool answersAutomatically_ = false;
    bool isSomethingLeft_ = false;

    QLabel* heading_;
    QLabel* explanation_;
    QVBoxLayout* cards_;
    QPushButton* move_;
    QPushButton* close_;
};

}  // namespace quillmoor::tallyframe
