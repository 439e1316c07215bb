#include "FileDownloader.h"

#include "AppError.h"
#include "CancellationError.h"
#include "Completion.h"
#include "HttpTransfer.h"
#include "PartFile.h"
#include "TransferError.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace {

AppError worded(const TransferError &error)
{
    return AppError::message(u"Download failed: "_s + error.errorDescription());
}

/// The file while it arrives. The transfer's thread only.
class Arrival final {
public:
    Arrival(QUrl url, const QString &destination, FileDownloader::Callbacks callbacks,
            const SpeedMeter &speed)
        : m_url(std::move(url))
        , m_callbacks(std::move(callbacks))
        , m_part(destination)
        , m_speed(speed)
    {
    }

    void didReceiveAnswer(const HttpAnswer &answer)
    {
        if (m_callbacks.onExpectedSize)
            m_callbacks.onExpectedSize(answer.length > 0 ? answer.length : -1);
    }

    void didWriteData(QByteArrayView chunk, qint64 totalBytesExpectedToWrite)
    {
        if (!chunk.isEmpty())
            m_part.write(chunk);
        m_received += chunk.size();
        const double speed = m_speed.measure(SpeedMeter::Clock::now(), m_received);
        const qint64 total = totalBytesExpectedToWrite > 0 ? totalBytesExpectedToWrite : -1;
        if (m_callbacks.onProgress)
            m_callbacks.onProgress({ m_received, total, speed });
    }

    /// Moves the file into place or deletes it. Returns the error for the player, null for none.
    std::exception_ptr didComplete(const HttpTransfer::Ending &ending)
    {
        try {
            if (ending.error)
                std::rethrow_exception(ending.error);
            didFinishDownloading(ending.status);
            return nullptr;
        } catch (const TransferError &error) {
            m_part.discard(); // before the caller is resumed and cleans up
            return std::make_exception_ptr(worded(error));
        } catch (...) {
            m_part.discard();
            return std::current_exception();
        }
    }

private:
    void didFinishDownloading(int status)
    {
        if (status < 200 || status > 299) {
            const QString fileName = m_url.adjusted(QUrl::StripTrailingSlash).fileName();
            throw AppError::message(u"The server answered with error "_s + QString::number(status)
                                    + u" for "_s + fileName + u'.');
        }
        m_part.moveIntoPlace();
    }

    const QUrl m_url;
    const FileDownloader::Callbacks m_callbacks;
    PartFile m_part;
    SpeedMeter m_speed;
    qint64 m_received = 0;
};

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

    const QString destination = m_destination;
    Arrival arrival(m_url, destination, m_callbacks, m_speed);
    const Completion<std::exception_ptr> completion;
    const auto onBody
        = [&arrival](QByteArrayView chunk, qint64 total) { arrival.didWriteData(chunk, total); };
    const auto onEnd = [&arrival, completion](const HttpTransfer::Ending &ending) {
        postToMainThread([completion, error = arrival.didComplete(ending)] { completion.settle(error); });
    };
    const auto onAnswer = [&arrival](const HttpAnswer &answer) { arrival.didReceiveAnswer(answer); };
    HttpTransfer transfer({ m_url, m_rules }, onBody, onEnd, onAnswer);
    const std::stop_callback onCancel(cancelled, [&transfer] { transfer.cancel(); });
    try {
        transfer.start();
    } catch (const TransferError &error) {
        throw worded(error);
    }

    const std::exception_ptr error = co_await completion;
    if (error)
        std::rethrow_exception(error);
    co_return destination;
}
