#include "FileDownloader.h"

#include "AppError.h"
#include "CancellationError.h"
#include "Completion.h"
#include "FileSizeText.h"
#include "HttpTransfer.h"
#include "PartFile.h"
#include "RetryPlan.h"
#include "TransferError.h"

#include <QCoreApplication>
#include <QTimer>

#include <chrono>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

AppError worded(const TransferError &error)
{
    return AppError::message(u"Download failed: "_s + error.errorDescription());
}

/// The line for the log about a transfer that broke with `received` bytes there.
QString lostLine(qint64 received, const RetryPlan::Next &next)
{
    const auto seconds = std::chrono::ceil<std::chrono::seconds>(next.pause).count();
    const QString line = next.step == RetryPlan::Step::Resume
        ? u"The connection was lost at %1; trying again in %2 second%3."_s
        : u"The connection was lost at %1; trying again in %2 second%3, from the beginning."_s;
    return line.arg(fileSizeText(received), QString::number(seconds), seconds == 1 ? QString() : u"s"_s);
}

/// The line for the log about a file that the server does not continue, or has changed.
QString notContinuedLine(qint64 received)
{
    return u"The download could not be continued at %1; starting again from the beginning."_s.arg(
        fileSizeText(received));
}

/// The file while it arrives, in one transfer or several. Between transfers the main thread has it, and
/// during one the transfer's thread.
class Arrival final {
public:
    /// How a transfer ended. Without an error and without a pause, the file is in its place.
    struct Outcome {
        std::exception_ptr error = nullptr;
        /// How long to wait before another transfer.
        std::optional<RetryPlan::Pause> pause = std::nullopt;
    };

    Arrival(QUrl url, const QString &destination, FileDownloader::Callbacks callbacks,
            const TransferRules &rules, const SpeedMeter &speed)
        : m_url(std::move(url))
        , m_callbacks(std::move(callbacks))
        , m_plan(rules.pauses)
        , m_part(destination)
        , m_speed(speed)
    {
    }

    std::optional<HttpRange> range() const { return m_plan.range(); }
    bool wasResumed() const { return m_plan.wasResumed(); }

    /// Another transfer begins.
    void willRetry() { m_speed = SpeedMeter(SpeedMeter::Clock::now(), m_plan.received()); }

    void didReceiveAnswer(const HttpAnswer &answer)
    {
        const bool wasToContinue = m_plan.range().has_value();
        const qint64 before = m_plan.received();
        switch (m_plan.answered(answer)) {
        case RetryPlan::Place::Nowhere:
            throw UselessAnswer();
        case RetryPlan::Place::AfterReceived:
            if (m_part.size() != m_plan.received())
                throw UselessAnswer();
            break;
        case RetryPlan::Place::Beginning:
            if (wasToContinue)
                tell(notContinuedLine(before));
            m_part.beginAgain();
            if (before > 0)
                m_speed = SpeedMeter(SpeedMeter::Clock::now());
            break;
        }
        if (m_callbacks.onExpectedSize)
            m_callbacks.onExpectedSize(m_plan.size());
    }

    void didWriteData(QByteArrayView chunk)
    {
        if (!chunk.isEmpty())
            m_part.write(chunk);
        m_plan.took(chunk.size());
        report(m_speed.measure(SpeedMeter::Clock::now(), m_plan.received()));
    }

    /// Moves the file into place, or deletes it unless another transfer may go on with it.
    Outcome didComplete(const HttpTransfer::Ending &ending)
    {
        try {
            const Outcome outcome = outcomeOf(ending);
            if (outcome.error)
                m_part.discard(); // before the caller is resumed and cleans up
            return outcome;
        } catch (...) {
            m_part.discard();
            return { std::current_exception() };
        }
    }

private:
    /// Thrown to end a transfer whose body belongs nowhere in the file.
    struct UselessAnswer { };

    Outcome outcomeOf(const HttpTransfer::Ending &ending)
    {
        try {
            if (ending.error)
                std::rethrow_exception(ending.error);
            if (ending.status < 200 || ending.status > 299)
                return afterUseless(m_plan.refused(ending.status),
                                    std::make_exception_ptr(refusal(ending.status)));
            m_part.moveIntoPlace();
            return {};
        } catch (const TransferError &error) {
            m_lastLoss = std::make_exception_ptr(worded(error));
            return error.outlook() == TransferError::Outlook::Passing ? afterLoss() : Outcome { m_lastLoss };
        } catch (const UselessAnswer &) {
            return afterUseless(m_plan.wasUseless(), m_lastLoss);
        }
    }

