// The list of steps at the window's side.
#pragma once

#include <QLabel>
#include <QWidget>
#include <cstddef>
#include <vector>

namespace quillmoor::host {

enum class StepState { Upcoming, Current, Done };

// One step: its mark and its title, which wraps.
class StepRow : public QLabel {
  public:
    enum class Problem : bool { No, Yes };
    StepRow(const QString& title, Problem problem, QWidget* parent);

    void setState(StepState state);
    StepState state() const { return state_; }
    // Sets whether a line connects the row to the one above, and to the one below.
    void setJoined(bool above, bool below);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    void makeRoomForMark();
    QRectF markBox() const;
    void paintLines(QPainter& painter, const QRectF& box) const;
    void paintMark(QPainter& painter, const QRectF& box) const;

    Problem problem_;
    StepState state_ = StepState::Upcoming;
    bool joinedAbove_ = false;
    bool joinedBelow_ = false;
};

class StepList : public QWidget {
  public:
    // The distance of the marks from the list's edge, in pixels.
    static constexpr int kInset = 8;

    struct Step {
        QString title;
        bool problem;
    };
    explicit StepList(const std::vector<Step>& steps, QWidget* parent = nullptr);

    // Marks the steps before it as done and those after it as upcoming.
    void setCurrent(std::size_t step);
    const std::vector<StepRow*>& rows() const { return rows_; }

  private:
    std::vector<StepRow*> rows_;
};

}  // namespace quillmoor::host
