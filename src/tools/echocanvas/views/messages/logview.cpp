#include "logview.h"

#include "statelook.h"

#include <QAction>
#include <QClipboard>
#include <QComboBox>
#include <QDateTime>
#include <QEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QVBoxLayout>

namespace Morvek::Tools {

namespace {

constexpr int FirstSeverity = 1; // the library's notes for its makers are many

// Widths in digits.
constexpr int CellMargin = 1;
constexpr int LeastText = 22;
constexpr int UsualText = 48;
constexpr int LeastPlace = 6;
constexpr int WholePlace = 32;

enum eColumn { Time, Level, Text, Place, ColumnCount };

int severityOf(QtMsgType eType)
{
    if (eType == QtDebugMsg)
        return 0;
    return eType == QtInfoMsg ? 1 : 2;
}

QString levelText(QtMsgType eType)
{
    switch (eType) {
    case QtDebugMsg:
        return QStringLiteral("debug");
    case QtInfoMsg:
        return QStringLiteral("info");
    case QtWarningMsg:
        return QStringLiteral("▲ warning");
    case QtCriticalMsg:
        return QStringLiteral("▲ error");
    case QtFatalMsg:
        break;
    }
    return QStringLiteral("▲ fatal");
}

QString textOf(const sLogEntry &entry, int nColumn)
{
    switch (nColumn) {
    case Time:
        return QDateTime::fromMSecsSinceEpoch(entry.m_nTimeMs)
            .toString(QStringLiteral("hh:mm:ss.zzz"));
    case Level:
        return levelText(entry.m_eType);
    case Text:
        return entry.m_strText;
    default:
        return entry.place();
    }
}

/** Elides at the beginning: of a source place, the line's number is worth most. */
class PlaceDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem *pOption, const QModelIndex &index) const override
    {
        QStyledItemDelegate::initStyleOption(pOption, index);
        pOption->textElideMode = Qt::ElideLeft;
    }
};

} // namespace

LogModel::LogModel(const LogCollector &log, QObject *pParent)
    : QAbstractTableModel(pParent)
    , m_log(log)
{}

void LogModel::setSeverity(int nSeverity)
{
    beginResetModel();
    m_nSeverity = nSeverity;
    m_entries.clear();
    m_nRead = 0;
    endResetModel();
    refresh();
}

void LogModel::refresh()
{
    QList<sLogEntry> wanted;
    const QList<sLogEntry> entries = m_log.entriesAfter(m_nRead);
    for (const sLogEntry &entry : entries) {
        m_nRead = entry.m_nNumber;
        if (severityOf(entry.m_eType) >= m_nSeverity)
            wanted.append(entry);
    }
    wanted = wanted.mid(qMax(0, wanted.size() - MaxRows));
    if (wanted.isEmpty())
        return;
    beginInsertRows(QModelIndex(), m_entries.size(), m_entries.size() + wanted.size() - 1);
    m_entries += wanted;
    endInsertRows();
    dropOldest();
}

void LogModel::dropOldest()
{
    const int nSurplus = m_entries.size() - MaxRows;
    if (nSurplus <= 0)
        return;
    beginRemoveRows(QModelIndex(), 0, nSurplus - 1);
    m_entries = m_entries.mid(nSurplus);
    endRemoveRows();
}

int LogModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_entries.size();
}

int LogModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(ColumnCount);
}

QVariant LogModel::data(const QModelIndex &index, int nRole) const
{
    if (!index.isValid() || index.row() >= m_entries.size())
        return QVariant();
    const sLogEntry &entry = m_entries[index.row()];
    const bool isWarning = severityOf(entry.m_eType) >= 2;
    if (nRole == Qt::DisplayRole)
        return textOf(entry, index.column());
    if (nRole == Qt::ToolTipRole)
        return QStringList({entry.m_strText, entry.place(), entry.m_strFunction})
            .join(QLatin1Char('\n'));
    if (nRole == Qt::ForegroundRole && isWarning)
        return lookOf(eInputState::NoSignal, QGuiApplication::palette()).m_color;
    return QVariant();
}

QVariant LogModel::headerData(int nSection, Qt::Orientation orientation, int nRole) const
{
    if (orientation != Qt::Horizontal || nRole != Qt::DisplayRole)
        return QVariant();
    static const QStringList Titles{QStringLiteral("Time"), QStringLiteral("Level"),
                                    QStringLiteral("Message"), QStringLiteral("Source line")};
    return Titles.value(nSection);
}

