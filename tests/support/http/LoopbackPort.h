#pragma once

#include <QtGlobal>

#include <vector>

/// Returns a TCP socket that is bound to a free loopback port, but does not listen. The caller closes it.
int boundLoopbackSocket(quint16 *port);

/// A loopback port that refuses every connection for as long as the object lives.
class RefusingPort final {
public:
    RefusingPort();
    ~RefusingPort();
    RefusingPort(const RefusingPort &) = delete;
    RefusingPort &operator=(const RefusingPort &) = delete;
    quint16 port() const { return m_port; }

private:
    quint16 m_port = 0;
    int m_socket = -1;
};

/// A loopback port that never answers an attempt to connect, like a machine that is switched off.
class SilentPort final {
public:
    SilentPort();
    ~SilentPort();
    SilentPort(const SilentPort &) = delete;
    SilentPort &operator=(const SilentPort &) = delete;
    quint16 port() const { return m_port; }

private:
    quint16 m_port = 0;
    int m_socket = -1;
    std::vector<int> m_fillers; // fill the listen backlog
};
