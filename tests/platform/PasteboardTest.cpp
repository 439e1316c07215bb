#include "Pasteboard.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QTest>

using namespace Qt::StringLiterals;

class PasteboardTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aTextReplacesWhatThePasteboardHeld()
    {
        DesktopPasteboard pasteboard;
        for (const QString &text : { u"before"_s, u"The game stopped.\nline 1\nline 2"_s, u"\n"_s }) {
            pasteboard.setText(text);
            QCOMPARE(QGuiApplication::clipboard()->text(), text);
        }
    }
};

QTEST_MAIN(PasteboardTest)
#include "PasteboardTest.moc"
