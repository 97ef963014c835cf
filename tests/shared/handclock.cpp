#include "handclock.h"

#include <QTime>

namespace {

int nNow = 0; // ms since midnight

} // namespace

namespace Morvek::Tests {

int HandClock::now()
{
    return nNow;
}

void HandClock::advance(int nMs)
{
    set(nNow + nMs % MsPerDay + MsPerDay);
}

void HandClock::set(int nMs)
{
    nNow = nMs % MsPerDay;
}

} // namespace Morvek::Tests

// In front of Qt's own, for every call from the program and the objects that it is made of.
QTime QTime::currentTime()
{
    return QTime::fromMSecsSinceStartOfDay(nNow);
}
