#include "WriteBehind.h"

#include "OrdinaryUser.h"
#include "ThreadLimit.h"
#include "UnpackError.h"

#include <QTest>

#include <thread>
#include <vector>

namespace {

/// Hands over `count` blocks; the n-th consists of n bytes of value n.
void handOver(WriteBehind &writing, std::size_t count)
{
    for (std::size_t number = 1; number <= count; ++number) {
        const std::span<unsigned char> block = writing.block();
        std::fill_n(block.begin(), number, static_cast<unsigned char>(number));
        writing.hand(number);
    }
    writing.finish();
}

bool isWhole(const std::vector<unsigned char> &written, std::size_t count)
{
    std::vector<unsigned char> expected;
    for (std::size_t number = 1; number <= count; ++number)
        expected.insert(expected.end(), number, static_cast<unsigned char>(number));
    return written == expected;
}

}

class WriteBehindTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void blocksAreWrittenInTheirOrderOnAnotherThread()
    {
        std::vector<unsigned char> written;
        bool isOther = true;
        const auto here = std::this_thread::get_id();
        WriteBehind writing([&](Bytes bytes) {
            isOther = isOther && std::this_thread::get_id() != here;
            written.insert(written.end(), bytes.begin(), bytes.end());
        });
        handOver(writing, 200);
        QVERIFY(isOther);
        QVERIFY(isWhole(written, 200));
    }

    void nothingIsWrittenAfterAnError_data()
    {
        QTest::addColumn<int>("failing");
        QTest::newRow("the first block") << 1;
        QTest::newRow("a block in the middle") << 5;
        QTest::newRow("the last block") << 20;
    }

    void nothingIsWrittenAfterAnError()
    {
        QFETCH(int, failing);
        int writes = 0;
        WriteBehind writing([&](Bytes) {
            if (++writes == failing)
                throw UnpackError("The disk is full.");
        });
        QVERIFY_THROWS_EXCEPTION(UnpackError, handOver(writing, 20));
        QCOMPARE(writes, failing);
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
        const bool isWritten = OrdinaryUser::run([] {
            const ThreadLimit none;
            std::vector<unsigned char> written;
            bool isHere = true;
            const auto here = std::this_thread::get_id();
            WriteBehind writing([&](Bytes bytes) {
                isHere = isHere && std::this_thread::get_id() == here;
                written.insert(written.end(), bytes.begin(), bytes.end());
            });
            handOver(writing, 20);
            return isHere && isWhole(written, 20);
        });
        QVERIFY(isWritten);
    }
};

QTEST_GUILESS_MAIN(WriteBehindTest)
#include "WriteBehindTest.moc"
