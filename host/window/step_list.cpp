#include "host/window/step_list.h"

#include <QEvent>
#include <QPainter>
#include <QStyle>
#include <QVBoxLayout>
#include <cmath>

#include "host/ground/display_text.h"
#include "host/window/appearance.h"
#include "host/window/artwork.h"

namespace quillmoor::host {
namespace {

// In pixels.
constexpr int kMark = 20;
constexpr int kGap = 12;
constexpr int kInset = StepList::kInset;
constexpr int kPadding = 10;
constexpr int kLineClearance = 3;

QString spoken(StepState state) {
    switch (state) {
        case StepState::Done:
            return translated("done");
        case StepState::Current:
            return translated("current step");
        case StepState::Upcoming:
            break;
    }
    return translated("to come");
}

}  // namespace

StepRow::StepRow(const QString& title, Problem problem, QWidget* parent)
    : QLabel(title, parent), problem_(problem) {
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setAlignment(Qt::AlignLeading | Qt::AlignTop);
    makeRoomForMark();
    setState(StepState::Upcoming);
}

void StepRow::setState(StepState state) {
    state_ = state;
    setForegroundRole(state == StepState::Current ? QPalette::WindowText
                                                  : QPalette::PlaceholderText);
    QString name = text() + QStringLiteral(", ") + spoken(state);
    if (problem_ == Problem::Yes) name += QStringLiteral(", ") + translated("cannot be shown");
    setAccessibleName(name);
    // The style sheet gives the current step its own background. It reads the property only when
    // the label is polished.
    const QString ground =
        state == StepState::Current ? QStringLiteral("current") : QStringLiteral("");
    if (property("stepState").toString() != ground) {
        setProperty("stepState", ground);
        style()->unpolish(this);
        style()->polish(this);
    }
    update();
}

void StepRow::setJoined(bool above, bool below) {
    joinedAbove_ = above;
    joinedBelow_ = below;
}

void StepRow::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LayoutDirectionChange) makeRoomForMark();
    QLabel::changeEvent(event);
}

// The toolkit mirrors layouts, but no margins.
void StepRow::makeRoomForMark() {
    const int room = kInset + kMark + kGap;
    const bool mirrored = layoutDirection() == Qt::RightToLeft;
    setContentsMargins(mirrored ? kInset : room, kPadding, mirrored ? room : kInset, kPadding);
}

// Level with the first line of the text.
QRectF StepRow::markBox() const {
    const double middle = kPadding + fontMetrics().height() / 2.0;
    const double left = layoutDirection() == Qt::RightToLeft ? width() - kInset - kMark : kInset;
    return {left, std::round(middle - kMark / 2.0), kMark, kMark};
}

void StepRow::paintEvent(QPaintEvent* event) {
    QLabel::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box = markBox();
    paintLines(painter, box);
    paintMark(painter, box);
}

// Each row draws half of the line to a neighbour, in the accent if the step before the line is
// done. The step after it was then reached, so both halves agree.
void StepRow::paintLines(QPainter& painter, const QRectF& box) const {
    const double x = box.center().x();
    const QColor reached = palette().color(QPalette::Highlight);
    QColor ahead = palette().color(QPalette::Dark);
    ahead.setAlphaF(.45F);
    if (joinedAbove_) {
        painter.setPen(QPen(state_ == StepState::Upcoming ? ahead : reached, 1.5));
        painter.drawLine(QPointF(x, 0), QPointF(x, box.top() - kLineClearance));
    }
    if (joinedBelow_) {
        painter.setPen(QPen(state_ == StepState::Done ? reached : ahead, 1.5));
        painter.drawLine(QPointF(x, box.bottom() + kLineClearance), QPointF(x, height()));
    }
}

void StepRow::paintMark(QPainter& painter, const QRectF& box) const {
    const QColor accent = palette().color(QPalette::Highlight);
    // In every state: a step that cannot be shown stays marked.
    if (problem_ == Problem::Yes)
        return paintWarning(painter, box.adjusted(0, -1, 0, -1), warningColour(palette()),
                            palette().color(QPalette::AlternateBase));
    if (state_ == StepState::Done)
        return paintTick(painter, box, accent, palette().color(QPalette::HighlightedText));

    const bool current = state_ == StepState::Current;
    // Not the label's own palette, where the style sheet has replaced the background.
    painter.setBrush(window()->palette().color(QPalette::Base));
    painter.setPen(QPen(current ? accent : palette().color(QPalette::Dark), current ? 2 : 1.5));
    painter.drawEllipse(box.adjusted(1, 1, -1, -1));
    if (!current) return;
    painter.setPen(Qt::NoPen);
    painter.setBrush(accent);
    painter.drawEllipse(box.adjusted(6, 6, -6, -6));
}

StepList::StepList(const std::vector<Step>& steps, QWidget* parent) : QWidget(parent) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    for (const Step& step : steps) {
        const auto problem = step.problem ? StepRow::Problem::Yes : StepRow::Problem::No;
        auto* row = new StepRow(step.title, problem, this);
        row->setJoined(!rows_.empty(), rows_.size() + 1 < steps.size());
        row->setObjectName(QStringLiteral("step%1").arg(rows_.size() + 1));
        column->addWidget(row);
        rows_.push_back(row);
    }
    setAccessibleName(translated("Steps"));
}

void StepList::setCurrent(std::size_t step) {
    for (std::size_t i = 0; i < rows_.size(); ++i)
        rows_[i]->setState(i < step    ? StepState::Done
                           : i == step ? StepState::Current
                                       : StepState::Upcoming);
}

}  // namespace quillmoor::host
