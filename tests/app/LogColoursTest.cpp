// Lines with codes for colours, as the log and a failure show them.

#include "LogText.h"

#include "Contrast.h"
#include "Look.h"
#include "Samples.h"
#include "Table.h"

#include <QClipboard>
#include <QScrollBar>
#include <QTextBlock>

#include <ctime>

namespace {

const QString red = u"\u001b[31m"_s;
const QString green = u"\u001b[92m"_s;
const QString off = u"\u001b[0m"_s;

}

class LogColoursTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        Look::style();
        m_text = std::make_unique<LogText>();
        m_text->resize(500, 180);
        m_text->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_text.get()));
    }
    void cleanup() { m_text.reset(); }

    void noCodeIsShownAsASign()
    {
        show({ red + u"ERROR:"_s + off + u" no scene"_s, u"broken \u001b[3"_s, u"\u001b"_s });
        QCOMPARE(m_text->toPlainText(), u"ERROR: no scene\nbroken \n"_s);
    }

    void everyColourCanBeReadOnEveryGround_data()
    {
        const auto row = table<Appearance, double>("appearance", "ratio");
        for (const auto &[scheme, name] :
             { std::pair { Appearance::Scheme::Light, "light" }, { Appearance::Scheme::Dark, "dark" } }) {
            row(name, { .scheme = scheme }, 4.5);
            row(qPrintable(u"%1, high contrast"_s.arg(QLatin1StringView(name))),
                { .scheme = scheme, .contrast = Appearance::Contrast::High }, 7);
        }
    }

    void everyColourCanBeReadOnEveryGround()
    {
        QFETCH(const Appearance, appearance);
        QFETCH(const double, ratio);
        QStringList lines;
        for (int colour = 0; colour < 256; ++colour)
            lines << u"\u001b[38;5;%1mx"_s.arg(colour);
        show(lines);
        // The lines that are shown already follow.
        const Look::Desktop desktop(appearance);
        const Tokens &tokens = Look::style().tokens();
        QTRY_COMPARE(m_text->palette().color(QPalette::Window), tokens.window);
        for (QTextBlock block = m_text->document()->begin(); block.isValid(); block = block.next()) {
            const auto formats = block.layout()->formats();
            QCOMPARE(formats.size(), 1);
            const QColor ink = formats.first().format.foreground().color();
            for (const QColor &ground : { tokens.window, Contrast::over(tokens.failurePanel, tokens.window) })
                QCOMPARE_GE(Contrast::between(ink, Contrast::over(tokens.well, ground)), ratio);
        }
    }

    void aColourIsSeenInThePicture()
    {
        show({ u"\u001b[31mHHHH"_s });
        const auto reddest = [this] {
            const QImage picture = m_text->grab().toImage();
            int most = 0;
            for (int y = 8; y < 24; ++y) {
                for (int x = 8; x < 40; ++x) {
                    const QColor pixel = picture.pixelColor(x, y);
                    most = std::max(most, pixel.red() - std::max(pixel.green(), pixel.blue()));
                }
            }
            return most;
        };
        QCOMPARE_GT(reddest(), 100);
        show({ u"HHHH"_s });
        QCOMPARE_LT(reddest(), 20);
    }

    void allThatIsSelectedIsCopiedExactly()
    {
        const QStringList lines { red + u"one"_s + off, u"two"_s, off, u"th"_s + green + u"ree"_s,
                                  off + red };
        show(lines);
        QCOMPARE(copied(0, 1000), lines.join(u'\n'));
    }

    void aPartOfALineIsCopiedFromItsFirstToItsLastLetter_data()
    {
        const auto row = table<int, int, QString>("from", "to", "copied");
        // What is shown: "ERROR: no scene", and "next" below it.
        row("the beginning", 0, 3, red + u"ERR"_s);
        row("up to a code", 0, 6, red + u"ERROR:"_s);
        row("after a code", 6, 9, u" no"_s);
        row("across a code", 4, 9, u"R:"_s + off + u" no"_s);
        row("between two codes", 7, 9, u"no"_s);
        row("the end", 10, 15, u"scene"_s + off);
        row("the whole line", 0, 15, red + u"ERROR:"_s + off + u" no "_s + green + u"scene"_s + off);
        row("into the next line", 10, 18, u"scene"_s + off + u"\nne"_s);
    }

    void aPartOfALineIsCopiedFromItsFirstToItsLastLetter()
    {
        QFETCH(const int, from);
        QFETCH(const int, to);
        show({ red + u"ERROR:"_s + off + u" no "_s + green + u"scene"_s + off, u"next"_s });
        QTEST(copied(from, to), "copied");
    }

    void aCodeIsNotCutWhereALongLineIs()
    {
        // At each place around the first cut.
        for (int length = 2030; length < 2060; ++length) {
            const QString line
                = QString(length, u'x') + u"\u001b[38;2;200;100;50m"_s + QString(3000, u'y') + off;
            show({ line });
            QCOMPARE(m_text->toPlainText().remove(u'\n'), QString(length, u'x') + QString(3000, u'y'));
            QCOMPARE(copied(0, 100000), line);
        }
        // The colour goes on in the next piece, and ends with the line.
        show({ red + QString(5000, u'z'), u"plain"_s });
        const QTextDocument *document = m_text->document();
        QCOMPARE(document->findBlockByNumber(2).layout()->formats().size(), 1);
        QCOMPARE(document->lastBlock().layout()->formats().size(), 0);
    }

    void linesKeepTheirColoursWhenOlderOnesAreDropped()
    {
        QStringList lines;
        for (int number = 0; number < 200; ++number)
            lines << (number % 3 == 0 ? red + QString::number(number) + off : QString::number(number));
        show(lines);
        while (lines.size() > 2) {
            lines.remove(0, 2);
            lines << lines.takeFirst();
            show(lines);
            QCOMPARE(copied(0, 100000), lines.join(u'\n'));
            for (QTextBlock block = m_text->document()->begin(); block.isValid(); block = block.next()) {
                const bool isRed = block.text().toInt() % 3 == 0;
                QCOMPARE(block.layout()->formats().size(), isRed ? 1 : 0);
            }
            lines.removeLast();
        }
    }

    void linesFullOfCodesAreShownQuickly_data()
    {
        const auto row = table<QString, int, int>("part", "repetitions", "lines");
        row("only codes", u"\u001b[31m\u001b[0m"_s, 100'000, 1);
        row("only escapes", u"\u001b"_s, 1'000'000, 1);
        row("a new colour for each letter", u"\u001b[31ma\u001b[32mb"_s, 80'000, 1);
        row("a mixture for each letter", u"\u001b[38;2;1;2;3ma\u001b[38;2;255;2;3mb"_s, 30'000, 1);
        row("endless numbers", u"\u001b[1111111111111111111111111111111111111111111111111111111111111111"_s,
            15'000, 1);
        row("a full log of colours", u"\u001b[31mred\u001b[0m and "_s, 6, 3000);
    }

    void linesFullOfCodesAreShownQuickly()
    {
        QFETCH(const QString, part);
        QFETCH(const int, repetitions);
        QFETCH(const int, lines);
        QStringList all;
        for (int line = 0; line < lines; ++line)
            all << part.repeated(repetitions);
        const std::clock_t start = std::clock();
        show(all);
        m_text->scrollToEnd();
        m_text->grab();
        const Look::Desktop dark(Look::dark());
        QCoreApplication::processEvents();
        m_text->grab();
        const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        qInfo("%s: %.2f s", QTest::currentDataTag(), seconds);
        QVERIFY(seconds < 5);
        QVERIFY(!m_text->toPlainText().contains(u'\u001b') && !m_text->toPlainText().contains(u'\u241b'));
        QVERIFY(copied(0, INT_MAX) == all.join(u'\n'));
    }

private:
    void show(const QStringList &lines)
    {
        while (!m_text->showLines(lines)) { }
    }

    QString copied(int from, int to)
    {
        QTextCursor cursor = m_text->textCursor();
        const int last = m_text->document()->characterCount() - 1;
        cursor.setPosition(std::min(from, last));
        cursor.setPosition(std::min(to, last), QTextCursor::KeepAnchor);
        m_text->setTextCursor(cursor);
        QGuiApplication::clipboard()->clear();
        m_text->copy();
        return QGuiApplication::clipboard()->text();
    }

    std::unique_ptr<LogText> m_text;
};

QTEST_MAIN(LogColoursTest)
#include "LogColoursTest.moc"
