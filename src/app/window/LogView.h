#pragma once

#include "RefreshOnce.h"

#include <QPointer>
#include <QWidget>

class LogStore;
class LogText;
class QMenu;

/// The whole log in a box of fixed height that follows new output. Redraws at most some thirty times a
/// second, however fast lines come, and not at all while it is hidden. The actions that are added to it come
/// last in its context menu, which the mouse, the Menu key and Shift+F10 open. The log outlives it.
class LogView final : public QWidget {
    Q_OBJECT

public:
    explicit LogView(const LogStore &log, QWidget *parent = nullptr);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void refresh();
    void openMenu(const QPoint &place);

    const LogStore &m_log;
    LogText *m_text = nullptr;
    QPointer<QMenu> m_menu;
    RefreshOnce m_refresh;
    qsizetype m_lineCount = -1;
};
