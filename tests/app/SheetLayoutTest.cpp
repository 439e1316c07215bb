#include "Contrast.h"
#include "LinkButton.h"
#include "Look.h"
#include "Pixels.h"
#include "SegmentedChoice.h"
#include "Stage.h"
#include "Table.h"
#include "Tokens.h"

#include <QComboBox>

#include <functional>
#include <numeric>

namespace {

constexpr int padding = 20;
/// How far the hairline around a sheet reaches into it.
constexpr int edge = 1;

/// The parts of a row, from left to right.
using Row = QList<QRect>;

QRect boundsOf(const Row &row) { return std::accumulate(row.begin(), row.end(), QRect(), std::bit_or()); }

/// The lines across the whole column, read from a picture.
Row dividers(QWidget &sheet)
{
    const QImage picture = Pixels::of(sheet, sheet);
    const QColor ground = Tokens::of(sheet).sheet;
    Row found;
    for (int y = edge; y < picture.height() - edge; ++y) {
        const QColor first = picture.pixelColor(padding, y);
        const QRect line(padding, y, picture.width() - 2 * padding, 1);
        const auto isFirst = [&first](const QColor &pixel) { return pixel == first; };
        if (first == ground || Pixels::find(picture, line, isFirst).count != line.width())
            continue;
        if (!found.isEmpty() && found.last().bottom() == y - 1)
            found.last().setBottom(y);
        else
            found.append(line);
    }
    return found;
}

}

class SheetLayoutTest final : public QObject, private Stage {
    Q_OBJECT

private Q_SLOTS:
    void theRowsStandInTheirOrderAndAtTheirDistance_data()
    {
        const auto row = table<QString, int>("name", "spacing");
        row("Settings", Button::settings, 14);
        row("About", Button::about, 10);
    }

    void theRowsStandInTheirOrderAndAtTheirDistance()
    {
        QFETCH(const QString, name);
        QFETCH(const int, spacing);
        QWidget *const sheet = openSheet(name);
        QCOMPARE(sheet->width(), 440);
        QCOMPARE(dividers(*sheet).size(), 1);
        const QList<Row> rows = name == Button::about ? rowsOfAbout(*sheet) : rowsOfSettings(*sheet);
        const QRect done = boundsOf(rows.last());
        QCOMPARE(boundsOf(rows.first()).top(), padding);
        QCOMPARE(done.bottom() + 1, sheet->height() - padding);
        QCOMPARE(done.right() + 1, 440 - padding);

        QStringList faults;
        for (qsizetype index = 0; index < rows.size(); ++index) {
            const Row &row = rows.at(index);
            const auto check = [&faults, index](bool isRight, const QString &fault) {
                if (!isRight)
                    faults << u"row %1 %2"_s.arg(index).arg(fault);
            };
            if (index > 0) {
                const int gap = boundsOf(row).top() - boundsOf(rows.at(index - 1)).bottom() - 1;
                check(gap == spacing, u"is %1 below the one before"_s.arg(gap));
            }
            // All rows are aligned left, except for the last, which is aligned right.
            check(index == rows.size() - 1 || boundsOf(row).left() == padding, u"is not aligned left"_s);
            for (qsizetype part = 1; part < row.size(); ++part) {
                check(row.at(part).left() > row.at(part - 1).right(), u"overlaps"_s);
                check(std::abs(row.at(part).center().y() - row.at(part - 1).center().y()) <= 1,
                      u"is not level"_s);
            }
        }
        QCOMPARE(faults.join(u'\n'), QString());
    }

