#include "alphamaps_p.h"

#include <QFile>
#include <QPainter>

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <iterator>

namespace Morvek::EchoVideo::Internal {

namespace {

constexpr size_t MostMaps = 16;
constexpr size_t LargestMemory = 16 << 20; // bytes of all planes

qint64 nanoseconds(const timespec &time)
{
    constexpr qint64 NanosecondsPerSecond = 1'000'000'000;
    return qint64(time.tv_sec) * NanosecondsPerSecond + time.tv_nsec;
}

qint64 nanosecondsNow()
{
    using namespace std::chrono;
    return duration_cast<std::chrono::nanoseconds>(system_clock::now().time_since_epoch()).count();
}

bool hasEightBitAlpha(QImage::Format format)
{
    switch (format) {
    case QImage::Format_Mono:
    case QImage::Format_MonoLSB:
    case QImage::Format_Indexed8:
    case QImage::Format_Grayscale8:
    case QImage::Format_RGB888:
    case QImage::Format_RGB32:
    case QImage::Format_ARGB32:
    case QImage::Format_ARGB32_Premultiplied:
        return true;
    default:
        return false;
    }
}

// What is left of an opaque layer's alpha.
AlphaMaps::sPlane planeOf(const QImage &map, const QSize &size)
{
    QImage canvas(size, QImage::Format_ARGB32);
    if (canvas.isNull() || !hasEightBitAlpha(map.format()))
        return {};
    canvas.fill(Qt::black);
    {
        QPainter painter(&canvas);
        painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
        painter.drawImage(QRectF(canvas.rect()), map);
    }
    AlphaMaps::sPlane plane;
    plane.m_alphas.reserve(size_t(size.width()) * size_t(size.height()));
    for (int y = 0; y < size.height(); ++y) {
        const QRgb *const pLine = reinterpret_cast<const QRgb *>(canvas.constScanLine(y));
        std::transform(pLine, pLine + size.width(), std::back_inserter(plane.m_alphas),
                       [](QRgb pixel) { return uchar(qAlpha(pixel)); });
        const auto row = plane.m_alphas.cend() - size.width();
        const bool isRepeated = y > 0 && std::equal(row, plane.m_alphas.cend(), row - size.width());
        plane.m_rows.push_back(isRepeated ? plane.m_rows.back() : y);
    }
    return plane;
}

} // namespace

std::optional<sFileIdentity> fileIdentity(const QString &strFile)
{
    constexpr qint64 RestingTime = 2'000'000'000; // ns
    struct stat status = {};
    if (stat(QFile::encodeName(strFile).constData(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    const qint64 nModified = nanoseconds(status.st_mtim);
    const qint64 nChanged = nanoseconds(status.st_ctim);
    if (nanosecondsNow() - std::max(nModified, nChanged) < RestingTime)
        return std::nullopt;
    return sFileIdentity{quint64(status.st_dev), quint64(status.st_ino), qint64(status.st_size),
                         nModified, nChanged};
}

const AlphaMaps::sPlane *AlphaMaps::find(const QString &strFile, const QSize &size,
                                         const Load &load)
{
    const std::optional<sFileIdentity> identity = fileIdentity(strFile);
    const auto it = std::find_if(m_entries.begin(), m_entries.end(), [&](const sEntry &entry) {
        return entry.m_strFile == strFile && entry.m_size == size;
    });
    if (it != m_entries.end()) {
        if (identity && it->m_identity == *identity) {
            m_entries.splice(m_entries.begin(), m_entries, it);
            return it->m_plane.m_rows.empty() ? nullptr : &it->m_plane;
        }
        m_entries.erase(it);
    }
    if (!identity)
        return nullptr;
    const QImage map = load(strFile);
    // Nobody knows why: another try may succeed.
    if (map.isNull())
        return nullptr;
    sPlane plane = planeOf(map, size);
    // A file that was replaced meanwhile may have given either contents.
    if (fileIdentity(strFile) != identity)
        return nullptr;

    const auto memory = [this] {
        size_t nBytes = 0;
        for (const sEntry &entry : m_entries)
            nBytes += entry.m_plane.m_alphas.size();
        return nBytes;
    };
    m_entries.push_front({strFile, size, *identity, std::move(plane)});
    while (m_entries.size() > 1 && (m_entries.size() > MostMaps || memory() > LargestMemory))
        m_entries.pop_back();
    return m_entries.front().m_plane.m_rows.empty() ? nullptr : &m_entries.front().m_plane;
}

} // namespace Morvek::EchoVideo::Internal
