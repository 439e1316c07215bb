#pragma once

#include <QWidget>

class QButtonGroup;

/// A segmented control: a few entries, all visible, of which one is chosen. Tab moves to the chosen one, the
/// arrow keys from one to the next; to a screen reader each is a radio button.
class SegmentedChoice final : public QWidget {
    Q_OBJECT

public:
    SegmentedChoice(const QStringList &entries, int chosen, QWidget *parent = nullptr);

Q_SIGNALS:
    /// The player chose the entry with this index.
    void chosen(int index);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QButtonGroup *m_group = nullptr;
};
