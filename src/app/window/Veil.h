#pragma once

#include <QWidget>

#include <optional>

class Sheet;

/// Covers a window while a sheet is open: darkens the window, takes all presses and turns of the wheel that
/// miss the sheet, and keeps the sheet in its place as the window changes its size. Where it lies over
/// another sheet, it darkens that one, as the window is dark already. The window owns it; it owns its sheet.
/// Main thread.
class Veil final : public QWidget {
    Q_OBJECT

public:
    explicit Veil(QWidget &window);
    ~Veil() override;

    /// Covers the window and everything over it.
    void spread(Sheet &sheet);
    /// Gives the sheet the size that its content needs, at most the window's less a margin, and its place.
    /// What is in it stays where it is as long as there is room.
    void place();

    Sheet *sheet() const { return m_sheet; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    void cover();

    /// Null until it has one.
    Sheet *m_sheet = nullptr;
    /// The sheet's upper edge in the window as large as it is now; nothing until it has its first place
    /// there.
    std::optional<int> m_top;
};
