#include "plotwidget.h"

#include "statelook.h"

#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace Morvek::Tools {

namespace {

constexpr int Margin = 4;

QString numberText(double value)
{
    return QString::number(value, 'f', std::abs(value) < 10 && value != std::floor(value) ? 1 : 0);
}

} // namespace

PlotWidget::PlotWidget(const QString &strName, const QString &strUnit, const QString &strTip,
                       double least, QWidget *pParent)
    : QWidget(pParent)
    , m_strName(strName)
    , m_strUnit(strUnit)
    , m_least(least)
{
    setToolTip(strTip);
    setAccessibleName(strName);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

QSize PlotWidget::minimumSizeHint() const
{
    const int nLine = fontMetrics().lineSpacing();
    return QSize(5 * nLine, 5 * nLine);
}

double PlotWidget::axisEnd(const QVector<double> &values, double least)
{
    double highest = least;
    for (double value : values) {
        if (!std::isnan(value))
            highest = qMax(highest, value);
    }
    const double power = std::pow(10.0, std::floor(std::log10(highest)));
    for (double step : {1.0, 2.0, 5.0}) {
        if (step * power >= highest)
            return step * power;
    }
    return 10 * power;
}

void PlotWidget::setSeries(const Series &series)
{
    m_series = series;
    const auto last = m_series.last();
    setAccessibleDescription(last ? numberText(*last) + QLatin1Char(' ') + m_strUnit
                                  : QStringLiteral("not known"));
    update();
}

void PlotWidget::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRect room = rect().adjusted(Margin, Margin, -Margin, -Margin);
    const int nLine = fontMetrics().lineSpacing();
    const QRect title(room.left(), room.top(), room.width(), nLine);
    const QRectF plot = QRectF(room).adjusted(0, nLine + 2, 0, -1);
    painter.fillRect(plot, palette().color(QPalette::Base));
    const double end = axisEnd(m_series.values(), m_least);
    painter.setRenderHint(QPainter::Antialiasing);
    paintCurve(painter, plot, end);
    QColor faint = palette().color(QPalette::Text);
    faint.setAlphaF(0.6);
    painter.setPen(faint);
    painter.drawText(plot.adjusted(3, 0, -3, 0), Qt::AlignLeft | Qt::AlignTop, numberText(end));
    painter.drawText(plot.adjusted(3, 0, -3, 0), Qt::AlignLeft | Qt::AlignBottom,
                     QStringLiteral("−60 s"));
    painter.setPen(palette().color(QPalette::WindowText));
    paintTitle(painter, title);
}

/** The name, and behind it the figure; where there is no room, below what the axis ends at. */
void PlotWidget::paintTitle(QPainter &painter, const QRect &room) const
{
    const auto last = m_series.last();
    const QString strFigure =
        last ? numberText(*last) + QLatin1Char(' ') + m_strUnit : QStringLiteral("–");
    QFont bold = font();
    bold.setBold(true);
    painter.setFont(bold);
    const int nTogether = fontMetrics().horizontalAdvance(m_strName) + Margin
                        + painter.fontMetrics().horizontalAdvance(strFigure);
    const int nBelow = nTogether > room.width() ? 2 * room.height() + 2 : 0;
    painter.drawText(room.translated(0, nBelow), Qt::AlignRight | Qt::AlignVCenter, strFigure);
    painter.setFont(font());
    painter.drawText(room, Qt::AlignLeft | Qt::AlignVCenter,
                     fontMetrics().elidedText(m_strName, Qt::ElideRight, room.width()));
}

void PlotWidget::paintCurve(QPainter &painter, const QRectF &room, double end) const
{
    const QVector<double> &values = m_series.values();
    QPainterPath path;
    bool isPenDown = false;
    for (int nSample = 0; nSample < values.size(); ++nSample) {
        // The newest at the right edge, also before there are samples for a whole minute.
        const double x =
            room.right() - room.width() * (values.size() - 1 - nSample) / (Series::Capacity - 1);
        if (std::isnan(values[nSample])) {
            isPenDown = false;
            continue;
        }
        // An age below zero, where the clocks of two machines differ, lies at the bottom.
        const double share = qBound(0.0, values[nSample] / end, 1.0);
        const QPointF point(x, room.bottom() - room.height() * share);
        if (isPenDown)
            path.lineTo(point);
        else
            path.moveTo(point);
        isPenDown = true;
    }
    painter.setPen(QPen(isDark(palette()) ? QColor(110, 180, 255) : QColor(24, 96, 184), 1.5));
    painter.drawPath(path);
}

} // namespace Morvek::Tools
