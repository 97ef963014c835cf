#ifndef MORVEK_ECHOCANVAS_INPUTOBSERVER_H
#define MORVEK_ECHOCANVAS_INPUTOBSERVER_H

#include "devicestateobserver.h"

#include <QImage>
#include <QString>
#include <QtGlobal>

#include <deque>
#include <optional>

namespace Morvek::Tools {

/** What is known about an input. */
enum class eInputState {
    Unknown,    ///< there is no picture of it, or none that tells anything
    NoSignal,   ///< it shows black, or nothing is connected
    Overloaded, ///< the device says that its signal is more than can be shown
    Live,       ///< its picture changes
    Stale       ///< its picture has been the same for a while
};

/** What one look at an input found. */
struct sInputLook
{
    qint64 m_nNowMs = 0;    ///< on any clock that does not jump
    bool m_isKnown = false; ///< the library's result
    QImage m_picture;
    bool m_isActive = true;      ///< as the device model says
    bool m_isOverloaded = false; ///< as the device model says
    eDeviceState m_eDevice = eDeviceState::Streaming;
};

/** An input's state, with everything that explains it. */
struct sInputStatus
{
    eInputState m_eState = eInputState::Unknown;
    QString m_strBrief;        ///< why, in two or three words; empty while it is live
    QString m_strReason;       ///< the same as a sentence
    double m_rate = 0;         ///< changes of the picture a second, over the last seconds
    qint64 m_nUnchangedMs = 0; ///< since the last change
};

/**
 * Whether a picture is black, as without signal: all but a rim, into which compression lets
 * neighbours reach, and but for what compression leaves of black. Stops at the first other pixel.
 */
bool isBlack(const QImage &picture);

/**
 * Tells an input's state from what a host can see of it, above all from whether its picture changes:
 * the library's ticks go on also where nothing new comes.
 */
class InputObserver
{
public:
    /** A picture that stays the same for this long is stale. */
    static constexpr qint64 StaleAfterMs = 2000;
    /** What the rate is taken over. */
    static constexpr qint64 RateWindowMs = 4000;

    /** @return whether there was a new picture that shows something; never at the first look */
    bool look(const sInputLook &look);
    sInputStatus status() const { return m_status; }
    /** The picture of the last look; null or a placeholder where there is none. */
    QImage picture() const { return m_picture; }

private:
    void judge(const sInputLook &look);
    void judgeBlack(const sInputLook &look);
    void judgePicture(const sInputLook &look);
    void setState(eInputState eState, const QString &strBrief, const QString &strReason);

    QImage m_picture;
    bool m_isBlack = false;    // of m_picture
    bool m_wasReal = false;    // at the last look it was a picture, and not black
    bool m_hasChanged = false; // since it was first so
    qint64 m_nChangedMs = 0;
    qint64 m_nFirstMs = -1;
    std::deque<qint64> m_changes; // times of the changes within the window
    sInputStatus m_status;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_INPUTOBSERVER_H
