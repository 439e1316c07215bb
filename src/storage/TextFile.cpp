#include "TextFile.h"

#include "FileDescriptor.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

/// In bytes; far more than anybody writes by hand. A larger file is not text, and is not worth the memory.
constexpr qint64 largestText = 50 * 1024 * 1024;

constexpr QByteArrayView byteOrderMark = "\xef\xbb\xbf";

}

std::optional<QByteArray> TextFile::read(const QString &path)
{
    // Non-blocking: an archive can hold a named pipe in place of a text file, and opening one waits for a
    // writer.
    const FileDescriptor opened(
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    QFile file;
    if (!opened.isOpen() || !file.open(opened.get(), QIODevice::ReadOnly | QIODevice::Unbuffered))
        return std::nullopt;
    struct stat status = {};
    if (::fstat(opened.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > largestText)
        return std::nullopt;

    // Not readAll(): the file may be growing.
    QByteArray content = file.read(status.st_size);
    if (file.error() != QFileDevice::NoError || !content.isValidUtf8())
        return std::nullopt;
    if (content.startsWith(byteOrderMark))
        content.remove(0, byteOrderMark.size());
    return content;
}

bool TextFile::isNewline(QChar character)
{
    const char16_t code = character.unicode();
    return (code >= 0x0A && code <= 0x0D) || code == 0x85 || code == 0x2028 || code == 0x2029;
}

QStringList TextFile::lines(const QString &text)
{
    QStringList result;
    qsizetype start = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (isNewline(text.at(i))) {
            result.append(text.mid(start, i - start));
            start = i + 1;
        }
    }
    result.append(text.mid(start));
    return result;
}
