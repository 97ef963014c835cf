#ifndef MORVEK_ECHOCANVAS_STATELOOK_H
#define MORVEK_ECHOCANVAS_STATELOOK_H

#include "devicestateobserver.h"
#include "inputobserver.h"

#include <QColor>
#include <QPalette>
#include <QString>

namespace Morvek::Tools {

/** How a state is shown: never by its colour alone. */
struct sStateLook
{
    QString m_strSign; ///< one character whose shape tells the states apart
    QString m_strWord;
    QColor m_color; ///< legible on the palette's window colour
};

sStateLook lookOf(eInputState eState, const QPalette &palette);
sStateLook lookOf(const sDeviceStatus &status, const QPalette &palette);

/** Whether the palette is light on dark. */
bool isDark(const QPalette &palette);

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_STATELOOK_H
