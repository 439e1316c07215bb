#include "LogText.h"

#include "ColourCodes.h"
#include "Contrast.h"
#include "HarmlessText.h"
#include "SpacedLayout.h"
#include "Tokens.h"
#include "TypeScale.h"

#include <QAbstractTextDocumentLayout>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextDocument>

#include <algorithm>
#include <cmath>

namespace {

constexpr int padding = 8;

/// The most characters that are laid out in one piece. Layout time grows faster than the length of a line,
/// and a game may print a million characters without a line feed.
constexpr qsizetype longestPiece = 2048;

/// What a colour that somebody else chose must have with the ground, at least.
constexpr double textContrast = 4.5;
constexpr double highContrast = 7;

/// About how many new characters are added in one turn of the event loop.
constexpr qsizetype mostAtOnce = 512 * 1024;

/// What one block shows: a line, or a part of it.
struct Piece {
    QString exact;
    ColourCodes::Text look;
    bool continues = false;
};

/// `colour` is the one that the piece begins in, and then the one that it ends in.
Piece makePiece(const QString &exact, bool continues, int &colour)
{
    Piece piece { exact, {}, continues };
    if (exact.contains(ColourCodes::escape)) {
        piece.look = ColourCodes::read(exact, colour);
        piece.look.shown = harmlessText(piece.look.shown);
    } else {
        // As most are, and without a copy of the text.
        piece.look.shown = harmlessText(exact);
        if (colour != ColourCodes::plain)
            piece.look.runs.append({ 0, exact.size(), colour });
    }
    return piece;
}

/// What a block needs to know that shows something else than its exact text, or in colours.
class ExactText final : public QTextBlockUserData {
public:
    explicit ExactText(const Piece &piece)
        : text(piece.exact)
        , runs(piece.look.runs)
        , m_gaps(piece.look.gaps)
    {
    }

    /// How many characters are left out before the place `at` of what is shown, and how many up to it.
    qsizetype leftOutBefore(qsizetype at) const
    {
        qsizetype length = 0;
        for (auto gap = m_gaps.begin(); gap != m_gaps.end() && gap->at < at; ++gap)
            length += gap->length;
        return length;
    }
    qsizetype leftOutUpTo(qsizetype at) const { return leftOutBefore(at + 1); }

    const QString text;
    const QList<ColourCodes::Text::Run> runs;

private:
    const QList<ColourCodes::Text::Gap> m_gaps;
};

/// The user state of a block that continues the line of the block before it.
constexpr int continuesLine = 1;

/// `length`, or less if the piece of that length would end within a colour code.
qsizetype withoutCutCode(QStringView text, qsizetype length)
{
    const qsizetype last = text.first(length).lastIndexOf(ColourCodes::escape);
    return last > 0 && last + ColourCodes::lengthAt(text, last) > length ? last : length;
}

/// Splits a line at its line feeds and where it is too long. A line begins without a colour, whatever the
/// line before it ended in.
QList<Piece> pieces(const QString &line)
{
    QList<Piece> result;
    int colour = ColourCodes::plain;
    qsizetype at = 0;
    bool continues = false;
    for (;;) {
        const qsizetype lineFeed = line.indexOf(u'\n', at);
        const qsizetype end = lineFeed < 0 ? line.size() : lineFeed;
        qsizetype length = std::min(end - at, longestPiece);
        // Never split a surrogate pair.
        if (length < end - at && line.at(at + length - 1).isHighSurrogate())
            --length;
        if (length < end - at)
            length = withoutCutCode(QStringView(line).sliced(at, end - at), length);
        result.append(makePiece(line.mid(at, length), continues, colour));
        at += length;
        continues = at < end;
        if (continues)
            continue;
        if (lineFeed < 0)
            return result;
        ++at;
    }
}

/// Whether the two share one buffer. Comparing the text is not necessary: the log store never copies it.
bool isSame(const QString &one, const QString &other)
{
    return one.constData() == other.constData() && one.size() == other.size();
}

/// How many lines were dropped from the front of `before`, so that the rest begins `now`: all if none is
/// left.
qsizetype droppedLines(const QStringList &before, const QStringList &now)
{
    for (qsizetype dropped = 0; dropped < before.size(); ++dropped) {
        const qsizetype kept = before.size() - dropped;
        if (kept <= now.size() && std::equal(before.cbegin() + dropped, before.cend(), now.cbegin(), isSame))
            return dropped;
    }
    return before.size();
}

/// The exact text of what is shown between two places. All of a block includes the codes at its ends; a part
/// of it begins and ends with what is shown.
QString exactText(const QTextBlock &block, qsizetype begin, qsizetype end)
{
    const auto *exact = static_cast<const ExactText *>(block.userData());
    if (!exact)
        return block.text().mid(begin, end - begin);
    const qsizetype length = block.length() - 1; // without the block's separator
    const qsizetype from = begin == 0 ? 0 : begin + exact->leftOutUpTo(begin);
    const qsizetype to = end == length ? exact->text.size() : end + exact->leftOutBefore(end);
    return exact->text.mid(from, to - from);
}

}

