#ifndef MORVEK_ECHOCANVAS_INSPECTOR_H
#define MORVEK_ECHOCANVAS_INSPECTOR_H

#include "scenedocument.h"

#include <QElapsedTimer>
#include <QList>
#include <QPointer>
#include <QScrollArea>

#include <optional>

class QLabel;
class QLineEdit;

namespace Morvek::Tools {

class CropEditor;
class InspectorSection;

/** All fields of the selected layer; an edit shows at once. */
class Inspector : public QScrollArea
{
    Q_OBJECT

public:
    /** @param document  must outlive the inspector */
    explicit Inspector(SceneDocument &document, QWidget *pParent = nullptr);

    void setLayer(std::optional<LayerKey> key);
    /** Shows the picture of the layer's source in the crop editor. */
    void setSourcePicture(const QImage &picture);

protected:
    void resizeEvent(QResizeEvent *pEvent) override;

private:
    void refresh();
    void edit(const sSceneLayer &layer, eLayerPart ePart, QObject *pField);
    int gestureOf(QObject *pField);

    SceneDocument &m_document;
    std::optional<LayerKey> m_key;
    QLabel *m_pTitle;
    QWidget *m_pFields;
    CropEditor *m_pCropEditor;
    QList<InspectorSection *> m_sections;
    QPointer<QObject> m_pLastField;
    int m_nGesture = 0;
    QElapsedTimer m_sinceLastEdit;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_INSPECTOR_H
