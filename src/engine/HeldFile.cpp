#include "HeldFile.h"

#include "FileError.h"

#include <QFile>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <tuple>

namespace {

timespec timeOfChange(const struct stat &info)
{
#ifdef Q_OS_MACOS
    return info.st_ctimespec;
#else
    return info.st_ctim;
#endif
}

bool isSame(const struct stat &one, const struct stat &other)
{
    const auto facts = [](const struct stat &info) {
        const timespec changed = timeOfChange(info);
        return std::tuple(info.st_dev, info.st_ino, info.st_size, changed.tv_sec, changed.tv_nsec);
    };
    return facts(one) == facts(other);
}

}

HeldFile::HeldFile(const QString &path)
    : m_path(path)
    // Non-blocking: opening a FIFO would wait for a writer.
    , m_file(::open(QFile::encodeName(path).constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC))
{
    if (!m_file.isOpen())
        throw FileError(path, QStringLiteral("opened"), errno);
    if (::fstat(m_file.get(), &m_info) != 0 || !S_ISREG(m_info.st_mode))
        throw FileError(path, QStringLiteral("opened"), EINVAL);
}

QString HeldFile::path() const
{
#ifdef Q_OS_LINUX
    const QString open = QStringLiteral("/proc/%1/fd/%2").arg(::getpid()).arg(m_file.get());
    if (QFile::exists(open))
        return open;
#endif
    return m_path;
}

std::chrono::nanoseconds HeldFile::timeUntilChangesShow() const
{
    using namespace std::chrono;
    constexpr nanoseconds longestTick = milliseconds(20);

    const timespec changed = timeOfChange(m_info);
    const nanoseconds age
        = system_clock::now().time_since_epoch() - seconds(changed.tv_sec) - nanoseconds(changed.tv_nsec);
    return std::clamp(longestTick - age, nanoseconds::zero(), longestTick);
}

bool HeldFile::isUntouched() const
{
    struct stat held = {};
    struct stat named = {};
    return ::fstat(m_file.get(), &held) == 0 && isSame(held, m_info)
        && ::lstat(QFile::encodeName(m_path).constData(), &named) == 0 && isSame(named, m_info);
}
