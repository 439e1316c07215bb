#include "Stage.h"

#include <QAccessible>
#include <QProgressBar>

#if __has_include(<qpa/qplatformaccessibility.h>)
#include <private/qguiapplication_p.h>
#include <qpa/qplatformaccessibility.h>
#include <qpa/qplatformintegration.h>
#endif

using namespace Qt::StringLiterals;

namespace {

/// What screen readers were told while this object exists: for each failure and each step the text of the
/// part that tells it.
class Told final {
public:
    Told()
    {
        s_failures.clear();
        s_steps.clear();
        QAccessible::installUpdateHandler(&Told::note);
    }
    ~Told() { QAccessible::installUpdateHandler(nullptr); }
    Q_DISABLE_COPY_MOVE(Told)

    static const QStringList &failures() { return s_failures; }
    static const QStringList &steps() { return s_steps; }

private:
    static void note(QAccessibleEvent *event)
    {
        const auto *label = qobject_cast<const TextLabel *>(event->object());
        if (!label)
            return;
        if (event->type() == QAccessible::Alert && label->isVisible())
            s_failures << label->text();
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
        if (event->type() == QAccessible::Announcement && label->text().startsWith(u"Step"_s))
            s_steps << static_cast<QAccessibleAnnouncementEvent *>(event)->message();
#else
        const bool isStep = event->type() == QAccessible::NameChanged && label->text().startsWith(u"Step"_s);
        // The label itself tells that its name has changed, too.
        if (isStep && (s_steps.isEmpty() || s_steps.last() != label->text()))
            s_steps << label->text();
#endif
    }

    static inline QStringList s_failures;
    static inline QStringList s_steps;
};

}

class AnnouncementTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
#if __has_include(<qpa/qplatformaccessibility.h>)
        QGuiApplicationPrivate::platformIntegration()->accessibility()->setActive(true);
        QVERIFY(QAccessible::isActive());
#else
        QSKIP("Qt's platform headers are not installed, so that nothing is announced here.");
#endif
    }

    void eachFailureIsAnAlertWithItsSentence()
    {
        Stage stage;
        stage.open();
        const Told told;
        stage.fail(3, u"One."_s);
        stage.fail(5, u"One."_s); // more lines of the same failure
        QCOMPARE(told.failures(), QStringList(u"One."_s));
        stage.model.failureMessage = std::nullopt;
        stage.show(AppState::notDownloaded());
        stage.fail(3, u"One."_s);
        stage.fail(3, u"Two."_s);
        QCOMPARE(told.failures(), QStringList({ u"One."_s, u"One."_s, u"Two."_s }));
    }

    void eachStepIsAnnouncedOnce()
    {
        const QString first = u"Step 1 of 4: downloading the game"_s;
        const QString second = u"Step 2 of 4: downloading Godot 4.6"_s;
        Stage stage;
        stage.open();
        {
            const Told told;
            enter(stage, AppState::downloading(u"the game"_s), first);
            stage.model.progress = 0.5;
            Stage::settle();
            enter(stage, AppState::downloading(u"Godot 4.6"_s), second);
            QCOMPARE(told.steps(), QStringList({ first, second }));
        }
        // The step's line stays where it failed, and is announced again when it is tried again.
        stage.fail(0, u"One."_s);
        const Told told;
        enter(stage, AppState::downloading(u"Godot 4.6"_s), second);
        QCOMPARE(told.steps(), QStringList(second));
    }

private:
    static void enter(Stage &stage, const AppState &state, const QString &step)
    {
        stage.model.stepText = step;
        stage.show(state);
    }
};

QTEST_MAIN(FreshForEach<AnnouncementTest>)
#include "AnnouncementTest.moc"
