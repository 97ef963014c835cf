#ifndef MORVEK_ECHOCANVAS_REPORTWRITER_H
#define MORVEK_ECHOCANVAS_REPORTWRITER_H

#include "runreport.h"

#include <QJsonObject>
#include <QString>

namespace Morvek::Tools {

/** The report as a table for people; one row for each layer, then the figures of the whole run. */
QString reportTable(const sRunReport &report);

/** The report for machines; docs/scene.md lists the keys. */
QJsonObject reportJson(const sRunReport &report);

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_REPORTWRITER_H
