#include "Stage.h"
#include "StateFace.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QComboBox>
#include <QProgressBar>

#if __has_include(<qpa/qplatformaccessibility.h>)
#include <private/qguiapplication_p.h>
#include <qpa/qplatformaccessibility.h>
#include <qpa/qplatformintegration.h>
#endif

using namespace Qt::StringLiterals;

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
    switch (interface.role()) {
    case QAccessible::Button:
    case QAccessible::RadioButton:
    case QAccessible::ComboBox:
    case QAccessible::ProgressBar:
    case QAccessible::EditableText:
    case QAccessible::StaticText:
    case QAccessible::Dialog:
    case QAccessible::AlertMessage:
    case QAccessible::Window:
        return true;
    default:
        return interface.state().focusable && interface.role() != QAccessible::ListItem
            && interface.role() != QAccessible::List;
    }
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

class AccessibilityTest final : public QObject {
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
        QTest::addColumn<Samples::Scene>("scene");
        for (const Samples::Scene &scene : Samples::scenes())
            QTest::newRow(qPrintable(scene.name)) << scene;
    }

    void everythingHasANameAndARoleInEveryState()
    {
        QFETCH(const Samples::Scene, scene);
        Stage stage;
        scene.set(stage.model);
        stage.open();
        QCOMPARE(faults(stage.window.get()), QString());
    }

    void aPartThatDoesNotExistIsNull()
    {
        const Stage stage(Stage::usual);
        const auto all = everythingIn(stage.window.get());
        QVERIFY(all.size() > 10);
        for (const QAccessibleInterface *interface : all) {
            for (const int index : { interface->childCount(), interface->childCount() + 3, -1 })
                QVERIFY(!interface->child(index));
        }
    }

    void theSheetsAndTheQuestionHaveNamesAndRoles()
    {
        Stage stage;
        QCOMPARE(faults(stage.openAbout()), QString());
        stage.click(Button::done);
        QCOMPARE(faults(stage.openSettings()), QString());
        // On Linux a combo box is named after its current choice; its label says what it is for.
        const auto relations = QAccessible::queryAccessibleInterface(stage.visible<QComboBox>())
                                   ->relations(QAccessible::Label);
        QCOMPARE(relations.size(), 1);
        QCOMPARE(relations.first().first->text(QAccessible::Name), u"Window size"_s);
        stage.click(Button::removeEverything);
        QCOMPARE(faults(stage.front()), QString());
    }

    void theMainActionIsAButtonWithItsName()
    {
        Stage stage(Stage::usual);
        QVERIFY(namesWithRole(stage.front(), QAccessible::Button).contains(Button::play));
        stage.show(AppState::playing());
        const QStringList names = namesWithRole(stage.front(), QAccessible::Button);
        QVERIFY(names.contains(Button::stop));
        QVERIFY(!names.contains(Button::play));
    }

    void thePictureIsAPictureWithItsName()
    {
        const Stage stage(Stage::usual);
        QCOMPARE(namesWithRole(stage.front(), QAccessible::Graphic), QStringList { u"A running figure"_s });
    }

    void theWindowChoiceIsTwoRadioButtons()
    {
        Stage stage;
        QCOMPARE(namesWithRole(stage.openSettings(), QAccessible::RadioButton),
                 QStringList({ Button::windowed, Button::fullscreen }));
    }

    void theStateAndTheProgressAnnounceThemselves()
    {
        if (!QAccessible::isActive())
            QSKIP("Qt's platform headers are not installed, so that nothing is announced here.");
        Stage stage(Stage::usual);
        const auto face = [](const AppState &state) { return stateFace(state, false).label; };
        const auto *label = Stage::label(*stage.window, face(stage.model.state));
        {
            const Announcements announcements;
            stage.show(AppState::settingUp());
            QVERIFY(announcements.contain(label, QAccessible::NameChanged));
            QCOMPARE(label->text(), face(AppState::settingUp()));
        }
        const auto *bar = stage.visible<QProgressBar>();
        for (const double fraction : { 0.1, 0.6 }) {
            const Announcements announcements;
            stage.model.progress = fraction;
            Stage::settle();
            QVERIFY(announcements.contain(bar, QAccessible::ValueChanged));
        }
        const auto *value
            = QAccessible::queryAccessibleInterface(stage.visible<QProgressBar>())->valueInterface();
        QCOMPARE(value->currentValue(), QVariant(600));
    }

    void playCanBePressedWithoutAPointer()
    {
        Stage stage;
        stage.startSlowHost();
        stage.open();
        auto *play = QAccessible::queryAccessibleInterface(stage.button(Button::play))->actionInterface();
        QVERIFY(play);
        play->doAction(QAccessibleActionInterface::pressAction());
        QTRY_VERIFY(stage.hasButton(Button::cancel));
    }
};

QTEST_MAIN(FailsCleanly<AccessibilityTest>)
#include "AccessibilityTest.moc"
