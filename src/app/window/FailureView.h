#pragma once

#include "RefreshOnce.h"

#include <QStringList>
#include <QWidget>

class AppModel;
class LogText;
class Panel;
class TextLabel;

/// Why the last action or game run failed: one sentence, the last lines of the log, and a button that copies
/// both. Needs room for a few of the lines, and takes no more than all of them need. Shown only while there
/// is a failure. The model outlives it.
class FailureView final : public QWidget {
    Q_OBJECT

public:
    explicit FailureView(AppModel &model, QWidget *parent = nullptr);

protected:
    bool event(QEvent *event) override;

private:
    void refresh();
    void limitHeight();

    AppModel &m_model;
    TextLabel *m_message = nullptr;
    Panel *m_box = nullptr;
    LogText *m_lines = nullptr;
    /// The failure that was last announced; empty while there is none.
    QString m_announced;
    /// The lines last shown in full. Only different ones scroll the box to the end again.
    QStringList m_shown;
    RefreshOnce m_refresh;
};
