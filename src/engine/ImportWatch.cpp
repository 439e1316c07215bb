#include "ImportWatch.h"

#include "Background.h"
#include "ImportedFiles.h"
#include "LogStore.h"
#include "ProcessController.h"

#include <QPointer>

#include <exception>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// The project is looked at this many times in the time that the engine must be quiet.
constexpr int looksInQuiet = 6;

/// What a look found.
struct Finding {
    std::optional<quint64> fingerprint;
    bool isComplete = false;
};

}

ImportWatch::ImportWatch(QString project, std::shared_ptr<ProcessController> controller, LogStore *log,
                         ImportPatience patience)
    : m_project(std::move(project))
    , m_controller(std::move(controller))
    , m_log(log)
    , m_patience(patience)
    , m_latestLine(std::make_shared<std::atomic<Clock::duration>>(Clock::now().time_since_epoch()))
{
    connect(&m_ticks, &QTimer::timeout, this, [this] { tick(); });
    m_ticks.start(m_patience.quiet / looksInQuiet);
}

ImportWatch::~ImportWatch() { m_stop.request_stop(); }

std::function<void(const QString &)> ImportWatch::watching(std::function<void(const QString &)> onLine) const
{
    return [onLine = std::move(onLine), latest = m_latestLine](const QString &line) {
        latest->store(Clock::now().time_since_epoch());
        onLine(line);
    };
}

void ImportWatch::tick()
{
    // An engine that was cancelled has been asked to end already.
    if (!m_isLooking && isSilentFor(m_patience.quiet / looksInQuiet) && !m_controller->isCancelled())
        look();
}

QCoro::Task<> ImportWatch::look()
{
    const QPointer<ImportWatch> self(this);
    m_isLooking = true;
    // Reading what is missing takes longer than seeing that nothing has changed, so it is done once.
    const bool isDue = m_fingerprint && !m_isIncomplete && isSilentFor(m_patience.quiet)
        && Clock::now() - m_unchangedSince >= m_patience.quiet;
    auto job = [project = m_project, before = m_fingerprint, isDue, stop = m_stop.get_token()] {
        try {
            Finding finding { ImportedFiles::fingerprint(project, stop), false };
            if (isDue && finding.fingerprint == before)
                finding.isComplete = ImportedFiles::areComplete(project, stop);
            return finding;
        } catch (const std::exception &) {
            return Finding {}; // without memory there is doubt; the next look may have it again
        }
    };
    const Finding finding = co_await runInBackground(std::move(job));
    if (!self)
        co_return;

    m_isLooking = false;
    if (!finding.fingerprint || finding.fingerprint != m_fingerprint) {
        m_fingerprint = finding.fingerprint;
        m_unchangedSince = Clock::now();
        m_isIncomplete = false;
    } else if (isDue) {
        m_isIncomplete = !finding.isComplete;
        if (finding.isComplete && isSilentFor(m_patience.quiet) && !m_controller->isCancelled())
            endEngine();
    }
}

void ImportWatch::endEngine()
{
    if (!m_controller->terminate())
        return; // it has just ended
    m_ticks.stop();
    m_log->append(u"The engine finished importing but did not end; it was ended."_s);
    // Not called when the pass ends before, since the next one has the same controller.
    QTimer::singleShot(m_patience.beforeKill, this, [import = m_controller] { import->kill(); });
}

bool ImportWatch::isSilentFor(std::chrono::milliseconds time) const
{
    return Clock::now().time_since_epoch() - m_latestLine->load() >= time;
}
