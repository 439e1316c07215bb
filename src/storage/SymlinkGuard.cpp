#include "SymlinkGuard.h"

#include "AppError.h"
#include "Paths.h"

#include <QFileInfo>

namespace {

bool isLink(const QString &path) { return QFileInfo(path).isSymbolicLink(); }

}

void SymlinkGuard::requireNoLinks()
{
    for (const QString &folder : { Paths::root(), Paths::tempFolder(), Paths::engineFolder() }) {
        if (isLink(folder))
            throw AppError::message(
                QStringLiteral(
                    "The folder “%1” is a symbolic link, which the launcher does not download through: please choose “Remove everything”, which removes only the link, and play again.")
                    .arg(QFileInfo(folder).fileName()));
    }
}

bool SymlinkGuard::leadsThroughLink(const QString &path)
{
    const QString root = Paths::root();
    for (QString above = QFileInfo(path).path(); above.size() >= root.size();
         above = QFileInfo(above).path()) {
        if (isLink(above))
            return true;
    }
    return false;
}
