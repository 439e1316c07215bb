#include "ScratchFolder.h"

#include "Background.h"
#include "FileOperations.h"
#include "Paths.h"

ScratchFolder::ScratchFolder()
    : m_path(Paths::newTempDir())
{
}

ScratchFolder::~ScratchFolder() { FileOperations::removeTreeIfPossible(m_path); }

QCoro::Task<QString> inScratchFolder(std::function<QCoro::Task<QString>(QString)> work)
{
    const ScratchFolder scratch; // removes what cannot be removed below
    const QString &folder = scratch.path();
    QString result;
    std::exception_ptr error;
    try {
        auto working = work(folder);
        result = co_await working;
    } catch (...) {
        error = std::current_exception();
    }
    auto removal = [folder] { return FileOperations::removeTreeIfPossible(folder); };
    co_await runInBackground(std::move(removal));
    if (error)
        std::rethrow_exception(error);
    co_return result;
}
