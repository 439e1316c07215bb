#include "CurlLibrary.h"

#include <QTest>

class CurlLibraryTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theLibraryIsLoadedOnce()
    {
        const CurlLibrary *const library = CurlLibrary::loaded();
        QVERIFY(library);
        QCOMPARE(CurlLibrary::loaded(), library);
        QCOMPARE(QByteArray(library->curl_easy_strerror(CURLE_OK)), QByteArray("No error"));
    }

    void aLibraryThatDoesNotExistIsNotLoaded() { QVERIFY(!CurlLibrary::load("libcurl.so.does-not-exist")); }

    void aLibraryThatLacksAFunctionIsNotLoaded() { QVERIFY(!CurlLibrary::load("libc.so.6")); }
};

QTEST_GUILESS_MAIN(CurlLibraryTest)
#include "CurlLibraryTest.moc"
