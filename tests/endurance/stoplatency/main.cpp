// How long a stop takes in every state of the library: the worst of many, stopped at any moment.

#include "stopstate.h"

#include <boundtable.h>
#include <enduranceoptions.h>

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QThread>

#include <cstdio>
#include <random>

using namespace Morvek::Tests;

namespace {

std::vector<sStopStateMaker> allStates()
{
    std::vector<sStopStateMaker> states = readerStates();
    for (sStopStateMaker &maker : managerStates())
        states.push_back(std::move(maker));
    return states;
}

QStringList namesOf(const std::vector<sStopStateMaker> &states)
{
    QStringList names;
    for (const sStopStateMaker &maker : states)
        names.append(maker.m_strName);
    return names;
}

/** Stops so often, each time at another moment; nothing if the state was not reached once. */
QList<double> stopTimes(StopState &state, int nCount)
{
    std::mt19937 dice(4711);
    QList<double> times;
    for (int i = 0; i < nCount; ++i) {
        if (!state.enter()) {
            state.stop();
            return {};
        }
        const int nDelay = std::uniform_int_distribution<int>(0, state.duration())(dice);
        QThread::msleep(unsigned(nDelay));
        QElapsedTimer timer;
        timer.start();
        state.stop();
        times.append(double(timer.nsecsElapsed()) / 1e6);
    }
    return times;
}

} // namespace

int main(int argc, char *argv[])
{
    const QGuiApplication app(argc, argv);
    const std::vector<sStopStateMaker> states = allStates();
    const sEnduranceOptions options =
        readEnduranceOptions(QStringLiteral("Measures how long a stop takes in every state."),
                             QStringLiteral("Stops in each state"), 1000, namesOf(states));
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});

    BoundTable table;
    for (const sStopStateMaker &maker : states) {
        if (!options.m_selected.isEmpty() && !options.m_selected.contains(maker.m_strName))
            continue;
        const std::unique_ptr<StopState> pState = maker.m_make();
        const QList<double> times = stopTimes(*pState, options.m_nCount);
        if (times.isEmpty()) {
            std::fprintf(stderr, "%s: the state was not reached\n", qPrintable(maker.m_strName));
            return 1;
        }
        table.add({maker.m_strName, worstOf(times), pState->bound() * options.m_slack,
                   QStringLiteral("ms"),
                   QStringLiteral("median %1 of %2")
                       .arg(percentileOf(times, 50), 0, 'f', 1)
                       .arg(times.size())});
    }
    table.print();
    return table.exitStatus();
}
