#include "FailureView.h"

#include "Announcement.h"
#include "AppModel.h"
#include "LogText.h"
#include "Measures.h"
#include "Panel.h"
#include "TextButton.h"
#include "TextLabel.h"

#include <QEvent>
#include <QTimer>
#include <QVBoxLayout>

#include <utility>

namespace {

constexpr int panelPadding = 12;
/// The box scrolls where the window has no room for all lines, but never shows fewer than these.
constexpr int leastLines = 4;
/// More than a failure has, unless they are so long that they wrap.
constexpr int mostLines = 40;

}

FailureView::FailureView(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_message(new TextLabel(TextStyle::Callout, Ink::Failure))
    , m_box(new Panel(Panel::Kind::Well))
    , m_lines(new LogText)
    , m_refresh(this, [this] { refresh(); })
{
    m_lines->setAccessibleName(QStringLiteral("Last lines of the log"));
    m_lines->limitHeight(leastLines, mostLines);
    auto *inBox = new QVBoxLayout(m_box);
    inBox->setContentsMargins(0, 0, 0, 0);
    inBox->addWidget(m_lines);

    auto *copy = new TextButton(QStringLiteral("Copy"));
    copy->setAutoDefault(true);
    copy->setAccessibleDescription(QStringLiteral("Copies the message and the lines below it"));
    connect(copy, &QPushButton::clicked, this, [this] { m_model.copyFailure(); });

    auto *panel = new Panel(Panel::Kind::Failure);
    auto *column = new QVBoxLayout(panel);
    column->setContentsMargins(panelPadding, panelPadding, panelPadding, panelPadding);
    column->setSpacing(Measures::neighbourSpacing);
    column->addWidget(m_message);
    column->addWidget(m_box, 1);
    column->addWidget(copy, 0, Qt::AlignLeft);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(panel);

    m_refresh.watch(m_model);
    refresh();
}

bool FailureView::event(QEvent *event)
{
    const bool handled = QWidget::event(event);
    // The width, a text, or the size of the desktop's font has changed.
    if (isVisible() && (event->type() == QEvent::Resize || event->type() == QEvent::LayoutRequest))
        limitHeight();
    return handled;
}

/// The layout is told the least height that is needed, and by this also the greatest.
void FailureView::limitHeight()
{
    const int hiddenLines = m_box->isHidden() ? 0 : m_lines->maximumHeight() - m_lines->minimumHeight();
    setMaximumHeight(layout()->totalHeightForWidth(width()) + hiddenLines);
}

void FailureView::refresh()
{
    const QString message = m_model.failureMessage->value_or(QString());
    m_message->display(message);
    if (message != std::exchange(m_announced, message) && !message.isEmpty()) {
        // Deferred until this view is shown: screen readers may ignore what cannot be seen.
        QTimer::singleShot(0, m_message, [this] { Announcement::alert(*m_message, m_message->text()); });
    }
    const QStringList &lines = m_model.failureLines;
    m_box->setVisible(!lines.isEmpty());
    const bool isComplete = m_lines->showLines(lines);
    // The cause is mostly in the last lines. After that only the player scrolls.
    if (m_shown != lines)
        m_lines->scrollToEnd();
    if (isComplete)
        m_shown = lines;
    else
        m_refresh.schedule();
}
