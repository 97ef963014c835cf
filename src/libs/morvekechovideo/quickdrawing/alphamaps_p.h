#ifndef MORVEK_ECHOVIDEO_ALPHAMAPS_P_H
#define MORVEK_ECHOVIDEO_ALPHAMAPS_P_H

#include <QImage>
#include <QSize>
#include <QString>
#include <QtGlobal>

#include <functional>
#include <list>
#include <optional>
#include <tuple>
#include <vector>

namespace Morvek::EchoVideo::Internal {

/** What tells that a file holds the same bytes as before, without reading it. */
struct sFileIdentity
{
    quint64 m_nDevice = 0;
    quint64 m_nInode = 0;
    qint64 m_nSize = 0;
    qint64 m_nModified = 0; ///< nanoseconds
    qint64 m_nChanged = 0;  ///< nanoseconds

    auto asTuple() const
    {
        return std::make_tuple(m_nDevice, m_nInode, m_nSize, m_nModified, m_nChanged);
    }
    bool operator==(const sFileIdentity &other) const { return asTuple() == other.asTuple(); }
    bool operator!=(const sFileIdentity &other) const { return !(*this == other); }
};

/**
 * The identity of a regular file that was left alone for the last two seconds.
 *
 * A file that changed only just may change again within the same tick of its time stamps, and would
 * not be told apart; it has no identity yet, nor has one that is missing.
 *
 * @thread any
 */
std::optional<sFileIdentity> fileIdentity(const QString &strFile);

/**
 * Keeps what alpha maps make of whole layers, as long as their files are unchanged. @thread one
 */
class AlphaMaps
{
public:
    /** What a map makes of a layer. */
    struct sPlane
    {
        std::vector<uchar> m_alphas; ///< of every pixel, row by row from the top
        std::vector<int> m_rows;     ///< for each row the first of the neighbours that are like it
    };
    using Load = std::function<QImage(const QString &)>;

    /**
     * The alpha that the map gives to each pixel of an opaque layer.
     *
     * @param strFile  the map
     * @param size     of the layer, in pixels
     * @param load     reads and decodes the file
     * @return null for a file without an identity, one that cannot be read, and a picture that needs
     *         more than 8 bits for an alpha; else valid until the next call
     */
    const sPlane *find(const QString &strFile, const QSize &size, const Load &load);

private:
    struct sEntry
    {
        QString m_strFile;
        QSize m_size;
        sFileIdentity m_identity;
        sPlane m_plane; // empty for a map that has none
    };

    std::list<sEntry> m_entries; // the latest first
};

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_ALPHAMAPS_P_H
