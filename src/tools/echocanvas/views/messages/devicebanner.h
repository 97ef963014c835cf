#ifndef MORVEK_ECHOCANVAS_DEVICEBANNER_H
#define MORVEK_ECHOCANVAS_DEVICEBANNER_H

#include "messagebanner.h"
#include "windowhost.h"

#include <QElapsedTimer>

#include <functional>

namespace Morvek::Tools {

/**
 * Says above the canvas why its pictures are not live, and offers what would change that. Hidden
 * while all is well, and where it was dismissed until something else is to be said.
 *
 * @thread main
 */
class DeviceBanner : public MessageBanner
{
    Q_OBJECT

public:
    /** @param host  must outlive the banner */
    explicit DeviceBanner(WindowHost &host, QWidget *pParent = nullptr);

Q_SIGNALS:
    /** The user wants to choose the raw file that is played. */
    void fileWanted();

private:
    /** What is to be said, and what the button does. */
    struct sNotice
    {
        int m_nTopic = 0; // 0: nothing; a notice that was dismissed is of one topic
        QString m_strSign;
        QString m_strTitle;
        QStringList m_lines;
        QString m_strAction;
        std::function<void()> m_act;
    };

    void refresh();
    sNotice noticeOf(const sDeviceStatus &status) const;
    sNotice deviceNotice(const sDeviceStatus &status) const;
    sNotice renderingNotice(const sDeviceStatus &status) const;

    WindowHost &m_host;
    const std::function<void()> m_chooseFile;
    eDeviceState m_eState = eDeviceState::Streaming; // at the last look
    QElapsedTimer m_sinceState;                      // since when it has been so
    sNotice m_shown;
    int m_nDismissed = 0; // topic
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_DEVICEBANNER_H
