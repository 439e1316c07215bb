// What one would write instead of the launcher's log: a text field that keeps the last 3,000 lines, appended to one line
// at a time through the event loop. Starts the given program and measures until its last line is there.

#include "Stopwatch.h"

#include <QApplication>
#include <QPlainTextEdit>
#include <QTest>
#include <QTextBlock>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <thread>

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    if (argc < 2)
        return EXIT_FAILURE;
    const QString lastLine = qEnvironmentVariable("LINES") + u' ';

    QPlainTextEdit text;
    text.setReadOnly(true);
    text.setMaximumBlockCount(3000);
    text.resize(560, 640);
    text.show();
    if (!QTest::qWaitForWindowExposed(&text))
        return EXIT_FAILURE;
    QTest::qWait(500);

    const Stopwatch stopwatch;
    std::FILE *output = popen(argv[1], "r");
    if (!output)
        return EXIT_FAILURE;
    std::thread reader([&text, output] {
        std::array<char, 1024> bytes = {};
        while (std::fgets(bytes.data(), static_cast<int>(bytes.size()), output)) {
            const QString line = QString::fromUtf8(bytes.data()).chopped(1);
            QMetaObject::invokeMethod(&text, [&text, line] { text.appendPlainText(line); });
        }
    });
    while (!text.document()->lastBlock().text().startsWith(lastLine))
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    report("milliseconds", stopwatch.milliseconds());
    reader.join();
    return pclose(output) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
