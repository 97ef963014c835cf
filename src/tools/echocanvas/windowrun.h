#ifndef MORVEK_ECHOCANVAS_WINDOWRUN_H
#define MORVEK_ECHOCANVAS_WINDOWRUN_H

#include "hostoptions.h"
#include "windowhost.h"

#include <QStringList>

namespace Morvek::Tools {

/**
 * Shows a scene in a window until that is closed; wants a QApplication.
 *
 * @param scene   adjusted already
 * @param adjust  does the same to scenes that are opened later
 * @return what has failed, a line each; nothing if nothing did
 * @thread main
 */
QStringList runWindow(const sScene &scene, const sHostOptions &options,
                      const WindowHost::Adjustment &adjust);

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_WINDOWRUN_H
