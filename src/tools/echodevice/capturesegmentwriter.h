#ifndef MORVEK_TOOLS_CAPTURESEGMENTWRITER_H
#define MORVEK_TOOLS_CAPTURESEGMENTWRITER_H

#include <QByteArray>
#include <QImage>
#include <QString>

namespace Morvek::Tools {

/**
 * Leaves pictures in the shared memory that the stand-in capture library reads; shm_cap_segment.h
 * describes it. Never waits for a reader.
 *
 * @thread main
 */
class CaptureSegmentWriter
{
public:
    CaptureSegmentWriter() = default;
    /** Removes the shared memory. */
    ~CaptureSegmentWriter();

    /**
     * Creates the shared memory, in the place of one that a dead producer left behind.
     *
     * @param strName  with or without a leading slash; empty for the name of the environment or,
     *                 without one, the default
     * @return false when it cannot be created, or when a living producer has that name;
     *         errorString() says why
     */
    bool open(const QString &strName);
    bool isOpen() const { return m_pSegment != nullptr; }
    /** Publishes a picture of EchoPictureSize. */
    void write(const QImage &picture);

    QString name() const { return QString::fromLocal8Bit(m_name); }
    QString errorString() const { return m_strError; }

private:
    Q_DISABLE_COPY(CaptureSegmentWriter)

    bool isTaken() const;
    bool create();
    bool fail(const char *pWhat);

    QByteArray m_name;
    QString m_strError;
    int m_nFile = -1; // its lock shows that this producer lives
    uchar *m_pSegment = nullptr;
    quint64 m_nFrame = 0;
};

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_CAPTURESEGMENTWRITER_H
