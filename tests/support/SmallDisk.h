#pragma once

#include <QDir>
#include <QFile>

#ifdef __linux__
#include <sys/mount.h>
#endif

/// Mounts a file system in memory on a folder for as long as this object lives. Only the superuser can, and
/// only on Linux. A mount point can be neither renamed nor removed, and nothing can be renamed into or out of
/// it.
class SmallDisk final {
public:
    /// Why a test is skipped that needs one.
    static constexpr auto cannotMount = "Only the superuser can mount the disk that this needs.";

    /// Creates `folder` if it is missing. `options` are mount's: "size=256k".
    explicit SmallDisk(const QString &folder, [[maybe_unused]] const char *options = "size=1m")
        : m_folder(QFile::encodeName(folder))
    {
        QDir().mkpath(folder);
#ifdef __linux__
        m_mounted = ::mount("tmpfs", m_folder.constData(), "tmpfs", 0, options) == 0;
#endif
    }
    ~SmallDisk()
    {
#ifdef __linux__
        if (m_mounted)
            ::umount2(m_folder.constData(), MNT_DETACH);
#endif
    }
    Q_DISABLE_COPY_MOVE(SmallDisk)

    bool isMounted() const { return m_mounted; }

private:
    QByteArray m_folder;
    bool m_mounted = false;
};
