// Starts and stops each source, and a manager of layers, very often: nothing may stay behind.

#include "startstopcycles.h"

#include <enduranceoptions.h>
#include <restfigures.h>

#include <QGuiApplication>

using namespace Morvek::Tests;

namespace {

// Every start and stop logs lines; they would only take time.
void keepQuiet(QtMsgType, const QMessageLogContext &, const QString &) {}

} // namespace

int main(int argc, char *argv[])
{
    const QGuiApplication app(argc, argv);
    const sEnduranceOptions options = readEnduranceOptions(
        QStringLiteral("Starts and stops readers and a manager, and shows what stays behind."),
        QStringLiteral("Cycles of each"), 100000, startStopSubjectNames());
    qInstallMessageHandler(keepQuiet);
    keepNoFreeMemory();

    BoundTable table;
    const QStringList names =
        options.m_selected.isEmpty() ? startStopSubjectNames() : options.m_selected;
    for (const QString &strName : names) {
        const auto pSubject = makeStartStopSubject(strName);
        runStartStopCycles(*pSubject, strName, options.m_nCount, options.m_slack, table);
    }
    table.print();
    return table.exitStatus();
}
