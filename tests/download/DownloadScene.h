#pragma once

#include "FileDownloader.h"
#include "HttpServer.h"
#include "TestHome.h"
#include "TransferTesting.h"

/// The names of all that is in `folder`, sorted.
inline QStringList filesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

inline QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("could not be read");
}

/// One file on a server, to be downloaded into a folder.
class DownloadScene final {
public:
    DownloadScene() { TransferTesting::withoutProxies(); }

    const QString path = QStringLiteral("/archive/master.zip");
    const QString name = QStringLiteral("game.zip");
    HttpServer server;
    const TestHome folder;
    const QString destination = folder.filePath(name);
    QList<DownloadProgress> events; // belongs to the transfer's thread until the download has ended

    QStringList files() const { return filesIn(folder.path()); }
    QByteArray content() const { return contentOf(destination); }

    /// A downloader of the file, for which the server has `reply`.
    std::shared_ptr<FileDownloader> downloader(const HttpReply &reply, const TransferRules &rules = {})
    {
        const auto note = [this](DownloadProgress progress) { events.append(progress); };
        return std::make_shared<FileDownloader>(server.serve(path, reply), destination, note, rules);
    }

    /// Downloads the file and returns where it is.
    QString download(const HttpReply &reply) { return Tasks::finish(downloader(reply)->start()); }
};
