#ifndef MORVEK_ECHOCANVAS_CANVASPANE_H
#define MORVEK_ECHOCANVAS_CANVASPANE_H

#include <QScrollArea>

class QMenu;

namespace Morvek::Tools {

class CanvasView;

/** The canvas in a scroll area: zooms, or keeps it as large as fits. */
class CanvasPane : public QScrollArea
{
    Q_OBJECT

public:
    explicit CanvasPane(QWidget *pParent = nullptr);

    CanvasView &view() { return *m_pView; }
    /** Adds what changes the zoom. */
    void addActions(QMenu &menu);
    bool isFitting() const { return m_isFitting; }

public Q_SLOTS:
    /** Keeps all of the canvas in sight. */
    void fit();
    /** Zooms around the middle. */
    void zoomBy(double factor);
    void setActualSize();

Q_SIGNALS:
    void zoomChanged(double zoom);

protected:
    void resizeEvent(QResizeEvent *pEvent) override;

private:
    void zoomAround(double zoom, const QPoint &where);

    CanvasView *m_pView;
    bool m_isFitting = true;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_CANVASPANE_H
