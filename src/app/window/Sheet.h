#pragma once

#include "RefreshOnce.h"

#include <QDialog>
#include <QPointer>

#include <optional>

class AppModel;
class QBoxLayout;
class QPushButton;
class QVBoxLayout;
class ScrollColumn;
class TextLabel;
class Veil;

/// A sheet inside the launcher's window, over a veil: 440 points wide and as high as its content, which
/// scrolls where the window is too small. It ends in a row of buttons that is always visible. While it is
/// open, the focus stays in it; afterwards what had the focus before has it again. Escape closes it, Return
/// presses its default button, and the shortcuts of the window stay those of the window. Where a dialog with
/// a window of its own covers the launcher's window, it is a dialog over that one. Deletes itself when
/// closed. Its parent outlives it.
class Sheet : public QDialog {
    Q_OBJECT

public:
    /// In points. Less only in a window that is not as wide.
    static constexpr int usualWidth = 440;

    ~Sheet() override;

    /// The sheet that can be used now; null if none is open in `window`.
    static Sheet *topOf(const QWidget &window);
    /// The sheet that lies under `sheet`; null if the window does.
    static Sheet *below(const Sheet &sheet);

    /// The height that the content needs at that width.
    int heightFor(int width);

    void setVisible(bool visible) override;

protected:
    Sheet(const QString &title, int spacing, QWidget *parent);

    QVBoxLayout *column() const;
    /// Adds a line across the column.
    void addDivider();
    /// Adds a row of buttons, aligned left. None of them becomes the default.
    void addButtons(const QList<QPushButton *> &buttons);
    /// Adds the row that does not scroll, with the first of the buttons at its end and the others before it.
    /// Return presses the one of them that has the focus, or else `byDefault`, which has it at first. Called
    /// last, when the column is complete.
    void addLastRow(const QList<QPushButton *> &buttons, QPushButton *byDefault);
    /// Adds the last row with "Done", which closes the sheet.
    void addDoneRow();

    /// Shows the model's new notices beside the last row's buttons, as the sheet covers those in the window.
    /// The model must outlive the sheet.
    void showNoticesOf(const AppModel &model);
    /// Call this when the player presses something that may lead to a notice. From then on the notice is
    /// shown, even one that was there before.
    void expectNotice();
    /// Arranges rows side by side if they fit into `width`, otherwise stacked.
    virtual void arrange(int width);

    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void chooseDefault(const QWidget *focused);
    void appear();
    void disappear();
    void giveFocusBack();
    void refreshNotice();
    void fit();
    int footHeightFor(int width) const;

    /// Null for a sheet that has a window of its own.
    const QPointer<Veil> m_veil;
    QPointer<QWidget> m_focusBefore;
    ScrollColumn *m_column = nullptr;
    /// What does not scroll.
    QVBoxLayout *m_foot = nullptr;
    QBoxLayout *m_lastRow = nullptr;
    QList<QPushButton *> m_lastButtons;
    QPushButton *m_default = nullptr;
    QList<QBoxLayout *> m_buttonRows;

    const AppModel *m_noticeSource = nullptr;
    std::optional<QString> m_noticeBefore;
    bool m_expectsNotice = false;
    TextLabel *m_notice = nullptr;
    RefreshOnce m_noticeRefresh;
};
