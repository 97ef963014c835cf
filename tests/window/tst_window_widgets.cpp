#include "windowtest.h"

#include <cropeditor.h>
#include <logview.h>
#include <plotwidget.h>

#include <QClipboard>
#include <QComboBox>
#include <QScrollBar>
#include <QTableView>

using namespace Morvek::Tests;
using namespace Morvek::Tools;

namespace {

constexpr QSize Source(1920, 1080);

void moveMouse(QWidget &widget, const QPoint &place, Qt::MouseButtons buttons)
{
    QMouseEvent move(QEvent::MouseMove, place, widget.mapToGlobal(place), Qt::NoButton, buttons,
                     Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &move);
}

/** An editor that is obeyed at once, as the inspector does. */
class Crop
{
public:
    explicit Crop(const QRect &crop, const QSize &source = Source)
        : m_crop(crop)
        , m_source(source)
    {
        m_editor.resize(242, 137); // scales the source by an eighth
        m_editor.setCrop(m_source, m_crop);
        QObject::connect(&m_editor, &CropEditor::cropWanted, &m_editor, [this](const QRect &rect) {
            m_crop = rect;
            m_editor.setCrop(m_source, m_crop);
        });
        m_editor.show();
    }

    QRect m_crop;
    QSize m_source;
    CropEditor m_editor;
};

void log(int nFirst, int nCount)
{
    for (int nLine = nFirst; nLine < nFirst + nCount; ++nLine)
        qInfo("line %d", nLine);
}

bool isAtEnd(const QTableView &table)
{
    return table.verticalScrollBar()->maximum() > 0
        && table.verticalScrollBar()->value() == table.verticalScrollBar()->maximum();
}

} // namespace

/** Parts of the window by themselves, without a device. */
class tst_WindowWidgets : public WindowTest
{
    Q_OBJECT

private Q_SLOTS:
    void cropKeysKeepTheSizeAtTheEdges();
    void aLostReleaseDragsNoCrop();
    void aClickIsNoCrop();
    void aSourceAsThinAsALineCanBeCropped();
    void theLogBeginsWithInformationAndWarnings();
    void theLogFollowsAfterAnotherLevelWasChosen();
    void theLogFollowsWhenItIsShownLater();
    void theLogStaysWhereSomebodyReads();
    void selectedMessagesAreCopied();
    void aMessageIsLegibleInANarrowLog();
    void aMessageTakesTheRoomOfItsSourceLine();
    void aFigureBelowZeroStaysInItsPlot();
    void aNarrowPlotShowsItsNameAndItsFigure();
};

void tst_WindowWidgets::cropKeysKeepTheSizeAtTheEdges()
{
    Crop crop(QRect(4, 0, 960, 540));
    QTest::keyClick(&crop.m_editor, Qt::Key_Left);
    QCOMPARE(crop.m_crop, QRect(0, 0, 960, 540));
    QTest::keyClick(&crop.m_editor, Qt::Key_Left);
    QTest::keyClick(&crop.m_editor, Qt::Key_Up);
    QCOMPARE(crop.m_crop, QRect(0, 0, 960, 540));
    QTest::keyClick(&crop.m_editor, Qt::Key_Right, Qt::ShiftModifier);
    QCOMPARE(crop.m_crop, QRect(0, 0, 968, 540));
    Crop whole(QRect(QPoint(0, 0), Source));
    QTest::keyClick(&whole.m_editor, Qt::Key_Right);
    QTest::keyClick(&whole.m_editor, Qt::Key_Down, Qt::ShiftModifier);
    QCOMPARE(whole.m_crop, QRect(QPoint(0, 0), Source));
}

/** A source that is taken away during a drag disables the editor, which then hears no release. */
void tst_WindowWidgets::aLostReleaseDragsNoCrop()
{
    const QRect before(480, 270, 960, 540);
    Crop crop(before);
    const QPoint middle = crop.m_editor.onWidget(before).center();
    for (const bool isBand : {false, true}) {
        QTest::mousePress(&crop.m_editor, Qt::LeftButton, Qt::NoModifier,
                          isBand ? QPoint(10, 10) : middle);
        crop.m_editor.setCrop(QSize(), QRect());
        crop.m_editor.setCrop(Source, before);
        moveMouse(crop.m_editor, middle + QPoint(30, 20), Qt::NoButton);
        moveMouse(crop.m_editor, middle + QPoint(30, 20), Qt::LeftButton);
        QCOMPARE(crop.m_crop, before);
    }
}

