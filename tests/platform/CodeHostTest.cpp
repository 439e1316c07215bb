#include "CodeHost.h"

#include "Table.h"

using namespace Qt::StringLiterals;

class CodeHostTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { CodeHost::setAddress(CodeHost::official()); }

    void theOfficialAddressHoldsUntilAnotherIsSet()
    {
        QCOMPARE(CodeHost::address(), QUrl(u"https://github.com"_s));
        QCOMPARE(CodeHost::url(u"/a/b.zip"_s).toString(), u"https://github.com/a/b.zip"_s);
        const QUrl other(u"http://127.0.0.1:8080"_s);
        CodeHost::setAddress(other);
        QCOMPARE(CodeHost::address(), other);
        QCOMPARE(CodeHost::url(u"/a/b.zip"_s).toString(), u"http://127.0.0.1:8080/a/b.zip"_s);
    }

    void whatMakesNoAddressIsNotValid_data()
    {
        const auto row = table<QString>("path");
        row("no slash, which would change the host", u".example.org/x"_s);
        row("empty", {});
        row("a space", u"/a b"_s);
        row("a line feed", u"/a\nb"_s);
        row("a broken escape", u"/a%zz"_s);
    }

    void whatMakesNoAddressIsNotValid()
    {
        QFETCH(QString, path);
        QVERIFY(!CodeHost::url(path).isValid());
    }
};

QTEST_GUILESS_MAIN(CodeHostTest)
#include "CodeHostTest.moc"
