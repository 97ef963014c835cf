#ifndef MORVEK_TOOLS_DEVICESUMMARY_H
#define MORVEK_TOOLS_DEVICESUMMARY_H

#include <QFile>
#include <QString>

namespace Morvek::Tools {

/** What a simulated device did. */
struct sDeviceSummary
{
    qint64 m_nPicturesMade = 0;
    qint64 m_nPicturesSent = 0;    ///< wholly handed to the network, counted for each client
    qint64 m_nPicturesSkipped = 0; ///< not offered to a client that was too slow
    qint64 m_nClients = 0;         ///< that ever connected
    qint64 m_nBytesSent = 0;
    qint64 m_nFaultsPlayed = 0; ///< of a scenario, counted for each client
    qint64 m_nDurationMs = 0;   ///< since the device began to listen
};

/**
 * Where the summary goes: for people to standard output, as JSON to a file, or as JSON alone to
 * standard output.
 *
 * @thread main
 */
class SummaryWriter
{
public:
    /**
     * @param strFile  file for the summary as JSON; empty: none; "-": standard output
     */
    explicit SummaryWriter(const QString &strFile);

    /**
     * Opens the file, so that a wrong name is told before the work and not after it.
     *
     * @return false when it cannot be written; errorString() says why
     */
    bool open();
    /**
     * Writes the summary.
     *
     * @return false when something could not be written; errorString() says what and why
     */
    bool write(const sDeviceSummary &summary);
    QString errorString() const { return m_strError; }

private:
    bool fail();

    QFile m_file;
    const bool m_isJsonToOutput;
    QString m_strError;
};

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_DEVICESUMMARY_H
