#include "ScratchFolder.h"

#include "FileOperations.h"
#include "Paths.h"

ScratchFolder::ScratchFolder()
    : m_path(Paths::newTempDir())
{
}

ScratchFolder::~ScratchFolder() { FileOperations::removeTreeIfPossible(m_path); }

QString ScratchFolder::filePath(const QString &name) const { return m_path + u'/' + name; }
