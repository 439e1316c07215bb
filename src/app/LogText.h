#pragma once

#include <QPlainTextEdit>
#include <QStringList>

/// Lines of a log, to be read, selected and copied. What could harm the display is shown as a sign of its own
/// and very long lines are laid out in pieces; what is copied is the exact text. Takes up new lines without
/// laying out the old ones again.
class LogText final : public QPlainTextEdit {
    Q_OBJECT

public:
    explicit LogText(QWidget *parent = nullptr);

    /// Shows `lines`, each on a line of its own. The scroll position stays where it is. Of very much new text
    /// it takes up a part, from the oldest on, and gives false: then it wants to be called again on a later
    /// turn.
    [[nodiscard]] bool showLines(const QStringList &lines);
    /// Shows one text where there are no lines to show.
    void showNotice(const QString &text);

    void scrollToEnd();

    /// The text below `window` whose selection the player sees: the one with the focus before the others, or
    /// null.
    static LogText *withSelection(const QWidget &window);

    /// Makes the box as high as its text, at most as high as `lines` lines; without it the layout decides.
    void growUpTo(int lines);

    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent *event) override;
    QMimeData *createMimeDataFromSelection() const override;

private:
    void appendLines(const QStringList &lines, qsizetype from, qsizetype end);
    void dropLines(qsizetype count);
    void fitHeight();

    QStringList m_shown;
    /// How many blocks of the document each shown line takes.
    QList<int> m_blockCounts;
    int m_mostLines = 0;
};
