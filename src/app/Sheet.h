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

/// A sheet over the launcher's window: 440 points wide and as high as what it holds. It ends in a row with
/// "Done", which Return presses and which is in sight however little of the rest is; Escape closes it too.
/// Since it covers the window's notice, it shows what is new of that itself. Once closed it deletes itself.
/// The model outlives it.
class Sheet : public QDialog {
    Q_OBJECT

public:
    Sheet(AppModel &model, const QString &title, int spacing, QWidget *parent);

protected:
    QVBoxLayout *column() const;
    /// After the last of the column's views.
    void addDoneRow();
    /// A line across the column.
    void addDivider();
    /// A row of buttons on the left; Return is left to "Done".
    void addButtons(const QList<QPushButton *> &buttons);
    /// The player has pressed something whose outcome may be a notice: from now on it is shown, even one that
    /// was there before.
    void expectNotice();
    /// Puts side by side what fits into `width`, and the rest below each other.
    virtual void arrange(int width);

    bool event(QEvent *event) override;

private:
    void refreshNotice();
    /// Gives the sheet the height that its content needs, as far as the screen has it.
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
