#pragma once

#include <QString>

#include <optional>
#include <stop_token>

/// What an engine has made of a project so far, as the disk shows it. The project is a stranger's: no
/// symbolic link is followed, and reading more than 200,000 entries, 32 MiB of *.import files or for more
/// than ten seconds ends without a result, as does a requested stop. Reads the disk: not on the main thread.
namespace ImportedFiles {

/// A number that is another one after anything below the folder `project` was created, changed or removed. No
/// value when not all of it could be looked at.
std::optional<quint64> fingerprint(const QString &project, const std::stop_token &stop = {});

/// Whether the import is provably complete: the project's *.import files name at least one imported file,
/// each that they name exists, and each picture, sound and model has its *.import file, which the engine
/// writes after importing it. False when in doubt. Ignores the folders that the engine ignores.
bool areComplete(const QString &project, const std::stop_token &stop = {});

}
