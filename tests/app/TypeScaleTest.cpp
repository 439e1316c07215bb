#include "TypeScale.h"

#include <QFontDatabase>
#include <QFontMetrics>
#include <QTest>

using namespace Qt::StringLiterals;

/// A desktop whose "monospace" is a proportional font, although a monospaced one is installed.
class TypeScaleTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (QFontInfo(QFontDatabase::systemFont(QFontDatabase::FixedFont)).fixedPitch())
            QSKIP("The fonts of this machine are seen here, with a rule that finds the monospaced one.");
    }

    void logsHaveAMonospacedFontWhateverTheDesktopCallsOne()
    {
        const QFont font = TypeScale::fixedWidth();
        QCOMPARE(QFontInfo(font).family(), u"DejaVu Sans Mono"_s);
        QVERIFY(QFontInfo(font).fixedPitch());
        const QFontMetrics metrics(font);
        QCOMPARE(metrics.horizontalAdvance(u"iiii"_s), metrics.horizontalAdvance(u"MMMM"_s));
        QCOMPARE(font.pointSizeF(), 11.0);
    }
};

QTEST_MAIN(TypeScaleTest)
#include "TypeScaleTest.moc"
