#pragma once

#include "RefreshOnce.h"

#include <QDialog>

#include <optional>

class AppModel;
class QBoxLayout;
class QPushButton;
class QVBoxLayout;
class ScrollColumn;
class TextLabel;

/// A sheet over the launcher's window: 440 points wide and as high as its content. It ends in a row with
/// "Done", which is always visible and which Return presses; Escape closes the sheet too. Since it covers the
/// window's notice, it shows new notices itself. Deletes itself when closed. The model outlives it.
class Sheet : public QDialog {
    Q_OBJECT

public:
    Sheet(AppModel &model, const QString &title, int spacing, QWidget *parent);

protected:
    QVBoxLayout *column() const;
    /// Adds the row with "Done". Called last, when the column is complete.
    void addDoneRow();
    /// Adds a line across the column.
    void addDivider();
    /// Adds a row of buttons, aligned left. None of them becomes the default: Return presses "Done".
    void addButtons(const QList<QPushButton *> &buttons);
    /// Call this when the player presses something that may lead to a notice. From then on the notice is
    /// shown, even one that was there before.
    void expectNotice();
    /// Arranges rows side by side if they fit into `width`, otherwise stacked.
    virtual void arrange(int width);

    bool event(QEvent *event) override;

private:
    void refreshNotice();
    /// Sets the height that the content needs, limited by the screen's.
    void fitHeight();

    AppModel &m_noticeSource;
    const std::optional<QString> m_noticeBefore;
    bool m_expectsNotice = false;
    ScrollColumn *m_column = nullptr;
    /// What does not scroll: the notice and the row with "Done".
    QVBoxLayout *m_foot = nullptr;
    TextLabel *m_notice = nullptr;
    QList<QBoxLayout *> m_buttonRows;
    RefreshOnce m_noticeRefresh;
};
