#include "Banner.h"

#include "Pixels.h"
#include "Stage.h"

namespace {

/// RGB 0.25, 0.55, 0.95 and 0.35, 0.8, 0.5.
const QColor begin(64, 140, 242);
const QColor end(89, 204, 128);

bool isWhite(const QColor &colour) { return Pixels::distance(colour, Qt::white) < 12; }

/// The position of the pixel that comes closest to `colour`, and the difference between them.
std::pair<QPoint, int> nearest(const QImage &image, const QColor &colour)
{
    QPoint place;
    int least = 256;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int distance = Pixels::distance(image.pixelColor(x, y), colour);
            if (distance < least) {
                least = distance;
                place = QPoint(x, y);
            }
        }
    }
    return { place, least };
}

int darkest(const QImage &image, const QRect &area)
{
    int least = 255;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x)
            least = std::min(least, qGray(image.pixel(x, y)));
    }
    return least;
}

}

class BannerTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_stage.reset(); }
    void itIsAsWideAsTheWindowAnd130High();
    void theGroundGoesFromBlueToGreen();
    void theCornersHaveTheirRadius();
    void aWhiteFigureOf64PointsStandsInTheMiddle();
    void theFigureHasASoftDarkShadow();

private:
    std::unique_ptr<Stage> m_stage;
    QImage m_picture;
};

void BannerTest::init()
{
    m_stage = std::make_unique<Stage>();
    m_stage->open();
    m_picture = Pixels::of(*m_stage->window, *m_stage->visible<Banner>());
}

void BannerTest::itIsAsWideAsTheWindowAnd130High()
{
    QCOMPARE(m_picture.size(), QSize(600 - 2 * 20, 130));
    // The background reaches all four sides.
    const QColor window = m_stage->window->palette().color(QPalette::Window);
    for (const QPoint &side : { QPoint(0, 65), QPoint(559, 65), QPoint(280, 0), QPoint(280, 129) })
        QVERIFY(Pixels::distance(m_picture.pixelColor(side), window) > 60);
}

void BannerTest::theGroundGoesFromBlueToGreen()
{
    const auto [first, blueIsOff] = nearest(m_picture, begin);
    const auto [last, greenIsOff] = nearest(m_picture, end);
    QVERIFY2(blueIsOff <= 6, qPrintable(QString::number(blueIsOff)));
    QVERIFY2(greenIsOff <= 6, qPrintable(QString::number(greenIsOff)));
    QVERIFY(first.x() < last.x() || first.y() < last.y());
    QVERIFY(first.x() <= m_picture.width() / 2 && first.y() <= m_picture.height() / 2);
    // The colour halfway between the two occurs as well.
    const QColor halfway((begin.red() + end.red()) / 2, (begin.green() + end.green()) / 2,
                         (begin.blue() + end.blue()) / 2);
    QVERIFY(nearest(m_picture, halfway).second <= 4);
}

void BannerTest::theCornersHaveTheirRadius()
{
    const QColor window = m_stage->window->palette().color(QPalette::Window);
    for (const Qt::Corner corner : Pixels::corners) {
        const double radius = Pixels::cornerRadius(m_picture, corner, window, 18);
        QVERIFY2(std::abs(radius - 14) < 1, qPrintable(QString::number(radius)));
    }
}

void BannerTest::aWhiteFigureOf64PointsStandsInTheMiddle()
{
    const Pixels::Found figure = Pixels::find(m_picture, m_picture.rect(), isWhite);
    QVERIFY2(std::abs(figure.bounds.height() - 64) <= 8, qPrintable(QString::number(figure.bounds.height())));
    QVERIFY(figure.bounds.width() > 24 && figure.bounds.width() < 80);
    QVERIFY(figure.count > 400);
    const QPoint away = figure.bounds.center() - m_picture.rect().center();
    QVERIFY(std::abs(away.x()) <= 5 && std::abs(away.y()) <= 5);
}

void BannerTest::theFigureHasASoftDarkShadow()
{
    const QRect figure = Pixels::find(m_picture, m_picture.rect(), isWhite).bounds;
    const QRect around = figure.adjusted(-8, -8, 8, 8);
    // Left and right of the figure, beyond the reach of a shadow of radius 4.
    const int ground
        = std::min(darkest(m_picture, QRect(around.left() - 60, around.top(), 40, around.height())),
                   darkest(m_picture, QRect(around.right() + 20, around.top(), 40, around.height())));
    const double darkness = 1 - static_cast<double>(darkest(m_picture, around)) / ground;
    QVERIFY2(darkness > 0.12, qPrintable(QString::number(darkness)));
    // The shadow is black at 33 %, not more.
    QVERIFY2(darkness < 0.36, qPrintable(QString::number(darkness)));
    // Soft: there are shades between the darkest and the background.
    const auto isBetween = [&](double from, double to) {
        return Pixels::find(m_picture, around,
                            [&](const QColor &colour) {
                                const double here = 1 - static_cast<double>(qGray(colour.rgb())) / ground;
                                return here > darkness * from && here < darkness * to;
                            })
            .count;
    };
    QVERIFY(isBetween(0.25, 0.5) > 20);
    QVERIFY(isBetween(0.5, 0.75) > 20);
}

QTEST_MAIN(BannerTest)
#include "BannerTest.moc"
