// Downloads one file over HTTP to the disk, as the launcher downloads archives. A third argument replaces the
// pauses after lost connections, in milliseconds.

#include "FileDownloader.h"
#include "Stopwatch.h"
#include "Tasks.h"

#include <QCoreApplication>

#include <algorithm>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (argc != 3 && argc != 4)
        return 2;
    TransferRules rules;
    if (argc == 4)
        std::ranges::fill(rules.pauses, std::chrono::milliseconds(QByteArray(argv[3]).toInt()));
    const auto downloader = std::make_shared<FileDownloader>(
        QUrl(QString::fromLocal8Bit(argv[1])), QFile::decodeName(argv[2]), [](DownloadProgress) {}, rules);
    const Stopwatch stopwatch;
    double milliseconds = 0;
    const auto download
        = [](std::shared_ptr<FileDownloader> file, const Stopwatch *watch, double *result) -> QCoro::Task<> {
        co_await file->start();
        *result = watch->milliseconds();
    };
    Tasks::finish(download(downloader, &stopwatch, &milliseconds));
    report("milliseconds", milliseconds);
    report("processor", stopwatch.processorMilliseconds());
    return 0;
}
