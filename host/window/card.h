// What a step shows, on a card: a rounded ground whose contents scroll when they need more room.
#pragma once

#include <QScrollArea>
#include <QWidget>
#include <memory>

namespace quillmoor::host {

class Card : public QWidget {
  public:
    explicit Card(QWidget* parent = nullptr);

    void setPage(std::unique_ptr<QWidget> page);

    // The card's contents, for screen readers.
    void setSpokenName(const QString& name);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QScrollArea* area_;
};

}  // namespace quillmoor::host
