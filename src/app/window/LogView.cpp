#include "LogView.h"

#include "Colours.h"
#include "LogStore.h"
#include "LogText.h"
#include "Panel.h"

#include <QVBoxLayout>

namespace {

constexpr int viewHeight = 180;
constexpr double cornerRadius = 6;
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

    auto *panel = new Panel(Colours::well(), cornerRadius);
    auto *inside = new QVBoxLayout(panel);
    inside->setContentsMargins(0, 0, 0, 0);
    inside->addWidget(m_text);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(panel);

    m_refresh.watch(m_log);
}

void LogView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    // Deferred: where the end lies is only known once the view has its size.
    m_lineCount = -1;
    m_refresh.schedule();
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
