// A game prints as fast as it can, with the log open: how long until its last line is in the log.

#include "MeasuredWindow.h"
#include "Stopwatch.h"
#include "Strain.h"

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    const QString lastLine = qEnvironmentVariable("LINES") + u' ';
    MeasuredWindow measured;
    AppModel &model = measured.model();
    model.showLog = true;
    MeasuredWindow::settle();

    Strain strain;
    const Stopwatch stopwatch;
    model.play();
    const bool arrived = strain.runUntil([&model, &lastLine] {
        const QStringList &lines = model.log.lines;
        for (auto line = lines.crbegin(); line != lines.crend() && line - lines.crbegin() < 3; ++line) {
            if (line->startsWith(lastLine))
                return true;
        }
        return false;
    });
    report("milliseconds", stopwatch.milliseconds());
    report("gap", static_cast<double>(strain.longestGap()));
    report("memory", static_cast<double>(strain.memoryGrowth()) / 1e6);
    report("peak", static_cast<double>(Strain::peakMemory()) / 1e6);
    std::fflush(stdout);
    std::_Exit(arrived ? 0 : 1);
}
