// The first press of Play, with nothing installed: how long the game takes, and how long the engine.

#include "CodeHost.h"
#include "MeasuredModel.h"
#include "Stopwatch.h"

#include <QGuiApplication>

#include <cstdlib>
#include <optional>

namespace {

class Watch final {
public:
    explicit Watch(AppModel &model)
        : m_model(model)
    {
    }

    void look()
    {
        const auto *const failure = &m_model.failureMessage.get();
        if (failure->has_value()) {
            std::fprintf(stderr, "%s\n", qPrintable(**failure));
            std::_Exit(1);
        }
        if (!m_game && m_model.stepText->startsWith(QLatin1StringView("Step 2")))
            m_game = m_stopwatch.milliseconds();
        if (!m_engine && m_model.stepText->startsWith(QLatin1StringView("Step 3"))) {
            m_engine = m_stopwatch.milliseconds() - *m_game;
            m_model.cancel();
        }
        if (m_engine && !m_model.isWorking())
            QCoreApplication::quit();
    }

    void tell() const
    {
        report("game", *m_game);
        report("engine", *m_engine);
    }

private:
    AppModel &m_model;
    const Stopwatch m_stopwatch;
    std::optional<double> m_game;
    std::optional<double> m_engine;
};

}

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    if (argc != 2)
        return 2;
    CodeHost::setAddress(QUrl(QString::fromLocal8Bit(argv[1])));
    MeasuredModel measured;
    Watch watch(measured.model);
    // willChange comes before the change, which can be seen on the next turn of the event loop.
    QObject::connect(
        &measured.model, &Observable::willChange, &measured.model, [&watch] { watch.look(); },
        Qt::QueuedConnection);
    measured.model.play();
    const int status = QCoreApplication::exec();
    watch.tell();
    return status;
}
