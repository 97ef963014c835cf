#include "inputwall.h"

#include "inputtile.h"
#include "sessionmonitor.h"
#include "statelook.h"

#include <QGridLayout>
#include <QLabel>
#include <QVBoxLayout>

#include <cmath>

namespace Morvek::Tools {

namespace {

constexpr int RefreshMs = 160; // what is looked at in passing need not be fluent
constexpr int MaxListed = 6;   // inputs of one state that are named in the line above them
constexpr int TilesAtOnce = 8; // a row is no longer

/** Of rich text, so that no line ends within it, say between a number and its unit. */
QString unbroken(QString strText)
{
    return strText.replace(QLatin1Char(' '), QStringLiteral("&nbsp;"));
}

} // namespace

InputWall::InputWall(const SessionMonitor &monitor, QWidget *pParent)
    : QWidget(pParent)
    , m_monitor(monitor)
    , m_pGrid(new QGridLayout)
    , m_pSummary(new QLabel)
{
    auto *const pLayout = new QVBoxLayout(this);
    pLayout->setContentsMargins(4, 2, 4, 2);
    m_pSummary->setWordWrap(true);
    m_pSummary->setTextFormat(Qt::RichText);
    m_pSummary->setAccessibleName(QStringLiteral("Inputs that need attention"));
    pLayout->addWidget(m_pSummary);
    m_pGrid->setSpacing(2);
    pLayout->addLayout(m_pGrid, 1);
    connect(&m_refreshing, &QTimer::timeout, this, &InputWall::refresh);
    m_refreshing.start(RefreshMs);
    refresh();
}

void InputWall::makeTiles()
{
    qDeleteAll(m_tiles);
    m_tiles.clear();
    const int nInputs = m_monitor.inputCount();
    // Wide rather than high: the wall lies below the canvas.
    const int nRows = qMax(1, int(std::ceil(double(nInputs) / TilesAtOnce)));
    const int nColumns = int(std::ceil(double(nInputs) / nRows));
    for (int nInput = 0; nInput < nInputs; ++nInput) {
        auto *const pTile = new InputTile(nInput, this);
        connect(pTile, &InputTile::menuWanted, this, &InputWall::menuWanted);
        m_pGrid->addWidget(pTile, nInput / nColumns, nInput % nColumns);
        m_tiles.append(pTile);
    }
}

void InputWall::refresh()
{
    if (m_tiles.size() != m_monitor.inputCount())
        makeTiles();
    if (!isVisible())
        return;
    for (int nInput = 0; nInput < m_tiles.size(); ++nInput) {
        const InputObserver &input = m_monitor.input(nInput);
        m_tiles[nInput]->setInput(input.status(), input.picture(), m_monitor.ageMs(nInput));
    }
    const QString strSummary = summary();
    if (m_pSummary->text() != strSummary)
        m_pSummary->setText(strSummary);
}

QString InputWall::summary() const
{
    QStringList parts;
    for (eInputState eState : {eInputState::NoSignal, eInputState::Overloaded, eInputState::Stale,
                               eInputState::Unknown, eInputState::Live})
        parts += summaryOf(eState);
    return deviceSummary() + parts.join(QStringLiteral(" &nbsp; "));
}

/** What is to be known of the device before anybody looks at an input; nothing while it is well. */
QString InputWall::deviceSummary() const
{
    const sDeviceStatus status = m_monitor.deviceStatus();
    if (status.m_eState == eDeviceState::Streaming && status.m_strReason.isEmpty())
        return QString();
    const sStateLook look = lookOf(status, palette());
    // The rest stands in the banner above the canvas.
    return QStringLiteral("<span style=\"color:%1\"><b>%2 %3</b></span><br>")
        .arg(look.m_color.name(), look.m_strSign, look.m_strWord);
}

/** How many inputs are in a state, and, but for those that are well, which and why. */
QStringList InputWall::summaryOf(eInputState eState) const
{
    QStringList inputs;
    const int nInputs = m_monitor.inputCount();
    for (int nInput = 0; nInput < nInputs; ++nInput) {
        const sInputStatus status = m_monitor.input(nInput).status();
        if (status.m_eState == eState)
            inputs.append(unbroken(
                QStringLiteral("%1 (%2)").arg(QString::number(nInput), status.m_strBrief)));
    }
    if (inputs.isEmpty())
        return {};
    const bool isEach = inputs.size() == nInputs;
    const bool isListed = eState != eInputState::Live && inputs.size() <= MaxListed;
    const sStateLook look = lookOf(eState, palette());
    const QString strCount =
        isEach ? QStringLiteral("all %1").arg(nInputs) : QString::number(inputs.size());
    const QString strWhich =
        isListed ? QStringLiteral(": input&nbsp;") + inputs.join(QStringLiteral(", ")) : QString();
    return {QStringLiteral("<span style=\"color:%1\"><b>%2 %3 %4</b>%5</span>")
                .arg(look.m_color.name(), look.m_strSign, strCount, look.m_strWord, strWhich)};
}

} // namespace Morvek::Tools
