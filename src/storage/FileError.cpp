#include "FileError.h"

#include "ErrnoText.h"

#include <QFileInfo>

namespace {

QString nameOf(const QString &path)
{
    QString trimmed = path;
    while (trimmed.size() > 1 && trimmed.endsWith(u'/'))
        trimmed.chop(1);
    const QString name = QFileInfo(trimmed).fileName();
    return name.isEmpty() ? trimmed : name;
}

}

FileError::FileError(const QString &path, const QString &action, int code)
    : FileError(QStringLiteral("“%1” could not be %2: %3.")
                    .arg(nameOf(path), action, QString::fromStdString(errnoText(code))),
                code)
{
}

FileError::FileError(const QString &description, int code)
    : DescribedError(description)
    , m_code(code)
{
}

FileError FileError::noNewFolderIn(const QString &place, int code)
{
    return { QStringLiteral("A folder could not be created in “%1”: %2.")
                 .arg(place, QString::fromStdString(errnoText(code))),
             code };
}
