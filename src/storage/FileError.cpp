#include "FileError.h"

#include <QFileInfo>
#include <QtGlobal>

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
    : FileError(QStringLiteral("“%1” could not be %2: %3.").arg(nameOf(path), action, qt_error_string(code)),
                code)
{
}

FileError::FileError(const QString &description, int code)
    : m_description(description)
    , m_utf8(m_description.toUtf8())
    , m_code(code)
{
}

FileError FileError::noNewFolderIn(const QString &place, int code)
{
    return { QStringLiteral("A folder could not be created in “%1”: %2.").arg(place, qt_error_string(code)),
             code };
}
