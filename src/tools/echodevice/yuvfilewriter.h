#ifndef MORVEK_TOOLS_YUVFILEWRITER_H
#define MORVEK_TOOLS_YUVFILEWRITER_H

#include <QByteArray>
#include <QFile>
#include <QImage>
#include <QString>

namespace Morvek::Tools {

/**
 * Writes pictures as raw YUV 4:2:0 frames, BT.709 limited range: luma, then Cr, then Cb, without a
 * header.
 *
 * @thread main
 */
class YuvFileWriter
{
public:
    /** @return false when the file cannot be written; errorString() says why */
    bool open(const QString &strFile);
    bool isOpen() const { return m_file.isOpen(); }
    /**
     * Appends a picture.
     *
     * @param picture  of even width and height
     * @return false when it could not be written whole; errorString() says why
     */
    bool write(const QImage &picture);
    /** @return false when what was written did not reach the file */
    bool flush();

    QString errorString() const;

private:
    QFile m_file;
};

/** One picture as a frame of such a file. */
QByteArray yuvFrame(const QImage &picture);

} // namespace Morvek::Tools

#endif // MORVEK_TOOLS_YUVFILEWRITER_H
