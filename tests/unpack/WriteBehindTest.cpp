#include "WriteBehind.h"

#include "OrdinaryUser.h"
#include "ThreadLimit.h"
#include "UnpackError.h"

#include <QTest>

#include <thread>
#include <vector>

namespace {

/// Hands over `count` blocks; the n-th consists of n bytes of value n. Returns all of them.
std::vector<unsigned char> handOver(WriteBehind &writing, std::size_t count)
{
    std::vector<unsigned char> bytes;
    for (std::size_t number = 1; number <= count; ++number) {
        std::fill_n(writing.block().begin(), number, static_cast<unsigned char>(number));
        writing.hand(number);
        bytes.insert(bytes.end(), number, static_cast<unsigned char>(number));
    }
    writing.finish();
    return bytes;
}

/// Whether all blocks are written, in their order, and on another thread or on this one.
bool areWritten(std::size_t count, bool onAnotherThread)
{
    std::vector<unsigned char> written;
    bool isThere = true;
    const auto here = std::this_thread::get_id();
    WriteBehind writing([&](Bytes bytes) {
        isThere = isThere && (std::this_thread::get_id() != here) == onAnotherThread;
        written.insert(written.end(), bytes.begin(), bytes.end());
    });
    return handOver(writing, count) == written && isThere;
}

}

class WriteBehindTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void blocksAreWrittenInTheirOrderOnAnotherThread() { QVERIFY(areWritten(200, true)); }

    void nothingIsWrittenAfterAnError()
    {
        for (const int failing : { 1, 5, 20 }) { // the first block, one in the middle, the last
            int writes = 0;
            WriteBehind writing([&](Bytes) {
                if (++writes == failing)
                    throw UnpackError("The disk is full.");
            });
            QVERIFY_THROWS_EXCEPTION(UnpackError, handOver(writing, 20));
            QCOMPARE(writes, failing);
        }
    }

    void whatWasNotFinishedIsGivenUp()
    {
        int writes = 0;
        {
            WriteBehind writing([&](Bytes) { ++writes; });
            writing.block();
        }
        QCOMPARE(writes, 0);
    }

    void blocksAreWrittenAtOnceWhereThereIsNoOtherThread()
    {
        QVERIFY(OrdinaryUser::run([] {
            const ThreadLimit none;
            return areWritten(20, false);
        }));
    }
};

QTEST_GUILESS_MAIN(WriteBehindTest)
#include "WriteBehindTest.moc"
