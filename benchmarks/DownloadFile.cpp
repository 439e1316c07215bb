// Downloads one file over HTTP to the disk, as the launcher downloads archives. A third argument replaces the
// pauses after lost connections, in milliseconds.

#include "FileDownloader.h"
#include "Stopwatch.h"

#include <QCoreApplication>
#include <QFile>

#include <algorithm>
#include <cstdio>

namespace {

QCoro::Task<> download(std::shared_ptr<FileDownloader> file, const Stopwatch *watch, double *milliseconds)
{
    try {
        co_await file->start();
        *milliseconds = watch->milliseconds();
        QCoreApplication::quit();
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        QCoreApplication::exit(1);
    }
}

}

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
    const auto task = download(downloader, &stopwatch, &milliseconds);
    // The launcher's own event loop: the tests' one looks for events only every ten milliseconds.
    if (QCoreApplication::exec() != 0)
        return 1;
    report("milliseconds", milliseconds);
    report("processor", stopwatch.processorMilliseconds());
    return 0;
}
