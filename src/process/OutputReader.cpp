#include "OutputReader.h"

#include "MainThread.h"

#include <QByteArray>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <system_error>

namespace {

/// The main thread stores this much in about a millisecond, even when every line is a single letter. A press
/// over the accessibility bus takes hundreds of small requests, and each waits for a turn of the event loop.
constexpr qsizetype pieceSize = 8 * 1024;
/// Enough to keep the reader busy while the main thread stores, few enough for one turn of its event loop.
constexpr int mostNotesOut = 2;

constexpr qsizetype nothingNow = -1;
constexpr qsizetype closed = 0;

}

/// Paces the reader. Other threads report to it, and every report wakes the reader.
class OutputReader::Pace final {
public:
    int open()
    {
        const int error = m_wake.open();
        return error != 0 ? error : stopBlocking(m_wake.writeEnd);
    }

    bool mayRead() const { return m_notesOut < mostNotesOut; }
    bool isChildEnded() const { return m_childEnded; }

    void noteSent() { ++m_notesOut; }
    void noteArrived()
    {
        --m_notesOut;
        wake();
    }
    void childEnded()
    {
        m_childEnded = true;
        wake();
    }

    int wakeDescriptor() const { return m_wake.readEnd.get(); }
    void clearWake() const
    {
        char bytes[64];
        while (::read(m_wake.readEnd.get(), bytes, sizeof bytes) > 0) { }
    }

private:
    void wake() const
    {
        const char byte = 0;
        // A full pipe wakes the reader just as well.
        while (::write(m_wake.writeEnd.get(), &byte, 1) < 0 && errno == EINTR) { }
    }

    Pipe m_wake;
    std::atomic<int> m_notesOut = 0;
    std::atomic<bool> m_childEnded = false;
};

OutputReader::OutputReader(std::function<void(const QString &)> onLine)
    : m_splitter(std::move(onLine))
    , m_pace(std::make_shared<Pace>())
{
}

OutputReader::~OutputReader() { finish(); }

int OutputReader::start()
{
    int error = m_output.open();
    if (error == 0)
        error = m_pace->open();
    if (error != 0)
        return error;
    try {
        m_thread = std::thread([this] { read(); });
    } catch (const std::system_error &noThread) {
        return noThread.code().value();
    }
    return 0;
}

void OutputReader::finish()
{
    if (!m_thread.joinable())
        return;
    m_pace->childEnded();
    m_thread.join();
}

void OutputReader::read()
{
    bool isOpen = true;
    bool isDraining = false;
    qsizetype left = pieceSize; // how many bytes may still be read; counts down once the child has ended
    while (left > 0) {
        pollfd watched[] = { { m_pace->wakeDescriptor(), POLLIN, 0 }, { m_output.readEnd.get(), POLLIN, 0 } };
        const bool mayRead = isOpen && m_pace->mayRead();
        ::poll(watched, mayRead ? 2 : 1, isDraining && mayRead ? 0 : -1);
        m_pace->clearWake();

        if (m_pace->isChildEnded() && !isDraining) {
            // Everything the child wrote is in the pipe by now. What other processes write from here on,
            // perhaps for ever, is not the child's output.
            isDraining = true;
            int available = 0;
            ::ioctl(m_output.readEnd.get(), FIONREAD, &available);
            left = isOpen ? available : 0;
        }
        if (!mayRead || left == 0)
            continue;
        const qsizetype count = readOnce(std::min(left, pieceSize));
        if (count == closed || (count == nothingNow && isDraining))
            isOpen = false;
        if (isDraining)
            left = isOpen ? left - count : 0;
    }
    m_splitter.flush();
}

qsizetype OutputReader::readOnce(qsizetype most)
{
    QByteArray piece(most, Qt::Uninitialized);
    ssize_t count = 0;
    do {
        count = ::read(m_output.readEnd.get(), piece.data(), static_cast<size_t>(most));
    } while (count < 0 && errno == EINTR);
    if (count <= 0)
        return count < 0 && errno == EAGAIN ? nothingNow : closed;
    piece.truncate(count);
    m_splitter.feed(piece);
    m_pace->noteSent();
    postToMainThread([pace = m_pace] { pace->noteArrived(); });
    return count;
}
