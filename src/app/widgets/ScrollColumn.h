#pragma once

#include <QScrollArea>

class QVBoxLayout;

/// A column of views that is as wide as the window and scrolls if the window is too short for it. Scrolls to
/// the view that gets the focus, unless it gets it by a press of the mouse.
class ScrollColumn final : public QScrollArea {
    Q_OBJECT

public:
    ScrollColumn(int padding, int spacing, QWidget *parent = nullptr);
    ~ScrollColumn() override;

    QVBoxLayout *column() const { return m_column; }
    /// The height of the whole column when it is `width` points wide, in points.
    int heightFor(int width) const;

    /// Scrolls no further than needed to show all of `view`, or its top, with some space around it. `view`
    /// must be in the column.
    void reveal(const QWidget &view);

    QSize minimumSizeHint() const override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    bool focusNextPrevChild(bool next) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void revealFocus(const QWidget *focused);

    QVBoxLayout *m_column = nullptr;
};
