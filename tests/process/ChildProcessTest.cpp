#include "ChildProcess.h"

#include "ChildEnvironment.h"
#include "Children.h"
#include "Pipe.h"

#include <QTest>

#include <csignal>
#include <memory>

using namespace Children;
using namespace Qt::StringLiterals;

class ChildProcessTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_output = Pipe();
        QCOMPARE(m_output.open(), 0);
        m_child = std::make_unique<ChildProcess>();
    }

    void anEndedChildKeepsItsPidUntilItsOwnerDestroysIt()
    {
        QCOMPARE(launch(shellProgram, script(u"exit 3"_s)), 0);
        QCOMPARE(m_child->waitForEnd().status, 3);
        QVERIFY(!noneLeft());
        m_child.reset();
        QVERIFY(noneLeft());
    }

    void aRequestToEndBeforeTheLaunchOrAfterTheEndDoesNothing()
    {
        m_child->terminate();
        QCOMPARE(launch(trueProgram), 0);
        QCOMPARE(m_child->waitForEnd().status, 0);
        m_child->terminate();
        QCOMPARE(m_child->waitForEnd().status, 0);
    }

    void aChildThatCannotStartLeavesNothing()
    {
        QCOMPARE(launch(missingProgram), ENOENT);
        m_child->terminate();
        m_child.reset();
        QVERIFY(noneLeft());
    }

    void aChildThatSomebodyElseReapedHasAnUnknownStatus()
    {
        QCOMPARE(launch(u"/bin/sleep"_s, { u"0.1"_s }), 0);
        // While SIGCHLD is ignored, the system reaps children itself.
        const auto before = std::signal(SIGCHLD, SIG_IGN);
        const qint32 status = m_child->waitForEnd().status;
        std::signal(SIGCHLD, before);
        QCOMPARE(status, 255);
        QVERIFY(noneLeft());
        m_child->terminate(); // must do nothing: the pid may already be another process's
    }

    void aPipeNeverTakesThePlaceOfAStandardStream()
    {
        for (const int firstClosed : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO }) {
            Pipe pipe;
            int error = 0;
            bool areFree = true;
            {
                const WithoutStandardStreams closed(firstClosed);
                error = pipe.open();
                for (int stream = firstClosed; stream < 3; ++stream)
                    areFree = areFree && ::fcntl(stream, F_GETFD) < 0;
            }
            QCOMPARE(error, 0);
            QVERIFY(areFree);
            for (const FileDescriptor *end : { &pipe.readEnd, &pipe.writeEnd }) {
                QVERIFY(end->get() > 2);
                QVERIFY((::fcntl(end->get(), F_GETFD) & FD_CLOEXEC) != 0);
                QCOMPARE((::fcntl(end->get(), F_GETFL) & O_NONBLOCK) != 0, end == &pipe.readEnd);
            }
        }
    }

private:
    int launch(const QString &program, const QStringList &arguments = {})
    {
        return m_child->launch(program, arguments, childEnvironment(), m_output.writeEnd.get());
    }

    Pipe m_output;
    std::unique_ptr<ChildProcess> m_child;
};

QTEST_GUILESS_MAIN(ChildProcessTest)
#include "ChildProcessTest.moc"
