#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <functional>

/// A scratch folder under "Temp" that is removed, with everything in it, when this object is destroyed,
/// however the operation ends. A failure to remove it is ignored: the next start of the launcher empties
/// "Temp".
class ScratchFolder final {
public:
    /// Throws as Paths::newTempDir does.
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder &) = delete;
    ScratchFolder &operator=(const ScratchFolder &) = delete;

    const QString &path() const { return m_path; }

private:
    QString m_path;
};

/// Calls `work` with a new scratch folder and returns what its task returns, or rethrows what it throws. The
/// folder is then removed on a background thread: an unpacked archive holds too many files for the main
/// thread. Throws as ScratchFolder's constructor does. Main thread.
QCoro::Task<QString> inScratchFolder(std::function<QCoro::Task<QString>(QString folder)> work);
