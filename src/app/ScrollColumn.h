#pragma once

#include <QScrollArea>

class QVBoxLayout;

/// A column of views that scrolls where the window is too short for it, and is never narrower than the
/// window.
class ScrollColumn final : public QScrollArea {
    Q_OBJECT

public:
    ScrollColumn(int padding, int spacing, QWidget *parent = nullptr);

    QVBoxLayout *column() const { return m_column; }
    /// How high the whole column is at `width` points.
    int heightFor(int width) const;

    QSize minimumSizeHint() const override;

private:
    QVBoxLayout *m_column = nullptr;
};
