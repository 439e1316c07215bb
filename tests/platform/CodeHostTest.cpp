#include "CodeHost.h"

#include <QTest>

class CodeHostTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { CodeHost::setAddress(CodeHost::official()); }

    void theOfficialAddressHoldsUntilAnotherIsSet()
    {
        QCOMPARE(CodeHost::address(), QUrl(QStringLiteral("https://github.com")));
        CodeHost::setAddress(QUrl(QStringLiteral("http://127.0.0.1:8080")));
        QCOMPARE(CodeHost::address(), QUrl(QStringLiteral("http://127.0.0.1:8080")));
    }

    void aPathFollowsTheAddress()
    {
        QCOMPARE(CodeHost::url(QStringLiteral("/a/b.zip")).toString(),
                 QStringLiteral("https://github.com/a/b.zip"));
        CodeHost::setAddress(QUrl(QStringLiteral("http://127.0.0.1:8080")));
        QCOMPARE(CodeHost::url(QStringLiteral("/a/b.zip")).toString(),
                 QStringLiteral("http://127.0.0.1:8080/a/b.zip"));
    }

    void whatMakesNoAddressIsNotValid_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("no slash, which would change the host") << QStringLiteral(".example.org/x");
        QTest::newRow("empty") << QString();
        QTest::newRow("a space") << QStringLiteral("/a b");
        QTest::newRow("a line feed") << QStringLiteral("/a\nb");
        QTest::newRow("a broken escape") << QStringLiteral("/a%zz");
    }

    void whatMakesNoAddressIsNotValid()
    {
        QFETCH(QString, path);
        QVERIFY(!CodeHost::url(path).isValid());
    }
};

QTEST_GUILESS_MAIN(CodeHostTest)
#include "CodeHostTest.moc"
