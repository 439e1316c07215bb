#pragma once

#include <QObject>

/// Turns SIGTERM, SIGINT and SIGHUP into one signal on the main thread, so that the launcher can end what it
/// runs. The same signal a second time ends the process at once. One at a time. Main thread.
class TerminationSignals final : public QObject {
    Q_OBJECT

public:
    explicit TerminationSignals(QObject *parent = nullptr);
    ~TerminationSignals() override;

Q_SIGNALS:
    void received();

private:
    void takeFromPipe();

    int m_readEnd = -1;
};
