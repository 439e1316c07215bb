// A game that prints nothing for some seconds: how often the main thread wakes up, and how long it works.

#include "MeasuredWindow.h"
#include "Stopwatch.h"

#include <sys/resource.h>

#include <QTimer>

namespace {

/// How often this thread has blocked: its voluntary context switches.
long waits()
{
    rusage usage = {};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nvcsw;
}

}

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    if (argc != 3)
        return 2;
    const int seconds = QByteArray(argv[1]).toInt();
    MeasuredWindow measured;
    AppModel &model = measured.model();
    model.showLog = QByteArray(argv[2]) == "open";
    model.play();
    // The window says "starting" for the first four seconds.
    if (!QTest::qWaitFor([&model] { return model.state->kind() == AppState::Case::Playing; }, 10000))
        return 1;
    MeasuredWindow::settle();

    const Stopwatch stopwatch;
    const long before = waits();
    QTimer::singleShot(seconds * 1000, &QCoreApplication::quit);
    QCoreApplication::exec();
    // The timer's wake-up belongs to the measurement.
    report("wakeups", static_cast<double>(waits() - before - 1) / seconds);
    report("processor", stopwatch.processorMilliseconds() / seconds / 10); // per cent
    std::fflush(stdout);
    model.runner.stop();
    if (!QTest::qWaitFor([&model] { return !model.runner.isRunning; }, 5000))
        return 1;
    return 0;
}
