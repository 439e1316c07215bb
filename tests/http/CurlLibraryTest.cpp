#include "CurlLibrary.h"

#include <QTest>

class CurlLibraryTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void itIsLoadedOnceAndForAll()
    {
        const CurlLibrary *const library = CurlLibrary::loaded();
        QVERIFY(library);
        QCOMPARE(CurlLibrary::loaded(), library);
        QCOMPARE(QByteArray(library->curl_easy_strerror(CURLE_OK)), QByteArray("No error"));
    }

    void whereThereIsNoneThereIsNone() { QVERIFY(!CurlLibrary::load("libcurl.so.does-not-exist")); }

    void aLibraryThatLacksSomethingIsNone() { QVERIFY(!CurlLibrary::load("libc.so.6")); }
};

QTEST_GUILESS_MAIN(CurlLibraryTest)
#include "CurlLibraryTest.moc"
