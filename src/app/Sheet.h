#pragma once

#include <QDialog>

class QPushButton;
class QVBoxLayout;
class ScrollColumn;

/// A sheet over the launcher's window: 440 points wide and as high as what it holds. It ends in a row with
/// "Done", which Return presses; Escape closes it too. Once closed it deletes itself.
class Sheet : public QDialog {
    Q_OBJECT

public:
    Sheet(const QString &title, int spacing, QWidget *parent);

protected:
    QVBoxLayout *column() const;
    /// After the last of the column's views.
    void addDoneRow();
    /// A line across the column.
    void addDivider();
    /// A row of buttons on the left; Return is left to "Done".
    void addButtons(const QList<QPushButton *> &buttons);
    /// Gives the sheet the height that its column needs, as far as the screen has it.
    void fitHeight();

    bool event(QEvent *event) override;

private:
    ScrollColumn *m_column = nullptr;
};
