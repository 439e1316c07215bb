#include "LogStore.h"

#include "MainThread.h"
#include "TextFile.h"

#include <QThread>

#include <atomic>
#include <utility>

namespace {

QString withoutNewlinesAtEnds(const QString &line)
{
    qsizetype start = 0;
    qsizetype end = line.size();
    while (start < end && TextFile::isNewline(line.at(start)))
        ++start;
    while (end > start && TextFile::isNewline(line.at(end - 1)))
        --end;
    return line.mid(start, end - start);
}

}

/// Carries lines from any thread to the main one: a lock-free stack, because a game may print faster than a
/// lock allows. One event empties it, however many lines it holds.
class LogStore::Inbox final : public std::enable_shared_from_this<LogStore::Inbox> {
public:
    explicit Inbox(LogStore *store)
        : m_store(store)
    {
    }

    ~Inbox()
    {
        for (Node *node = takeAll(); node; delete std::exchange(node, node->next)) { }
    }
    Q_DISABLE_COPY_MOVE(Inbox)

    /// The store is being destroyed. Main thread.
    void abandon() { m_store = nullptr; }

    void append(const QString &line)
    {
        const QString text = withoutNewlinesAtEnds(line);
        if (QThread::currentThreadId() == m_mainThread)
            store(text);
        else
            push(text);
    }

private:
    struct Node {
        QString line;
        Node *next = nullptr;
    };

    void push(const QString &line)
    {
        Node *node = new Node { line, m_newest.load() };
        while (!m_newest.compare_exchange_weak(node->next, node)) { }

        // A queued storeAll() that has not started takes this line too. One that another thread is still
        // about to post does not count: what this thread posts next (the end of a run) must come after its
        // lines.
        const quint64 posted = m_eventsPosted.load();
        if (posted > m_eventsBegun.load())
            return;
        postToMainThread([inbox = shared_from_this()] { inbox->storeAll(); });
        ++m_eventsPosted;
    }

    void storeAll()
    {
        ++m_eventsBegun;
        for (Node *node = takeAll(); node; delete std::exchange(node, node->next))
            store(node->line);
    }

    void store(const QString &line)
    {
        if (m_store)
            m_store->add(line);
    }

    /// Empties the stack. Returns its lines in the order in which they were pushed.
    Node *takeAll()
    {
        Node *oldest = nullptr;
        for (Node *node = m_newest.exchange(nullptr); node;) {
            Node *const before = std::exchange(node->next, oldest);
            oldest = std::exchange(node, before);
        }
        return oldest;
    }

    LogStore *m_store; // main thread only
    const Qt::HANDLE m_mainThread = QThread::currentThreadId();
    std::atomic<Node *> m_newest = nullptr;
    std::atomic<quint64> m_eventsPosted = 0;
    std::atomic<quint64> m_eventsBegun = 0;
};

LogStore::LogStore()
    : m_inbox(std::make_shared<Inbox>(this))
{
}

LogStore::~LogStore() { m_inbox->abandon(); }

void LogStore::append(const QString &line) { m_inbox->append(line); }

std::function<void(const QString &)> LogStore::appender() const
{
    return [inbox = m_inbox](const QString &line) { inbox->append(line); };
}

void LogStore::add(const QString &line)
{
    lines.change([&line](QStringList &all) { all.append(line); });

    m_textLength += line.size();
    if (++m_countedLines != lines->size()) {
        // The list has been reassigned since the last line.
        m_countedLines = lines->size();
        m_textLength = 0;
        for (const QString &kept : lines.get())
            m_textLength += kept.size();
    }

    qint64 surplus = 0;
    while (m_countedLines > maxLines || (m_textLength > maxTextLength && m_countedLines > 1)) {
        m_textLength -= lines->at(surplus).size();
        --m_countedLines;
        ++surplus;
    }
    if (surplus > 0)
        lines.change([surplus](QStringList &all) { all.remove(0, surplus); });
}
