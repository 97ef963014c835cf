#ifndef MORVEK_ECHOVIDEO_PNGTEXT_P_H
#define MORVEK_ECHOVIDEO_PNGTEXT_P_H

#include <QByteArray>
#include <QtGlobal>

namespace Morvek::EchoVideo::Internal {

/**
 * Counts the bytes of a PNG picture that hold texts and colour profiles.
 *
 * A decoder keeps all of them, and already unpacks those before the picture where it is only asked
 * for the size: a thousand times as many bytes, and several copies of each.
 *
 * @return 0 for anything that does not start like a PNG picture
 * @thread any
 */
qint64 pngTextBytes(const QByteArray &baPicture);

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_PNGTEXT_P_H
