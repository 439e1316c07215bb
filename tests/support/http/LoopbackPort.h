#pragma once

#include <QString>
#include <QUrl>

#include <vector>

/// A TCP port on the loopback interface, taken for as long as the object lives.
class LoopbackPort {
public:
    LoopbackPort();
    ~LoopbackPort();
    LoopbackPort(const LoopbackPort &) = delete;
    LoopbackPort &operator=(const LoopbackPort &) = delete;

    /// The bound socket, which does not listen yet.
    int socket() const { return m_socket; }
    quint16 port() const { return m_port; }
    QUrl url(const QString &path) const;

private:
    int m_socket = -1;
    quint16 m_port = 0;
};

/// Refuses every connection.
class RefusingPort final : public LoopbackPort { };

/// Never answers an attempt to connect, like a machine that is switched off.
class SilentPort final : public LoopbackPort {
public:
    SilentPort();
    ~SilentPort();

private:
    std::vector<int> m_fillers; // fill the listen backlog
};
