#include "ContentView.h"
#include "Samples.h"
#include "Stage.h"
#include "TextLabel.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QComboBox>
#include <QProgressBar>

#if __has_include(<qpa/qplatformaccessibility.h>)
#include <private/qguiapplication_p.h>
#include <qpa/qplatformaccessibility.h>
#include <qpa/qplatformintegration.h>
#endif

namespace {

/// Every accessibility event so far.
QList<std::pair<QObject *, QAccessible::Event>> announced;

void note(QAccessibleEvent *event) { announced.append({ event->object(), event->type() }); }

bool wasAnnounced(const QObject *object, QAccessible::Event type)
{
    return std::any_of(announced.cbegin(), announced.cend(),
                       [=](const auto &entry) { return entry.first == object && entry.second == type; });
}

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
QStringList faults(QWidget *widget)
{
    QStringList result;
    const auto all = everythingBelow(QAccessible::queryAccessibleInterface(widget));
    for (const QAccessibleInterface *interface : all) {
        const QString what
            = QStringLiteral("%1 with the role %2")
                  .arg(QLatin1StringView(interface->object() ? interface->object()->metaObject()->className()
                                                             : "a part"))
                  .arg(interface->role());
        const QString name = interface->text(QAccessible::Name);
        if (mustHaveAName(*interface) && name.isEmpty()) {
            const auto *label = qobject_cast<const TextLabel *>(interface->object());
            if (!label || !label->text().isEmpty())
                result << what + QStringLiteral(" has no name");
        }
        if (interface->state().focusable
            && (interface->role() == QAccessible::NoRole || interface->role() == QAccessible::Client))
            result << what + QStringLiteral(" takes the focus without a role");
    }
    return result;
}

QStringList namesWithRole(QWidget *widget, QAccessible::Role role)
{
    QStringList names;
    const auto all = everythingBelow(QAccessible::queryAccessibleInterface(widget));
    for (const QAccessibleInterface *interface : all) {
        if (interface->role() == role)
            names << interface->text(QAccessible::Name);
    }
    return names;
}

}

class AccessibilityTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everythingHasANameAndARoleInEveryState_data();
    void everythingHasANameAndARoleInEveryState();
    void aPartThatHasGoneSinceItWasCountedIsNone();
    void theSheetsAndTheQuestionHaveNamesAndRoles();
    void theMainActionIsAButtonWithItsName();
    void thePictureIsAPictureWithItsName();
    void theWindowChoiceIsTwoRadioButtons();
    void theStateAnnouncesItself();
    void theProgressAnnouncesItself();
    void playCanBePressedWithoutAPointer();
};

void AccessibilityTest::initTestCase()
{
#if __has_include(<qpa/qplatformaccessibility.h>)
    QGuiApplicationPrivate::platformIntegration()->accessibility()->setActive(true);
    QVERIFY(QAccessible::isActive());
#endif
}

void AccessibilityTest::everythingHasANameAndARoleInEveryState_data()
{
    QTest::addColumn<int>("scene");
    const auto scenes = Samples::scenes();
    for (int scene = 0; scene < scenes.size(); ++scene)
        QTest::newRow(qPrintable(scenes.at(scene).name)) << scene;
}

void AccessibilityTest::everythingHasANameAndARoleInEveryState()
{
    QFETCH(const int, scene);
    Stage stage;
    Samples::scenes().at(scene).set(stage.model);
    stage.open();
    QCOMPARE(faults(stage.window.get()), QStringList());
}

void AccessibilityTest::aPartThatHasGoneSinceItWasCountedIsNone()
{
    Stage stage;
    stage.open();
    const auto all = everythingBelow(QAccessible::queryAccessibleInterface(stage.window.get()));
    QVERIFY(all.size() > 10);
    for (const QAccessibleInterface *interface : all) {
        for (const int index : { interface->childCount(), interface->childCount() + 3, -1 })
            QVERIFY(!interface->child(index));
    }
}

