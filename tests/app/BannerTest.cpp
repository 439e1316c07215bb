#include "Banner.h"

#include "Pixels.h"
#include "Stage.h"

namespace {

/// RGB 0.25, 0.55, 0.95 and 0.35, 0.8, 0.5.
const QColor begin(64, 140, 242);
const QColor end(89, 204, 128);

bool isWhite(const QColor &colour) { return Pixels::distance(colour, Qt::white) < 6; }

/// The pixel that comes closest to `colour`, and the difference between them.
std::pair<QPoint, int> nearest(const QImage &image, const QColor &colour)
{
    std::pair<QPoint, int> found { {}, 256 };
    Pixels::each(image.rect(), [&](const QPoint &place) {
        const int distance = Pixels::distance(image.pixelColor(place), colour);
        if (distance < found.second)
            found = { place, distance };
    });
    return found;
}

int darkest(const QImage &image, const QRect &area)
{
    int least = 255;
    Pixels::each(area, [&](const QPoint &place) { least = std::min(least, qGray(image.pixel(place))); });
    return least;
}

}

class BannerTest final : public QObject, private Stage {
    Q_OBJECT

private Q_SLOTS:
    void itIsAsWideAsTheWindowAnd130High()
    {
        QCOMPARE(m_picture.size(), QSize(600 - 2 * 20, 130));
        // The background reaches all four sides.
        for (const QPoint &side : { QPoint(0, 65), QPoint(559, 65), QPoint(280, 0), QPoint(280, 129) })
            QVERIFY(Pixels::distance(m_picture.pixelColor(side), m_ground) > 60);
    }

    void theBackgroundTurnsFromBlueToGreen()
    {
        const auto [first, blueIsOff] = nearest(m_picture, begin);
        const auto [last, greenIsOff] = nearest(m_picture, end);
        QCOMPARE_LE(blueIsOff, 6);
        QCOMPARE_LE(greenIsOff, 6);
        QVERIFY(first.x() < last.x() || first.y() < last.y());
        QVERIFY(first.x() <= m_picture.width() / 2 && first.y() <= m_picture.height() / 2);
        // The colour halfway between the two occurs as well.
        const QColor halfway((begin.red() + end.red()) / 2, (begin.green() + end.green()) / 2,
                             (begin.blue() + end.blue()) / 2);
        QCOMPARE_LE(nearest(m_picture, halfway).second, 4);
    }

    void theCornersHaveTheirRadius() { Pixels::verifyCorners(m_picture, m_ground, 14); }

    void aWhiteFigureOf64PointsStandsInTheMiddle()
    {
        QCOMPARE_LE(std::abs(m_figure.bounds.height() - 64), 8);
        QVERIFY(m_figure.bounds.width() > 24 && m_figure.bounds.width() < 80);
        QVERIFY(m_figure.count > 400);
        const QPoint away = m_figure.bounds.center() - m_picture.rect().center();
        QVERIFY(std::abs(away.x()) <= 5 && std::abs(away.y()) <= 5);
    }

    void theFigureHasASoftDarkShadow()
    {
        const QRect around = m_figure.bounds.adjusted(-8, -8, 8, 8);
        // Left and right of the figure, beyond the reach of a shadow of radius 4.
        const int ground
            = std::min(darkest(m_picture, QRect(around.left() - 60, around.top(), 40, around.height())),
                       darkest(m_picture, QRect(around.right() + 20, around.top(), 40, around.height())));
        const double darkness = 1 - static_cast<double>(darkest(m_picture, around)) / ground;
        // The shadow is black at 33 %, not more.
        QCOMPARE_GT(darkness, 0.12);
        QCOMPARE_LT(darkness, 0.36);
        // Soft: there are shades between the darkest and the background.
        const auto isBetween = [&](double from, double to) {
            const auto isShade = [&](const QColor &colour) {
                const double here = 1 - static_cast<double>(qGray(colour.rgb())) / ground;
                return here > darkness * from && here < darkness * to;
            };
            return Pixels::find(m_picture, around, isShade).count;
        };
        QVERIFY(isBetween(0.25, 0.5) > 20);
        QVERIFY(isBetween(0.5, 0.75) > 20);
    }

private:
    const QImage m_picture = Pixels::of(window(), *visible<Banner>());
    const QColor m_ground = window().palette().color(QPalette::Window);
    const Pixels::Found m_figure = Pixels::find(m_picture, m_picture.rect(), isWhite);
};

QTEST_MAIN(FreshForEach<BannerTest>)
#include "BannerTest.moc"
