#include "Gallery.h"
#include "Likeness.h"
#include "Table.h"

#include <QDir>

namespace {

QString fileOf(const QString &shot, const QString &desktop)
{
    return u"%1/%2-%3.png"_s.arg(QLatin1StringView(PICTURES_FOLDER), shot, desktop);
}

}

class PictureTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theWindowLooksAsStored_data()
    {
        const auto row = table<QString, QString>("shot", "desktop");
        for (const auto &[shot, desktop] : Gallery::references())
            row(qPrintable(shot + u' ' + desktop), shot, desktop);
    }

    void theWindowLooksAsStored()
    {
        QFETCH(const QString, shot);
        QFETCH(const QString, desktop);
        const QImage stored(fileOf(shot, desktop));
        QVERIFY(!stored.isNull());
        const auto [count, bounds, largest]
            = Likeness::between(Gallery::picture(Gallery::shot(shot), Gallery::desktop(desktop)), stored);
        qInfo("%d squares, largest %d", count, largest);
        QVERIFY2(count == 0, qPrintable(u"%1 squares"_s.arg(count)));
    }

    void aMovedButtonIsNoticed_data()
    {
        const auto row = table<QString, QString, QPoint>("shot", "button", "by");
        for (const QPoint by : { QPoint(4, 0), QPoint(-4, 0), QPoint(0, 4), QPoint(0, -4) }) {
            row("play", u"not-downloaded"_s, Button::play, by);
            row("foot", u"not-downloaded"_s, Button::about, by);
            row("stop", u"playing"_s, Button::stop, by);
            row("cancel", u"downloading"_s, Button::cancel, by);
            row("done", u"settings"_s, Button::done, by);
        }
    }

    void aMovedButtonIsNoticed()
    {
        QFETCH(const QString, shot);
        QFETCH(const QString, button);
        QFETCH(const QPoint, by);
        for (const QString &desktop : { u"light"_s, u"dark"_s }) {
            QImage stored;
            QImage moved;
            Gallery::show(Gallery::shot(shot), Gallery::desktop(desktop), [&](Running &stage) {
                stored = Likeness::summary(Gallery::picture(stage));
                auto *part = stage.button(button);
                part->move(part->pos() + by);
                moved = Gallery::picture(stage);
            });
            const auto [count, bounds, largest] = Likeness::between(moved, stored);
            qInfo("%s: %d squares, largest %d", qPrintable(desktop), count, largest);
            QVERIFY(count > 0);
        }
    }
};

QTEST_MAIN(FreshForEach<PictureTest>)
#include "PictureTest.moc"
