#include "RetryPlan.h"
#include "TransferRules.h"

#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

/// Something that happens to a download, as a function that tells the plan and returns the decision in words.
using Event = std::function<QString(RetryPlan &plan)>;

struct Scene {
    Event event;
    QString decision;
};

QString inWords(const RetryPlan &plan, const RetryPlan::Next &next)
{
    const QString pause = u" after %1 s"_s.arg(next.pause.count() / 1000);
    switch (next.step) {
    case RetryPlan::Step::GiveUp:
        return u"give up"_s;
    case RetryPlan::Step::Resume:
        return u"resume at %1 with %2"_s.arg(plan.range()->firstByte)
                   .arg(QString::fromLatin1(plan.range()->validator))
            + pause;
    case RetryPlan::Step::BeginAgain:
        return plan.range() ? u"a range is left"_s : u"begin again"_s + pause;
    }
    return {};
}

/// A response's header with the fields in `fields`, one a line.
Event answer(int status, qint64 length, const QByteArray &fields = {})
{
    HttpAnswer header;
    header.status = status;
    header.length = length;
    const auto lines = fields.split('\n');
    for (const QByteArray &line : lines)
        header.takeField(line.left(line.indexOf(':')), line.mid(line.indexOf(':') + 1).trimmed());
    return [header](RetryPlan &plan) {
        switch (plan.answered(header)) {
        case RetryPlan::Place::Beginning:
            return u"at the beginning of %1"_s.arg(plan.size());
        case RetryPlan::Place::AfterReceived:
            return u"after %1 of %2"_s.arg(plan.received()).arg(plan.size());
        case RetryPlan::Place::Nowhere:
            return u"nowhere"_s;
        }
        return QString();
    };
}

/// The last part of a file of 1000 bytes with the tag "a", from byte `first` on.
Event rest(qint64 first)
{
    return answer(206, 1000 - first,
                  "etag: \"a\"\ncontent-range: bytes " + QByteArray::number(first) + "-999/1000");
}

Event bytes(qint64 count)
{
    return [count](RetryPlan &plan) {
        plan.took(count);
        return u"%1 there"_s.arg(plan.received());
    };
}

const Event whole = answer(200, 1000, "etag: \"a\"");
const Event untagged = answer(200, 1000);
const Event broke = [](RetryPlan &plan) { return inWords(plan, plan.broke()); };
const Event useless = [](RetryPlan &plan) { return inWords(plan, plan.wasUseless()); };
Event refused(int status)
{
    return [status](RetryPlan &plan) { return inWords(plan, plan.refused(status)); };
}

}

class RetryPlanTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aBrokenDownloadGoesOnAsItShould_data()
    {
        QTest::addColumn<QList<Scene>>("scenes");
        const auto row = [](const char *name, const QList<Scene> &scenes) { QTest::newRow(name) << scenes; };
        const Scene begun { whole, u"at the beginning of 1000"_s };
        const Scene begunUntagged { untagged, u"at the beginning of 1000"_s };
        const Scene four { bytes(400), u"400 there"_s };
        const Scene resumed { broke, u"resume at 400 with \"a\" after 1 s"_s };
        const Scene givenUp { broke, u"give up"_s };
        const Scene again { broke, u"begin again after 1 s"_s };
        const Scene againAtOnce { useless, u"begin again after 0 s"_s };

        row("what never got a byte is given up", { givenUp });
        row("nor is a header a byte", { begun, { bytes(0), u"0 there"_s }, givenUp });
        row("a file with length and tag is resumed, as often as bytes come",
            { begun,
              four,
              resumed,
              { rest(400), u"after 400 of 1000"_s },
              { bytes(1), u"401 there"_s },
              { broke, u"resume at 401 with \"a\" after 1 s"_s },
              { rest(401), u"after 401 of 1000"_s },
              { bytes(500), u"901 there"_s },
              { broke, u"resume at 901 with \"a\" after 1 s"_s } });
        row("three tries in a row without a byte end it, after longer and longer pauses",
            { begun,
              four,
              resumed,
              { broke, u"resume at 400 with \"a\" after 2 s"_s },
              { rest(400), u"after 400 of 1000"_s },
              { broke, u"resume at 400 with \"a\" after 4 s"_s },
              givenUp });
        row("a byte makes the pauses short again",
            { begun,
              four,
              resumed,
              { broke, u"resume at 400 with \"a\" after 2 s"_s },
              { rest(400), u"after 400 of 1000"_s },
              { bytes(100), u"500 there"_s },
              { broke, u"resume at 500 with \"a\" after 1 s"_s },
              { broke, u"resume at 500 with \"a\" after 2 s"_s } });

        row("a file without a tag is begun again twice",
            { begunUntagged, four, again, begunUntagged, four, again, begunUntagged, four, givenUp });
        row("a try that gets no answer is no new beginning",
            { begunUntagged,
              four,
              again,
              { broke, u"begin again after 2 s"_s },
              begunUntagged,
              four,
              again,
              begunUntagged,
              four,
              givenUp });
        row("a file without a length is begun again",
            { { answer(200, -1, "etag: \"a\""), u"at the beginning of -1"_s }, four, again });
        row("a file with a weak tag is begun again",
            { { answer(200, 1000, "etag: W/\"a\""), u"at the beginning of 1000"_s }, four, again });
        row("a file in a coding is begun again",
            { { answer(200, 1000, "etag: \"a\"\ncontent-encoding: gzip"), u"at the beginning of 1000"_s },
              four,
              again });
        row("a part that nobody asked for is begun again",
            { { rest(400), u"at the beginning of 600"_s }, four, again });
        row("a file that was begun again without a byte is begun again once more",
            { begunUntagged, four, again, begunUntagged, { broke, u"begin again after 2 s"_s } });
        row("all of a file that still broke is begun again",
            { begun, { bytes(1000), u"1000 there"_s }, again });

        row("the whole file in place of the rest begins anew",
            { begun,
              four,
              resumed,
              begun,
              { bytes(100), u"100 there"_s },
              { broke, u"resume at 100 with \"a\" after 1 s"_s } });
        row("a file that changed begins anew with its new tag",
            { begun,
              four,
              resumed,
              { answer(200, 2000, "etag: \"b\""), u"at the beginning of 2000"_s },
              { bytes(100), u"100 there"_s },
              { broke, u"resume at 100 with \"b\" after 1 s"_s } });
        row("a server that always begins anew is given up",
            { begun,
              four,
              resumed,
              begun,
              four,
              resumed,
              begun,
              four,
              resumed,
              { whole, u"nowhere"_s },
              { useless, u"give up"_s } });

        const auto notContinued = [&](const char *name, const Event &other) {
            row(name, { begun, four, resumed, { other, u"nowhere"_s }, againAtOnce, begun });
        };
        const auto part = [](const QByteArray &range, qint64 length = 600) {
            return answer(206, length, "etag: \"a\"\ncontent-range: " + range);
        };
        notContinued("from another place", part("bytes 401-999/1000", 599));
        notContinued("from the beginning after all", part("bytes 0-999/1000", 1000));
        notContinued("not to the end", part("bytes 400-998/1000", 599));
        notContinued("of a longer file", part("bytes 400-1000/1001", 601));
        notContinued("of a file of unknown length", part("bytes 400-999/*"));
        notContinued("with fewer bytes than it says", part("bytes 400-999/1000", 599));
        notContinued("with an unknown number of bytes", part("bytes 400-999/1000", -1));
        notContinued("in another unit", part("lines 400-999/1000"));
        notContinued("with two ranges", part("bytes 400-999/1000\ncontent-range: bytes 400-999/1000"));
        notContinued("without a range", answer(206, 600, "etag: \"a\""));
        notContinued("with another tag", answer(206, 600, "etag: \"b\"\ncontent-range: bytes 400-999/1000"));
        notContinued("without a tag", answer(206, 600, "content-range: bytes 400-999/1000"));
        notContinued("with a weak tag", answer(206, 600, "etag: W/\"a\"\ncontent-range: bytes 400-999/1000"));
        notContinued("with two tags",
                     answer(206, 600, "etag: \"a\"\netag: \"a\"\ncontent-range: bytes 400-999/1000"));
        notContinued(
            "in a coding",
            answer(206, 600, "etag: \"a\"\ncontent-encoding: gzip\ncontent-range: bytes 400-999/1000"));

        row("a range that the server refuses is not asked for again",
            { begun, four, resumed, { refused(416), u"begin again after 0 s"_s }, begun });
        row("but without a range that refusal is final", { { refused(416), u"give up"_s } });
        row("any other refusal is final", { begun, four, resumed, { refused(503), u"give up"_s } });
        row("refusing ranges counts as a try without a byte",
            { begun,
              four,
              resumed,
              { refused(416), u"begin again after 0 s"_s },
              { broke, u"begin again after 4 s"_s },
              givenUp });
        row("a server that never continues is begun again twice",
            { begun,
              four,
              resumed,
              { refused(416), u"begin again after 0 s"_s },
              begun,
              four,
              resumed,
              { refused(416), u"begin again after 0 s"_s },
              begun,
              four,
              resumed,
              { refused(416), u"give up"_s } });
    }

    void aBrokenDownloadGoesOnAsItShould()
    {
        QFETCH(QList<Scene>, scenes);
        RetryPlan plan(TransferRules().pauses);
        for (const Scene &scene : scenes)
            QCOMPARE(scene.event(plan), scene.decision);
    }

    void onlyAFileInSeveralTransfersWasResumed()
    {
        RetryPlan plan(TransferRules().pauses);
        whole(plan);
        bytes(400)(plan);
        QVERIFY(!plan.wasResumed());
        broke(plan);
        rest(400)(plan);
        QVERIFY(plan.wasResumed());
        bytes(100)(plan);
        broke(plan);
        whole(plan);
        QVERIFY(!plan.wasResumed());
    }

    void withoutPausesNothingIsRetried()
    {
        RetryPlan plan({});
        whole(plan);
        bytes(400)(plan);
        QCOMPARE(broke(plan), u"give up"_s);
    }
};

QTEST_GUILESS_MAIN(RetryPlanTest)
#include "RetryPlanTest.moc"
