#pragma once

#include <QObject>

/// Turns SIGTERM, SIGINT and SIGHUP into a Qt signal on the main thread, so that the launcher can stop what
/// it runs. The same signal a second time ends the process at once. At most one instance exists at a time.
/// Main thread.
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
