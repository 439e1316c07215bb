#include "AppError.h"

QString userFacingDescription(const std::exception &error)
{
    if (const auto *ours = dynamic_cast<const AppError *>(&error))
        return ours->errorDescription();
    return QString::fromUtf8(error.what());
}
