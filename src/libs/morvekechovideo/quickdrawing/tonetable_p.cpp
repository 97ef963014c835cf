#include "tonetable_p.h"

#include <QPainter>

#include <algorithm>
#include <iterator>

namespace Morvek::EchoVideo::Internal {

namespace {

constexpr int Values = 256;
constexpr size_t MostTables = 24;

QImage grayRamp(int nRows)
{
    QImage ramp(Values, nRows, QImage::Format_ARGB32);
    for (int y = 0; y < ramp.height(); ++y) {
        QRgb *const pLine = reinterpret_cast<QRgb *>(ramp.scanLine(y));
        for (int x = 0; x < Values; ++x)
            pLine[x] = qRgb(x, x, x);
    }
    return ramp;
}

// Row y has the alpha y.
QImage fadeOfEveryAlpha(const QColor &color)
{
    QImage fade(Values, Values, QImage::Format_ARGB32);
    for (int y = 0; y < fade.height(); ++y) {
        QRgb *const pLine = reinterpret_cast<QRgb *>(fade.scanLine(y));
        std::fill_n(pLine, Values, qRgba(color.red(), color.green(), color.blue(), y));
    }
    return fade;
}

// What a mask does to a pixel that it keeps.
QImage maskThatKeeps(int nRows)
{
    QImage mask(Values, nRows, QImage::Format_ARGB32);
    mask.fill(QColor(0, 0, 0, 255));
    return mask;
}

bool isOpaqueRamp(const QRgb *pRow)
{
    for (int i = 0; i < Values; ++i) {
        if (pRow[i] != qRgb(i, i, i))
            return false;
    }
    return true;
}

} // namespace

void drawToneSteps(QImage &canvas, const sToneSteps &steps, const QImage &fade, const QImage &mask)
{
    const QRectF everything(canvas.rect());
    QPainter painter(&canvas);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    if (steps.m_fade == sToneSteps::AlphaMapFade)
        painter.drawImage(0, 0, fade);
    painter.fillRect(everything, QColor(0, 0, 0, steps.m_nLayerAlpha));
    if (steps.m_isMasked)
        painter.drawImage(0, 0, mask);
    if (steps.m_fade == sToneSteps::SoftFade) {
        painter.drawImage(0, 0, fade);
    } else if (steps.m_fade == sToneSteps::HaloFade) {
        painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
        painter.drawImage(0, 0, fade);
        painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    }
    if (steps.m_isOpacityDrawn) {
        QColor color(0, 0, 0);
        color.setAlphaF(steps.m_nOpacity * 0.01);
        painter.fillRect(everything, color);
    }
}

ToneTable::ToneTable(const sToneSteps &steps)
    : m_steps(steps)
{
    const bool isFading = steps.m_fade != sToneSteps::NoFade;
    const int nRows = isFading ? Values : 1;
    QImage table = grayRamp(nRows);
    const QImage fade = isFading ? fadeOfEveryAlpha(steps.m_fadeColor) : QImage();
    const QImage mask = steps.m_isMasked ? maskThatKeeps(nRows) : QImage();
    if (table.isNull() || (isFading && fade.isNull()) || (steps.m_isMasked && mask.isNull()))
        return;
    drawToneSteps(table, steps, fade, mask);
    m_table = table;
    for (int y = 0; y < nRows; ++y) {
        m_rows[size_t(y)] = reinterpret_cast<const QRgb *>(m_table.constScanLine(y));
        m_isIdentity[size_t(y)] = isOpaqueRamp(m_rows[size_t(y)]);
        m_alphas[size_t(y)] = uchar(qAlpha(m_rows[size_t(y)][0]));
    }
    if (!isGray())
        return;
    m_tones.reserve(size_t(nRows) * Values);
    for (int y = 0; y < nRows; ++y)
        std::transform(m_rows[size_t(y)], m_rows[size_t(y)] + Values, std::back_inserter(m_tones),
                       [](QRgb pixel) { return uchar(qBlue(pixel)); });
}

const ToneTable &ToneTables::find(const sToneSteps &steps)
{
    const auto it = std::find_if(m_tables.begin(), m_tables.end(), [&](const ToneTable &table) {
        return table.isValid() && table.steps().asTuple() == steps.asTuple();
    });
    if (it != m_tables.end()) {
        m_tables.splice(m_tables.begin(), m_tables, it);
    } else {
        if (m_tables.size() == MostTables)
            m_tables.pop_back();
        m_tables.emplace_front(steps);
    }
    return m_tables.front();
}

} // namespace Morvek::EchoVideo::Internal
