// The desktop's session ends while the game runs. The test stands in for the session manager.

#include "Running.h"

#include <private/qguiapplication_p.h>
#include <private/qsessionmanager_p.h>
#include <qpa/qplatformsessionmanager.h>

#include <QScopedValueRollback>

namespace {

class Session final : public QPlatformSessionManager {
public:
    Session()
        : QPlatformSessionManager({}, {})
        , m_place(platformSide(), this)
    {
    }

    bool allowsInteraction() override { return letsAsk; }
    void release() override { ++released; }
    void cancel() override { ++cancelled; }

    bool letsAsk = true;
    int released = 0;
    int cancelled = 0;

private:
    static QPlatformSessionManager *&platformSide()
    {
        auto *manager = QGuiApplicationPrivate::instance()->session_manager;
        return static_cast<QSessionManagerPrivate *>(QObjectPrivate::get(manager))->platformSessionManager;
    }

    const QScopedValueRollback<QPlatformSessionManager *> m_place;
};

/// Presses `answer` as soon as the question appears. Uses a timer, as the end of the session blocks.
void answerWith(Running &running, const QString &answer)
{
    auto *look = new QTimer(&running.delegate);
    QObject::connect(look, &QTimer::timeout, look, [look, &running, answer] {
        if (running.asks()) {
            look->stop();
            try {
                running.stage.click(answer);
            } catch (const std::exception &missing) {
                // An exception must not pass through the question's event loop.
                QTest::qFail(missing.what(), __FILE__, __LINE__);
                running.question()->reject();
            }
        }
    });
    look->start(10);
}

}

class SessionEndTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void withoutAGameTheSessionEndsUnasked()
    {
        Running running;
        Session session;
        session.appCommitData();
        QVERIFY(!running.asks());
        QCOMPARE(session.cancelled, 0);
    }

    void aSessionThatLetsNobodyAskEndsUnasked()
    {
        Running running(Running::game);
        Session session;
        session.letsAsk = false;
        session.appCommitData();
        QVERIFY(!running.asks());
        QCOMPARE(session.cancelled, 0);
        QVERIFY(running.gameRuns());
    }

    void keepPlayingKeepsTheSession()
    {
        Running running(Running::game);
        Session session;
        answerWith(running, Button::keepPlaying);
        session.appCommitData();
        QCOMPARE(session.released, 1);
        QCOMPARE(session.cancelled, 1);
        QVERIFY(!running.asks());
        QVERIFY(running.stage.window->isVisible());
        QVERIFY(running.gameRuns());
        QCOMPARE(running.ended, 0);
    }

    void quitLetsTheSessionEnd()
    {
        Running running(Running::game);
        Session session;
        answerWith(running, Button::quit);
        session.appCommitData();
        QCOMPARE(session.released, 1);
        QCOMPARE(session.cancelled, 0);
        QTRY_COMPARE(running.ended, 1);
        QTRY_VERIFY(!running.gameRuns());
    }

    void aGameThatEndsWhileTheSessionAsksLetsItEnd()
    {
        Running running(Running::game);
        Session session;
        QTimer::singleShot(100, &running.delegate, [&running] { running.stage.model.runner.stop(); });
        session.appCommitData();
        QCOMPARE(session.released, 1);
        QCOMPARE(session.cancelled, 0);
        QTRY_COMPARE(running.ended, 1);
    }

    void aQuestionThatIsOpenAlreadyIsAskedAnew()
    {
        Running running(Running::game);
        running.close();
        QVERIFY(running.asks());
        Session session;
        answerWith(running, Button::keepPlaying);
        session.appCommitData();
        QCOMPARE(session.cancelled, 1);
        QVERIFY(running.stage.window->findChildren<QMessageBox *>().isEmpty());
    }

    void aLauncherThatQuitsIsNotAskedAgain()
    {
        Running running(Running::stubbornGame);
        Session session;
        running.delegate.quitAtOnce();
        session.appCommitData();
        QCOMPARE(session.released, 0);
        QTRY_COMPARE(running.ended, 1);
    }
};

QTEST_MAIN(FailsCleanly<SessionEndTest>)
#include "SessionEndTest.moc"
