#include "LogText.h"
#include "Running.h"

#include <QContextMenuEvent>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

const QString saveReport = u"Save a report\u2026"_s;

QString proposedName() { return u"Vantor report %1.txt"_s.arg(QDate::currentDate().toString(Qt::ISODate)); }

QAction *actionIn(const QList<QAction *> &actions)
{
    for (QAction *action : actions) {
        if (action->text() == saveReport)
            return action;
    }
    throw std::runtime_error("Nothing offers to save a report.");
}

void choose(Stage &stage)
{
    actionIn(stage.window().actions())->trigger();
    Stage::settle();
}

QFileDialog *dialog(Stage &stage) { return stage.visible<QFileDialog>(); }

/// Types `file` as the name and presses Save.
void save(Stage &stage, const QString &file)
{
    QFileDialog *shown = dialog(stage);
    shown->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(file);
    shown->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Save)->click();
    Stage::settle();
}

QMessageBox *overwriteQuestion(Stage &stage)
{
    const auto questions = dialog(stage)->findChildren<QMessageBox *>();
    return questions.isEmpty() ? nullptr : questions.first();
}

/// Does `act` once Qt's dialog asks whether to replace a file. A timer, because Qt's question blocks.
template <typename Act> void whenAsked(Stage &stage, Act act)
{
    auto *look = new QTimer(&stage.window());
    QObject::connect(look, &QTimer::timeout, look, [look, &stage, act] {
        if (!stage.shows<QFileDialog>() || !overwriteQuestion(stage))
            return;
        look->stop();
        act();
    });
    look->start(10);
}

/// A window with an open log.
class Logged final {
public:
    explicit Logged(int lines = 3)
    {
        stage.model.log.lines = Samples::lines(lines);
        stage.model.showLog = true;
        stage.open();
        text = stage.visible<LogText>();
        text->setFocus();
    }

    QString notice() const { return stage.model.notice->value_or(QString()); }

    Stage stage;
    LogText *text = nullptr;
};

enum class Way { Mouse, MenuKey, ShiftF10 };

}

Q_DECLARE_METATYPE(Way)

class ReportDialogTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        // Qt's dialog stores its last folders, some of them after the home folder of their test was deleted.
        static const QTemporaryDir settings;
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
    }

    void theLogsMenuOffersTheReport_data()
    {
        QTest::addColumn<Way>("way");
        QTest::newRow("the right mouse button") << Way::Mouse;
        QTest::newRow("the Menu key") << Way::MenuKey;
        QTest::newRow("Shift+F10") << Way::ShiftF10;
    }

    void theLogsMenuOffersTheReport()
    {
        QFETCH(const Way, way);
        // The text cursor is at the beginning, far above what is shown.
        Logged logged(200);
        // A menu takes a click only after it has seen the mouse move: from where it was when the menu opened.
        QTest::mouseMove(logged.text->viewport(), QPoint(1, 1));
        if (way == Way::ShiftF10) {
            logged.stage.press(Qt::Key_F10, Qt::ShiftModifier);
        } else {
            const bool byMouse = way == Way::Mouse;
            QWidget *receiver = byMouse ? logged.text->viewport() : logged.text;
            const QPoint place(20, 20);
            QContextMenuEvent event(byMouse ? QContextMenuEvent::Mouse : QContextMenuEvent::Keyboard, place,
                                    receiver->mapToGlobal(place));
            QCoreApplication::sendEvent(receiver, &event);
        }
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        QVERIFY(menu);
        const QRect log(logged.text->mapToGlobal(QPoint(0, 0)), logged.text->size());
        QVERIFY(log.contains(menu->pos()));
        QStringList texts;
        for (const QAction *action : menu->actions())
            texts << action->text().section(u'\t', 0, 0).remove(u'&');
        QCOMPARE(texts, QStringList({ u"Copy"_s, QString(), u"Select All"_s, QString(), saveReport }));

        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(menu->actions().last()).center());
        Stage::settle();
        QVERIFY(!QApplication::activePopupWidget());
        QCOMPARE(dialog(logged.stage)->windowTitle(), u"Save a report"_s);
        QTRY_VERIFY(!logged.text->findChild<QMenu *>()); // it is not kept
    }

    void onMacTheFileMenuOffersItToo()
    {
        Stage stage;
        Desktop::use(Desktop::describing(Desktop::System::MacOS));
        stage.open();
        Desktop::use(std::nullopt);
        const auto menus = stage.window().menuBar()->findChildren<QMenu *>();
        const auto file = std::find_if(menus.begin(), menus.end(),
                                       [](const QMenu *menu) { return menu->title() == u"File"_s; });
        QVERIFY(file != menus.end());
        actionIn((*file)->actions())->trigger();
        Stage::settle();
        QVERIFY(stage.shows<QFileDialog>());
    }

    void theDialogProposesANameInTheFolderForDocuments_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::newRow("there is one") << u"Documents"_s;
        QTest::newRow("there is none") << QString();
    }

    void theDialogProposesANameInTheFolderForDocuments()
    {
        QFETCH(const QString, folder);
        Logged logged;
        QDir().mkpath(logged.stage.player.home.filePath(folder));
        choose(logged.stage);
        const QString file = QDir(logged.stage.player.home.filePath(folder)).filePath(proposedName());
        QCOMPARE(dialog(logged.stage)->selectedFiles(), QStringList { QDir::cleanPath(file) });
        QCOMPARE(dialog(logged.stage)->windowModality(), Qt::WindowModal);

        choose(logged.stage); // asks no second time
        QCOMPARE(logged.stage.window().findChildren<QFileDialog *>().size(), 1);
        dialog(logged.stage)->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Save)->click();
        QTRY_COMPARE(logged.notice(), u"The report was saved as “%1”."_s.arg(proposedName()));
        QVERIFY(logged.stage.player.home.read(file).endsWith(Samples::lines(3).last().toUtf8() + '\n'));
        QTRY_VERIFY(!logged.stage.window().findChild<QFileDialog *>());
    }

    void theWindowSaysWhatBecameOfIt_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("sentence");
        QTest::newRow("saved") << u"mine.txt"_s << u"The report was saved as “mine.txt”."_s;
        QTest::newRow("without a suffix") << u"mine"_s << u"The report was saved as “mine.txt”."_s;
        QTest::newRow("not saved") << u"missing/mine.txt"_s
                                   << u"“mine.txt” could not be written: No such file or directory."_s;
    }

    void theWindowSaysWhatBecameOfIt()
    {
        QFETCH(const QString, name);
        QFETCH(const QString, sentence);
        Logged logged;
        choose(logged.stage);
        save(logged.stage, logged.stage.player.home.filePath(name));
        QTRY_VERIFY(logged.stage.texts().contains(sentence));
        QVERIFY(!logged.stage.shows<QFileDialog>());
    }

    void whoCancelsGetsNoReport()
    {
        Logged logged;
        const QStringList before = logged.stage.player.home.list();
        choose(logged.stage);
        logged.stage.press(Qt::Key_Escape);
        QVERIFY(!logged.stage.shows<QFileDialog>());
        QVERIFY(waitForBackground(std::chrono::seconds(10)));
        QCOMPARE(logged.stage.player.home.list(), before);
        choose(logged.stage); // it can be chosen again
        QVERIFY(logged.stage.shows<QFileDialog>());
    }

    void aFileIsReplacedOnlyIfThePlayerSaysSo_data()
    {
        QTest::addColumn<bool>("replaces");
        QTest::newRow("yes") << true;
        QTest::newRow("no") << false;
    }

    void aFileIsReplacedOnlyIfThePlayerSaysSo()
    {
        QFETCH(const bool, replaces);
        Logged logged;
        const QString file = logged.stage.player.home.write(u"old.txt"_s, "older");
        choose(logged.stage);
        bool isAsked = false;
        whenAsked(logged.stage, [&] {
            isAsked = true;
            overwriteQuestion(logged.stage)->button(replaces ? QMessageBox::Yes : QMessageBox::No)->click();
        });
        save(logged.stage, file);
        QVERIFY(isAsked);
        QCOMPARE(logged.stage.shows<QFileDialog>(), !replaces);
        if (replaces)
            QTRY_COMPARE(logged.notice(), u"The report was saved as “old.txt”."_s);
        QCOMPARE(logged.stage.player.home.read(file) == "older", !replaces);
    }

    void aSheetThatIsOpenComesFirst()
    {
        Logged logged;
        logged.stage.openSettings();
        choose(logged.stage);
        QVERIFY(!logged.stage.shows<QFileDialog>());
        logged.stage.click(Button::done);
        choose(logged.stage);
        QVERIFY(logged.stage.shows<QFileDialog>());
    }

    void theLauncherCanBeQuitWhileTheDialogIsOpen_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("the window is closed") << Qt::Key_unknown;
        QTest::newRow("Ctrl+Q") << Qt::Key_Q;
        QTest::newRow("Ctrl+W") << Qt::Key_W;
    }

    void theLauncherCanBeQuitWhileTheDialogIsOpen()
    {
        QFETCH(const Qt::Key, key);
        Running running;
        choose(running);
        QVERIFY(running.shows<QFileDialog>());
        if (key == Qt::Key_unknown) {
            running.close();
        } else {
            dialog(running)->activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(dialog(running)));
            running.press(key, Qt::ControlModifier);
        }
        QVERIFY(!running.asks());
        QVERIFY(!running.shows<QFileDialog>());
        QVERIFY(!running.window().isVisible());
        QTRY_COMPARE(running.ended, 1);
    }

    void theLauncherCanBeQuitWhileItAsksWhetherToReplaceAFile()
    {
        Running running;
        const QString file = running.player.home.write(u"old.txt"_s, "older");
        choose(running);
        whenAsked(running, [&] { running.delegate.quitAtOnce(); });
        save(running, file);
        QVERIFY(!running.window().isVisible());
        QTRY_COMPARE(running.ended, 1);
        QCOMPARE(running.player.home.read(file), "older");
    }

    void theQuestionOfARunningGameLiesOverTheDialog()
    {
        Running running;
        running.play();
        choose(running);
        running.close();
        QCOMPARE(running.question()->parentWidget(), dialog(running));
        QCOMPARE(QApplication::activeModalWidget(), running.question());
        running.click(Button::keepPlaying);
        QVERIFY(running.shows<QFileDialog>());
        QCOMPARE(running.ended, 0);
        running.close();
        running.click(Button::quit);
        QTRY_COMPARE(running.ended, 1);
        QVERIFY(!running.window().isVisible());
    }
};

QTEST_MAIN(FreshForEach<ReportDialogTest>)
#include "ReportDialogTest.moc"