void AccessibilityTest::theSheetsAndTheQuestionHaveNamesAndRoles()
{
    Stage stage;
    stage.open();
    stage.window->findChild<ContentView *>()->showAbout();
    Stage::settle();
    QCOMPARE(faults(QApplication::activeModalWidget()), QStringList());
    QApplication::activeModalWidget()->close();
    Stage::settle();
    stage.window->findChild<ContentView *>()->showSettings();
    Stage::settle();
    QCOMPARE(faults(QApplication::activeModalWidget()), QStringList());
    // On Linux a combo box is named after its current choice; its label says what it is for.
    auto *choice
        = QAccessible::queryAccessibleInterface(QApplication::activeModalWidget()->findChild<QComboBox *>());
    const auto relations = choice->relations(QAccessible::Label);
    QCOMPARE(relations.size(), 1);
    QCOMPARE(relations.first().first->text(QAccessible::Name), QStringLiteral("Window size"));
    Stage::click(*QApplication::activeModalWidget(), QStringLiteral("Remove everything\u2026"));
    QCOMPARE(faults(QApplication::activeModalWidget()), QStringList());
}

void AccessibilityTest::theMainActionIsAButtonWithItsName()
{
    Stage stage;
    stage.open();
    QVERIFY(namesWithRole(stage.window.get(), QAccessible::Button).contains(QStringLiteral("Play")));
    stage.model.state = AppState::playing();
    Stage::settle();
    const QStringList names = namesWithRole(stage.window.get(), QAccessible::Button);
    QVERIFY(names.contains(QStringLiteral("Stop")));
    QVERIFY(!names.contains(QStringLiteral("Play")));
}

void AccessibilityTest::thePictureIsAPictureWithItsName()
{
    Stage stage;
    stage.open();
    QCOMPARE(namesWithRole(stage.window.get(), QAccessible::Graphic),
             QStringList { QStringLiteral("A running figure") });
}

void AccessibilityTest::theWindowChoiceIsTwoRadioButtons()
{
    Stage stage;
    stage.open();
    stage.window->findChild<ContentView *>()->showSettings();
    Stage::settle();
    QCOMPARE(namesWithRole(QApplication::activeModalWidget(), QAccessible::RadioButton),
             (QStringList { QStringLiteral("Windowed"), QStringLiteral("Fullscreen") }));
}

void AccessibilityTest::theStateAnnouncesItself()
{
    if (!QAccessible::isActive())
        QSKIP("Qt's platform headers are not installed, so that nothing is announced here.");
    Stage stage;
    stage.open();
    const auto labels = stage.window->findChildren<TextLabel *>();
    const auto label = std::find_if(labels.begin(), labels.end(), [](const TextLabel *each) {
        return each->text() == QStringLiteral("Not downloaded");
    });
    QVERIFY(label != labels.end());
    QAccessible::installUpdateHandler(note);
    announced.clear();
    stage.model.state = AppState::ready();
    Stage::settle();
    QAccessible::installUpdateHandler(nullptr);
    QVERIFY(wasAnnounced(*label, QAccessible::NameChanged));
    QCOMPARE((*label)->text(), QStringLiteral("Ready"));
}

void AccessibilityTest::theProgressAnnouncesItself()
{
    if (!QAccessible::isActive())
        QSKIP("Qt's platform headers are not installed, so that nothing is announced here.");
    Stage stage;
    stage.model.state = AppState::downloading(QStringLiteral("the game"));
    stage.model.progress = 0.1;
    stage.open();
    const auto *bar = stage.visible<QProgressBar>();
    QAccessible::installUpdateHandler(note);
    announced.clear();
    stage.model.progress = 0.6;
    stage.model.stepText = QStringLiteral("Step 2 of 4: downloading Godot 4.6");
    Stage::settle();
    QAccessible::installUpdateHandler(nullptr);
    QVERIFY(wasAnnounced(bar, QAccessible::ValueChanged));
    QCOMPARE(QAccessible::queryAccessibleInterface(stage.visible<QProgressBar>())
                 ->valueInterface()
                 ->currentValue(),
             QVariant(600));
}

void AccessibilityTest::playCanBePressedWithoutAPointer()
{
    Stage stage;
    stage.player.startHost({ QStringLiteral("--slow"), QStringLiteral("1") });
    stage.open();
    auto *play = QAccessible::queryAccessibleInterface(Stage::button(*stage.window, QStringLiteral("Play")));
    QVERIFY(play->actionInterface());
    play->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    QTRY_VERIFY(Stage::button(*stage.window, QStringLiteral("Cancel")));
}

QTEST_MAIN(AccessibilityTest)
#include "AccessibilityTest.moc"
