// Reads what the launcher needs of a game project before it is played.

#include "ProjectInspector.h"
#include "Stopwatch.h"

#include <QFile>

int main(int argc, char **argv)
{
    if (argc != 2)
        return 2;
    const QString folder = QFile::decodeName(argv[1]);
    const Stopwatch stopwatch;
    const ProjectInfo info = ProjectInspector::inspect(folder);
    report("milliseconds", stopwatch.milliseconds());
    return info.controls.isEmpty();
}
