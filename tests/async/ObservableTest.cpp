#include "Observable.h"

#include <QTest>

#include <optional>

namespace {

class Thermometer final : public Observable {
public:
    Published<int> degrees { this, 20 };
    Published<QList<int>> readings { this };
};

}

class ObservableTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aFieldHoldsItsOldValueWhileTheChangeIsAnnounced()
    {
        Thermometer thermometer;
        std::optional<int> whileAnnounced;
        connect(&thermometer, &Observable::willChange, this,
                [&] { whileAnnounced = thermometer.degrees.get(); });
        thermometer.degrees = 25;
        QCOMPARE(whileAnnounced, std::optional<int>(20));
        QCOMPARE(thermometer.degrees.get(), 25);
    }

    void everyAssignmentIsAnnouncedEqualValuesIncluded()
    {
        Thermometer thermometer;
        int announcements = 0;
        connect(&thermometer, &Observable::willChange, this, [&] { ++announcements; });
        thermometer.degrees = 20;
        thermometer.degrees = 20;
        QCOMPARE(announcements, 2);
    }

    void anEditInPlaceIsAnnouncedOnceBeforeItHappens()
    {
        Thermometer thermometer;
        QList<qsizetype> sizesWhenAnnounced;
        connect(&thermometer, &Observable::willChange, this,
                [&] { sizesWhenAnnounced.append(thermometer.readings->size()); });
        thermometer.readings.change([](QList<int> &readings) {
            readings.append(1);
            readings.append(2);
        });
        QCOMPARE(sizesWhenAnnounced, QList<qsizetype>({ 0 }));
        QCOMPARE(thermometer.readings->size(), 2);
    }
};

QTEST_GUILESS_MAIN(ObservableTest)
#include "ObservableTest.moc"
