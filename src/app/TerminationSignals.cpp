#include "TerminationSignals.h"

#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

namespace {

constexpr std::array signalNumbers = { SIGTERM, SIGINT, SIGHUP };

/// The pipe's write end. A signal handler may do little more than write to it.
volatile std::sig_atomic_t writeEnd = -1;

extern "C" void noteSignal(int /*number*/)
{
    const int errorBefore = errno;
    const char byte = 0;
    // If the pipe is full, the main thread is already due to be woken.
    [[maybe_unused]] const ssize_t written = ::write(writeEnd, &byte, 1);
    errno = errorBefore;
}

}

TerminationSignals::TerminationSignals(QObject *parent)
    : QObject(parent)
{
    std::array<int, 2> ends = { -1, -1 };
    if (::pipe(ends.data()) != 0)
        return; // the signals then end the process at once, as they do by default
    for (const int end : ends) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    m_readEnd = ends[0];
    writeEnd = ends[1];

    auto *notifier = new QSocketNotifier(m_readEnd, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &TerminationSignals::takeFromPipe);

    struct sigaction action = {};
    action.sa_handler = noteSignal;
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    for (const int number : signalNumbers) {
        struct sigaction before = {};
        // A signal that was already ignored when we were started (nohup) stays ignored.
        if (::sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            ::sigaction(number, &action, nullptr);
    }
}

TerminationSignals::~TerminationSignals()
{
    if (m_readEnd < 0)
        return;
    for (const int number : signalNumbers) {
        struct sigaction now = {};
        if (::sigaction(number, nullptr, &now) == 0 && now.sa_handler == noteSignal)
            std::signal(number, SIG_DFL);
    }
    ::close(writeEnd);
    ::close(m_readEnd);
    writeEnd = -1;
}

void TerminationSignals::takeFromPipe()
{
    std::array<char, 16> bytes = {};
    while (::read(m_readEnd, bytes.data(), bytes.size()) > 0) { }
    Q_EMIT received();
}
