#include "LinkButton.h"
#include "Pixels.h"
#include "SegmentedChoice.h"
#include "Stage.h"

#include <QComboBox>

namespace {

constexpr int padding = 20;

QRect placeIn(const QWidget &outer, const QWidget &inner)
{
    return { inner.mapTo(&outer, QPoint(0, 0)), inner.size() };
}

/// A row of a sheet: its parts from left to right.
struct Row {
    QString name;
    QList<QRect> parts;

    QRect place() const
    {
        QRect all;
        for (const QRect &part : parts)
            all |= part;
        return all;
    }
};

/// The place of the text or button that starts with `beginning`.
QRect placeOf(const QWidget &sheet, const QString &beginning)
{
    const auto widgets = sheet.findChildren<QWidget *>();
    for (const QWidget *widget : widgets) {
        const auto *label = qobject_cast<const TextLabel *>(widget);
        const auto *button = qobject_cast<const QAbstractButton *>(widget);
        const QString text = label ? label->text() : button ? button->text() : QString();
        if (widget->isVisible() && text.startsWith(beginning))
            return placeIn(sheet, *widget);
    }
    qFatal("Nothing in the sheet begins with \"%s\".", qPrintable(beginning));
}

/// The lines across the whole column, read from a picture.
QList<QRect> dividers(QWidget &sheet)
{
    const QImage picture = Pixels::of(sheet, sheet);
    const QColor ground = sheet.palette().color(QPalette::Window);
    QList<QRect> found;
    for (int y = 0; y < picture.height(); ++y) {
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

QList<Row> settingsRows(QWidget &sheet)
{
    const auto row = [&sheet](const QStringList &beginnings) {
        Row result { beginnings.first(), {} };
        for (const QString &beginning : beginnings)
            result.parts << placeOf(sheet, beginning);
        return result;
    };
    QList<Row> rows;
    rows << row({ QStringLiteral("Settings") });
    rows << Row { QStringLiteral("the window"),
                  { placeOf(sheet, QStringLiteral("Window")),
                    placeIn(sheet, *sheet.findChild<SegmentedChoice *>()) } };
    rows << Row { QStringLiteral("its size"),
                  { placeOf(sheet, QStringLiteral("Window size")),
                    placeIn(sheet, *sheet.findChild<QComboBox *>()) } };
    rows << Row { QStringLiteral("the divider"), dividers(sheet) };
    rows << row({ QStringLiteral("Update the game"), QStringLiteral("Reinstall") });
    rows << row({ QStringLiteral("Updating downloads the game again.") });
    rows << row({ QStringLiteral("Reveal in Finder"), QStringLiteral("Show saves") });
    rows << row({ QStringLiteral("Remove everything\u2026") });
    rows << row({ QStringLiteral("Done") });
    return rows;
}

QList<Row> aboutRows(QWidget &sheet)
{
    const auto row = [&sheet](const QString &beginning) {
        return Row { beginning, { placeOf(sheet, beginning) } };
    };
    QList<Row> rows;
    rows << row(QStringLiteral("About")) << row(QStringLiteral("Game by "))
         << row(QStringLiteral("The game belongs to its author;")) << row(QStringLiteral("Based on "))
         << Row { QStringLiteral("the link"), { placeIn(sheet, *sheet.findChild<LinkButton *>()) } };
    rows << Row { QStringLiteral("the divider"), dividers(sheet) };
    rows << row(QStringLiteral("Made with the Godot Engine"))
         << row(QStringLiteral("Nothing is sent anywhere")) << row(QStringLiteral("Done"));
    return rows;
}

}

class SheetLayoutTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theRowsStandInTheirOrderAndAtTheirDistance_data();
    void theRowsStandInTheirOrderAndAtTheirDistance();
    void nothingIsClippedAtTheSides_data();
    void nothingIsClippedAtTheSides();

private:
    static QWidget *open(Stage &stage, bool isSettings)
    {
        return isSettings ? static_cast<QWidget *>(stage.openSettings()) : stage.openAbout();
    }
};

void SheetLayoutTest::theRowsStandInTheirOrderAndAtTheirDistance_data()
{
    QTest::addColumn<bool>("isSettings");
    QTest::addColumn<int>("spacing");
    QTest::newRow("Settings") << true << 14;
    QTest::newRow("About") << false << 10;
}

void SheetLayoutTest::theRowsStandInTheirOrderAndAtTheirDistance()
{
    QFETCH(const bool, isSettings);
    QFETCH(const int, spacing);
    Stage stage;
    QWidget *const sheet = open(stage, isSettings);
    QCOMPARE(dividers(*sheet).size(), 1);
    const QList<Row> rows = isSettings ? settingsRows(*sheet) : aboutRows(*sheet);

    QCOMPARE(sheet->width(), 440);
    QCOMPARE(rows.first().place().top(), padding);
    for (qsizetype index = 1; index < rows.size(); ++index) {
        const int gap = rows.at(index).place().top() - rows.at(index - 1).place().bottom() - 1;
        QVERIFY2(gap == spacing,
                 qPrintable(QStringLiteral("%1 above \"%2\"").arg(gap).arg(rows.at(index).name)));
    }
    QCOMPARE(rows.last().place().bottom() + 1, sheet->height() - padding);
    for (const Row &row : rows) {
        for (qsizetype part = 1; part < row.parts.size(); ++part) {
            QVERIFY2(row.parts.at(part).left() > row.parts.at(part - 1).right(), qPrintable(row.name));
            QVERIFY2(std::abs(row.parts.at(part).center().y() - row.parts.at(part - 1).center().y()) <= 1,
                     qPrintable(row.name));
        }
        // All rows are aligned left, except for the last, which is aligned right.
        if (&row != &rows.last())
            QVERIFY2(row.place().left() == padding, qPrintable(row.name));
    }
    QCOMPARE(rows.last().place().right() + 1, 440 - padding);
}

void SheetLayoutTest::nothingIsClippedAtTheSides_data()
{
    QTest::addColumn<bool>("isSettings");
    QTest::addColumn<double>("points");
    for (const double points : { 8.0, 10.0, 12.0 }) {
        QTest::addRow("Settings, %.0f points", points) << true << points;
        QTest::addRow("About, %.0f points", points) << false << points;
    }
}

void SheetLayoutTest::nothingIsClippedAtTheSides()
{
    QFETCH(const bool, isSettings);
    QFETCH(const double, points);
    const QFont before = QApplication::font();
    QFont font = before;
    font.setPointSizeF(points);
    QApplication::setFont(font);
    {
        Stage stage;
        QWidget *const sheet = open(stage, isSettings);
        const QRect column = sheet->rect().adjusted(padding, 0, -padding, 0);
        const auto widgets = sheet->findChildren<QWidget *>();
        for (const QWidget *widget : widgets) {
            const bool isShown = qobject_cast<const QAbstractButton *>(widget)
                || qobject_cast<const TextLabel *>(widget) || qobject_cast<const QComboBox *>(widget);
            if (!widget->isVisible() || !isShown)
                continue;
            const QRect place = placeIn(*sheet, *widget);
            QVERIFY2(place.left() >= column.left() && place.right() <= column.right(),
                     widget->metaObject()->className());
        }
        // Nor does anything else reach into the padding.
        const QImage picture = Pixels::of(*sheet, *sheet);
        const QColor ground = sheet->palette().color(QPalette::Window);
        for (const int left : { 0, picture.width() - padding + 1 }) {
            const QRect side(left, 0, padding - 1, picture.height());
            QCOMPARE(
                Pixels::find(picture, side, [&ground](const QColor &pixel) { return pixel == ground; }).count,
                side.width() * side.height());
        }
    }
    QApplication::setFont(before);
}

QTEST_MAIN(SheetLayoutTest)
#include "SheetLayoutTest.moc"
