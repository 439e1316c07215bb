// The report that the player saves.

#include "AppModel.h"

#include "Background.h"
#include "DescribedError.h"
#include "EngineManager.h"
#include "FileOperations.h"
#include "FreeSpace.h"
#include "OwnIdentity.h"
#include "Paths.h"
#include "Preferences.h"
#include "ProjectInspector.h"
#include "Redaction.h"
#include "Report.h"

#include <QFileInfo>
#include <QPointer>

namespace {

/// Adds what only the disk knows, and writes the report. The disk may be slow: not for the main thread.
void completeAndWrite(Report report, const QString &file)
{
    report.isGameDownloaded = ProjectInspector::findProjectRoot(Paths::gameFolder()).has_value();
    if (report.engine) {
        report.isEngineInstalled = EngineManager::executable(*report.engine).has_value();
        report.isGameImported = FileOperations::isReachable(EngineManager::markerURL(*report.engine));
    }
    report.freeSpace = FreeSpace::bytes(report.folder);
    FileOperations::writeAtomically(file, report.text(Redaction(ownIdentity())));
}

}

void AppModel::saveReport(const QString &file)
{
    if (!file.isEmpty() && !m_quit.stop_requested())
        writeReport(file);
}

QCoro::Task<> AppModel::writeReport(QString file)
{
    const QPointer<AppModel> self(this);
    Report report;
    report.time = QDateTime::currentDateTimeUtc();
    report.launcherVersion = QStringLiteral(LAUNCHER_VERSION);
    report.system = SystemFacts::current();
    report.game = info;
    if (report.game)
        report.engine = EngineManager::spec(*report.game);
    report.fullscreen = m_preferences.fullscreen();
    report.resolution = m_preferences.resolution();
    report.folder = Paths::root();
    report.failure = failureMessage;
    report.log = log.lines;

    ++m_reportsInWork;
    auto write = [report, file] {
        completeAndWrite(report, file);
        return true;
    };
    QString sentence;
    try {
        co_await runInBackground(std::move(write));
        sentence = QStringLiteral("The report was saved as “%1”.").arg(QFileInfo(file).fileName());
    } catch (const std::exception &error) {
        sentence = userFacingDescription(error);
    }
    if (!self)
        co_return;
    notice = sentence;
    --m_reportsInWork;
    if (m_reportsInWork == 0 && m_quit.stop_requested())
        m_reportsWritten.settle(true);
}
