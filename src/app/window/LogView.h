#pragma once

#include "RefreshOnce.h"

#include <QWidget>

class LogStore;
class LogText;

/// The whole log in a box of fixed height that follows new output. Redraws at most some thirty times a
/// second, however fast lines come, and not at all while it is hidden. The log outlives it.
class LogView final : public QWidget {
    Q_OBJECT

public:
    explicit LogView(const LogStore &log, QWidget *parent = nullptr);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void refresh();

    const LogStore &m_log;
    LogText *m_text = nullptr;
    RefreshOnce m_refresh;
    qsizetype m_lineCount = -1;
};
