#ifndef MORVEK_ECHOCANVAS_LOGVIEW_H
#define MORVEK_ECHOCANVAS_LOGVIEW_H

#include "logcollector.h"

#include <QAbstractTableModel>
#include <QList>
#include <QWidget>

class QComboBox;
class QTableView;

namespace Morvek::Tools {

/** The messages of a level and above, as a table: time, level, text, source line. */
class LogModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    static constexpr int MaxRows = 1000; ///< older ones are forgotten

    /** @param log  must outlive the model */
    explicit LogModel(const LogCollector &log, QObject *pParent = nullptr);

    /** @param nSeverity  0: all, 1: information and above, 2: warnings and above */
    void setSeverity(int nSeverity);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int nRole) const override;
    QVariant headerData(int nSection, Qt::Orientation orientation, int nRole) const override;

    /** Takes over what is new. */
    void refresh();

private:
    void dropOldest();

    const LogCollector &m_log;
    int m_nSeverity = 0;
    qint64 m_nRead = 0; // number of the last entry that was looked at
    QList<sLogEntry> m_entries;
};

/** What the library and the program have logged. */
class LogView : public QWidget
{
    Q_OBJECT

public:
    explicit LogView(const LogCollector &log, QWidget *pParent = nullptr);
    const LogModel &model() const { return m_model; }

protected:
    void changeEvent(QEvent *pEvent) override;
    bool eventFilter(QObject *pWatched, QEvent *pEvent) override;

private:
    void buildTable();
    void followEnd();
    void adaptToFont();
    int digitWidth() const;
    void fitColumns();
    void copySelection() const;

    LogModel m_model;
    QTableView *m_pTable;
    bool m_isFollowing = true; // the newest message stays in sight
};

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_LOGVIEW_H
