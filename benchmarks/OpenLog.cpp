// Opens the log panel on a full log: how long until it is painted.

#include "LogText.h"
#include "MeasuredWindow.h"
#include "Stopwatch.h"

#include <QEvent>
#include <QTextBlock>

namespace {

/// Notices the first paint of a log text that ends with `lastLine`.
class FirstPaint final : public QObject {
public:
    explicit FirstPaint(const QString &lastLine)
        : m_lastLine(lastLine)
    {
        qApp->installEventFilter(this);
    }

    bool hasCome() const { return m_hasCome; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint) {
            const auto *const text = qobject_cast<LogText *>(watched->parent());
            m_hasCome = m_hasCome || (text && text->document()->lastBlock().text() == m_lastLine);
        }
        return false;
    }

private:
    const QString m_lastLine;
    bool m_hasCome = false;
};

}

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    MeasuredWindow measured;
    AppModel &model = measured.model();
    for (qint64 line = 0; line < LogStore::maxLines; ++line)
        model.log.append(QStringLiteral("%1 %2").arg(line).arg(QString(75, u'.')));
    MeasuredWindow::settle();

    const FirstPaint painted(model.log.lines->last());
    const Stopwatch stopwatch;
    model.showLog = true;
    while (!painted.hasCome())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    // The paint event has been handled in full, and what it drew is on its way to the screen.
    QCoreApplication::processEvents();
    report("milliseconds", stopwatch.milliseconds());
    return 0;
}
