#include "Observable.h"

Observable::~Observable() = default;
