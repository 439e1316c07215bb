#include "BackgroundRemoval.h"

#include "DiskNames.h"
#include "FileOperations.h"
#include "FolderWalk.h"
#include "TreeRemoval.h"

#include <QFile>
#include <QUuid>

#include <unistd.h>

#include <condition_variable>
#include <cstdio>
#include <deque>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>

namespace {

/// The beginning of the hidden name that a folder has while it is being removed.
const QByteArray asideName(DiskNames::removedPrefix.data(), DiskNames::removedPrefix.size());

bool isAside(const QByteArray &name)
{
    return name.startsWith(asideName)
        && !QUuid::fromString(QString::fromUtf8(name.sliced(asideName.size()))).isNull();
}

class Worker final {
public:
    /// The single instance. Never destroyed: its thread may still run while the process exits.
    static Worker &instance()
    {
        static Worker *const worker = new Worker;
        return *worker;
    }

    void add(std::function<void()> job)
    {
        std::unique_lock lock(m_lock);
        m_jobs.push_back(std::move(job));
        startThread();
    }

    /// Does nothing for a path that is already queued or being removed.
    void remove(const QByteArray &path)
    {
        {
            const std::lock_guard guard(m_lock);
            if (!m_paths.insert(path).second)
                return;
        }
        add([this, path] {
            static_cast<void>(removeTreeAt(path)); // the next resume() retries
            const std::lock_guard guard(m_lock);
            m_paths.erase(path);
        });
    }

    void wait(const std::stop_token &stop)
    {
        std::unique_lock lock(m_lock);
        startThread();
        if (!m_isRunning && !m_jobs.empty()) {
            // No thread could be started, so the waiting thread does the work.
            m_isRunning = true;
            lock.unlock();
            work();
            lock.lock();
        }
        m_done.wait(lock, stop, [this] { return !m_isRunning; });
    }

private:
    /// Call with the lock held. If no thread can be started, the jobs stay queued until the next call.
    void startThread()
    {
        if (m_isRunning || m_jobs.empty())
            return;
        try {
            std::thread(&Worker::work, this).detach();
            m_isRunning = true;
        } catch (const std::system_error &) {
        }
    }

    void work()
    {
        std::unique_lock lock(m_lock);
        while (!m_jobs.empty()) {
            const auto job = std::move(m_jobs.front());
            m_jobs.pop_front();
            lock.unlock();
            job();
            lock.lock();
        }
        m_isRunning = false;
        m_done.notify_all();
    }

    std::mutex m_lock; // guards the rest
    std::condition_variable_any m_done;
    std::deque<std::function<void()>> m_jobs;
    std::set<QByteArray> m_paths; // queued or being removed
    bool m_isRunning = false;
};

}

bool BackgroundRemoval::begin(const QString &path, const QString &place) noexcept
{
    const QByteArray aside
        = QFile::encodeName(place) + '/' + asideName + QUuid::createUuid().toByteArray(QUuid::WithoutBraces);
    if (std::rename(QFile::encodeName(path).constData(), aside.constData()) != 0)
        return false;
    Worker::instance().remove(aside);
    return true;
}

bool BackgroundRemoval::remove(const QString &path, const QString &place) noexcept
{
    // An empty folder is not worth a thread, and at most starts "Temp" is empty.
    if (!FileOperations::exists(path) || ::rmdir(QFile::encodeName(path).constData()) == 0)
        return true;
    if (FileOperations::isFolder(path) && begin(path, place))
        return true;
    // A mount point, for example, cannot be moved.
    return FileOperations::removeTreeIfPossible(path);
}

void BackgroundRemoval::resume(const QString &place) noexcept
{
    const QByteArray folder = QFile::encodeName(place);
    FolderWalk walk(FolderWalk::Permissions::AsTheyAre);
    QList<QByteArray> names;
    if (walk.begin(folder, FolderWalk::Start::ThroughLink) != 0)
        return;
    static_cast<void>(walk.list(names)); // what cannot be listed stays
    for (const QByteArray &name : std::as_const(names)) {
        if (isAside(name))
            Worker::instance().remove(folder + '/' + name);
    }
}

void BackgroundRemoval::then(std::function<void()> work) noexcept { Worker::instance().add(std::move(work)); }

void BackgroundRemoval::wait(const std::stop_token &stop) noexcept { Worker::instance().wait(stop); }
