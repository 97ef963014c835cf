#ifndef MORVEK_TESTS_STOPSTATE_H
#define MORVEK_TESTS_STOPSTATE_H

#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace Morvek::Tests {

/** Times of the devices here, in ms. */
constexpr int PictureInterval = 83; ///< 12 pictures a second
constexpr int FramePeriod = 40;     ///< FPS 25
constexpr int SlowReceiver = 100;   ///< how long a slow callback of the host takes

/** A state of the library in which it can be asked to stop. */
class StopState
{
public:
    virtual ~StopState() = default;
    /** Starts, and returns once the state is reached; false if that takes too long. */
    virtual bool enter() = 0;
    /** How long the state lasts, or its period, in ms: a stop may come at any moment of it. */
    virtual int duration() const = 0;
    /** Stops; returns once every thread has ended. */
    virtual void stop() = 0;
    /** The longest that a stop may take, in ms. */
    virtual double bound() const = 0;
};

/** A state by its name, made when its turn has come. */
struct sStopStateMaker
{
    QString m_strName;
    std::function<std::unique_ptr<StopState>()> m_make;
};

/** The states of the service with each of its readers. */
std::vector<sStopStateMaker> readerStates();
/** The states of a manager of layers. */
std::vector<sStopStateMaker> managerStates();

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_STOPSTATE_H
