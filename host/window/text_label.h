// A label that shapes its text once.
#pragma once

#include <QLabel>
#include <QTextLayout>
#include <memory>
#include <vector>

namespace quillmoor::host {

// Shows what a QLabel shows. Plain text that runs from left to right is shaped once and then only
// broken into lines: a layout tries out many widths before a window is painted for the first time,
// and shaping is most of what that costs. Text begins at the side at which the window begins.
class TextLabel : public QLabel {
  public:
    explicit TextLabel(QWidget* parent = nullptr) : TextLabel(QString(), parent) {}
    explicit TextLabel(const QString& text, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    int heightForWidth(int width) const override;

  protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    // The first line of the text, as it stands in the label.
    QRectF firstLine() const;

  private:
    // What may not be broken, with the white space that follows it; distances count from the
    // beginning of the paragraph.
    struct Word {
        int paragraph;
        int start;
        int end;
        qreal left;
        qreal right;  // without the white space
    };
    // Words that stand beside one another.
    struct Line {
        std::size_t first;
        std::size_t last;
    };
    struct Shaped {
        QString text;
        QTextLayout layout;  // one line for each paragraph
        std::vector<Word> words;
        qreal lineHeight = 0;
        qreal longestWord = 0;
        qreal brokenWidth = -1;
        std::vector<Line> lines;
    };

    // Everything else is left to the toolkit.
    bool isSimple() const;
    Shaped& shaped() const;
    void shape(Shaped& shaped) const;
    static void findWords(Shaped& shaped);
    static const std::vector<Line>& broken(Shaped& shaped, qreal width);
    qreal widthOf(const Shaped& shaped, const Line& line) const;
    QSize sizeFor(Shaped& shaped, qreal width) const;
    QMargins margins() const;
    QRectF textBox(Shaped& shaped) const;

    mutable std::unique_ptr<Shaped> shaped_;
};

}  // namespace quillmoor::host
