#include "builtinpictures.h"

#include "scenereader.h"

#include <QFileInfo>
#include <QPainter>

namespace Morvek::Tools {

namespace {

constexpr QSize IconSize(24, 24);       // what the library draws it at
constexpr QSize AlphaMapSize(960, 540); // the library scales it to each layer
const char *const EllipseName = "ellipse";
constexpr qreal SoftRim = 0.08; // share of the radius over which the ellipse fades

/** One arm of the snow crystal, pointing up from the origin. */
void drawArm(QPainter &painter)
{
    painter.drawLine(QPointF(0, 0), QPointF(0, -8));
    painter.drawLine(QPointF(0, -5), QPointF(-2.2, -7.2));
    painter.drawLine(QPointF(0, -5), QPointF(2.2, -7.2));
}

} // namespace

QPixmap frozenIcon()
{
    QPixmap icon(IconSize);
    icon.fill(Qt::transparent);
    QPainter painter(&icon);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(18, 104, 196));
    painter.drawEllipse(QRectF(0.5, 0.5, 23, 23));
    painter.setPen(QPen(Qt::white, 1.5, Qt::SolidLine, Qt::RoundCap));
    painter.translate(12, 12);
    for (int nArm = 0; nArm < 6; ++nArm) {
        drawArm(painter);
        painter.rotate(60);
    }
    return icon;
}

QImage ellipseAlphaMap(const QSize &size)
{
    QImage map(size, QImage::Format_ARGB32);
    map.fill(Qt::transparent);
    QRadialGradient rim(QPointF(0, 0), 1.0);
    rim.setColorAt(1.0 - SoftRim, Qt::black);
    rim.setColorAt(1.0, Qt::transparent);
    QPainter painter(&map);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(rim);
    painter.translate(size.width() / 2.0, size.height() / 2.0);
    painter.scale(size.width() / 2.0, size.height() / 2.0);
    painter.drawEllipse(QRectF(-1, -1, 2, 2));
    return map;
}

bool BuiltInAlphaMaps::provide(sScene &scene)
{
    for (sSceneScreen &screen : scene.m_screens) {
        for (sSceneLayer &layer : screen.m_layers)
            provide(layer);
    }
    return m_strError.isEmpty();
}

bool BuiltInAlphaMaps::provide(sSceneLayer &layer)
{
    QString &strFile = layer.m_config.m_LayerAlphaMap.m_strAlphaMapFile;
    // No other is drawn, and what stands behind the prefix may be any path.
    if (strFile == QLatin1String(BuiltInPrefix) + QLatin1String(EllipseName))
        strFile = fileFor(QLatin1String(EllipseName));
    return m_strError.isEmpty();
}

QString BuiltInAlphaMaps::fileFor(const QString &strName)
{
    QString strFile = m_folder.filePath(strName + QStringLiteral(".png"));
    if (!QFileInfo::exists(strFile) && !ellipseAlphaMap(AlphaMapSize).save(strFile))
        m_strError = QStringLiteral("cannot write the alpha map %1: %2")
                         .arg(strName, m_folder.isValid() ? strFile : m_folder.errorString());
    return strFile;
}

} // namespace Morvek::Tools
