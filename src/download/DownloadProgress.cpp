#include "DownloadProgress.h"

#include "FileSizeText.h"

#include <algorithm>

using namespace Qt::StringLiterals;

QString DownloadProgress::text() const
{
    QString text = fileSizeText(received);
    if (total >= 1)
        text += u" of "_s + fileSizeText(total);
    if (bytesPerSecond > 0) {
        constexpr double most = 9e18; // what a qint64 holds
        text += u" · "_s + fileSizeText(static_cast<qint64>(std::min(bytesPerSecond, most))) + u"/s"_s;
    }
    return text;
}
