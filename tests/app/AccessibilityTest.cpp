#include "Stage.h"
#include "StateFace.h"
#include "Table.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QComboBox>
#include <QProgressBar>
#include <QSet>

#if __has_include(<qpa/qplatformaccessibility.h>)
#include <private/qguiapplication_p.h>
#include <qpa/qplatformaccessibility.h>
#include <qpa/qplatformintegration.h>
#endif

namespace {

/// Records every accessibility event while this object exists.
class Announcements final {
public:
    Announcements()
    {
        s_all.clear();
        QAccessible::installUpdateHandler([](QAccessibleEvent *event) {
            s_all.append({ event->object(), event->type() });
        });
    }
    ~Announcements() { QAccessible::installUpdateHandler(nullptr); }
    Q_DISABLE_COPY_MOVE(Announcements)

    static bool contain(const QObject *object, QAccessible::Event type)
    {
        return std::any_of(s_all.cbegin(), s_all.cend(),
                           [=](const auto &entry) { return entry.first == object && entry.second == type; });
    }

private:
    static inline QList<std::pair<QObject *, QAccessible::Event>> s_all;
};

/// `top` and all its descendants that are not hidden.
QList<QAccessibleInterface *> everythingBelow(QAccessibleInterface *top)
{
    QList<QAccessibleInterface *> found { top };
    for (int index = 0; index < top->childCount(); ++index) {
        QAccessibleInterface *child = top->child(index);
        if (child && !child->state().invisible)
            found += everythingBelow(child);
    }
    return found;
}

QList<QAccessibleInterface *> everythingIn(QWidget *widget)
{
    return everythingBelow(QAccessible::queryAccessibleInterface(widget));
}

bool mustHaveAName(const QAccessibleInterface &interface)
{
    static const QSet<QAccessible::Role> named {
        QAccessible::Button,      QAccessible::RadioButton,  QAccessible::ComboBox,
        QAccessible::ProgressBar, QAccessible::EditableText, QAccessible::StaticText,
        QAccessible::Dialog,      QAccessible::AlertMessage, QAccessible::Window,
    };
    return named.contains(interface.role())
        || (interface.state().focusable && interface.role() != QAccessible::ListItem
            && interface.role() != QAccessible::List);
}

/// What is wrong with the accessibility tree of `widget`, in words.
QString faults(QWidget *widget)
{
    QStringList result;
    for (const QAccessibleInterface *interface : everythingIn(widget)) {
        const QObject *object = interface->object();
        const auto role = interface->role();
        const QString what
            = u"%1 with the role %2"_s
                  .arg(QLatin1StringView(object ? object->metaObject()->className() : "a part"))
                  .arg(role);
        const auto *label = qobject_cast<const TextLabel *>(object);
        const bool isEmptyLabel = label && label->text().isEmpty();
        if (mustHaveAName(*interface) && interface->text(QAccessible::Name).isEmpty() && !isEmptyLabel)
            result << what + u" has no name"_s;
        if (interface->state().focusable && (role == QAccessible::NoRole || role == QAccessible::Client))
            result << what + u" takes the focus without a role"_s;
    }
    return result.join(u'\n');
}

QStringList namesWithRole(QWidget *widget, QAccessible::Role role)
{
    QStringList names;
    for (const QAccessibleInterface *interface : everythingIn(widget)) {
        if (interface->role() == role)
            names << interface->text(QAccessible::Name);
    }
    return names;
}

}

class AccessibilityTest final : public QObject, private Stage {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
#if __has_include(<qpa/qplatformaccessibility.h>)
        QGuiApplicationPrivate::platformIntegration()->accessibility()->setActive(true);
        QVERIFY(QAccessible::isActive());
#endif
    }

    void everythingHasANameAndARoleInEveryState_data()
    {
        const auto row = table<Samples::Scene>("scene");
        for (const Samples::Scene &scene : Samples::scenes())
            row(qPrintable(scene.name), scene);
    }

    void everythingHasANameAndARoleInEveryState()
    {
        QFETCH(const Samples::Scene, scene);
        scene.set(model);
        QCOMPARE(faults(&window()), QString());
    }

    void aPartThatDoesNotExistIsNull()
    {
        const auto all = everythingIn(&window());
        QVERIFY(all.size() > 10);
        for (const QAccessibleInterface *interface : all) {
            for (const int index : { interface->childCount(), interface->childCount() + 3, -1 })
                QVERIFY(!interface->child(index));
        }
    }

    void theSheetsAndTheQuestionHaveNamesAndRoles()
    {
        QCOMPARE(faults(openAbout()), QString());
        QCOMPARE(namesWithRole(&window(), QAccessible::Dialog), QStringList(u"About"_s));
        click(Button::done);
        QCOMPARE(namesWithRole(&window(), QAccessible::Dialog), QStringList());
        QCOMPARE(faults(openSettings()), QString());
        QCOMPARE(namesWithRole(front(), QAccessible::RadioButton),
                 QStringList({ Button::windowed, Button::fullscreen }));
        // On Linux a combo box is named after its current choice; its label says what it is for.
        const auto relations
            = QAccessible::queryAccessibleInterface(visible<QComboBox>())->relations(QAccessible::Label);
        QCOMPARE(relations.size(), 1);
        QCOMPARE(relations.first().first->text(QAccessible::Name), u"Window size"_s);
        click(Button::removeEverything);
        QCOMPARE(faults(front()), QString());
        // The one that can be used is the last.
        QCOMPARE(namesWithRole(&window(), QAccessible::Dialog),
                 QStringList({ u"Settings"_s, u"Remove the game and the engine?"_s }));
        QCOMPARE(QAccessible::queryAccessibleInterface(front())->text(QAccessible::Description),
                 texts().last());
    }

    void theMainActionIsAButtonAndThePictureAPictureWithItsName()
    {
        QCOMPARE(namesWithRole(front(), QAccessible::Graphic), QStringList { u"A running figure"_s });
        QVERIFY(namesWithRole(front(), QAccessible::Button).contains(Button::play));
        show(AppState::playing());
        const QStringList names = namesWithRole(front(), QAccessible::Button);
        QVERIFY(names.contains(Button::stop));
        QVERIFY(!names.contains(Button::play));
    }

    void theStateAndTheProgressAnnounceThemselves()
    {
        if (!QAccessible::isActive())
            QSKIP("Qt's platform headers are not installed, so that nothing is announced here.");
        const auto face = [](const AppState &state) { return stateFace(state, false).label; };
        const auto *state = label(face(model.state));
        {
            const Announcements announcements;
            show(AppState::settingUp());
            QVERIFY(announcements.contain(state, QAccessible::NameChanged));
            QCOMPARE(state->text(), face(AppState::settingUp()));
        }
        auto *bar = visible<QProgressBar>();
        for (const double fraction : { 0.1, 0.6 }) {
            const Announcements announcements;
            set(model.progress, fraction);
            QVERIFY(announcements.contain(bar, QAccessible::ValueChanged));
        }
        const auto *value = QAccessible::queryAccessibleInterface(bar)->valueInterface();
        QCOMPARE(value->currentValue(), QVariant(600));
    }
};

QTEST_MAIN(FreshForEach<AccessibilityTest>)
#include "AccessibilityTest.moc"
