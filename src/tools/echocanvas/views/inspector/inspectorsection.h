#ifndef MORVEK_ECHOCANVAS_INSPECTORSECTION_H
#define MORVEK_ECHOCANVAS_INSPECTORSECTION_H

#include "scenedocument.h"

#include <QGroupBox>
#include <QList>
#include <QPair>

#include <functional>
#include <utility>
#include <vector>

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QSpinBox;

namespace Morvek::Tools {

/** How a field is called, and what it means. */
struct sFieldText
{
    QString m_strName; ///< with an ampersand before the key that goes there
    QString m_strUnit; ///< shown behind the number; empty for none
    QString m_strTip;
};

/**
 * A group of fields about one part of a layer. Each field knows how to read its value from a layer
 * and how to write it into one.
 */
class InspectorSection : public QGroupBox
{
    Q_OBJECT

public:
    InspectorSection(const QString &strTitle, eLayerPart ePart, QWidget *pParent = nullptr);

    using GetNumber = std::function<int(const sSceneLayer &)>;
    using SetNumber = std::function<void(sSceneLayer &, int)>;
    using GetColor = std::function<QColor(const sSceneLayer &)>;
    using SetColor = std::function<void(sSceneLayer &, const QColor &)>;
    using GetText = std::function<QString(const sSceneLayer &)>;
    using SetText = std::function<void(sSceneLayer &, const QString &)>;
    /** @return what is wrong with a text; empty if nothing is */
    using CheckText = std::function<QString(const QString &)>;
    using IsUsed = std::function<bool(const sSceneLayer &)>;
    using Loader = std::function<void(const sSceneLayer &)>;

    QSpinBox *addNumber(const sFieldText &text, int nMin, int nMax, GetNumber get, SetNumber set);
    QCheckBox *addFlag(const sFieldText &text, GetNumber get, SetNumber set);
    QComboBox *addChoice(const sFieldText &text, const QList<QPair<QString, int>> &choices,
                         GetNumber get, SetNumber set);
    QPushButton *addColor(const sFieldText &text, GetColor get, SetColor set);
    /** @param check  of a text that is not taken over, and stays to be mended, it tells why */
    QLineEdit *addText(const sFieldText &text, GetText get, SetText set, CheckText check = {});
    /** Adds anything else. @param loader  shows a layer in it */
    void addWidget(QWidget *pWidget, Loader loader);
    /** Has something else done whenever a layer is shown. */
    void addLoader(Loader loader) { m_loaders.push_back(std::move(loader)); }
    /** The field that was added last is usable only for layers for which this is true. */
    void usableIf(IsUsed isUsed);

    /** Shows a layer's values, without telling anybody. */
    void load(const sSceneLayer &layer);
    /** Changes the shown layer, and tells. @param pField  the field that it comes from */
    void edit(const std::function<void(sSceneLayer &)> &change, QObject *pField);

Q_SIGNALS:
    /** The layer is to be so. @param pField  where the edit comes from */
    void edited(const Morvek::Tools::sSceneLayer &layer, Morvek::Tools::eLayerPart ePart,
                QObject *pField);

protected:
    bool eventFilter(QObject *pWatched, QEvent *pEvent) override;

private:
    bool takeBack(const QWidget &field, const QEvent &event);
    void addField(const sFieldText &text, QWidget *pField, Loader loader);
    QLabel *addComplaint(const QString &strName);

    const eLayerPart m_ePart;
    QFormLayout *m_pForm;
    std::vector<Loader> m_loaders;
    QWidget *m_pLastField = nullptr;
    sSceneLayer m_layer;
    bool m_isLoading = false;
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_INSPECTORSECTION_H