    Outcome afterLoss()
    {
        const qint64 received = m_plan.received();
        const RetryPlan::Next next = m_plan.broke();
        if (next.step == RetryPlan::Step::GiveUp)
            return { m_lastLoss };
        tell(lostLine(received, next));
        report(0); // nothing moves during the pause
        return { nullptr, next.pause };
    }

    Outcome afterUseless(const RetryPlan::Next &next, const std::exception_ptr &error)
    {
        if (next.step == RetryPlan::Step::GiveUp)
            return { error };
        tell(notContinuedLine(m_plan.received()));
        return { nullptr, next.pause };
    }

    AppError refusal(int status) const
    {
        const QString fileName = m_url.adjusted(QUrl::StripTrailingSlash).fileName();
        return AppError::message(u"The server answered with error "_s + QString::number(status) + u" for "_s
                                 + fileName + u'.');
    }

    void report(double bytesPerSecond) const
    {
        if (m_callbacks.onProgress)
            m_callbacks.onProgress({ m_plan.received(), m_plan.size(), bytesPerSecond });
    }

    void tell(const QString &line) const
    {
        if (m_callbacks.onRetry)
            m_callbacks.onRetry(line);
    }

    const QUrl m_url;
    const FileDownloader::Callbacks m_callbacks;
    RetryPlan m_plan;
    PartFile m_part;
    SpeedMeter m_speed;
    std::exception_ptr m_lastLoss; // for the player, should no retry get further
};

/// Resumes after `time`, or as soon as `stop` is requested.
QCoro::Task<> pauseFor(RetryPlan::Pause time, std::stop_token stop)
{
    const Completion<bool> over;
    QTimer::singleShot(time, QCoreApplication::instance(), [over] { over.settle(true); });
    const std::stop_callback onStop(stop, [over] { postToMainThread([over] { over.settle(false); }); });
    co_await over;
}

/// Performs one transfer of `arrival`, which outlives it.
QCoro::Task<Arrival::Outcome> transferOnce(Arrival *arrival, QUrl url, TransferRules rules,
                                           std::stop_token stop)
{
    const Completion<Arrival::Outcome> completion;
    const auto onAnswer = [arrival](const HttpAnswer &answer) { arrival->didReceiveAnswer(answer); };
    const auto onBody = [arrival](QByteArrayView chunk, qint64) { arrival->didWriteData(chunk); };
    const auto onEnd = [arrival, completion](const HttpTransfer::Ending &ending) {
        postToMainThread(
            [completion, outcome = arrival->didComplete(ending)] { completion.settle(outcome); });
    };
    HttpTransfer transfer({ url, rules, arrival->range() }, onBody, onEnd, onAnswer);
    const std::stop_callback onCancel(stop, [&transfer] { transfer.cancel(); });
    try {
        transfer.start();
    } catch (const TransferError &error) {
        throw worded(error);
    }
    const Arrival::Outcome outcome = co_await completion;
    co_return outcome;
}

}

FileDownloader::FileDownloader(QUrl url, QString destination, Callbacks callbacks, TransferRules rules)
    : m_url(std::move(url))
    , m_destination(std::move(destination))
    , m_callbacks(std::move(callbacks))
    , m_rules(std::move(rules))
{
}

FileDownloader::FileDownloader(QUrl url, QString destination,
                               std::function<void(DownloadProgress)> onProgress, TransferRules rules)
    : FileDownloader(std::move(url), std::move(destination),
                     Callbacks { .onProgress = std::move(onProgress) }, std::move(rules))
{
}

QCoro::Task<QString> FileDownloader::start(std::stop_token stop)
{
    // Nothing below uses this object after the first wait: all is in the coroutine's frame.
    std::stop_source source = m_stop;
    const std::stop_callback onStop(stop, [&source] { source.request_stop(); });
    const std::stop_token cancelled = source.get_token();
    throwIfCancelled(cancelled);

    const QUrl url = m_url;
    const QString destination = m_destination;
    const TransferRules rules = m_rules;
    const std::shared_ptr<bool> wasResumed = m_wasResumed;
    Arrival arrival(url, destination, m_callbacks, rules, m_speed);
    while (true) {
        auto transfer = transferOnce(&arrival, url, rules, cancelled);
        const Arrival::Outcome outcome = co_await transfer;
        if (outcome.error)
            std::rethrow_exception(outcome.error);
        if (!outcome.pause)
            break;
        const RetryPlan::Pause time = *outcome.pause;
        auto pause = pauseFor(time, cancelled);
        co_await pause;
        throwIfCancelled(cancelled);
        arrival.willRetry();
    }
    *wasResumed = arrival.wasResumed();
    co_return destination;
}
