// A game prints without a pause while the log is open, and the player goes on using the window.

#include "LogView.h"
#include "Running.h"

#include <algorithm>
#include <atomic>
#include <thread>

class BusyLogTest final : public QObject, private Running {
    Q_OBJECT

private Q_SLOTS:
    /// For one press, the accessibility bus asks hundreds of questions, one after the other. Each waits in
    /// the main thread's event queue behind whatever is already there.
    void aQuestionWaitsForFewLinesOfAFlood()
    {
        constexpr int questions = 300;
        constexpr int mostLines = 16 * 1024;
        set(model.showLog, true);
        QVERIFY(shows<LogView>());
        launch(u"exec yes"_s);
        QTRY_COMPARE(model.log.lines->size(), LogStore::maxLines);

        // A full log announces each line twice: once for the line, once for the oldest one that it displaces.
        qint64 announcements = 0;
        qint64 most = 0;
        connect(&model.log, &Observable::willChange, this, [&announcements] { ++announcements; });
        std::atomic<bool> isAnswered = false;
        std::thread asker([&] {
            for (int question = 0; question < questions; ++question) {
                QMetaObject::invokeMethod(
                    this, [&] { most = std::max(most, std::exchange(announcements, 0)); },
                    Qt::BlockingQueuedConnection);
            }
            isAnswered = true;
        });
        while (!isAnswered)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        asker.join();
        model.log.disconnect(this);
        qInfo("At most %lld lines came before an answer.", most / 2);
        QVERIFY(most > 0);
        QVERIFY(most / 2 <= mostLines);
        delegate.quitAtOnce();
        QTRY_VERIFY(!gameRuns());
    }
};

QTEST_MAIN(FreshForEach<BusyLogTest>)
#include "BusyLogTest.moc"
