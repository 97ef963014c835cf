#ifndef MORVEK_ECHOCANVAS_DEVICEBANNER_H
#define MORVEK_ECHOCANVAS_DEVICEBANNER_H

#include "messagebanner.h"
#include "windowhost.h"

#include <QElapsedTimer>

namespace Morvek::Tools {

/**
 * Says above the canvas why its pictures are not live, and offers what would change that. Hidden
 * while the device streams, and where it was dismissed until the device's state is another one.
 *
 * @thread main
 */
class DeviceBanner : public MessageBanner
{
    Q_OBJECT

public:
    /** @param host  must outlive the banner */
    explicit DeviceBanner(WindowHost &host, QWidget *pParent = nullptr);

private:
    void refresh();
    bool needsWords(const sDeviceStatus &status) const;
    void act();

    WindowHost &m_host;
    eDeviceState m_eState = eDeviceState::Streaming; // at the last look
    QElapsedTimer m_sinceState;                      // since when it has been so
    bool m_isDismissed = false;                      // in this state
    QString m_strShown;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_DEVICEBANNER_H