LogText::LogText(QWidget *parent)
    : QPlainTextEdit(parent)
{
    auto *document = new QTextDocument(this);
    m_layout = new SpacedLayout(document);
    document->setDocumentLayout(m_layout);
    setDocument(document);
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setTabChangesFocus(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setFrameShape(QFrame::NoFrame);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    document->setDocumentMargin(0);
    setViewportMargins(padding, padding, padding, padding);

    // Right-to-left text is aligned left like all other lines.
    QTextOption option = document->defaultTextOption();
    option.setAlignment(Qt::AlignLeft);
    option.setTextDirection(Qt::LeftToRight);
    document->setDefaultTextOption(option);

    // The panel behind it paints the background.
    viewport()->setAutoFillBackground(false);
}

bool LogText::showLines(const QStringList &lines)
{
    if (!lines.isEmpty())
        ensurePolished(); // its font decides how high it will be
    const int position = verticalScrollBar()->value();
    const qsizetype dropped = droppedLines(m_shown, lines);
    const qsizetype kept = m_shown.size() - dropped;
    if (kept == 0) {
        clear();
        m_blockCounts.clear();
    } else {
        dropLines(dropped);
    }

    qsizetype end = kept;
    for (qsizetype length = 0; end < lines.size() && length < mostAtOnce; ++end)
        length += lines.at(end).size();
    appendLines(lines, kept, end);
    m_shown = lines.mid(0, end);
    fitHeight();
    verticalScrollBar()->setValue(position);
    return end == lines.size();
}

void LogText::showNotice(const QString &text)
{
    m_shown.clear();
    m_blockCounts.clear();
    if (text != toPlainText())
        setPlainText(text);
    fitHeight();
}

void LogText::scrollToEnd() { verticalScrollBar()->setValue(verticalScrollBar()->maximum()); }

LogText *LogText::withSelection(const QWidget &window)
{
    LogText *found = nullptr;
    const auto texts = window.findChildren<LogText *>();
    for (LogText *text : texts) {
        const bool isSelected = text->isVisible() && text->textCursor().hasSelection();
        if (isSelected && (!found || text->hasFocus()))
            found = text;
    }
    return found;
}

void LogText::limitHeight(int least, int most)
{
    m_leastLines = least;
    m_mostLines = most;
    fitHeight();
}

QSize LogText::sizeHint() const
{
    const QSize usual = QPlainTextEdit::sizeHint();
    return m_mostLines > 0 ? QSize(usual.width(), minimumHeight()) : usual;
}

QSize LogText::minimumSizeHint() const { return { 1, fontMetrics().lineSpacing() }; }

bool LogText::event(QEvent *event)
{
    // Only once it is needed: finding and loading the font would delay the window's first picture.
    if (event->type() == QEvent::Polish)
        chooseFont();
    else if (event->type() == QEvent::ApplicationFontChange && testAttribute(Qt::WA_WState_Polished))
        followFont();
    return QPlainTextEdit::event(event);
}

void LogText::changeEvent(QEvent *event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange)
        repaintColours();
}

void LogText::followFont()
{
    const bool wasAtEnd = verticalScrollBar()->value() == verticalScrollBar()->maximum();
    chooseFont();
    fitHeight();
    if (wasAtEnd)
        scrollToEnd();
}

