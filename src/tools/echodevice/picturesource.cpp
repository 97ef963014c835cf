#include "picturesource.h"

#include <QBuffer>
#include <QDateTime>
#include <QImageWriter>

namespace Morvek::Tools {

namespace {

constexpr char PictureFormat[] = "jpeg";

} // namespace

PictureSource::PictureSource(int nTiles, int nQuality)
    : m_painter(nTiles)
    , m_nQuality(nQuality)
{}

void PictureSource::setFaultyInputs(const QSet<int> &dark, const QSet<int> &still)
{
    m_painter.setDark(dark);
    m_painter.setStill(still);
}

bool PictureSource::isUsable()
{
    return QImageWriter::supportedImageFormats().contains(PictureFormat);
}

const QImage &PictureSource::nextPicture()
{
    return m_painter.paint(m_nPictures++, QDateTime::currentMSecsSinceEpoch());
}

QByteArray PictureSource::encoded(const QImage &picture) const
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, PictureFormat);
    writer.setQuality(m_nQuality);
    return writer.write(picture) ? bytes : QByteArray();
}

} // namespace Morvek::Tools
