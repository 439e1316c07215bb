// Computes the SHA-512 of a file, as for an engine's archive.

#include "EngineManager.h"
#include "Stopwatch.h"

#include <QFile>

int main(int argc, char **argv)
{
    if (argc != 2)
        return 2;
    const QString file = QFile::decodeName(argv[1]);
    const Stopwatch stopwatch;
    const QString hash = EngineManager::sha512(file);
    report("milliseconds", stopwatch.milliseconds());
    return hash.isEmpty();
}