void LogText::chooseFont()
{
    // Whole pixels, so that every line looks the same.
    m_layout->setLineHeight(std::round(TypeScale::fixedWidthLineHeight()));
    setFont(TypeScale::fixedWidth());
}

void LogText::paintEvent(QPaintEvent *event)
{
    if (textCursor().hasSelection())
        paintSelection();
    QPlainTextEdit::paintEvent(event);
}

void LogText::visitVisibleLines(const std::function<void(const VisibleLine &)> &visit) const
{
    for (QTextBlock block = firstVisibleBlock(); block.isValid(); block = block.next()) {
        QPointF place = blockBoundingGeometry(block).translated(contentOffset()).topLeft();
        for (int index = 0; index < block.layout()->lineCount(); ++index) {
            if (place.y() > viewport()->height())
                return;
            const QTextLine line = block.layout()->lineAt(index);
            const double height = m_layout->heightOf(line);
            visit({ block, line, place, height });
            place.ry() += height;
        }
    }
}

/// Qt paints the ground of selected letters, but leaves stripes between the lines.
void LogText::paintSelection()
{
    const QTextCursor cursor = textCursor();
    const auto group = hasFocus() ? QPalette::Active : QPalette::Inactive;
    const QBrush ground = palette().brush(group, QPalette::Highlight);
    QPainter painter(viewport());
    visitVisibleLines([&](const VisibleLine &visible) {
        const QTextLine &line = visible.line;
        const int start = visible.block.position();
        const int from = std::max(line.textStart(), cursor.selectionStart() - start);
        const int to = std::min(line.textStart() + line.textLength(), cursor.selectionEnd() - start);
        if (from >= to)
            return;
        const double left = line.cursorToX(from);
        painter.fillRect(
            QRectF(visible.place.x() + left, visible.place.y(), line.cursorToX(to) - left, visible.height),
            ground);
    });
}

bool LogText::viewportEvent(QEvent *event)
{
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove: {
        const auto *mouse = static_cast<const QMouseEvent *>(event);
        QMouseEvent onLine(mouse->type(), nearestOnLine(mouse->position()), mouse->scenePosition(),
                           mouse->globalPosition(), mouse->button(), mouse->buttons(), mouse->modifiers(),
                           mouse->pointingDevice());
        onLine.setTimestamp(mouse->timestamp());
        const bool isHandled = QPlainTextEdit::viewportEvent(&onLine);
        event->setAccepted(onLine.isAccepted());
        return isHandled;
    }
    default:
        return QPlainTextEdit::viewportEvent(event);
    }
}

/// Qt takes the space between two lines for the end of one or the beginning of the other.
QPointF LogText::nearestOnLine(const QPointF &place) const
{
    QPointF nearest = place;
    visitVisibleLines([&](const VisibleLine &visible) {
        if (place.y() < visible.place.y() || place.y() >= visible.place.y() + visible.height)
            return;
        const double space = (visible.height - visible.line.height()) / 2;
        nearest.setY(std::clamp(place.y(), visible.place.y() + std::floor(space),
                                visible.place.y() + visible.height - std::ceil(space) - 1));
    });
    return nearest;
}

void LogText::resizeEvent(QResizeEvent *event)
{
    const bool wasAtEnd = verticalScrollBar()->value() == verticalScrollBar()->maximum();
    QPlainTextEdit::resizeEvent(event);
    fitHeight();
    if (wasAtEnd)
        scrollToEnd();
}

QMimeData *LogText::createMimeDataFromSelection() const
{
    const QTextCursor cursor = textCursor();
    QString exact;
    const QTextBlock last = document()->findBlock(cursor.selectionEnd());
    for (QTextBlock block = document()->findBlock(cursor.selectionStart()); block.isValid();
         block = block.next()) {
        const qsizetype from = std::max(0, cursor.selectionStart() - block.position());
        if (block == last) {
            exact += exactText(block, from, cursor.selectionEnd() - block.position());
            break;
        }
        exact += exactText(block, from, block.length() - 1);
        if (block.next().userState() != continuesLine)
            exact += u'\n';
    }
    auto *copied = new QMimeData;
    copied->setText(exact);
    return copied;
}