    void theVeilDarkensTheWindowOnceAndEachCoveredSheet()
    {
        open();
        const QPoint corner(3, 3);
        const auto veiled
            = [this](const QColor &colour) { return Contrast::over(Tokens::of(window()).veil, colour); };
        const auto at
            = [this](const QPoint &place) { return QColor(window().grab().toImage().pixelColor(place)); };
        QCOMPARE(at(corner), Tokens::of(window()).window);
        auto *settings = openSettings();
        const QPoint inSheet = Stage::place(settings).topLeft() + QPoint(padding, padding / 2);
        QCOMPARE_LE(Pixels::distance(at(corner), veiled(Tokens::of(window()).window)), 1);
        QCOMPARE(at(inSheet), Tokens::of(window()).sheet);
        click(Button::removeEverything);
        QVERIFY(!Stage::place(front()).contains(inSheet));
        QCOMPARE_LE(Pixels::distance(at(corner), veiled(Tokens::of(window()).window)), 1);
        QCOMPARE_LE(Pixels::distance(at(Stage::place(settings).bottomRight() - QPoint(padding, padding / 2)),
                                     veiled(Tokens::of(window()).sheet)),
                    6); // and a trace of the question's shadow
    }

    void aSheetHasRoundCorners()
    {
        QWidget *sheet = openAbout();
        QImage picture(sheet->size(), QImage::Format_RGB32);
        picture.fill(Qt::black);
        sheet->render(&picture, QPoint(), QRegion(), QWidget::DrawChildren);
        Pixels::verifyCorners(picture, Qt::black, 14);
    }

    void nothingIsClippedAtTheSides_data()
    {
        const auto row = table<QString, double>("name", "points");
        for (const QString &name : { Button::settings, Button::about }) {
            for (const double points : { 8.0, 10.0, 12.0 })
                row(qPrintable(u"%1, %2 points"_s.arg(name).arg(points)), name, points);
        }
    }

    void nothingIsClippedAtTheSides()
    {
        QFETCH(const QString, name);
        QFETCH(const double, points);
        const Look::Desktop desktop(Look::font(points));
        QWidget *const sheet = openSheet(name);
        const QRect column = sheet->rect().adjusted(padding, 0, -padding, 0);
        for (const QWidget *widget : sheet->findChildren<QWidget *>()) {
            const bool isShown = qobject_cast<const QAbstractButton *>(widget)
                || qobject_cast<const TextLabel *>(widget) || qobject_cast<const QComboBox *>(widget);
            if (!widget->isVisible() || !isShown)
                continue;
            const QRect area = placeIn(*sheet, *widget);
            QVERIFY2(area.left() >= column.left() && area.right() <= column.right(),
                     widget->metaObject()->className());
        }
        // Nor does anything else reach into the padding.
        const QImage picture = Pixels::of(*sheet, *sheet);
        const QColor ground = Tokens::of(*sheet).sheet;
        const QRect inside = picture.rect().adjusted(edge, padding, -edge, -padding);
        for (const int left : { inside.left(), picture.width() - padding + 1 }) {
            const QRect side = inside & QRect(left, 0, padding - 1 - edge, picture.height());
            const auto isOther = [&ground](const QColor &pixel) { return pixel != ground; };
            QCOMPARE(Pixels::find(picture, side, isOther).count, 0);
        }
    }

private:
    QList<Row> rowsOfSettings(QWidget &sheet)
    {
        return { { text(0) },
                 { text(1), placeIn(sheet, *visible<SegmentedChoice>(sheet)) },
                 { text(2), placeIn(sheet, *visible<QComboBox>(sheet)) },
                 dividers(sheet),
                 { place(Button::update), place(Button::reinstall) },
                 { text(3) },
                 { place(Button::reveal), place(Button::showSaves) },
                 { place(Button::removeEverything) },
                 { place(Button::done) } };
    }

    QList<Row> rowsOfAbout(QWidget &sheet)
    {
        const Row link { placeIn(sheet, *visible<LinkButton>(sheet)) };
        return { { text(0) }, { text(1) }, { text(2) },
                 { text(3) }, link,        dividers(sheet),
                 { text(4) }, { text(5) }, { place(Button::done) } };
    }

    QRect text(int index) { return placeIn(*front(), *labels(*front()).at(index)); }
    QRect place(const QString &name) { return placeIn(*front(), *button(name)); }
};

QTEST_MAIN(FreshForEach<SheetLayoutTest>)
#include "SheetLayoutTest.moc"
