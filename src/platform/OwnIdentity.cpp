#include "OwnIdentity.h"

#include "Desktop.h"

#include <QFile>
#include <QFileInfo>
#include <QSysInfo>

#include <pwd.h>
#include <unistd.h>

Identity ownIdentity()
{
    Identity identity;
    identity.hostName = QSysInfo::machineHostName();
    QStringList homes(Desktop::homeFolder());

    passwd entry = {};
    passwd *found = nullptr;
    QByteArray buffer(16 * 1024, Qt::Uninitialized);
    if (getpwuid_r(getuid(), &entry, buffer.data(), static_cast<size_t>(buffer.size()), &found) == 0
        && found) {
        identity.userName = QFile::decodeName(found->pw_name);
        homes.append(QFile::decodeName(found->pw_dir));
    } else {
        identity.userName = qEnvironmentVariable("USER");
    }

    for (const QString &home : std::as_const(homes)) {
        // Empty if it does not exist.
        const QString resolved = QFileInfo(home).canonicalFilePath();
        for (const QString &folder : { home, resolved }) {
            if (!folder.isEmpty() && !identity.homeFolders.contains(folder))
                identity.homeFolders.append(folder);
        }
    }
    return identity;
}