void LogText::appendLines(const QStringList &lines, qsizetype from, qsizetype end)
{
    if (from == end)
        return;

    QList<Piece> added;
    QString shown;
    for (qsizetype line = from; line < end; ++line) {
        const QList<Piece> parts = pieces(lines.at(line));
        m_blockCounts.append(static_cast<int>(parts.size()));
        for (const Piece &piece : parts) {
            if (!added.isEmpty() || from > 0)
                shown += u'\n';
            shown += piece.look.shown;
            added.append(piece);
        }
    }

    int number = from > 0 ? document()->blockCount() : 0;
    const int anchor = textCursor().anchor();
    const int position = textCursor().position();
    QTextCursor tail(document());
    tail.movePosition(QTextCursor::End);
    tail.beginEditBlock();
    tail.insertText(shown);
    for (QTextBlock block = document()->findBlockByNumber(number); block.isValid(); block = block.next()) {
        const Piece &piece = added.at(block.blockNumber() - number);
        block.setUserState(piece.continues ? continuesLine : 0);
        if (piece.look.shown != piece.exact || !piece.look.runs.isEmpty())
            block.setUserData(new ExactText(piece));
        if (!piece.look.runs.isEmpty())
            paintColours(block);
    }
    tail.endEditBlock();
    // Appending text must not extend the player's selection.
    if (QTextCursor cursor = textCursor(); cursor.anchor() != anchor || cursor.position() != position) {
        cursor.setPosition(anchor);
        cursor.setPosition(position, QTextCursor::KeepAnchor);
        setTextCursor(cursor);
    }
}

void LogText::paintColours(const QTextBlock &block)
{
    QList<QTextLayout::FormatRange> ranges;
    if (const auto *exact = static_cast<const ExactText *>(block.userData())) {
        for (const ColourCodes::Text::Run &run : exact->runs) {
            const int from = static_cast<int>(run.begin);
            ranges.append({ from, static_cast<int>(run.end) - from, formatOf(run.colour) });
        }
    }
    block.layout()->setFormats(ranges);
}

const QTextCharFormat &LogText::formatOf(int colour)
{
    QTextCharFormat &format = m_formats[colour];
    if (!format.hasProperty(QTextFormat::ForegroundBrush)) {
        const Tokens &tokens = Tokens::of(*this);
        // A well lies on the window, or on a failure.
        const QList<QColor> grounds { Contrast::over(tokens.well, tokens.window),
                                      Contrast::over(tokens.well,
                                                     Contrast::over(tokens.failurePanel, tokens.window)) };
        const bool isHigh = tokens.appearance.contrast == Appearance::Contrast::High;
        const double ratio = isHigh ? highContrast : textContrast;
        format.setForeground(Contrast::readable(ColourCodes::colour(colour), grounds, ratio));
    }
    return format;
}

void LogText::repaintColours()
{
    m_formats.clear();
    QTextCursor all(document());
    all.beginEditBlock();
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        if (block.userData())
            paintColours(block);
    }
    all.endEditBlock();
}

void LogText::dropLines(qsizetype count)
{
    if (count == 0)
        return;
    int blocks = 0;
    for (qsizetype line = 0; line < count; ++line)
        blocks += m_blockCounts.at(line);
    m_blockCounts.remove(0, count);
    QTextCursor front(document());
    front.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor, blocks);
    front.removeSelectedText();
}

void LogText::fitHeight()
{
    if (m_mostLines == 0 || !testAttribute(Qt::WA_WState_Polished))
        return;
    const QTextBlock first = document()->begin();
    const double lineHeight = document()->documentLayout()->blockBoundingRect(first).height()
        / std::max(1, first.layout()->lineCount());
    const double least = m_leastLines * lineHeight;
    const double most = m_mostLines * lineHeight;
    double wanted = 0;
    // Blocks beyond the maximum height are not laid out.
    for (QTextBlock block = first; block.isValid() && wanted < most; block = block.next())
        wanted += document()->documentLayout()->blockBoundingRect(block).height();
    // QPlainTextEdit treats a line that ends on its last pixel as one that does not fit.
    constexpr int spare = 2;
    const auto height = [](double text) { return static_cast<int>(std::ceil(text)) + spare + 2 * padding; };
    setMinimumHeight(height(std::min(wanted, least)));
    setMaximumHeight(height(std::min(wanted, most)));
}
