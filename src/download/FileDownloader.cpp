#include "FileDownloader.h"

#include "AppError.h"
#include "CancellationError.h"
#include "TransferError.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// Turns a TransferError into an AppError for the player; returns any other error unchanged.
std::exception_ptr worded(const std::exception_ptr &error)
{
    try {
        std::rethrow_exception(error);
    } catch (const TransferError &broken) {
        return std::make_exception_ptr(AppError::message(u"Download failed: "_s + broken.errorDescription()));
    } catch (...) {
        return error;
    }
}

}

std::shared_ptr<FileDownloader> FileDownloader::create(QUrl url, QString destination,
                                                       std::function<void(DownloadProgress)> onProgress,
                                                       TransferRules rules)
{
    return std::shared_ptr<FileDownloader>(
        new FileDownloader(std::move(url), std::move(destination), std::move(onProgress), std::move(rules)));
}

FileDownloader::FileDownloader(QUrl url, QString destination,
                               std::function<void(DownloadProgress)> onProgress, TransferRules rules)
    : m_url(std::move(url))
    , m_destination(std::move(destination))
    , m_onProgress(std::move(onProgress))
    , m_rules(std::move(rules))
    , m_part(m_destination)
    , m_speed(SpeedMeter::Clock::now())
{
}

FileDownloader::~FileDownloader() = default;

QCoro::Task<QString> FileDownloader::start(std::stop_token stop)
{
    const auto self = shared_from_this();
    const std::stop_callback onStop(stop, [this] { cancel(); });

    const Completion<Result> continuation;
    auto task = std::make_shared<HttpTransfer>(
        HttpTransfer::Request { m_url, m_rules },
        [this](QByteArrayView piece, qint64 total) { didWriteData(piece, total); },
        [this](const HttpTransfer::Ending &ending) { didComplete(ending); });
    {
        const std::lock_guard guard(m_lock);
        if (m_cancelled)
            throw CancellationError();
        m_continuation = continuation;
        m_task = task;
    }
    try {
        task->start();
    } catch (...) {
        finish(worded(std::current_exception()));
    }
    task.reset();

    Result result = co_await continuation;
    {
        const std::lock_guard guard(m_lock);
        task = std::move(m_task);
    }
    task.reset(); // joins its thread, which has nothing left to do
    if (const auto *error = std::get_if<std::exception_ptr>(&result))
        std::rethrow_exception(*error);
    co_return std::get<QString>(std::move(result));
}

void FileDownloader::cancel()
{
    std::shared_ptr<HttpTransfer> task;
    {
        const std::lock_guard guard(m_lock);
        m_cancelled = true;
        task = m_task;
    }
    if (task)
        task->cancel();
}

void FileDownloader::didWriteData(QByteArrayView piece, qint64 totalBytesExpectedToWrite)
{
    m_part.write(piece);
    m_received += piece.size();
    const double speed = m_speed.measure(SpeedMeter::Clock::now(), m_received);
    const qint64 total = totalBytesExpectedToWrite > 0 ? totalBytesExpectedToWrite : -1;
    if (m_onProgress)
        m_onProgress({ m_received, total, speed });
}

void FileDownloader::didComplete(const HttpTransfer::Ending &ending)
{
    try {
        if (ending.error)
            std::rethrow_exception(ending.error);
        didFinishDownloading(ending.status);
        finish(m_destination);
    } catch (...) {
        m_part.discard(); // before the caller is resumed and cleans up
        finish(worded(std::current_exception()));
    }
}

void FileDownloader::didFinishDownloading(int status)
{
    if (status < 200 || status > 299) {
        const QString fileName = m_url.adjusted(QUrl::StripTrailingSlash).fileName();
        throw AppError::message(u"The server answered with error "_s + QString::number(status) + u" for "_s
                                + fileName + u'.');
    }
    m_part.moveIntoPlace();
}

void FileDownloader::finish(Result result)
{
    std::optional<Completion<Result>> continuation;
    {
        const std::lock_guard guard(m_lock);
        continuation = std::exchange(m_continuation, std::nullopt);
    }
    if (continuation)
        postToMainThread([continuation = *continuation, result] { continuation.settle(result); });
}
