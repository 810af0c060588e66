#include "host/window/text_label.h"

#include <QEvent>
#include <QGlyphRun>
#include <QPainter>
#include <QStyle>
#include <QTextBoundaryFinder>
#include <QTextOption>
#include <algorithm>
#include <cmath>

namespace quillmoor::host {
namespace {

// A line that is pleasant to read, in characters.
constexpr int kPreferredLine = 72;
constexpr qreal kNoWidth = 1 << 20;

int upwards(qreal value) {
    return static_cast<int>(std::ceil(value));
}

bool isPlain(const QLabel& label) {
    return label.textFormat() == Qt::PlainText ||
           (label.textFormat() == Qt::AutoText && !Qt::mightBeRichText(label.text()));
}

// Scripts that run from right to left, and marks that turn the direction, need the whole line.
bool runsFromLeftToRight(const QString& text) {
    return std::ranges::none_of(text, [](QChar each) {
        switch (each.direction()) {
            case QChar::DirL:
            case QChar::DirEN:
            case QChar::DirES:
            case QChar::DirET:
            case QChar::DirCS:
            case QChar::DirB:
            case QChar::DirWS:
            case QChar::DirON:
            case QChar::DirNSM:
            case QChar::DirBN:
                return each == '\t';
            default:
                return true;
        }
    });
}

}  // namespace

TextLabel::TextLabel(const QString& text, QWidget* parent) : QLabel(parent) {
    setText(text);
}

bool TextLabel::isSimple() const {
    if (shaped_ && shaped_->text == text()) return true;
    return !text().isEmpty() && isPlain(*this) && buddy() == nullptr && frameWidth() == 0 &&
           textInteractionFlags() == Qt::LinksAccessibleByMouse && runsFromLeftToRight(text());
}

TextLabel::Shaped& TextLabel::shaped() const {
    if (!shaped_ || shaped_->text != text()) {
        shaped_ = std::make_unique<Shaped>();
        shape(*shaped_);
    }
    return *shaped_;
}

void TextLabel::shape(Shaped& shaped) const {
    shaped.text = text();
    QString paragraphs(shaped.text);
    paragraphs.replace('\n', QChar::LineSeparator);
    QTextOption option(Qt::AlignLeft | Qt::AlignAbsolute);
    option.setWrapMode(QTextOption::NoWrap);
    option.setTextDirection(Qt::LeftToRight);
    shaped.layout.setText(paragraphs);
    shaped.layout.setFont(font());
    shaped.layout.setTextOption(option);
    shaped.layout.setCacheEnabled(true);
    shaped.layout.beginLayout();
    for (auto line = shaped.layout.createLine(); line.isValid();
         line = shaped.layout.createLine()) {
        line.setLineWidth(kNoWidth);
        line.setPosition({0, 0});
        shaped.lineHeight = std::max(shaped.lineHeight, line.height());
    }
    shaped.layout.endLayout();
    findWords(shaped);
}

void TextLabel::findWords(Shaped& shaped) {
    const QString text = shaped.layout.text();
    QTextBoundaryFinder finder(QTextBoundaryFinder::Line, text);
    for (int i = 0; i < shaped.layout.lineCount(); ++i) {
        const QTextLine line = shaped.layout.lineAt(i);
        const int stop = line.textStart() + line.textLength();
        int start = line.textStart();
        do {
            finder.setPosition(start);
            const int next = static_cast<int>(finder.toNextBoundary());
            const int end = next < 0 ? stop : std::min(next, stop);
            int visible = end;
            while (visible > start && text[visible - 1].isSpace()) --visible;
            const Word word{i, start, end, line.cursorToX(start), line.cursorToX(visible)};
            shaped.longestWord = std::max(shaped.longestWord, word.right - word.left);
            shaped.words.push_back(word);
            start = end;
        } while (start < stop);
    }
}

const std::vector<TextLabel::Line>& TextLabel::broken(Shaped& shaped, qreal width) {
    if (shaped.brokenWidth == width) return shaped.lines;
    shaped.brokenWidth = width;
    shaped.lines.clear();
    for (std::size_t i = 0; i < shaped.words.size(); ++i) {
        const Word& word = shaped.words[i];
        const bool fits = !shaped.lines.empty() &&
                          shaped.words[shaped.lines.back().first].paragraph == word.paragraph &&
                          word.right - shaped.words[shaped.lines.back().first].left <= width;
        if (fits)
            shaped.lines.back().last = i;
        else
            shaped.lines.push_back({i, i});
    }
    return shaped.lines;
}

qreal TextLabel::widthOf(const Shaped& shaped, const Line& line) const {
    return shaped.words[line.last].right - shaped.words[line.first].left;
}

QSize TextLabel::sizeFor(Shaped& shaped, qreal width) const {
    qreal widest = 0;
    const auto& lines = broken(shaped, wordWrap() ? width : kNoWidth);
    for (const Line& line : lines) widest = std::max(widest, widthOf(shaped, line));
    return {upwards(widest), upwards(shaped.lineHeight * static_cast<qreal>(lines.size()))};
}

QMargins TextLabel::margins() const {
    return contentsMargins() + QMargins(margin(), margin(), margin(), margin());
}

QSize TextLabel::sizeHint() const {
    if (!isSimple()) return QLabel::sizeHint();
    const qreal preferred = fontMetrics().averageCharWidth() * kPreferredLine;
    return sizeFor(shaped(), preferred).grownBy(margins());
}

QSize TextLabel::minimumSizeHint() const {
    if (!isSimple()) return QLabel::minimumSizeHint();
    if (!wordWrap()) return sizeHint();
    const Shaped& text = shaped();
    return QSize(upwards(text.longestWord), upwards(text.lineHeight)).grownBy(margins());
}

int TextLabel::heightForWidth(int width) const {
    if (!isSimple()) return QLabel::heightForWidth(width);
    const QMargins around = margins();
    const int inside = std::max(width - around.left() - around.right(), 0);
    return sizeFor(shaped(), inside).height() + around.top() + around.bottom();
}

QRectF TextLabel::textBox(Shaped& shaped) const {
    const QRectF room = QRectF(rect()).marginsRemoved(margins());
    const qreal height = sizeFor(shaped, room.width()).height();
    qreal top = room.top();
    if ((alignment() & Qt::AlignVCenter) != 0) top += (room.height() - height) / 2;
    if ((alignment() & Qt::AlignBottom) != 0) top += room.height() - height;
    return {room.left(), std::floor(top), room.width(), height};
}

QRectF TextLabel::firstLine() const {
    if (!isSimple()) return contentsRect();
    QRectF box = textBox(shaped());
    box.setHeight(shaped().lineHeight);
    return box;
}

void TextLabel::paintEvent(QPaintEvent* event) {
    if (!isSimple()) return QLabel::paintEvent(event);
    Shaped& text = shaped();
    const QRectF box = textBox(text);
    const auto side = QStyle::visualAlignment(layoutDirection(), alignment());
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    qreal top = box.top();
    for (const Line& line : text.lines) {
        const Word& first = text.words[line.first];
        const qreal room = box.width() - widthOf(text, line);
        qreal left = box.left() - first.left;
        if ((side & Qt::AlignRight) != 0) left += std::floor(room);
        if ((side & Qt::AlignHCenter) != 0) left += std::floor(room / 2);
        const QTextLine paragraph = text.layout.lineAt(first.paragraph);
        const int length = text.words[line.last].end - first.start;
        for (const QGlyphRun& run : paragraph.glyphRuns(first.start, length))
            painter.drawGlyphRun({left, top}, run);
        top += text.lineHeight;
    }
}

void TextLabel::changeEvent(QEvent* event) {
    const auto type = event->type();
    if (type == QEvent::FontChange || type == QEvent::StyleChange) shaped_.reset();
    QLabel::changeEvent(event);
}

}  // namespace quillmoor::host
