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
constexpr int TilesAtOnce = 8; // a row is no longer

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
    const int nInputs = m_monitor.inputCount();
    for (eInputState eState : {eInputState::NoSignal, eInputState::Overloaded, eInputState::Stale,
                               eInputState::Unknown, eInputState::Live}) {
        QStringList numbers;
        for (int nInput = 0; nInput < nInputs; ++nInput) {
            if (m_monitor.input(nInput).status().m_eState == eState)
                numbers.append(QString::number(nInput));
        }
        if (numbers.isEmpty())
            continue;
        const sStateLook look = lookOf(eState, palette());
        const bool isEach = numbers.size() == nInputs;
        const bool isListed = eState != eInputState::Live && !isEach;
        const QString strWhich =
            isListed ? QStringLiteral(": input ") + numbers.join(QStringLiteral(", ")) : QString();
        parts.append(QStringLiteral("<span style=\"color:%1\"><b>%2 %3 %4</b>%5</span>")
                         .arg(look.m_color.name(), look.m_strSign,
                              isEach ? QStringLiteral("all %1").arg(nInputs)
                                     : QString::number(numbers.size()),
                              look.m_strWord, strWhich));
    }
    return parts.join(QStringLiteral(" &nbsp; "));
}

} // namespace Morvek::Tools
