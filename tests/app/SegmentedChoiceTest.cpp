#include "SegmentedChoice.h"

#include "Look.h"
#include "Pixels.h"
#include "Table.h"

#include <QAbstractButton>
#include <QPointer>

#include <memory>

using namespace Qt::StringLiterals;

/// A choice of two entries on a window of its own.
class SegmentedChoiceTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_window = std::make_unique<QWidget>(); }
    void cleanup() { m_window.reset(); }

    void theChosenEntryIsFilledAndTheOtherLiesOnTheTrack_data()
    {
        const auto row = table<Appearance, int>("appearance", "chosen");
        for (const int chosen : { 0, 1 }) {
            row("light", Look::light(), chosen);
            row("dark", Look::dark(), chosen);
            row("violet", { .accent = QColor(0x91, 0x41, 0xac) }, chosen);
            row("high contrast", { .contrast = Appearance::Contrast::High }, chosen);
        }
    }

    void theChosenEntryIsFilledAndTheOtherLiesOnTheTrack()
    {
        QFETCH(const Appearance, appearance);
        QFETCH(const int, chosen);
        const Look::Desktop desktop(appearance);
        const Tokens &tokens = Look::style().tokens();
        show(chosen);
        const QColor track = Contrast::over(tokens.segmentTrack, tokens.window);
        for (int entry = 0; entry < 2; ++entry) {
            const QColor ground(entry == chosen ? tokens.accent.rgb() : track.rgb());
            const QImage segment = Pixels::of(*m_window, *segments().at(entry));
            // Away from the corners and from the letters.
            QCOMPARE_LE(Pixels::distance(segment.pixelColor(8, 3), ground), 2);
            QCOMPARE_GE(Contrast::between(Pixels::ink(segment.copy(8, 3, 80, 20), ground), ground), 4.5);
        }
        Pixels::verifyCorners(Pixels::of(*m_window, *segments().at(chosen)), track, 6);
        const QImage picture = Pixels::of(*m_window, *m_choice);
        QCOMPARE_GE(Contrast::between(picture.pixelColor(100, 0), tokens.window), 1.3);
    }

    void itIs30HighAndMoreWithALargerText()
    {
        show(0);
        QCOMPARE(m_choice->sizeHint().height(), 30);
        QCOMPARE(segments().first()->height(), 26);
        QCOMPARE(m_choice->mapFromGlobal(segments().first()->mapToGlobal(QPoint(0, 0))), QPoint(2, 2));
        const Look::Desktop desktop(Look::font(24));
        show(0);
        QCOMPARE_GT(segments().first()->height(), QFontMetrics(QApplication::font()).height());
    }

    void theChoiceMovesNothing()
    {
        show(0);
        const QRect before = segments().first()->geometry();
        segments().last()->click();
        QTest::qWait(1);
        QCOMPARE(segments().first()->geometry(), before);
    }

    void anotherAppearanceIsPaintedAtOnce()
    {
        show(0);
        const auto ground = [this] { return Pixels::of(*m_window, *segments().first()).pixelColor(8, 3); };
        const QColor before = ground();
        const Look::Desktop dark(Look::dark());
        QVERIFY(ground() != before);
    }

private:
    void show(int chosen)
    {
        delete m_choice;
        m_choice = new SegmentedChoice({ u"Windowed"_s, u"Fullscreen"_s }, chosen, m_window.get());
        m_choice->resize(m_choice->sizeHint().expandedTo({ 240, 30 }));
        m_choice->move(10, 10);
        m_window->resize(400, 80);
        m_window->show();
        m_choice->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        // Without the ring around the focus.
        if (QWidget *focused = QApplication::focusWidget())
            focused->clearFocus();
    }

    QList<QAbstractButton *> segments() const { return m_choice->findChildren<QAbstractButton *>(); }

    std::unique_ptr<QWidget> m_window;
    QPointer<SegmentedChoice> m_choice;
};

QTEST_MAIN(SegmentedChoiceTest)
#include "SegmentedChoiceTest.moc"
