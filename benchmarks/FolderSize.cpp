// The size of a folder tree, as the settings show it: computed in the background while the event loop runs.

#include "Background.h"
#include "DirectorySize.h"
#include "Stopwatch.h"
#include "Strain.h"
#include "Tasks.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (argc != 2)
        return 2;
    const QString folder = QFile::decodeName(argv[1]);
    qint64 bytes = -1;
    const auto work = [](QString tree, qint64 *result) -> QCoro::Task<> {
        auto sum = [tree] { return directorySize(tree); };
        *result = co_await runInBackground(std::move(sum));
    };

    Strain strain;
    const Stopwatch stopwatch;
    const auto task = work(folder, &bytes);
    strain.runUntil([&bytes] { return bytes >= 0; });
    report("milliseconds", stopwatch.milliseconds());
    report("gap", static_cast<double>(strain.longestGap()));
    return bytes <= 0;
}