LogView::LogView(const LogCollector &log, QWidget *pParent)
    : QWidget(pParent)
    , m_model(log)
    , m_pTable(new QTableView)
{
    auto *const pLevel = new QComboBox;
    pLevel->addItems({QStringLiteral("Everything"), QStringLiteral("Information and warnings"),
                      QStringLiteral("Warnings only")});
    pLevel->setAccessibleName(QStringLiteral("Messages that are shown"));
    auto *const pCaption = new QLabel(QStringLiteral("&Show:"));
    pCaption->setBuddy(pLevel);
    auto *const pBar = new QHBoxLayout;
    pBar->addWidget(pCaption);
    pBar->addWidget(pLevel);
    pBar->addStretch();
    auto *const pLayout = new QVBoxLayout(this);
    pLayout->setContentsMargins(4, 2, 4, 2);
    pLayout->addLayout(pBar);
    pLayout->addWidget(m_pTable);

    buildTable();
    followEnd();
    pLevel->setCurrentIndex(FirstSeverity);
    m_model.setSeverity(FirstSeverity);
    connect(pLevel, qOverload<int>(&QComboBox::currentIndexChanged), this, [this](int nLevel) {
        m_model.setSeverity(nLevel);
        m_isFollowing = true;
        m_pTable->scrollToBottom();
    });
    connect(&log, &LogCollector::arrived, &m_model, &LogModel::refresh);
}

void LogView::buildTable()
{
    m_pTable->setModel(&m_model);
    m_pTable->setAccessibleName(QStringLiteral("Messages"));
    m_pTable->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_pTable->setTabKeyNavigation(false);
    m_pTable->setWordWrap(false);
    m_pTable->verticalHeader()->hide();
    m_pTable->horizontalHeader()->setTextElideMode(Qt::ElideRight);
    m_pTable->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_pTable->setItemDelegateForColumn(Place, new PlaceDelegate(m_pTable));
    m_pTable->viewport()->installEventFilter(this);
    adaptToFont();
    auto *const pCopy = new QAction(QStringLiteral("&Copy the messages"), m_pTable);
    pCopy->setShortcut(QKeySequence::Copy);
    pCopy->setShortcutContext(Qt::WidgetShortcut);
    connect(pCopy, &QAction::triggered, this, &LogView::copySelection);
    m_pTable->addAction(pCopy);
    m_pTable->setContextMenuPolicy(Qt::ActionsContextMenu);
}

/** Who has scrolled up wants to read; all others want to see what comes, also if it comes unseen. */
void LogView::followEnd()
{
    QScrollBar *const pBar = m_pTable->verticalScrollBar();
    connect(pBar, &QScrollBar::valueChanged, this,
            [this, pBar](int nValue) { m_isFollowing = nValue >= pBar->maximum(); });
    connect(pBar, &QScrollBar::rangeChanged, this, [this, pBar](int, int nMaximum) {
        if (m_isFollowing)
            pBar->setValue(nMaximum);
    });
    connect(&m_model, &QAbstractItemModel::rowsRemoved, this,
            [this, pBar](const QModelIndex &, int nFirst, int nLast) {
                if (!m_isFollowing)
                    pBar->setValue(pBar->value() - (nLast - nFirst + 1));
            });
}

void LogView::adaptToFont()
{
    m_pTable->verticalHeader()->setDefaultSectionSize(fontMetrics().lineSpacing() + 4);
    const int nMargin = CellMargin * digitWidth();
    m_pTable->setColumnWidth(Time, fontMetrics().horizontalAdvance(QStringLiteral("00:00:00.000"))
                                       + nMargin);
    m_pTable->setColumnWidth(Level,
                             fontMetrics().horizontalAdvance(levelText(QtWarningMsg)) + nMargin);
    fitColumns();
}

int LogView::digitWidth() const
{
    return fontMetrics().horizontalAdvance(QLatin1Char('0'));
}

/** The message gets the room that there is, but is legible also where there is little. */
void LogView::fitColumns()
{
    const int nRoom =
        m_pTable->viewport()->width() - m_pTable->columnWidth(Time) - m_pTable->columnWidth(Level);
    const int nDigit = digitWidth();
    const int nPlace = qBound(LeastPlace * nDigit, nRoom - UsualText * nDigit, WholePlace * nDigit);
    m_pTable->setColumnWidth(Place, nPlace);
    m_pTable->setColumnWidth(Text, qMax(LeastText * nDigit, nRoom - nPlace));
}

bool LogView::eventFilter(QObject *pWatched, QEvent *pEvent)
{
    if (pWatched == m_pTable->viewport() && pEvent->type() == QEvent::Resize)
        fitColumns();
    return QWidget::eventFilter(pWatched, pEvent);
}

void LogView::changeEvent(QEvent *pEvent)
{
    QWidget::changeEvent(pEvent);
    if (pEvent->type() == QEvent::FontChange)
        adaptToFont();
}

/** Whole lines: Qt would copy one cell of them. */
void LogView::copySelection() const
{
    QStringList lines;
    for (int nRow = 0; nRow < m_model.rowCount(); ++nRow) {
        if (!m_pTable->selectionModel()->isRowSelected(nRow, QModelIndex()))
            continue;
        QStringList cells;
        for (int nColumn = 0; nColumn < ColumnCount; ++nColumn)
            cells.append(m_model.index(nRow, nColumn).data().toString());
        lines.append(cells.join(QLatin1Char('\t')));
    }
    if (!lines.isEmpty())
        QGuiApplication::clipboard()->setText(lines.join(QLatin1Char('\n')));
}

} // namespace Morvek::Tools
