#ifndef MORVEK_TESTS_HANDCLOCK_H
#define MORVEK_TESTS_HANDCLOCK_H

namespace Morvek::Tests {

/**
 * The time of day in a program that sets it by hand: link morvek_hand_clock to a program made of the
 * library's objects, and QTime::currentTime() answers with this. For programs of one thread.
 */
class HandClock
{
public:
    static constexpr int MsPerDay = 24 * 60 * 60 * 1000;

    /** Milliseconds since midnight. */
    static int now();
    /** Moves the time, forward or back, over midnight too. */
    static void advance(int nMs);
    static void set(int nMs);
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_HANDCLOCK_H
