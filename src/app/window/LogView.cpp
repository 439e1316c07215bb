#include "LogView.h"

#include "LogStore.h"
#include "LogText.h"
#include "Panel.h"

#include <QMenu>
#include <QShortcut>
#include <QVBoxLayout>

namespace {

constexpr int viewHeight = 180;
constexpr std::chrono::milliseconds redrawPause { 33 };

}

LogView::LogView(const LogStore &log, QWidget *parent)
    : QWidget(parent)
    , m_log(log)
    , m_text(new LogText)
    , m_refresh(
          this, [this] { refresh(); }, redrawPause)
{
    setFixedHeight(viewHeight);
    m_text->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    m_text->setAccessibleName(QStringLiteral("Log"));

    auto *panel = new Panel(Panel::Kind::Well);
    auto *inside = new QVBoxLayout(panel);
    inside->setContentsMargins(0, 0, 0, 0);
    inside->addWidget(m_text);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(panel);

    m_text->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_text, &QWidget::customContextMenuRequested, this, &LogView::openMenu);
    // Qt knows the Menu key, but many keyboards have none.
    auto *menuKey = new QShortcut(QKeySequence(Qt::SHIFT | Qt::Key_F10), m_text);
    menuKey->setContext(Qt::WidgetShortcut);
    connect(menuKey, &QShortcut::activated, this, [this] { openMenu(m_text->cursorRect().bottomLeft()); });

    m_refresh.watch(m_log);
}

void LogView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    // Deferred: where the end lies is only known once the view has its size.
    m_lineCount = -1;
    m_refresh.schedule();
}

void LogView::openMenu(const QPoint &place)
{
    if (m_menu)
        return;
    m_menu = m_text->createStandardContextMenu();
    m_menu->setAttribute(Qt::WA_DeleteOnClose);
    m_menu->addSeparator();
    m_menu->addActions(actions());
    // A key opens it where the text cursor is, which may have been scrolled out of sight.
    const QRect inside = m_text->viewport()->rect();
    m_menu->popup(m_text->viewport()->mapToGlobal(inside.contains(place) ? place : inside.center()));
}

void LogView::refresh()
{
    if (!isVisible())
        return;
    const QStringList &lines = m_log.lines;
    bool isComplete = true;
    if (lines.isEmpty())
        m_text->showNotice(QStringLiteral("The log is empty."));
    else
        isComplete = m_text->showLines(lines);

    // A full log drops a line for each new one: its count stays the same, and so does the scroll position.
    if (lines.size() != m_lineCount)
        m_text->scrollToEnd();
    if (isComplete)
        m_lineCount = lines.size();
    else
        m_refresh.schedule();
}
