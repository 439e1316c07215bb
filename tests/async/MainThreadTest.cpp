#include "MainThread.h"

#include <QCoreApplication>
#include <QTest>

class MainThreadTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void workPostedBeforeThereIsAnApplicationIsDropped()
    {
        bool isDone = false;
        postToMainThread([&isDone] { isDone = true; });
        int count = 1;
        char name[] = "MainThreadTest";
        char *arguments[] = { name, nullptr };
        const QCoreApplication application(count, arguments);
        QCoreApplication::processEvents();
        QVERIFY(!isDone);
        postToMainThread([&isDone] { isDone = true; });
        QVERIFY(!isDone);
        QCoreApplication::processEvents();
        QVERIFY(isDone);
    }
};

QTEST_APPLESS_MAIN(MainThreadTest)
#include "MainThreadTest.moc"
