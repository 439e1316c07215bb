// Downloads one file over HTTP to the disk, as the launcher downloads archives.

#include "FileDownloader.h"
#include "Stopwatch.h"
#include "Tasks.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (argc != 3)
        return 2;
    const auto downloader = std::make_shared<FileDownloader>(
        QUrl(QString::fromLocal8Bit(argv[1])), QFile::decodeName(argv[2]), [](DownloadProgress) {});
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
