#ifndef MORVEK_ECHOCANVAS_PLOTWIDGET_H
#define MORVEK_ECHOCANVAS_PLOTWIDGET_H

#include "figures.h"

#include <QString>
#include <QWidget>

namespace Morvek::Tools {

/** One figure over the last minute, with its name and newest value. */
class PlotWidget : public QWidget
{
    Q_OBJECT

public:
    /**
     * @param strName  what it is
     * @param strUnit  what its values are in
     * @param strTip   what it means
     * @param least    the axis ends no lower than here, from 0
     */
    PlotWidget(const QString &strName, const QString &strUnit, const QString &strTip, double least,
               QWidget *pParent = nullptr);

    void setSeries(const Series &series);
    /** Where the axis ends: a round number above all values. */
    static double axisEnd(const QVector<double> &values, double least);

    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *pEvent) override;

private:
    void paintTitle(QPainter &painter, const QRect &room) const;
    void paintCurve(QPainter &painter, const QRectF &room, double end) const;

    const QString m_strName;
    const QString m_strUnit;
    const double m_least;
    Series m_series;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_PLOTWIDGET_H
