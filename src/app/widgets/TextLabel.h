#pragma once

#include "TypeScale.h"

#include <QLabel>
#include <QTextLayout>

/// The colour of a text.
enum class Ink { Primary, Secondary, Failure };

/// A label in one of the launcher's text styles. Its text is always plain, wraps anywhere rather than being
/// clipped, and is never too wide to read comfortably.
class TextLabel final : public QLabel {
    Q_OBJECT

public:
    explicit TextLabel(TextStyle style, Ink ink = Ink::Primary, QWidget *parent = nullptr);

    /// Shows `text`, or only the beginning of a very long one. An empty text keeps the height of one line.
    void display(const QString &text);

    /// Reserves room for `lines` lines, so that nothing below moves when the text changes.
    void reserveLines(int lines);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    int heightForWidth(int width) const override;

protected:
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    QColor colour() const;
    /// Where the text stands on a desktop that reads in this direction.
    Qt::Alignment visibleAlignment() const;
    int widestLine() const;
    /// Lays the text out for `width`, unless it already is, and returns its height.
    double layOut(int width) const;
    void forgetLayout();

    TextStyle m_style = TextStyle::Body;
    Ink m_ink = Ink::Primary;
    /// Not set as the widget's font: that stays the desktop's, so that changes to it are reported.
    QFont m_font;
    int m_reservedLines = 1;
    mutable QTextLayout m_layout;
    mutable int m_laidOutWidth = -1;
    mutable double m_height = 0;
};
