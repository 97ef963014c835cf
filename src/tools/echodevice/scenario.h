#ifndef MORVEK_TOOLS_SCENARIO_H
#define MORVEK_TOOLS_SCENARIO_H

#include <QByteArray>
#include <QList>
#include <QSize>
#include <QtGlobal>

#include <optional>

namespace Morvek::Tools {

/** What the simulator can do wrong; docs/scenario.md describes each. */
enum class eFault {
    // These spoil a picture.
    Split,
    OneByteWrites,
    TrailingHeader,
    WrongLength,
    NegativeLength,
    HugeLength,
    MissingLength,
    LowerCaseHeader,
    MissingLineEnd,
    BoundaryInPicture,
    TruncatedPicture,
    TruncatedJpeg,
    OtherPicture,
    DimensionBomb,
    ScanBomb,
    TextBomb,
    EmptyPicture,
    // These come between pictures.
    RandomBytes,
    Silence,
    Mute,
    Close,
    Reset,
    Refuse,
    Flap,
    Flood
};

/** A line of a part that can lose its end. */
enum class eLine { Boundary, Type, Length, Picture };

/** One fault; what is not given is drawn from the seed or has the default of docs/scenario.md. */
struct sFault
{
    eFault m_eFault = eFault::Reset;
    std::optional<int> m_nByte;   ///< where a part is split, from its start
    std::optional<int> m_nBytes;  ///< bytes sent, left or padded to
    std::optional<int> m_nMs;     ///< how long it lasts
    std::optional<int> m_nBy;     ///< added to the length that is announced
    std::optional<int> m_nLength; ///< announced
    std::optional<int> m_nFps;    ///< pictures a second of a flood
    std::optional<int> m_nScans;  ///< of a JPEG
    std::optional<int> m_nTexts;  ///< of a PNG
    std::optional<QSize> m_size;  ///< of a picture, claimed or real
    std::optional<eLine> m_eLine; ///< whose end is missing
    QByteArray m_baFormat;        ///< of a picture, as Qt names it; empty: the default
    bool m_isWithHeader = true;   ///< the boundary in the picture is followed by a header
};

/** What the time of a fault counts. */
enum class eClock {
    Picture,    ///< pictures of a connection, from 1
    Connection, ///< ms since a client connected
    Start       ///< ms since the simulator began to listen
};

/** A fault with its time. */
struct sPlannedFault
{
    sFault m_fault;
    eClock m_eClock = eClock::Picture;
    int m_nAt = 1;
    int m_nEvery = 0;      ///< comes again after so many more; 0: once
    int m_nConnection = 0; ///< only on this connection since the start, from 1; 0: on each
};

/** What a simulator does wrong, and when. */
struct sScenario
{
    quint32 m_nSeed = 1;
    QList<sPlannedFault> m_faults;
    int m_nPercent = 0;           ///< of the pictures that one of the following comes before
    QList<sFault> m_randomFaults; ///< not empty where m_nPercent is not 0
};

/** Whether a fault takes the place of a picture; else it comes before one. */
constexpr bool isInPicture(eFault fault)
{
    return fault < eFault::RandomBytes;
}

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_SCENARIO_H
