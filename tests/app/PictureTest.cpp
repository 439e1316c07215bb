#include "Gallery.h"
#include "Likeness.h"
#include "Table.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

namespace {

constexpr auto fontVariable = "FONTCONFIG_FILE";

QString nameOf(const QString &shot, const QString &desktop) { return u"%1-%2.png"_s.arg(shot, desktop); }

/// Where a button can be moved to, and noticed.
constexpr QPoint shifts[] { { 4, 0 }, { -4, 0 }, { 0, 4 }, { 0, -4 } };

}

/// Compares the window with the pictures in tests/app/pictures, which "tools/render-states --docs" draws.
class PictureTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (!QFileInfo::exists(qEnvironmentVariable(fontVariable)))
            QSKIP("The fonts of the pictures are missing.");
    }

    void theWindowLooksAsStored_data()
    {
        const auto row = table<QString, QString>("shot", "desktop");
        for (const auto &[shot, desktop] : Gallery::references())
            row(qPrintable(shot + u", "_s + desktop), shot, desktop);
    }

    void theWindowLooksAsStored()
    {
        QFETCH(const QString, shot);
        QFETCH(const QString, desktop);
        const QString name = nameOf(shot, desktop);
        const QImage stored(QDir(QStringLiteral(PICTURES_FOLDER)).filePath(name));
        QVERIFY2(!stored.isNull(), "Draw it with tools/render-states --docs.");
        const QImage picture = Gallery::picture(Gallery::shot(shot), Gallery::desktop(desktop));
        const auto [count, bounds] = Likeness::between(picture, stored);
        if (count == 0)
            return;
        const QString file = QDir::current().filePath(name);
        picture.save(file);
        QFAIL(qPrintable(u"%1 squares differ, within %2 x %3 pixels at (%4, %5). Look at %6, and if it is as "
                         "wanted, run tools/render-states --docs."_s.arg(count)
                             .arg(bounds.width())
                             .arg(bounds.height())
                             .arg(bounds.x())
                             .arg(bounds.y())
                             .arg(file)));
    }

    void lettersMayBeDrawnDifferently()
    {
        const QFileInfo fonts(qEnvironmentVariable(fontVariable));
        QProcess process;
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QLatin1StringView(fontVariable),
                           fonts.dir().filePath(u"fonts-drawn-differently.conf"_s));
        process.setProcessEnvironment(environment);
        process.start(QCoreApplication::applicationFilePath(), { u"theWindowLooksAsStored"_s });
        QVERIFY(process.waitForFinished(-1));
        QVERIFY2(process.exitCode() == 0, process.readAllStandardOutput().constData());
    }

    void aMovedButtonIsNoticed_data()
    {
        const auto row = table<QString, QString, QString>("shot", "button", "desktop");
        for (const QString &desktop : { u"light"_s, u"dark"_s }) {
            const auto add = [&](const QString &shot, const QString &button) {
                row(qPrintable(button + u", "_s + desktop), shot, button, desktop);
            };
            add(u"not-downloaded"_s, Button::play);
            add(u"not-downloaded"_s, Button::about);
            add(u"playing"_s, Button::stop);
            add(u"downloading"_s, Button::cancel);
            add(u"failure-short"_s, Button::copy);
            add(u"settings"_s, Button::windowed);
            add(u"settings"_s, Button::removeEverything);
            add(u"settings"_s, Button::done);
        }
    }

    void aMovedButtonIsNoticed()
    {
        QFETCH(const QString, shot);
        QFETCH(const QString, button);
        QFETCH(const QString, desktop);
        Gallery::show(Gallery::shot(shot), Gallery::desktop(desktop), [&button](Running &stage) {
            const QImage stored = Likeness::summary(Gallery::picture(stage));
            QWidget *moved = stage.button(button);
            const QPoint place = moved->pos();
            for (const QPoint &shift : shifts) {
                moved->move(place + shift);
                QCOMPARE_GE(Likeness::between(Gallery::picture(stage), stored).count, 1);
            }
            moved->move(place);
            QCOMPARE(Likeness::between(Gallery::picture(stage), stored).count, 0);
        });
    }

    void anotherColourIsNoticed()
    {
        Gallery::show(Gallery::shot(u"playing"_s), Gallery::desktop(u"light"_s), [](Running &stage) {
            const QImage picture = Gallery::picture(stage);
            const QImage stored = Likeness::summary(picture);
            QImage darker = picture;
            QPainter painter(&darker);
            painter.fillRect(Stage::placeIn(stage.window(), *stage.button(Button::stop)), QColor(0, 0, 0, 8));
            painter.end();
            QCOMPARE_GE(Likeness::between(darker, stored).count, 1);
        });
    }
};

QTEST_MAIN(FreshForEach<PictureTest>)
#include "PictureTest.moc"