void tst_WindowWidgets::aClickIsNoCrop()
{
    const QRect before(480, 270, 960, 540);
    Crop crop(before);
    QTest::mousePress(&crop.m_editor, Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
    moveMouse(crop.m_editor, QPoint(11, 11), Qt::LeftButton);
    QTest::mouseRelease(&crop.m_editor, Qt::LeftButton, Qt::NoModifier, QPoint(11, 11));
    QCOMPARE(crop.m_crop, before);
    QTest::mousePress(&crop.m_editor, Qt::LeftButton, Qt::NoModifier, QPoint(11, 11));
    moveMouse(crop.m_editor, QPoint(51, 41), Qt::LeftButton);
    QTest::mouseRelease(&crop.m_editor, Qt::LeftButton, Qt::NoModifier, QPoint(51, 41));
    QVERIFY(qAbs(crop.m_crop.width() - 320) <= 16);
    QVERIFY(qAbs(crop.m_crop.height() - 240) <= 16);
}

void tst_WindowWidgets::aSourceAsThinAsALineCanBeCropped()
{
    for (const QSize &source : {QSize(1, 8192), QSize(8192, 1)}) {
        const QRect whole(QPoint(0, 0), source);
        Crop crop(whole, source);
        crop.m_editor.grab();
        const QPoint middle = crop.m_editor.rect().center();
        QTest::mousePress(&crop.m_editor, Qt::LeftButton, Qt::NoModifier, middle - QPoint(30, 30));
        moveMouse(crop.m_editor, middle + QPoint(30, 10), Qt::LeftButton);
        QTest::mouseRelease(&crop.m_editor, Qt::LeftButton, Qt::NoModifier, middle);
        QVERIFY(whole.contains(crop.m_crop));
        QVERIFY(crop.m_crop.width() < 8192 && crop.m_crop.height() < 8192);
        QVERIFY(crop.m_crop.width() > 1000 || crop.m_crop.height() > 1000);
    }
}

void tst_WindowWidgets::theLogBeginsWithInformationAndWarnings()
{
    LogCollector collector;
    qDebug("a note for makers");
    log(0, 3);
    LogView view(collector);
    qDebug("another note");
    log(3, 2);
    QTRY_COMPARE(view.model().rowCount(), 5);
    auto &level = *view.findChild<QComboBox *>();
    QCOMPARE(level.currentText(), QStringLiteral("Information and warnings"));
    level.setCurrentIndex(level.findText(QStringLiteral("Everything")));
    QCOMPARE(view.model().rowCount(), 7);
}

void tst_WindowWidgets::theLogFollowsAfterAnotherLevelWasChosen()
{
    LogCollector collector;
    LogView view(collector);
    view.resize(600, 200);
    view.show();
    const auto &table = *view.findChild<QTableView *>();
    log(0, 100);
    QTRY_COMPARE(view.model().rowCount(), 100);
    QVERIFY(isAtEnd(table));
    view.findChild<QComboBox *>()->setCurrentIndex(0);
    QVERIFY(isAtEnd(table));
    log(100, 20);
    QTRY_COMPARE(view.model().rowCount(), 120);
    QVERIFY(isAtEnd(table));
}

void tst_WindowWidgets::theLogFollowsWhenItIsShownLater()
{
    LogCollector collector;
    LogView view(collector);
    view.resize(600, 200);
    log(0, 100);
    QTRY_COMPARE(view.model().rowCount(), 100);
    view.show();
    const auto &table = *view.findChild<QTableView *>();
    QTRY_VERIFY(isAtEnd(table));
}

void tst_WindowWidgets::theLogStaysWhereSomebodyReads()
{
    LogCollector collector;
    LogView view(collector);
    view.resize(600, 200);
    view.show();
    log(0, LogModel::MaxRows);
    QTRY_COMPARE(view.model().rowCount(), int(LogModel::MaxRows));
    auto &table = *view.findChild<QTableView *>();
    table.verticalScrollBar()->setValue(500);
    const auto topText = [&] { return table.model()->index(table.rowAt(1), 2).data().toString(); };
    QCOMPARE(topText(), QStringLiteral("line 500"));
    log(LogModel::MaxRows, 30); // the oldest thirty go
    QTRY_COMPARE(view.model().index(0, 2).data().toString(), QStringLiteral("line 30"));
    QCOMPARE(topText(), QStringLiteral("line 500"));
}

void tst_WindowWidgets::selectedMessagesAreCopied()
{
    LogCollector collector;
    LogView view(collector);
    view.resize(600, 200);
    view.show();
    view.activateWindow();
    log(0, 5);
    QTRY_COMPARE(view.model().rowCount(), 5);
    auto &table = *view.findChild<QTableView *>();
    table.setFocus();
    QTRY_VERIFY(table.hasFocus());
    table.selectRow(1);
    QTest::keyClick(&table, Qt::Key_Down, Qt::ShiftModifier);
    QTest::keyClick(view.windowHandle(), Qt::Key_C, Qt::ControlModifier);
    const QStringList lines = QGuiApplication::clipboard()->text().split(QLatin1Char('\n'));
    QCOMPARE(lines.size(), 2);
    QVERIFY(lines[0].contains(QStringLiteral("\tinfo\tline 1\ttst_window_widgets.cpp:")));
    QVERIFY(lines[1].contains(QStringLiteral("\tinfo\tline 2\ttst_window_widgets.cpp:")));
}

void tst_WindowWidgets::aMessageIsLegibleInANarrowLog()
{
    LogCollector collector;
    LogView view(collector);
    view.show();
    const auto &table = *view.findChild<QTableView *>();
    const QString strLine = QStringLiteral("Connect to 127.0.0.1:8554");
    for (const int nWidth : {300, 1200}) {
        view.resize(nWidth, 200);
        QTRY_VERIFY(table.columnWidth(2) > table.fontMetrics().horizontalAdvance(strLine));
        int nColumns = 0;
        for (int nColumn = 0; nColumn < 4; ++nColumn)
            nColumns += table.columnWidth(nColumn);
        // All of it is used, where there is enough for all.
        QTRY_COMPARE(nColumns <= table.viewport()->width(), nWidth == 1200);
        QVERIFY(nColumns >= table.viewport()->width());
    }
}

void tst_WindowWidgets::aMessageTakesTheRoomOfItsSourceLine()
{
    LogCollector collector;
    LogView view(collector);
    log(0, 1);
    QTRY_COMPARE(view.model().rowCount(), 1);
    view.show();
    const auto &table = *view.findChild<QTableView *>();
    const int nDigit = table.fontMetrics().horizontalAdvance(QLatin1Char('0'));
    for (const int nDigits : {56, 90, 180}) {
        view.resize(nDigits * nDigit, 200);
        QTRY_COMPARE(table.columnViewportPosition(3) + table.columnWidth(3),
                     table.viewport()->width());
        QVERIFY(table.columnWidth(2) > table.columnWidth(3));
    }
    // With room for both, neither is cut.
    const QModelIndex place = view.model().index(0, 3);
    QVERIFY(place.data().toString().startsWith(QStringLiteral("tst_window_widgets.cpp:")));
    QVERIFY(table.columnWidth(3) > table.fontMetrics().horizontalAdvance(place.data().toString()));
    QVERIFY(place.data(Qt::ToolTipRole).toString().contains(place.data().toString()));
}

/** The clock of a device that is ahead makes its pictures younger than nothing. */
void tst_WindowWidgets::aFigureBelowZeroStaysInItsPlot()
{
    PlotWidget plot(QStringLiteral("Age"), QStringLiteral("ms"), QString(), 100);
    plot.resize(200, 100);
    Series series;
    for (int nSample = 0; nSample < Series::Capacity; ++nSample)
        series.add(0);
    plot.setSeries(series);
    const QImage atZero = plot.grab().toImage();
    Series below;
    for (int nSample = 0; nSample < Series::Capacity; ++nSample)
        below.add(-3);
    plot.setSeries(below);
    const QImage belowZero = plot.grab().toImage();
    // Below the title, which tells the figure, all is as it would be at zero.
    const QRect curve(0, plot.fontMetrics().lineSpacing() + 6, 200, 100);
    QCOMPARE(belowZero.copy(curve), atZero.copy(curve));
}

void tst_WindowWidgets::aNarrowPlotShowsItsNameAndItsFigure()
{
    Series series;
    series.add(1234);
    const auto picture = [&](const char *pName, int nWidth) {
        PlotWidget plot(QString::fromLatin1(pName), QStringLiteral("ms"), QString(), 100);
        plot.resize(nWidth, 100);
        plot.setSeries(series);
        const QImage grabbed = plot.grab().toImage();
        return grabbed.copy(0, 0, nWidth, plot.fontMetrics().lineSpacing() + 4);
    };
    // Where both have room the title ends with the figure, and otherwise there is the name alone.
    const QImage wide = picture("Processor", 300);
    const QImage wideEnd = wide.copy(wide.width() - 60, 0, 60, wide.height());
    const QImage narrow = picture("Processor", 90);
    const QImage narrowEnd = narrow.copy(narrow.width() - 20, 0, 20, narrow.height());
    const QRgb ground = narrow.pixel(1, 1);
    const auto isEmpty = [ground](const QImage &image) {
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (image.pixel(x, y) != ground)
                    return false;
            }
        }
        return true;
    };
    QVERIFY(!isEmpty(wideEnd));
    QVERIFY(isEmpty(narrowEnd));
    QVERIFY(!isEmpty(narrow.copy(0, 0, 60, narrow.height())));
}

QTEST_MAIN(tst_WindowWidgets)
#include "tst_window_widgets.moc"
