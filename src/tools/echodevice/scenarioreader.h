#ifndef MORVEK_TOOLS_SCENARIOREADER_H
#define MORVEK_TOOLS_SCENARIOREADER_H

#include "scenario.h"

#include <QByteArray>
#include <QString>

namespace Morvek::Tools {

/**
 * Reads a scenario.
 *
 * @param json         the JSON text; docs/scenario.md explains it
 * @param pScenario    receives what was read; without meaning where something is wrong
 * @param pError       receives a line for everything that is wrong, with file, key and what was
 *                     expected there; empty where nothing is
 * @param strFileName  the text's file, for these lines
 * @return false if anything is wrong
 * @thread any
 */
bool readScenario(const QByteArray &json, sScenario *pScenario, QString *pError,
                  const QString &strFileName = QStringLiteral("scenario"));

/** Reads the scenario of a file, which is also wrong where it cannot be read. */
bool readScenarioFile(const QString &strFileName, sScenario *pScenario, QString *pError);

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_SCENARIOREADER_H
