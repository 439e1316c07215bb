#pragma once

#include <QHash>
#include <QPlainTextEdit>
#include <QStringList>
#include <QTextBlock>
#include <QTextCharFormat>
#include <QTextLayout>

#include <functional>

class SpacedLayout;

/// Log lines that can be read, selected and copied. Harmful characters are shown as visible substitutes,
/// codes for colours as colours, and very long lines are laid out in pieces; copying yields the exact text.
/// Adds new lines without laying out the old ones again.
class LogText final : public QPlainTextEdit {
    Q_OBJECT

public:
    explicit LogText(QWidget *parent = nullptr);

    /// Shows `lines`, each on a line of its own, and keeps the scroll position. If there is too much new text
    /// for one turn of the event loop, adds the oldest part and returns false: call it again on a later turn.
    [[nodiscard]] bool showLines(const QStringList &lines);
    /// Shows `text` in place of lines.
    void showNotice(const QString &text);

    void scrollToEnd();

    /// The visible text in `window` that has a selection, preferably the one with the focus; otherwise null.
    static LogText *withSelection(const QWidget &window);

    /// Keeps the layout from making the box higher than its text or than `most` lines, or lower than `least`
    /// lines of its text. Without this call the layout is free.
    void limitHeight(int least, int most);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    QMimeData *createMimeDataFromSelection() const override;

private:
    void appendLines(const QStringList &lines, qsizetype from, qsizetype end);
    void dropLines(qsizetype count);
    void fitHeight();
    void chooseFont();
    void followFont();
    void paintSelection();
    QPointF nearestOnLine(const QPointF &place) const;
    /// A line that the player sees, with its share of the space between the lines. In the viewport's
    /// coordinates.
    struct VisibleLine {
        QTextBlock block;
        QTextLine line;
        QPointF place;
        double height = 0;
    };
    void visitVisibleLines(const std::function<void(const VisibleLine &)> &visit) const;

    void paintColours(const QTextBlock &block);
    void repaintColours();
    const QTextCharFormat &formatOf(int colour);

    SpacedLayout *m_layout = nullptr;
    QStringList m_shown;
    /// How many blocks of the document each shown line takes.
    QList<int> m_blockCounts;
    /// The colours that were needed so far, readable on the ground of now.
    QHash<int, QTextCharFormat> m_formats;
    int m_leastLines = 0;
    int m_mostLines = 0;
};
