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

}

class SessionEndTest final : public QObject, private Running {
    Q_OBJECT

private Q_SLOTS:
    void withoutAGameOrWhereNobodyMayBeAskedTheSessionEndsUnasked()
    {
        session.appCommitData();
        QVERIFY(!asks());
        play();
        session.letsAsk = false;
        session.appCommitData();
        QVERIFY(!asks());
        QCOMPARE(session.cancelled, 0);
        QVERIFY(gameRuns());
    }

    void keepPlayingKeepsTheSession()
    {
        play();
        answerWith(Button::keepPlaying);
        session.appCommitData();
        QCOMPARE(session.released, 1);
        QCOMPARE(session.cancelled, 1);
        QVERIFY(!asks());
        QVERIFY(window().isVisible());
        QVERIFY(gameRuns());
        QCOMPARE(ended, 0);
    }

    void quitLetsTheSessionEnd()
    {
        play();
        answerWith(Button::quit);
        session.appCommitData();
        QCOMPARE(session.released, 1);
        QCOMPARE(session.cancelled, 0);
        QTRY_COMPARE(ended, 1);
        QTRY_VERIFY(!gameRuns());
    }

    void aGameThatEndsWhileTheSessionAsksLetsItEnd()
    {
        play();
        QTimer::singleShot(100, this, [this] { model.runner.stop(); });
        session.appCommitData();
        QCOMPARE(session.released, 1);
        QCOMPARE(session.cancelled, 0);
        QTRY_COMPARE(ended, 1);
    }

    void aQuestionThatIsOpenAlreadyIsAskedAnew()
    {
        play();
        close();
        QVERIFY(asks());
        answerWith(Button::keepPlaying);
        session.appCommitData();
        QCOMPARE(session.cancelled, 1);
        QVERIFY(window().findChildren<Question *>().isEmpty());
    }

    void aLauncherThatQuitsIsNotAskedAgain()
    {
        play(stubbornGame);
        delegate.quitAtOnce();
        session.appCommitData();
        QCOMPARE(session.released, 0);
        QTRY_COMPARE(ended, 1);
    }

private:
    /// Clicks `answer` as soon as the question appears. Uses a timer, as the end of the session blocks.
    void answerWith(const QString &answer)
    {
        auto *look = new QTimer(this);
        connect(look, &QTimer::timeout, this, [this, look, answer] {
            if (!asks())
                return;
            look->stop();
            try {
                click(answer);
            } catch (const std::exception &missing) {
                // An exception must not pass through the question's event loop.
                QTest::qFail(missing.what(), __FILE__, __LINE__);
                question()->reject();
            }
        });
        look->start(10);
    }

    Session session;
};

QTEST_MAIN(FreshForEach<SessionEndTest>)
#include "SessionEndTest.moc"
