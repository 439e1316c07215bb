#include "DesktopOpener.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>

#include <unistd.h>

#include <chrono>

namespace {

/// An xdg-open that fails does so soon. One that runs longer may have become the browser itself, whose exit
/// status says nothing about whether the page was opened.
constexpr std::chrono::milliseconds longestSearch { 30000 };

}

// Not QDesktopServices, which starts xdg-open too but does not report its exit status.
void DesktopOpener::open(const QUrl &address, std::function<void()> onFailure)
{
    const QString program = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    if (program.isEmpty()) {
        QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(onFailure), Qt::QueuedConnection);
        return;
    }

    // No parent: quitting the launcher must not end what was opened.
    auto *opener = new QProcess;
    opener->setProgram(program);
    opener->setArguments({ QString::fromUtf8(address.toEncoded()) });
    opener->setStandardInputFile(QProcess::nullDevice());
    opener->setStandardOutputFile(QProcess::nullDevice());
    opener->setStandardErrorFile(QProcess::nullDevice());
    opener->setChildProcessModifier([] { ::setsid(); }); // out of reach of a terminal's Ctrl+C

    QElapsedTimer clock;
    clock.start();
    QObject::connect(opener, &QProcess::errorOccurred, opener,
                     [opener, onFailure](QProcess::ProcessError error) {
                         if (error != QProcess::FailedToStart)
                             return;
                         opener->deleteLater();
                         onFailure();
                     });
    QObject::connect(opener, &QProcess::finished, opener,
                     [opener, onFailure, clock](int status, QProcess::ExitStatus end) {
                         opener->deleteLater();
                         const bool failed = status != 0 || end != QProcess::NormalExit;
                         if (failed && clock.elapsed() < longestSearch.count())
                             onFailure();
                     });
    opener->start();
}
