#include "DesktopAppearance.h"

struct DesktopAppearance::Parts { };

DesktopAppearance::DesktopAppearance(std::function<void(const DesktopSettings &)> /*onChange*/) { }

DesktopAppearance::~DesktopAppearance() = default;

bool DesktopAppearance::isWaitingForBus() const { return false; }
