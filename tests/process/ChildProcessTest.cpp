#include "ChildProcess.h"

#include "ChildEnvironment.h"
#include "Children.h"
#include "Pipe.h"

#include <QTest>

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <vector>

class ChildProcessTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anEndedChildKeepsItsNumberUntilItsHolderLetsGo();
    void aLateRequestToEndHarmsNobody();
    void aRequestToEndBeforeTheLaunchDoesNothing();
    void aChildThatCannotStartLeavesNothing();
    void aChildThatSomebodyElseReapedHasAnUnknownStatus();
    void aPipeNeverTakesThePlaceOfAStandardStream();
};

void ChildProcessTest::anEndedChildKeepsItsNumberUntilItsHolderLetsGo()
{
    Pipe output;
    QCOMPARE(output.open(), 0);
    auto child = std::make_unique<ChildProcess>();
    QCOMPARE(child->launch(QStringLiteral("/bin/sh"), { QStringLiteral("-c"), QStringLiteral("exit 3") },
                           childEnvironment(), output.writeEnd.get()),
             0);
    QCOMPARE(child->waitForEnd().status, 3);
    QVERIFY(!Children::noneLeft());
    child.reset();
    QVERIFY(Children::noneLeft());
}

void ChildProcessTest::aLateRequestToEndHarmsNobody()
{
    Pipe output;
    QCOMPARE(output.open(), 0);
    ChildProcess child;
    QCOMPARE(child.launch(QStringLiteral("/bin/true"), {}, childEnvironment(), output.writeEnd.get()), 0);
    QCOMPARE(child.waitForEnd().status, 0);
    child.terminate();
    QCOMPARE(child.waitForEnd().status, 0);
}

void ChildProcessTest::aRequestToEndBeforeTheLaunchDoesNothing()
{
    Pipe output;
    QCOMPARE(output.open(), 0);
    ChildProcess child;
    child.terminate();
    QCOMPARE(child.launch(QStringLiteral("/bin/true"), {}, childEnvironment(), output.writeEnd.get()), 0);
    QCOMPARE(child.waitForEnd().status, 0);
}

void ChildProcessTest::aChildThatCannotStartLeavesNothing()
{
    Pipe output;
    QCOMPARE(output.open(), 0);
    {
        ChildProcess child;
        QCOMPARE(
            child.launch(QStringLiteral("/no/such/program"), {}, childEnvironment(), output.writeEnd.get()),
            ENOENT);
        child.terminate();
    }
    QVERIFY(Children::noneLeft());
}

void ChildProcessTest::aChildThatSomebodyElseReapedHasAnUnknownStatus()
{
    Pipe output;
    QCOMPARE(output.open(), 0);
    ChildProcess child;
    QCOMPARE(child.launch(QStringLiteral("/bin/sleep"), { QStringLiteral("0.1") }, childEnvironment(),
                          output.writeEnd.get()),
             0);
    // While SIGCHLD is ignored, the system reaps children itself.
    const auto before = std::signal(SIGCHLD, SIG_IGN);
    const qint32 status = child.waitForEnd().status;
    std::signal(SIGCHLD, before);
    QCOMPARE(status, 255);
    QVERIFY(Children::noneLeft());
    child.terminate(); // must do nothing: the pid may already be another process's
}

void ChildProcessTest::aPipeNeverTakesThePlaceOfAStandardStream()
{
    std::vector<FileDescriptor> kept;
    for (int stream = 0; stream < 3; ++stream) {
        kept.emplace_back(::fcntl(stream, F_DUPFD_CLOEXEC, 100));
        ::close(stream);
    }
    Pipe pipe;
    const int error = pipe.open();
    const bool areFree = ::fcntl(0, F_GETFD) < 0 && ::fcntl(1, F_GETFD) < 0 && ::fcntl(2, F_GETFD) < 0;
    for (int stream = 0; stream < 3; ++stream) {
        if (kept[static_cast<size_t>(stream)].get() >= 0)
            ::dup2(kept[static_cast<size_t>(stream)].get(), stream);
    }
    QCOMPARE(error, 0);
    QVERIFY(areFree);
    QVERIFY(pipe.readEnd.get() > 2);
    QVERIFY(pipe.writeEnd.get() > 2);
    QVERIFY((::fcntl(pipe.readEnd.get(), F_GETFD) & FD_CLOEXEC) != 0);
    QVERIFY((::fcntl(pipe.writeEnd.get(), F_GETFD) & FD_CLOEXEC) != 0);
    QVERIFY((::fcntl(pipe.readEnd.get(), F_GETFL) & O_NONBLOCK) != 0);
    QVERIFY((::fcntl(pipe.writeEnd.get(), F_GETFL) & O_NONBLOCK) == 0);
}

QTEST_GUILESS_MAIN(ChildProcessTest)
#include "ChildProcessTest.moc"
