#include "Observable.h"

#include <QTest>

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
    void everyAssignmentIsAnnouncedBeforeItHappensEqualValuesIncluded()
    {
        Thermometer thermometer;
        QList<int> whenAnnounced;
        connect(&thermometer, &Observable::willChange, this,
                [&] { whenAnnounced.append(thermometer.degrees.get()); });
        thermometer.degrees = 25;
        thermometer.degrees = 25;
        QCOMPARE(whenAnnounced, QList<int>({ 20, 25 }));
        QCOMPARE(thermometer.degrees.get(), 25);
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
