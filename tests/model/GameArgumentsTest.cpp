#include "GameArguments.h"

#include "Rows.h"

using namespace Qt::StringLiterals;

class GameArgumentsTest final : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theProjectIsFollowedByWhatTheSettingsAskFor_data()
    {
        const auto row = rows([](bool fullscreen, const QString &resolution, const QStringList &arguments) {
            QCOMPARE(gameArguments(u"/games/my game"_s, fullscreen, resolution),
                     QStringList({ u"--path"_s, u"/games/my game"_s }) + arguments);
        });
        const QStringList fullscreen { u"--fullscreen"_s };
        const QStringList windowed { u"--windowed"_s };
        row("full screen leaves the size out", true, u"1280x720"_s, fullscreen);
        row("full screen at the default size", true, u"default"_s, fullscreen);
        row("the default size is not passed", false, u"default"_s, windowed);
        for (const QString &size : { u"1600x900"_s, u"12x"_s, u"Default"_s, QString() })
            row(qPrintable(u"the size \"%1\" is passed as it is stored"_s.arg(size)), false, size,
                windowed + QStringList { u"--resolution"_s, size });
    }
    void theProjectIsFollowedByWhatTheSettingsAskFor() { runRow(); }
};

QTEST_GUILESS_MAIN(GameArgumentsTest)
#include "GameArgumentsTest.moc"
