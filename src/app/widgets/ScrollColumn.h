#pragma once

#include <QScrollArea>

class QVBoxLayout;

/// A column of views that is at least as wide as the window and scrolls if the window is too short for it.
class ScrollColumn final : public QScrollArea {
    Q_OBJECT

public:
    ScrollColumn(int padding, int spacing, QWidget *parent = nullptr);

    QVBoxLayout *column() const { return m_column; }
    /// The height of the whole column when it is `width` points wide, in points.
    int heightFor(int width) const;

    QSize minimumSizeHint() const override;

private:
    QVBoxLayout *m_column = nullptr;
};
