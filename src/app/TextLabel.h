#pragma once

#include "TypeScale.h"

#include <QLabel>
#include <QTextLayout>

/// What a text is painted with; worked out from the palette at paint time.
enum class Ink { Primary, Secondary, Failure };

/// A text of the launcher in one of its sizes: plain whatever it holds, wrapped wherever it must be and never
/// cut, and no wider than can be read with comfort.
class TextLabel final : public QLabel {
    Q_OBJECT

public:
    explicit TextLabel(TextStyle style, Ink ink = Ink::Primary, QWidget *parent = nullptr);

    /// Shows `text`, or only the beginning of a very long one. An empty text keeps the height of one line.
    void display(const QString &text);

    /// Keeps room for `lines` lines, so that a text that comes and goes moves nothing below it.
    void reserveLines(int lines);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    int heightForWidth(int width) const override;

protected:
    void changeEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    QColor colour() const;
    int widestLine() const;
    /// Lays the text out for `width`, unless it is laid out so already, and gives its height.
    double layOut(int width) const;
    void forgetLayout();

    TextStyle m_style = TextStyle::Body;
    Ink m_ink = Ink::Primary;
    /// Not the widget's own font: that one stays the desktop's, and so tells of its changes.
    QFont m_font;
    int m_reservedLines = 1;
    mutable QTextLayout m_layout;
    mutable int m_laidOutWidth = -1;
    mutable double m_height = 0;
};
