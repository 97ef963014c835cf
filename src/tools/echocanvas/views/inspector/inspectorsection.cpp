#include "inspectorsection.h"

#include "statelook.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QFormLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QSpinBox>

namespace Morvek::Tools {

namespace {

QString plainName(QString strName)
{
    return strName.remove(QLatin1Char('&'));
}

/** A swatch that shows transparency by the squares below it. */
QIcon swatch(const QColor &color)
{
    QPixmap pixmap(32, 16);
    QPainter painter(&pixmap);
    painter.fillRect(pixmap.rect(), Qt::white);
    painter.fillRect(pixmap.rect(), QBrush(Qt::gray, Qt::Dense4Pattern));
    painter.fillRect(pixmap.rect(), color);
    painter.setPen(Qt::gray); // or white would be lost on a light button
    painter.drawRect(pixmap.rect().adjusted(0, 0, -1, -1));
    return QIcon(pixmap);
}

/** Whether nothing is typed there that was not taken over yet. */
bool isAsLoaded(const QWidget &field)
{
    const auto *const pEdit = qobject_cast<const QLineEdit *>(&field);
    const auto *const pText = pEdit ? pEdit : field.findChild<QLineEdit *>();
    return !pText || !pText->isModified();
}

/** Whether the field would keep a key for itself that is meant for the scene. */
bool isUndoOfScene(const QWidget &field, const QEvent &event)
{
    if (event.type() != QEvent::ShortcutOverride)
        return false;
    const auto &key = static_cast<const QKeyEvent &>(event);
    const bool isUndo = key.matches(QKeySequence::Undo) || key.matches(QKeySequence::Redo);
    return isUndo && isAsLoaded(field);
}

} // namespace

InspectorSection::InspectorSection(const QString &strTitle, eLayerPart ePart, QWidget *pParent)
    : QGroupBox(strTitle, pParent)
    , m_ePart(ePart)
    , m_pForm(new QFormLayout(this))
{
    m_pForm->setContentsMargins(8, 4, 8, 6);
    m_pForm->setVerticalSpacing(3);
}

void InspectorSection::addField(const sFieldText &text, QWidget *pField, Loader loader)
{
    const QString strUnit = text.m_strUnit.isEmpty()
                              ? QString()
                              : QStringLiteral(" (%1)").arg(text.m_strUnit.trimmed());
    pField->setToolTip(text.m_strTip + strUnit);
    pField->setAccessibleName(title() + QStringLiteral(": ") + plainName(text.m_strName));
    pField->setAccessibleDescription(text.m_strTip + strUnit);
    pField->setObjectName(plainName(text.m_strName));
    pField->installEventFilter(this);
    auto *const pLabel = new QLabel(text.m_strName);
    pLabel->setBuddy(pField);
    pLabel->setToolTip(pField->toolTip());
    m_pForm->addRow(pLabel, pField);
    m_loaders.push_back(std::move(loader));
    m_pLastField = pField;
}

QSpinBox *InspectorSection::addNumber(const sFieldText &text, int nMin, int nMax, GetNumber get,
                                      SetNumber set)
{
    auto *const pBox = new QSpinBox;
    pBox->setRange(nMin, nMax);
    pBox->setSuffix(text.m_strUnit);
    pBox->setKeyboardTracking(false); // half a number is no wish
    pBox->setFocusPolicy(Qt::StrongFocus);
    addField(text, pBox, [pBox, get](const sSceneLayer &layer) { pBox->setValue(get(layer)); });
    connect(pBox, qOverload<int>(&QSpinBox::valueChanged), this, [this, pBox, set](int nValue) {
        edit([&](sSceneLayer &layer) { set(layer, nValue); }, pBox);
    });
    return pBox;
}

QCheckBox *InspectorSection::addFlag(const sFieldText &text, GetNumber get, SetNumber set)
{
    auto *const pBox = new QCheckBox;
    addField(text, pBox,
             [pBox, get](const sSceneLayer &layer) { pBox->setChecked(get(layer) != 0); });
    connect(pBox, &QCheckBox::toggled, this, [this, pBox, set](bool isOn) {
        edit([&](sSceneLayer &layer) { set(layer, isOn ? 1 : 0); }, pBox);
    });
    return pBox;
}

QComboBox *InspectorSection::addChoice(const sFieldText &text,
                                       const QList<QPair<QString, int>> &choices, GetNumber get,
                                       SetNumber set)
{
    auto *const pBox = new QComboBox;
    pBox->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    for (const auto &choice : choices)
        pBox->addItem(choice.first, choice.second);
    addField(text, pBox, [pBox, get](const sSceneLayer &layer) {
        pBox->setCurrentIndex(pBox->findData(get(layer)));
    });
    connect(
        pBox, qOverload<int>(&QComboBox::currentIndexChanged), this, [this, pBox, set](int nIndex) {
            if (nIndex >= 0)
                edit([&](sSceneLayer &layer) { set(layer, pBox->itemData(nIndex).toInt()); }, pBox);
        });
    return pBox;
}

QPushButton *InspectorSection::addColor(const sFieldText &text, GetColor get, SetColor set)
{
    auto *const pButton = new QPushButton;
    pButton->setIconSize(QSize(32, 16));
    addField(text, pButton, [pButton, get](const sSceneLayer &layer) {
        pButton->setIcon(swatch(get(layer)));
        pButton->setText(get(layer).name(QColor::HexArgb));
    });
    const QString strTitle = plainName(text.m_strName);
    connect(pButton, &QPushButton::clicked, this, [this, pButton, get, set, strTitle] {
        const QColor color =
            QColorDialog::getColor(get(m_layer), this, strTitle, QColorDialog::ShowAlphaChannel);
        if (color.isValid())
            edit([&](sSceneLayer &layer) { set(layer, color); }, pButton);
    });
    return pButton;
}

QLineEdit *InspectorSection::addText(const sFieldText &text, GetText get, SetText set,
                                     CheckText check)
{
    auto *const pEdit = new QLineEdit;
    addField(text, pEdit, [pEdit, get](const sSceneLayer &layer) {
        if (pEdit->text() != get(layer))
            pEdit->setText(get(layer));
        pEdit->setModified(false);
    });
    QLabel *const pComplaint = check ? addComplaint(pEdit->objectName()) : nullptr;
    connect(pEdit, &QLineEdit::editingFinished, this, [this, pEdit, pComplaint, set, check] {
        const QString strComplaint = check ? check(pEdit->text()) : QString();
        if (strComplaint.isEmpty()) {
            edit([&](sSceneLayer &layer) { set(layer, pEdit->text()); }, pEdit);
            return;
        }
        const QColor color = lookOf(eInputState::NoSignal, palette()).m_color;
        pComplaint->setText(QStringLiteral("<span style=\"color:%1\">▲ %2</span>")
                                .arg(color.name(), strComplaint.toHtmlEscaped()));
        pComplaint->show();
    });
    return pEdit;
}

/** A line below the last field, which goes when a layer is shown. */
QLabel *InspectorSection::addComplaint(const QString &strName)
{
    auto *const pComplaint = new QLabel;
    pComplaint->setObjectName(strName + QStringLiteral(" complaint"));
    pComplaint->setTextFormat(Qt::RichText);
    pComplaint->setWordWrap(true);
    pComplaint->hide();
    m_pForm->addRow(pComplaint);
    addLoader([pComplaint](const sSceneLayer &) { pComplaint->hide(); });
    return pComplaint;
}

void InspectorSection::addWidget(QWidget *pWidget, Loader loader)
{
    m_pForm->addRow(pWidget);
    m_loaders.push_back(std::move(loader));
    m_pLastField = pWidget;
}

void InspectorSection::usableIf(IsUsed isUsed)
{
    QWidget *const pField = m_pLastField;
    m_loaders.push_back(
        [pField, isUsed](const sSceneLayer &layer) { pField->setEnabled(isUsed(layer)); });
}

/** Escape leaves a field with the value that the layer has. @return whether another was typed */
bool InspectorSection::takeBack(const QWidget &field, const QEvent &event)
{
    const bool isEscape = event.type() == QEvent::KeyPress
                       && static_cast<const QKeyEvent &>(event).key() == Qt::Key_Escape;
    if (!isEscape || isAsLoaded(field))
        return false;
    load(m_layer);
    return true;
}

/** The wheel scrolls past fields that nobody is in, and undo is the scene's but while typing. */
bool InspectorSection::eventFilter(QObject *pWatched, QEvent *pEvent)
{
    const auto *const pField = qobject_cast<QWidget *>(pWatched);
    const bool isPassing = pEvent->type() == QEvent::Wheel && pField && !pField->hasFocus();
    if (isPassing || (pField && isUndoOfScene(*pField, *pEvent))) {
        pEvent->ignore();
        return true;
    }
    if (pField && takeBack(*pField, *pEvent))
        return true;
    return QGroupBox::eventFilter(pWatched, pEvent);
}

void InspectorSection::load(const sSceneLayer &layer)
{
    const QScopedValueRollback<bool> loading(m_isLoading, true);
    m_layer = layer;
    for (const auto &loader : m_loaders)
        loader(layer);
}

void InspectorSection::edit(const std::function<void(sSceneLayer &)> &change, QObject *pField)
{
    if (m_isLoading)
        return;
    sSceneLayer layer = m_layer;
    change(layer);
    Q_EMIT edited(layer, m_ePart, pField);
}

} // namespace Morvek::Tools
