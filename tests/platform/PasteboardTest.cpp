#include "Pasteboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QTest>

class PasteboardTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aTextReplacesWhatThePasteboardHeld()
    {
        DesktopPasteboard pasteboard;
        pasteboard.setText(QStringLiteral("before"));
        pasteboard.setText(QStringLiteral("The game stopped.\nline 1\nline 2"));
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("The game stopped.\nline 1\nline 2"));
    }

    void aSingleLineFeedIsAText()
    {
        DesktopPasteboard pasteboard;
        pasteboard.setText(QStringLiteral("\n"));
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("\n"));
    }
};

QTEST_MAIN(PasteboardTest)
#include "PasteboardTest.moc"
